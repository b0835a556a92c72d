// Lets called-off work stop FFmpeg inside a blocking read or write: installed as a format
// context's interrupt callback, it makes FFmpeg's I/O give up with AVERROR_EXIT once the
// cancellation flag is set, the deadline has passed or the stop condition holds. The flag is
// set on any thread; the interrupt itself (and so the condition) is asked on the thread
// doing the I/O, and it must outlive the context.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>

struct AVFormatContext;
struct AVIOInterruptCB;

class MediaInterrupt {
public:
    using Clock = std::chrono::steady_clock;

    MediaInterrupt() = default;
    explicit MediaInterrupt(const std::atomic<bool>* cancelled,
                            std::optional<Clock::time_point> deadline = std::nullopt)
        : m_cancelled(cancelled)
        , m_deadline(deadline)
    {}
    // Stops once `stopWhen` returns true.
    explicit MediaInterrupt(std::function<bool()> stopWhen)
        : m_stopWhen(std::move(stopWhen))
    {}

    // True once the work was called off or its time is up.
    bool shouldStop() const;
    // Makes `context`'s I/O ask this interrupt between its blocking steps.
    void installOn(AVFormatContext* context) const;
    // The callback FFmpeg calls, with an interrupt as its opaque pointer.
    static int callback(void* interrupt);
    AVIOInterruptCB asCallback() const;

private:
    const std::atomic<bool>* m_cancelled = nullptr;
    std::optional<Clock::time_point> m_deadline;
    std::function<bool()> m_stopWhen;
};
