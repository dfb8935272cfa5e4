#pragma once
#include "core/Colour.h"
#include "preview/Camera.h"
#include "preview/LightingPreview.h"
#include "support/ProcessorFixture.h"

#include <QImage>
#include <functional>
#include <memory>

class QOpenGLFunctions_2_1;

// One application object and one off-screen OpenGL context for the whole test program, made current
// on request. False (and the test is skipped) when no display is available.
bool MakeTestContextCurrent();
QOpenGLFunctions_2_1* TestGL();
void ShutDownTestContext();

// A preview over a processor whose maps the tests fill in, with the shaders of the source tree loaded
// and a neutral light: white direct light, no ambient, nothing but the diffuse map coloured.
struct PreviewGLFixture : ProcessorFixture
{
    static constexpr int kSize = 64;
    PreviewGLFixture();
    LightingPreview preview{&processor, BRONDEL_RESOURCE_DIR, &log.output};

    // Every map the shaders read, kSize x kSize, flat and neutral.
    void SetNeutralMaps();
    void SetMap(ImageType type, const std::function<Colour(int x, int y)>& pixel, int size = kSize);
    // The scene drawn into a fresh frame buffer of w x h pixels through a camera of that size; a size
    // equal to the maps' puts one texel on each pixel.
    QImage Render(int w = kSize, int h = kSize, float cameraHeight = 2.0f);
};

// The scene of any preview drawn into a fresh w x h frame buffer through a camera of that size.
QImage RenderPreview(LightingPreview& preview, int w, int h, float cameraHeight = 2.0f);

// Channels of a rendered pixel, 0..1.
Colour PixelAt(const QImage& image, int x, int y);
// Encoded normal of a unit sphere filling the square, y up; flat outside the disc.
Colour SphereNormal(int x, int y, int size);
bool InsideSphere(int x, int y, int size);
