#include "support/Log.h"

#include <gtest/gtest.h>

#include <QtConcurrent>

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
    QList<int> numbers;
    for (int i = 0; i < 200; ++i)
        numbers << i;
    QtConcurrent::blockingMap(numbers, [](int i) { logLine(QStringLiteral("line %1").arg(i)); });
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
