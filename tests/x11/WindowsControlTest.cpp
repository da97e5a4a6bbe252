// Window control against real window managers and real clients on a virtual desktop.
#include "../unit/windows/LogCapture.h"
#include "VirtualDesktop.h"
#include "WindowsX11Support.h"
#include "XTestInput.h"
#include "managers/WindowManager.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11WindowControl.h"

#include <QWidget>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace WindowsX11;

namespace {

class WindowControlTest : public ::testing::Test
{
protected:
    void TearDown() override
    {
        desktop.stopAllClients();
        desktop.stopPanel();
        desktop.stopWindowManager();
        desktop.resetMonitors();
    }

    WindowPtr recordFor(xcb_window_t window) { return windows.windowFrom(X11WindowControl::handleFor(window)); }


    VirtualDesktop& desktop = VirtualDesktop::shared();
    X11Connection connection;
    X11WindowControl control {connection};
    WindowManager windows {control};
};

// --- setFrame on every window manager -----------------------------------------------------

class SetFrameTest : public WindowControlTest, public ::testing::WithParamInterface<WindowManagerKind>
{ };

TEST_P(SetFrameTest, FrameLandsExactlyOnTheRequestedRectangle)
{
    ASSERT_TRUE(desktop.startWindowManager(GetParam()));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("exact"), QRect(300, 200, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.frameExtents(plain).has_value(); }));
    const WindowPtr window = recordFor(plain);
    ASSERT_TRUE(window);

    for (const QRect target : {QRect(40, 60, 640, 480), QRect(700, 30, 500, 1000), QRect(10, 10, 220, 180)}) {
        windows.setFrame(*window, target);
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain) == target; }))
            << wmName(GetParam()) << ": wanted " << ::testing::PrintToString(target) << ", got "
            << ::testing::PrintToString(visibleFrame(desktop, plain).value_or(QRect()));
        // The backend reads the same frame the harness measures.
        EXPECT_EQ(windows.getFrame(*window), std::optional<QRectF>(QRectF(target)));
    }
}

TEST_P(SetFrameTest, MaximizedWindowIsReleasedAndPlacedExactly)
{
    ASSERT_TRUE(desktop.startWindowManager(GetParam()));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("maximized"), QRect(300, 200, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(maximize(desktop, plain)) << wmName(GetParam()) << " did not maximize the window";
    const WindowPtr window = recordFor(plain);
    ASSERT_TRUE(window);

    const QRect target(100, 120, 600, 400);
    windows.setFrame(*window, target);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain) == target; }))
        << wmName(GetParam()) << ": got " << ::testing::PrintToString(visibleFrame(desktop, plain).value_or(QRect()));
    EXPECT_FALSE(hasState(desktop, plain, "_NET_WM_STATE_MAXIMIZED_VERT"));
    EXPECT_FALSE(hasState(desktop, plain, "_NET_WM_STATE_MAXIMIZED_HORZ"));
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, SetFrameTest,
    ::testing::Values(WindowManagerKind::Openbox, WindowManagerKind::Xfwm4, WindowManagerKind::Metacity),
    [](const auto& param) { return std::string(wmName(param.param)); });

// --- Terminals, lookups, focus, types, vanished windows (openbox) ------------------------

TEST_F(WindowControlTest, WindowAtCursorLooksThroughWindowsThatAreNoClients)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("under"), QRect(200, 200, 600, 400));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain).has_value(); }));
    const QRect frame = *visibleFrame(desktop, plain);

    // An unmanaged popup over the window, as a tooltip or an on-screen display would be.
    xcb_connection_t* c = desktop.connection();
    const xcb_window_t popup = xcb_generate_id(c);
    const uint32_t values[] = {1};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, popup, desktop.root(), static_cast<int16_t>(frame.center().x() - 50),
        static_cast<int16_t>(frame.center().y() - 50), 100, 100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(c, popup);
    xcb_flush(c);

    XTestInput input;
    input.moveTo(frame.center().x(), frame.center().y());
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.deepestWindowUnderPointer() == popup; }));
    const WindowPtr atCursor = windows.getWindowAtCursor();
    ASSERT_TRUE(atCursor);
    EXPECT_EQ(atCursor->id(), plain);

    // Over the bare desktop there is no window.
    input.moveTo(2500, 1050);
    EXPECT_FALSE(windows.getWindowAtCursor());
    xcb_destroy_window(c, popup);
    xcb_flush(c);
}

TEST_F(WindowControlTest, FocusRaisesAndActivatesThroughNetActiveWindow)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t first = desktop.startPlainWindow(QStringLiteral("first"), QRect(100, 100, 500, 400));
    const xcb_window_t second = desktop.startPlainWindow(QStringLiteral("second"), QRect(300, 200, 500, 400));
    ASSERT_NE(first, XCB_WINDOW_NONE);
    ASSERT_NE(second, XCB_WINDOW_NONE);
    const WindowPtr a = recordFor(first);
    const WindowPtr b = recordFor(second);
    ASSERT_TRUE(a && b);

    for (const auto& [record, xid] : {std::pair {a, first}, std::pair {b, second}, std::pair {a, first}}) {
        EXPECT_TRUE(windows.focus(*record));
        EXPECT_TRUE(VirtualDesktop::waitUntil([&, xid = xid] {
            const QList<quint32> active = desktop.property32(desktop.root(), "_NET_ACTIVE_WINDOW");
            const QList<quint32> stacking = desktop.property32(desktop.root(), "_NET_CLIENT_LIST_STACKING");
            return active == QList<quint32> {xid} && !stacking.isEmpty() && stacking.last() == xid;
        })) << "window "
            << xid << " was not raised and activated";
        const WindowPtr focused = windows.getFocusedWindow();
        ASSERT_TRUE(focused);
        EXPECT_EQ(focused->id(), xid);
    }
}

TEST_F(WindowControlTest, FocusedWindowFallsBackToTheInputFocus)
{
    LogCapture log;
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t xterm = desktop.startXterm(QStringLiteral("input focus"));
    ASSERT_NE(xterm, XCB_WINDOW_NONE);
    const WindowPtr record = recordFor(xterm);
    ASSERT_TRUE(record);
    windows.focus(*record);
    ASSERT_TRUE(VirtualDesktop::waitUntil(
        [&] { return desktop.property32(desktop.root(), "_NET_ACTIVE_WINDOW") == QList<quint32> {xterm}; }));

    // A window manager that publishes no active window: the keyboard focus decides.
    xcb_delete_property(desktop.connection(), desktop.root(), desktop.atom("_NET_ACTIVE_WINDOW"));
    xcb_flush(desktop.connection());
    ASSERT_TRUE(
        VirtualDesktop::waitUntil([&] { return desktop.property32(desktop.root(), "_NET_ACTIVE_WINDOW").isEmpty(); }));
    const WindowPtr focused = windows.getFocusedWindow();
    ASSERT_TRUE(focused);
    EXPECT_EQ(focused->id(), xterm);
    EXPECT_EQ(log.count(QStringLiteral("appResult == .noValue, trying to get main window instead")), 1);
}

TEST_F(WindowControlTest, OnlyManagedNormalWindowsOfOtherProgramsAreNormal)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    ASSERT_TRUE(desktop.startPanel(0));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("typed"), QRect(100, 100, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    const WindowControl::Handle handle = X11WindowControl::handleFor(plain);
    EXPECT_TRUE(control.isNormal(*handle));

    // The window's type decides; the first type this code knows wins.
    const auto setTypes = [&](QList<const char*> names) {
        QList<xcb_atom_t> atoms;
        for (const char* name : names)
            atoms << desktop.atom(name);
        xcb_change_property(desktop.connection(), XCB_PROP_MODE_REPLACE, plain, desktop.atom("_NET_WM_WINDOW_TYPE"),
            XCB_ATOM_ATOM, 32, static_cast<uint32_t>(atoms.size()), atoms.constData());
        xcb_flush(desktop.connection());
        desktop.property32(plain, "_NET_WM_WINDOW_TYPE"); // round trip
    };
    for (const char* type : {"_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_MENU",
             "_NET_WM_WINDOW_TYPE_TOOLTIP", "_NET_WM_WINDOW_TYPE_NOTIFICATION", "_NET_WM_WINDOW_TYPE_SPLASH"}) {
        setTypes({type});
        EXPECT_FALSE(control.isNormal(*handle)) << type;
    }
    setTypes({"_NET_WM_WINDOW_TYPE_DIALOG"});
    EXPECT_TRUE(control.isNormal(*handle));
    setTypes({"_KDE_NET_WM_WINDOW_TYPE_OVERRIDE", "_NET_WM_WINDOW_TYPE_NORMAL"});
    EXPECT_TRUE(control.isNormal(*handle));

    // The panel is a dock.
    ASSERT_NE(desktop.panelWindow(), XCB_WINDOW_NONE);
    EXPECT_FALSE(control.isNormal(*X11WindowControl::handleFor(desktop.panelWindow())));

    // A window of this very process (Parqueta's own), managed like any other.
    QWidget own;
    own.setWindowTitle(QStringLiteral("own window"));
    own.resize(300, 200);
    own.show();
    ASSERT_TRUE(VirtualDesktop::waitUntil(
        [&] { return desktop.clientList().contains(static_cast<xcb_window_t>(own.winId())); }));
    EXPECT_FALSE(control.isNormal(*X11WindowControl::handleFor(static_cast<xcb_window_t>(own.winId()))));
}

TEST_F(WindowControlTest, VanishedWindowGivesAbsentValuesAndNoCrash)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("vanishing"), QRect(100, 100, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    const WindowPtr window = recordFor(plain);
    ASSERT_TRUE(window);
    EXPECT_EQ(windows.appName(*window), QStringLiteral("ParquetaPlain"));
    EXPECT_EQ(window->app().pid, static_cast<qint64>(desktop.property32(plain, "_NET_WM_PID").value(0)));
    EXPECT_TRUE(window->app().pid > 0);

    desktop.stopClient(plain);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.clientGeometry(plain); }));
    LogCapture log;
    EXPECT_FALSE(windows.getFrame(*window));
    EXPECT_FALSE(windows.getPosition(*window));
    EXPECT_FALSE(windows.getSize(*window));
    EXPECT_FALSE(windows.isNormal(*window));
    EXPECT_FALSE(windows.focus(*window));
    windows.setFrame(*window, QRect(0, 0, 300, 300));
    windows.setSize(*window, QSize(300, 300));
    EXPECT_FALSE(recordFor(plain));
    EXPECT_FALSE(control.application(*window->handle()));
    connection.sync();
    EXPECT_TRUE(connection.isValid());
}

} // namespace
