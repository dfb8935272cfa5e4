#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessorTransaction.h"
#include "processing/NormalKernels.h"

#include <sstream>

void ImageProcessor::GenerateNormals(float bend, float rotationDirection, float rotationAmount,
                                     bool autofixFlatNormals, bool flipY, const GenerationProgress& token)
{
    Transaction work(*this, token);
    Log("Generating normals from lighting profiles...");
    token.Report(0);
    InitialiseArrays();
    Vector3D* normals = GetNormalArray(0);
    if (normals == nullptr)
    {
        ReportError("Couldn't generate normals: the lighting profiles have no pixels to work on (" +
                        std::to_string(width) + " x " + std::to_string(height) + ").",
                    "No working resolution");
        return;
    }

    // A profile of the working size is read where it lies; another size is sampled into a packed copy
    // first, wrapping or clamping at its edges as single pixel reads do.
    SheetVector<std::uint8_t> resampled[5];
    const auto profile = [&](ImageType type) -> ByteChannel {
        if (HoldsRedOnly(type))
        {
            const auto [planeWidth, planeHeight] = memberSizes[type];
            const std::uint8_t* red = redChannels[type].data();
            if (planeWidth == width && planeHeight == height)
                return {red, static_cast<std::size_t>(width), 1};
            resampled[type] = SampleBytes(red, planeWidth, planeHeight, width, height);
            return {resampled[type].data(), static_cast<std::size_t>(width), 1};
        }
        const Image* image = GetImage(type);
        if (!IsLoaded(type) || image == nullptr)
            return {};
        if (image->HasPlanes() && image->GetWidth() == width && image->GetHeight() == height)
        {
            const PlaneView<const std::uint8_t> plane = image->ColourView();
            return {plane.data, static_cast<std::size_t>(plane.stride), 3};
        }
        resampled[type] = ReadChannelBytes(*image, Channel::Red, width, height);
        return {resampled[type].data(), static_cast<std::size_t>(width), 1};
    };
    NormalInputs in;
    in.width = width;
    in.height = height;
    in.left = profile(ImageType::Left);
    in.right = profile(ImageType::Right);
    in.top = profile(ImageType::Top);
    in.bottom = profile(ImageType::Bottom);
    in.front = profile(ImageType::Front);
    SheetVector<std::uint8_t> mask;
    if (DiffuseMatchesWorkingSize())
    {
        mask = ReadChannelBytes(*GetImage(ImageType::Diffuse), Channel::Alpha, width, height);
        in.mask = mask.data();
    }

    token.Report(10);
    const float largest = ComputeProfileSlopes(in, normals);
    token.Report(40);
    const float flatFactor = 0.9f / largest;
    std::ostringstream line;
    line << "Maximum flat magnitude is " << largest;
    Log(line.str());
    line.str({});
    line << "Multiplying flat magnitude by " << flatFactor;
    Log(line.str());

    FinishNormals(in, {bend, rotationDirection, rotationAmount, autofixFlatNormals}, flatFactor, normals);
    if (batchMode)
        for (const ImageType type :
             {ImageType::Top, ImageType::Bottom, ImageType::Left, ImageType::Right, ImageType::Front})
            ReleaseImage(type);
    token.Report(70);
    CalculateNormalMips();
    token.Report(80);
    PopulateNormalMapFromArray(flipY);
    Log("Normal map calculations completed.");
    token.Report(100);
    work.Commit();
}

void ImageProcessor::PopulateNormalMapFromArray(bool flipY)
{
    const Vector3D* normals = GetNormalArray(0);
    if (normals == nullptr)
        return;
    Log("Creating normal map from normal array...");
    auto normalMap = std::make_unique<Image>(width, height);
    auto normalOpacity = std::make_unique<Image>(width, height);
    RequirePixels(*normalMap);
    RequirePixels(*normalOpacity);
    SheetVector<std::uint8_t> opacity;
    if (IsLoaded(ImageType::Diffuse))
        opacity = ReadChannelBytes(*GetImage(ImageType::Diffuse), Channel::Alpha, width, height);
    EncodeNormalMaps(normals, width, height, flipY, opacity.empty() ? nullptr : opacity.data(), *normalMap,
                     *normalOpacity);
    SetImage(normalMap.release(), ImageType::Normal);
    SetImage(normalOpacity.release(), ImageType::NormalOpacity);
    Log("Normal map created.");
}

void ImageProcessor::PopulateNormalArrayFromMap(bool flipY)
{
    Log("Populating normal array from image...");
    InitialiseArrays();
    const Image* map = GetImage(ImageType::Normal);
    Vector3D* normals = GetNormalArray(0);
    if (map == nullptr || !map->HasPlanes() || normals == nullptr)
        return;
    const SheetVector<float> r = ReadChannel(*map, Channel::Red, width, height);
    const SheetVector<float> g = ReadChannel(*map, Channel::Green, width, height);
    const SheetVector<float> b = ReadChannel(*map, Channel::Blue, width, height);
    ParallelFor(0, height, [&](int from, int to) {
        for (std::size_t i = static_cast<std::size_t>(from) * width; i < static_cast<std::size_t>(to) * width;
             ++i)
        {
            Vector3D n = Colour(r[i], g[i], b[i]).GetAsNormal();
            if (flipY)
                n.y = -n.y;
            normals[i] = n;
        }
    });
    CalculateNormalMips();
    Log("Normal array populated.");
}

void ImageProcessor::CalculateNormalMips()
{
    std::ostringstream line;
    line << "Calculating normal mips for resolution: " << width << "x" << height;
    Log(line.str());
    if (mipCount < 2)
        return;
    for (int level = 0; level + 1 < mipCount; ++level)
        DownsampleNormals(GetNormalArray(level), MipWidth(level), GetNormalArray(level + 1),
                          MipWidth(level + 1), MipHeight(level + 1));
    line.str({});
    line << "New mip levels generated: " << mipCount - 1;
    Log(line.str());
}
