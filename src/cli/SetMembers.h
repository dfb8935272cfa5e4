#pragma once
#include "sets/ImageSet.h"
#include "sets/ImageType.h"

#include <array>
#include <string>
#include <vector>

class ImageProcessor;

// What is on disk for each member of one image set, looked at before and after the set is decoded:
// present, missing, or present but unusable and why. A member that is not a regular file (a folder, a
// FIFO, a device) is never handed to the loader, so it cannot make a run hang.
class SetMembers
{
public:
    // source: the file the set was named by, for messages.
    SetMembers(const ImageSet& set, const SuffixSet& suffixes, std::string source);

    // The names to load: a member that must not be opened is given as an empty name, which loads as
    // missing and gets its placeholder.
    const std::array<std::string, kImageTypeCount>& FilesToLoad() const { return toLoad; }
    const std::string& Filename(ImageType type) const { return names[type]; }
    // True when something exists under the member's name, whether or not it could be read.
    bool Exists(ImageType type) const { return exists[type]; }
    // True when some member exists but must not be opened.
    bool AnyUnopenable() const;

    // Compares what was loaded with what is on disk; call after the processor has loaded FilesToLoad().
    void Examine(const ImageProcessor& processor);
    // Examines again one member decoded after the others; returns its line as Unreadable() would have
    // it, or nothing when it was read.
    std::string ExamineLate(ImageType type, const ImageProcessor& processor);
    // One line per member that exists but could not be read, naming the file and the reason.
    const std::vector<std::string>& Unreadable() const { return unreadable; }
    // Members left out for another extension, inputs and earlier maps of another size than the profiles.
    const std::vector<std::string>& Warnings() const { return warnings; }
    // One line: the members found, missing and unreadable.
    std::string Summary() const;

private:
    std::string Reason(ImageType type) const;
    std::string UnreadableLine(ImageType type) const;
    void FindOtherExtensions();
    void CompareSizes(const ImageProcessor& processor);

    ImageSet set;
    std::string source;
    std::array<std::string, kImageTypeCount> names;
    std::array<std::string, kImageTypeCount> toLoad;
    std::array<bool, kImageTypeCount> exists{};
    std::array<bool, kImageTypeCount> loaded{};
    std::array<bool, kImageTypeCount> failed{};
    std::vector<std::string> unreadable;
    std::vector<std::string> warnings;
};

// Name of an image kind as people write it ("Left", "NormalDepth").
std::string ImageTypeName(ImageType type);
