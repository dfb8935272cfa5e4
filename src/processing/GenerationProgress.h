#pragma once
#include <atomic>
#include <exception>
#include <functional>
#include <string>

// Handed to every long generator: it hears how far the work has got (the percentages the log lines
// print) and tells the generator when the artist has asked to stop. Cancel can be requested from any
// thread; the generator notices at its next check, throws GenerationCancelled, and the processor puts
// the set back as it was.
class GenerationProgress
{
public:
    // percent is 0..100 of the current generation.
    using Listener = std::function<void(int percent)>;

    explicit GenerationProgress(Listener listener = {}, bool cancellable = true);
    GenerationProgress(const GenerationProgress&) = delete;
    GenerationProgress& operator=(const GenerationProgress&) = delete;

    // One that never cancels and tells no one: what batch runs and the plain Attempt operations use.
    static const GenerationProgress& Uncancellable();

    void RequestCancel() noexcept;
    bool IsCancelRequested() const noexcept;
    // Whether a cancel can ever be asked for. Processors keep the set's previous working arrays aside
    // only when it can, since that costs memory a batch run has no use for.
    bool CanCancel() const noexcept { return cancellable; }

    // On the generating thread: passes the percentage on, then stops the work if cancel was requested.
    void Report(int percent) const;
    void ThrowIfCancelled() const;

private:
    Listener listener;
    bool cancellable;
    std::atomic<bool> cancelRequested{false};
};

// Thrown out of a generator that saw a cancel request. Not an error: nothing is reported.
class GenerationCancelled : public std::exception
{
public:
    const char* what() const noexcept override { return "Generation cancelled."; }
};
