#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace {
QString Source(const QString& relative)
{
    return QString::fromUtf8(BRONDEL_SOURCE_DIR) + QLatin1Char('/') + relative;
}

// Which folders each layer may include from; the same table as the "may use" column of src/README.md.
// The controller half of sets (BrondelCore) sits above processing and the preview, while the naming
// half (kinds, suffixes, sets, string helpers, log) sits just above core and is what processing uses.
const std::map<std::string, std::set<std::string>>& AllowedIncludes()
{
    static const std::map<std::string, std::set<std::string>> table = {
        {"core", {"core"}},
        {"sets", {"core", "sets"}},
        {"sets/controller",
         {"core", "sets", "sets/controller", "processing", "deptheditor", "preview", "spine",
          "spine/runtime"}},
        {"processing", {"core", "sets", "processing", "deptheditor"}},
        {"deptheditor", {"core", "sets", "processing", "deptheditor"}},
        {"preview", {"core", "sets", "processing", "deptheditor", "preview", "spine", "spine/runtime"}},
        {"spine", {"core", "sets", "spine", "spine/runtime"}},
        {"spine/runtime", {"core", "spine/runtime"}},
        {"cli",
         {"core", "sets", "sets/controller", "processing", "deptheditor", "preview", "spine", "spine/runtime",
          "cli"}},
        {"ui",
         {"core", "sets", "sets/controller", "processing", "deptheditor", "preview", "spine", "spine/runtime",
          "cli", "ui"}},
    };
    return table;
}

// The layer a source file belongs to, by its path below src/.
std::string LayerOf(const QString& relative)
{
    const QString name = QFileInfo(relative).fileName();
    if (relative.startsWith(QStringLiteral("sets/")) && name.startsWith(QStringLiteral("BrondelCore")))
        return "sets/controller";
    if (relative.startsWith(QStringLiteral("spine/runtime/")))
        return "spine/runtime";
    return relative.section(QLatin1Char('/'), 0, 0).toStdString();
}

} // namespace

// Each layer includes only from the layers below it, so the engine stays usable without a window and
// the batch executable never drags in the widgets.
TEST(ProjectRules, EveryIncludeRespectsTheLayerTable)
{
    const QRegularExpression include(QStringLiteral(R"(^\s*#\s*include\s*"([a-z]+)/([^"]+)\")"),
                                     QRegularExpression::MultilineOption);
    const QString root = Source(QStringLiteral("src"));
    int checked = 0;
    QDirIterator files(root, {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
    {
        const QString path = files.next();
        const QString relative = path.mid(root.size() + 1);
        const std::string layer = LayerOf(relative);
        const auto allowed = AllowedIncludes().find(layer);
        ASSERT_NE(allowed, AllowedIncludes().end()) << "no layer-table row for " << relative.toStdString();
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        for (auto match = include.globalMatch(text); match.hasNext();)
        {
            const auto found = match.next();
            const std::string target = LayerOf(found.captured(1) + QLatin1Char('/') + found.captured(2));
            EXPECT_TRUE(allowed->second.count(target) > 0)
                << relative.toStdString() << " (" << layer << ") includes "
                << found.captured(0).trimmed().toStdString();
            ++checked;
        }
    }
    EXPECT_GT(checked, 100);
}

// The generators, the depth editor and batch mode must build and run with no display, so the layers
// they live in never include an OpenGL or widget header.
TEST(ProjectRules, HeadlessLayersIncludeNoOpenGLOrWidgets)
{
    const QRegularExpression forbidden(QStringLiteral(
        R"(#\s*include\s*[<"](QtWidgets|QtOpenGL|QOpenGL\w*|QWidget|QApplication|GL/\w+)[>./])"));
    int checked = 0;
    for (const char* folder : {"src/core", "src/sets", "src/processing", "src/deptheditor", "src/cli"})
    {
        QDirIterator files(Source(QString::fromUtf8(folder)),
                           {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files);
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
