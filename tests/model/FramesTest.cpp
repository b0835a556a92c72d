#include "model/Frames.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

TEST(Frames, OneSecondAtThirtyFramesMakesThirtyRecords)
{
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    EXPECT_EQ(frames.getFrameCount(), 30);
}

TEST(Frames, PartialFrameIsRoundedUp)
{
    Frames frames;
    frames.ensureFrameCount(1.01, 30);
    EXPECT_EQ(frames.getFrameCount(), 31);
}

TEST(Frames, ZeroDurationMakesNoRecordsAndLeavesExistingOnes)
{
    Frames empty;
    empty.ensureFrameCount(0.0, 30);
    EXPECT_EQ(empty.getFrameCount(), 0);

    Frames hundred;
    hundred.ensureFrameCount(100.0 / 30.0, 30);
    ASSERT_EQ(hundred.getFrameCount(), 100);
    hundred.ensureFrameCount(0.0, 30);
    EXPECT_EQ(hundred.getFrameCount(), 100);
}

TEST(Frames, ShorterDurationKeepsEveryRecordAndAssignment)
{
    Frames frames;
    frames.ensureFrameCount(10.0, 30);
    frames.getFrame(250)->assignedImageIndex = 4;
    frames.getFrame(299)->bgImageX = 77;
    const auto keptRecord = frames.getFrame(299);

    frames.ensureFrameCount(2.0, 30);

    EXPECT_EQ(frames.getFrameCount(), 300);
    EXPECT_EQ(frames.getFrame(250)->assignedImageIndex, 4);
    EXPECT_EQ(frames.getFrame(299), keptRecord);
    EXPECT_EQ(frames.getFrame(299)->bgImageX, 77);
}

TEST(Frames, GrowingNeverModifiesExistingRecords)
{
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    frames.getFrame(29)->assignedImageIndex = 1;
    frames.setDefaultFillColor(Qt::black);
    frames.ensureFrameCount(2.0, 30);
    EXPECT_EQ(frames.getFrameCount(), 60);
    EXPECT_EQ(frames.getFrame(29)->assignedImageIndex, 1);
    EXPECT_EQ(frames.getFrame(29)->bgColor, QColor(Qt::white));
    EXPECT_EQ(frames.getFrame(30)->bgColor, QColor(Qt::black));
}

TEST(Frames, GetFrameOutsideTheStoreYieldsNone)
{
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    EXPECT_EQ(frames.getFrame(-1), nullptr);
    EXPECT_EQ(frames.getFrame(frames.getFrameCount()), nullptr);
    ASSERT_NE(frames.getFrame(frames.getFrameCount() - 1), nullptr);
    EXPECT_EQ(frames.getFrameCount(), 30); // reading never creates records
}

TEST(Frames, ReturnedRecordIsSharedWithTheStore)
{
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    frames.getFrame(3)->assignedImageIndex = 2;
    frames.getFrame(3)->bgImageWidth = 640;
    EXPECT_EQ(frames.getFrame(3)->assignedImageIndex, 2);
    EXPECT_EQ(frames.getFrame(3)->bgImageWidth, 640);
}

TEST(Frames, ARecordFromAReadOnlyStoreIsReadOnly)
{
    static_assert(std::is_same_v<decltype(std::declval<const Frames&>().getFrame(0)),
                                 std::shared_ptr<const FrameData>>);
    static_assert(std::is_same_v<decltype(std::declval<Frames&>().getFrame(0)), std::shared_ptr<FrameData>>);
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    frames.getFrame(5)->assignedImageIndex = 4;
    const Frames& reader = frames;
    // The same record, seen read-only.
    EXPECT_EQ(reader.getFrame(5).get(), frames.getFrame(5).get());
    EXPECT_EQ(reader.getFrame(5)->assignedImageIndex, 4);
    EXPECT_EQ(reader.getFrame(30), nullptr);
}

TEST(Frames, NewRecordsHaveTheDefaults)
{
    Frames frames;
    frames.ensureFrameCount(0.1, 30);
    const auto frame = frames.getFrame(0);
    ASSERT_NE(frame, nullptr);
    EXPECT_FALSE(frame->bgImage.has_value());
    EXPECT_EQ(frame->bgColor, QColor(Qt::white));
    EXPECT_EQ(frame->bgImageX, 0);
    EXPECT_EQ(frame->bgImageY, 0);
    EXPECT_EQ(frame->bgImageWidth, 1920);
    EXPECT_EQ(frame->bgImageHeight, 1080);
    EXPECT_TRUE(frame->audioDatas.empty());
    EXPECT_FALSE(frame->assignedImageIndex.has_value());
}

TEST(Frames, RecordsCreatedAfterAColourChangeCarryTheNewColour)
{
    Frames frames;
    frames.ensureFrameCount(1.0, 30);
    frames.setDefaultFillColor(QColor(Qt::red));
    frames.ensureFrameCount(2.0, 30);
    EXPECT_EQ(frames.getFrame(0)->bgColor, QColor(Qt::white));
    EXPECT_EQ(frames.getFrame(59)->bgColor, QColor(Qt::red));

    frames.setFillColorForAllFrames(QColor(Qt::blue));
    EXPECT_EQ(frames.getFrame(0)->bgColor, QColor(Qt::blue));
    EXPECT_EQ(frames.getFrame(59)->bgColor, QColor(Qt::blue));
    EXPECT_EQ(frames.defaultFillColor(), QColor(Qt::red)); // untouched by the recolouring
}

TEST(Frames, TenMinutesGrowsToEighteenThousandRecords)
{
    Frames frames;
    frames.ensureFrameCount(600.0, 30);
    EXPECT_EQ(frames.getFrameCount(), 18000);
    EXPECT_NE(frames.getFrame(17999), nullptr);
    EXPECT_EQ(frames.getFrame(18000), nullptr);
}

TEST(Frames, ClearRemovesEveryRecord)
{
    Frames frames;
    frames.ensureFrameCount(5.0, 30);
    frames.clear();
    EXPECT_EQ(frames.getFrameCount(), 0);
    EXPECT_EQ(frames.getFrame(0), nullptr);
    frames.ensureFrameCount(1.0, 30);
    EXPECT_EQ(frames.getFrameCount(), 30);
}

TEST(Frames, SetImagesStoresTheListOnly)
{
    Frames frames;
    QImage a(10, 10, QImage::Format_RGB32);
    frames.setImages({a, a});
    EXPECT_EQ(frames.images().size(), 2);
    EXPECT_EQ(frames.getFrameCount(), 0);
}

TEST(FramesDeathTest, NaNDurationStopsTheProgram)
{
    Frames frames;
    EXPECT_DEATH(frames.ensureFrameCount(std::nan(""), 30),
                 "Double value cannot be converted to Int because it is either infinite or NaN");
}

TEST(FramesDeathTest, InfiniteDurationStopsTheProgram)
{
    Frames frames;
    EXPECT_DEATH(frames.ensureFrameCount(std::numeric_limits<double>::infinity(), 30),
                 "Double value cannot be converted to Int because it is either infinite or NaN");
}
