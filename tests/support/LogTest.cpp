#include "support/Log.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(Log, CaptureRecordsTheLinesWrittenWhileItLives)
{
    logLine(QStringLiteral("before"));
    LogCapture capture;
    logLine(QStringLiteral("[Audio] első"));
    logLine(QStringLiteral("[Export] második"));
    EXPECT_EQ(capture.lines(),
              QStringList({QStringLiteral("[Audio] első"), QStringLiteral("[Export] második")}));
    EXPECT_EQ(capture.linesStartingWith(QStringLiteral("[Export] ")).size(), 1);
    EXPECT_TRUE(capture.contains(QStringLiteral("[Audio] első")));
    EXPECT_FALSE(capture.contains(QStringLiteral("before")));
}

TEST(Log, EveryLineIsWrittenToStandardOutputAtOnce)
{
    testing::internal::CaptureStdout();
    logLine(QStringLiteral("[Save] Hiba: ékezetes szöveg"));
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "[Save] Hiba: ékezetes szöveg\n");
}

TEST(Log, LinesFromOtherThreadsAreCapturedWhole)
{
    LogCapture capture;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 25; ++i)
                logLine(QStringLiteral("line %1").arg(t * 25 + i));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const QStringList lines = capture.lines();
    EXPECT_EQ(lines.size(), 200);
    for (int i = 0; i < 200; ++i)
        EXPECT_TRUE(lines.contains(QStringLiteral("line %1").arg(i)));
}

TEST(Log, ClearForgetsEarlierLines)
{
    LogCapture capture;
    logLine(QStringLiteral("x"));
    capture.clear();
    logLine(QStringLiteral("y"));
    EXPECT_EQ(capture.lines(), QStringList({QStringLiteral("y")}));
}
