// Recordings from anywhere: WAV, MP3 and M4A files cut short, replaced by noise, emptied, or
// with a header that claims 4 GB of samples, each dropped on the editor (loadAudio) in a
// child process. Every load must end, successfully or with "[Audio] Hiba betöltéskor: ",
// within ten seconds and without taking a gigabyte of memory.
#include "tests/support/AudioFixtures.h"
#include "tests/support/HostileFiles.h"

#include <gtest/gtest.h>

#include <ostream>

#include <QTemporaryDir>

#include <algorithm>
#include <functional>

namespace {

using HostileFiles::Outcome;

constexpr double kToneSeconds = 3.0;
// The editor's default silences, 3 s before and 5 s after, are part of the loaded duration.
constexpr double kLoadedSeconds = kToneSeconds + 3.0 + 5.0;

const QString kLoadedLine = QStringLiteral("[Audio] Betöltés kész: ");
const QString kFailedLine = QStringLiteral("[Audio] Hiba betöltéskor: ");

enum class Format { wav, mp3, m4a };

QString extension(Format format)
{
    switch (format) {
    case Format::wav:
        return QStringLiteral("wav");
    case Format::mp3:
        return QStringLiteral("mp3");
    case Format::m4a:
        return QStringLiteral("m4a");
    }
    return {};
}

// A valid recording: a 3-second stereo tone written by Vornik's own WAV writer, or encoded by
// FFmpeg's MP3 or AAC encoder.
QByteArray validRecording(Format format, const QString& directory)
{
    const AudioBuffer tone = fixtures::sineTone(44100, 2, int64_t(kToneSeconds * 44100), 0.5f);
    const QString path = directory + QStringLiteral("/valid.") + extension(format);
    QString error;
    switch (format) {
    case Format::wav:
        fixtures::writeWav(path, tone);
        break;
    case Format::mp3:
        fixtures::encodeBuffer(path, fixtures::mp3EncoderName(), tone, &error);
        break;
    case Format::m4a:
        fixtures::encodeBuffer(path, QStringLiteral("aac"), tone, &error);
        break;
    }
    return HostileFiles::readFile(path);
}

enum class Expect {
    loads,         // the load succeeds
    loadsOrFails,  // either outcome, as long as it is one of the two
    failsWithLine, // "[Audio] Hiba betöltéskor: "
};

struct AudioCase {
    const char* name;
    Format format;
    std::function<QByteArray(const QByteArray& valid)> make;
    Expect expect;
    // Text one of the log lines must contain (the reason of a refusal); none when empty.
    const char* reason = "";
};

// Names the case in test listings (instead of the bytes of the structure).
void PrintTo(const AudioCase& testCase, std::ostream* out)
{
    *out << testCase.name;
}

using HostileFiles::empty;
using HostileFiles::half;
using HostileFiles::ninetyPercent;
using HostileFiles::tenth;
using HostileFiles::unchanged;

QByteArray noise(const QByteArray& valid)
{
    return HostileFiles::randomBytes(valid.size(), 0x5EED0001u);
}
QByteArray claimingFourGigabytes(const QByteArray& valid)
{
    return HostileFiles::wavClaimingDataSize(valid, 0xFFFFFFF0u);
}

QByteArray claimingOneHertz(const QByteArray& valid)
{
    return HostileFiles::wavClaimingSampleRate(valid, 1);
}

class HostileAudio : public ::testing::TestWithParam<AudioCase> {};

TEST_P(HostileAudio, LoadEndsInTimeWithBoundedMemory)
{
    const AudioCase& c = GetParam();
    if (c.format == Format::mp3 && fixtures::mp3EncoderName().isEmpty())
        GTEST_SKIP() << "this FFmpeg has no MP3 encoder";
    if (c.format == Format::m4a && !fixtures::hasAacEncoder())
        GTEST_SKIP() << "this FFmpeg has no AAC encoder";
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QByteArray valid = validRecording(c.format, directory.path());
    ASSERT_FALSE(valid.isEmpty());
    const QByteArray input = c.make(valid);
    if (input.isEmpty()) {
        ASSERT_TRUE(std::string(c.name).ends_with("zero_bytes")) << "the fixture could not be made";
    }
    const QString path = directory.filePath(QStringLiteral("input.") + extension(c.format));
    ASSERT_TRUE(HostileFiles::writeFile(path, input));

    const Outcome outcome = HostileFiles::openInChild(HostileFiles::OpenPath::audio, path, directory.path());
    HostileFiles::expectBoundedOpening(outcome, QString::fromLatin1(c.name));
    const std::string context = outcome.output.right(3000).toStdString();

    const bool loaded = outcome.loggedStartingWith(kLoadedLine);
    const bool failed = outcome.loggedStartingWith(kFailedLine);
    EXPECT_FALSE(outcome.isLoadingAudio) << context;
    EXPECT_NE(loaded, failed) << "exactly one of the two outcomes\n" << context;
    EXPECT_TRUE(outcome.alerts.isEmpty()) << context;
    switch (c.expect) {
    case Expect::loads:
        EXPECT_TRUE(loaded) << context;
        break;
    case Expect::loadsOrFails:
        break;
    case Expect::failsWithLine:
        EXPECT_TRUE(failed) << context;
        break;
    }
    if (loaded) {
        // Whatever a header claims, only the samples that are there are loaded.
        EXPECT_TRUE(outcome.audioLoaded) << context;
        EXPECT_LE(outcome.duration, kLoadedSeconds + 0.1) << context;
        EXPECT_GT(outcome.frameCount, 0) << context;
    } else {
        EXPECT_FALSE(outcome.audioLoaded) << context;
        EXPECT_EQ(outcome.frameCount, 0) << context;
    }
    if (!QString::fromUtf8(c.reason).isEmpty()) {
        const QString reason = QString::fromUtf8(c.reason);
        EXPECT_TRUE(std::any_of(outcome.logLines.begin(), outcome.logLines.end(),
                                [&reason](const QString& line) { return line.contains(reason); }))
                << context;
    }
    if (std::string(c.name).ends_with("valid")) {
        EXPECT_NEAR(outcome.duration, kLoadedSeconds, 0.1) << context;
    }
}

// What each file does is fixed: the seeds are fixed and FFmpeg's readers are deterministic.
// A WAV or MP3 cut short loads the part that is there; an M4A cut short has lost its index
// (written at the end) and fails.
const AudioCase kAudioCases[] = {
        {"wav_valid", Format::wav, unchanged, Expect::loads},
        {"wav_truncated_10_percent", Format::wav, tenth, Expect::loads},
        {"wav_truncated_50_percent", Format::wav, half, Expect::loads},
        {"wav_truncated_90_percent", Format::wav, ninetyPercent, Expect::loads},
        {"wav_random_bytes", Format::wav, noise, Expect::failsWithLine},
        {"wav_zero_bytes", Format::wav, empty, Expect::failsWithLine},
        {"wav_claiming_4_GB_of_samples", Format::wav, claimingFourGigabytes, Expect::loads},
        {"wav_claiming_a_sample_rate_of_1_Hz", Format::wav, claimingOneHertz, Expect::failsWithLine,
         "nem támogatott mintavételezés: 1 Hz (legalább 8000 Hz kell)"},
        {"mp3_valid", Format::mp3, unchanged, Expect::loads},
        {"mp3_truncated_10_percent", Format::mp3, tenth, Expect::loads},
        {"mp3_truncated_50_percent", Format::mp3, half, Expect::loads},
        {"mp3_truncated_90_percent", Format::mp3, ninetyPercent, Expect::loads},
        {"mp3_random_bytes", Format::mp3, noise, Expect::failsWithLine},
        {"mp3_zero_bytes", Format::mp3, empty, Expect::failsWithLine},
        {"m4a_valid", Format::m4a, unchanged, Expect::loads},
        {"m4a_truncated_10_percent", Format::m4a, tenth, Expect::failsWithLine},
        {"m4a_truncated_50_percent", Format::m4a, half, Expect::failsWithLine},
        {"m4a_truncated_90_percent", Format::m4a, ninetyPercent, Expect::failsWithLine},
        {"m4a_random_bytes", Format::m4a, noise, Expect::failsWithLine},
        {"m4a_zero_bytes", Format::m4a, empty, Expect::failsWithLine},
};

INSTANTIATE_TEST_SUITE_P(Recordings, HostileAudio, ::testing::ValuesIn(kAudioCases),
                         [](const ::testing::TestParamInfo<AudioCase>& tested) {
                             return std::string(tested.param.name);
                         });

} // namespace
