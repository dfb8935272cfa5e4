#include "GLTestSupport.h"

#include "core/Image.h"
#include "support/TestImages.h"

#include <QApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions_2_1>
#include <QOpenGLVersionFunctionsFactory>
#include <QSurfaceFormat>

#include <cmath>

namespace {
// Kept for the whole run and never destroyed: the OpenGL driver then stays loaded until the process
// ends, so the leak checker can still name whatever the driver keeps for itself.
QApplication* application = nullptr;
QOffscreenSurface* surface = nullptr;
QOpenGLContext* context = nullptr;
int argc = 1;
char programName[] = "test_previewgl";
char* argv[] = {programName, nullptr};
} // namespace

bool MakeTestContextCurrent()
{
    if (!application)
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
            return false;
        QSurfaceFormat format;
        format.setRenderableType(QSurfaceFormat::OpenGL);
        format.setProfile(QSurfaceFormat::CompatibilityProfile);
        format.setVersion(2, 1);
        format.setDepthBufferSize(24);
        QSurfaceFormat::setDefaultFormat(format);
        application = new QApplication(argc, argv);
        surface = new QOffscreenSurface();
        surface->setFormat(format);
        surface->create();
        context = new QOpenGLContext();
        context->setFormat(format);
        if (!context->create())
            return false;
    }
    return context != nullptr && context->makeCurrent(surface);
}

QOpenGLFunctions_2_1* TestGL()
{
    auto* gl = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_2_1>(QOpenGLContext::currentContext());
    if (gl != nullptr)
        gl->initializeOpenGLFunctions();
    return gl;
}

void ShutDownTestContext()
{
    if (context != nullptr)
        context->doneCurrent();
}

PreviewGLFixture::PreviewGLFixture()
{
    preview.SetDirectLightColour(Colour(1.0f, 1.0f, 1.0f));
    preview.SetUpperAmbientColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetLowerAmbientColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetBackgroundColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetLightIconVisibility(false);
    preview.SetSpecularMultiplier(1.0f);
    SetNeutralMaps();
}

void PreviewGLFixture::SetMap(ImageType type, const std::function<Colour(int x, int y)>& pixel, int size)
{
    Set(type, MakeImage(size, size, pixel));
}

void PreviewGLFixture::SetNeutralMaps()
{
    const auto flat = [](Colour c) { return [c](int, int) { return c; }; };
    SetMap(ImageType::Normal, flat(Colour(0.5f, 0.5f, 1.0f, 1.0f)));
    SetMap(ImageType::Diffuse, flat(Colour(1.0f, 1.0f, 1.0f, 1.0f)));
    SetMap(ImageType::Depth, flat(Colour(0.0f, 0.0f, 0.0f, 1.0f)));
    SetMap(ImageType::Specular, flat(Colour(0.0f, 0.0f, 0.0f, 1.0f)));
    SetMap(ImageType::Emissive, flat(Colour(0.0f, 0.0f, 0.0f, 1.0f)));
    SetMap(ImageType::AO, flat(Colour(1.0f, 1.0f, 1.0f, 1.0f)));
    SetMap(ImageType::Aniso, flat(Colour(1.0f, 0.5f, 0.5f, 1.0f)));
    SetMap(ImageType::Index, flat(Colour(0.0f, 0.0f, 0.0f, 1.0f)));
    SetMap(ImageType::Palette, flat(Colour(1.0f, 1.0f, 1.0f, 1.0f)));
}

QImage PreviewGLFixture::Render(int w, int h, float cameraHeight)
{
    return RenderPreview(preview, w, h, cameraHeight);
}

QImage RenderPreview(LightingPreview& preview, int w, int h, float cameraHeight)
{
    QOpenGLFramebufferObject frameBuffer(w, h, QOpenGLFramebufferObject::CombinedDepthStencil);
    Camera camera(w, h);
    camera.SetHeight(cameraHeight);
    return preview.RenderAtAnimationTime(-1.0f, &frameBuffer, &camera);
}

Colour PixelAt(const QImage& image, int x, int y)
{
    const QColor c = image.pixelColor(x, y);
    return Colour(static_cast<float>(c.redF()), static_cast<float>(c.greenF()), static_cast<float>(c.blueF()),
                  static_cast<float>(c.alphaF()));
}

bool InsideSphere(int x, int y, int size)
{
    const float u = (static_cast<float>(x) + 0.5f) / static_cast<float>(size) * 2.0f - 1.0f;
    const float v = 1.0f - (static_cast<float>(y) + 0.5f) / static_cast<float>(size) * 2.0f;
    return u * u + v * v < 0.95f;
}

Colour SphereNormal(int x, int y, int size)
{
    if (!InsideSphere(x, y, size))
        return Colour(0.5f, 0.5f, 1.0f, 1.0f);
    const float u = (static_cast<float>(x) + 0.5f) / static_cast<float>(size) * 2.0f - 1.0f;
    const float v = 1.0f - (static_cast<float>(y) + 0.5f) / static_cast<float>(size) * 2.0f;
    const float z = std::sqrt(std::max(0.0f, 1.0f - u * u - v * v));
    return Colour(0.5f * u + 0.5f, 0.5f * v + 0.5f, 0.5f * z + 0.5f, 1.0f);
}
