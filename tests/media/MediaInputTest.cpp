#include "media/MediaInput.h"

#include "tests/support/AudioFixtures.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

TEST(MediaInput, OpensTheAudioStreamOfARecordingWithItsDecoder)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("tone.wav")), fixtures::sineTone(44100, 2, 4410));
    MediaInput input;
    ASSERT_EQ(openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed), 0);
    ASSERT_TRUE(input.format);
    EXPECT_EQ(input.streamIndex, 0);
    ASSERT_NE(input.decoder, nullptr);
    EXPECT_EQ(input.decoder->id, AV_CODEC_ID_PCM_F32LE);
    EXPECT_EQ(input.stream()->codecpar->sample_rate, 44100);
    EXPECT_EQ(input.stream()->codecpar->ch_layout.nb_channels, 2);
}

TEST(MediaInput, AMissingFileIsRefusedAsMissing)
{
    QTemporaryDir dir;
    MediaInput input;
    EXPECT_EQ(openMediaInput(input, dir.filePath(QStringLiteral("nowhere.wav")), AVMEDIA_TYPE_AUDIO,
                             StreamDecoder::needed),
              AVERROR(ENOENT));
    EXPECT_FALSE(input.format);
    EXPECT_EQ(input.streamIndex, -1);
}

TEST(MediaInput, ACorruptFileIsRefused)
{
    QTemporaryDir dir;
    // A WAV header that ends before its format chunk.
    const QString path = fixtures::writeBytes(dir.filePath(QStringLiteral("broken.wav")),
                                              QByteArray("RIFF\x24\x00\x00\x00WAVEfmt ", 16));
    MediaInput input;
    const int result = openMediaInput(input, path, AVMEDIA_TYPE_AUDIO, StreamDecoder::needed);
    EXPECT_LT(result, 0);
    EXPECT_EQ(input.streamIndex, -1);
}

TEST(MediaInput, AFileWithoutTheWantedKindOfStreamHasNoStreamFound)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("tone.wav")), fixtures::sineTone(8000, 1, 800));
    MediaInput input;
    EXPECT_EQ(openMediaInput(input, path, AVMEDIA_TYPE_VIDEO, StreamDecoder::notNeeded),
              AVERROR_STREAM_NOT_FOUND);
    EXPECT_EQ(input.streamIndex, -1);
}
