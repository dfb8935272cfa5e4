#include "cli/SetMembers.h"

#include "core/Image.h"
#include "processing/ImageProcessor.h"
#include "sets/StringHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>

namespace {
const std::array<const char*, kImageTypeCount> kTypeNames = {
    "Top",      "Bottom",      "Left",          "Right", "Front",   "Diffuse",
    "Specular", "Emissive",    "Silhouette",    "Flow",  "Palette", "Normal",
    "Depth",    "NormalDepth", "NormalOpacity", "AO",    "Aniso",   "Index"};

QString Path(const std::string& name)
{
    return QString::fromUtf8(name.c_str());
}

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string Size(std::pair<int, int> size)
{
    return std::to_string(size.first) + "x" + std::to_string(size.second);
}

std::string List(const std::vector<std::string>& items)
{
    std::string text;
    for (const std::string& item : items)
        text += (text.empty() ? "" : ", ") + item;
    return text.empty() ? "none" : text;
}

// Kinds the artist draws: each lies over the profiles pixel for pixel.
constexpr ImageType kDrawnInputs[] = {ImageType::Diffuse, ImageType::Specular, ImageType::Emissive,
                                      ImageType::Silhouette, ImageType::Flow};
constexpr ImageType kGeneratedMaps[] = {ImageType::Normal,        ImageType::Depth, ImageType::NormalDepth,
                                        ImageType::NormalOpacity, ImageType::AO,    ImageType::Aniso,
                                        ImageType::Index};
} // namespace

std::string ImageTypeName(ImageType type)
{
    return kTypeNames[static_cast<std::size_t>(type)];
}

SetMembers::SetMembers(const ImageSet& imageSet, const SuffixSet& suffixes, std::string sourceFile)
    : set(imageSet), source(std::move(sourceFile))
{
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        names[type] = set.GetFilenameOfType(static_cast<ImageType>(type), suffixes);
        const QFileInfo info(Path(names[type]));
        exists[type] = info.exists();
        // Opening a FIFO waits for a writer forever; a folder or a device is no image either.
        toLoad[type] = exists[type] && !info.isFile() ? std::string() : names[type];
    }
}

bool SetMembers::AnyUnopenable() const
{
    for (int type = 0; type < kImageTypeCount; ++type)
        if (exists[type] && toLoad[type].empty())
            return true;
    return false;
}

void SetMembers::Examine(const ImageProcessor& processor)
{
    unreadable.clear();
    warnings.clear();
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        // A member measured but left undecoded was found all the same.
        loaded[type] = processor.IsLoaded(static_cast<ImageType>(type)) ||
                       processor.IsSizedOnly(static_cast<ImageType>(type));
        failed[type] = exists[type] && !loaded[type];
        if (failed[type])
            unreadable.push_back(UnreadableLine(static_cast<ImageType>(type)));
    }
    FindOtherExtensions();
    CompareSizes(processor);
}

std::string SetMembers::ExamineLate(ImageType type, const ImageProcessor& processor)
{
    loaded[type] = processor.IsLoaded(type) || processor.IsSizedOnly(type);
    failed[type] = exists[type] && !loaded[type];
    if (!failed[type])
        return {};
    unreadable.push_back(UnreadableLine(type));
    return unreadable.back();
}

std::string SetMembers::UnreadableLine(ImageType type) const
{
    return "Couldn't read " + Quoted(names[type]) + " (" + ImageTypeName(type) + "): " + Reason(type) +
           "; a blank placeholder is used.";
}

std::string SetMembers::Reason(ImageType type) const
{
    const QString path = Path(names[type]);
    const QFileInfo info(path);
    if (info.isDir())
        return "it is a folder, not an image";
    if (!info.isFile())
        return "it is not a regular file (a pipe, socket or device), so it was not opened";
    if (info.size() == 0)
        return "the file is empty";
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString().toStdString();
    // The header names the format even when the data behind it is damaged.
    const QByteArray format = QImageReader::imageFormat(&file);
    file.seek(0);
    // Decoded once more only now that it has failed, to learn why.
    QImageReader reader(&file);
    QImage image;
    if (reader.read(&image))
        return "it could not be decoded";
    const std::string what = format.isEmpty()
                                 ? std::string("not a PNG, JPG or BMP image")
                                 : "a damaged or truncated " + format.toUpper().toStdString() + " image";
    return what + " (" + reader.errorString().toStdString() + ")";
}

void SetMembers::FindOtherExtensions()
{
    const std::string folder = GetDirectoryWithoutFilename(set.baseName);
    const QDir directory(Path(folder.empty() ? std::string("/") : folder));
    const QStringList entries = directory.entryList(QDir::Files | QDir::NoDotAndDotDot | QDir::System);
    const std::string base = set.baseName.substr(folder.size() + 1);
    SuffixSet suffixes;
    // Only members the artist draws: another export of a generated map is the artist's own business.
    for (int type = 0; type <= ImageType::Palette; ++type)
    {
        if (exists[type])
            continue;
        const QString prefix = Path(base + suffixes.GetSuffix(static_cast<ImageType>(type)) + ".");
        for (const QString& entry : entries)
            if (entry.startsWith(prefix))
                warnings.push_back(Quoted(directory.filePath(entry).toStdString()) +
                                   " is not part of the set: its members share the extension " +
                                   Quoted(set.extension) + " of " + Quoted(source) + ", so no " +
                                   ImageTypeName(static_cast<ImageType>(type)) + " image was loaded.");
    }
}

void SetMembers::CompareSizes(const ImageProcessor& processor)
{
    ImageType reference = ImageType::Left;
    bool found = false;
    for (const ImageType type :
         {ImageType::Left, ImageType::Right, ImageType::Top, ImageType::Bottom, ImageType::Front})
        if (!found && loaded[type])
        {
            reference = type;
            found = true;
        }
    if (!found)
        return;
    const std::pair<int, int> profile = processor.GetMemberSize(reference);
    const std::string profileText =
        "the lighting profile " + Quoted(names[reference]) + " is " + Size(profile);
    for (const ImageType type : kDrawnInputs)
    {
        const std::pair<int, int> size = processor.GetMemberSize(type);
        if (loaded[type] && size != profile)
            warnings.push_back(Quoted(names[type]) + " is " + Size(size) + " but " + profileText +
                               "; its pixels will not line up with the maps.");
    }
    for (const ImageType type : kGeneratedMaps)
    {
        const std::pair<int, int> size = processor.GetMemberSize(type);
        if (loaded[type] && size != profile)
            warnings.push_back(Quoted(names[type]) + " (a map of an earlier run) is " + Size(size) + " but " +
                               profileText + "; it can fix the working size and crop the new maps. " +
                               "Delete it before regenerating.");
    }
}

std::string SetMembers::Summary() const
{
    std::vector<std::string> found;
    std::vector<std::string> missing;
    std::vector<std::string> broken;
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        const std::string name = ImageTypeName(static_cast<ImageType>(type));
        if (failed[type])
            broken.push_back(name);
        else if (loaded[type])
            found.push_back(name);
        else if (type <= ImageType::Palette)
            missing.push_back(name);
    }
    return "Set " + Quoted(set.baseName) + " (" + (set.extension.empty() ? "no extension" : set.extension) +
           "): found " + List(found) + "; missing " + List(missing) + "; unreadable " + List(broken) + ".";
}
