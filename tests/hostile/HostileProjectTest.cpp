// Project files from anywhere: a project Vornik wrote, cut short, replaced by noise, emptied,
// nested 100000 levels deep, or grown to ten million frames, each opened through the project
// dialog (scripted) in a child process. A file that is not a project is skipped with
// "[Load] Ismeretlen formátum, skip"; one beyond the size Vornik reads is refused with
// "[Load] Hiba: a projekt túl nagy (...), skip" before it can take the memory it claims; a
// three-hour project still opens.
#include "project/ProjectFormat.h"
#include "tests/support/AudioFixtures.h"
#include "tests/support/HostileFiles.h"

#include <gtest/gtest.h>

#include <ostream>

#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <functional>

namespace {

using HostileFiles::Outcome;

const QString kUnknownFormatLine = QStringLiteral("[Load] Ismeretlen formátum, skip");
const QString kTooLargePrefix = QStringLiteral("[Load] Hiba: a projekt túl nagy (");

// 2 s of tone plus the default 3 s and 5 s of silence: 300 frames.
constexpr int64_t kRecordingFrames = 300;
// Three hours at 30 frames per second.
constexpr int64_t kThreeHourFrames = int64_t(3) * 3600 * 30;
constexpr int64_t kTenMillionFrames = 10000000;

// A project as Vornik writes it, naming a real recording and a real page, with one frame.
QByteArray oneFrameProject(const QString& directory)
{
    const QString audio = fixtures::writeWav(directory + QStringLiteral("/recording.wav"),
                                             fixtures::sineTone(44100, 1, 2 * 44100));
    QImage page(60, 80, QImage::Format_RGB32);
    page.fill(Qt::white);
    const QString image = directory + QStringLiteral("/page.png");
    if (audio.isEmpty() || !page.save(image, "PNG"))
        return {};
    ProjectJSON project;
    project.audioPath = audio;
    project.originalAudioPath = audio;
    project.imagePaths = {{image, std::nullopt, std::nullopt}};
    project.frames = {FrameJSON{0, 420, 0, 1080, 1080}};
    project.duration = 10.0;
    project.startSilence = 3.0;
    project.endSilence = 5.0;
    project.transitionDuration = 0.5;
    project.volumeBoost = 100.0;
    project.videoFormat = QStringLiteral("16:9");
    return encodeProject(project);
}

// The valid project of every case: the recording's 300 frames, each on the page.
QByteArray validProject(const QString& directory)
{
    const QString path = directory + QStringLiteral("/valid.vnk");
    if (!HostileFiles::writeProjectWithFrames(path, oneFrameProject(directory), kRecordingFrames, false))
        return {};
    return HostileFiles::readFile(path);
}

enum class Expect { opens, unknownFormat, tooLarge };

struct ProjectCase {
    const char* name;
    // Writes the input to `path` from the valid project; false when it could not.
    std::function<bool(const QString& path, const QString& directory)> make;
    Expect expect;
    int64_t frames = kRecordingFrames; // for a project that opens: the frames it holds
    int64_t pages = 1;                 // and the pages
    const char* reason = "";           // for one refused as too large: the reason, if not its size
};

// Names the case in test listings (instead of the bytes of the structure).
void PrintTo(const ProjectCase& testCase, std::ostream* out)
{
    *out << testCase.name;
}

std::function<bool(const QString&, const QString&)>
transformed(std::function<QByteArray(const QByteArray&)> how)
{
    return [how](const QString& path, const QString& directory) {
        const QByteArray valid = validProject(directory);
        return !valid.isEmpty() && HostileFiles::writeFile(path, how(valid));
    };
}

std::function<bool(const QString&, const QString&)> withFrames(int64_t frames, bool compact)
{
    return [frames, compact](const QString& path, const QString& directory) {
        return HostileFiles::writeProjectWithFrames(path, oneFrameProject(directory), frames, compact);
    };
}

std::function<bool(const QString&, const QString&)> withPages(int64_t pages)
{
    return [pages](const QString& path, const QString& directory) {
        return HostileFiles::writeProjectWithPages(path, oneFrameProject(directory), pages);
    };
}

class HostileProject : public ::testing::TestWithParam<ProjectCase> {};

TEST_P(HostileProject, OpeningEndsInTimeWithBoundedMemory)
{
    const ProjectCase& c = GetParam();
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath(QStringLiteral("input.vnk"));
    ASSERT_TRUE(c.make(path, directory.path()));

    const Outcome outcome =
            HostileFiles::openInChild(HostileFiles::OpenPath::project, path, directory.path());
    HostileFiles::expectBoundedOpening(outcome, QString::fromLatin1(c.name));
    const std::string context = outcome.output.right(3000).toStdString();
    EXPECT_TRUE(outcome.alerts.isEmpty()) << context;

    switch (c.expect) {
    case Expect::opens:
        EXPECT_TRUE(outcome.logged(
                QStringLiteral("[Load] Projekt betöltve: %1 kép, %2 frame").arg(c.pages).arg(c.frames)))
                << context;
        EXPECT_EQ(outcome.pageCount, c.pages) << context;
        EXPECT_EQ(outcome.frameCount, kRecordingFrames) << context;
        EXPECT_TRUE(outcome.audioLoaded) << context;
        break;
    case Expect::unknownFormat:
    case Expect::tooLarge:
        // Refused before anything changed: no page, no recording, no load started.
        EXPECT_EQ(outcome.pageCount, 0) << context;
        EXPECT_FALSE(outcome.audioLoaded) << context;
        EXPECT_FALSE(outcome.loggedStartingWith(QStringLiteral("[Load] Projekt betöltés: "))) << context;
        EXPECT_FALSE(outcome.loggedStartingWith(QStringLiteral("[Audio] "))) << context;
        if (c.expect == Expect::unknownFormat) {
            EXPECT_TRUE(outcome.logged(kUnknownFormatLine)) << context;
        }
        break;
    }
    if (c.expect == Expect::tooLarge) {
        const QString bytes = QString::number(QFileInfo(path).size());
        const QString reason = QFileInfo(path).size() > kMaxProjectFileBytes
                                       ? bytes + QStringLiteral(" byte, legfeljebb 268435456 byte")
                                       : QString::fromUtf8(c.reason);
        EXPECT_TRUE(outcome.logged(kTooLargePrefix + reason + QStringLiteral("), skip"))) << context;
    }
}

const ProjectCase kProjectCases[] = {
        {"valid", transformed([](const QByteArray& valid) { return valid; }), Expect::opens},
        {"truncated_10_percent",
         transformed([](const QByteArray& v) { return HostileFiles::truncated(v, 0.1); }),
         Expect::unknownFormat},
        {"truncated_50_percent",
         transformed([](const QByteArray& v) { return HostileFiles::truncated(v, 0.5); }),
         Expect::unknownFormat},
        {"truncated_90_percent",
         transformed([](const QByteArray& v) { return HostileFiles::truncated(v, 0.9); }),
         Expect::unknownFormat},
        {"random_bytes",
         transformed([](const QByteArray& v) { return HostileFiles::randomBytes(v.size(), 0x5EED0003u); }),
         Expect::unknownFormat},
        {"zero_bytes", transformed([](const QByteArray&) { return QByteArray(); }), Expect::unknownFormat},
        {"nested_100000_levels_deep",
         transformed([](const QByteArray& v) { return HostileFiles::projectWithNesting(v, 100000); }),
         Expect::unknownFormat},
        {"ten_million_frames_as_vornik_writes_them", withFrames(kTenMillionFrames, false), Expect::tooLarge},
        {"ten_million_frames_written_compactly", withFrames(kTenMillionFrames, true), Expect::tooLarge},
        {"one_frame_past_twelve_hours_written_compactly", withFrames(kMaxProjectFrames + 1, true),
         Expect::tooLarge, 0, 0, "több mint 1296000 frame, legfeljebb 12 óra"},
        {"a_thousand_pages_still_open", withPages(kMaxProjectPages), Expect::opens, 1, kMaxProjectPages},
        {"one_page_past_a_thousand", withPages(kMaxProjectPages + 1), Expect::tooLarge, 0, 0,
         "több mint 1000 oldal"},
        {"a_hundred_thousand_pages", withPages(100000), Expect::tooLarge, 0, 0, "több mint 1000 oldal"},
        {"three_hours_of_frames_still_opens", withFrames(kThreeHourFrames, false), Expect::opens,
         kThreeHourFrames},
};

INSTANTIATE_TEST_SUITE_P(Projects, HostileProject, ::testing::ValuesIn(kProjectCases),
                         [](const ::testing::TestParamInfo<ProjectCase>& tested) {
                             return std::string(tested.param.name);
                         });

// The limits themselves, on the decoder: a project of exactly 12 hours of frames decodes,
// one frame more is refused as too large (not as malformed), and so is a file past the
// size limit, before any parsing.
QByteArray compactProject(int64_t frames)
{
    QByteArray text = R"({"imagePaths":[],"frames":[)";
    const QByteArray entry = R"({"x":0,"y":0,"w":1,"h":1})";
    text.reserve(qsizetype(frames) * (entry.size() + 1) + 200);
    for (int64_t i = 0; i < frames; ++i) {
        text += entry;
        if (i + 1 < frames)
            text += ',';
    }
    text += R"(],"duration":0,"currentTime":0,"startSilence":0,"endSilence":0})";
    return text;
}

TEST(ProjectLimits, TwelveHoursOfFramesDecodeAndOneMoreIsTooLarge)
{
    const auto atLimit = decodeProject(compactProject(kMaxProjectFrames));
    ASSERT_TRUE(atLimit.has_value());
    EXPECT_EQ(int64_t(atLimit->frames.size()), kMaxProjectFrames);

    QString error;
    ProjectDecodeFailure failure = ProjectDecodeFailure::malformed;
    EXPECT_FALSE(decodeProject(compactProject(kMaxProjectFrames + 1), &error, &failure).has_value());
    EXPECT_EQ(failure, ProjectDecodeFailure::tooLarge);
    EXPECT_EQ(error, QStringLiteral("több mint 1296000 frame, legfeljebb 12 óra"));
}

TEST(ProjectLimits, MalformedFilesAreNotCalledTooLarge)
{
    ProjectDecodeFailure failure = ProjectDecodeFailure::tooLarge;
    EXPECT_FALSE(decodeProject("{\"imagePaths\": [", nullptr, &failure).has_value());
    EXPECT_EQ(failure, ProjectDecodeFailure::malformed);
}

} // namespace
