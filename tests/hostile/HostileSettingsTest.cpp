// Project files whose settings lie outside what the audio settings sheet offers, next to a real
// one-second recording: silences of -1 s, a billion seconds or 1e308 s, a transition of 1e20 s,
// a boost of 0 % or a billion per cent, a position of 1e300 s or -5 s. Each is opened through
// the project dialog in a child process and exported with the real program's `--export`; both
// end normally with the settings brought into range, each clamped setting logged.
#include "project/ProjectFormat.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/BuildPaths.h"
#include "tests/support/HostileFiles.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>
#include <ostream>

namespace {

using HostileFiles::Outcome;

constexpr double kRecordingSeconds = 1.0;

struct Settings {
    double startSilence = 0.5;
    double endSilence = 0.5;
    double transitionDuration = 0.5;
    double volumeBoost = 100.0;
    double currentTime = 0.5;
};

struct SettingsCase {
    const char* name;
    Settings written;
    Settings loaded;       // what the editor holds after the load
    const char* warning;   // the clamping log line, or nullptr when none is due
    double loadedPosition; // the position after the load (the end is the loaded length)
};

void PrintTo(const SettingsCase& testCase, std::ostream* out)
{
    *out << testCase.name;
}

Settings with(double Settings::*member, double value)
{
    Settings settings;
    settings.*member = value;
    return settings;
}

// The loaded length of a case: the recording and its silences.
double lengthOf(const Settings& settings)
{
    return kRecordingSeconds + settings.startSilence + settings.endSilence;
}

// Writes the case's project beside a one-second recording and a page; returns its path.
QString writeProject(const QTemporaryDir& directory, const Settings& settings)
{
    const QString audio = fixtures::writeWav(directory.filePath(QStringLiteral("recording.wav")),
                                             fixtures::sineTone(44100, 1, 44100));
    QImage page(60, 80, QImage::Format_RGB32);
    page.fill(Qt::white);
    const QString image = directory.filePath(QStringLiteral("page.png"));
    if (audio.isEmpty() || !page.save(image, "PNG"))
        return {};
    ProjectJSON project;
    project.audioPath = audio;
    project.originalAudioPath = audio;
    project.imagePaths = {{image, std::nullopt, std::nullopt}};
    project.frames = {FrameJSON{0, 420, 0, 1080, 1080}, FrameJSON{0, 420, 0, 1080, 1080}};
    project.duration = 2.0;
    project.currentTime = settings.currentTime;
    project.startSilence = settings.startSilence;
    project.endSilence = settings.endSilence;
    project.transitionDuration = settings.transitionDuration;
    project.volumeBoost = settings.volumeBoost;
    project.videoFormat = QStringLiteral("16:9");
    const QString path = directory.filePath(QStringLiteral("hostile.vnk"));
    return HostileFiles::writeFile(path, encodeProject(project)) ? path : QString();
}

class HostileSettings : public ::testing::TestWithParam<SettingsCase> {};

TEST_P(HostileSettings, TheWindowLoadsTheProjectWithTheSettingsInRange)
{
    const SettingsCase& c = GetParam();
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = writeProject(directory, c.written);
    ASSERT_FALSE(path.isEmpty());

    const Outcome outcome =
            HostileFiles::openInChild(HostileFiles::OpenPath::project, path, directory.path());
    HostileFiles::expectBoundedOpening(outcome, QString::fromLatin1(c.name));
    const std::string context = outcome.output.right(3000).toStdString();
    EXPECT_TRUE(outcome.logged(QStringLiteral("[Load] Projekt betöltve: 1 kép, 2 frame"))) << context;
    EXPECT_TRUE(outcome.audioLoaded) << context;
    EXPECT_EQ(outcome.startSilence, c.loaded.startSilence) << context;
    EXPECT_EQ(outcome.endSilence, c.loaded.endSilence) << context;
    EXPECT_EQ(outcome.transitionDuration, c.loaded.transitionDuration) << context;
    EXPECT_EQ(outcome.volumeBoost, c.loaded.volumeBoost) << context;
    EXPECT_NEAR(outcome.duration, lengthOf(c.loaded), 1e-3) << context;
    EXPECT_NEAR(outcome.currentTime, c.loadedPosition, 1e-3) << context;
    const QStringList warnings = [&outcome] {
        QStringList lines;
        for (const QString& line : outcome.logLines)
            if (line.startsWith(QStringLiteral("[Load] Figyelmeztetés: ")))
                lines << line;
        return lines;
    }();
    if (c.warning)
        EXPECT_EQ(warnings, QStringList{QString::fromUtf8(c.warning)}) << context;
    else
        EXPECT_TRUE(warnings.isEmpty()) << context;
}

TEST_P(HostileSettings, TheCommandLineExportEndsNormallyWithTheSettingsInRange)
{
    const SettingsCase& c = GetParam();
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = writeProject(directory, c.written);
    ASSERT_FALSE(path.isEmpty());
    const QString video = directory.filePath(QStringLiteral("out.mov"));

    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    process.setProcessEnvironment(environment);
    process.start(vornikExecutable(), {QStringLiteral("--export"), path, video});
    ASSERT_TRUE(process.waitForFinished(120000 * HostileFiles::kSanitizerSlowdown));
    const QString out = QString::fromUtf8(process.readAllStandardOutput());
    const QString err = QString::fromUtf8(process.readAllStandardError());
    const std::string context = (out.right(3000) + err.right(2000)).toStdString();

    ASSERT_EQ(process.exitStatus(), QProcess::NormalExit) << context;
    EXPECT_EQ(process.exitCode(), 0) << context;
    if (c.warning)
        EXPECT_TRUE(out.contains(QString::fromUtf8(c.warning))) << context;
    else
        EXPECT_FALSE(out.contains(QStringLiteral("[Load] Figyelmeztetés: "))) << context;
    // The video lasts as long as the recording with the clamped silences.
    const VideoProbe probe = probeVideo(video);
    ASSERT_TRUE(probe.opened) << context;
    EXPECT_NEAR(probe.videoDuration, lengthOf(c.loaded), 1.0 / 30.0 + 1e-6) << context;
    EXPECT_EQ(probe.audioStreams, 1) << context;
}

const Settings kInRange;

SettingsCase clampedCase(const char* name, double Settings::*member, double written, double loaded,
                         const char* warning)
{
    const Settings after = with(member, loaded);
    const double position = member == &Settings::currentTime ? loaded : kInRange.currentTime;
    return {name, with(member, written), after, warning, position};
}

const SettingsCase kSettingsCases[] = {
        clampedCase("start_silence_minus_one", &Settings::startSilence, -1.0, 0.0,
                    "[Load] Figyelmeztetés: startSilence értéke (-1.0) a megengedett tartományon kívül esik, "
                    "0.0 lesz helyette"),
        clampedCase("start_silence_a_billion", &Settings::startSilence, 1e9, 10.0,
                    "[Load] Figyelmeztetés: startSilence értéke (1000000000.0) a megengedett tartományon "
                    "kívül esik, 10.0 lesz helyette"),
        clampedCase("start_silence_1e308", &Settings::startSilence, 1e308, 10.0,
                    "[Load] Figyelmeztetés: startSilence értéke (1e+308) a megengedett tartományon kívül "
                    "esik, 10.0 lesz helyette"),
        clampedCase("end_silence_minus_one", &Settings::endSilence, -1.0, 0.0,
                    "[Load] Figyelmeztetés: endSilence értéke (-1.0) a megengedett tartományon kívül esik, "
                    "0.0 lesz helyette"),
        clampedCase("end_silence_a_billion", &Settings::endSilence, 1e9, 10.0,
                    "[Load] Figyelmeztetés: endSilence értéke (1000000000.0) a megengedett tartományon "
                    "kívül esik, 10.0 lesz helyette"),
        clampedCase("end_silence_1e308", &Settings::endSilence, 1e308, 10.0,
                    "[Load] Figyelmeztetés: endSilence értéke (1e+308) a megengedett tartományon kívül "
                    "esik, 10.0 lesz helyette"),
        clampedCase("transition_1e20", &Settings::transitionDuration, 1e20, 3.0,
                    "[Load] Figyelmeztetés: transitionDuration értéke (1e+20) a megengedett tartományon "
                    "kívül esik, 3.0 lesz helyette"),
        clampedCase("boost_zero", &Settings::volumeBoost, 0.0, 25.0,
                    "[Load] Figyelmeztetés: volumeBoost értéke (0.0) a megengedett tartományon kívül esik, "
                    "25.0 lesz helyette"),
        clampedCase("boost_a_billion", &Settings::volumeBoost, 1e9, 1000.0,
                    "[Load] Figyelmeztetés: volumeBoost értéke (1000000000.0) a megengedett tartományon "
                    "kívül esik, 1000.0 lesz helyette"),
        // The position is brought to the loaded length (1 s and two silences of 0.5 s) or to
        // the start without a word.
        clampedCase("position_1e300", &Settings::currentTime, 1e300, 2.0, nullptr),
        clampedCase("position_minus_five", &Settings::currentTime, -5.0, 0.0, nullptr),
};

INSTANTIATE_TEST_SUITE_P(Settings, HostileSettings, ::testing::ValuesIn(kSettingsCases),
                         [](const ::testing::TestParamInfo<SettingsCase>& tested) {
                             return std::string(tested.param.name);
                         });

} // namespace
