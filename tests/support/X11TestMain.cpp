#include "VirtualDesktop.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <cstdio>

// The virtual desktop must exist before the QApplication, which connects to $DISPLAY
// when it is constructed.
int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    VirtualDesktop desktop;
    if (!desktop.start()) {
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
