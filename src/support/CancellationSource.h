// A flag that background work polls to learn that its result is no longer wanted. The owner
// lives on one thread and cancels the flag when it starts newer work of the same kind or when
// it is destroyed; the work keeps its own reference, so the flag outlives whichever ends last.
#pragma once

#include <atomic>
#include <memory>

class CancellationSource {
public:
    CancellationSource() = default;
    ~CancellationSource() { cancel(); }
    CancellationSource(const CancellationSource&) = delete;
    CancellationSource& operator=(const CancellationSource&) = delete;

    // Cancels the work started with the previous flag and gives a fresh flag for new work.
    std::shared_ptr<const std::atomic<bool>> renew()
    {
        cancel();
        m_flag = std::make_shared<std::atomic<bool>>(false);
        return m_flag;
    }

    void cancel()
    {
        if (m_flag)
            m_flag->store(true);
    }

private:
    std::shared_ptr<std::atomic<bool>> m_flag;
};
