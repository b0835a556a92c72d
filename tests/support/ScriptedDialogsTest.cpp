#include "tests/support/ScriptedDialogs.h"

#include <gtest/gtest.h>

TEST(ScriptedDialogs, QuestionsReturnQueuedAnswersAndAreRecorded)
{
    ScriptedDialogs dialogs;
    dialogs.queueQuestionAnswer(1);
    const QStringList buttons{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("Mégse")};
    EXPECT_EQ(dialogs.question(AlertStyle::informational, QStringLiteral("m"), QStringLiteral("i"), buttons),
              1);
    // Without a queued answer the last button (the cancel position) is taken.
    EXPECT_EQ(dialogs.question(AlertStyle::informational, QStringLiteral("m2"), QString(), buttons), 2);
    ASSERT_EQ(dialogs.questions().size(), 2u);
    EXPECT_EQ(dialogs.questions()[0].message, QStringLiteral("m"));
    EXPECT_EQ(dialogs.questions()[0].informativeText, QStringLiteral("i"));
    EXPECT_EQ(dialogs.questions()[1].buttons, buttons);
}

TEST(ScriptedDialogs, AlertsAreRecordedInOrderWithTheirStyle)
{
    ScriptedDialogs dialogs;
    dialogs.alert(AlertStyle::critical, QStringLiteral("Export hiba"), QStringLiteral("x"));
    dialogs.alert(AlertStyle::warning, QStringLiteral("Video OK, audio hiba!"), QStringLiteral("y"));
    const auto alerts = dialogs.alerts();
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_EQ(alerts[0].style, AlertStyle::critical);
    EXPECT_EQ(alerts[1].message, QStringLiteral("Video OK, audio hiba!"));
    EXPECT_EQ(dialogs.requests().size(), 2u);
}

TEST(ScriptedDialogs, ChoosersAnswerWithQueuedPathsOrCancel)
{
    ScriptedDialogs dialogs;
    dialogs.queueSavePath(QStringLiteral("/tmp/video.mov"));
    std::optional<QString> saved;
    bool called = false;
    dialogs.chooseSaveFile(
            SaveFileRequest{
                    QStringLiteral("Videó exportálása"), QStringLiteral("video.mov"), QString(), {}, true},
            [&](std::optional<QString> path) {
                called = true;
                saved = path;
            });
    EXPECT_TRUE(called);
    EXPECT_EQ(saved, QStringLiteral("/tmp/video.mov"));

    QStringList opened{QStringLiteral("unchanged")};
    dialogs.chooseOpenFiles(OpenFileRequest{}, [&](QStringList paths) { opened = paths; });
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(dialogs.saveRequests().front().proposedName, QStringLiteral("video.mov"));
    EXPECT_EQ(dialogs.openRequests().size(), 1u);
}
