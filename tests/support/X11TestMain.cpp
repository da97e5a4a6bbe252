#include "VirtualDesktop.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <cstdio>

#ifndef PARQUETA_TEST_SERVER
#define PARQUETA_TEST_SERVER Xvfb
#endif

// The virtual desktop must exist before the QApplication, which connects to $DISPLAY
// when it is constructed.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    VirtualDesktop desktop;
    if (!desktop.start(ServerKind::PARQUETA_TEST_SERVER)) {
        std::fprintf(stderr, "FAILED: no virtual desktop: %s\n", qPrintable(desktop.lastError()));
        return 1;
    }
    VirtualDesktop::setShared(&desktop);
    int result = 0;
    {
        QApplication app(argc, argv);
        result = RUN_ALL_TESTS();
    }
    VirtualDesktop::setShared(nullptr);
    return result;
}
