#include "processing/GenerationGuard.h"

#include "processing/GenerationProgress.h"

#include <exception>
#include <new>

namespace {
void Tell(const std::function<void(std::string, std::string)>& report, std::string text, std::string caption)
{
    if (!report)
        return;
    // The report itself may fail (a full log, a broken stream); the boundary must still hold.
    try
    {
        report(std::move(text), std::move(caption));
    }
    catch (...)
    {}
}
} // namespace

std::string DescribeMap(ImageType type)
{
    switch (type)
    {
    case ImageType::Normal:
        return "normal map";
    case ImageType::NormalOpacity:
        return "normal map with opacity";
    case ImageType::Depth:
        return "depth map";
    case ImageType::NormalDepth:
        return "normal map with depth";
    case ImageType::AO:
        return "ambient occlusion map";
    case ImageType::Aniso:
        return "anisotropy map";
    case ImageType::Palette:
        return "palette map";
    case ImageType::Index:
        return "index map";
    default:
        return "map";
    }
}

GenerationOutcome GuardGeneration(const std::string& mapName, int width, int height,
                                  const std::function<void(std::string text, std::string caption)>& report,
                                  const std::function<void()>& generate) noexcept
{
    try
    {
        try
        {
            generate();
            return GenerationOutcome::Finished;
        }
        catch (const GenerationCancelled&)
        {
            return GenerationOutcome::Cancelled;
        }
        catch (const std::bad_alloc&)
        {
            Tell(report,
                 "Not enough memory to generate the " + mapName + " for a " + std::to_string(width) + " x " +
                     std::to_string(height) + " image. Close other programs or work on a smaller image.",
                 "Not enough memory");
        }
        catch (const std::exception& error)
        {
            Tell(report, "Couldn't generate the " + mapName + ": " + error.what(), "Generation failed");
        }
        catch (...)
        {
            Tell(report, "Couldn't generate the " + mapName + ": an unknown error occurred.",
                 "Generation failed");
        }
    }
    catch (...)
    {
        // Building the message itself ran out of memory: there is nothing more to be said.
    }
    return GenerationOutcome::Failed;
}
