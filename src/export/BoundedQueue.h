// A small blocking queue between one producer thread and one consumer thread: push waits
// while it is full, pop waits while it is empty. Keeps memory to a few items however far
// the producer could run ahead.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

template <typename T>
class BoundedQueue {
public:
    explicit BoundedQueue(size_t capacity)
        : m_capacity(capacity)
    {}

    void push(T item)
    {
        std::unique_lock lock(m_mutex);
        m_notFull.wait(lock, [this] { return m_items.size() < m_capacity; });
        m_items.push_back(std::move(item));
        m_notEmpty.notify_one();
    }

    T pop()
    {
        std::unique_lock lock(m_mutex);
        m_notEmpty.wait(lock, [this] { return !m_items.empty(); });
        T item = std::move(m_items.front());
        m_items.pop_front();
        m_notFull.notify_one();
        return item;
    }

private:
    const size_t m_capacity;
    std::mutex m_mutex;
    std::condition_variable m_notFull;
    std::condition_variable m_notEmpty;
    std::deque<T> m_items;
};
