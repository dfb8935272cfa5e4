#include "core/ResourceFolder.h"
#include "ui/BrondelMainWindow.h"

#include <QApplication>
#include <QCommandLineParser>

#include <string_view>

namespace {
void Describe(QCoreApplication& application, QCommandLineParser& parser)
{
    QCoreApplication::setApplicationName(QStringLiteral("Brondel"));
    QCoreApplication::setOrganizationName(QStringLiteral("Brondel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BRONDEL_VERSION));
    parser.setApplicationDescription(QStringLiteral(
        "Normal, depth, ambient-occlusion and lighting maps from hand-drawn lighting profiles."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption(QCommandLineOption(QStringLiteral("spine"),
                                        QStringLiteral("Show the Spine skeleton (JSON) in the preview."),
                                        QStringLiteral("FILE.json")));
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Images whose sets to open."),
                                 QStringLiteral("[FILE...]"));
    parser.process(application);
}

// --help and --version print and exit, so they must work where no display is.
bool AsksOnlyForText(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        const std::string_view argument(argv[i]);
        if (argument == "-h" || argument == "--help" || argument == "-?" || argument == "-v" ||
            argument == "--version" || argument == "--help-all")
            return true;
    }
    return false;
}
} // namespace

int main(int argc, char** argv)
{
    if (AsksOnlyForText(argc, argv))
    {
        QCoreApplication application(argc, argv);
        QCommandLineParser parser;
        Describe(application, parser);
        return 0;
    }
    QApplication application(argc, argv);
    QCommandLineParser parser;
    Describe(application, parser);
    ConfigureImageReading();
    BrondelMainWindow window;
    window.show();
    window.LoadImageSets(parser.positionalArguments());
    if (parser.isSet(QStringLiteral("spine")))
        window.OpenSpineFile(parser.value(QStringLiteral("spine")));
    return QApplication::exec();
}
