// Hand-overs between threads that go through Qt. Debian's Qt is not built with the thread
// sanitizer, so the ordering that its thread pool, its event queue and QFuture's result
// store guarantee cannot be seen: a value made on one thread and used on the thread it was
// handed to would be reported as a data race although Qt orders the two. The wrappers here
// tell the sanitizer about each hand-over; in any other build they are the plain operations.
#pragma once

#include <QFuture>
#include <QFutureInterface>
#include <QRunnable>
#include <QThreadPool>

#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#if defined(__SANITIZE_THREAD__)
#define VORNIK_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VORNIK_THREAD_SANITIZER 1
#endif
#endif

#if defined(VORNIK_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace handover {

// What this thread did so far happens before what another thread does after an acquire of
// the same address.
inline void release(const void* address)
{
#if defined(VORNIK_THREAD_SANITIZER)
    __tsan_release(const_cast<void*>(address));
#else
    (void)address;
#endif
}

inline void acquire(const void* address)
{
#if defined(VORNIK_THREAD_SANITIZER)
    __tsan_acquire(const_cast<void*>(address));
#else
    (void)address;
#endif
}

// One thread's use of a handed-over object: takes over what the previous user did, and
// hands its own accesses on when it ends.
class Turn {
public:
    explicit Turn(const void* address)
        : m_address(address)
    {
        acquire(m_address);
    }
    ~Turn() { release(m_address); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    const void* m_address;
};

} // namespace handover

// A callable that passes from thread to thread through Qt, such as the lambda given to
// QMetaObject::invokeMethod with Qt::QueuedConnection. Every copy, move, call and the
// destruction first takes over the accesses of the thread that touched it before, so Qt's
// own hand-over of the queued call becomes visible.
template <typename F>
class HandedOver {
public:
    explicit HandedOver(F function)
        : m_function(std::move(function))
    {
        handover::release(this);
    }
    HandedOver(const HandedOver& other)
        : m_function(copyOf(other))
    {
        handover::release(this);
    }
    HandedOver(HandedOver&& other) noexcept(std::is_nothrow_move_constructible_v<F>)
        : m_function(takeFrom(other))
    {
        handover::release(this);
    }
    HandedOver& operator=(const HandedOver&) = delete;
    HandedOver& operator=(HandedOver&&) = delete;
    ~HandedOver() { handover::acquire(this); }

    template <typename... Args>
    decltype(auto) operator()(Args&&... args)
    {
        const handover::Turn turn(this);
        return m_function(std::forward<Args>(args)...);
    }
    template <typename... Args>
    decltype(auto) operator()(Args&&... args) const
    {
        const handover::Turn turn(this);
        return m_function(std::forward<Args>(args)...);
    }

private:
    static F copyOf(const HandedOver& other)
    {
        const handover::Turn turn(&other);
        return other.m_function;
    }
    static F takeFrom(HandedOver& other)
    {
        const handover::Turn turn(&other);
        return std::move(other.m_function);
    }

    F m_function;
};

template <typename F>
HandedOver<std::decay_t<F>> handedOver(F&& function)
{
    return HandedOver<std::decay_t<F>>(std::forward<F>(function));
}

namespace handover::detail {

// Where work started by computeInBackground leaves its result.
template <typename R>
struct ResultSlot {
    std::optional<R> value;
    std::exception_ptr error;
};

// Work for Qt's global thread pool. QtConcurrent::run cannot carry the hand-over: its task
// object is written on the starting thread and read by the pool thread before the work runs.
// The task reports to a QFuture<void> only, whose state lives entirely inside Qt; a result
// goes to a slot shared with the reader.
template <typename F, typename R>
class PoolTask : public QRunnable {
public:
    explicit PoolTask(F work)
        : m_work(std::move(work))
    {
        // As with QtConcurrent::run, a thread that waits for the future runs the work itself
        // when no pool thread has picked it up yet.
        m_promise.setThreadPool(QThreadPool::globalInstance());
        m_promise.setRunnable(this);
        m_promise.reportStarted();
        if constexpr (!std::is_void_v<R>)
            m_slot = std::make_shared<ResultSlot<R>>();
    }
    ~PoolTask() override { acquire(this); }
    PoolTask(const PoolTask&) = delete;
    PoolTask& operator=(const PoolTask&) = delete;

    // Only on the starting thread, before start().
    QFuture<void> future() { return m_promise.future(); }
    std::shared_ptr<const ResultSlot<R>> slot() const requires(!std::is_void_v<R>) { return m_slot; }

    void start()
    {
        release(this);
        QThreadPool::globalInstance()->start(this);
    }

    void run() override
    {
        acquire(this);
        // An exception ends the work; as with QtConcurrent::run it is kept for whoever reads
        // the result (nobody, for work without one).
        try {
            if constexpr (std::is_void_v<R>)
                m_work();
            else
                m_slot->value.emplace(m_work());
        } catch (...) {
            if constexpr (!std::is_void_v<R>)
                m_slot->error = std::current_exception();
        }
        if constexpr (!std::is_void_v<R>)
            release(m_slot.get());
        release(this);
        m_promise.reportFinished();
    }

private:
    struct NoSlot {};
    F m_work;
    QFutureInterface<void> m_promise;
    std::conditional_t<std::is_void_v<R>, NoSlot, std::shared_ptr<ResultSlot<R>>> m_slot;
};

} // namespace handover::detail

// The result of work started with computeInBackground. Copies share it.
template <typename R>
class BackgroundResult {
public:
    BackgroundResult(QFuture<void> done, std::shared_ptr<const handover::detail::ResultSlot<R>> slot)
        : m_done(std::move(done))
        , m_slot(std::move(slot))
    {}

    // Waits for the work and returns its result; rethrows what the work threw. On a pool
    // thread, work that has not started yet runs here.
    R result()
    {
        m_done.waitForFinished();
        handover::acquire(m_slot.get());
        if (m_slot->error)
            std::rethrow_exception(m_slot->error);
        return *m_slot->value;
    }

private:
    QFuture<void> m_done;
    std::shared_ptr<const handover::detail::ResultSlot<R>> m_slot;
};

// Runs `work` on Qt's global thread pool, as QtConcurrent::run does (so waiting for that
// pool waits for it too). `work` is moved to the pool thread; nothing comes back.
template <typename F>
void runInBackground(F work)
{
    using Task = handover::detail::PoolTask<std::decay_t<F>, void>;
    (new Task(std::move(work)))->start();
}

// The same for work with a result.
template <typename F>
auto computeInBackground(F work) -> BackgroundResult<std::invoke_result_t<std::decay_t<F>&>>
{
    using Result = std::invoke_result_t<std::decay_t<F>&>;
    auto* task = new handover::detail::PoolTask<std::decay_t<F>, Result>(std::move(work));
    BackgroundResult<Result> result(task->future(), task->slot());
    task->start();
    return result;
}
