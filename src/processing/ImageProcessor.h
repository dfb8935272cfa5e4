#pragma once
#include "core/SheetBuffers.h"
#include "core/Vector2D.h"
#include "core/Vector3D.h"
#include "core/ZeroedArray.h"
#include "processing/GenerationProgress.h"
#include "sets/ImageType.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class DepthEditor;
class EdgeArray;
class Image;
class LogOutput;

// Everything one image set owns while it is worked on: the 18 images (inputs, placeholders and
// generated maps), which of them are real, the working resolution with its mip pyramid of normal and
// depth arrays, the anisotropy array and the depth editor. The generators are its operations; their
// arithmetic lives in the kernel files beside it, over plain row-major buffers.
class ImageProcessor
{
public:
    // Shows a failure to the user: (message text, title).
    using MessageCallback = std::function<void(std::string, std::string)>;

    ImageProcessor(MessageCallback messageCallback, std::string rootPath, LogOutput* log);
    ~ImageProcessor();
    ImageProcessor(const ImageProcessor&) = delete;
    ImageProcessor& operator=(const ImageProcessor&) = delete;

    void SetMessageCallback(MessageCallback callback) { messageCallback = std::move(callback); }
    void SetLog(LogOutput* logOutput) { log = logOutput; }
    LogOutput* GetLog() const { return log; }

    // --- Images and their presence flags
    // Takes ownership of the image, replacing the slot's occupant, and marks the kind as loaded.
    void SetImage(Image* image, ImageType type);
    Image* GetImage(ImageType type) const { return images[type].get(); }
    // True when the slot holds a real input or a generated map, false for a placeholder.
    bool IsLoaded(ImageType type) const { return loadedTypes.test(type); }
    void LoadImageByName(ImageType type, std::string filename, bool flipY);
    // LoadImageByName for all 18 kinds, in kind order, with the files decoded in parallel.
    void LoadImageSetByName(const std::array<std::string, kImageTypeCount>& filenames, bool flipY);
    // The same with only the kinds in `decode` decoded. Any other member found on disk is only measured:
    // its slot gets the placeholder and is not loaded, but its size counts wherever a member's size
    // decides the working resolution, so the maps come out as if it had been decoded. A member whose
    // size cannot be read is decoded after all, so that its failure shows as it always does.
    // The kinds in `redOnly` (lighting profiles, for a run whose maps read nothing else of them) are kept
    // as their red channel alone once decoded, a quarter of the memory: such a member counts as a
    // lighting profile and is known by its size as above, but its slot holds the placeholder.
    void LoadImageSetByName(const std::array<std::string, kImageTypeCount>& filenames, bool flipY,
                            const std::bitset<kImageTypeCount>& decode,
                            const std::bitset<kImageTypeCount>& redOnly = {});
    // One member kept as its red channel alone, as the set loader keeps the kinds in `redOnly`.
    void LoadRedChannelByName(ImageType type, const std::string& filename);
    // True for a member kept as its red channel alone.
    bool HoldsRedOnly(ImageType type) const { return !redChannels[type].empty(); }
    // True for a member known by its size alone: left undecoded, or released.
    bool IsSizedOnly(ImageType type) const { return sizedOnly.test(type); }
    // The size of a loaded image or of a member known by its size alone; (0, 0) for anything else.
    std::pair<int, int> GetMemberSize(ImageType type) const;
    // Gives up a loaded image's pixels for good, keeping its size as above, for a run that has no
    // further use for them.
    void ReleaseImage(ImageType type);
    void LoadDefaultImage(ImageType type);
    bool SufficientLightingProfiles() const;
    // The size of the image a generation of `output` works at: the flow map's for anisotropy, the
    // diffuse map's for the palette and index maps, the working resolution for the rest.
    std::pair<int, int> GetGenerationSize(ImageType output) const;
    bool DoLightingProfilesMatch() const;

    // --- Working resolution and memory
    int GetWidth() const { return width; }
    int GetHeight() const { return height; }
    int GetMipCount() const { return mipCount; }
    int GetAllocatedMipCount() const { return allocatedMipCount; }
    bool IsMemoryInitialised() const { return memoryInitialised; }
    void ComputeBestDimensions();
    void ComputeMipCount();
    void InitialiseArrays();
    void InitialiseMemory();
    void ClearMemory();
    // Frees the working arrays as ClearMemory does, without its log line, for a run that has no further
    // use for them.
    void ReleaseWorkingArrays();
    // Size of mip level `level` of the working resolution.
    int MipWidth(int level) const { return width >> level; }
    int MipHeight(int level) const { return height >> level; }
    // Null when the level does not exist.
    Vector3D* GetNormalArray(int level);
    float* GetDepthArray(int level);
    // Elements of that level's depth array; 0 when the level does not exist. The working size can move
    // ahead of the arrays, so code that indexes by a size of its own checks this first.
    std::size_t GetDepthArrayLength(int level) const
    {
        return level >= 0 && level < static_cast<int>(depthArrays.size())
                   ? depthArrays[static_cast<std::size_t>(level)].size()
                   : 0;
    }
    // Made on first use: only the anisotropy generator needs it, and it is as big as two images.
    Vector2D* GetAnisotropyArray();

    // --- Depth editor housekeeping
    DepthEditor* GetDepthEditor() const { return depthEditor.get(); }
    void ClearDepthMap();
    void ClearDepthEditor();
    void CreateEmptyDepthMapIfNeeded();
    void InitialiseDepthEditor();
    // For a batch run, which makes each map once with no artist at it: generators prepare no depth
    // editor (hundreds of megabytes at sheet size) and let go of the inputs they have spent (the
    // lighting profiles, once the normals are made), so the maps they go on to make reuse that memory.
    void SetBatchMode(bool batch) { batchMode = batch; }
    void MarkDepthEdited() { depthEditorActive = 1; }
    bool HasDepthBeenEdited() const { return depthEditorActive != 0; }

    // --- Normals
    // Every generator reports its progress to, and can be cancelled through, the token it is given. A
    // generator that is cancelled or throws (std::bad_alloc) leaves the set exactly as it was.
    void GenerateNormals(float bend, float rotationDirection, float rotationAmount, bool autofixFlatNormals,
                         bool flipY, const GenerationProgress& token = GenerationProgress::Uncancellable());
    void PopulateNormalMapFromArray(bool flipY);
    void PopulateNormalArrayFromMap(bool flipY);
    void CalculateNormalMips();

    // --- Depth
    void GenerateDepthMapFromNormals(int refinementSteps, bool respectSelectedEdges,
                                     float lowFrequencyEmphasis,
                                     const GenerationProgress& token = GenerationProgress::Uncancellable());
    void RefineDepthFromNormal(int steps, int level, EdgeArray* edges, bool respectSelectedEdges);
    void InflateDepthMip(int level, float factor);
    Vector2D GetRise(int x, int y, int level);
    void PopulateDepthMapFromArray();
    void PopulateDepthArrayFromMap();
    float GetDepthAt(float u, float v);
    float GetDepthMin() const { return depthMin; }
    float GetDepthMax() const { return depthMax; }
    float GetDepthRange() const { return depthRange; }

    // --- Ambient occlusion
    void GenerateAOFromDepth(float coneGradient, int boxSize, int stepSize, float ambientLightFlatness,
                             const GenerationProgress& token = GenerationProgress::Uncancellable());

    // --- Palette and index maps
    bool CreatePaletteFromDiffuseMap(int paletteHeight, bool sampleLighting,
                                     const GenerationProgress& token = GenerationProgress::Uncancellable());
    void GeneratePaletteIndex(const GenerationProgress& token = GenerationProgress::Uncancellable());

    // --- Anisotropy
    void GenerateAnisotropyMap(int expansionCount, int outputFormat,
                               const GenerationProgress& token = GenerationProgress::Uncancellable());
    void PopulateAnisotropyArray();
    void ExpandAnisotropyArray(Vector2D* values, int arrayWidth, int arrayHeight);

private:
    class Transaction;

    // Passes the running generation's progress on: percent of the current stage, mapped into the part
    // [progressBase, progressBase + progressSpan) of the whole generation.
    void ReportProgress(float fractionOfStage) const;
    void InstallLoadedImage(ImageType type, std::unique_ptr<Image> image, bool flipY);
    struct ReadMember;
    // Reads one member of a set: measured only unless `decode`, cut down to its red channel if
    // `redOnly`. Touches nothing of the processor, so members can be read side by side.
    static ReadMember Read(const std::string& filename, bool decode, bool redOnly);
    void Install(ImageType type, ReadMember member, bool flipY);
    void Log(const std::string& text) const;
    void ReportError(const std::string& message, const std::string& title) const;
    // True when a Diffuse image of exactly the working resolution can mask transparent pixels.
    bool DiffuseMatchesWorkingSize() const;
    // A lighting profile with pixels: a loaded image, or one kept as its red channel.
    bool HasLightingProfile(ImageType type) const { return IsLoaded(type) || HoldsRedOnly(type); }

    int width = 0;
    int height = 0;
    int mipCount = 0;
    int allocatedMipCount = 0;
    std::array<std::unique_ptr<Image>, kImageTypeCount> images;
    std::bitset<kImageTypeCount> loadedTypes;
    std::bitset<kImageTypeCount> sizedOnly;
    std::array<std::pair<int, int>, kImageTypeCount> memberSizes{};
    std::array<SheetVector<std::uint8_t>, kImageTypeCount> redChannels; // rows of memberSizes' width
    std::vector<ZeroedArray<Vector3D>> normalArrays;
    std::vector<ZeroedArray<float>> depthArrays;
    ZeroedArray<Vector2D> anisotropyArray;
    bool memoryInitialised = false;
    std::string rootPath;
    LogOutput* log = nullptr;
    std::unique_ptr<DepthEditor> depthEditor;
    float depthMin = 0.0f;
    float depthMax = 1.0f;
    float depthRange = 1.0f;
    MessageCallback messageCallback;
    int depthEditorActive = 0;
    bool batchMode = false;

    // The generation under way, if any: where discarded state goes, and whom to tell about progress.
    Transaction* transaction = nullptr;
    const GenerationProgress* progress = &GenerationProgress::Uncancellable();
    float progressBase = 0.0f;
    float progressSpan = 100.0f;
};
