#include "GLTestSupport.h"

#include <gtest/gtest.h>

// The application and its context outlive the tests on purpose (see GLTestSupport.cpp); only the
// context is let go of before the process ends.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    ShutDownTestContext();
    return result;
}
