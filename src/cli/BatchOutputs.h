#pragma once
#include "sets/ImageSet.h"
#include "sets/ImageType.h"

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

class CommandLineArgumentSet;
class ImageProcessor;
class SetMembers;

// The outputs one batch run was asked for, where each goes, and whether each got written. Everything
// that can be known about a target before generating is checked before generating; every output that
// does not reach its file is reported on standard error and makes the run fail.
class BatchOutputs
{
public:
    // outputFolder: where default-named maps go instead of beside the inputs; empty for beside them.
    BatchOutputs(const CommandLineArgumentSet& arguments, const ImageSet& set, const SuffixSet& suffixes,
                 const std::string& outputFolder);

    bool Requested(ImageType type) const { return requested[type]; }
    bool AnyRequested() const;
    const std::string& Filename(ImageType type) const { return filenames[type]; }
    // Default names that were changed from the set's extension, and why.
    const std::vector<std::string>& Notes() const { return notes; }
    // Formats that lose what a map holds: JPG's lossy values, alpha in a format without it.
    std::vector<std::string> FormatWarnings() const;
    // Refusals that protect files: an output over a member the set reads as input, or two outputs
    // written to one file (links resolved). One line each; empty when all is well.
    std::vector<std::string> CheckNames(const SetMembers& members) const;
    // Whether each target can be written: not a folder, an extension with a writer, an existing
    // writable folder. One line each, with the system's reason; empty when all is well.
    std::vector<std::string> CheckTargets() const;
    // Maps already in the set's folder are loaded as inputs; only what this run writes over them counts
    // as generated, so a failed generator never saves a stale file under a fresh name.
    void RememberLoadedImages(const ImageProcessor& processor);

    void Fail(ImageType type, const std::string& reason);
    void FailAll(std::initializer_list<ImageType> types, const std::string& reason);
    void Save(const ImageProcessor& processor, ImageType type);
    int ExitStatus() const { return failures > 0 ? 1 : 0; }

private:
    std::array<bool, kImageTypeCount> requested{};
    std::array<std::string, kImageTypeCount> filenames;
    std::array<std::uint64_t, kImageTypeCount> loadedRevisions{};
    std::vector<std::string> notes;
    int failures = 0;
};

// True when both names reach one file: links followed, existing files compared by identity.
bool IsSameFile(const std::string& a, const std::string& b);
