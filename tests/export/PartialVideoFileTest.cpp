#include "export/PartialVideoFile.h"
#include "tests/support/FaultFixtures.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

using FaultFixtures::filesIn;

namespace {

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeTo(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

class PartialVideo : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }
    QString path(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
};

TEST_F(PartialVideo, IsAnEmptyHiddenMovPartFileBesideTheDestination)
{
    QString error;
    const auto partial = PartialVideoFile::create(path(QStringLiteral("concert.mp4")), &error);
    ASSERT_TRUE(partial) << error.toStdString();
    const QFileInfo info(partial->path());
    EXPECT_EQ(info.absolutePath(), QFileInfo(dir.path()).absoluteFilePath());
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\.concert\\.[0-9a-f]{16}\\.mov\\.part$"))
                        .match(info.fileName())
                        .hasMatch())
            << info.fileName().toStdString();
    EXPECT_TRUE(info.isFile());
    EXPECT_EQ(info.size(), 0);
    EXPECT_EQ(partial->destination(), path(QStringLiteral("concert.mp4")));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("concert.mp4"))));
}

TEST_F(PartialVideo, TwoExportsToOneDestinationNeverShareATemporaryFile)
{
    QString error;
    const auto first = PartialVideoFile::create(path(QStringLiteral("video.mov")), &error);
    const auto second = PartialVideoFile::create(path(QStringLiteral("video.mov")), &error);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->path(), second->path());
    EXPECT_EQ(filesIn(dir.path()).size(), 2);
}

TEST_F(PartialVideo, CommitReplacesTheDestinationWithTheFinishedFile)
{
    const QString destination = path(QStringLiteral("video.mov"));
    ASSERT_TRUE(writeTo(destination, QByteArray(5000, 'o')));
    QString error;
    auto partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial);
    ASSERT_TRUE(writeTo(partial->path(), QByteArrayLiteral("finished video")));
    // Until the commit the old file is untouched.
    EXPECT_EQ(contentsOf(destination), QByteArray(5000, 'o'));
    EXPECT_TRUE(partial->commit(&error)) << error.toStdString();
    EXPECT_EQ(contentsOf(destination), QByteArrayLiteral("finished video"));
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("video.mov")});
    // Once placed, the object going away does not remove the video.
    partial.reset();
    EXPECT_EQ(contentsOf(destination), QByteArrayLiteral("finished video"));
}

TEST_F(PartialVideo, ReplacedFileKeepsItsPermissions)
{
    const QString destination = path(QStringLiteral("shared.mov"));
    ASSERT_TRUE(writeTo(destination, "old"));
    const QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    ASSERT_TRUE(QFile::setPermissions(destination, permissions));
    QString error;
    auto partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial);
    ASSERT_TRUE(partial->commit(&error));
    // Owner, group and others; the "user" bits only repeat the owner's for the process.
    const QFile::Permissions mask = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                    QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                    QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    EXPECT_EQ(QFileInfo(destination).permissions() & mask, permissions);
}

TEST_F(PartialVideo, FileNeverCommittedIsRemovedAndTheDestinationKept)
{
    const QString destination = path(QStringLiteral("video.mov"));
    ASSERT_TRUE(writeTo(destination, "keep me"));
    QString error;
    auto partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial);
    ASSERT_TRUE(writeTo(partial->path(), "half a video"));
    partial.reset();
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("video.mov")});
    EXPECT_EQ(contentsOf(destination), QByteArrayLiteral("keep me"));

    partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial);
    partial->discard();
    EXPECT_EQ(filesIn(dir.path()), QStringList{QStringLiteral("video.mov")});
    EXPECT_FALSE(partial->commit(&error));
    EXPECT_EQ(contentsOf(destination), QByteArrayLiteral("keep me"));
}

TEST_F(PartialVideo, DestinationThatIsAFolderIsRefusedAndLeftAlone)
{
    const QString folder = path(QStringLiteral("folder.mov"));
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(writeTo(folder + QStringLiteral("/inside.txt"), "keep"));
    QString error;
    EXPECT_FALSE(PartialVideoFile::create(folder, &error));
    EXPECT_TRUE(error.contains(folder)) << error.toStdString();
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_EQ(filesIn(dir.path()), QStringList());
}

TEST_F(PartialVideo, FolderThatBecameADirectoryBeforeTheCommitKeepsItAndLosesTheTemporaryFile)
{
    const QString destination = path(QStringLiteral("late.mov"));
    QString error;
    auto partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial);
    ASSERT_TRUE(QDir().mkpath(destination + QStringLiteral("/sub")));
    EXPECT_FALSE(partial->commit(&error));
    EXPECT_TRUE(error.contains(destination)) << error.toStdString();
    EXPECT_TRUE(QFileInfo(destination + QStringLiteral("/sub")).isDir());
    EXPECT_EQ(filesIn(dir.path()), QStringList());
}

TEST_F(PartialVideo, MissingFolderIsRefusedWithTheReason)
{
    QString error;
    EXPECT_FALSE(PartialVideoFile::create(path(QStringLiteral("no/such/folder/video.mov")), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("no/such/folder/video.mov"))) << error.toStdString();
    EXPECT_GT(error.size(), path(QStringLiteral("no/such/folder/video.mov")).size() + 10);
}

TEST_F(PartialVideo, LongestFileNameStillGetsATemporaryName)
{
    // 251 characters plus ".mov": the longest name a Linux folder holds.
    const QString destination = path(QString(251, QLatin1Char('v')) + QStringLiteral(".mov"));
    QString error;
    auto partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial) << error.toStdString();
    ASSERT_TRUE(writeTo(partial->path(), "video"));
    EXPECT_TRUE(partial->commit(&error)) << error.toStdString();
    EXPECT_EQ(contentsOf(destination), QByteArrayLiteral("video"));
}

TEST_F(PartialVideo, NameWithMultiByteCharactersIsCutBetweenCharacters)
{
    // One plain letter, then characters outside the Basic Multilingual Plane (two UTF-16
    // units each): cutting the name after a fixed count of units would split one of them.
    QString name = QStringLiteral("a");
    for (int i = 0; i < 40; ++i)
        name += QString::fromUcs4(U"\U0001D11E");
    const QString destination = path(name + QStringLiteral(".mov"));
    QString error;
    auto partial = PartialVideoFile::create(destination, &error);
    ASSERT_TRUE(partial) << error.toStdString();
    const QString partialName = QFileInfo(partial->path()).fileName();
    EXPECT_TRUE(partialName.startsWith(QStringLiteral(".a") + QString::fromUcs4(U"\U0001D11E")));
    EXPECT_TRUE(QStringView(partialName).isValidUtf16());
    EXPECT_EQ(filesIn(dir.path()), QStringList{partialName});
    ASSERT_TRUE(partial->commit(&error)) << error.toStdString();
    EXPECT_EQ(filesIn(dir.path()), QStringList{name + QStringLiteral(".mov")});
}

} // namespace

TEST_F(PartialVideo, AnExportRemovesTemporaryFilesOfKilledExportsOlderThanADay)
{
    const auto backdate = [](const QString& file, qint64 hours) {
        QFile handle(file);
        const QDateTime when = QDateTime::currentDateTime().addSecs(-hours * 3600);
        return handle.open(QIODevice::ReadWrite) &&
               handle.setFileTime(when, QFileDevice::FileModificationTime);
    };
    const QString killed = path(QStringLiteral(".concert.0123456789abcdef.mov.part"));
    const QString running = path(QStringLiteral(".other.fedcba9876543210.mov.part"));
    const QString usersOwn = path(QStringLiteral(".notes.mov.part"));
    ASSERT_TRUE(writeTo(killed, "half a video"));
    ASSERT_TRUE(writeTo(running, "being written"));
    ASSERT_TRUE(writeTo(usersOwn, "not Vornik's"));
    ASSERT_TRUE(backdate(killed, 25));
    ASSERT_TRUE(backdate(running, 2));
    ASSERT_TRUE(backdate(usersOwn, 48));

    QString error;
    const auto partial = PartialVideoFile::create(path(QStringLiteral("concert.mov")), &error);
    ASSERT_TRUE(partial) << error.toStdString();
    EXPECT_FALSE(QFileInfo::exists(killed));
    EXPECT_TRUE(QFileInfo::exists(running));
    EXPECT_TRUE(QFileInfo::exists(usersOwn));
}
