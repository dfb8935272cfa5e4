#pragma once
#include "core/Colour.h"
#include "processing/GenerationGuard.h"
#include "sets/GenerationParameters.h"
#include "sets/ImageSet.h"
#include "sets/ImageType.h"
#include "sets/LogOutput.h"
#include "sets/SuffixSet.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class GenerationProgress;
class Image;
class ImageProcessor;
enum class DepthEditMode;
class LightingPreview;

// The one object every front end (main window, batch mode, test bed) works through: it owns the
// loaded image sets with one processor each, the generation parameters and the log sink, dispatches
// generation to the current set or to all of them, and names and saves the outputs. It talks to its
// owner only through the callbacks below.
class BrondelCore
{
public:
    using MessageCallback = std::function<void(std::string text, std::string caption)>;
    using RefreshCallback = std::function<void()>;
    using ImageChangedCallback = std::function<void(ImageType)>;
    using SetListCallback = std::function<void(std::vector<std::string>)>;

    // What a save did: wrote every file it meant to, had nothing present to write, or failed a write.
    enum class SaveOutcome
    {
        Saved,
        NothingToSave,
        Failed
    };

    // Estimates above these ask the artist before a long run; an estimate equal to a limit does not.
    static constexpr int kNormalsTimeLimit = 1200000;
    static constexpr int kDepthTimeLimit = 100000000;
    static constexpr int kAOTimeLimit = 30000000;
    static constexpr const char* kLongProcessCaption = "Long process warning";
    static constexpr const char* kLongNormalsText =
        "This process is estimated to take some time (more than ten seconds). This is affected by the size "
        "and number of images being processed. Are you sure you want to proceed?";
    static constexpr const char* kLongDepthText =
        "This process is estimated to take some time (more than ten seconds). This is affected by the size "
        "and number of images and the number of depth iterations selected. Are you sure you want to proceed?";
    static constexpr const char* kLongAOText =
        "This process is estimated to take some time (more than ten seconds). This is affected by the size "
        "and number of imagesand the ratio of box size to step size. Are you sure you want to proceed?";

    explicit BrondelCore(std::string rootPath);
    ~BrondelCore();
    BrondelCore(const BrondelCore&) = delete;
    BrondelCore& operator=(const BrondelCore&) = delete;

    static bool IsRunningWindows();

    // --- Callbacks and log
    // Also handed to every processor at once, so none keeps reporting through a callback being replaced.
    void SetMessageCallback(MessageCallback callback);
    const MessageCallback& GetMessageCallback() const { return messageCallback; }
    void SetRefreshCallback(RefreshCallback callback) { refreshCallback = std::move(callback); }
    void SetImageChangedCallback(ImageChangedCallback callback)
    {
        imageChangedCallback = std::move(callback);
    }
    void SetSetListChangedCallback(SetListCallback callback) { setListCallback = std::move(callback); }
    void SetLog(LogOutput logOutput);
    const LogOutput& GetLog() const { return log; }
    void FinaliseDelegates();
    const std::string& GetRootPath() const { return rootPath; }

    // --- Loading and selection
    void LoadImageSet(std::string filename);
    void LoadImageSet(std::string baseName, std::string extension);
    bool LoadMultipleImageSets(std::vector<std::string> filenames);
    void LoadDefaultSet();
    void LoadImageOfType(std::string filename, ImageType type);
    void LoadDefaultImageOfType(ImageType type);
    Image* GetCurrentBitmapByType(ImageType type) const;
    bool HasNonDefaultImageOfType(ImageType type) const;
    void ClearImageSets();
    void SelectImageSet(int index);
    void TrimImageProcessors(int count);

    int GetImageSetCount() const { return static_cast<int>(imageSets.size()); }
    int GetProcessorCount() const { return static_cast<int>(processors.size()); }
    // -1 after ClearImageSets; may also name no set right after construction (index 0, no sets).
    int GetCurrentIndex() const { return currentIndex; }
    // Null when the current index names no set.
    const ImageSet* GetCurrentImageSet() const;
    const ImageSet* GetImageSet(int index) const;
    // Null when the current index names no processor.
    ImageProcessor* GetCurrentProcessor() const;
    ImageProcessor* GetProcessor(int index) const;

    // --- Generation: the single-set operations work on the current set, the All ones on every set in
    // turn, leaving the current set as it was.
    void AttemptNormalGeneration();
    void AttemptNormalGenerationAll();
    void AttemptDepthGeneration();
    void AttemptDepthGenerationAll();
    void AttemptAOGeneration();
    void AttemptAOGenerationAll();
    bool AttemptPaletteGeneration();
    bool AttemptPaletteGenerationAll();
    void AttemptIndexGeneration();
    void AttemptIndexGenerationAll();
    void AttemptAnisotropyGeneration();
    void AttemptAnisotropyGenerationAll();

    // The token the generations above report to and can be cancelled through; null restores the default,
    // which never cancels. A front end that runs generations on a worker thread sets its own for the run.
    void SetGenerationProgress(const GenerationProgress* progress);
    // How the last generation ended: a cancelled one stops the All variants.
    GenerationOutcome GetLastGenerationOutcome() const { return lastOutcome; }

    // Time estimates, saturated at the largest int rather than overflowing.
    int CheckNormalsTime(bool all) const;
    int CheckDepthTime(bool all) const;
    int CheckAOTime(bool all) const;

    // --- Filenames and saving
    // Requires a current set.
    std::string GetDefaultFilenameByType(ImageType type) const;
    // Empty when no set is current.
    std::string GetFilenameFromCurrentSet(ImageType type) const;
    std::string GetCustomFilename(std::string label, std::string extension) const;
    SaveOutcome SaveCurrentImageByType(ImageType type, std::string filename);
    SaveOutcome SaveCurrentImageByType(ImageType type);

    // --- Batch mode
    // Runs one batch job from a command line; returns the process exit status.
    int HandleCLIInstance(char** argv, int argc);
    static void PrintCLIHelp();
    std::string GetNormalCLIParams() const;
    std::string GetDepthCLIParams() const;
    std::string GetAOCLIParams() const;
    std::string GetAnisotropyCLIParams() const;
    std::string GetPaletteCLIParams() const;

    // --- Generation parameters
    const GenerationParameters& GetGenerationParameters() const { return parameters; }
    // By the parameter table; the value is stored as given (ranges are the caller's business, as for the
    // named setters below).
    void SetGenerationParameter(GenerationParameter id, double value);
    double GetGenerationParameter(GenerationParameter id) const;
    void SetNormalsFlippedYStatus(bool flipped);
    bool GetNormalsFlippedYStatus() const;
    void SetNormalBend(float bend);
    float GetNormalBend() const;
    void SetNormalRotationDirection(float degrees);
    float GetNormalRotationDirection() const;
    void SetNormalRotationAmount(float degrees);
    float GetNormalRotationAmount() const;
    void SetAutofixFlatNormals(bool fix);
    bool GetAutofixFlatNormals() const;
    void SetDepthRefinementSteps(int steps);
    int GetDepthRefinementSteps() const;
    void SetRespectSelectedEdges(bool respect);
    bool GetRespectSelectedEdges() const;
    void SetLowFrequencyEmphasis(float emphasis);
    float GetLowFrequencyEmphasis() const;
    void SetAOLightFlatness(float flatness);
    float GetAOLightFlatness() const;
    void SetAOConeGradient(float gradient);
    float GetAOConeGradient() const;
    void SetAOBoxSize(int size);
    int GetAOBoxSize() const;
    void SetAOStepSize(int size);
    int GetAOStepSize() const;
    void SetPaletteHeight(int height);
    int GetPaletteHeight() const;
    void SetPaletteSampleLighting(bool sample);
    bool GetPaletteSampleLighting() const;
    void SetAnisotropyExpandCount(int count);
    int GetAnisotropyExpandCount() const;
    void SetAnisotropyOutputType(int type);
    int GetAnisotropyOutputType() const;

    // --- Depth editing, on the current set's depth editor; each does nothing without one. Mouse input
    // comes in depth-map pixels (x across, y down) and is taken only while depth editing is on, as are
    // undo and redo. Operations that move depths refresh the Depth image.
    bool HasDepthEditor() const;
    void SetDepthEditingState(bool editing);
    bool IsDepthEditing() const { return depthEditing; }
    bool HasDepthBeenEdited() const;
    void SetDepthEditorMode(DepthEditMode mode);
    void SetSolidPaintingRadius(int radius);
    void SetPaintingFalloffDistance(int distance);
    void SetPaintingIntensity(float intensity);
    void SetFalloffByDepth(float band);
    void DisableFalloffByDepth();
    void DepthEditorMouseDown(float x, float y);
    void DepthEditorMouseMove(float x, float y);
    void DepthEditorMouseUp();
    void UndoDepthCommand();
    void RedoDepthCommand();
    void ShiftSelectionForward(float amount);
    void ShiftSelectionBack(float amount);
    void ClearSelection();
    void ExpandSelection(float dropoff);
    void GetEdgesFromNormals(float threshold, bool onlySelected);
    void GetEdgesFromDiffuseColour(float threshold, bool onlySelected);
    void GetEdgesFromDiffuseAlpha(bool onlySelected);
    void GetEdgesFromSilhouette(float threshold, bool onlySelected);
    void RemoveEdgeSpecks();
    void ClearAllEdges();
    // --- Spine skeleton shown in the preview (BrondelCoreSpine.cpp); each does nothing without one.
    // Loading also loads each atlas page's "_Diffuse" image set, so the skeleton is lit with its maps.
    void LoadSpineFile(std::string filename);
    void SwitchToSpineSkin(std::string name);
    void PlaySpineAnimation(std::string name);
    void SetSpinePlayingBackwards(bool backwards);
    void SetSpinePlaybackSpeed(float speed);
    void ClearSpineObject();

    // --- Lighting preview: each passes its argument on to the renderer (BrondelCorePreview.cpp)
    void InitialisePreviewWindow(int width, int height, MessageCallback message, RefreshCallback refresh);
    LightingPreview* GetLightingPreviewPointer() const { return preview.get(); }
    // Widget pixels, origin top left. Button 0 is the left button, 1 the right.
    void ReceiveMousePosition(int x, int y);
    void ReceiveMouseButton(int x, int y, int button, bool released);
    void ResetCamera();
    void SetLightIconVisibility(bool visible);
    void SetDirectLightColour(Colour colour);
    void SetUpperAmbientColour(Colour colour);
    void SetLowerAmbientColour(Colour colour);
    void SetBackgroundColour(Colour colour);
    void SetAmbientColourLock(bool locked);
    void SetLightZPosition(float z);
    void SetLightWrapValue(float wrap);
    void SetAttenuationStrength(float strength);
    void SetLightAnimation(int type);
    void SetAOIntensity(float strength);
    void SetDepthMultiplier(float multiplier);
    void SetShadowing(bool on);
    void SetGlossFromSpecAlpha(bool on);
    void SetCelShading(bool on);
    void SetCelShadingLevel(int level);
    void SelectShader(int shader);
    void ReloadShaders();
    void SetPreviewRotation(float degrees);
    void SetTilePreview(bool on);
    void RecentrePreviewRotation();
    void SetDrawingAsMesh(bool on);
    void SetContourDisplay(bool on);

private:
    std::unique_ptr<ImageProcessor> MakeProcessor();
    // Loads all 18 kinds of the current set into the current set's processor.
    void LoadCurrentSet();
    // Moves the index on to the set just appended, the way every load does.
    void AdvanceToAppendedSet();
    void ReportInvalidSuffix();
    void NotifyRefresh() const;
    void NotifyImageChanged(ImageType type) const;
    void NotifySetList() const;
    // Runs a single-set operation on every set with the index pointing at it, then restores the index.
    void ForEverySet(const std::function<bool()>& operation);
    void ForEverySet(void (BrondelCore::*operation)());
    // Runs one generation inside the failure boundary, reporting through the message callback.
    bool Guarded(ImageType output, const ImageProcessor& processor, const std::function<void()>& generate);
    // Sum over the processors concerned of pixels times the factor, saturated to int.
    int EstimateTime(bool all, long long factor) const;
    SaveOutcome SaveComposites(ImageType type, const std::string& filename, const std::string& normalName,
                               const std::string& depthName);
    SaveOutcome WriteImage(const Image& image, const std::string& filename);

    MessageCallback messageCallback;
    RefreshCallback refreshCallback;
    ImageChangedCallback imageChangedCallback;
    SetListCallback setListCallback;
    std::string rootPath;
    LogOutput log;
    std::vector<std::unique_ptr<ImageProcessor>> processors;
    std::vector<std::unique_ptr<ImageSet>> imageSets;
    int currentIndex = 0;
    SuffixSet suffixes;

    GenerationParameters parameters = InteractiveDefaults();
    const GenerationProgress* generationProgress;
    GenerationOutcome lastOutcome = GenerationOutcome::Finished;
    bool depthEditing = false;

    std::unique_ptr<LightingPreview> preview;
};
