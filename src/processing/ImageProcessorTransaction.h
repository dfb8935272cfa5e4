#pragma once
#include "core/ZeroedArray.h"
#include "processing/ImageProcessor.h"

#include <array>
#include <bitset>
#include <memory>
#include <vector>

// One generation's undo log. While it lives, whatever the generation throws away (replaced images,
// the depth editor, and, when the artist may cancel, the old working arrays) is handed to it instead
// of being freed. Unless committed it puts all of that back when it ends, so a generation that is
// cancelled or fails part way leaves the set as it was. Nested generations join the outer one.
class ImageProcessor::Transaction
{
public:
    Transaction(ImageProcessor& processor, const GenerationProgress& progress);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void Commit() { committed = true; }

    // Each takes what the generation discards. Arrays are held only when the artist may cancel, since
    // that costs memory a batch run has no use for; otherwise they are freed as before.
    void KeepImage(ImageType type, std::unique_ptr<Image> image, bool wasLoaded);
    void KeepDepthEditor(std::unique_ptr<DepthEditor> editor);
    void KeepWorkingArrays(std::vector<ZeroedArray<Vector3D>> normals, std::vector<ZeroedArray<float>> depths,
                           ZeroedArray<Vector2D> anisotropy);
    void KeepDepthArrays(std::vector<ZeroedArray<float>> depths);
    void KeepAnisotropyArray(ZeroedArray<Vector2D> anisotropy);

private:
    void RollBack();

    ImageProcessor& owner;
    Transaction* outer;
    const GenerationProgress* outerProgress;
    bool committed = false;
    bool keepArrays;

    // The processor's scalars as they were, restored with whatever arrays they describe.
    int width;
    int height;
    int mipCount;
    int allocatedMipCount;
    bool memoryInitialised;
    float depthMin;
    float depthMax;
    float depthRange;
    int depthEditorActive;

    std::array<std::unique_ptr<Image>, kImageTypeCount> images;
    std::bitset<kImageTypeCount> imageKept;
    std::bitset<kImageTypeCount> imageWasLoaded;
    std::unique_ptr<DepthEditor> depthEditor;
    bool depthEditorKept = false;
    std::vector<ZeroedArray<Vector3D>> normalArrays;
    std::vector<ZeroedArray<float>> depthArrays;
    ZeroedArray<Vector2D> anisotropyArray;
    bool workingArraysKept = false;
    bool workingArraysDropped = false;
    bool depthArraysKept = false;
    bool anisotropyArrayKept = false;
};
