#include "ui/UITestSupport.h"

#include <QApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>

namespace {
std::atomic<int> slotWarnings{0};
QtMessageHandler previousHandler = nullptr;

// A form object renamed in Designer silently disconnects its slot; Qt only says so in a warning.
void FailOnUnconnectedSlots(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.contains(QStringLiteral("QMetaObject::connectSlotsByName: No matching signal")))
    {
        ++slotWarnings;
        std::cerr << "Unconnected slot: " << message.toStdString() << std::endl;
    }
    if (previousHandler != nullptr)
        previousHandler(type, context, message);
}
} // namespace

int SlotWarningCount()
{
    return slotWarnings.load();
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests (at build time, with no display) needs no window system.
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    // The window remembers geometry and folders; tests must not touch the developer's own settings.
    QStandardPaths::setTestModeEnabled(true);
    qputenv("BRONDEL_RESOURCES", BRONDEL_BUILD_RESOURCE_DIR);
    previousHandler = qInstallMessageHandler(FailOnUnconnectedSlots);
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("BrondelTests"));
    QApplication::setApplicationName(QStringLiteral("BrondelUITest"));
    const int result = RUN_ALL_TESTS();
    return result;
}
