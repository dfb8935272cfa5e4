#include "processing/GenerationProgress.h"

GenerationProgress::GenerationProgress(Listener progressListener, bool canCancel)
    : listener(std::move(progressListener)), cancellable(canCancel)
{}

const GenerationProgress& GenerationProgress::Uncancellable()
{
    static const GenerationProgress none({}, false);
    return none;
}

void GenerationProgress::RequestCancel() noexcept
{
    if (cancellable)
        cancelRequested.store(true, std::memory_order_relaxed);
}

bool GenerationProgress::IsCancelRequested() const noexcept
{
    return cancelRequested.load(std::memory_order_relaxed);
}

void GenerationProgress::Report(int percent) const
{
    if (listener)
        listener(percent);
    ThrowIfCancelled();
}

void GenerationProgress::ThrowIfCancelled() const
{
    if (IsCancelRequested())
        throw GenerationCancelled();
}
