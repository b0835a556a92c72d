// A small blocking queue between one producer thread and one consumer thread: push waits
// while it is full, pop waits while it is empty. Keeps memory to a few items however far
// the producer could run ahead. Either side may close it to end the hand-over early (a
// called-off export, a failed render): waiting stops on both sides.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

template <typename T>
class BoundedQueue {
public:
    explicit BoundedQueue(size_t capacity)
        : m_capacity(capacity)
    {}

    // False, with the item dropped, once the queue is closed.
    bool push(T item)
    {
        std::unique_lock lock(m_mutex);
        m_notFull.wait(lock, [this] { return m_items.size() < m_capacity || m_closed; });
        if (m_closed)
            return false;
        m_items.push_back(std::move(item));
        m_notEmpty.notify_one();
        return true;
    }

    // None once the queue is closed and empty.
    std::optional<T> pop()
    {
        std::unique_lock lock(m_mutex);
        m_notEmpty.wait(lock, [this] { return !m_items.empty() || m_closed; });
        if (m_items.empty())
            return std::nullopt;
        T item = std::move(m_items.front());
        m_items.pop_front();
        m_notFull.notify_one();
        return item;
    }

    void close()
    {
        {
            std::lock_guard lock(m_mutex);
            m_closed = true;
        }
        m_notFull.notify_all();
        m_notEmpty.notify_all();
    }

private:
    const size_t m_capacity;
    std::mutex m_mutex;
    std::condition_variable m_notFull;
    std::condition_variable m_notEmpty;
    std::deque<T> m_items;
    bool m_closed = false;
};
