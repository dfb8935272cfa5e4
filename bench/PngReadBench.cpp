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

BENCHMARK_CAPTURE(ReadGeneral, Diffuse4096, "Diffuse")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK_CAPTURE(ReadOurs, Diffuse4096, "Diffuse")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(10);
BENCHMARK_CAPTURE(ReadGeneral, Front4096, "Front")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK_CAPTURE(ReadOurs, Front4096, "Front")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);
BENCHMARK_CAPTURE(ReadGeneral, Flow4096, "Flow")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK_CAPTURE(ReadOurs, Flow4096, "Flow")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);
} // namespace
