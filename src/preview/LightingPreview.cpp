#include "preview/LightingPreview.h"

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "deptheditor/EdgeArray.h"
#include "preview/PreviewUniforms.h"
#include "preview/TextureCache.h"
#include "processing/ImageProcessor.h"
#include "sets/LogOutput.h"
#include "spine/SpineData.h"

#include <QFile>
#include <QOpenGLContext>
#include <QOpenGLFunctions_2_1>
#include <QOpenGLShaderProgram>
#include <QOpenGLVersionFunctionsFactory>

#include <cmath>
#include <iostream>

namespace {
// Which sampler reads which kind of map, on which texture unit.
struct SamplerBinding
{
    const char* uniform;
    ImageType type;
};
constexpr SamplerBinding kSamplers[] = {
    {"normalMap", ImageType::Normal},     {"diffuseMap", ImageType::Diffuse},
    {"depthMap", ImageType::Depth},       {"specularMap", ImageType::Specular},
    {"emissiveMap", ImageType::Emissive}, {"aoMap", ImageType::AO},
    {"anisotropyMap", ImageType::Aniso},  {"indexMap", ImageType::Index},
    {"paletteMap", ImageType::Palette}};

// Fragment shaders in the order they are compiled and logged, with the program slot each one fills
// (-1 for the light marker's simple-colour program).
struct FragmentShaderFile
{
    const char* logLine;
    const char* file;
    int slot;
};
constexpr FragmentShaderFile kFragmentShaders[] = {
    {"Loading Phong shader.", "StandardPhong.fsd", ShaderEnums::StandardPhong},
    {"Loading Phong/Ward shader.", "PhongWard.fsd", ShaderEnums::PhongWard},
    {"Loading cel shader.", "CelPalette.fsd", ShaderEnums::CelPalette},
    {"Loading depth editor shader.", "DepthEditing.fsd", ShaderEnums::DepthEditing},
    {"Loading Phong spine shader.", "PhongSpine.fsd", ShaderEnums::PhongSpine},
    {"Loading simple fragment shader.", "SimpleColour.fsd", -1}};

bool ReadText(const std::string& path, std::string& text)
{
    QFile file(QString::fromUtf8(path.c_str()));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    text = file.readAll().toStdString();
    return true;
}
} // namespace

LightingPreview::LightingPreview(ImageProcessor* processorValue, std::string resourceFolderValue,
                                 LogOutput* logOutput)
    : processorPointer(processorValue), resourceFolder(std::move(resourceFolderValue)), log(logOutput)
{}

// The programs and textures belong to the widget's context, which is gone or not current by now; the
// widget calls ClearShaders while its context is still alive. Anything left is only forgotten.
LightingPreview::~LightingPreview()
{
    for (auto& program : programs)
        static_cast<void>(program.release());
    static_cast<void>(simpleColourProgram.release());
}

void LightingPreview::InitialisePreviewWindow(int width, int height, MessageCallback message,
                                              RefreshCallback refresh)
{
    camera = Camera(width, height);
    messageCallback = std::move(message);
    refreshCallback = std::move(refresh);
}

void LightingPreview::Report(const std::string& line) const
{
    // Shader messages go to the log window and also to standard output, where a developer editing a
    // shader is likely to be looking.
    if (log != nullptr && log->window != nullptr)
    {
        log->AppendText(line);
        std::cout << line << std::endl;
    }
    else if (log != nullptr)
        log->AppendText(line);
    else
        std::cout << line << std::endl;
}

QOpenGLFunctions_2_1* LightingPreview::Functions()
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (context == nullptr)
        return nullptr;
    if (context != glContext)
    {
        // Textures belong to the context they were made in; a new context starts a new cache.
        textureCache.reset();
        glContext = context;
        gl = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_2_1>(context);
        if (gl != nullptr && !gl->initializeOpenGLFunctions())
            gl = nullptr;
    }
    return gl;
}

void LightingPreview::SetLightAnimation(AnimationType type)
{
    animationType = type;
    if (type == AnimationTypes::NoAnimation)
        StopAnimation();
    else
        StartAnimation();
}

void LightingPreview::SetSpineObject(std::unique_ptr<SpineData> skeleton)
{
    spine = std::move(skeleton);
}

void LightingPreview::StepFrame(float elapsedMilliseconds)
{
    // The skeleton takes the frame's milliseconds as they are: its playback speed (0.001 once loaded)
    // turns them into the animation's seconds.
    if (spine)
        spine->Update(elapsedMilliseconds);
    if (leftHeld && !rightHeld)
    {
        if (!depthEditMode)
            lightPosition = Vector3D(cursorPosition.x, cursorPosition.y, lightZ);
        return;
    }
    if (!animating)
        return;
    orbitTime += elapsedMilliseconds;
    const float theta = OrbitAngle(orbitTime);
    if (animationType == AnimationTypes::VerticalOrbit)
        lightPosition = VerticalOrbitPosition(theta, lightZ);
    else if (animationType == AnimationTypes::HorizontalOrbit)
        lightPosition = HorizontalOrbitPosition(theta, -lightZ);
}

void LightingPreview::MouseMoved(int x, int y)
{
    const Vector2D previous = camera.GetPositionFromPixel(cursorPixelX, cursorPixelY, rotation);
    const Vector2D current = camera.GetPositionFromPixel(x, y, rotation);
    cursorPosition = current;
    cursorPixelX = x;
    cursorPixelY = y;
    if (leftHeld && rightHeld)
        camera.Zoom(current.y - previous.y);
    else if (leftHeld && !depthEditMode)
        lightPosition = Vector3D(current.x, current.y, lightZ);
    else if (leftHeld)
    {
        // One event behind, as the depth brush has always drawn.
        if (depthEditDrag)
            depthEditDrag(previous);
    }
    else if (rightHeld)
        camera.Pan(previous - current);
}

PreviewUniformValues LightingPreview::ComputeUniformValues() const
{
    PreviewUniformValues v;
    v.directLightColour = directLightColour;
    v.ambientLightColour = upperAmbientColour;
    v.ambientLightColour2 = LowerAmbientUniform(upperAmbientColour, lowerAmbientColour, lowerFollowsUpper);
    v.lightPosition = LightPositionUniform(lightPosition, directionalLight);
    v.useDirectionalLight = DirectionalLightUniform(directionalLight);
    v.rotationMatrix = RotationMatrixUniform(meshMode, rotation);
    v.lightWrap = lightWrap;
    v.amplifyDepth = AmplifyDepthUniform(depthMultiply);
    v.specMult = specularMultiplier;
    v.attenuationMultiplier = attenuationMultiplier;
    v.glossFromSpecAlpha = glossFromSpecAlpha ? 1.0f : 0.0f;
    v.normalFlip = normalFlip ? 1.0f : 0.0f;
    v.shadows = shadows ? 1.0f : 0.0f;
    v.ambientMapStrength = ambientMapStrength;
    v.celShadingLevel = CelShadingLevelUniform(celShading, celShadingLevel);
    const Image* diffuse = GetProcessor() != nullptr ? GetProcessor()->GetImage(ImageType::Diffuse) : nullptr;
    v.textureResolution = TextureResolutionUniform(textureFiltering, diffuse);
    v.depthRange = (contourDisplay && GetProcessor() != nullptr) ? GetProcessor()->GetDepthRange() : 0.0f;
    return v;
}

std::unique_ptr<QOpenGLShaderProgram> LightingPreview::BuildProgram(const std::string& label,
                                                                    const std::string& fragmentSource,
                                                                    const std::string& vertexSource,
                                                                    bool vertexOk)
{
    auto program = std::make_unique<QOpenGLShaderProgram>();
    const bool vertexCompiled =
        vertexOk &&
        program->addShaderFromSourceCode(QOpenGLShader::Vertex, QByteArray::fromStdString(vertexSource));
    if (vertexOk && !vertexCompiled)
        Report("Passthrough.vsd failed to compile: " + program->log().toStdString());
    const bool fragmentCompiled =
        program->addShaderFromSourceCode(QOpenGLShader::Fragment, QByteArray::fromStdString(fragmentSource));
    if (!fragmentCompiled)
        Report(label + " failed to compile: " + program->log().toStdString());
    else if (!program->log().trimmed().isEmpty())
        Report(label + " compile log: " + program->log().trimmed().toStdString());
    if (!vertexCompiled || !fragmentCompiled)
        return nullptr;
    if (!program->link())
    {
        Report(label + " failed to link: " + program->log().toStdString());
        return nullptr;
    }
    const QString linkLog = program->log().trimmed();
    if (!linkLog.isEmpty())
        Report(label + " link log: " + linkLog.toStdString());
    return program;
}

void LightingPreview::LoadShaders()
{
    if (Functions() == nullptr)
        return;
    shaderReloadPending = false;
    const std::string folder = resourceFolder + "Shaders/";

    Report("Loading passthrough shader.");
    std::string vertexSource;
    const bool vertexRead = ReadText(folder + "Passthrough.vsd", vertexSource);
    if (!vertexRead)
        Report("Could not read " + folder + "Passthrough.vsd");

    // Each program is built aside and replaces the one in use only when it links, so a shader being
    // edited that fails to compile leaves the preview drawing with the last good one.
    for (const FragmentShaderFile& shader : kFragmentShaders)
    {
        Report(shader.logLine);
        std::string fragmentSource;
        std::unique_ptr<QOpenGLShaderProgram> program;
        if (!ReadText(folder + shader.file, fragmentSource))
            Report("Could not read " + folder + shader.file);
        else
            program = BuildProgram(shader.file, fragmentSource, vertexSource, vertexRead);
        auto& slot = shader.slot < 0 ? simpleColourProgram : programs[static_cast<std::size_t>(shader.slot)];
        if (program)
            slot = std::move(program);
        else if (slot)
            Report(std::string("Keeping the previous program for ") + shader.file + ".");
    }
}

void LightingPreview::ClearShaders()
{
    for (auto& program : programs)
        program.reset();
    simpleColourProgram.reset();
    if (textureCache && Functions() != nullptr)
        textureCache->Clear(gl);
    textureCache.reset();
}

bool LightingPreview::IsShaderUsable(ShaderEnum shader) const
{
    return programs[static_cast<std::size_t>(shader)] != nullptr;
}

void LightingPreview::Resize(int width, int height)
{
    camera.Resize(width, height);
}

void LightingPreview::ClearScreen()
{
    if (Functions() == nullptr)
        return;
    if (shaderReloadPending)
        LoadShaders();
    gl->glClearColor(backgroundColour.r, backgroundColour.g, backgroundColour.b, 1.0f);
    gl->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

QOpenGLShaderProgram* LightingPreview::BoundProgram() const
{
    if (spine)
        return programs[static_cast<std::size_t>(ShaderEnums::PhongSpine)].get();
    return programs[static_cast<std::size_t>(selectedShader)].get();
}

void LightingPreview::DoPreDrawBinding()
{
    if (Functions() == nullptr)
        return;
    gl->glMatrixMode(GL_MODELVIEW);
    gl->glLoadIdentity();
    if (meshMode)
        gl->glRotatef(rotation, 0.0f, 0.0f, 1.0f);

    QOpenGLShaderProgram* program = BoundProgram();
    if (program == nullptr || !program->bind())
        return;
    if (!textureCache)
        textureCache = std::make_unique<TextureCache>();

    DepthEditor* editor = GetProcessor() != nullptr ? GetProcessor()->GetDepthEditor() : nullptr;
    for (int unit = 0; unit < static_cast<int>(std::size(kSamplers)); ++unit)
    {
        const Image* image =
            GetProcessor() != nullptr ? GetProcessor()->GetImage(kSamplers[unit].type) : nullptr;
        if (depthEditMode && editor != nullptr && (unit == 1 || unit == 3))
        {
            image = unit == 1 ? &editor->GetSelectionImage() : &editor->GetEdges().GetEdgeImage();
            // A brush dab changes a small patch of a sheet-sized image: only that patch is sent, and
            // the texture then counts as current, so the bind below sends nothing more.
            const PixelRect dirty =
                unit == 1 ? editor->TakeSelectionDirtyRect() : editor->TakeEdgeDirtyRect();
            if (!dirty.IsEmpty())
                textureCache->UpdateRegion(gl, image, dirty.x, dirty.y, dirty.width, dirty.height);
        }
        // Index and palette maps hold lookups, not pictures: blending neighbouring texels would
        // address columns between palette entries, so they stay nearest whatever the filtering switch.
        const bool lookup =
            kSamplers[unit].type == ImageType::Index || kSamplers[unit].type == ImageType::Palette;
        textureCache->Bind(gl, image, unit, textureFiltering && !lookup);
        program->setUniformValue(kSamplers[unit].uniform, unit);
    }
    gl->glActiveTexture(GL_TEXTURE0);

    const PreviewUniformValues v = ComputeUniformValues();
    const auto rgb = [](const Colour& c) { return QVector3D(c.r, c.g, c.b); };
    if (depthEditMode)
        program->setUniformValue("depthRange", v.depthRange);
    program->setUniformValue("directLightColour", rgb(v.directLightColour));
    program->setUniformValue("ambientLightColour", rgb(v.ambientLightColour));
    program->setUniformValue("ambientLightColour2", rgb(v.ambientLightColour2));
    program->setUniformValue("lightPosition",
                             QVector3D(v.lightPosition.x, v.lightPosition.y, v.lightPosition.z));
    program->setUniformValue("useDirectionalLight", v.useDirectionalLight);
    const int rotationLocation = program->uniformLocation("rotationMatrix");
    if (rotationLocation >= 0)
        gl->glUniformMatrix2fv(rotationLocation, 1, GL_FALSE, v.rotationMatrix.data());
    program->setUniformValue("lightWrap", v.lightWrap);
    program->setUniformValue("amplifyDepth", v.amplifyDepth);
    program->setUniformValue("specMult", v.specMult);
    program->setUniformValue("attenuationMultiplier", v.attenuationMultiplier);
    if (selectedShader == ShaderEnums::StandardPhong)
        program->setUniformValue("glossFromSpecAlpha", v.glossFromSpecAlpha);
    program->setUniformValue("normalFlip", v.normalFlip);
    program->setUniformValue("shadows", v.shadows);
    program->setUniformValue("ambientMapStrength", v.ambientMapStrength);
    program->setUniformValue("celShadingLevel", v.celShadingLevel);
    program->setUniformValue("textureResolution", QVector2D(v.textureResolution.x, v.textureResolution.y));
}

void LightingPreview::DrawQuad(float left, float top, float right, float bottom)
{
    gl->glBegin(GL_TRIANGLE_STRIP);
    gl->glTexCoord2f(0.0f, 0.0f);
    gl->glVertex3f(left, top, 0.0f);
    gl->glTexCoord2f(1.0f, 0.0f);
    gl->glVertex3f(right, top, 0.0f);
    gl->glTexCoord2f(0.0f, 1.0f);
    gl->glVertex3f(left, bottom, 0.0f);
    gl->glTexCoord2f(1.0f, 1.0f);
    gl->glVertex3f(right, bottom, 0.0f);
    gl->glEnd();
}

void LightingPreview::DrawMesh(float aspect)
{
    // Depths are looked up once per vertex, not once per strip, since each row is shared by two strips.
    std::vector<float> depths(static_cast<std::size_t>(kMeshCells + 1) * (kMeshCells + 1));
    for (int j = 0; j <= kMeshCells; ++j)
        for (int i = 0; i <= kMeshCells; ++i)
            depths[static_cast<std::size_t>(j) * (kMeshCells + 1) + i] =
                GetProcessor()->GetDepthAt(0.01f * static_cast<float>(i), 0.01f * static_cast<float>(j));
    for (int j = 0; j < kMeshCells; ++j)
    {
        gl->glBegin(GL_TRIANGLE_STRIP);
        for (int i = 0; i <= kMeshCells; ++i)
            for (int row = j; row <= j + 1; ++row)
            {
                const Vector3D p =
                    MeshVertex(i, row, aspect, depths[static_cast<std::size_t>(row) * (kMeshCells + 1) + i],
                               depthMultiply);
                gl->glTexCoord2f(0.01f * static_cast<float>(i), 0.01f * static_cast<float>(row));
                gl->glVertex3f(p.x, p.y, p.z);
            }
        gl->glEnd();
    }
}

void LightingPreview::RenderSprite()
{
    if (Functions() == nullptr || BoundProgram() == nullptr)
        return;
    const float aspect =
        SpriteAspect(GetProcessor() != nullptr ? GetProcessor()->GetImage(ImageType::Normal) : nullptr);
    // Straight alpha over the background, keeping the frame's own alpha opaque for renders and GIFs.
    gl->glEnable(GL_BLEND);
    gl->glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    const bool hasDepth = GetProcessor() != nullptr && GetProcessor()->IsLoaded(ImageType::Depth) &&
                          GetProcessor()->GetDepthArray(0) != nullptr;
    if (spine)
        DrawSpine();
    else if (meshMode && hasDepth)
        DrawMesh(aspect);
    else if (tiledMode)
        for (int k = 0; k < 9; ++k)
        {
            const Vector2D c = TileOffset(k, aspect);
            DrawQuad(c.x - aspect, c.y + 1.0f, c.x + aspect, c.y - 1.0f);
        }
    else
        DrawQuad(-aspect, 1.0f, aspect, -1.0f);
    BoundProgram()->release();
    gl->glDisable(GL_BLEND);
    if (textureCache)
        textureCache->EndFrame(gl);
}

void LightingPreview::DrawSpine()
{
    // Each attachment is drawn in its slot's blend mode, tinted by its slot; the maps bound are those
    // of the atlas page's image set, which loading the skeleton made the current set.
    for (const SpineDrawItem& item : spine->BuildDrawList())
    {
        switch (item.blend)
        {
        case SpineBlendMode::Additive:
            gl->glBlendFunc(item.premultipliedAlpha ? GL_ONE : GL_SRC_ALPHA, GL_ONE);
            break;
        case SpineBlendMode::Multiply:
            gl->glBlendFunc(GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA);
            break;
        case SpineBlendMode::Screen:
            gl->glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_COLOR);
            break;
        default:
            gl->glBlendFunc(item.premultipliedAlpha ? GL_ONE : GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
            break;
        }
        gl->glColor4f(item.colour.r, item.colour.g, item.colour.b, item.colour.a);
        gl->glBegin(item.primitive == SpineDrawItem::Primitive::Quads ? GL_QUADS : GL_TRIANGLES);
        for (std::size_t v = 0; v + 1 < item.positions.size(); v += 2)
        {
            // Page v runs down from the top; the textures are uploaded top row first as well.
            gl->glTexCoord2f(item.uvs[v], item.uvs[v + 1]);
            gl->glVertex3f(item.positions[v], item.positions[v + 1], 0.0f);
        }
        gl->glEnd();
    }
    gl->glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
}

void LightingPreview::DrawLight()
{
    if (Functions() == nullptr || !lightIconVisible || simpleColourProgram == nullptr ||
        !simpleColourProgram->bind())
        return;
    // A diamond of constant size on screen, in the light's colour with a dark rim so it shows on any
    // background; drawn over the sprite whatever its depth.
    const float r = 0.025f * camera.GetHeight();
    const Vector3D p = lightPosition;
    gl->glMatrixMode(GL_MODELVIEW);
    gl->glLoadIdentity();
    gl->glDisable(GL_DEPTH_TEST);
    const auto diamond = [&](float size, float red, float green, float blue) {
        gl->glColor4f(red, green, blue, 1.0f);
        gl->glBegin(GL_TRIANGLE_FAN);
        gl->glVertex3f(p.x, p.y, 0.0f);
        gl->glVertex3f(p.x + size, p.y, 0.0f);
        gl->glVertex3f(p.x, p.y + size, 0.0f);
        gl->glVertex3f(p.x - size, p.y, 0.0f);
        gl->glVertex3f(p.x, p.y - size, 0.0f);
        gl->glVertex3f(p.x + size, p.y, 0.0f);
        gl->glEnd();
    };
    diamond(r * 1.4f, 0.0f, 0.0f, 0.0f);
    diamond(r, std::min(1.0f, directLightColour.r + 0.3f), std::min(1.0f, directLightColour.g + 0.3f),
            std::min(1.0f, directLightColour.b + 0.3f));
    gl->glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    gl->glEnable(GL_DEPTH_TEST);
    simpleColourProgram->release();
}

void LightingPreview::RenderScene(const Camera& view, bool withLightMarker)
{
    ClearScreen();
    DoPreDrawBinding();
    view.SetOpenGLMatrices();
    RenderSprite();
    if (withLightMarker)
        DrawLight();
}
