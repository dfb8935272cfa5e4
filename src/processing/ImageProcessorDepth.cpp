#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "deptheditor/DepthEditor.h"
#include "deptheditor/EdgeArray.h"
#include "processing/DepthKernels.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessorTransaction.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

void ImageProcessor::GenerateDepthMapFromNormals(int refinementSteps, bool respectSelectedEdges,
                                                 float lowFrequencyEmphasis, const GenerationProgress& token)
{
    Transaction work(*this, token);
    // Normal arrays left over from another working resolution cannot be integrated at this one.
    const std::size_t pixels = static_cast<std::size_t>(width) * height;
    if (GetNormalArray(0) == nullptr || normalArrays[0].size() != pixels || pixels == 0)
    {
        ReportError("To generate a depth map, you must have generated or loaded a normal map.",
                    "No normal map");
        return;
    }
    Log("Generating depth map from normals...");
    token.Report(0);

    // The edges are looked up only after clearing, which destroys the depth editor, so a full
    // generation never honours edges whatever respectSelectedEdges says: edges guide later
    // touch-ups through RefineDepthFromNormal, not a fresh integration. Keep this order.
    ClearDepthMap();
    EdgeArray* edges = depthEditor ? &depthEditor->GetEdges() : nullptr;

    // Progress is shared between the levels by their pixel counts: the full-size level is most of the work.
    // The last 5% is left for writing the maps.
    float totalPixels = 0.0f;
    for (int level = 0; level < mipCount; ++level)
        totalPixels += static_cast<float>(MipWidth(level)) * static_cast<float>(MipHeight(level));
    const auto refine = [&](int level) {
        progressSpan = 95.0f * static_cast<float>(MipWidth(level)) * static_cast<float>(MipHeight(level)) /
                       (totalPixels > 0.0f ? totalPixels : 1.0f);
        RefineDepthFromNormal(refinementSteps, level, edges, respectSelectedEdges);
        progressBase += progressSpan;
    };
    progressBase = 0.0f;
    for (int level = mipCount - 1; level >= 1; --level)
    {
        refine(level);
        InflateDepthMip(level, lowFrequencyEmphasis);
    }
    refine(0);

    PopulateDepthMapFromArray();
    Log("Depth map completed.");

    // Normals with depth in alpha, for engines that want both in one texture. Every 8-bit value
    // survives the trip through a float channel unchanged, so the bytes are copied directly.
    auto normalDepth = std::make_unique<Image>(width, height);
    RequirePixels(*normalDepth);
    PlaneView<std::uint8_t> colour = normalDepth->ColourView();
    PlaneView<std::uint8_t> alpha = normalDepth->AlphaView();
    const Image* normalMap = GetImage(ImageType::Normal);
    const Image* depthMap = GetImage(ImageType::Depth);
    const auto fits = [this](const Image* image) {
        return image != nullptr && image->HasPlanes() && image->GetWidth() == width &&
               image->GetHeight() == height;
    };
    if (fits(normalMap) && fits(depthMap))
    {
        // Both maps are of the working size, as they are straight after generating: rows are copied.
        const PlaneView<const std::uint8_t> normalRows = normalMap->ColourView();
        const PlaneView<const std::uint8_t> depthRows = depthMap->ColourView();
        ParallelFor(0, height, [&](int from, int to) {
            for (int y = from; y < to; ++y)
            {
                std::memcpy(colour.Row(y), normalRows.Row(y), static_cast<std::size_t>(width) * 3);
                const std::uint8_t* depthRow = depthRows.Row(y);
                std::uint8_t* a = alpha.Row(y);
                for (int x = 0; x < width; ++x)
                    a[x] = depthRow[3 * x];
            }
        });
    }
    else
    {
        const auto read = [this](ImageType type, Channel channel) {
            const Image* image = GetImage(type);
            return image ? ReadChannelBytes(*image, channel, width, height)
                         : SheetVector<std::uint8_t>(static_cast<std::size_t>(width) * height);
        };
        const SheetVector<std::uint8_t> channels[4] = {
            read(ImageType::Normal, Channel::Red), read(ImageType::Normal, Channel::Green),
            read(ImageType::Normal, Channel::Blue), read(ImageType::Depth, Channel::Red)};
        for (int y = 0; y < height; ++y)
        {
            std::uint8_t* rgb = colour.Row(y);
            std::uint8_t* a = alpha.Row(y);
            for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x)
            {
                const std::size_t i = static_cast<std::size_t>(y) * width + x;
                rgb[3 * x] = channels[0][i];
                rgb[3 * x + 1] = channels[1][i];
                rgb[3 * x + 2] = channels[2][i];
                a[x] = channels[3][i];
            }
        }
    }
    normalDepth->MarkChanged();
    SetImage(normalDepth.release(), ImageType::NormalDepth);
    if (!batchMode)
        InitialiseDepthEditor();
    token.Report(100);
    work.Commit();
}

void ImageProcessor::RefineDepthFromNormal(int steps, int level, EdgeArray* edges, bool respectSelectedEdges)
{
    Log("Refining depth mip " + std::to_string(level) + "...");
    const int w = MipWidth(level);
    const int h = MipHeight(level);
    const std::size_t size = static_cast<std::size_t>(w) * h;
    const Vector3D* normals = GetNormalArray(level);
    float* depth = GetDepthArray(level);
    if (normals == nullptr || depth == nullptr || size == 0 ||
        normalArrays[static_cast<std::size_t>(level)].size() != size ||
        depthArrays[static_cast<std::size_t>(level)].size() != size)
        return;

    // Left unzeroed: every element is written before it is read, by threads that then own the pages.
    const ScratchArray<float> riseX(size);
    const ScratchArray<float> riseY(size);
    const ScratchArray<float> scratch(size);
    ComputeRises(normals, w, h, riseX.data(), riseY.data());
    RelaxationGrid grid{w, h, riseX.data(), riseY.data(), nullptr, nullptr};
    // Edges only ever separate full-resolution pixels; an edge array of another size (or one
    // without flags) cannot be matched to this level and is left out.
    if (respectSelectedEdges && level == 0 && edges != nullptr && edges->GetWidth() == w &&
        edges->GetHeight() == h && edges->GetXEdges() != nullptr && edges->GetYEdges() != nullptr)
    {
        grid.cutRight = edges->GetXEdges();
        grid.cutBelow = edges->GetYEdges();
    }

    // The pass run on the last step is never kept, so `steps` steps move the level steps - 1
    // times (one step leaves it as seeded); depth maps tuned by step count depend on that. Every
    // 50th step is reported once it is done, the unkept last one included.
    const int kept = steps - 1;
    int done = 0;
    for (int step = 0; step < steps; step += 50)
    {
        const int upTo = std::min(step + 1, kept);
        RelaxDepth(grid, depth, scratch.data(), upTo - done);
        done = upTo;
        Log("Finished refine step " + std::to_string(step) + " of " + std::to_string(steps) + ".");
        ReportProgress(static_cast<float>(upTo) / static_cast<float>(steps > 0 ? steps : 1));
    }
    RelaxDepth(grid, depth, scratch.data(), kept - done);
    Log("Depth refinement completed.");
    ReportProgress(1.0f);
}

void ImageProcessor::InflateDepthMip(int level, float factor)
{
    Log("Expanding depth mip...");
    if (level == 0)
        return;
    const int w = MipWidth(level);
    const int h = MipHeight(level);
    const float* coarse = GetDepthArray(level);
    float* fine = GetDepthArray(level - 1);
    const std::size_t size = static_cast<std::size_t>(w) * h;
    if (coarse != nullptr && fine != nullptr && depthArrays[static_cast<std::size_t>(level)].size() == size &&
        depthArrays[static_cast<std::size_t>(level) - 1].size() == 4 * size)
        InflateDepth(coarse, w, h, factor, fine);
    Log("Depth mip expansion finished.");
}

Vector2D ImageProcessor::GetRise(int x, int y, int level)
{
    const Vector3D* normals = GetNormalArray(level);
    const int w = MipWidth(level);
    if (normals == nullptr || x < 0 || y < 0 || x >= w || y >= MipHeight(level))
        return {};
    return RiseFromNormal(normals[static_cast<std::size_t>(y) * w + x]);
}

void ImageProcessor::PopulateDepthMapFromArray()
{
    const float* depth = GetDepthArray(0);
    const std::size_t pixels = static_cast<std::size_t>(width) * height;
    if (depth == nullptr || pixels == 0 || depthArrays[0].size() != pixels)
        return;

    SheetVector<std::uint8_t> mask;
    if (DiffuseMatchesWorkingSize())
        mask = ReadChannelBytes(*GetImage(ImageType::Diffuse), Channel::Alpha, width, height);
    const std::uint8_t* maskData = mask.empty() ? nullptr : mask.data();

    const DepthExtent extent = FindDepthExtent(depth, maskData, width, height);
    depthMin = extent.minimum;
    depthMax = extent.maximum;
    depthRange = depthMax - depthMin;
    const SheetVector<float> grey = NormaliseDepth(depth, maskData, width, height, depthMin, depthRange);
    SetImage(RequirePixels(MakeGreyImage(grey.data(), width, height)), ImageType::Depth);
}

void ImageProcessor::PopulateDepthArrayFromMap()
{
    if (!memoryInitialised)
        InitialiseArrays();
    const Image* map = GetImage(ImageType::Depth);
    if (map == nullptr)
        return;
    InitialiseArrays();

    float* depth = GetDepthArray(0);
    if (depth != nullptr)
    {
        const SheetVector<float> red = ReadChannel(*map, Channel::Red, width, height);
        std::transform(red.begin(), red.end(), depth, [](float r) { return 2.55f * r; });
    }
    depthMin = 0.0f;
    depthMax = 2.55f;
    depthRange = 2.55f;
    InitialiseDepthEditor();
}

float ImageProcessor::GetDepthAt(float u, float v)
{
    const float* depth = GetDepthArray(0);
    if (depth == nullptr || depthArrays[0].size() != static_cast<std::size_t>(width) * height)
        return 0.0f;
    // Coordinates are truncated toward zero, so anything above -1 lands in the first pixel. Beyond
    // the image (or not a number) there is no depth to sample.
    const float fx = static_cast<float>(width - 1) * u;
    const float fy = static_cast<float>(height - 1) * v;
    if (!(fx > -1.0f) || !(fy > -1.0f) || fx >= static_cast<float>(width) || fy >= static_cast<float>(height))
        return 0.0f;
    const int px = static_cast<int>(fx);
    const int py = static_cast<int>(fy);
    return 0.1f * depth[static_cast<std::size_t>(py) * width + px];
}
