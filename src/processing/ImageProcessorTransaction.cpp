#include "processing/ImageProcessorTransaction.h"

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"

ImageProcessor::Transaction::Transaction(ImageProcessor& processor, const GenerationProgress& progress)
    : owner(processor), outer(processor.transaction), outerProgress(processor.progress),
      keepArrays(progress.CanCancel()), width(processor.width), height(processor.height),
      mipCount(processor.mipCount), allocatedMipCount(processor.allocatedMipCount),
      memoryInitialised(processor.memoryInitialised), depthMin(processor.depthMin),
      depthMax(processor.depthMax), depthRange(processor.depthRange),
      depthEditorActive(processor.depthEditorActive)
{
    owner.progress = &progress;
    if (outer == nullptr)
        owner.transaction = this;
}

ImageProcessor::Transaction::~Transaction()
{
    if (outer == nullptr)
    {
        owner.transaction = nullptr;
        if (!committed)
            RollBack();
    }
    owner.progress = outerProgress;
}

void ImageProcessor::Transaction::KeepImage(ImageType type, std::unique_ptr<Image> image, bool wasLoaded)
{
    // Only the first occupant is the set's own; later ones were made by this generation.
    if (imageKept.test(type))
        return;
    images[type] = std::move(image);
    imageKept.set(type);
    imageWasLoaded.set(type, wasLoaded);
}

void ImageProcessor::Transaction::KeepDepthEditor(std::unique_ptr<DepthEditor> editor)
{
    if (depthEditorKept)
        return;
    depthEditor = std::move(editor);
    depthEditorKept = true;
}

void ImageProcessor::Transaction::KeepWorkingArrays(std::vector<ZeroedArray<Vector3D>> normals,
                                                    std::vector<ZeroedArray<float>> depths,
                                                    ZeroedArray<Vector2D> anisotropy)
{
    if (workingArraysKept || workingArraysDropped)
        return;
    // Without a way to cancel, holding the old arrays would only raise the peak memory of a batch run.
    if (!keepArrays)
    {
        workingArraysDropped = true;
        return;
    }
    normalArrays = std::move(normals);
    depthArrays = std::move(depths);
    anisotropyArray = std::move(anisotropy);
    workingArraysKept = true;
}

void ImageProcessor::Transaction::KeepDepthArrays(std::vector<ZeroedArray<float>> depths)
{
    if (depthArraysKept || workingArraysKept || !keepArrays)
        return;
    depthArrays = std::move(depths);
    depthArraysKept = true;
}

void ImageProcessor::Transaction::KeepAnisotropyArray(ZeroedArray<Vector2D> anisotropy)
{
    if (anisotropyArrayKept || workingArraysKept || !keepArrays)
        return;
    anisotropyArray = std::move(anisotropy);
    anisotropyArrayKept = true;
}

void ImageProcessor::Transaction::RollBack()
{
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        if (!imageKept.test(static_cast<std::size_t>(type)))
            continue;
        owner.images[type] = std::move(images[type]);
        owner.loadedTypes.set(static_cast<std::size_t>(type),
                              imageWasLoaded.test(static_cast<std::size_t>(type)));
    }
    if (depthEditorKept)
        owner.depthEditor = std::move(depthEditor);
    if (workingArraysKept)
    {
        owner.normalArrays = std::move(normalArrays);
        owner.depthArrays = std::move(depthArrays);
        owner.anisotropyArray = std::move(anisotropyArray);
        owner.memoryInitialised = memoryInitialised;
        owner.allocatedMipCount = allocatedMipCount;
    }
    if (depthArraysKept)
        owner.depthArrays = std::move(depthArrays);
    if (anisotropyArrayKept)
        owner.anisotropyArray = std::move(anisotropyArray);
    // Arrays freed for good keep the working size of the ones that replaced them.
    if (!workingArraysDropped)
    {
        owner.width = width;
        owner.height = height;
        owner.mipCount = mipCount;
    }
    owner.depthMin = depthMin;
    owner.depthMax = depthMax;
    owner.depthRange = depthRange;
    owner.depthEditorActive = depthEditorActive;
}
