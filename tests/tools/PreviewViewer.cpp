// A developer's window onto the lighting preview before the main window exists: loads an image set
// (the example head by default), generates the maps it lacks, and shows it in a BDPreviewWindow with
// the light orbiting. With --render <folder> it writes one PNG per shader instead of opening a window.
#include "core/ResourceFolder.h"
#include "preview/Camera.h"
#include "preview/LightingPreview.h"
#include "processing/ImageProcessor.h"
#include "sets/BrondelCore.h"
#include "ui/BDPreviewWindow.h"

#include <QApplication>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QSurfaceFormat>

#include <iostream>
#include <string>

namespace {
void GenerateMissingMaps(BrondelCore& core)
{
    if (!core.HasNonDefaultImageOfType(ImageType::Normal))
        core.AttemptNormalGeneration();
    if (!core.HasNonDefaultImageOfType(ImageType::Depth))
        core.AttemptDepthGeneration();
    if (!core.HasNonDefaultImageOfType(ImageType::AO))
        core.AttemptAOGeneration();
    // Palette columns shaded from white through the colour to black, so palette shading has shades.
    core.SetPaletteSampleLighting(true);
    if (!core.HasNonDefaultImageOfType(ImageType::Palette))
        core.AttemptPaletteGeneration();
    if (!core.HasNonDefaultImageOfType(ImageType::Index))
        core.AttemptIndexGeneration();
    if (!core.HasNonDefaultImageOfType(ImageType::Aniso))
        core.AttemptAnisotropyGeneration();
}

// The look the main window starts with: the default light settings, multipliers applied.
void ApplyDefaultLighting(BrondelCore& core)
{
    core.SetDirectLightColour(Colour(0.8f, 0.8f, 0.68f));
    core.SetUpperAmbientColour(Colour(0.2f, 0.2f, 0.17f));
    core.SetLowerAmbientColour(Colour(0.085f, 0.085f, 0.1f));
    core.SetBackgroundColour(Colour(0.1f, 0.1f, 0.1f));
    core.SetDepthMultiplier(1.0f);
}

int RenderEveryShader(BrondelCore& core, const std::string& folder, int size)
{
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface))
    {
        std::cerr << "No OpenGL context." << std::endl;
        return 1;
    }
    context.functions()->glEnable(GL_DEPTH_TEST);
    LightingPreview& preview = *core.GetLightingPreviewPointer();
    preview.LoadShaders();
    preview.SetLightPosition(Vector3D(-0.8f, 0.7f, 0.9f));
    preview.SetLightIconVisibility(false);
    const struct
    {
        ShaderEnum shader;
        const char* name;
        bool shadows;
        float depthMultiply;
    } renders[] = {{ShaderEnums::StandardPhong, "StandardPhong", false, 1.0f},
                   {ShaderEnums::StandardPhong, "StandardPhongShadows", true, 20.0f},
                   {ShaderEnums::CelPalette, "CelPalette", false, 1.0f},
                   {ShaderEnums::PhongWard, "PhongWard", false, 1.0f},
                   {ShaderEnums::DepthEditing, "DepthEditing", false, 1.0f}};
    for (const auto& r : renders)
    {
        preview.SelectShader(r.shader);
        preview.SetShadowing(r.shadows);
        preview.SetDepthMultiplier(r.depthMultiply);
        preview.SetDepthEditMode(r.shader == ShaderEnums::DepthEditing);
        preview.SetContourDisplay(r.shader == ShaderEnums::DepthEditing);
        QOpenGLFramebufferObject frameBuffer(size, size, QOpenGLFramebufferObject::CombinedDepthStencil);
        Camera camera(size, size);
        camera.SetHeight(2.2f);
        const std::string path = folder + "/" + r.name + ".png";
        if (!preview.RenderAtAnimationTime(-1.0f, &frameBuffer, &camera).save(QString::fromStdString(path)))
            std::cerr << "Could not write " << path << std::endl;
    }
    preview.ClearShaders();
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setVersion(2, 1);
    format.setDepthBufferSize(24);
    QSurfaceFormat::setDefaultFormat(format);
    QApplication application(argc, argv);
    ConfigureImageReading();

    std::string renderFolder;
    std::string setFile;
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = argv[i];
        if (argument == "--render" && i + 1 < argc)
            renderFolder = argv[++i];
        else
            setFile = argument;
    }

    BrondelCore core(FindResourceFolder());
    if (setFile.empty())
        core.LoadDefaultSet();
    else
        core.LoadImageSet(setFile);
    GenerateMissingMaps(core);
    ApplyDefaultLighting(core);

    if (!renderFolder.empty())
        return RenderEveryShader(core, renderFolder, 512);

    BDPreviewWindow window;
    window.SetRenderer(core.GetLightingPreviewPointer());
    window.SetCore(&core);
    core.SetLightAnimation(AnimationTypes::VerticalOrbit);
    window.resize(800, 800);
    window.setWindowTitle(QStringLiteral("Brondel preview"));
    window.show();
    return QApplication::exec();
}
