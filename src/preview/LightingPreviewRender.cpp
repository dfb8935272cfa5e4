#include "preview/LightingPreview.h"

#include "core/Image.h"
#include "preview/GifSaver.h"
#include "preview/PreviewUniforms.h"
#include "processing/ImageProcessor.h"

#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions_2_1>
#include <QSaveFile>

#include <cmath>

void LightingPreview::GrabScreenshot(std::string filename, bool nativeResolution)
{
    stillRequested = true;
    renderFilename = std::move(filename);
    nativeResolutionRender = nativeResolution;
}

void LightingPreview::StartRecordingGif(std::string filename, bool nativeResolution)
{
    animationRequested = true;
    renderFilename = std::move(filename);
    nativeResolutionRender = nativeResolution;
}

QImage LightingPreview::RenderAtAnimationTime(float time, QOpenGLFramebufferObject* frameBuffer,
                                              const Camera* view)
{
    if (Functions() == nullptr || frameBuffer == nullptr || !frameBuffer->bind())
        return {};
    if (time >= 0.0f)
    {
        const float theta = 2.0f * time * 3.1416f;
        lightPosition = animationType == AnimationTypes::HorizontalOrbit
                            ? HorizontalOrbitPosition(theta, lightZ)
                            : VerticalOrbitPosition(theta, lightZ);
    }
    GLint viewport[4] = {0, 0, 0, 0};
    gl->glGetIntegerv(GL_VIEWPORT, viewport);
    gl->glViewport(0, 0, frameBuffer->width(), frameBuffer->height());
    gl->glEnable(GL_DEPTH_TEST);
    gl->glEnable(GL_TEXTURE_2D);
    RenderScene(view != nullptr ? *view : camera, false);
    QImage picture = frameBuffer->toImage();
    frameBuffer->release();
    gl->glViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
    return picture;
}

bool LightingPreview::DoNecessaryScreenshotStuff()
{
    if (!stillRequested && !animationRequested)
        return true;
    const bool still = stillRequested;
    stillRequested = false;
    animationRequested = false;
    if (renderFilename.empty() || Functions() == nullptr)
        return true; // a cancelled file dialog asks for nothing to be written

    int width = camera.GetPixelWidth();
    int height = camera.GetPixelHeight();
    std::unique_ptr<Camera> nativeCamera;
    const Image* normal = GetProcessor() != nullptr ? GetProcessor()->GetImage(ImageType::Normal) : nullptr;
    if (nativeResolutionRender && normal != nullptr && normal->HasPlanes())
    {
        width = normal->GetWidth();
        height = normal->GetHeight();
        // Height 2 frames the sprite exactly: one output pixel per map pixel.
        nativeCamera = std::make_unique<Camera>(width, height);
    }
    const bool ok = still ? RenderStill(renderFilename, width, height, nativeCamera.get())
                          : RenderAnimation(renderFilename, width, height, nativeCamera.get());
    if (!ok)
    {
        const std::string text = "Could not write the render to " + renderFilename + ".";
        Report(text);
        if (messageCallback)
            messageCallback(text, "Render failed");
    }
    return ok;
}

namespace {
std::unique_ptr<QOpenGLFramebufferObject> MakeFrameBuffer(int width, int height)
{
    if (width <= 0 || height <= 0)
        return nullptr;
    auto frameBuffer = std::make_unique<QOpenGLFramebufferObject>(
        width, height, QOpenGLFramebufferObject::CombinedDepthStencil);
    if (!frameBuffer->isValid())
        return nullptr;
    return frameBuffer;
}
} // namespace

bool LightingPreview::RenderStill(const std::string& filename, int width, int height, const Camera* view)
{
    auto frameBuffer = MakeFrameBuffer(width, height);
    if (!frameBuffer)
        return false;
    const QImage picture = RenderAtAnimationTime(-1.0f, frameBuffer.get(), view);
    if (picture.isNull())
        return false;
    // The format follows the name's extension; the file is replaced whole or not at all.
    const QString path = QString::fromUtf8(filename.c_str());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QImageWriter writer(&file, QFileInfo(path).suffix().toLower().toLatin1());
    if (!writer.write(picture.convertToFormat(QImage::Format_RGB32)))
    {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

bool LightingPreview::RenderAnimation(const std::string& filename, int width, int height, const Camera* view)
{
    auto frameBuffer = MakeFrameBuffer(width, height);
    if (!frameBuffer)
        return false;
    // One full orbit in 30 frames, then the light goes back where the artist left it.
    const Vector3D lightBefore = lightPosition;
    GifSaver saver(kAnimationFrames, filename, width, height);
    bool framesOk = true;
    for (int i = 0; i < kAnimationFrames && framesOk; ++i)
    {
        QImage frame =
            RenderAtAnimationTime(static_cast<float>(i) / kAnimationFrames, frameBuffer.get(), view);
        framesOk = !frame.isNull() && saver.AddFrame(&frame);
    }
    lightPosition = lightBefore;
    // Without every frame the saver is dropped unfinished, which leaves any existing file as it was.
    return framesOk && saver.SaveGif(log);
}
