// Test entry point for the widget folders: a QApplication on the offscreen platform.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
