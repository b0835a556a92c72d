// Background jobs (audio load and reload, loudness measurement, export, mux) each carry a
// JobToken: the generation of the request that started them and a flag that calls them off.
// The owner, on the main thread, hands out tokens through a JobGenerations (one per kind of
// job) and cancels them there; the job reads the flag between its steps, and FFmpeg reads it
// through a MediaInterrupt made from cancelledFlag(). A step the job hands back to the main
// thread checks the token there, where cancelling happens, so nothing of a called-off job
// reaches the editor.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

class JobToken {
public:
    explicit JobToken(uint64_t generation)
        : m_generation(generation)
    {}
    JobToken(const JobToken&) = delete;
    JobToken& operator=(const JobToken&) = delete;

    uint64_t generation() const { return m_generation; }
    bool isCancelled() const { return m_cancelled.load(std::memory_order_acquire); }
    void cancel() { m_cancelled.store(true, std::memory_order_release); }
    // For work that takes a plain flag.
    const std::atomic<bool>& cancelledFlag() const { return m_cancelled; }

private:
    const uint64_t m_generation;
    std::atomic<bool> m_cancelled = false;
};

// Hands out the tokens of one kind of job and remembers those still in use. Main thread.
class JobGenerations {
public:
    JobGenerations() = default;
    ~JobGenerations() { cancelAll(); }
    JobGenerations(const JobGenerations&) = delete;
    JobGenerations& operator=(const JobGenerations&) = delete;

    // A token for a new request; the earlier ones are called off when `supersede` is set
    // (a newer load replaces the older), left running when not (exports run side by side).
    std::shared_ptr<JobToken> start(bool supersede = true)
    {
        if (supersede)
            cancelAll();
        std::erase_if(m_running, [](const std::weak_ptr<JobToken>& token) { return token.expired(); });
        auto token = std::make_shared<JobToken>(++m_generation);
        m_running.push_back(token);
        return token;
    }

    // Calls off every job started here that is still around.
    void cancelAll()
    {
        for (const std::weak_ptr<JobToken>& weak : m_running) {
            if (const std::shared_ptr<JobToken> token = weak.lock())
                token->cancel();
        }
        m_running.clear();
    }

    // The generation of the latest request.
    uint64_t generation() const { return m_generation; }
    // True while `token` belongs to the latest request and has not been called off.
    bool isCurrent(const JobToken& token) const
    {
        return token.generation() == m_generation && !token.isCancelled();
    }

private:
    uint64_t m_generation = 0;
    std::vector<std::weak_ptr<JobToken>> m_running;
};
