// Test entry point for the folders without widgets: a QGuiApplication on the offscreen
// platform, so images, painting, PDFs, timers and queued calls work as in the program.
#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    // Qt starts threads of its own; a re-executed child is the safe way to test a fatal stop.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
