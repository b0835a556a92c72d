#include "media/FfmpegError.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/error.h>
}

TEST(FfmpegError, SystemErrorsReadAsTheSystemWordsThem)
{
    EXPECT_EQ(ffmpegErrorText(AVERROR(ENOENT)), QStringLiteral("No such file or directory"));
}

TEST(FfmpegError, FfmpegsOwnCodesHaveTheirOwnText)
{
    EXPECT_EQ(ffmpegErrorText(AVERROR_EOF), QStringLiteral("End of file"));
    EXPECT_EQ(ffmpegErrorText(AVERROR_INVALIDDATA),
              QStringLiteral("Invalid data found when processing input"));
}

TEST(FfmpegError, AnUnknownCodeStillGetsAText)
{
    const QString text = ffmpegErrorText(-123456);
    EXPECT_FALSE(text.isEmpty());
    EXPECT_TRUE(text.contains(QStringLiteral("123456"))) << text.toStdString();
}
