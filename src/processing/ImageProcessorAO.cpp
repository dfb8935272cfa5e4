#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "processing/AOKernels.h"
#include "processing/ImageBuffers.h"

#include <string>

void ImageProcessor::GenerateAOFromDepth(float coneGradient, int boxSize, int stepSize,
                                         float ambientLightFlatness, const GenerationProgress& token)
{
    const Image* depthMap = GetImage(ImageType::Depth);
    if (!IsLoaded(ImageType::Depth) || depthMap == nullptr || !depthMap->HasPlanes() || width <= 0 ||
        height <= 0)
    {
        ReportError("To generate ambient occlusion, you must have generated or loaded a depth map.",
                    "No depth map");
        return;
    }
    Log("Generating AO map...");
    token.Report(0);

    const std::size_t pixels = static_cast<std::size_t>(width) * height;
    SheetVector<std::uint8_t> mask;
    if (DiffuseMatchesWorkingSize())
        mask = ReadChannelBytes(*GetImage(ImageType::Diffuse), Channel::Alpha, width, height);
    const SheetVector<float> depthRed = ReadChannel(*depthMap, Channel::Red, width, height);
    const SheetVector<float> heights =
        PrepareAOHeights(depthRed.data(), mask.empty() ? nullptr : mask.data(), pixels);
    Log("Precalculations complete.");

    SheetVector<float> counts(pixels);
    CountOpenProbes(heights.data(), width, height, {coneGradient, boxSize, stepSize, ambientLightFlatness},
                    counts.data(), [&](int x) {
                        Log(std::to_string(x * 100 / width) + "% finished.");
                        token.Report(x * 100 / width);
                    });
    const AOExtent extent = FindAOExtent(counts.data(), pixels);
    const SheetVector<float> values = NormaliseAO(counts.data(), pixels, extent);
    // The new map is made whole before it replaces the old one, so nothing is left to roll back.
    token.ThrowIfCancelled();
    SetImage(RequirePixels(MakeGreyImage(values.data(), width, height)), ImageType::AO);
    Log("Ambient occlusion map complete.");
}
