// Test entry point for the widget folders: a QApplication on the offscreen platform.
#include <QApplication>

#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The per-user folders point into a folder of this run, so no test can read or write the
    // user's own autosave, whatever environment it builds.
    QTemporaryDir userFolders;
    for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, userFolders.filePath(QString::fromLatin1(variable)).toLocal8Bit());
    ::testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
