// Times every generator on synthetic sheets against the plain reference loops in the same run,
// then prints one table row per generator: our time, the reference time and their ratio, plus the
// wall time and peak memory of a whole BrondelCLI batch run on a 4096 x 4096 sheet.

#include "SyntheticSet.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessor.h"
#include "reference/ReferenceAO.h"
#include "reference/ReferenceAnisotropy.h"
#include "reference/ReferenceDepth.h"
#include "reference/ReferenceNormals.h"
#include "reference/ReferencePalette.h"
#include "sets/LogOutput.h"
#include "support/TestImages.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>

extern char** environ;

namespace {
class QuietLog : public LogWindow
{
public:
    void AppendLine(const std::string&) override {}
};

QuietLog quietWindow;
LogOutput quietLog(&quietWindow);

// Sets are costly to draw, so each size is drawn once.
const SyntheticSet& Set(int size)
{
    static std::map<int, SyntheticSet> sets;
    auto found = sets.find(size);
    if (found == sets.end())
        found = sets.emplace(size, MakeSyntheticSet(size)).first;
    return found->second;
}

std::unique_ptr<ImageProcessor> LoadedProcessor(int size)
{
    const SyntheticSet& set = Set(size);
    auto processor = std::make_unique<ImageProcessor>(nullptr, BRONDEL_RESOURCE_DIR, &quietLog);
    processor->SetImage(new Image(*set.left), ImageType::Left);
    processor->SetImage(new Image(*set.right), ImageType::Right);
    processor->SetImage(new Image(*set.top), ImageType::Top);
    processor->SetImage(new Image(*set.bottom), ImageType::Bottom);
    processor->SetImage(new Image(*set.diffuse), ImageType::Diffuse);
    processor->SetImage(new Image(*set.flow), ImageType::Flow);
    return processor;
}

std::string SizeName(int size)
{
    return std::to_string(size) + "x" + std::to_string(size);
}

// --- our generators

void OurNormals(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    for (auto _ : state)
        processor->GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
}

void OurDepth(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    processor->GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    for (auto _ : state)
        processor->GenerateDepthMapFromNormals(100, false, 0.2f);
}

void OurAO(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    processor->GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    processor->GenerateDepthMapFromNormals(20, false, 0.2f);
    for (auto _ : state)
        processor->GenerateAOFromDepth(0.01f, 5, 1, 0.0f);
}

void OurAnisotropy(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    for (auto _ : state)
        processor->GenerateAnisotropyMap(3, 0);
}

void OurPalette(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    for (auto _ : state)
        processor->CreatePaletteFromDiffuseMap(32, false);
}

void OurIndex(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    processor->CreatePaletteFromDiffuseMap(32, false);
    for (auto _ : state)
        processor->GeneratePaletteIndex();
}

// --- the reference loops, on the same inputs

void ReferenceNormals(benchmark::State& state, int size)
{
    const SyntheticSet& set = Set(size);
    ReferenceNormalInputs in{set.left.get(), set.right.get(),   set.top.get(), set.bottom.get(),
                             nullptr,        set.diffuse.get(), size,          size};
    int mips = 1;
    for (int s = size; s % 2 == 0; s /= 2)
        ++mips;
    for (auto _ : state)
    {
        const std::vector<Vector3D> normals = ReferenceGenerateNormals(in, 1.0f, 0.0f, 0.0f, true);
        benchmark::DoNotOptimize(ReferenceNormalMips(normals, size, size, mips));
        benchmark::DoNotOptimize(ReferenceEncodeNormals(normals, size, size, false, set.diffuse.get()));
    }
}

void ReferenceDepth(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    processor->GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    std::vector<std::vector<Vector3D>> levels;
    for (int l = 0; l < processor->GetMipCount(); ++l)
        levels.emplace_back(processor->GetNormalArray(l),
                            processor->GetNormalArray(l) +
                                static_cast<std::size_t>(processor->MipWidth(l)) * processor->MipHeight(l));
    const std::vector<std::uint8_t> alpha =
        Plain(ReadChannelBytes(*Set(size).diffuse, Channel::Alpha, size, size));
    for (auto _ : state)
    {
        const std::vector<float> depth = ReferenceDepthFromNormals(levels, size, size, 100, 0.2f);
        benchmark::DoNotOptimize(ReferenceNormaliseDepth(depth, size, size, &alpha));
    }
}

void ReferenceAO(benchmark::State& state, int size)
{
    auto processor = LoadedProcessor(size);
    processor->GenerateNormals(1.0f, 0.0f, 0.0f, true, false);
    processor->GenerateDepthMapFromNormals(20, false, 0.2f);
    const std::vector<float> red =
        Plain(ReadChannel(*processor->GetImage(ImageType::Depth), Channel::Red, size, size));
    const std::vector<std::uint8_t> alpha =
        Plain(ReadChannelBytes(*Set(size).diffuse, Channel::Alpha, size, size));
    for (auto _ : state)
    {
        const std::vector<float> heights = ReferenceAOHeights(red, &alpha);
        benchmark::DoNotOptimize(ReferenceAmbientOcclusion(heights, size, size, 0.01f, 5, 1, 0.0f));
    }
}

void ReferenceAnisotropy(benchmark::State& state, int size)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(ReferenceAnisotropyMap(*Set(size).flow, 3, 0));
}

void ReferencePaletteBench(benchmark::State& state, int size)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(ReferenceCreatePalette(*Set(size).diffuse, 32, false));
}

void ReferenceIndex(benchmark::State& state, int size)
{
    const auto palette = ReferenceCreatePalette(*Set(size).diffuse, 32, false);
    for (auto _ : state)
        benchmark::DoNotOptimize(ReferencePaletteIndex(*Set(size).diffuse, *palette));
}

// Collects each run's wall time so the table can pair ours with the reference.
class TableReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
    std::map<std::string, double> times; // milliseconds
};

struct Pair
{
    std::string label;
    std::string ours;
    std::string reference;
};

std::vector<Pair> pairs;

void Register(const std::string& label, void (*ours)(benchmark::State&, int),
              void (*reference)(benchmark::State&, int), int size, int iterations)
{
    const std::string name = label + " " + SizeName(size);
    benchmark::RegisterBenchmark((name + "/ours").c_str(), ours, size)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(iterations);
    Pair pair{name, name + "/ours", ""};
    if (reference)
    {
        pair.reference = name + "/reference";
        benchmark::RegisterBenchmark(pair.reference.c_str(), reference, size)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(1);
    }
    pairs.push_back(pair);
}
} // namespace

int main(int argc, char** argv)
{
    // Writes a synthetic set as PNG files, for the end-to-end runs and for profiling BrondelCLI by hand.
    if (argc == 4 && std::string(argv[1]) == "--write-set")
    {
        std::cout << SaveSyntheticSet(MakeSyntheticSet(std::stoi(argv[2])), argv[3]) << std::endl;
        return 0;
    }
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);

    for (const int size : {1024, 4096})
    {
        const bool big = size == 4096;
        Register("Normals", OurNormals, big ? ReferenceNormals : nullptr, size, 3);
        Register("Depth (100 steps)", OurDepth, big ? ReferenceDepth : nullptr, size, big ? 2 : 3);
        Register("Anisotropy", OurAnisotropy, big ? ReferenceAnisotropy : nullptr, size, 3);
        Register("Palette", OurPalette, big ? ReferencePaletteBench : nullptr, size, 3);
        Register("Index", OurIndex, big ? ReferenceIndex : nullptr, size, 3);
    }
    Register("AO (box 5, step 1)", OurAO, nullptr, 1024, 3);
    Register("AO (box 5, step 1)", OurAO, ReferenceAO, 2048, 2);

    // Generators write housekeeping lines to standard output; keep them out of the report.
    std::ostream report(std::cout.rdbuf());
    std::ostringstream swallowed;
    std::streambuf* const original = std::cout.rdbuf(swallowed.rdbuf());
    TableReporter reporter;
    reporter.SetOutputStream(&report);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::cout.rdbuf(original);

    std::cout << "\nThreads: " << GetWorkerThreadCount() << "\n\n";
    std::cout << std::left << std::setw(34) << "Generator" << std::right << std::setw(12) << "ours (ms)"
              << std::setw(16) << "reference (ms)" << std::setw(10) << "ratio"
              << "\n";
    std::cout << std::fixed;
    for (const Pair& pair : pairs)
    {
        const auto ours = reporter.times.find(pair.ours);
        if (ours == reporter.times.end())
            continue;
        std::cout << std::left << std::setw(34) << pair.label << std::right << std::setw(12)
                  << std::setprecision(1) << ours->second;
        const auto reference = reporter.times.find(pair.reference);
        if (reference != reporter.times.end())
            std::cout << std::setw(16) << reference->second << std::setw(9) << std::setprecision(1)
                      << reference->second / ours->second << "x";
        std::cout << "\n";
    }
    std::cout << std::endl;
    benchmark::Shutdown();
    return 0;
}
