#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "processing/AnisotropyKernels.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessorTransaction.h"

#include <memory>
#include <string>

void ImageProcessor::GenerateAnisotropyMap(int expansionCount, int outputFormat,
                                           const GenerationProgress& token)
{
    Transaction work(*this, token);
    const Image* flow = GetImage(ImageType::Flow);
    if (!IsLoaded(ImageType::Flow) || flow == nullptr || !flow->HasPlanes())
    {
        ReportError("To generate an anisotropy map, you need to load a flow map.", "No flow map");
        return;
    }
    Log("Beginning generation of anisotropy map...");
    // The flow map sets the size here, whatever the working resolution of the other maps.
    const int flowWidth = flow->GetWidth();
    const int flowHeight = flow->GetHeight();
    token.Report(0);
    auto map = std::make_unique<Image>(flowWidth, flowHeight);
    RequirePixels(*map);

    PopulateAnisotropyArray();
    Log("Anisotropy reduction complete. Expanding values...");
    // Passes alternate between the array and one scratch array rather than allocating and copying back.
    ZeroedArray<Vector2D> scratch(expansionCount > 0 ? anisotropyArray.size() : 0);
    for (int i = 1; i <= expansionCount; ++i)
    {
        ExpandOrientationsInto(anisotropyArray.data(), scratch.data(), flowWidth, flowHeight);
        anisotropyArray.swap(scratch);
        Log("Expansion " + std::to_string(i) + " of " + std::to_string(expansionCount) + " completed.");
        token.Report(10 + 80 * i / expansionCount);
    }

    EncodeAnisotropy(anisotropyArray.data(), flowWidth, flowHeight, outputFormat, *map);
    SetImage(map.release(), ImageType::Aniso);
    Log("Anisotropy map completed.");
    token.Report(100);
    work.Commit();
}

void ImageProcessor::PopulateAnisotropyArray()
{
    const Image* flow = GetImage(ImageType::Flow);
    if (flow == nullptr || !flow->HasPlanes())
        return;
    ZeroedArray<Vector2D> fresh(static_cast<std::size_t>(flow->GetWidth()) * flow->GetHeight());
    if (transaction != nullptr)
        transaction->KeepAnisotropyArray(std::move(anisotropyArray));
    anisotropyArray = std::move(fresh);
    ComputeFlowOrientations(*flow, anisotropyArray.data());
    Log("Initial flow analysis complete.");
}

void ImageProcessor::ExpandAnisotropyArray(Vector2D* values, int arrayWidth, int arrayHeight)
{
    if (values == nullptr || arrayWidth <= 0 || arrayHeight <= 0)
        return;
    ExpandOrientations(values, arrayWidth, arrayHeight);
}
