#include "editor/AudioTrack.h"

#include "audio/RenderedAudioFile.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>
#include <string>

namespace {

// The figures an operation reports as assigned, as text, so that a failure shows them all.
std::string assigned(const AudioTrack::LoudnessAssigned& figures)
{
    std::string text;
    if (figures.rmsLoudness)
        text += "rms ";
    if (figures.integratedLoudness)
        text += "lufs ";
    if (figures.truePeak)
        text += "truePeak ";
    if (figures.measuring)
        text += "measuring ";
    return text;
}

// A rendered file that exists on the disk, so that its removal can be seen.
std::shared_ptr<RenderedAudioFile> renderedFile(const QTemporaryDir& dir, const QString& name)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("RIFF");
    file.close();
    return std::make_shared<RenderedAudioFile>(path);
}

} // namespace

TEST(AudioTrackRecording, StartsWithoutRecordingAtTheSilencesItWasGiven)
{
    const AudioTrack track(3.0, 5.0);
    EXPECT_FALSE(track.originalURL().has_value());
    EXPECT_EQ(track.renderedAudio(), nullptr);
    EXPECT_DOUBLE_EQ(track.previousStartSilence(), 3.0);
    EXPECT_DOUBLE_EQ(track.previousEndSilence(), 5.0);
}

TEST(AudioTrackRecording, BeginningALoadMakesTheFileTheOriginalRecording)
{
    AudioTrack track(3.0, 5.0);
    const AudioTrack::Tickets tickets = track.beginLoad(QStringLiteral("/music/etude.wav"));
    ASSERT_TRUE(track.originalURL().has_value());
    EXPECT_EQ(*track.originalURL(), QStringLiteral("/music/etude.wav"));
    ASSERT_NE(tickets.recording, nullptr);
    ASSERT_NE(tickets.loudness, nullptr);
    EXPECT_TRUE(track.isCurrentJob(*tickets.recording));
    EXPECT_FALSE(tickets.recording->isCancelled());
    EXPECT_FALSE(tickets.loudness->isCancelled());
}

TEST(AudioTrackRecording, ANewLoadCallsOffTheEarlierLoadAndItsLoudnessMeter)
{
    AudioTrack track(3.0, 5.0);
    const AudioTrack::Tickets first = track.beginLoad(QStringLiteral("/music/first.wav"));
    const AudioTrack::Tickets second = track.beginLoad(QStringLiteral("/music/second.wav"));
    EXPECT_TRUE(first.recording->isCancelled());
    EXPECT_TRUE(first.loudness->isCancelled());
    EXPECT_FALSE(track.isCurrentJob(*first.recording));
    EXPECT_TRUE(track.isCurrentJob(*second.recording));
    EXPECT_FALSE(second.loudness->isCancelled());
    EXPECT_EQ(*track.originalURL(), QStringLiteral("/music/second.wav"));
}

TEST(AudioTrackRecording, AReloadWithoutMeasuringCallsOffTheLoadButLeavesItsLoudnessMeterRunning)
{
    AudioTrack track(3.0, 5.0);
    const AudioTrack::Tickets load = track.beginLoad(QStringLiteral("/music/etude.wav"));
    const AudioTrack::Tickets reload = track.beginReload(false);
    EXPECT_TRUE(load.recording->isCancelled());
    EXPECT_FALSE(load.loudness->isCancelled());
    ASSERT_NE(reload.recording, nullptr);
    EXPECT_TRUE(track.isCurrentJob(*reload.recording));
    EXPECT_EQ(reload.loudness, nullptr);
    EXPECT_EQ(*track.originalURL(), QStringLiteral("/music/etude.wav"));
}

TEST(AudioTrackRecording, AReloadThatMeasuresCallsOffTheEarlierLoudnessMeter)
{
    AudioTrack track(3.0, 5.0);
    const AudioTrack::Tickets load = track.beginLoad(QStringLiteral("/music/etude.wav"));
    const AudioTrack::Tickets reload = track.beginReload(true);
    EXPECT_TRUE(load.loudness->isCancelled());
    ASSERT_NE(reload.loudness, nullptr);
    EXPECT_FALSE(reload.loudness->isCancelled());
}

TEST(AudioTrackRecording, CancellingCallsOffTheRecordingJobAndTheMeter)
{
    AudioTrack track(3.0, 5.0);
    const AudioTrack::Tickets load = track.beginLoad(QStringLiteral("/music/etude.wav"));
    track.cancelJobs();
    EXPECT_TRUE(load.recording->isCancelled());
    EXPECT_TRUE(load.loudness->isCancelled());
    EXPECT_FALSE(track.isCurrentJob(*load.recording));
    // The recording itself stays: only its work is called off.
    EXPECT_EQ(*track.originalURL(), QStringLiteral("/music/etude.wav"));
}

TEST(AudioTrackRecording, AppliedSilencesBecomeTheOnesLastApplied)
{
    AudioTrack track(3.0, 5.0);
    track.silencesApplied(1.5, 7.25);
    EXPECT_DOUBLE_EQ(track.previousStartSilence(), 1.5);
    EXPECT_DOUBLE_EQ(track.previousEndSilence(), 7.25);
}

TEST(AudioTrackRecording, AdoptingARenderedFileRemovesTheOneItReplacesOnceNothingUsesIt)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    AudioTrack track(3.0, 5.0);
    track.adoptRenderedAudio(renderedFile(dir, QStringLiteral("first.wav")));
    const QString firstPath = track.renderedAudio()->path();
    std::shared_ptr<RenderedAudioFile> heldByAnExport = track.renderedAudio();

    track.adoptRenderedAudio(renderedFile(dir, QStringLiteral("second.wav")));
    EXPECT_EQ(track.renderedAudio()->path(), dir.filePath(QStringLiteral("second.wav")));
    EXPECT_TRUE(QFileInfo::exists(firstPath));
    heldByAnExport.reset();
    EXPECT_FALSE(QFileInfo::exists(firstPath));
}

TEST(AudioTrackRecording, ForgettingTheRecordingDropsTheOriginalAndTheRenderedFile)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    AudioTrack track(3.0, 5.0);
    track.beginLoad(QStringLiteral("/music/etude.wav"));
    track.adoptRenderedAudio(renderedFile(dir, QStringLiteral("rendered.wav")));
    track.silencesApplied(2.0, 4.0);
    const QString renderedPath = track.renderedAudio()->path();

    track.forgetRecording();
    EXPECT_FALSE(track.originalURL().has_value());
    EXPECT_EQ(track.renderedAudio(), nullptr);
    EXPECT_FALSE(QFileInfo::exists(renderedPath));
    EXPECT_DOUBLE_EQ(track.previousStartSilence(), 2.0);
    EXPECT_DOUBLE_EQ(track.previousEndSilence(), 4.0);
}

TEST(AudioTrackLoudness, StartsWithoutFiguresAndNotMeasuring)
{
    const AudioTrack track(3.0, 5.0);
    EXPECT_FALSE(track.rmsLoudnessDB().has_value());
    EXPECT_FALSE(track.integratedLoudnessLUFS().has_value());
    EXPECT_FALSE(track.truePeakDBTP().has_value());
    EXPECT_FALSE(track.isMeasuringLoudness());
}

TEST(AudioTrackLoudness, ADecodedRecordingReplacesEveryFigureOfTheOneBefore)
{
    AudioTrack track(3.0, 5.0);
    track.setIntegratedLoudnessLUFS(-18.0);
    track.setTruePeakDBTP(-2.0);
    const AudioTrack::LoudnessAssigned figures = track.recordingDecoded(-20.5, true);
    ASSERT_TRUE(track.rmsLoudnessDB().has_value());
    EXPECT_DOUBLE_EQ(*track.rmsLoudnessDB(), -20.5);
    EXPECT_FALSE(track.integratedLoudnessLUFS().has_value());
    EXPECT_FALSE(track.truePeakDBTP().has_value());
    EXPECT_TRUE(track.isMeasuringLoudness());
    EXPECT_EQ(assigned(figures), "rms lufs truePeak measuring ");
}

TEST(AudioTrackLoudness, AnUnreadableRecordingHasNoFiguresAndNothingToMeasure)
{
    AudioTrack track(3.0, 5.0);
    track.recordingDecoded(-20.5, true);
    const AudioTrack::LoudnessAssigned figures = track.recordingDecoded(std::nullopt, false);
    EXPECT_FALSE(track.rmsLoudnessDB().has_value());
    EXPECT_FALSE(track.isMeasuringLoudness());
    EXPECT_EQ(assigned(figures), "rms lufs truePeak measuring ");
}

TEST(AudioTrackLoudness, TheMeterFinishingSetsItsFiguresAndEndsTheMeasurement)
{
    AudioTrack track(3.0, 5.0);
    track.recordingDecoded(-20.5, true);
    const AudioTrack::LoudnessAssigned figures = track.meterFinished(-14.2, -1.3);
    ASSERT_TRUE(track.integratedLoudnessLUFS().has_value());
    EXPECT_DOUBLE_EQ(*track.integratedLoudnessLUFS(), -14.2);
    ASSERT_TRUE(track.truePeakDBTP().has_value());
    EXPECT_DOUBLE_EQ(*track.truePeakDBTP(), -1.3);
    EXPECT_FALSE(track.isMeasuringLoudness());
    EXPECT_DOUBLE_EQ(*track.rmsLoudnessDB(), -20.5);
    EXPECT_EQ(assigned(figures), "lufs truePeak measuring ");
}

TEST(AudioTrackLoudness, StoppingTheMeasurementKeepsTheFigures)
{
    AudioTrack track(3.0, 5.0);
    track.recordingDecoded(-20.5, true);
    const AudioTrack::LoudnessAssigned figures = track.stopMeasuring();
    EXPECT_FALSE(track.isMeasuringLoudness());
    EXPECT_DOUBLE_EQ(*track.rmsLoudnessDB(), -20.5);
    EXPECT_FALSE(track.integratedLoudnessLUFS().has_value());
    EXPECT_EQ(assigned(figures), "measuring ");
}

TEST(AudioTrackLoudness, EachFigureCanBeSetOnItsOwn)
{
    AudioTrack track(3.0, 5.0);
    track.setRmsLoudnessDB(-30.0);
    EXPECT_DOUBLE_EQ(*track.rmsLoudnessDB(), -30.0);
    EXPECT_FALSE(track.integratedLoudnessLUFS().has_value());
    track.setIntegratedLoudnessLUFS(-16.0);
    EXPECT_DOUBLE_EQ(*track.integratedLoudnessLUFS(), -16.0);
    EXPECT_FALSE(track.truePeakDBTP().has_value());
    track.setTruePeakDBTP(-3.0);
    EXPECT_DOUBLE_EQ(*track.truePeakDBTP(), -3.0);
    EXPECT_FALSE(track.isMeasuringLoudness());
    track.setMeasuringLoudness(true);
    EXPECT_TRUE(track.isMeasuringLoudness());
    EXPECT_DOUBLE_EQ(*track.rmsLoudnessDB(), -30.0);
}
