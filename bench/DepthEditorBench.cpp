// The depth editor's interactive operations on a 4096 x 4096 sheet: what one brush dab costs between
// two mouse events (selection, display image and the rectangle the preview would re-upload), and the
// grow, the shift and the undo of a shift the artist waits for after a click.

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "processing/ImageProcessor.h"
#include "sets/LogOutput.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {
constexpr int kSize = 4096;

class SilentLog : public LogWindow
{
public:
    void AppendLine(const std::string&) override {}
};

// A processor with a 4096 x 4096 depth array (a gentle slope) and its editor.
struct EditorSheet
{
    SilentLog window;
    LogOutput log{&window};
    ImageProcessor processor{nullptr, BRONDEL_RESOURCE_DIR, &log};
    DepthEditor* editor = nullptr;

    EditorSheet()
    {
        processor.SetImage(new Image(kSize, kSize), ImageType::Depth);
        processor.PopulateDepthArrayFromMap();
        float* depth = processor.GetDepthArray(0);
        for (std::size_t i = 0; i < static_cast<std::size_t>(kSize) * kSize; ++i)
            depth[i] = 0.001f * static_cast<float>(i % kSize);
        processor.PopulateDepthMapFromArray();
        editor = processor.GetDepthEditor();
    }

    // A selection of `value` inside a disc (radius in pixels), 0 outside.
    void SelectDisc(float radius, float value)
    {
        std::vector<float> selection(static_cast<std::size_t>(kSize) * kSize, 0.0f);
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x)
                if (std::hypot(x - kSize / 2.0f, y - kSize / 2.0f) < radius)
                    selection[static_cast<std::size_t>(y) * kSize + x] = value;
        editor->CopySelectionBlock(0, 0, kSize, kSize, selection.data());
        editor->TakeSelectionDirtyRect();
    }
};

// One mouse event of a stroke crossing the sheet: radius 30 at full strength, 30 more of falloff.
void BrushDab(benchmark::State& state)
{
    EditorSheet sheet;
    DepthEditor& editor = *sheet.editor;
    editor.SetSolidPaintingRadius(30);
    editor.SetPaintingFalloffDistance(30);
    editor.LeftMouseClick(editor.PositionFromPixel(100, 100));
    editor.TakeSelectionDirtyRect(); // a new editor uploads its whole image once
    double uploaded = 0;
    int step = 0;
    for (auto _ : state)
    {
        // Ten pixels further along a diagonal on every event, wrapping round.
        const float at = 100.0f + static_cast<float>((step++ * 10) % (kSize - 200));
        editor.ReceiveMousePosition(editor.PositionFromPixel(at, at));
        uploaded += static_cast<double>(editor.TakeSelectionDirtyRect().Area());
    }
    editor.LeftMouseRelease();
    state.counters["uploaded px"] = benchmark::Counter(uploaded, benchmark::Counter::kAvgIterations);
}

void Grow(benchmark::State& state)
{
    EditorSheet sheet;
    sheet.SelectDisc(1500.0f, 1.0f);
    for (auto _ : state)
    {
        sheet.editor->ExpandSelection(0.05f);
        state.PauseTiming();
        sheet.editor->Undo();
        state.ResumeTiming();
    }
}

// The worst case: everything selected, so every depth moves and the depth image is rebuilt.
void Shift(benchmark::State& state)
{
    EditorSheet sheet;
    sheet.SelectDisc(1e9f, 1.0f);
    for (auto _ : state)
    {
        sheet.editor->ShiftSelection(0.5f);
        state.PauseTiming();
        sheet.editor->Undo();
        state.ResumeTiming();
    }
}

void UndoShift(benchmark::State& state)
{
    EditorSheet sheet;
    sheet.SelectDisc(1e9f, 1.0f);
    for (auto _ : state)
    {
        state.PauseTiming();
        sheet.editor->ShiftSelection(0.5f);
        state.ResumeTiming();
        sheet.editor->Undo();
    }
}

BENCHMARK(BrushDab)->Name("DepthEditor brush dab 4096x4096")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Grow)
    ->Name("DepthEditor grow 4096x4096")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK(Shift)
    ->Name("DepthEditor shift (all selected) 4096x4096")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK(UndoShift)
    ->Name("DepthEditor undo shift (all selected) 4096x4096")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
} // namespace
