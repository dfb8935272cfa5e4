// A batch run that cannot get the memory it needs says so and fails, instead of dying without a word.
#include "support/TestImages.h"

#include <QProcess>

#include <gtest/gtest.h>

TEST(BrondelCLIMemory, RefusedMemoryFailsTheRunWithAMessage)
{
    TempFolder folder;
    WriteProfiles(folder.File("Rock"), 512);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    // Six MiB: the four 1 MiB profiles load, but the normal generator cannot get its 3 MiB arrays.
    environment.insert(QStringLiteral("BRONDEL_MEMORY_LIMIT"), QStringLiteral("6"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(BRONDEL_CLI_PATH),
                  {QStringLiteral("-source"), QString::fromStdString(folder.File("Rock_Left.png")),
                   QStringLiteral("-nSave"), QStringLiteral("-aoSave")});
    ASSERT_TRUE(process.waitForFinished(60000));
    ASSERT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    const std::string errors = process.readAllStandardError().toStdString();
    EXPECT_NE(errors.find("Not enough memory to generate the normal map for a 512 x 512 image."),
              std::string::npos)
        << errors;
    // The AO map is reported as impossible too, and nothing is written.
    EXPECT_NE(errors.find("Rock_AO.png"), std::string::npos) << errors;
    EXPECT_FALSE(FileExists(folder.File("Rock_Normal.png")));
    EXPECT_FALSE(FileExists(folder.File("Rock_AO.png")));
}
