#include "processing/ImageProcessor.h"

#include "core/Image.h"
#include "core/Parallel.h"
#include "core/PngReader.h"
#include "deptheditor/DepthEditor.h"
#include "processing/ImageBuffers.h"
#include "processing/ImageProcessorTransaction.h"
#include "sets/LogOutput.h"

#include <atomic>
#include <iostream>
#include <optional>
#include <tuple>
#include <utility>

namespace {
// The size a file's header gives, without decoding its pixels; nothing when it cannot be read.
std::optional<std::pair<int, int>> MeasureMember(const std::string& filename)
{
    const QSize size = ProbeImageSize(filename);
    if (!size.isValid() || size.isEmpty())
        return std::nullopt;
    return std::pair<int, int>{size.width(), size.height()};
}
} // namespace

ImageProcessor::ImageProcessor(MessageCallback callback, std::string root, LogOutput* logOutput)
    : rootPath(std::move(root)), log(logOutput), messageCallback(std::move(callback))
{}

ImageProcessor::~ImageProcessor() = default;

void ImageProcessor::Log(const std::string& text) const
{
    if (log)
        log->AppendText(text);
    else
        LogOutput().AppendText(text);
}

void ImageProcessor::ReportError(const std::string& message, const std::string& title) const
{
    if (messageCallback)
        messageCallback(message, title);
}

void ImageProcessor::ReportProgress(float fractionOfStage) const
{
    progress->Report(static_cast<int>(progressBase + progressSpan * fractionOfStage));
}

void ImageProcessor::SetImage(Image* image, ImageType type)
{
    sizedOnly.reset(type);
    redChannels[type] = SheetVector<std::uint8_t>();
    std::unique_ptr<Image> previous = std::exchange(images[type], std::unique_ptr<Image>(image));
    if (transaction != nullptr)
        transaction->KeepImage(type, std::move(previous), loadedTypes.test(type));
    loadedTypes.set(type);
}

void ImageProcessor::LoadImageByName(ImageType type, std::string filename, bool flipY)
{
    InstallLoadedImage(type, std::make_unique<Image>(filename), flipY);
}

void ImageProcessor::LoadImageSetByName(const std::array<std::string, kImageTypeCount>& filenames, bool flipY)
{
    LoadImageSetByName(filenames, flipY, std::bitset<kImageTypeCount>().set());
}

// One member as the loader leaves it: known by its size alone (from its header, or from the pixels it
// was cut down to, then held in `red`), or decoded whole into `image`.
struct ImageProcessor::ReadMember
{
    std::optional<std::pair<int, int>> size;
    SheetVector<std::uint8_t> red;
    std::unique_ptr<Image> image;
};

ImageProcessor::ReadMember ImageProcessor::Read(const std::string& filename, bool decode, bool redOnly)
{
    ReadMember member;
    if (!decode && !filename.empty())
        member.size = MeasureMember(filename);
    if (member.size)
        return member;
    if (redOnly)
    {
        int redWidth = 0;
        int redHeight = 0;
        member.red = ReadRedChannel(filename, redWidth, redHeight);
        if (!member.red.empty())
        {
            member.size = std::pair{redWidth, redHeight};
            return member;
        }
    }
    member.image = std::make_unique<Image>(filename);
    // Files the fast reader leaves alone are decoded whole and cut down at once, so the next file
    // decodes into the pages this one gives back.
    if (redOnly && member.image->HasPlanes() && member.image->GetWidth() > 0 && member.image->GetHeight() > 0)
    {
        member.red = ReadChannelBytes(*member.image, Channel::Red, member.image->GetWidth(),
                                      member.image->GetHeight());
        member.size = std::pair{member.image->GetWidth(), member.image->GetHeight()};
        member.image.reset();
    }
    return member;
}

void ImageProcessor::Install(ImageType type, ReadMember member, bool flipY)
{
    if (!member.size)
    {
        InstallLoadedImage(type, std::move(member.image), flipY);
        return;
    }
    LoadDefaultImage(type);
    if (type == ImageType::Palette)
        images[type]->SetVerticalWrap(false);
    sizedOnly.set(type);
    memberSizes[type] = *member.size;
    redChannels[type] = std::move(member.red);
    ComputeBestDimensions();
}

void ImageProcessor::LoadImageSetByName(const std::array<std::string, kImageTypeCount>& filenames, bool flipY,
                                        const std::bitset<kImageTypeCount>& decode,
                                        const std::bitset<kImageTypeCount>& redOnly)
{
    // Decoding dominates loading a big sheet and each file decodes on its own, so the files are read
    // side by side; they are then installed one kind after another exactly as single loads would be.
    std::array<ReadMember, kImageTypeCount> members;
    std::atomic<int> next{0};
    ParallelFor(0, GetWorkerThreadCount(), [&](int, int) {
        for (int type = next++; type < kImageTypeCount; type = next++)
            members[type] = Read(filenames[type], decode.test(static_cast<std::size_t>(type)),
                                 redOnly.test(static_cast<std::size_t>(type)));
    });
    for (int type = 0; type < kImageTypeCount; ++type)
        Install(static_cast<ImageType>(type), std::move(members[type]), flipY);
}

void ImageProcessor::LoadRedChannelByName(ImageType type, const std::string& filename)
{
    Install(type, Read(filename, true, true), false);
}

std::pair<int, int> ImageProcessor::GetMemberSize(ImageType type) const
{
    if (IsLoaded(type) && GetImage(type) != nullptr)
        return {GetImage(type)->GetWidth(), GetImage(type)->GetHeight()};
    return IsSizedOnly(type) ? memberSizes[type] : std::pair<int, int>{0, 0};
}

void ImageProcessor::ReleaseImage(ImageType type)
{
    redChannels[type] = SheetVector<std::uint8_t>();
    if (!IsLoaded(type) || GetImage(type) == nullptr)
        return;
    memberSizes[type] = GetMemberSize(type);
    sizedOnly.set(type);
    images[type].reset();
    loadedTypes.reset(type);
}

void ImageProcessor::InstallLoadedImage(ImageType type, std::unique_ptr<Image> image, bool flipY)
{
    sizedOnly.reset(type);
    redChannels[type] = SheetVector<std::uint8_t>();
    images[type] = std::move(image);
    loadedTypes.set(type);
    if (!images[type]->HasPlanes())
        LoadDefaultImage(type);

    if (type == ImageType::Normal && IsLoaded(ImageType::Normal))
        PopulateNormalArrayFromMap(flipY);
    if (type == ImageType::Depth && IsLoaded(ImageType::Depth))
        PopulateDepthArrayFromMap();
    if (type == ImageType::Palette)
        images[type]->SetVerticalWrap(false);
    ComputeBestDimensions();
}

void ImageProcessor::LoadDefaultImage(ImageType type)
{
    const char* file = "Black.png";
    switch (type)
    {
    case ImageType::Diffuse:
    case ImageType::Specular:
    case ImageType::AO:
        file = "White.png";
        break;
    case ImageType::Normal:
        file = "NormalBlue.png";
        break;
    default:
        break;
    }
    images[type] = std::make_unique<Image>(rootPath + "BlankTextures" + "/" + file);
    loadedTypes.reset(type);
    // Without its placeholder a slot has no pixels at all; that is a broken installation, not bad
    // input, so the artist is told.
    if (!images[type]->HasPlanes())
        ReportError("Error! Couldn't find one of the default (blank) textures.", "Default map not found!");
}

std::pair<int, int> ImageProcessor::GetGenerationSize(ImageType output) const
{
    const ImageType source = output == ImageType::Aniso                                   ? ImageType::Flow
                             : output == ImageType::Palette || output == ImageType::Index ? ImageType::Diffuse
                                                                                          : output;
    if (HoldsRedOnly(source))
        return memberSizes[source];
    const Image* image = source != output ? GetImage(source) : nullptr;
    if (image != nullptr)
        return {image->GetWidth(), image->GetHeight()};
    return {width, height};
}

bool ImageProcessor::SufficientLightingProfiles() const
{
    return (HasLightingProfile(ImageType::Left) || HasLightingProfile(ImageType::Right)) &&
           (HasLightingProfile(ImageType::Top) || HasLightingProfile(ImageType::Bottom));
}

bool ImageProcessor::DoLightingProfilesMatch() const
{
    if (!HasLightingProfile(ImageType::Left) && !HasLightingProfile(ImageType::Right))
        return false;
    const std::pair<int, int> reference =
        GetMemberSize(HasLightingProfile(ImageType::Left) ? ImageType::Left : ImageType::Right);
    for (const ImageType type :
         {ImageType::Front, ImageType::Left, ImageType::Right, ImageType::Bottom, ImageType::Top})
        if (HasLightingProfile(type) && GetMemberSize(type) != reference)
            return false;
    return true;
}

void ImageProcessor::ComputeBestDimensions()
{
    for (const ImageType type :
         {ImageType::Normal, ImageType::Left, ImageType::Right, ImageType::Depth, ImageType::AO})
    {
        if ((IsLoaded(type) && GetImage(type) != nullptr) || IsSizedOnly(type))
        {
            std::tie(width, height) = GetMemberSize(type);
            return;
        }
    }
    width = 0;
    height = 0;
}

void ImageProcessor::ComputeMipCount()
{
    if (width == 0 || height == 0)
    {
        mipCount = 0;
        return;
    }
    mipCount = 1;
    int w = width;
    int h = height;
    while (w % 2 == 0 && h % 2 == 0)
    {
        w /= 2;
        h /= 2;
        ++mipCount;
    }
    std::cout << "Mip count calculated at " << mipCount << std::endl;
}

void ImageProcessor::InitialiseArrays()
{
    ComputeBestDimensions();
    ComputeMipCount();
    InitialiseMemory();
}

void ImageProcessor::InitialiseMemory()
{
    if (memoryInitialised)
        ClearMemory();
    std::cout << "initialing memory." << std::endl;
    // Built aside and installed whole, so a failed allocation leaves no half-made pyramid behind.
    std::vector<ZeroedArray<Vector3D>> normals;
    std::vector<ZeroedArray<float>> depths;
    for (int level = 0; level < mipCount; ++level)
    {
        const std::size_t size = static_cast<std::size_t>(MipWidth(level)) * MipHeight(level);
        normals.emplace_back(size);
        depths.emplace_back(size);
    }
    normalArrays = std::move(normals);
    depthArrays = std::move(depths);
    anisotropyArray = ZeroedArray<Vector2D>();
    memoryInitialised = true;
    allocatedMipCount = mipCount;
}

void ImageProcessor::ClearMemory()
{
    if (!memoryInitialised)
        return;
    std::cout << "Clearing memory" << std::endl;
    if (transaction != nullptr)
        transaction->KeepWorkingArrays(std::move(normalArrays), std::move(depthArrays),
                                       std::move(anisotropyArray));
    anisotropyArray = ZeroedArray<Vector2D>();
    normalArrays.clear();
    depthArrays.clear();
    memoryInitialised = false;
    allocatedMipCount = 0;
}

void ImageProcessor::ReleaseWorkingArrays()
{
    anisotropyArray = ZeroedArray<Vector2D>();
    normalArrays.clear();
    depthArrays.clear();
    memoryInitialised = false;
    allocatedMipCount = 0;
}

Vector2D* ImageProcessor::GetAnisotropyArray()
{
    if (anisotropyArray.empty() && memoryInitialised && width > 0 && height > 0)
        anisotropyArray = ZeroedArray<Vector2D>(static_cast<std::size_t>(width) * height);
    return anisotropyArray.empty() ? nullptr : anisotropyArray.data();
}

Vector3D* ImageProcessor::GetNormalArray(int level)
{
    if (level < 0 || level >= static_cast<int>(normalArrays.size()))
        return nullptr;
    return normalArrays[static_cast<std::size_t>(level)].data();
}

float* ImageProcessor::GetDepthArray(int level)
{
    if (level < 0 || level >= static_cast<int>(depthArrays.size()))
        return nullptr;
    return depthArrays[static_cast<std::size_t>(level)].data();
}

bool ImageProcessor::DiffuseMatchesWorkingSize() const
{
    const Image* diffuse = GetImage(ImageType::Diffuse);
    return IsLoaded(ImageType::Diffuse) && diffuse != nullptr && diffuse->GetWidth() == width &&
           diffuse->GetHeight() == height;
}

void ImageProcessor::ClearDepthMap()
{
    if (transaction != nullptr && progress->CanCancel())
    {
        // The old depth may be wanted back if the artist cancels: it moves aside for fresh zeroed levels.
        std::vector<ZeroedArray<float>> fresh;
        for (const ZeroedArray<float>& level : depthArrays)
            fresh.emplace_back(level.size());
        transaction->KeepDepthArrays(std::exchange(depthArrays, std::move(fresh)));
    }
    else
        for (ZeroedArray<float>& level : depthArrays)
        {
            // A sheet's level is tens of megabytes, cleared on every thread.
            float* values = level.data();
            ParallelForElements(level.size(), [&](std::size_t from, std::size_t to) {
                std::fill(values + from, values + to, 0.0f);
            });
        }
    ClearDepthEditor();
}

void ImageProcessor::ClearDepthEditor()
{
    if (!depthEditor)
        return;
    ComputeBestDimensions();
    if (transaction != nullptr)
        transaction->KeepDepthEditor(std::move(depthEditor));
    depthEditor.reset();
}

void ImageProcessor::CreateEmptyDepthMapIfNeeded()
{
    ComputeBestDimensions();
    if (IsLoaded(ImageType::Depth))
        return;
    SetImage(new Image(width, height), ImageType::Depth);
    PopulateDepthArrayFromMap();
    InitialiseDepthEditor();
}

void ImageProcessor::InitialiseDepthEditor()
{
    const Image* depth = GetImage(ImageType::Depth);
    const int editorWidth = depth && depth->HasPlanes() ? depth->GetWidth() : width;
    const int editorHeight = depth && depth->HasPlanes() ? depth->GetHeight() : height;
    depthEditor = std::make_unique<DepthEditor>(editorWidth, editorHeight, this);
    depthEditorActive = 0;
}
