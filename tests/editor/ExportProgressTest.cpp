#include "editor/ExportProgress.h"

#include <gtest/gtest.h>

namespace {

// The fields an operation reports as assigned, as text, so that a failure shows them all.
std::string assigned(const ExportProgress::Assigned& fields)
{
    std::string text;
    if (fields.shown)
        text += "shown ";
    if (fields.progress)
        text += "progress ";
    if (fields.text)
        text += "text ";
    return text;
}

} // namespace

TEST(ExportProgress, StartsHiddenAtZeroWithoutText)
{
    const ExportProgress overlay;
    EXPECT_FALSE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.0);
    EXPECT_TRUE(overlay.text().isEmpty());
}

TEST(ExportProgress, BeginningWithATextShowsTheOverlayAtItsProgressWithThatText)
{
    ExportProgress overlay;
    const ExportProgress::Assigned fields = overlay.begin(0.0, QStringLiteral("0%\nIndítás..."));
    EXPECT_TRUE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.0);
    EXPECT_EQ(overlay.text(), QStringLiteral("0%\nIndítás..."));
    EXPECT_EQ(assigned(fields), "shown progress text ");
}

TEST(ExportProgress, BeginningWithoutATextKeepsTheTextShownLast)
{
    ExportProgress overlay;
    overlay.begin(0.0, QStringLiteral("100%\nKész!"));
    overlay.finish();
    const ExportProgress::Assigned fields = overlay.begin(0.5);
    EXPECT_TRUE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.5);
    EXPECT_EQ(overlay.text(), QStringLiteral("100%\nKész!"));
    EXPECT_EQ(assigned(fields), "shown progress ");
}

TEST(ExportProgress, AdvancingMovesTheBarAndTheTextAndLeavesTheOverlayShown)
{
    ExportProgress overlay;
    overlay.begin(0.0, QStringLiteral("0%\nIndítás..."));
    const ExportProgress::Assigned fields = overlay.advance(0.32, QStringLiteral("40%\n100/250 frame"));
    EXPECT_TRUE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.32);
    EXPECT_EQ(overlay.text(), QStringLiteral("40%\n100/250 frame"));
    EXPECT_EQ(assigned(fields), "progress text ");
}

TEST(ExportProgress, AdvancingToTheSameValuesStillReportsThemAssigned)
{
    // Observers are told of every assignment, also one that repeats the value.
    ExportProgress overlay;
    overlay.begin(0.95, QStringLiteral("95%\nBefejezés..."));
    const ExportProgress::Assigned fields = overlay.advance(0.95, QStringLiteral("95%\nBefejezés..."));
    EXPECT_EQ(assigned(fields), "progress text ");
}

TEST(ExportProgress, DescribingChangesOnlyTheText)
{
    ExportProgress overlay;
    overlay.begin(0.0, QStringLiteral("0%\nIndítás..."));
    overlay.advance(1.0, QStringLiteral("100%\nKész!"));
    const ExportProgress::Assigned fields =
            overlay.describe(QStringLiteral("Video kész, audio hozzáadása..."));
    EXPECT_TRUE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 1.0);
    EXPECT_EQ(overlay.text(), QStringLiteral("Video kész, audio hozzáadása..."));
    EXPECT_EQ(assigned(fields), "text ");
}

TEST(ExportProgress, FinishingHidesTheOverlayAndLeavesBarAndTextWhereTheyWere)
{
    ExportProgress overlay;
    overlay.begin(0.0, QStringLiteral("0%\nIndítás..."));
    overlay.advance(0.64, QStringLiteral("80%\n200/250 frame"));
    const ExportProgress::Assigned fields = overlay.finish();
    EXPECT_FALSE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.64);
    EXPECT_EQ(overlay.text(), QStringLiteral("80%\n200/250 frame"));
    EXPECT_EQ(assigned(fields), "shown ");
}

TEST(ExportProgress, FinishingAtAProgressHidesTheOverlayThenSetsTheBar)
{
    ExportProgress overlay;
    overlay.begin(0.5);
    const ExportProgress::Assigned fields = overlay.finish(1.0);
    EXPECT_FALSE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 1.0);
    EXPECT_EQ(assigned(fields), "shown progress ");
}

TEST(ExportProgress, EachFieldCanBeSetOnItsOwn)
{
    ExportProgress overlay;
    overlay.setShown(true);
    EXPECT_TRUE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.0);
    overlay.setProgress(0.429);
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.429);
    EXPECT_TRUE(overlay.text().isEmpty());
    overlay.setText(QStringLiteral("42%\nMentés..."));
    EXPECT_EQ(overlay.text(), QStringLiteral("42%\nMentés..."));
    overlay.setShown(false);
    EXPECT_FALSE(overlay.isShown());
    EXPECT_DOUBLE_EQ(overlay.progress(), 0.429);
}
