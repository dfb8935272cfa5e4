#include "sets/BrondelCore.h"

#include "preview/LightingPreview.h"
#include "processing/GenerationProgress.h"
#include "processing/ImageProcessor.h"
#include "sets/StringHelpers.h"

#include <climits>
#include <unordered_set>

namespace {
const char* const kInvalidSuffixCaption = "Couldn't find valid filename suffix";
const char* const kInvalidSuffixText =
    "To load a set of images, select one with a valid suffix in the filename (such as '_Left', '_Front', "
    "'_Diffuse', etc) - the rest of the image names will be based on this.";

// a x b for non-negative values, stopping at the largest int: a big sheet times many refinement steps
// passes 2^31 easily, and an estimate only has to say "too long".
long long SaturatedProduct(long long a, long long b)
{
    if (a <= 0 || b <= 0)
        return 0;
    if (a > INT_MAX / b)
        return INT_MAX;
    return a * b;
}
} // namespace

BrondelCore::BrondelCore(std::string root)
    : rootPath(std::move(root)), generationProgress(&GenerationProgress::Uncancellable())
{
    // A processor exists before any set is loaded, so the current index always addresses one.
    processors.push_back(MakeProcessor());
    currentIndex = 0;
    // Storing values only: no OpenGL is touched until a preview widget draws with it.
    preview = std::make_unique<LightingPreview>(processors.front().get(), rootPath, &log);
    preview->SetProcessorSource([this] { return GetCurrentProcessor(); });
}

BrondelCore::~BrondelCore() = default;

bool BrondelCore::IsRunningWindows()
{
#ifdef _WIN32
    return true;
#else
    return false;
#endif
}

std::unique_ptr<ImageProcessor> BrondelCore::MakeProcessor()
{
    return std::make_unique<ImageProcessor>(messageCallback, rootPath, &log);
}

void BrondelCore::SetMessageCallback(MessageCallback callback)
{
    messageCallback = std::move(callback);
    FinaliseDelegates();
}

void BrondelCore::SetLog(LogOutput logOutput)
{
    log = logOutput;
    for (const auto& processor : processors)
        processor->SetLog(&log);
}

void BrondelCore::FinaliseDelegates()
{
    for (const auto& processor : processors)
    {
        processor->SetMessageCallback(messageCallback);
        processor->SetLog(&log);
    }
}

void BrondelCore::NotifyRefresh() const
{
    if (refreshCallback)
        refreshCallback();
}

void BrondelCore::NotifyImageChanged(ImageType type) const
{
    if (imageChangedCallback)
        imageChangedCallback(type);
}

void BrondelCore::NotifySetList() const
{
    if (!setListCallback)
        return;
    std::vector<std::string> names;
    for (const auto& set : imageSets)
    {
        const std::size_t slash = set->baseName.rfind('/');
        names.push_back(slash == std::string::npos ? set->baseName : set->baseName.substr(slash + 1));
    }
    setListCallback(names);
}

void BrondelCore::ReportInvalidSuffix()
{
    if (messageCallback)
        messageCallback(kInvalidSuffixText, kInvalidSuffixCaption);
}

const ImageSet* BrondelCore::GetImageSet(int index) const
{
    if (index < 0 || index >= GetImageSetCount())
        return nullptr;
    return imageSets[static_cast<std::size_t>(index)].get();
}

const ImageSet* BrondelCore::GetCurrentImageSet() const
{
    return GetImageSet(currentIndex);
}

ImageProcessor* BrondelCore::GetProcessor(int index) const
{
    if (index < 0 || index >= GetProcessorCount())
        return nullptr;
    return processors[static_cast<std::size_t>(index)].get();
}

ImageProcessor* BrondelCore::GetCurrentProcessor() const
{
    return GetProcessor(currentIndex);
}

// --- Loading and selection

void BrondelCore::AdvanceToAppendedSet()
{
    // Every load moves the index on by one, which lands on the new set after a clear or a previous
    // load. Straight after construction the index is already 0 with no set, and one step would pass the
    // end of the list; it then stops at the set just added instead.
    ++currentIndex;
    if (currentIndex >= GetImageSetCount())
        currentIndex = GetImageSetCount() - 1;
    while (GetProcessorCount() <= currentIndex)
        processors.push_back(MakeProcessor());
}

void BrondelCore::LoadCurrentSet()
{
    ImageProcessor* processor = GetCurrentProcessor();
    const ImageSet* set = GetCurrentImageSet();
    if (!processor || !set)
        return;
    std::array<std::string, kImageTypeCount> filenames;
    for (int type = 0; type < kImageTypeCount; ++type)
        filenames[type] = set->GetFilenameOfType(static_cast<ImageType>(type), suffixes);
    processor->LoadImageSetByName(filenames, parameters.normals.flipY);
}

void BrondelCore::LoadImageSet(std::string filename)
{
    auto set = std::make_unique<ImageSet>(filename, suffixes, !IsRunningWindows());
    // An unusable name is refused before it joins the list, so the sets already loaded stay as they were.
    if (!set->isValid)
    {
        ReportInvalidSuffix();
        return;
    }
    imageSets.push_back(std::move(set));
    AdvanceToAppendedSet();
    LoadCurrentSet();
    NotifySetList();
    NotifyRefresh();
}

void BrondelCore::LoadImageSet(std::string baseName, std::string extension)
{
    auto set = std::make_unique<ImageSet>();
    set->baseName = std::move(baseName);
    set->extension = std::move(extension);
    set->isValid = true;
    imageSets.push_back(std::move(set));
    AdvanceToAppendedSet();
    LoadCurrentSet();
}

bool BrondelCore::LoadMultipleImageSets(std::vector<std::string> filenames)
{
    // Picking several members of one set must not load it twice, hence the set of base names. All sets
    // share the extension of the last valid name: the loader forms every member from one extension.
    std::unordered_set<std::string> baseNames;
    std::string extension;
    for (const std::string& filename : filenames)
    {
        const ImageSet set(filename, suffixes, !IsRunningWindows());
        if (!set.isValid)
            continue;
        baseNames.insert(set.baseName);
        extension = set.extension;
    }
    if (baseNames.empty())
    {
        ReportInvalidSuffix();
        return false;
    }

    ClearImageSets();
    for (const std::string& baseName : baseNames)
        LoadImageSet(baseName, extension);
    NotifySetList();
    NotifyRefresh();
    TrimImageProcessors(GetImageSetCount());
    return true;
}

void BrondelCore::LoadDefaultSet()
{
    LoadMultipleImageSets({rootPath + "Examples/ExampleHead_Diffuse.png"});
}

void BrondelCore::LoadImageOfType(std::string filename, ImageType type)
{
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    processor->LoadImageByName(type, filename, parameters.normals.flipY);
    NotifyImageChanged(type);
}

void BrondelCore::LoadDefaultImageOfType(ImageType type)
{
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    processor->LoadDefaultImage(type);
    // A cleared profile must stop counting towards the working size, or the time estimates and the
    // next generation would still see the old resolution.
    processor->ComputeBestDimensions();
    NotifyImageChanged(type);
}

Image* BrondelCore::GetCurrentBitmapByType(ImageType type) const
{
    const ImageProcessor* processor = GetCurrentProcessor();
    return processor ? processor->GetImage(type) : nullptr;
}

bool BrondelCore::HasNonDefaultImageOfType(ImageType type) const
{
    const ImageProcessor* processor = GetCurrentProcessor();
    return processor && processor->IsLoaded(type);
}

void BrondelCore::ClearImageSets()
{
    // Processors are kept: the next loads reuse them instead of reallocating their arrays.
    imageSets.clear();
    currentIndex = -1;
}

void BrondelCore::SelectImageSet(int index)
{
    if (index < 0 || index >= GetImageSetCount())
        return;
    currentIndex = index;
    NotifyRefresh();
}

void BrondelCore::TrimImageProcessors(int count)
{
    // One processor always stays, so the current index has something to address.
    const int keep = count < 1 ? 1 : count;
    if (GetProcessorCount() <= keep)
        return;
    processors.resize(static_cast<std::size_t>(keep));
    SelectImageSet(0);
}

// --- Generation

void BrondelCore::ForEverySet(void (BrondelCore::*operation)())
{
    // A cancel stops the whole run; a set that failed has said why, and the others still get their turn.
    ForEverySet([this, operation] {
        (this->*operation)();
        return lastOutcome != GenerationOutcome::Cancelled;
    });
}

bool BrondelCore::Guarded(ImageType output, const ImageProcessor& processor,
                          const std::function<void()>& generate)
{
    const auto [width, height] = processor.GetGenerationSize(output);
    lastOutcome = GuardGeneration(DescribeMap(output), width, height, messageCallback, generate);
    return lastOutcome == GenerationOutcome::Finished;
}

void BrondelCore::SetGenerationProgress(const GenerationProgress* progress)
{
    generationProgress = progress ? progress : &GenerationProgress::Uncancellable();
}

void BrondelCore::ForEverySet(const std::function<bool()>& operation)
{
    const int previous = currentIndex;
    for (int index = 0; index < GetImageSetCount(); ++index)
    {
        currentIndex = index;
        if (!operation())
            break;
    }
    currentIndex = previous;
    FinaliseDelegates();
    NotifyRefresh();
}

void BrondelCore::AttemptNormalGeneration()
{
    FinaliseDelegates();
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    if (!processor->SufficientLightingProfiles())
    {
        if (messageCallback)
            messageCallback(
                "To generate normals, you must load a left or right lighting profile (or both), and a "
                "top or bottom lighting profile (or both).",
                "Insufficient lighting profiles");
        return;
    }
    if (!processor->DoLightingProfilesMatch())
    {
        if (messageCallback)
            messageCallback(
                "To generate a normal map, all of the loaded lighting profile images must be of the "
                "same resolution.",
                "Resolution mismatch");
        return;
    }
    const NormalParameters& normals = parameters.normals;
    Guarded(ImageType::Normal, *processor, [&] {
        processor->GenerateNormals(normals.bend, normals.rotationDirection, normals.rotationAmount,
                                   normals.autofixFlatNormals, normals.flipY, *generationProgress);
    });
    NotifyImageChanged(ImageType::Normal);
}

void BrondelCore::AttemptDepthGeneration()
{
    FinaliseDelegates();
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    const DepthParameters& depth = parameters.depth;
    Guarded(ImageType::Depth, *processor, [&] {
        processor->GenerateDepthMapFromNormals(depth.refinementSteps, depth.respectSelectedEdges,
                                               depth.lowFrequencyEmphasis, *generationProgress);
    });
    NotifyImageChanged(ImageType::Depth);
}

void BrondelCore::AttemptAOGeneration()
{
    FinaliseDelegates();
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    const AOParameters& ao = parameters.ao;
    Guarded(ImageType::AO, *processor, [&] {
        processor->GenerateAOFromDepth(ao.coneGradient, ao.boxSize, ao.stepSize, ao.lightFlatness,
                                       *generationProgress);
    });
    NotifyImageChanged(ImageType::AO);
}

bool BrondelCore::AttemptPaletteGeneration()
{
    FinaliseDelegates();
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return false;
    bool created = false;
    Guarded(ImageType::Palette, *processor, [&] {
        created = processor->CreatePaletteFromDiffuseMap(
            parameters.palette.height, parameters.palette.sampleLighting, *generationProgress);
    });
    NotifyImageChanged(ImageType::Palette);
    return created;
}

void BrondelCore::AttemptIndexGeneration()
{
    FinaliseDelegates();
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    Guarded(ImageType::Index, *processor, [&] { processor->GeneratePaletteIndex(*generationProgress); });
    NotifyImageChanged(ImageType::Index);
}

void BrondelCore::AttemptAnisotropyGeneration()
{
    FinaliseDelegates();
    ImageProcessor* processor = GetCurrentProcessor();
    if (!processor)
        return;
    Guarded(ImageType::Aniso, *processor, [&] {
        processor->GenerateAnisotropyMap(parameters.anisotropy.expandCount, parameters.anisotropy.outputType,
                                         *generationProgress);
    });
    NotifyImageChanged(ImageType::Aniso);
}

void BrondelCore::AttemptNormalGenerationAll()
{
    ForEverySet(&BrondelCore::AttemptNormalGeneration);
}

void BrondelCore::AttemptDepthGenerationAll()
{
    ForEverySet(&BrondelCore::AttemptDepthGeneration);
}

void BrondelCore::AttemptAOGenerationAll()
{
    ForEverySet(&BrondelCore::AttemptAOGeneration);
}

bool BrondelCore::AttemptPaletteGenerationAll()
{
    bool allCreated = true;
    ForEverySet([this, &allCreated] {
        allCreated = AttemptPaletteGeneration();
        return allCreated;
    });
    return allCreated;
}

void BrondelCore::AttemptIndexGenerationAll()
{
    ForEverySet(&BrondelCore::AttemptIndexGeneration);
}

void BrondelCore::AttemptAnisotropyGenerationAll()
{
    ForEverySet(&BrondelCore::AttemptAnisotropyGeneration);
}

// --- Time estimates

int BrondelCore::EstimateTime(bool all, long long factor) const
{
    long long total = 0;
    for (int index = 0; index < GetProcessorCount(); ++index)
    {
        if (!all && index != currentIndex)
            continue;
        const ImageProcessor* processor = GetProcessor(index);
        const long long pixels = SaturatedProduct(processor->GetWidth(), processor->GetHeight());
        total += SaturatedProduct(pixels, factor);
        if (total > INT_MAX)
            return INT_MAX;
    }
    return static_cast<int>(total);
}

int BrondelCore::CheckNormalsTime(bool all) const
{
    return EstimateTime(all, 1);
}

int BrondelCore::CheckDepthTime(bool all) const
{
    return EstimateTime(all, parameters.depth.refinementSteps);
}

int BrondelCore::CheckAOTime(bool all) const
{
    // The ratio is an integer quotient on purpose: box 5 with step 2 counts as 2 x 2, not 2.5 x 2.5.
    const long long ratio = parameters.ao.boxSize / (parameters.ao.stepSize > 0 ? parameters.ao.stepSize : 1);
    return EstimateTime(all, ratio * ratio);
}
