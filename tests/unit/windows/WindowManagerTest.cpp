#include "managers/WindowManager.h"
#include "FakeWindowControl.h"
#include "LogCapture.h"
#include "QtPrinters.h"

#include <gtest/gtest.h>

namespace {

class WindowManagerTest : public ::testing::Test
{
protected:
    WindowManagerTest()
    {
        control.addWindow(1, QRectF(0, 0, 800, 600), QStringLiteral("Editor"));
        control.addWindow(2, QRectF(1400, 100, 500, 400), QStringLiteral("Terminal"));
    }

    FakeWindowControl control;
    WindowManager windows {control, [](const QRectF& frame) -> std::optional<Screen> {
                               // Two screens side by side at x = 1280.
                               if (frame.center().x() < 1280)
                                   return Screen(QStringLiteral("LEFT-1280x1080"), QStringLiteral("LEFT"));
                               return Screen(QStringLiteral("RIGHT-1280x1080"), QStringLiteral("RIGHT"));
                           }};
};

TEST_F(WindowManagerTest, FocusedWindowAndWindowAtCursorCarryIdAppAndInitialSize)
{
    control.setFocused(1);
    control.setWindowAtCursor(2);
    const WindowPtr focused = windows.getFocusedWindow();
    const WindowPtr atCursor = windows.getWindowAtCursor();
    ASSERT_TRUE(focused);
    ASSERT_TRUE(atCursor);
    EXPECT_EQ(focused->id(), 1u);
    EXPECT_EQ(focused->initialSize(), QSizeF(800, 600));
    EXPECT_EQ(windows.appName(*focused), QStringLiteral("Editor"));
    EXPECT_EQ(windows.appIdentifier(*atCursor), QStringLiteral("org.example.Terminal"));
    EXPECT_EQ(atCursor->id(), 2u);

    control.setFocused(std::nullopt);
    EXPECT_FALSE(windows.getFocusedWindow());
}

TEST_F(WindowManagerTest, RecordsOfTheSameWindowAreEqualAndKeepTheirFirstSize)
{
    control.setFocused(1);
    const WindowPtr first = windows.getFocusedWindow();
    control.setWindowFrame(1, QRectF(10, 10, 300, 200));
    const WindowPtr second = windows.getFocusedWindow();
    EXPECT_NE(first.get(), second.get());
    EXPECT_TRUE(sameWindow(first, second));
    EXPECT_EQ(first->initialSize(), QSizeF(800, 600));
    EXPECT_EQ(second->initialSize(), QSizeF(300, 200));
}

TEST_F(WindowManagerTest, NoRecordWithoutASizeAndTheFailureIsLogged)
{
    LogCapture log;
    control.window(1)->readable = false;
    control.setFocused(1);
    EXPECT_FALSE(windows.getFocusedWindow());
    EXPECT_EQ(log.count(QStringLiteral("Failed to get window size")), 1);
    EXPECT_TRUE(log.contains(QtCriticalMsg, QStringLiteral("Failed to get window size")));
}

TEST_F(WindowManagerTest, ClosedWindowGivesAbsentValuesAndIgnoresWrites)
{
    control.setFocused(2);
    const WindowPtr window = windows.getFocusedWindow();
    ASSERT_TRUE(window);
    control.close(2);
    EXPECT_FALSE(windows.getFrame(*window));
    EXPECT_FALSE(windows.getPosition(*window));
    EXPECT_FALSE(windows.getSize(*window));
    EXPECT_FALSE(windows.screen(*window));
    EXPECT_FALSE(windows.focus(*window));
    EXPECT_FALSE(windows.isNormal(*window));
    windows.setFrame(*window, QRectF(0, 0, 10, 10));
    windows.setSize(*window, QSizeF(10, 10));
    EXPECT_FALSE(control.frameOf(2));
}

TEST_F(WindowManagerTest, ScreenFollowsTheWindowsCurrentFrame)
{
    control.setFocused(1);
    const WindowPtr window = windows.getFocusedWindow();
    EXPECT_EQ(windows.screen(*window)->name(), QStringLiteral("LEFT"));
    control.moveWindow(1, QPointF(1500, 0));
    EXPECT_EQ(windows.screen(*window)->name(), QStringLiteral("RIGHT"));

    WindowManager withoutScreens(control);
    EXPECT_FALSE(withoutScreens.screen(*window));
}

TEST_F(WindowManagerTest, AppNameAndIdentifierFallBackToFixedTexts)
{
    control.addWindow(3, QRectF(0, 0, 100, 100), QString());
    control.window(3)->app.identifier.clear();
    control.setFocused(3);
    const WindowPtr window = windows.getFocusedWindow();
    ASSERT_TRUE(window);
    EXPECT_EQ(windows.appName(*window), Window::unknownAppName());
    EXPECT_EQ(windows.appIdentifier(*window), Window::unknownAppIdentifier());
    EXPECT_FALSE(Window::unknownAppName().isEmpty());
}

} // namespace
