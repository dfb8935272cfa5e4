// Speed of the lighting preview under whatever OpenGL the display offers (Mesa's software renderer
// under Xvfb on the build machines): one frame drawn and finished, for the example head and for a
// 2048 x 2048 set in an 800 x 800 viewport, per shader; and the upload of a changed 4096 x 4096 map.
#include "core/Image.h"
#include "core/ResourceFolder.h"
#include "preview/Camera.h"
#include "preview/LightingPreview.h"
#include "preview/TextureCache.h"
#include "processing/ImageProcessor.h"
#include "sets/BrondelCore.h"
#include "sets/LogOutput.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions_2_1>
#include <QOpenGLVersionFunctionsFactory>
#include <QSurfaceFormat>

#include <benchmark/benchmark.h>
#include <cmath>
#include <iostream>
#include <memory>
#include <sys/resource.h>

namespace {
QOpenGLFunctions_2_1* gl = nullptr;

// CPU time of the whole process, every thread included: the software renderer draws on worker
// threads, so this shows the work a frame costs even when other jobs share the machine.
double ProcessCpuMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) * 1000.0 + t.tv_usec / 1000.0;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

// Adds the per-iteration CPU time of all threads to a benchmark's report.
class AllThreadsCpu
{
public:
    explicit AllThreadsCpu(benchmark::State& s) : state(s), start(ProcessCpuMilliseconds()) {}
    ~AllThreadsCpu()
    {
        state.counters["cpu_ms_all_threads"] =
            benchmark::Counter((ProcessCpuMilliseconds() - start) / static_cast<double>(state.iterations()));
    }
    AllThreadsCpu(const AllThreadsCpu&) = delete;
    AllThreadsCpu& operator=(const AllThreadsCpu&) = delete;

private:
    benchmark::State& state;
    double start;
};

struct Quiet : LogWindow
{
    void AppendLine(const std::string&) override {}
};

// A field of domes 128 pixels across: every map has detail everywhere, as a real sheet would.
float DomeHeight(int x, int y)
{
    const float u = static_cast<float>(x % 128) / 64.0f - 1.0f;
    const float v = static_cast<float>(y % 128) / 64.0f - 1.0f;
    return std::sqrt(std::max(0.0f, 1.0f - u * u - v * v));
}

Image* Fill(int size, Colour (*pixel)(int, int))
{
    auto* image = new Image(size, size);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            image->SetPixel(x, y, pixel(x, y));
    return image;
}

void FillSyntheticSet(ImageProcessor& processor, int size)
{
    processor.SetImage(Fill(size,
                            [](int x, int y) {
                                const float h = DomeHeight(x, y);
                                const float u = static_cast<float>(x % 128) / 64.0f - 1.0f;
                                const float v = static_cast<float>(y % 128) / 64.0f - 1.0f;
                                return h > 0.0f
                                           ? Colour(0.5f + 0.5f * u, 0.5f - 0.5f * v, 0.5f + 0.5f * h, 1.0f)
                                           : Colour(0.5f, 0.5f, 1.0f, 1.0f);
                            }),
                       ImageType::Normal);
    processor.SetImage(Fill(size,
                            [](int x, int y) {
                                const float h = DomeHeight(x, y);
                                return Colour(h, h, h, 1.0f);
                            }),
                       ImageType::Depth);
    processor.SetImage(
        Fill(size, [](int x, int y) { return Colour(0.8f, 0.5f, 0.3f, DomeHeight(x, y) > 0 ? 1.0f : 0.0f); }),
        ImageType::Diffuse);
    processor.SetImage(Fill(size, [](int, int) { return Colour(0.5f, 0.5f, 0.5f, 1.0f); }),
                       ImageType::Specular);
    processor.SetImage(Fill(size, [](int, int) { return Colour(0.0f, 0.0f, 0.0f, 1.0f); }),
                       ImageType::Emissive);
    processor.SetImage(
        Fill(size, [](int x, int y) { return Colour(0.5f + 0.5f * DomeHeight(x, y), 0, 0, 1.0f); }),
        ImageType::AO);
    processor.SetImage(Fill(size, [](int, int) { return Colour(1.0f, 0.5f, 0.5f, 1.0f); }), ImageType::Aniso);
    processor.SetImage(
        Fill(size, [](int x, int) { return Colour((x % 4) * 64 / 255.0f + 0.1f, 0, 0, 1.0f); }),
        ImageType::Index);
    processor.SetImage(Fill(4,
                            [](int x, int y) {
                                return Colour(static_cast<float>(x) / 4.0f, static_cast<float>(y) / 4.0f,
                                              0.5f, 1.0f);
                            }),
                       ImageType::Palette);
}

void Frame(benchmark::State& state, BrondelCore* core, ShaderEnum shader, bool shadows)
{
    LightingPreview& preview = *core->GetLightingPreviewPointer();
    preview.LoadShaders();
    preview.SelectShader(shader);
    preview.SetShadowing(shadows);
    preview.SetDepthMultiplier(shadows ? 20.0f : 1.0f);
    preview.SetLightPosition(Vector3D(-0.8f, 0.7f, 0.9f));
    QOpenGLFramebufferObject frameBuffer(800, 800, QOpenGLFramebufferObject::CombinedDepthStencil);
    Camera camera(800, 800);
    frameBuffer.bind();
    gl->glViewport(0, 0, 800, 800);
    gl->glEnable(GL_DEPTH_TEST);
    preview.RenderScene(camera); // textures go up outside the measured frames
    gl->glFinish();
    {
        AllThreadsCpu cpu(state);
        for (auto _ : state)
        {
            preview.RenderScene(camera);
            gl->glFinish();
        }
    }
    frameBuffer.release();
    preview.ClearShaders();
}

// A light orbit recorded as it would be from the preview: 30 frames drawn at 512 x 512, read back and
// encoded into a GIF file.
void RecordOrbitGif(benchmark::State& state, BrondelCore* core)
{
    LightingPreview& preview = *core->GetLightingPreviewPointer();
    preview.LoadShaders();
    preview.SelectShader(ShaderEnums::StandardPhong);
    preview.SetShadowing(false);
    preview.GetCamera() = Camera(512, 512);
    const QString path = QDir::temp().filePath(QStringLiteral("brondel-bench-orbit.gif"));
    AllThreadsCpu cpu(state);
    for (auto _ : state)
    {
        preview.StartRecordingGif(path.toStdString(), false);
        if (!preview.DoNecessaryScreenshotStuff())
            state.SkipWithError("the GIF could not be written");
    }
    QFile::remove(path);
    preview.ClearShaders();
}

void UploadChangedMap(benchmark::State& state)
{
    Image map(4096, 4096);
    TextureCache cache;
    cache.Bind(gl, &map, 0);
    gl->glFinish();
    int i = 0;
    AllThreadsCpu cpu(state);
    for (auto _ : state)
    {
        map.SetPixel(i % 4096, 0, Colour(1.0f, 0.0f, 0.0f, 1.0f)); // a new revision
        ++i;
        cache.Bind(gl, &map, 0);
        gl->glFinish();
    }
    cache.Clear(gl);
}
} // namespace

int main(int argc, char** argv)
{
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setVersion(2, 1);
    format.setDepthBufferSize(24);
    QSurfaceFormat::setDefaultFormat(format);
    QGuiApplication application(argc, argv);
    ConfigureImageReading();
    benchmark::Initialize(&argc, argv);

    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface))
    {
        std::cerr << "No OpenGL context: run under a display (xvfb-run)." << std::endl;
        return 1;
    }
    gl = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_2_1>(&context);
    if (gl == nullptr || !gl->initializeOpenGLFunctions())
        return 1;
    std::cout << "OpenGL renderer: " << reinterpret_cast<const char*>(gl->glGetString(GL_RENDERER))
              << std::endl;

    Quiet quiet;
    LogOutput log(&quiet);
    BrondelCore example(FindResourceFolder());
    example.SetLog(log);
    example.LoadDefaultSet();
    example.AttemptNormalGeneration();
    example.AttemptDepthGeneration();
    example.AttemptAOGeneration();
    example.AttemptPaletteGeneration();
    example.AttemptIndexGeneration();
    example.AttemptAnisotropyGeneration();
    BrondelCore big(FindResourceFolder());
    big.SetLog(log);
    FillSyntheticSet(*big.GetCurrentProcessor(), 2048);

    const struct
    {
        const char* name;
        ShaderEnum shader;
        bool shadows;
    } cases[] = {{"Standard Phong", ShaderEnums::StandardPhong, false},
                 {"Standard Phong, shadows", ShaderEnums::StandardPhong, true},
                 {"Cel/palette", ShaderEnums::CelPalette, false},
                 {"Phong/Ward", ShaderEnums::PhongWard, false}};
    for (const auto& [label, core] : {std::pair{"Example head", &example}, std::pair{"2048x2048 set", &big}})
        for (const auto& c : cases)
            benchmark::RegisterBenchmark(
                (std::string("Preview frame 800x800, ") + label + ", " + c.name).c_str(), Frame, core,
                c.shader, c.shadows)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime()
                ->Iterations(10);
    benchmark::RegisterBenchmark("Light orbit GIF, 30 frames at 512x512, example head", RecordOrbitGif,
                                 &example)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(3);
    benchmark::RegisterBenchmark("Upload of a changed 4096x4096 map", UploadChangedMap)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(5);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    context.doneCurrent();
    return 0;
}
