#include "GLTestSupport.h"

#include <gtest/gtest.h>

// The application object and the context must go before static destruction, while the display is
// still there.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    ShutDownTestContext();
    return result;
}
