#include "cli/CommandLineArgumentSet.h"
#include "cli/SpinePoseCommand.h"
#include "cli/Testbed.h"
#include "core/ResourceFolder.h"
#include "sets/BrondelCore.h"

#include <QCoreApplication>

#include <cstring>
#include <iostream>

// BrondelCLI: one batch job from the command line, or a test-bed script with -script. No widgets and
// no display are needed.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (IsSpinePoseCommand(argc, argv))
        return RunSpinePoseCommand(argc, argv, std::cout, std::cerr);
    const CommandLineArgumentSet arguments(argv, argc);
    if (arguments.HasArgument("--help") || arguments.HasArgument("-h"))
    {
        BrondelCore::PrintCLIHelp();
        return 0;
    }
    if (arguments.HasArgument("--version"))
    {
        std::cout << "BrondelCLI " << BRONDEL_VERSION << std::endl;
        return 0;
    }

    ConfigureImageReading();
    BrondelCore core(FindResourceFolder());
    core.SetMessageCallback(
        [](std::string text, std::string caption) { std::cerr << caption << ": " << text << std::endl; });

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
