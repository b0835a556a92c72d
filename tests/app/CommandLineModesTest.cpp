// The command-line modes of the real program, run as a separate process.
#include "project/ProjectFormat.h"
#include "tests/support/BuildPaths.h"
#include "tests/support/ExportFixtures.h"
#include "tests/support/VideoProbe.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

namespace {

struct ProcessRun {
    int exitCode = -1;
    QString out;
    QString err;
};

ProcessRun runVornik(const QStringList& arguments, const QMap<QString, QString>& extraEnvironment = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY")); // the window-less modes need no display
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    for (auto it = extraEnvironment.begin(); it != extraEnvironment.end(); ++it)
        environment.insert(it.key(), it.value());
    process.setProcessEnvironment(environment);
    process.start(vornikExecutable(), arguments);
    if (!process.waitForFinished(240000))
        return {};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// Share of the pixels in a horizontal band of the frame that are clearly dark (ink).
double inkIn(const QImage& frame, int top, int bottom)
{
    int ink = 0;
    int all = 0;
    for (int y = top; y < bottom; ++y) {
        for (int x = 579; x < 579 + 763; x += 2) {
            ink += qGray(frame.pixel(x, y)) < 128 ? 1 : 0;
            ++all;
        }
    }
    return double(ink) / all;
}

} // namespace

TEST(CommandLineModes, DemoThenExportWritesAQuickTimeVideoWithSound)
{
    QTemporaryDir dir;
    const ProcessRun demo = runVornik({QStringLiteral("--demo"), dir.filePath(QStringLiteral("demo"))});
    ASSERT_EQ(demo.exitCode, 0) << demo.err.toStdString();
    const QString projectPath = dir.filePath(QStringLiteral("demo/demo.vnk"));
    EXPECT_EQ(demo.out.trimmed(), projectPath);

    const QString video = dir.filePath(QStringLiteral("demo.mov"));
    const ProcessRun exported = runVornik({QStringLiteral("--export"), projectPath, video});
    ASSERT_EQ(exported.exitCode, 0) << exported.err.toStdString();
    EXPECT_TRUE(exported.out.contains(QStringLiteral("[Export] VIDEÓ EXPORT KEZDÉS")));
    EXPECT_TRUE(exported.out.contains(QStringLiteral("[Audio] Audio hozzáadva!")));
    EXPECT_TRUE(exported.err.contains(QStringLiteral("Exportálás: 100%")));

    const VideoProbe probe = probeVideo(video);
    ASSERT_TRUE(probe.opened);
    EXPECT_EQ(probe.majorBrand, QStringLiteral("qt  "));
    EXPECT_EQ(probe.videoCodec, QStringLiteral("h264"));
    EXPECT_EQ(probe.width, 1920);
    EXPECT_EQ(probe.height, 1080);
    EXPECT_EQ(probe.videoPackets, 1200); // 3 s + 4 x 8 s + 5 s at 30 frames per second
    EXPECT_NEAR(probe.videoDuration, 40.0, 1e-6);
    EXPECT_EQ(probe.audioCodec, QStringLiteral("aac"));
    EXPECT_NEAR(probe.audioDuration, 40.0, 0.05);

    // Each page shows once its fade-in (0.5 s, 15 frames) is complete: only the first page
    // has the title above its staves; the others start with a staff higher up the sheet.
    const std::map<int64_t, QImage> frames = decodeVideoFrames(video, {0, 345, 585, 825});
    ASSERT_EQ(frames.size(), 4u);
    const double titleInk = inkIn(frames.at(0), 75, 125);
    EXPECT_GT(titleInk, 0.002);
    for (int64_t frame : {345, 585, 825}) {
        EXPECT_LT(inkIn(frames.at(frame), 75, 125), titleInk / 10) << frame;
        EXPECT_GT(inkIn(frames.at(frame), 190, 235), 0.005) << frame; // the first staff
    }
    EXPECT_NE(frames.at(345), frames.at(585)); // different pages, different notes
    EXPECT_NE(frames.at(585), frames.at(825));
}

TEST(CommandLineModes, ExportRateOptionStampsTheFramesAtThatRate)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    const QString video = dir.filePath(QStringLiteral("fast.mov"));
    const ProcessRun exported =
            runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")), video,
                       QStringLiteral("--fps"), QStringLiteral("60")});
    ASSERT_EQ(exported.exitCode, 0) << exported.err.toStdString();
    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.videoPackets, 1200);
    EXPECT_NEAR(probe.videoDuration, 20.0, 1e-6);
}

TEST(CommandLineModes, ResolutionOptionExportsIn4K)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    const QString video = dir.filePath(QStringLiteral("uhd.mov"));
    const ProcessRun exported =
            runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")), video,
                       QStringLiteral("--resolution"), QStringLiteral("4K")});
    ASSERT_EQ(exported.exitCode, 0) << exported.err.toStdString();
    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.width, 3840);
    EXPECT_EQ(probe.height, 2160);
    EXPECT_EQ(probe.videoPackets, 1200);
    EXPECT_NEAR(probe.videoDuration, 40.0, 1e-6);
    EXPECT_EQ(probe.audioCodec, QStringLiteral("aac"));
}

TEST(CommandLineModes, ResolutionOptionOverridesTheProjectFile)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    const QString project = dir.filePath(QStringLiteral("demo.vnk"));
    QFile file(project);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
    file.close();
    root.insert(QStringLiteral("exportResolution"), QStringLiteral("4K"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QJsonDocument(root).toJson());
    file.close();

    const QString video = dir.filePath(QStringLiteral("hd.mov"));
    const ProcessRun exported = runVornik({QStringLiteral("--export"), project, video,
                                           QStringLiteral("--resolution"), QStringLiteral("1080p")});
    ASSERT_EQ(exported.exitCode, 0) << exported.err.toStdString();
    const VideoProbe probe = probeVideo(video);
    EXPECT_EQ(probe.width, 1920);
    EXPECT_EQ(probe.height, 1080);
}

TEST(CommandLineModes, MissingProjectExitsWithOneAndAHungarianLine)
{
    QTemporaryDir dir;
    const ProcessRun run = runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("nincs.vnk")),
                                      dir.filePath(QStringLiteral("out.mov"))});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Hiba: a projektfájl nem nyitható meg")));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("out.mov"))));
}

TEST(CommandLineModes, ProjectWhoseRecordingIsGoneExitsWithOne)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    ASSERT_TRUE(QFile::remove(dir.filePath(QStringLiteral("demo_felvetel.wav"))));
    const ProcessRun run = runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")),
                                      dir.filePath(QStringLiteral("out.mov"))});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Hiba: a projekt hangfelvétele nem található")));
    EXPECT_TRUE(
            run.err.contains(QStringLiteral("Hiányzó hangfelvétel A projekt hangfelvétele nem található: ") +
                             dir.filePath(QStringLiteral("demo_felvetel.wav")) +
                             QStringLiteral(". Az oldalváltások megmaradnak; húzd be újra a felvételt.")))
            << run.err.toStdString();
}

TEST(CommandLineModes, ProjectWhoseRecordingCannotBeReadPrintsTheWarningAndExitsWithOne)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    const QString recording = dir.filePath(QStringLiteral("demo_felvetel.wav"));
    QFile broken(recording);
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(broken.write(QByteArray(4096, 'x')), 4096);
    broken.close();
    const ProcessRun run = runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")),
                                      dir.filePath(QStringLiteral("out.mov"))});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(
            QStringLiteral("Hiányzó hangfelvétel A projekt hangfelvétele nem található: ") + recording +
            QStringLiteral(". Az oldalváltások megmaradnak; húzd be újra a felvételt.")))
            << run.err.toStdString();
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("out.mov"))));
}

TEST(CommandLineModes, ARecordingThatIsNotSoundExitsWithOneAndTheLogsReason)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    QFile recording(dir.filePath(QStringLiteral("demo_felvetel.wav")));
    ASSERT_TRUE(recording.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_GT(recording.write(QByteArray(4096, 'x')), 0);
    recording.close();
    const ProcessRun run = runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")),
                                      dir.filePath(QStringLiteral("out.mov"))});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Hiba: a projekt hangfelvétele nem tölthető be")))
            << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(QStringLiteral("[Audio] Hiba betöltéskor: "))) << run.err.toStdString();
}

TEST(CommandLineModes, UnwritableDestinationExitsWithOneAndTheExportAlert)
{
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    // Even root cannot create files under /proc.
    const ProcessRun run = runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")),
                                      QStringLiteral("/proc/vornik-test/out.mov")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Export hiba"))) << run.err.toStdString();
    // The log's reason follows the alert.
    EXPECT_TRUE(run.err.contains(QStringLiteral("[Export] "))) << run.err.toStdString();
}

TEST(CommandLineModes, AFailedMuxPrintsItsOwnReasonAndNoOtherLogLines)
{
    QTemporaryDir parent;
    // A folder whose name holds the word "hiba": the lines that only name a path in it are
    // not reasons and stay on standard output.
    const QString folder = parent.filePath(QStringLiteral("hibajegyek"));
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), folder}).exitCode, 0);
    const QString output = QDir(folder).filePath(QStringLiteral("out.mov"));
    const ProcessRun run =
            runVornik({QStringLiteral("--export"), QDir(folder).filePath(QStringLiteral("demo.vnk")), output},
                      {{QStringLiteral("VORNIK_TEST_FAULT"), QStringLiteral("mux")}});
    EXPECT_EQ(run.exitCode, 2) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(QStringLiteral("Video OK, audio hiba!"))) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(QStringLiteral("[Audio] Export hiba: injected fault at mux")))
            << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("[Export] Célfile: ") + output)) << run.out.toStdString();
    EXPECT_FALSE(run.err.contains(QStringLiteral("[Export] Célfile:"))) << run.err.toStdString();
    EXPECT_TRUE(QFile::exists(output));
}

TEST(CommandLineModes, HelpVersionAndBadArguments)
{
    const ProcessRun help = runVornik({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains(QStringLiteral("Használat:")));
    const ProcessRun version = runVornik({QStringLiteral("--version")});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.trimmed(), QStringLiteral("Vornik 1.0"));
    const ProcessRun bad = runVornik({QStringLiteral("--export"), QStringLiteral("only-one.vnk")});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_TRUE(bad.err.startsWith(QStringLiteral("Hiba: ")));
}

TEST(CommandLineModes, ExportLeavesNoRenderedWavAndClearsAKilledExportsTemporaryFile)
{
    QTemporaryDir dir;
    QTemporaryDir temporary;
    // One second of sound and no silences: a 30-frame export.
    ProjectJSON project;
    project.originalAudioPath = writeToneWav(dir.filePath(QStringLiteral("tone.wav")), 44100, 1, 1.0);
    QFile projectFile(dir.filePath(QStringLiteral("short.vnk")));
    ASSERT_TRUE(projectFile.open(QIODevice::WriteOnly));
    projectFile.write(encodeProject(project));
    projectFile.close();
    const QString killed = dir.filePath(QStringLiteral(".short.00112233aabbccdd.mov.part"));
    {
        QFile file(killed);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        file.write("half a video");
        ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTime().addDays(-2),
                                     QFileDevice::FileModificationTime));
    }
    ASSERT_LT(QFileInfo(killed).lastModified(), QDateTime::currentDateTime().addDays(-1));
    const ProcessRun run = runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("short.vnk")),
                                      dir.filePath(QStringLiteral("out.mov"))},
                                     {{QStringLiteral("TMPDIR"), temporary.path()}});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("[Audio] Temp fájl: ") + temporary.path()))
            << "the recording was not rendered into the temporary folder";
    EXPECT_EQ(QDir(temporary.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
    EXPECT_FALSE(QFile::exists(killed));
}

TEST(CommandLineModes, ExportWhoseRecordingFailsToLoadExitsWithOneWithinSeconds)
{
#ifndef VORNIK_TEST_HOOKS
    GTEST_SKIP() << "the fault is injected through the test hooks (configure with -DVORNIK_TEST_HOOKS=ON)";
#endif
    QTemporaryDir dir;
    ASSERT_EQ(runVornik({QStringLiteral("--demo"), dir.path()}).exitCode, 0);
    for (const QString& fault : {QStringLiteral("audioPipeline"), QStringLiteral("decodeBlock:alloc")}) {
        QElapsedTimer elapsed;
        elapsed.start();
        const ProcessRun run =
                runVornik({QStringLiteral("--export"), dir.filePath(QStringLiteral("demo.vnk")),
                           dir.filePath(QStringLiteral("out.mov"))},
                          {{QStringLiteral("VORNIK_TEST_FAULT"), fault}});
        EXPECT_EQ(run.exitCode, 1) << fault.toStdString() << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(QStringLiteral("Hiba: a projekt hangfelvétele nem tölthető be")))
                << run.err.toStdString();
        // The run ends on its own (the process wait gives up after four minutes).
        EXPECT_LT(elapsed.elapsed(), 60000) << fault.toStdString();
        EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("out.mov"))));
    }
}
