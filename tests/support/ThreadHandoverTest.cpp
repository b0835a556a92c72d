// The hand-over helpers behave like the Qt calls they wrap. In the thread-sanitizer build
// these tests also check the annotations: each one writes plain data on one thread and
// reads it on another with only Qt ordering the two, which would be reported otherwise.
#include "support/ThreadHandover.h"

#include "tests/support/EventLoop.h"

#include <QCoreApplication>
#include <QThread>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

TEST(ThreadHandover, RunInBackgroundRunsOnTheGlobalPoolAndWaitingForThePoolWaitsForIt)
{
    // Waiting for the pool is not a hand-over the sanitizer can see, so what the work reports
    // travels through atomics here.
    auto ranOn = std::make_shared<std::atomic<QThread*>>(nullptr);
    auto length = std::make_shared<std::atomic<size_t>>(0);
    std::string word = "hang"; // made here, read on the pool thread
    runInBackground([ranOn, length, word] {
        QThread::msleep(20);
        length->store(word.size());
        ranOn->store(QThread::currentThread());
    });
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_NE(ranOn->load(), nullptr);
    EXPECT_NE(ranOn->load(), QThread::currentThread());
    EXPECT_EQ(length->load(), 4u);
}

TEST(ThreadHandover, ComputeInBackgroundGivesTheWorksResult)
{
    auto input = std::make_shared<std::vector<int>>(std::vector<int>{1, 2, 3, 4});
    BackgroundResult<std::vector<int>> doubled = computeInBackground([input] {
        std::vector<int> out;
        for (const int value : *input)
            out.push_back(value * 2);
        return out;
    });
    EXPECT_EQ(doubled.result(), (std::vector<int>{2, 4, 6, 8}));
    // Copies share the one result.
    BackgroundResult<std::vector<int>> copy = doubled;
    EXPECT_EQ(copy.result(), (std::vector<int>{2, 4, 6, 8}));
}

TEST(ThreadHandover, ComputeInBackgroundRethrowsWhatTheWorkThrewToTheReader)
{
    BackgroundResult<int> failing =
            computeInBackground([]() -> int { throw std::runtime_error("no audio stream"); });
    EXPECT_THROW((void)failing.result(), std::runtime_error);
}

TEST(ThreadHandover, ResultCanBeReadOnAnotherPoolThread)
{
    BackgroundResult<std::shared_ptr<const std::string>> prepared =
            computeInBackground([] { return std::make_shared<const std::string>("előkészítve"); });
    BackgroundResult<std::string> reader =
            computeInBackground([prepared]() mutable { return *prepared.result() + "!"; });
    EXPECT_EQ(reader.result(), "előkészítve!");
}

TEST(ThreadHandover, QueuedCallsFromAPoolThreadRunOnTheMainThreadInPostingOrder)
{
    auto received = std::make_shared<std::vector<std::string>>();
    auto threads = std::make_shared<std::vector<QThread*>>();
    runInBackground([received, threads] {
        for (const char* text : {"első", "második", "harmadik"}) {
            std::string value = text; // made here, read on the main thread
            QMetaObject::invokeMethod(QCoreApplication::instance(),
                                      handedOver([received, threads, value = std::move(value)] {
                                          received->push_back(value);
                                          threads->push_back(QThread::currentThread());
                                      }),
                                      Qt::QueuedConnection);
        }
    });
    ASSERT_TRUE(waitUntil([&] { return received->size() == 3; }));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(*received, (std::vector<std::string>{"első", "második", "harmadik"}));
    for (QThread* thread : *threads)
        EXPECT_EQ(thread, QThread::currentThread());
}

TEST(ThreadHandover, AQueuedCallThatNeverRunsIsStillDestroyedCleanly)
{
    auto payload = std::make_shared<int>(7);
    std::weak_ptr<int> watch = payload;
    {
        auto* context = new QObject;
        runInBackground([context, payload = std::move(payload)]() mutable {
            QMetaObject::invokeMethod(context, handedOver([payload = std::move(payload)] {
                                          ADD_FAILURE() << "ran after deletion";
                                      }),
                                      Qt::QueuedConnection);
        });
        QThreadPool::globalInstance()->waitForDone();
        // Deleting the context drops its pending calls, and with them what they captured.
        delete context;
    }
    drainEvents();
    EXPECT_TRUE(watch.expired());
}
