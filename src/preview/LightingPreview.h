#pragma once
#include "core/Colour.h"
#include "core/Vector2D.h"
#include "core/Vector3D.h"
#include "preview/Camera.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class Image;
class ImageProcessor;
class LogOutput;
class QImage;
class QOpenGLFramebufferObject;
class QOpenGLFunctions_2_1;
class QOpenGLShaderProgram;
class SpineData;
class TextureCache;

// The shader programs in the order the shader chooser indexes them.
namespace ShaderEnums {
enum ShaderEnum : int
{
    StandardPhong = 0,
    CelPalette = 1,
    PhongWard = 2,
    DepthEditing = 3,
    PhongSpine = 4
};
} // namespace ShaderEnums
using ShaderEnums::ShaderEnum;
constexpr int kShaderProgramCount = 5;

namespace AnimationTypes {
enum AnimationType : int
{
    VerticalOrbit = 0,
    HorizontalOrbit = 1,
    NoAnimation = 2 // the light follows the cursor while the left button is held
};
} // namespace AnimationTypes
using AnimationTypes::AnimationType;

// Every value the renderer sends to its shaders for one frame, worked out without OpenGL so the value
// rules can be checked on their own.
struct PreviewUniformValues
{
    Colour directLightColour;
    Colour ambientLightColour;
    Colour ambientLightColour2;
    Vector3D lightPosition;
    float useDirectionalLight = -1.0f;
    std::array<float, 4> rotationMatrix{1.0f, 0.0f, 0.0f, 1.0f}; // column-major
    float lightWrap = 0.0f;
    float amplifyDepth = 0.0f;
    float specMult = 1.0f;
    float attenuationMultiplier = 0.0f;
    float glossFromSpecAlpha = 0.0f;
    float normalFlip = 0.0f;
    float shadows = 0.0f;
    float ambientMapStrength = 1.0f;
    float celShadingLevel = 1000.0f;
    Vector2D textureResolution{128.0f, 128.0f};
    float depthRange = 0.0f;
};

// Draws the current set's sprite lit by one point or directional light and two ambient colours, with
// the generated maps as textures, and renders stills and light animations off screen. The constructor
// and every setter only store values; the operations that draw need a current OpenGL context and are
// called by the preview widget, so code that never shows a preview never touches OpenGL.
class LightingPreview
{
public:
    using MessageCallback = std::function<void(std::string text, std::string caption)>;
    using RefreshCallback = std::function<void()>;
    // Receives each frame of a light animation; returns false to stop writing further frames.
    using FrameSink = std::function<bool(const QImage& frame)>;

    // Shader files are read from resourceFolder + "Shaders/".
    LightingPreview(ImageProcessor* processor, std::string resourceFolder, LogOutput* log);
    ~LightingPreview();
    LightingPreview(const LightingPreview&) = delete;
    LightingPreview& operator=(const LightingPreview&) = delete;

    // --- Wiring
    void SetProcessor(ImageProcessor* newProcessor) { processorPointer = newProcessor; }
    // When set, the processor is asked for on every use, so the preview always draws the current set
    // and never keeps a processor that has been deleted.
    void SetProcessorSource(std::function<ImageProcessor*()> source) { processorSource = std::move(source); }
    ImageProcessor* GetProcessor() const { return processorSource ? processorSource() : processorPointer; }
    void SetLog(LogOutput* logOutput) { log = logOutput; }
    void InitialisePreviewWindow(int width, int height, MessageCallback message, RefreshCallback refresh);
    Camera& GetCamera() { return camera; }
    const Camera& GetCamera() const { return camera; }

    // --- Light and shading settings (stored only)
    void SetBackgroundColour(Colour colour) { backgroundColour = colour; }
    void SetDirectLightColour(Colour colour) { directLightColour = colour; }
    void SetUpperAmbientColour(Colour colour) { upperAmbientColour = colour; }
    void SetLowerAmbientColour(Colour colour) { lowerAmbientColour = colour; }
    void SetAmbientColourLock(bool locked) { lowerFollowsUpper = locked; }
    void SetLightIconVisibility(bool visible) { lightIconVisible = visible; }
    void SetDirectionalLight(bool directional) { directionalLight = directional; }
    void SetLightZPosition(float z) { lightZ = z; }
    float GetLightZPosition() const { return lightZ; }
    void SetLightPosition(Vector3D position) { lightPosition = position; }
    Vector3D GetLightPosition() const { return lightPosition; }
    void SetLightWrapValue(float wrap) { lightWrap = wrap; }
    void SetAttenuationStrength(float strength) { attenuationMultiplier = strength; }
    void SetAOIntensity(float strength) { ambientMapStrength = strength; }
    void SetDepthMultiplier(float multiplier) { depthMultiply = multiplier; }
    void SetSpecularMultiplier(float multiplier) { specularMultiplier = multiplier; }
    void SetShadowing(bool on) { shadows = on; }
    void SetGlossFromSpecAlpha(bool on) { glossFromSpecAlpha = on; }
    void SetNormalFlip(bool on) { normalFlip = on; }
    void SetCelShading(bool on) { celShading = on; }
    void SetCelShadingLevel(int level) { celShadingLevel = level; }
    void SetTextureFiltering(bool on) { textureFiltering = on; }
    void SetPreviewRotation(float degrees) { rotation = degrees; }
    float GetPreviewRotation() const { return rotation; }
    void RecentrePreviewRotation() { rotation = 0.0f; }
    void SetTilePreview(bool on) { tiledMode = on; }
    void SetDrawingAsMesh(bool on) { meshMode = on; }
    void SetContourDisplay(bool on) { contourDisplay = on; }
    void SetDepthEditMode(bool on) { depthEditMode = on; }
    bool IsDepthEditMode() const { return depthEditMode; }
    // A number outside the program list is ignored.
    void SelectShader(ShaderEnum shader)
    {
        if (shader >= 0 && shader < kShaderProgramCount)
            selectedShader = shader;
    }
    ShaderEnum GetSelectedShader() const { return selectedShader; }
    void ResetCamera() { camera.Reset(); }
    // Asks for the shader files to be read again at the next frame.
    void ReloadShaders() { shaderReloadPending = true; }

    // --- Light animation
    // Type 2 stops the orbit; 0 and 1 start it (the orbit time carries on where it was).
    void SetLightAnimation(AnimationType type);
    AnimationType GetLightAnimation() const { return animationType; }
    void StartAnimation() { animating = true; }
    void StopAnimation() { animating = false; }
    bool IsAnimating() const { return animating; }
    void StepFrame(float elapsedMilliseconds);

    // The Spine skeleton drawn in place of the sprite, with the Spine shader and the current set's
    // maps; null for none. The renderer owns it and advances it every frame.
    void SetSpineObject(std::unique_ptr<SpineData> skeleton);
    SpineData* GetSpineObject() const { return spine.get(); }

    // --- Mouse input, in widget pixels
    void SetLeftHeld(bool held) { leftHeld = held; }
    void SetRightHeld(bool held) { rightHeld = held; }
    bool IsLeftHeld() const { return leftHeld; }
    bool IsRightHeld() const { return rightHeld; }
    void MouseMoved(int x, int y);
    Vector2D GetCursorPosition() const { return cursorPosition; }
    // Receives the previous world point of a left-button drag while depth editing.
    void SetDepthEditDragHandler(std::function<void(Vector2D)> handler)
    {
        depthEditDrag = std::move(handler);
    }

    // --- Values for the shaders
    PreviewUniformValues ComputeUniformValues() const;

    // --- Drawing: all need a current OpenGL context
    void LoadShaders();
    void ClearShaders();
    // True when the program in that slot compiled and linked.
    bool IsShaderUsable(ShaderEnum shader) const;
    void Resize(int width, int height);
    void ClearScreen();
    void DoPreDrawBinding();
    void RenderSprite();
    void DrawLight();
    void DrawSpine();
    // ClearScreen, binding, camera matrices, sprite and (when asked) the light marker, in that order.
    void RenderScene(const Camera& view, bool withLightMarker = true);
    // Draws the scene into the frame buffer with the light placed at the orbit point of `time` (0..1, a
    // full turn), or where it is for a negative time, and returns the picture. The light is left at
    // the orbit point; callers restore it. Renders are pictures of the sprite: no light marker.
    QImage RenderAtAnimationTime(float time, QOpenGLFramebufferObject* frameBuffer, const Camera* view);
    // The textures of the maps drawn so far; null until the first frame is drawn.
    TextureCache* GetTextureCache() { return textureCache.get(); }

    // --- Still and animated light renders, carried out at the start of the next frame
    void GrabScreenshot(std::string filename, bool nativeResolution);
    void StartRecordingGif(std::string filename, bool nativeResolution);
    bool IsRenderPending() const { return stillRequested || animationRequested; }
    // Runs a pending render. Returns false when a requested file could not be written.
    bool DoNecessaryScreenshotStuff();
    static constexpr int kAnimationFrames = 30;

private:
    QOpenGLFunctions_2_1* Functions();
    void Report(const std::string& line) const;
    std::unique_ptr<QOpenGLShaderProgram> BuildProgram(const std::string& label,
                                                       const std::string& fragmentSource,
                                                       const std::string& vertexSource, bool vertexOk);
    QOpenGLShaderProgram* BoundProgram() const;
    void DrawQuad(float left, float top, float right, float bottom);
    void DrawMesh(float aspect);
    bool RenderStill(const std::string& filename, int width, int height, const Camera* view);
    bool RenderAnimation(const std::string& filename, int width, int height, const Camera* view);

    ImageProcessor* processorPointer = nullptr;
    std::function<ImageProcessor*()> processorSource;
    std::string resourceFolder;
    LogOutput* log = nullptr;
    MessageCallback messageCallback;
    RefreshCallback refreshCallback;
    Camera camera{400, 400};

    Colour backgroundColour{0.1f, 0.1f, 0.1f, 1.0f};
    Colour directLightColour{0.8f, 0.8f, 0.68f, 1.0f};
    Colour upperAmbientColour{0.2f, 0.2f, 0.17f, 1.0f};
    Colour lowerAmbientColour{0.085f, 0.085f, 0.1f, 1.0f};
    bool lowerFollowsUpper = false;
    bool lightIconVisible = true;
    Vector3D lightPosition{-0.7f, 0.7f, 0.8f};
    float lightZ = 0.8f;
    bool directionalLight = false;
    Vector2D cursorPosition;
    int cursorPixelX = 0;
    int cursorPixelY = 0;
    bool leftHeld = false;
    bool rightHeld = false;
    bool depthEditMode = false;
    float rotation = 0.0f;
    AnimationType animationType = AnimationTypes::NoAnimation;
    bool animating = false;
    float orbitTime = 0.0f;
    float lightWrap = 0.0f;
    float depthMultiply = 1.0f;
    float specularMultiplier = 1.0f;
    float attenuationMultiplier = 0.0f;
    float ambientMapStrength = 1.0f;
    bool shadows = false;
    bool glossFromSpecAlpha = false;
    bool normalFlip = false;
    bool celShading = false;
    int celShadingLevel = 4;
    bool textureFiltering = false;
    bool meshMode = false;
    bool tiledMode = false;
    bool contourDisplay = false;
    std::function<void(Vector2D)> depthEditDrag;

    std::array<std::unique_ptr<QOpenGLShaderProgram>, kShaderProgramCount> programs;
    std::unique_ptr<QOpenGLShaderProgram> simpleColourProgram;
    ShaderEnum selectedShader = ShaderEnums::StandardPhong;
    bool shaderReloadPending = false;
    std::unique_ptr<TextureCache> textureCache;
    std::unique_ptr<SpineData> spine;
    QOpenGLFunctions_2_1* gl = nullptr;
    const void* glContext = nullptr;

    bool stillRequested = false;
    bool animationRequested = false;
    bool nativeResolutionRender = false;
    std::string renderFilename;
};
