#include "cli/BatchOptions.h"
#include "cli/CommandLineArgumentSet.h"
#include "cli/SpinePoseCommand.h"
#include "cli/Testbed.h"
#include "core/ResourceFolder.h"
#include "sets/BrondelCore.h"

#include <QCoreApplication>
#include <QDir>

#include <cstring>
#include <iostream>

namespace {
QtMessageHandler defaultHandler = nullptr;

// The image plug-ins' own complaints name no file; Brondel reports every unreadable file itself, with
// its name and the reason, so these lines would only repeat it without saying which file was meant.
void DropAnonymousDecoderMessages(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.startsWith(QLatin1String("libpng ")) ||
        message.contains(QLatin1String("No file name specified")))
        return;
    if (defaultHandler)
        defaultHandler(type, context, message);
}
} // namespace

// BrondelCLI: one batch job from the command line, or a test-bed script with -script. No widgets and
// no display are needed.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (IsSpinePoseCommand(argc, argv))
        return RunSpinePoseCommand(argc, argv, std::cout, std::cerr);
    defaultHandler = qInstallMessageHandler(DropAnonymousDecoderMessages);
    const CommandLineArgumentSet arguments(argv, argc);
    if (arguments.HasArgument("--help") || arguments.HasArgument("-h"))
    {
        std::cout << BatchOptions::HelpText() << std::flush;
        return 0;
    }
    if (arguments.HasArgument("--version"))
    {
        std::cout << "BrondelCLI " << BRONDEL_VERSION << std::endl;
        return 0;
    }

    ConfigureImageReading();
    const std::string resources = FindResourceFolder();
    BrondelCore core(resources);
    // Every missing member of every set asks for a placeholder, and each failed one would repeat the same
    // message; one line that names the folder is what helps.
    bool placeholdersReported = false;
    core.SetMessageCallback([&resources, &placeholdersReported](std::string text, std::string caption) {
        if (caption == "Default map not found!")
        {
            if (!placeholdersReported)
                std::cerr << "The blank placeholder images were not found in \""
                          << QDir(QString::fromUtf8(
                                      (resources.empty() ? std::string(".") : resources).c_str()))
                                 .absoluteFilePath(QStringLiteral("BlankTextures"))
                                 .toStdString()
                          << "\". Set BRONDEL_RESOURCES to the folder that holds BlankTextures." << std::endl;
            placeholdersReported = true;
            return;
        }
        std::cerr << caption << ": " << text << std::endl;
    });

    // The script name is read by hand: "-" (standard input) is refused as an option value elsewhere.
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "-script") != 0)
            continue;
        if (i + 1 >= argc)
        {
            std::cerr << "-script expects a script file, or - for standard input." << std::endl;
            return 2;
        }
        return RunTestbedScript(core, argv[i + 1]);
    }
    return core.HandleCLIInstance(argv, argc);
}
