#include <QGuiApplication>

#include <gtest/gtest.h>

// Drawing text-free pictures needs the application's fonts and plugins nevertheless.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");  // ctest lists the tests outside their environment
    ::testing::InitGoogleTest(&argc, argv);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
