#include "model/VideoFormat.h"

#include <gtest/gtest.h>

TEST(VideoFormat, BuildsFromExactlyTheTwoRawValues)
{
    EXPECT_EQ(videoFormatFromRawValue(QStringLiteral("16:9")), VideoFormat::landscape);
    EXPECT_EQ(videoFormatFromRawValue(QStringLiteral("9:16")), VideoFormat::portrait);
}

TEST(VideoFormat, AnyOtherStringYieldsNoValue)
{
    EXPECT_FALSE(videoFormatFromRawValue(QStringLiteral("4:3")).has_value());
    EXPECT_FALSE(videoFormatFromRawValue(QString()).has_value());
    EXPECT_FALSE(videoFormatFromRawValue(QStringLiteral("16 : 9")).has_value());
    EXPECT_FALSE(videoFormatFromRawValue(QStringLiteral("landscape")).has_value());
}

TEST(VideoFormat, RawValuesSizesAndAspectRatios)
{
    EXPECT_EQ(rawValue(VideoFormat::landscape), QStringLiteral("16:9"));
    EXPECT_EQ(rawValue(VideoFormat::portrait), QStringLiteral("9:16"));
    EXPECT_EQ(videoFormatSize(VideoFormat::landscape), QSizeF(1920, 1080));
    EXPECT_EQ(videoFormatSize(VideoFormat::portrait), QSizeF(1080, 1920));
    EXPECT_DOUBLE_EQ(videoFormatAspectRatio(VideoFormat::landscape), 1920.0 / 1080.0);
    EXPECT_DOUBLE_EQ(videoFormatAspectRatio(VideoFormat::portrait), 0.5625);
}

TEST(VideoFormat, AllCasesInDeclarationOrder)
{
    ASSERT_EQ(kAllVideoFormats.size(), 2u);
    EXPECT_EQ(kAllVideoFormats[0], VideoFormat::landscape);
    EXPECT_EQ(kAllVideoFormats[1], VideoFormat::portrait);
}
