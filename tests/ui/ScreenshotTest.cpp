#include "ui/BrondelMainWindow.h"
#include "ui/CLIParamsHelper.h"
#include "ui_BrondelMainWindow.h"

#include <QDir>
#include <QTest>

#include <gtest/gtest.h>

// Not a check: with BRONDEL_SCREENSHOT_DIR set, saves a picture of every tab over the lit example head,
// for the README and for looking at the window as an artist would.
TEST(ScreenshotTest, EveryTab)
{
    const QString folder = qEnvironmentVariable("BRONDEL_SCREENSHOT_DIR");
    if (folder.isEmpty())
        GTEST_SKIP() << "BRONDEL_SCREENSHOT_DIR is not set";
    QDir().mkpath(folder);
    BrondelMainWindow window;
    window.questionAnswer = [](const QString&) { return true; };
    window.resize(1600, 863);
    window.show();
    Ui::BrondelMainWindow* ui = window.GetUi();
    ui->generateNormalsButton->click();
    ui->generateDepthButton->click();
    ui->generateAoButton->click();
    for (int tab = 0; tab < ui->tabWidget->count(); ++tab)
    {
        ui->tabWidget->setCurrentIndex(tab);
        QTest::qWait(600);
        const QString name = ui->tabWidget->widget(tab)->objectName();
        EXPECT_TRUE(window.grab().save(QDir(folder).filePath(name + QStringLiteral(".png"))));
    }
    ui->showParamsHelperButton->click();
    QTest::qWait(300);
    EXPECT_TRUE(
        window.GetParamsHelper()->grab().save(QDir(folder).filePath(QStringLiteral("paramsHelper.png"))));
}
