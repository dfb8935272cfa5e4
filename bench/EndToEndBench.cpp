// Races whole BrondelCLI batch runs against a baseline build of BrondelCLI on synthetic sheets, and
// prints one table: median wall times, their ratio, peak memory, whether both wrote the same pixels,
// and whether each target is met.
//
//   brondel_e2e_bench [--baseline PATH [--baseline-label TEXT]] [--new PATH] [--set-writer PATH]
//
// Without --baseline the new build is measured alone and only the thread scaling can be judged.
// BENCH_E2E_REPEATS=N runs every scenario N times; BENCH_E2E_ONLY=a,c runs only those scenarios.

#include "EndToEndReport.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

namespace {
namespace fs = std::filesystem;

struct Measured
{
    int status = -1; // the exit status; -1 when the command could not start or was killed
    double seconds = 0.0;
    double peakMiB = 0.0;
};

// Runs a command with its standard output discarded and its standard error written to errorFile (left
// alone when empty), and measures its wall time and peak resident memory.
Measured RunDirect(std::vector<std::string> words, const std::string& errorFile)
{
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    if (!errorFile.empty())
        posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    Measured measured;
    const auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
    {
        if (!errorFile.empty())
            std::ofstream(errorFile) << "cannot start " << words[0] << ": " << std::strerror(spawned) << "\n";
        return measured;
    }
    int status = 0;
    rusage usage{};
    while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR)
    {}
    measured.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    measured.peakMiB = static_cast<double>(usage.ru_maxrss) / 1024.0;
    measured.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return measured;
}

// The middle process of a measured run: a fresh copy of this program, still small, starts the command.
// A child's peak memory is never below what its parent held when it was started, and this program
// decodes whole 4096 x 4096 maps to compare them; starting BrondelCLI from here directly would charge
// that to BrondelCLI.
int RunMeasuredChild(int argc, char** argv)
{
    const std::string report = argv[2];
    const std::string errors = argv[3];
    const Measured measured = RunDirect(std::vector<std::string>(argv + 4, argv + argc), errors);
    std::ofstream(report) << measured.status << " " << measured.peakMiB << " " << measured.seconds << "\n";
    return 0;
}

// One side of a race: which executable, and how many worker threads it is told to use (empty: its
// default, every core).
struct Contender
{
    std::string tag; // names its run folders
    std::string label;
    std::string cli;
    std::string threads;
};

struct Scenario
{
    std::string key;
    std::string label;
    int size = 0;
    std::vector<std::string> options;
    std::vector<std::string> maps; // kinds written, as in Sheet_<kind>.png
    double minSpeedUp = 1.0;
    std::optional<double> maxAfterPeakMiB;
    int repeats = 5;
    bool threadScaling = false; // the new build at 1 thread against 2, instead of baseline against new
};

const std::vector<std::string> allMaps = {"Normal", "NormalOpacity", "Depth",   "NormalDepth",
                                          "AO",     "Aniso",         "Palette", "Index"};
const std::vector<std::string> allOptions = {"-nSave",  "-noSave", "-dSave", "-ndSave",
                                             "-aoSave", "-aSave",  "-pSave", "-iSave"};

std::vector<Scenario> Scenarios()
{
    return {
        {"a", "(a) 4096 all eight maps", 4096, allOptions, allMaps, 2.0, 1228.8, 3, false},
        {"b",
         "(b) 2048 normal, depth 100, AO",
         2048,
         {"-nSave", "-dSave", "-dRefSteps", "100", "-aoSave"},
         {"Normal", "Depth", "AO"},
         2.0,
         std::nullopt,
         5,
         false},
        {"c", "(c) 4096 palette", 4096, {"-pSave"}, {"Palette"}, 10.0, std::nullopt, 5, false},
        {"d", "(d) 4096 index", 4096, {"-iSave"}, {"Index"}, 10.0, std::nullopt, 5, false},
        {"e", "(e) 4096 anisotropy", 4096, {"-aSave"}, {"Aniso"}, 10.0, std::nullopt, 5, false},
        {"f", "(f) new (a), 1 thread vs 2", 4096, allOptions, allMaps, 1.8, std::nullopt, 3, true},
    };
}

std::string Tail(const std::string& file, std::size_t maxLines)
{
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    const std::size_t from = lines.size() > maxLines ? lines.size() - maxLines : 0;
    std::string text;
    for (std::size_t i = from; i < lines.size(); ++i)
        text += "    " + lines[i] + "\n";
    return text.empty() ? "    (nothing on standard error)\n" : text;
}

class Driver
{
public:
    Driver(fs::path workFolder, std::string selfPath) : work(std::move(workFolder)), self(std::move(selfPath))
    {}

    bool WriteSet(const std::string& writer, int size)
    {
        const fs::path folder = SetFolder(size);
        fs::create_directories(folder);
        const std::string errors = (work / ("set-" + std::to_string(size) + ".err")).string();
        const Measured written =
            RunDirect({writer, "--write-set", std::to_string(size), folder.string()}, errors);
        if (written.status != 0)
        {
            std::cerr << "Cannot write the " << size << " x " << size << " set:\n" << Tail(errors, 20);
            return false;
        }
        return true;
    }

    Row Race(const Scenario& scenario, const std::vector<Contender>& contenders)
    {
        Row row;
        row.scenario = scenario.label;
        row.minSpeedUp = scenario.minSpeedUp;
        row.maxAfterPeakMiB = scenario.maxAfterPeakMiB;
        // Index 0 is before, 1 after; without a baseline only the after side runs.
        std::vector<double> seconds[2], peaks[2];
        bool failureReported[2] = {false, false};
        for (int repeat = 0; repeat < scenario.repeats; ++repeat)
        {
            std::vector<fs::path> folders(2);
            bool bothSucceeded = true;
            for (int side = 0; side < 2; ++side)
            {
                const Contender& contender = contenders[static_cast<std::size_t>(side)];
                if (contender.cli.empty())
                {
                    bothSucceeded = false;
                    continue;
                }
                folders[static_cast<std::size_t>(side)] =
                    work / (scenario.key + "-" + contender.tag + "-" + std::to_string(repeat));
                const std::string errors = folders[static_cast<std::size_t>(side)].string() + ".err";
                const Measured run =
                    RunOnce(scenario, contender, folders[static_cast<std::size_t>(side)], errors);
                std::fprintf(stderr, "%s  %-16s run %d/%d: %6.2f s, %7.1f MiB%s\n", scenario.key.c_str(),
                             contender.label.c_str(), repeat + 1, scenario.repeats, run.seconds, run.peakMiB,
                             run.status == 0 ? "" : ", FAILED");
                if (run.status != 0)
                {
                    row.anyRunFailed = true;
                    bothSucceeded = false;
                    if (!failureReported[side])
                        notes << scenario.label << ": " << contender.label << " exited with status "
                              << run.status << "; the end of its standard error:\n"
                              << Tail(errors, 15);
                    failureReported[side] = true;
                    continue;
                }
                seconds[side].push_back(run.seconds);
                peaks[side].push_back(run.peakMiB);
            }
            // Outputs do not change from run to run, so the first pair is the one decoded and compared.
            if (repeat == 0 && bothSucceeded)
                row.pixelsIdentical = CompareOutputs(scenario, contenders, folders);
            for (const fs::path& folder : folders)
                if (!folder.empty())
                {
                    fs::remove_all(folder);
                    fs::remove(folder.string() + ".err");
                }
        }
        row.beforeSeconds = Median(seconds[0]);
        row.afterSeconds = Median(seconds[1]);
        for (int side = 0; side < 2; ++side)
            if (!peaks[side].empty())
                (side == 0 ? row.beforePeakMiB : row.afterPeakMiB) =
                    *std::max_element(peaks[side].begin(), peaks[side].end());
        return row;
    }

    std::string Notes() const { return notes.str(); }

private:
    fs::path SetFolder(int size) const { return work / ("set-" + std::to_string(size)); }

    // Every run reads a fresh copy of the set in a folder of its own: maps a run leaves beside its inputs
    // would be loaded as inputs by the next run in that folder.
    Measured RunOnce(const Scenario& scenario, const Contender& contender, const fs::path& folder,
                     const std::string& errors)
    {
        fs::create_directories(folder);
        for (const fs::directory_entry& input : fs::directory_iterator(SetFolder(scenario.size)))
            fs::copy_file(input.path(), folder / input.path().filename());
        if (contender.threads.empty())
            unsetenv("BRONDEL_THREADS");
        else
            setenv("BRONDEL_THREADS", contender.threads.c_str(), 1);
        const std::string report = folder.string() + ".measured";
        std::vector<std::string> words = {self,
                                          "--run-measured",
                                          report,
                                          errors,
                                          contender.cli,
                                          "-source",
                                          (folder / "Sheet_Left.png").string()};
        words.insert(words.end(), scenario.options.begin(), scenario.options.end());
        RunDirect(words, "");
        Measured measured;
        std::ifstream(report) >> measured.status >> measured.peakMiB >> measured.seconds;
        fs::remove(report);
        return measured;
    }

    bool CompareOutputs(const Scenario& scenario, const std::vector<Contender>& contenders,
                        const std::vector<fs::path>& folders)
    {
        bool identical = true;
        for (const std::string& map : scenario.maps)
        {
            const std::string name = "Sheet_" + map + ".png";
            const PixelComparison comparison =
                ComparePixels(QString::fromStdString((folders[0] / name).string()),
                              QString::fromStdString((folders[1] / name).string()));
            if (comparison.identical)
                continue;
            identical = false;
            notes << scenario.label << ": " << name << " differs between " << contenders[0].label << " and "
                  << contenders[1].label << ": " << comparison.reason << "\n";
        }
        return identical;
    }

    fs::path work;
    std::string self;
    std::ostringstream notes;
};

std::optional<std::string> Argument(int argc, char** argv, const std::string& name)
{
    for (int i = 1; i + 1 < argc; ++i)
        if (name == argv[i])
            return std::string(argv[i + 1]);
    return std::nullopt;
}

std::string Defined(const char* value)
{
    return value ? value : "";
}
} // namespace

int main(int argc, char** argv)
{
    if (argc > 4 && std::string(argv[1]) == "--run-measured")
        return RunMeasuredChild(argc, argv);

#ifdef BRONDEL_CLI_PATH
    const std::string builtCli = BRONDEL_CLI_PATH;
#else
    const std::string builtCli;
#endif
#ifdef BRONDEL_SET_WRITER_PATH
    const std::string builtWriter = BRONDEL_SET_WRITER_PATH;
#else
    const std::string builtWriter;
#endif
    const std::string newCli = Argument(argc, argv, "--new").value_or(builtCli);
    const std::string writer = Argument(argc, argv, "--set-writer").value_or(builtWriter);
    const std::string baselineCli = Argument(argc, argv, "--baseline").value_or("");
    const std::string baselineLabel = Argument(argc, argv, "--baseline-label").value_or("baseline");
    if (newCli.empty() || writer.empty())
    {
        std::cerr << "Needs --new BrondelCLI and --set-writer brondel_bench.\n";
        return 2;
    }

    int repeatsOverride = 0;
    if (const char* text = std::getenv("BENCH_E2E_REPEATS"))
        repeatsOverride = std::max(0, std::atoi(text));
    const std::string only = Defined(std::getenv("BENCH_E2E_ONLY"));
    std::vector<Scenario> scenarios;
    for (Scenario scenario : Scenarios())
    {
        if (!only.empty() && only.find(scenario.key) == std::string::npos)
            continue;
        if (repeatsOverride > 0)
            scenario.repeats = repeatsOverride;
        scenarios.push_back(scenario);
    }

    std::string pattern = (fs::temp_directory_path() / "brondel-e2e-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
    {
        std::cerr << "Cannot make a working folder: " << std::strerror(errno) << "\n";
        return 1;
    }
    const fs::path work = pattern;
    Driver driver(work, fs::read_symlink("/proc/self/exe").string());

    std::cout << "\nEnd-to-end: BrondelCLI batch runs, " << std::thread::hardware_concurrency() << " cores\n"
              << "  new:      " << newCli << "\n"
              << "  baseline: "
              << (baselineCli.empty() ? "none, so the new build is measured alone" : baselineCli)
              << (baselineCli.empty() ? "" : " (" + baselineLabel + ")") << "\n"
              << std::flush;

    std::set<int> sizes;
    for (const Scenario& scenario : scenarios)
        sizes.insert(scenario.size);
    for (const int size : sizes)
        if (!driver.WriteSet(writer, size))
        {
            fs::remove_all(work);
            return 1;
        }

    std::vector<Row> rows;
    for (const Scenario& scenario : scenarios)
    {
        std::vector<Contender> contenders;
        if (scenario.threadScaling)
            contenders = {{"t1", "new, 1 thread", newCli, "1"}, {"t2", "new, 2 threads", newCli, "2"}};
        else
            // Both at their default thread count: a BRONDEL_THREADS left in the caller's environment
            // would otherwise slow both down and hide the difference.
            contenders = {{"base", baselineLabel, baselineCli, ""}, {"new", "new", newCli, ""}};
        rows.push_back(driver.Race(scenario, contenders));
    }
    fs::remove_all(work);

    std::cout << "\n"
              << FormatTable(rows)
              << "\nTimes are medians of paired runs, each on a fresh copy of the set; peaks are the highest "
              << "over the runs.\nPixels are compared decoded, on the first pair of each scenario. A failed "
              << "run or a differing map is a MISS.\n";
    if (std::any_of(scenarios.begin(), scenarios.end(), [](const Scenario& s) { return s.threadScaling; }))
        std::cout << "(f) is the new build alone: its base column is BRONDEL_THREADS=1, its new column "
                  << "BRONDEL_THREADS=2.\n";
    const std::string notes = driver.Notes();
    if (!notes.empty())
        std::cout << "\n" << notes;
    std::cout << std::flush;
    return 0;
}
