#include "tests/support/BuildPaths.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

struct RunResult {
    int exitCode = -1;
    QString output;
};

RunResult run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(120000))
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

class DesktopIntegration : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_prefix.isValid());
        const RunResult install =
                run(QStringLiteral("cmake"), {QStringLiteral("--install"), vornikBinaryDir(),
                                              QStringLiteral("--prefix"), m_prefix.path()});
        ASSERT_EQ(install.exitCode, 0) << install.output.toStdString();
    }

    QString installed(const QString& relative) const { return m_prefix.filePath(relative); }

private:
    QTemporaryDir m_prefix;
};

} // namespace

TEST_F(DesktopIntegration, InstallPutsTheProgramAndItsFilesInPlace)
{
    for (const QString& file :
         {QStringLiteral("bin/vornik"), QStringLiteral("share/applications/hu.vornik.Vornik.desktop"),
          QStringLiteral("share/metainfo/hu.vornik.Vornik.metainfo.xml"),
          QStringLiteral("share/mime/packages/vornik.xml"),
          QStringLiteral("share/icons/hicolor/scalable/apps/vornik.svg"),
          QStringLiteral("share/icons/hicolor/48x48/apps/vornik.png")}) {
        EXPECT_TRUE(QFileInfo::exists(installed(file))) << file.toStdString();
    }
    EXPECT_TRUE(QFileInfo(installed(QStringLiteral("bin/vornik"))).isExecutable());
    const QImage icon(installed(QStringLiteral("share/icons/hicolor/48x48/apps/vornik.png")));
    EXPECT_EQ(icon.size(), QSize(48, 48));
}

TEST_F(DesktopIntegration, DesktopEntryOpensProjectFilesAndValidates)
{
    QFile file(installed(QStringLiteral("share/applications/hu.vornik.Vornik.desktop")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("\nExec=vornik %f\n")));
    EXPECT_TRUE(text.contains(QStringLiteral("\nCategories=AudioVideo;Video;\n")));
    EXPECT_TRUE(text.contains(QStringLiteral("MimeType=application/x-vornik-project;")));
    EXPECT_TRUE(text.contains(QStringLiteral("Name[hu]=")) ||
                text.contains(QStringLiteral("GenericName[hu]=")));
    EXPECT_TRUE(text.contains(QStringLiteral("Comment[hu]=")));

    const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
    if (validator.isEmpty())
        GTEST_SKIP() << "desktop-file-validate is not installed";
    const RunResult result = run(validator, {file.fileName()});
    EXPECT_EQ(result.exitCode, 0) << result.output.toStdString();
}

TEST_F(DesktopIntegration, MetainfoValidates)
{
    const QString validator = QStandardPaths::findExecutable(QStringLiteral("appstreamcli"));
    if (validator.isEmpty())
        GTEST_SKIP() << "appstreamcli is not installed";
    const RunResult result =
            run(validator, {QStringLiteral("validate"), QStringLiteral("--no-net"),
                            installed(QStringLiteral("share/metainfo/hu.vornik.Vornik.metainfo.xml"))});
    EXPECT_EQ(result.exitCode, 0) << result.output.toStdString();
}

TEST_F(DesktopIntegration, ProjectFileTypeIsASubclassOfJsonForVnkFiles)
{
    QFile file(installed(QStringLiteral("share/mime/packages/vornik.xml")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("<mime-type type=\"application/x-vornik-project\">")));
    EXPECT_TRUE(text.contains(QStringLiteral("<sub-class-of type=\"application/json\"/>")));
    EXPECT_TRUE(text.contains(QStringLiteral("<glob pattern=\"*.vnk\"/>")));

    // The database tool accepts the package: the type is usable by file managers.
    const QString updater = QStandardPaths::findExecutable(QStringLiteral("update-mime-database"));
    if (updater.isEmpty())
        GTEST_SKIP() << "update-mime-database is not installed";
    const RunResult result = run(updater, {installed(QStringLiteral("share/mime"))});
    EXPECT_EQ(result.exitCode, 0) << result.output.toStdString();
    EXPECT_TRUE(QFileInfo::exists(installed(QStringLiteral("share/mime/application/x-vornik-project.xml"))));
}
