#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/AnisotropyKernels.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessorTransaction.h"

#include <algorithm>
#include <memory>
#include <string>

void ImageProcessor::GenerateAnisotropyMap(int expansionCount, int outputFormat,
                                           const GenerationProgress& token)
{
    Transaction work(*this, token);
    const Image* flow = GetImage(ImageType::Flow);
    const bool redOnly = HoldsRedOnly(ImageType::Flow);
    if (!redOnly && (!IsLoaded(ImageType::Flow) || flow == nullptr || !flow->HasPlanes()))
    {
        ReportError("To generate an anisotropy map, you need to load a flow map.", "No flow map");
        return;
    }
    Log("Beginning generation of anisotropy map...");
    // The flow map sets the size here, whatever the working resolution of the other maps.
    const auto [flowWidth, flowHeight] = GetMemberSize(ImageType::Flow);
    const FlowChannel red =
        redOnly ? ClampedFlowChannel(redChannels[ImageType::Flow].data(), flowWidth, flowHeight)
                : RedOfFlowMap(*flow);
    token.Report(0);
    auto map = std::make_unique<Image>(flowWidth, flowHeight);
    RequirePixels(*map);

    // Orientations, smoothing passes and encoding run together a few rows at a time, in bands so that
    // progress is heard and a cancel noticed between them. The array they leave is kept for the preview;
    // a batch run never reads it, so it is not made there.
    const int passes = std::max(0, expansionCount);
    ZeroedArray<Vector2D> fresh(batchMode ? 0 : static_cast<std::size_t>(flowWidth) * flowHeight);
    constexpr int kBands = 8;
    for (int band = 0; band < kBands; ++band)
    {
        ParallelFor(flowHeight * band / kBands, flowHeight * (band + 1) / kBands, [&](int from, int to) {
            StreamAnisotropyRows(red, passes, outputFormat, from, to, *map,
                                 fresh.empty() ? nullptr : fresh.data());
        });
        token.Report(10 + 80 * (band + 1) / kBands);
    }
    map->MarkChanged();
    if (transaction != nullptr)
        transaction->KeepAnisotropyArray(std::move(anisotropyArray));
    anisotropyArray = std::move(fresh);
    Log("Initial flow analysis complete.");
    Log("Anisotropy reduction complete. Expanding values...");
    for (int i = 1; i <= expansionCount; ++i)
        Log("Expansion " + std::to_string(i) + " of " + std::to_string(expansionCount) + " completed.");

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
    ComputeFlowOrientations(RedOfFlowMap(*flow), anisotropyArray.data());
    Log("Initial flow analysis complete.");
}

void ImageProcessor::ExpandAnisotropyArray(Vector2D* values, int arrayWidth, int arrayHeight)
{
    if (values == nullptr || arrayWidth <= 0 || arrayHeight <= 0)
        return;
    ExpandOrientations(values, arrayWidth, arrayHeight);
}
