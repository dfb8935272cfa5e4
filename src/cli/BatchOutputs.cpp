#include "cli/BatchOutputs.h"

#include "cli/BatchOptions.h"
#include "cli/CommandLineArgumentSet.h"
#include "cli/SetMembers.h"
#include "core/Image.h"
#include "processing/ImageProcessor.h"

#include <QFileInfo>
#include <QImageWriter>
#include <QStorageInfo>
#include <QTemporaryFile>

#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <string_view>

namespace {
// One message from its pieces, without a temporary string per "+".
std::string Join(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts)
        text.append(part);
    return text;
}

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

const char* Describe(ImageType type)
{
    for (const SaveOption& output : SaveOptions())
        if (output.type == type)
            return output.description;
    return "image";
}

const char* OptionOf(ImageType type)
{
    for (const SaveOption& output : SaveOptions())
        if (output.type == type)
            return output.option;
    return "";
}

// Lower-case extension without the dot, as the image writers name their formats.
std::string FormatOf(const std::string& filename)
{
    return QFileInfo(QString::fromUtf8(filename.c_str())).suffix().toLower().toStdString();
}

bool FormatKeepsAlpha(const std::string& format)
{
    return format == "png" || format == "tif" || format == "tiff" || format == "webp";
}

// Maps that carry a second quantity in their alpha channel.
bool NeedsAlpha(ImageType type)
{
    return type == ImageType::NormalDepth || type == ImageType::NormalOpacity;
}

std::filesystem::path Resolved(const std::string& name)
{
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(name, error);
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, error);
    return error ? absolute.lexically_normal() : canonical;
}
} // namespace

bool IsSameFile(const std::string& a, const std::string& b)
{
    std::error_code error;
    // Hard links and bind mounts are one file under two names; only identity shows it.
    if (std::filesystem::exists(a, error) && std::filesystem::exists(b, error))
        return std::filesystem::equivalent(a, b, error) && !error;
    return Resolved(a) == Resolved(b);
}

BatchOutputs::BatchOutputs(const CommandLineArgumentSet& arguments, const ImageSet& set,
                           const SuffixSet& suffixes, const std::string& outputFolder)
{
    for (const SaveOption& output : SaveOptions())
    {
        if (!arguments.HasArgument(output.option))
            continue;
        requested[output.type] = true;
        // The filename is optional: absent, empty or another option means the set's default name.
        std::string name;
        try
        {
            name = arguments.GetStringArg(output.option);
        }
        catch (const Exception_CLI&)
        {}
        if (!name.empty())
        {
            filenames[output.type] = name;
            continue;
        }
        name = set.GetFilenameOfType(output.type, suffixes);
        if (!outputFolder.empty())
        {
            const std::size_t slash = name.rfind('/');
            name = Join({outputFolder, "/", slash == std::string::npos ? name : name.substr(slash + 1)});
        }
        // A JPG or BMP set would lose the second quantity these maps carry in alpha.
        const std::string format = FormatOf(name);
        if (NeedsAlpha(output.type) && !format.empty() && !FormatKeepsAlpha(format))
        {
            name = name.substr(0, name.size() - format.size()) + "png";
            notes.push_back("The " + std::string(output.description) + " goes to " + Quoted(name) + ": a ." +
                            format + " file cannot hold its alpha channel.");
        }
        filenames[output.type] = name;
    }
}

bool BatchOutputs::AnyRequested() const
{
    for (const bool wanted : requested)
        if (wanted)
            return true;
    return false;
}

std::vector<std::string> BatchOutputs::FormatWarnings() const
{
    std::vector<std::string> warnings;
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        if (!requested[type])
            continue;
        const std::string format = FormatOf(filenames[type]);
        const std::string what =
            Quoted(filenames[type]) + " (" + OptionOf(static_cast<ImageType>(type)) + "): ";
        const std::string map = Describe(static_cast<ImageType>(type));
        if (format == "jpg" || format == "jpeg")
            warnings.push_back(Join({what, "JPG compression is lossy, so the ", map,
                                     " will not keep its exact values; use .png."}));
        if (NeedsAlpha(static_cast<ImageType>(type)) && !format.empty() && !FormatKeepsAlpha(format))
            warnings.push_back(Join(
                {what, "a .", format, " file cannot hold the alpha channel of the ", map, "; use .png."}));
    }
    return warnings;
}

std::vector<std::string> BatchOutputs::CheckNames(const SetMembers& members) const
{
    std::vector<std::string> refusals;
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        if (!requested[type])
            continue;
        const std::string& target = filenames[type];
        for (int other = type + 1; other < kImageTypeCount; ++other)
            if (requested[other] && IsSameFile(target, filenames[other]))
                refusals.push_back(std::string(OptionOf(static_cast<ImageType>(type))) + " and " +
                                   OptionOf(static_cast<ImageType>(other)) + " would both write " +
                                   Quoted(target) + "; give them different names.");
        // Writing a map over its own earlier file is the ordinary re-run; writing it over drawn art is
        // a slip that would destroy the art.
        for (int member = 0; member <= ImageType::Palette; ++member)
            if (member != type && members.Exists(static_cast<ImageType>(member)) &&
                IsSameFile(target, members.Filename(static_cast<ImageType>(member))))
                refusals.push_back("Refusing to write the " +
                                   std::string(Describe(static_cast<ImageType>(type))) + " (" +
                                   OptionOf(static_cast<ImageType>(type)) + ") over " +
                                   Quoted(members.Filename(static_cast<ImageType>(member))) + ", the set's " +
                                   ImageTypeName(static_cast<ImageType>(member)) + " image.");
    }
    return refusals;
}

std::vector<std::string> BatchOutputs::CheckTargets() const
{
    std::vector<std::string> problems;
    const QList<QByteArray> writers = QImageWriter::supportedImageFormats();
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        if (!requested[type])
            continue;
        const QString path = QString::fromUtf8(filenames[type].c_str());
        const QFileInfo info(path);
        const std::string format = FormatOf(filenames[type]);
        const QFileInfo folder(info.absolutePath());
        std::string reason;
        if (info.isDir())
            reason = "it is a folder";
        else if (format.empty())
            reason = "it has no extension to choose the image format by (use .png)";
        else if (!writers.contains(QByteArray::fromStdString(format)))
            reason = "no image format is known for the extension ." + format + " (use .png, .jpg or .bmp)";
        else if (!folder.exists())
            reason = "the folder " + Quoted(folder.filePath().toStdString()) + " does not exist";
        else if (!folder.isDir())
            reason = Quoted(folder.filePath().toStdString()) + " is not a folder";
        else if (info.exists() && !info.isWritable())
            reason = "the file is not writable";
        else
        {
            // The only sure test of a folder's permissions, read-only mounts and quotas is to try.
            QTemporaryFile probe(folder.filePath() + QStringLiteral("/.brondel-XXXXXX"));
            if (!probe.open())
                reason = "the folder " + Quoted(folder.filePath().toStdString()) +
                         " is not writable: " + probe.errorString().toStdString();
            else if (QStorageInfo(folder.filePath()).bytesAvailable() == 0)
                reason = "No space left on device";
        }
        if (!reason.empty())
            problems.push_back("Couldn't save " + Quoted(filenames[type]) + ": " + reason + ".");
    }
    return problems;
}

void BatchOutputs::RememberLoadedImages(const ImageProcessor& processor)
{
    for (int type = 0; type < kImageTypeCount; ++type)
    {
        const Image* image = processor.GetImage(static_cast<ImageType>(type));
        loadedRevisions[static_cast<std::size_t>(type)] = image ? image->GetRevision() : 0;
    }
}

void BatchOutputs::Fail(ImageType type, const std::string& reason)
{
    if (!requested[type])
        return;
    std::cerr << "Couldn't save \"" << filenames[type] << "\": " << reason << std::endl;
    ++failures;
}

void BatchOutputs::FailAll(std::initializer_list<ImageType> types, const std::string& reason)
{
    for (const ImageType type : types)
        Fail(type, reason);
}

void BatchOutputs::Save(const ImageProcessor& processor, ImageType type)
{
    if (!requested[type])
        return;
    const Image* image = processor.GetImage(type);
    if (!image || !processor.IsLoaded(type) ||
        image->GetRevision() == loadedRevisions[static_cast<std::size_t>(type)])
    {
        Fail(type, std::string("the ") + Describe(type) + " could not be generated.");
        return;
    }
    std::string error;
    if (!image->SaveToDisk(filenames[type], &error, NeedsAlpha(type)))
        Fail(type, error);
}
