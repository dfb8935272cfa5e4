#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {
QString Source(const char* relative)
{
    return QString::fromUtf8(BRONDEL_SOURCE_DIR) + QLatin1Char('/') + QString::fromUtf8(relative);
}
} // namespace

// The generators, the depth editor and batch mode must build and run with no display, so the layers
// they live in never include an OpenGL or widget header.
TEST(ProjectRules, HeadlessLayersIncludeNoOpenGLOrWidgets)
{
    const QRegularExpression forbidden(QStringLiteral(
        R"(#\s*include\s*[<"](QtWidgets|QtOpenGL|QOpenGL\w*|QWidget|QApplication|GL/\w+)[>./])"));
    int checked = 0;
    for (const char* folder : {"src/core", "src/sets", "src/processing", "src/deptheditor", "src/cli"})
    {
        QDirIterator files(Source(folder), {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files);
        while (files.hasNext())
        {
            QFile file(files.next());
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            const QString text = QString::fromUtf8(file.readAll());
            EXPECT_FALSE(forbidden.match(text).hasMatch()) << file.fileName().toStdString();
            ++checked;
        }
    }
    EXPECT_GT(checked, 40);
}

// Every run-time file the code asks for by name ships in the resource folder.
TEST(ProjectRules, NamedResourcesExist)
{
    for (const char* file : {"BlankTextures/Black.png", "BlankTextures/White.png",
                             "BlankTextures/NormalBlue.png", "Examples/ExampleHead_Diffuse.png", "Shaders"})
        EXPECT_TRUE(QFile::exists(QString::fromUtf8(BRONDEL_RESOURCE_DIR) + QString::fromUtf8(file))) << file;
}
