// Recording a light animation: 30 frames of 512 x 512 encoded as they arrive, as the preview does.
#include "preview/GifSaver.h"
#include "support/TestImages.h"

#include <QImage>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {
// A shaded ball whose light turns a little each frame, so every frame differs from the one before.
QImage LitFrame(int size, int frame)
{
    QImage image(size, size, QImage::Format_RGBX8888);
    const double angle = 2 * 3.1416 * frame / 30;
    for (int y = 0; y < size; ++y)
    {
        uchar* row = image.scanLine(y);
        for (int x = 0; x < size; ++x)
        {
            const double nx = (x - size / 2.0) / (size / 2.5), ny = (y - size / 2.0) / (size / 2.5);
            const double r2 = nx * nx + ny * ny;
            const double shade =
                r2 < 1.0
                    ? std::max(0.05, nx * std::sin(angle) + ny * std::cos(angle) + 0.5 * std::sqrt(1 - r2))
                    : 0.1;
            row[4 * x] = static_cast<uchar>(std::min(255.0, 230 * shade));
            row[4 * x + 1] = static_cast<uchar>(std::min(255.0, 170 * shade + 10));
            row[4 * x + 2] = static_cast<uchar>(std::min(255.0, 110 * shade + 25));
            row[4 * x + 3] = 255;
        }
    }
    return image;
}

void GifAnimation512(benchmark::State& state)
{
    std::vector<QImage> frames;
    for (int i = 0; i < 30; ++i)
        frames.push_back(LitFrame(512, i));
    TempFolder folder;
    for (auto _ : state)
    {
        GifSaver saver(0, folder.File("bench.gif"), 512, 512);
        for (QImage& frame : frames)
            saver.AddFrame(&frame);
        benchmark::DoNotOptimize(saver.SaveGif(nullptr));
    }
}
BENCHMARK(GifAnimation512)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
} // namespace
