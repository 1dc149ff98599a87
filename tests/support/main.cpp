#include "tests/support/TestHome.h"

#include <QApplication>

#include <gmock/gmock.h>

int main(int argc, char** argv) {
    const TestHome home;
    const QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
