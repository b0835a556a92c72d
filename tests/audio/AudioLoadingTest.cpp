#include "audio/AudioDecoder.h"
#include "audio/AudioPlayer.h"
#include "audio/FrameSlicing.h"
#include "audio/Loudness.h"
#include "audio/Waveform.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/CheckedConversions.h"
#include "support/Log.h"
#include "support/ValueFormat.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/EditorTestAccess.h"
#include "tests/support/EventLoop.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>

namespace {

// Runs one load and waits for the loading state to end.
bool loadAndWait(VideoEditorViewModel& editor, const QString& path)
{
    editor.loadAudio(path);
    EXPECT_TRUE(editor.isLoadingAudio());
    const bool ended = waitUntil([&] { return !editor.isLoadingAudio(); }, 30000);
    // The background hands its last reference back after the final step: let it arrive.
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    return ended;
}

// What a failed load must leave as it was on a fresh editor.
void expectNothingLoaded(const VideoEditorViewModel& editor)
{
    EXPECT_FALSE(editor.isLoadingAudio());
    EXPECT_EQ(editor.duration(), 0.0);
    EXPECT_FALSE(editor.audioURL().has_value());
    EXPECT_EQ(editor.audioPlayer(), nullptr);
    EXPECT_TRUE(editor.waveformData().empty());
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_EQ(editor.loadingProgress(), 0.0);
    EXPECT_EQ(editor.previousStartSilence(), 3.0);
}

class AudioLoading : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::shared_ptr<const AudioBuffer> playerAudio;
    VideoEditorViewModel editor{fixtures::manualPlayerEnvironment(dir.path(), &playerAudio)};

    QString file(const QString& name) const { return dir.filePath(name); }
};

} // namespace

TEST_F(AudioLoading, SequencePublishesProgressAndLogLinesInOrderAndSlicesEveryFrame)
{
    // 2.01 s of tone between the default 3 s and 5 s silences: 10.01 s, 301 frames.
    const QString path =
            fixtures::writeWav(file(QStringLiteral("tone.wav")), fixtures::sineTone(44100, 1, 88641));
    std::vector<double> progress;
    QObject::connect(&editor, &VideoEditorViewModel::loadingProgressChanged,
                     [&] { progress.push_back(editor.loadingProgress()); });
    int autoSaves = 0;
    QObject::connect(&editor, &VideoEditorViewModel::autoSaveScheduled, [&] { ++autoSaves; });

    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));

    EXPECT_EQ(progress, (std::vector<double>{0.0, 0.1, 0.2, 0.5, 0.7, 1.0}));
    EXPECT_EQ(autoSaves, 1);
    ASSERT_TRUE(editor.audioURL().has_value());
    ASSERT_TRUE(editor.audioLoudnessDB().has_value());
    ASSERT_TRUE(editor.integratedLoudnessLUFS().has_value());
    ASSERT_TRUE(editor.truePeakDBTP().has_value());
    const QStringList expected = {
            QStringLiteral("[Audio] Eredeti hangosság: ") + formatFixed(*editor.audioLoudnessDB(), 1) +
                    QStringLiteral(" dB RMS"),
            QStringLiteral("[Audio] Csend hozzáadása: 3.0s elején, 5.0s végén..."),
            QStringLiteral("[Audio] Csend hozzáadva: 3.0s elején, 5.0s végén"),
            QStringLiteral("[Audio] Temp fájl: ") + *editor.audioURL(),
            QStringLiteral("[Audio] Teljes időtartam csendekkel: 10.01s (eredeti + 3.0s + 5.0s)"),
            QStringLiteral("Audio adatok betöltve: 301 frame, 1470 minta/frame"),
            QStringLiteral("[Audio] Betöltés kész: 10.01 mp, frame-ek száma: 301"),
            // The meter works through the recording once it is ready to play.
            QStringLiteral("[Audio] Integrált hangosság: ") +
                    formatFixed(*editor.integratedLoudnessLUFS(), 1) +
                    QStringLiteral(" LUFS, valódi csúcs: ") + formatFixed(*editor.truePeakDBTP(), 1) +
                    QStringLiteral(" dBTP"),
    };
    EXPECT_EQ(log.lines(), expected);

    EXPECT_EQ(editor.originalAudioURL(), path);
    EXPECT_EQ(editor.duration(), 10.01);
    ASSERT_NE(editor.audioPlayer(), nullptr);
    EXPECT_EQ(editor.audioPlayer()->duration(), 10.01);
    EXPECT_EQ(editor.waveformData().size(), 500u);
    const Frames& frames = editor.getFrameManager();
    ASSERT_EQ(frames.getFrameCount(), 301);
    for (int64_t i = 0; i < 301; ++i)
        ASSERT_EQ(frames.getFrame(i)->audioDatas.size(), 1470u) << i;
    // The first 3 s are silence (0.0 quantises to 511); the last frame holds 441 samples
    // of the end silence and 1029 of padding.
    EXPECT_EQ(frames.getFrame(0)->audioDatas, std::vector<uint16_t>(1470, 511));
    const auto& last = frames.getFrame(300)->audioDatas;
    EXPECT_EQ(std::vector<uint16_t>(last.begin(), last.begin() + 441), std::vector<uint16_t>(441, 511));
    EXPECT_EQ(std::vector<uint16_t>(last.begin() + 441, last.end()), std::vector<uint16_t>(1029, 512));
    EXPECT_EQ(editor.previousStartSilence(), 3.0);
    EXPECT_EQ(editor.previousEndSilence(), 5.0);
}

TEST_F(AudioLoading, OneDecodeGivesExactlyWhatReReadingTheWrittenWavGives)
{
    const QString path =
            fixtures::writeWav(file(QStringLiteral("st.wav")), fixtures::sineTone(44100, 2, 100000, 0.6f));
    editor.setVolumeBoost(150.0);
    editor.setStartSilenceDuration(0.5);
    editor.setEndSilenceDuration(0.25);
    ASSERT_TRUE(loadAndWait(editor, path));
    ASSERT_TRUE(editor.audioURL().has_value());

    const DecodeResult written = decodeAudioFile(*editor.audioURL());
    ASSERT_TRUE(written.audio.has_value());
    ASSERT_NE(playerAudio, nullptr);
    EXPECT_EQ(playerAudio->sampleRate, written.audio->sampleRate);
    EXPECT_EQ(playerAudio->channels, written.audio->channels);
    EXPECT_EQ(editor.waveformData(), waveformBars(written.audio->channels[0]));
    const FrameAudioSlices slices = quantiseFrameSlices(written.audio->channels[0], 1470);
    const Frames& frames = editor.getFrameManager();
    ASSERT_EQ(size_t(frames.getFrameCount()), slices.slices.size());
    for (int64_t i = 0; i < frames.getFrameCount(); ++i)
        ASSERT_EQ(frames.getFrame(i)->audioDatas, slices.slices[size_t(i)]) << i;
    // The loudness is that of the original file, before the boost.
    EXPECT_EQ(editor.audioLoudnessDB(), EditorTestAccess::measureAudioLoudness(editor, path));
}

TEST_F(AudioLoading, FileThatCannotBeOpenedLogsTheErrorAndEndsLoading)
{
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, file(QStringLiteral("nowhere.wav"))));
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")),
              QStringList{QStringLiteral("[Audio] Hiba betöltéskor: Nem sikerült csendet hozzáadni")});
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ")).size(), 1);
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hangosság mérés hiba: ")).size(), 1);
    expectNothingLoaded(editor);
    EXPECT_FALSE(editor.audioLoudnessDB().has_value());
}

TEST_F(AudioLoading, FailedLoadKeepsThePreviousRecording)
{
    const QString good =
            fixtures::writeWav(file(QStringLiteral("good.wav")), fixtures::sineTone(44100, 1, 44100));
    ASSERT_TRUE(loadAndWait(editor, good));
    const std::optional<QString> url = editor.audioURL();
    const AudioPlayer* player = editor.audioPlayer();
    const std::vector<float> bars = editor.waveformData();
    const int64_t frames = editor.getFrameManager().getFrameCount();
    const auto firstSlice = editor.getFrameManager().getFrame(100)->audioDatas;

    const QString bad = fixtures::writeBytes(file(QStringLiteral("bad.wav")), "RIFF????WAVEjunk");
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, bad));
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")).size(), 1);
    EXPECT_EQ(editor.audioURL(), url);
    EXPECT_EQ(editor.audioPlayer(), player);
    EXPECT_EQ(editor.duration(), 9.0);
    EXPECT_EQ(editor.waveformData(), bars);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), frames);
    EXPECT_EQ(editor.getFrameManager().getFrame(100)->audioDatas, firstSlice);
    // A new load starts its progress at 0 and a failure leaves it there.
    EXPECT_EQ(editor.loadingProgress(), 0.0);
    EXPECT_EQ(editor.originalAudioURL(), bad);
}

TEST_F(AudioLoading, ZeroByteFileEndsInTheLoadErrorLine)
{
    const QString path = fixtures::writeBytes(file(QStringLiteral("empty.wav")), QByteArray());
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")),
              QStringList{QStringLiteral("[Audio] Hiba betöltéskor: Nem sikerült csendet hozzáadni")});
    expectNothingLoaded(editor);
}

TEST_F(AudioLoading, TextFileNamedWavEndsInTheLoadErrorLine)
{
    const QString path = fixtures::writeBytes(file(QStringLiteral("notes.wav")),
                                              "These are my notes about the concert, not a recording.\n");
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")).size(), 1);
    expectNothingLoaded(editor);
}

TEST_F(AudioLoading, FileThatVanishesBeforeLoadingEndsInTheLoadErrorLine)
{
    const QString path =
            fixtures::writeWav(file(QStringLiteral("gone.wav")), fixtures::sineTone(44100, 1, 4410));
    ASSERT_TRUE(QFile::remove(path));
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")).size(), 1);
    expectNothingLoaded(editor);
}

TEST_F(AudioLoading, WavWithHeaderClaimingMoreDataLoadsWhatIsThereAndSaysSo)
{
    const QString path =
            fixtures::writeWav(file(QStringLiteral("cut.wav")), fixtures::sineTone(44100, 1, 44100));
    QFile cut(path);
    ASSERT_TRUE(cut.open(QIODevice::ReadWrite));
    ASSERT_TRUE(cut.resize(58 + 22050 * 4)); // the header still says 44100 frames
    cut.close();
    editor.setStartSilenceDuration(0.0);
    editor.setEndSilenceDuration(0.0);

    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] A fájl dekódolása megszakadt")).size(), 1);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Hiba")).isEmpty());
    EXPECT_EQ(editor.duration(), 0.5);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 15);
}

TEST_F(AudioLoading, TruncatedMp3LoadsWhatCouldBeDecoded)
{
    const QString encoder = fixtures::mp3EncoderName();
    if (encoder.isEmpty())
        GTEST_SKIP() << "this FFmpeg has no MP3 encoder";
    const QString full = file(QStringLiteral("full.mp3"));
    QString error;
    ASSERT_TRUE(fixtures::encodeBuffer(full, encoder, fixtures::sineTone(44100, 2, 44100 * 4), &error))
            << error.toStdString();
    QFile source(full);
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    const QByteArray bytes = source.readAll();
    const QString path =
            fixtures::writeBytes(file(QStringLiteral("cut.mp3")), bytes.left(bytes.size() / 2 + 7));
    editor.setStartSilenceDuration(0.0);
    editor.setEndSilenceDuration(0.0);

    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] A fájl dekódolása megszakadt")).size(), 1);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Hiba")).isEmpty());
    EXPECT_GT(editor.duration(), 1.5);
    EXPECT_LT(editor.duration(), 2.5);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), ceilToInt64Checked(editor.duration() * 30));
}

TEST_F(AudioLoading, OneSampleWavIsAShortCorrectLoad)
{
    const QString path =
            fixtures::writeWav(file(QStringLiteral("one.wav")), fixtures::constant(44100, 1, 1, 1.0f));
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Hiba")).isEmpty());
    const double expected = double(3 * 44100 + 1 + 5 * 44100) / 44100.0;
    EXPECT_EQ(editor.duration(), expected);
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 241);
    EXPECT_EQ(editor.getFrameManager().getFrame(90)->audioDatas[0], 1023); // frame 90 starts at 3.0 s
    EXPECT_EQ(editor.getFrameManager().getFrame(240)->audioDatas.back(), 512);
    ASSERT_TRUE(editor.audioLoudnessDB().has_value());
    EXPECT_EQ(*editor.audioLoudnessDB(), 0.0);
}

TEST_F(AudioLoading, Mp3AndM4aRecordingsLoad)
{
    const QString mp3 = fixtures::mp3EncoderName();
    if (mp3.isEmpty() || !fixtures::hasAacEncoder())
        GTEST_SKIP() << "this FFmpeg lacks an MP3 or AAC encoder";
    const AudioBuffer tone = fixtures::sineTone(48000, 2, 48000 * 2);
    for (const auto& [name, encoder] : {std::pair{QStringLiteral("a.mp3"), mp3},
                                        std::pair{QStringLiteral("a.m4a"), QStringLiteral("aac")}}) {
        QString error;
        ASSERT_TRUE(fixtures::encodeBuffer(file(name), encoder, tone, &error)) << error.toStdString();
        LogCapture log;
        ASSERT_TRUE(loadAndWait(editor, file(name)));
        EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Hiba")).isEmpty()) << name.toStdString();
        ASSERT_NE(playerAudio, nullptr);
        EXPECT_EQ(playerAudio->sampleRate, 48000);
        EXPECT_EQ(playerAudio->channelCount(), 2);
        EXPECT_NEAR(editor.duration(), 10.0, 0.05) << name.toStdString();
        ASSERT_TRUE(editor.audioLoudnessDB().has_value());
        EXPECT_NEAR(*editor.audioLoudnessDB(), -9.03, 0.3) << name.toStdString();
    }
}

TEST_F(AudioLoading, AStereo48kHzRecordingIsSlicedFromTheLeftChannelAt1470PerFrame)
{
    AudioBuffer audio = fixtures::constant(48000, 2, 48000, -1.0f);
    audio.channels[1].assign(48000, 1.0f);
    const QString path = fixtures::writeWav(file(QStringLiteral("st48.wav")), audio);
    editor.setStartSilenceDuration(0.0);
    editor.setEndSilenceDuration(0.0);
    ASSERT_TRUE(loadAndWait(editor, path));
    const Frames& frames = editor.getFrameManager();
    ASSERT_EQ(frames.getFrameCount(), 30);
    for (int64_t i = 0; i < 30; ++i)
        ASSERT_EQ(frames.getFrame(i)->audioDatas, std::vector<uint16_t>(1470, 0)) << i;
}

TEST_F(AudioLoading, BoostIsAppliedToTheProcessedAudioButNotToTheLoudness)
{
    const QString path =
            fixtures::writeWav(file(QStringLiteral("sq.wav")), fixtures::squareWave(44100, 1, 44100, 0.5f));
    editor.setVolumeBoost(300.0);
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    EXPECT_NEAR(*editor.audioLoudnessDB(), -6.0206, 1e-3);
    // The 1 s square sits between 3 s and 4 s of 9 s: bars 167 to 221.
    EXPECT_EQ(editor.waveformData()[190], 1.5f);
    EXPECT_EQ(editor.waveformData()[100], 0.0f);
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hangerő erősítés alkalmazva: ")),
              QStringList{QStringLiteral("[Audio] Hangerő erősítés alkalmazva: 300.0% (gain: 3.0)")});
}

TEST_F(AudioLoading, ExistingLongerFrameStoreIsKeptAndItsTailBecomesSilence)
{
    editor.getFrameManager().ensureFrameCount(20.0, 30);
    editor.getFrameManager().getFrame(500)->assignedImageIndex = 2;
    const QString path =
            fixtures::writeWav(file(QStringLiteral("s.wav")), fixtures::constant(44100, 1, 44100, 1.0f));
    ASSERT_TRUE(loadAndWait(editor, path));
    const Frames& frames = editor.getFrameManager();
    ASSERT_EQ(frames.getFrameCount(), 600);
    EXPECT_EQ(frames.getFrame(500)->assignedImageIndex, 2);
    EXPECT_EQ(frames.getFrame(500)->audioDatas, std::vector<uint16_t>(1470, 512));
    EXPECT_EQ(frames.getFrame(100)->audioDatas, std::vector<uint16_t>(1470, 1023));
}

TEST(AudioLoadingFailure, WithoutAPlayerFactoryLoadingFailsThroughTheErrorPath)
{
    QTemporaryDir dir;
    EditorEnvironment environment;
    environment.temporaryDirectory = dir.path();
    VideoEditorViewModel editor(environment);
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("t.wav")), fixtures::sineTone(44100, 1, 44100));
    LogCapture log;
    editor.loadAudio(path);
    ASSERT_TRUE(waitUntil([&] { return !editor.isLoadingAudio(); }));
    // Let the background finish and its remaining steps arrive; they must change nothing.
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")),
              QStringList{QStringLiteral("[Audio] Hiba betöltéskor: Nem sikerült lejátszót létrehozni")});
    EXPECT_EQ(editor.loadingProgress(), 0.1);
    EXPECT_EQ(editor.duration(), 0.0);
    EXPECT_FALSE(editor.audioURL().has_value());
    EXPECT_TRUE(editor.waveformData().empty());
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Betöltés kész")).isEmpty());
}

TEST(AudioLoadingFailure, EditorDestroyedDuringLoadingDropsTheResults)
{
    QTemporaryDir dir;
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("t.wav")), fixtures::sineTone(44100, 2, 441000));
    LogCapture log;
    {
        VideoEditorViewModel editor(fixtures::manualPlayerEnvironment(dir.path()));
        editor.loadAudio(path);
    }
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Betöltés kész")).isEmpty());
}

TEST(AudioLoadingFailure, UnwritableTemporaryFolderFailsThroughTheSilenceError)
{
    QTemporaryDir dir;
    VideoEditorViewModel editor(
            fixtures::manualPlayerEnvironment(dir.filePath(QStringLiteral("no-such-folder"))));
    const QString path =
            fixtures::writeWav(dir.filePath(QStringLiteral("t.wav")), fixtures::sineTone(44100, 1, 44100));
    LogCapture log;
    editor.loadAudio(path);
    ASSERT_TRUE(waitUntil([&] { return !editor.isLoadingAudio(); }));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba a csend hozzáadásakor: ")).size(), 1);
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Hiba betöltéskor: ")),
              QStringList{QStringLiteral("[Audio] Hiba betöltéskor: Nem sikerült csendet hozzáadni")});
    // The loudness of the readable original is still measured and shown.
    EXPECT_TRUE(editor.audioLoudnessDB().has_value());
    EXPECT_FALSE(editor.audioURL().has_value());
    EXPECT_EQ(editor.getFrameManager().getFrameCount(), 0);
}

TEST_F(AudioLoading, LoadMeasuresIntegratedLoudnessAndTruePeakAndLogsThemOnce)
{
    EXPECT_FALSE(editor.integratedLoudnessLUFS().has_value());
    EXPECT_FALSE(editor.truePeakDBTP().has_value());
    EXPECT_FALSE(editor.boostedIntegratedLoudnessLUFS().has_value());
    EXPECT_FALSE(editor.boostedTruePeakDBTP().has_value());
    EXPECT_FALSE(editor.normalisationVolumeBoost().has_value());

    // The same 1 kHz sine, peak 0.5 (-6.02 dBFS), in both channels: about -6.0 LUFS.
    AudioBuffer tone = fixtures::sineTone(48000, 1, 5 * 48000, 0.5f, 1000.0);
    tone.channels.push_back(tone.channels.front());
    const QString path = fixtures::writeWav(file(QStringLiteral("tone.wav")), tone);
    // The boost in force when loading does not change what is measured of the source.
    editor.setVolumeBoost(150.0);
    LogCapture log;
    ASSERT_TRUE(loadAndWait(editor, path));
    ASSERT_TRUE(editor.integratedLoudnessLUFS().has_value());
    ASSERT_TRUE(editor.truePeakDBTP().has_value());
    EXPECT_NEAR(*editor.integratedLoudnessLUFS(), -6.02, 0.1);
    EXPECT_NEAR(*editor.truePeakDBTP(), -6.02, 0.1);
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Integrált hangosság: ")),
              QStringList{QStringLiteral("[Audio] Integrált hangosság: ") +
                          formatFixed(*editor.integratedLoudnessLUFS(), 1) +
                          QStringLiteral(" LUFS, valódi csúcs: ") + formatFixed(*editor.truePeakDBTP(), 1) +
                          QStringLiteral(" dBTP")});

    editor.setVolumeBoost(200.0);
    EXPECT_NEAR(*editor.boostedIntegratedLoudnessLUFS() - *editor.integratedLoudnessLUFS(), 6.0206, 1e-3);
    EXPECT_NEAR(*editor.boostedTruePeakDBTP() - *editor.truePeakDBTP(), 6.0206, 1e-3);
    // -6 LUFS is 8 dB above -14 LUFS: normalising turns it down to 10^(-8/20) = 40 %.
    EXPECT_NEAR(*editor.normalisationVolumeBoost(), 40.0, 1.0);

    // A failed load leaves no figures behind.
    const QString bad = fixtures::writeBytes(file(QStringLiteral("bad.wav")), "RIFF????WAVEjunk");
    ASSERT_TRUE(loadAndWait(editor, bad));
    drainEvents();
    EXPECT_FALSE(editor.integratedLoudnessLUFS().has_value());
    EXPECT_FALSE(editor.truePeakDBTP().has_value());
}

TEST_F(AudioLoading, RecordingIsReadyBeforeItsIntegratedLoudnessIsMeasured)
{
    AudioBuffer tone = fixtures::sineTone(48000, 1, 5 * 48000, 0.5f, 1000.0);
    tone.channels.push_back(tone.channels.front());
    const QString path = fixtures::writeWav(file(QStringLiteral("tone.wav")), tone);
    bool measuringWhenReady = false;
    bool figuresWhenReady = true;
    QObject::connect(&editor, &VideoEditorViewModel::audioLoadFinished, [&](bool succeeded) {
        ASSERT_TRUE(succeeded);
        measuringWhenReady = editor.isMeasuringLoudness();
        figuresWhenReady = editor.integratedLoudnessLUFS().has_value();
    });
    ASSERT_TRUE(loadAndWait(editor, path));
    EXPECT_TRUE(measuringWhenReady);
    EXPECT_FALSE(figuresWhenReady);
    EXPECT_FALSE(editor.isMeasuringLoudness());
    EXPECT_TRUE(editor.integratedLoudnessLUFS().has_value());
    EXPECT_TRUE(editor.truePeakDBTP().has_value());
}

TEST_F(AudioLoading, NewerLoadDropsTheMeasurementOfTheEarlierRecording)
{
    // A loud recording, then at once a quiet one: only the quiet one's figures may stay.
    AudioBuffer loud = fixtures::sineTone(48000, 1, 20 * 48000, 0.5f, 1000.0);
    loud.channels.push_back(loud.channels.front());
    AudioBuffer quiet = fixtures::sineTone(48000, 1, 2 * 48000, 0.05f, 1000.0);
    quiet.channels.push_back(quiet.channels.front());
    const QString loudPath = fixtures::writeWav(file(QStringLiteral("loud.wav")), loud);
    const QString quietPath = fixtures::writeWav(file(QStringLiteral("quiet.wav")), quiet);
    bool startedSecond = false;
    QObject::connect(&editor, &VideoEditorViewModel::audioLoadFinished, [&] {
        if (!startedSecond) {
            startedSecond = true;
            editor.loadAudio(quietPath);
        }
    });
    LogCapture log;
    editor.loadAudio(loudPath);
    ASSERT_TRUE(waitUntil([&] { return startedSecond && !editor.isLoadingAudio(); }, 30000));
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    ASSERT_TRUE(editor.integratedLoudnessLUFS().has_value());
    EXPECT_NEAR(*editor.integratedLoudnessLUFS(), -26.0, 0.2);
    EXPECT_FALSE(editor.isMeasuringLoudness());
    EXPECT_EQ(log.linesStartingWith(QStringLiteral("[Audio] Integrált hangosság: ")).size(), 1);
}

TEST(AudioLoadingLifetime, EditorDestroyedWhileMeasuringStopsTheMeterQuietly)
{
    QTemporaryDir dir;
    AudioBuffer tone = fixtures::sineTone(48000, 1, 60 * 48000, 0.5f, 1000.0);
    tone.channels.push_back(tone.channels.front());
    const QString path = fixtures::writeWav(dir.filePath(QStringLiteral("long.wav")), tone);
    LogCapture log;
    {
        VideoEditorViewModel editor{fixtures::manualPlayerEnvironment(dir.path(), nullptr)};
        editor.loadAudio(path);
        ASSERT_TRUE(waitUntil([&] { return !editor.isLoadingAudio(); }, 30000));
    }
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    EXPECT_TRUE(log.linesStartingWith(QStringLiteral("[Audio] Integrált hangosság: ")).isEmpty());
}
