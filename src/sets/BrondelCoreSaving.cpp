#include "sets/BrondelCore.h"

#include "core/Image.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessor.h"

namespace {
// Failed beats Saved beats NothingToSave: one failed write makes the whole save a failure.
BrondelCore::SaveOutcome Combine(BrondelCore::SaveOutcome a, BrondelCore::SaveOutcome b)
{
    if (a == BrondelCore::SaveOutcome::Failed || b == BrondelCore::SaveOutcome::Failed)
        return BrondelCore::SaveOutcome::Failed;
    if (a == BrondelCore::SaveOutcome::Saved || b == BrondelCore::SaveOutcome::Saved)
        return BrondelCore::SaveOutcome::Saved;
    return BrondelCore::SaveOutcome::NothingToSave;
}

// The colour of `rgb` with one channel of `alphaSource` as alpha, sampled over rgb's size. Used when
// both parts of a composite are present but the composite itself was never built (both parts loaded
// from disk), so the file still holds what its name promises.
Image Compose(const Image& rgb, const Image& alphaSource, Channel channel)
{
    Image combined(rgb);
    const int width = combined.GetWidth();
    const int height = combined.GetHeight();
    const SheetVector<std::uint8_t> alpha = ReadChannelBytes(alphaSource, channel, width, height);
    const PlaneView<std::uint8_t> plane = combined.AlphaView();
    for (int y = 0; y < plane.height; ++y)
        for (int x = 0; x < plane.width; ++x)
            plane.Row(y)[x] = alpha[static_cast<std::size_t>(y) * width + x];
    combined.MarkChanged();
    return combined;
}
} // namespace

std::string BrondelCore::GetDefaultFilenameByType(ImageType type) const
{
    const ImageSet* set = GetCurrentImageSet();
    return set ? set->GetFilenameOfType(type, suffixes) : std::string();
}

std::string BrondelCore::GetFilenameFromCurrentSet(ImageType type) const
{
    return GetDefaultFilenameByType(type);
}

std::string BrondelCore::GetCustomFilename(std::string label, std::string extension) const
{
    const ImageSet* set = GetCurrentImageSet();
    return (set ? set->baseName : std::string("Image")) + label + "." + extension;
}

BrondelCore::SaveOutcome BrondelCore::WriteImage(const Image& image, const std::string& filename)
{
    std::string error;
    if (image.SaveToDisk(filename, &error))
        return SaveOutcome::Saved;
    log.AppendText("Couldn't save " + filename + ": " + error);
    if (messageCallback)
        messageCallback("The image couldn't be saved to " + filename + " (" + error + ").", "Save failed");
    return SaveOutcome::Failed;
}

BrondelCore::SaveOutcome BrondelCore::SaveComposites(ImageType type, const std::string& filename,
                                                     const std::string& normalName,
                                                     const std::string& depthName)
{
    const ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return SaveOutcome::NothingToSave;
    const auto present = [processor](ImageType kind) {
        return processor->IsLoaded(kind) && processor->GetImage(kind) != nullptr;
    };
    const auto combined = [&](ImageType alphaKind, Channel channel) {
        if (present(type))
            return WriteImage(*processor->GetImage(type), filename);
        return WriteImage(
            Compose(*processor->GetImage(ImageType::Normal), *processor->GetImage(alphaKind), channel),
            filename);
    };

    if (type == ImageType::NormalDepth)
    {
        if (present(ImageType::Normal) && present(ImageType::Depth))
            return combined(ImageType::Depth, Channel::Red);
        // Without both parts each is saved on its own. Given one filename for both, the depth map is
        // written last and so is the one that remains.
        SaveOutcome outcome = SaveOutcome::NothingToSave;
        if (present(ImageType::Normal))
            outcome = Combine(outcome, WriteImage(*processor->GetImage(ImageType::Normal), normalName));
        if (present(ImageType::Depth))
            outcome = Combine(outcome, WriteImage(*processor->GetImage(ImageType::Depth), depthName));
        return outcome;
    }
    if (type == ImageType::NormalOpacity)
    {
        if (present(ImageType::Diffuse) && present(ImageType::Normal))
            return combined(ImageType::Diffuse, Channel::Alpha);
        if (present(ImageType::Normal))
            return WriteImage(*processor->GetImage(ImageType::Normal), normalName);
        return SaveOutcome::NothingToSave;
    }
    if (!present(type))
        return SaveOutcome::NothingToSave;
    return WriteImage(*processor->GetImage(type), filename);
}

BrondelCore::SaveOutcome BrondelCore::SaveCurrentImageByType(ImageType type, std::string filename)
{
    return SaveComposites(type, filename, filename, filename);
}

BrondelCore::SaveOutcome BrondelCore::SaveCurrentImageByType(ImageType type)
{
    if (!GetCurrentImageSet())
        return SaveOutcome::NothingToSave;
    return SaveComposites(type, GetDefaultFilenameByType(type), GetDefaultFilenameByType(ImageType::Normal),
                          GetDefaultFilenameByType(ImageType::Depth));
}
