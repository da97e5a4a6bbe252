#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // Unit tests never touch a real display; an explicit platform from the
    // environment (offscreen with a screens file) still wins.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
