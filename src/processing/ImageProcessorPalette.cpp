#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "processing/PaletteKernels.h"

#include <string>

namespace {
constexpr int kMaxPaletteColours = 256;

bool HasPixels(const Image* image)
{
    return image != nullptr && image->HasPlanes();
}
} // namespace

bool ImageProcessor::CreatePaletteFromDiffuseMap(int paletteHeight, bool sampleLighting,
                                                 const GenerationProgress& token)
{
    token.Report(0);
    const Image* diffuse = GetImage(ImageType::Diffuse);
    if (!IsLoaded(ImageType::Diffuse) || !HasPixels(diffuse))
    {
        ReportError("You need to load a diffuse map in order to generate a palette map.", "No diffuse map");
        return false;
    }
    if (paletteHeight < 1)
    {
        ReportError("The palette height must be at least 1 pixel.", "Invalid palette height");
        return false;
    }

    std::vector<Colour> colours = CollectDistinctColours(*diffuse);
    const std::string count = std::to_string(colours.size());
    Log("Found " + count + " unique colours in diffuse map.");
    if (colours.size() > kMaxPaletteColours)
    {
        // Batch runs have no one to show a message box to; the log line is all they get.
        if (messageCallback)
            ReportError("Found " + count + " unique colours in this image. Max is 256.", "Too many colours");
        else
            Log("No palette generated - max palette colour count is 256.");
        return false;
    }

    SortByBrightness(colours);
    Image* palette = MakePaletteImage(colours, paletteHeight, sampleLighting);
    if (palette == nullptr)
    {
        ReportError("The palette map is too large to create; try a smaller palette height.",
                    "Palette too large");
        return false;
    }
    // Renderers read the palette by light level from top to bottom; wrapping would bleed the white top
    // row into the black bottom one.
    palette->SetVerticalWrap(false);
    SetImage(palette, ImageType::Palette);
    token.Report(100);
    return true;
}

void ImageProcessor::GeneratePaletteIndex(const GenerationProgress& token)
{
    token.Report(0);
    const Image* diffuse = GetImage(ImageType::Diffuse);
    const Image* palette = GetImage(ImageType::Palette);
    if (!IsLoaded(ImageType::Diffuse) || !IsLoaded(ImageType::Palette) || !HasPixels(diffuse) ||
        !HasPixels(palette))
    {
        ReportError("To generate an index map, you have to have both a palette and a diffuse map loaded.",
                    "Missing palette or diffuse map");
        return;
    }
    // The index map is the diffuse map's size; it comes back null only when that much memory is refused.
    Image* index = MakeIndexImage(*diffuse, BuildPaletteLookup(*palette));
    if (index == nullptr)
        throw std::bad_alloc();
    token.ThrowIfCancelled();
    SetImage(index, ImageType::Index);
    token.Report(100);
}
