// Reading the sheets of a 4096 x 4096 set as Brondel writes them: the PNG reader straight into the
// planes against the general reader (QImage, a conversion to ARGB32 and a split into planes).
#include "SyntheticSet.h"

#include "core/Image.h"
#include "reference/ReferenceImageLoad.h"
#include "support/TestImages.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace {
// The set is drawn once, written, and dropped again, so only its files stay.
const TempFolder& SetFolder()
{
    static const std::unique_ptr<TempFolder> folder = [] {
        auto made = std::make_unique<TempFolder>();
        SaveSyntheticSet(MakeSyntheticSet(4096), made->Path());
        return made;
    }();
    return *folder;
}

void ReadGeneral(benchmark::State& state, const char* kind)
{
    const std::string path = SetFolder().File(std::string("Sheet_") + kind + ".png");
    for (auto _ : state)
        benchmark::DoNotOptimize(ReferenceLoadImage(path));
}

void ReadOurs(benchmark::State& state, const char* kind)
{
    const std::string path = SetFolder().File(std::string("Sheet_") + kind + ".png");
    for (auto _ : state)
    {
        const Image image(path);
        benchmark::DoNotOptimize(image.GetColourPlane());
    }
}

// Without the helper thread that unfilters while the caller inflates.
void ReadOursOneThread(benchmark::State& state, const char* kind)
{
    const ThreadCount one(1);
    ReadOurs(state, kind);
}

const bool registered = [] {
    for (const char* kind : {"Diffuse", "Front", "Flow"})
    {
        const std::string name = std::string("PNG read ") + kind + " 4096x4096/";
        benchmark::RegisterBenchmark((name + "general").c_str(), ReadGeneral, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(5);
        benchmark::RegisterBenchmark((name + "ours").c_str(), ReadOurs, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(10);
        benchmark::RegisterBenchmark((name + "ours, one thread").c_str(), ReadOursOneThread, kind)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Iterations(10);
    }
    return true;
}();
} // namespace
