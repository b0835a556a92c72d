#include "project/ProjectFormat.h"

#include <gtest/gtest.h>

#include <QStringList>

namespace {

ProjectJSON fullProject()
{
    ProjectJSON project;
    project.audioPath = QStringLiteral("/tmp/audio_with_silence_X.wav");
    project.originalAudioPath = QStringLiteral("/home/anna/Zene/szonáta.mp3");
    project.imagePaths = {{QStringLiteral("/home/anna/Kotta/1.png"), std::nullopt, std::nullopt},
                          {QStringLiteral("/home/anna/Kotta/mű.pdf"), 3, std::nullopt},
                          {QStringLiteral("/home/anna/Kotta/mű.pdf"), 4, 5}};
    project.frames = {{0, 578, 0, 764, 1080}, {std::nullopt, 0, 0, 1920, 1080}, {2, 0, 140, 1920, 800}};
    project.duration = 15.5;
    project.currentTime = 2.25;
    project.startSilence = 3.0;
    project.endSilence = 5.0;
    project.transitionDuration = 1.2;
    project.volumeBoost = 150.0;
    project.videoFormat = QStringLiteral("9:16");
    project.fillColorR = 0.25;
    project.fillColorG = 0.5;
    project.fillColorB = 1.0;
    return project;
}

// The top-level keys of a written file, in the order they appear.
QStringList topLevelKeys(const QByteArray& text)
{
    QStringList keys;
    for (const QByteArray& line : text.split('\n')) {
        if (line.startsWith("  \"")) {
            const int end = line.indexOf('"', 3);
            keys << QString::fromUtf8(line.mid(3, end - 3));
        }
    }
    return keys;
}

} // namespace

TEST(ProjectFormat, RoundTripKeepsEveryValue)
{
    const ProjectJSON project = fullProject();
    const auto decoded = decodeProject(encodeProject(project));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(*decoded, project);
}

TEST(ProjectFormat, KeysAreWrittenInDeclarationOrderOneMemberPerLine)
{
    const QByteArray text = encodeProject(fullProject());
    EXPECT_EQ(topLevelKeys(text),
              QStringList({QStringLiteral("audioPath"), QStringLiteral("originalAudioPath"),
                           QStringLiteral("imagePaths"), QStringLiteral("frames"), QStringLiteral("duration"),
                           QStringLiteral("currentTime"), QStringLiteral("startSilence"),
                           QStringLiteral("endSilence"), QStringLiteral("transitionDuration"),
                           QStringLiteral("volumeBoost"), QStringLiteral("videoFormat"),
                           QStringLiteral("fillColorR"), QStringLiteral("fillColorG"),
                           QStringLiteral("fillColorB")}));
    EXPECT_TRUE(text.contains("\n  \"duration\": 15.5,\n"));
    EXPECT_TRUE(text.contains("\"path\": \"/home/anna/Kotta/m\xc5\xb1.pdf\""));
}

TEST(ProjectFormat, ExportResolutionIsWrittenLastAndOnlyWhenSet)
{
    ProjectJSON project = fullProject();
    EXPECT_FALSE(encodeProject(project).contains("exportResolution"));
    project.exportResolution = QStringLiteral("4K");
    const QByteArray text = encodeProject(project);
    const QStringList keys = topLevelKeys(text);
    ASSERT_GE(keys.size(), 2);
    EXPECT_EQ(keys.back(), QStringLiteral("exportResolution"));
    EXPECT_EQ(keys[keys.size() - 2], QStringLiteral("fillColorB"));
    EXPECT_TRUE(text.contains("\n  \"exportResolution\": \"4K\"\n"));
    const auto decoded = decodeProject(text);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->exportResolution, QStringLiteral("4K"));
    EXPECT_EQ(*decoded, project);
}

TEST(ProjectFormat, ExportResolutionThatIsNotTextFailsTheDocument)
{
    QByteArray text = encodeProject(fullProject());
    text.replace("\"fillColorB\": 1.0", "\"fillColorB\": 1.0,\n  \"exportResolution\": 2160");
    ASSERT_TRUE(text.contains("2160"));
    EXPECT_FALSE(decodeProject(text).has_value());
}

TEST(ProjectFormat, FileWithOnlyTheRequiredKeysDecodes)
{
    const QByteArray text = R"({"imagePaths": [], "frames": [], "duration": 0, "currentTime": 0,
                                "startSilence": 3, "endSilence": 5})";
    const auto decoded = decodeProject(text);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_FALSE(decoded->audioPath.has_value());
    EXPECT_FALSE(decoded->transitionDuration.has_value());
    EXPECT_FALSE(decoded->volumeBoost.has_value());
    EXPECT_FALSE(decoded->videoFormat.has_value());
    EXPECT_FALSE(decoded->fillColorR.has_value());
    EXPECT_DOUBLE_EQ(decoded->startSilence, 3.0);
}

TEST(ProjectFormat, FileWithoutStartSilenceFailsToDecode)
{
    const QByteArray text = R"({"imagePaths": [], "frames": [], "duration": 0, "currentTime": 0,
                                "endSilence": 5})";
    QString error;
    EXPECT_FALSE(decodeProject(text, &error).has_value());
    EXPECT_TRUE(error.contains(QStringLiteral("startSilence")));
}

TEST(ProjectFormat, FrameWithoutAPageHasItsRectangleAndNoImageIndex)
{
    ProjectJSON project;
    project.frames = {{std::nullopt, 0, 0, 1920, 1080}};
    const QByteArray text = encodeProject(project);
    EXPECT_FALSE(text.contains("imageIndex"));
    EXPECT_TRUE(text.contains("\"x\": 0"));
    EXPECT_TRUE(text.contains("\"w\": 1920"));
    EXPECT_TRUE(text.contains("\"h\": 1080"));
}

TEST(ProjectFormat, ProjectWithoutAudioWritesNeitherAudioPath)
{
    ProjectJSON project;
    const QByteArray text = encodeProject(project);
    EXPECT_FALSE(text.contains("audioPath"));
    EXPECT_FALSE(text.contains("originalAudioPath"));
}

TEST(ProjectFormat, PdfPagesKeepTheirPageNumbers)
{
    const QByteArray text = encodeProject(fullProject());
    const auto decoded = decodeProject(text);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_FALSE(decoded->imagePaths[0].pageNumber.has_value());
    EXPECT_EQ(decoded->imagePaths[1].pageNumber, 3);
    EXPECT_FALSE(decoded->imagePaths[1].pairedPageNumber.has_value());
    EXPECT_EQ(decoded->imagePaths[2].pageNumber, 4);
    EXPECT_EQ(decoded->imagePaths[2].pairedPageNumber, 5);
    EXPECT_FALSE(text.contains("\"pageNumber\": null"));
}

TEST(ProjectFormat, KeyOrderDoesNotMatterAndUnknownKeysAreIgnored)
{
    const QByteArray text = R"({"endSilence": 1, "startSilence": 2, "future": {"a": [1, 2]},
                                "frames": [{"h": 4, "w": 3, "y": 2, "x": 1, "imageIndex": 0, "extra": true}],
                                "currentTime": 0.5, "imagePaths": [{"path": "/a.png", "note": "x"}],
                                "duration": 10})";
    const auto decoded = decodeProject(text);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->frames.front(), (FrameJSON{0, 1, 2, 3, 4}));
    EXPECT_EQ(decoded->imagePaths.front().path, QStringLiteral("/a.png"));
}

TEST(ProjectFormat, WrongTypesAnywhereFailTheWholeDocument)
{
    const QByteArray base = R"({"imagePaths": [], "frames": [], "duration": 0, "currentTime": 0,
                                "startSilence": 3, "endSilence": 5 %1})";
    const QStringList extras = {QStringLiteral(R"(, "volumeBoost": "loud")"),
                                QStringLiteral(R"(, "videoFormat": 16)"),
                                QStringLiteral(R"(, "audioPath": ["x"])")};
    for (const QString& extra : extras) {
        const QByteArray text = QString::fromUtf8(base).arg(extra).toUtf8();
        EXPECT_FALSE(decodeProject(text).has_value()) << text.toStdString();
    }
    EXPECT_FALSE(decodeProject(R"({"imagePaths": {}, "frames": [], "duration": 0, "currentTime": 0,
                                  "startSilence": 3, "endSilence": 5})")
                         .has_value());
    EXPECT_FALSE(decodeProject(R"({"imagePaths": [], "frames": [{"x": 1.5, "y": 0, "w": 1, "h": 1}],
                                  "duration": 0, "currentTime": 0, "startSilence": 3, "endSilence": 5})")
                         .has_value());
    EXPECT_FALSE(decodeProject(R"({"imagePaths": [{"pageNumber": 1}], "frames": [], "duration": 0,
                                  "currentTime": 0, "startSilence": 3, "endSilence": 5})")
                         .has_value());
}

TEST(ProjectFormat, NotJsonOrEmptyFailsWithAReason)
{
    for (const QByteArray& text :
         {QByteArray(), QByteArray("not json"), QByteArray("[1, 2, 3]"), QByteArray("{\"imagePaths\": [")}) {
        QString error;
        EXPECT_FALSE(decodeProject(text, &error).has_value());
        EXPECT_FALSE(error.isEmpty());
    }
}

TEST(ProjectFormat, ImageIndexOutsideTheIntegerRangeFails)
{
    const QByteArray text = R"({"imagePaths": [], "frames": [{"imageIndex": 99999999999, "x": 0, "y": 0,
                                "w": 1, "h": 1}], "duration": 0, "currentTime": 0, "startSilence": 3,
                                "endSilence": 5})";
    EXPECT_FALSE(decodeProject(text).has_value());
}

TEST(ProjectFormat, DeeplyNestedJsonIsRefused)
{
    QByteArray text = "{\"imagePaths\": [], \"frames\": [], \"duration\": 0, \"currentTime\": 0, "
                      "\"startSilence\": 3, \"endSilence\": 5, \"x\": ";
    text += QByteArray(100000, '[') + QByteArray(100000, ']') + "}";
    QString error;
    EXPECT_FALSE(decodeProject(text, &error).has_value());
    EXPECT_FALSE(error.isEmpty());
}

TEST(ProjectFormat, AMillionFramesDecode)
{
    ProjectJSON project;
    project.frames.assign(1000000, FrameJSON{1, 0, 0, 1920, 1080});
    const auto decoded = decodeProject(encodeProject(project));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->frames.size(), 1000000u);
}

TEST(ProjectFormat, BracketsInsideStringsDoNotCountAsNesting)
{
    ProjectJSON project;
    project.imagePaths = {
            {QString(200, QLatin1Char('[')) + QStringLiteral("\\\"{"), std::nullopt, std::nullopt}};
    const auto decoded = decodeProject(encodeProject(project));
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->imagePaths.front().path, project.imagePaths.front().path);
}
