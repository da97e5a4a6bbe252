// The harness every X11 test stands on: if these fail, the other X11 results mean nothing.
#include "VirtualDesktop.h"
#include "XTestInput.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <xcb/randr.h>

#include <cstdlib>

namespace {

struct Monitor
{
    QString name;
    QRect geometry;
    bool primary;
};

QList<Monitor> serverMonitors(VirtualDesktop& desktop)
{
    QList<Monitor> result;
    xcb_connection_t* c = desktop.connection();
    xcb_randr_get_monitors_reply_t* reply
        = xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, desktop.root(), 1), nullptr);
    if (!reply)
        return result;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply); it.rem; xcb_randr_monitor_info_next(&it)) {
        xcb_get_atom_name_reply_t* name = xcb_get_atom_name_reply(c, xcb_get_atom_name(c, it.data->name), nullptr);
        result.push_back({QString::fromLatin1(xcb_get_atom_name_name(name), xcb_get_atom_name_name_length(name)),
            QRect(it.data->x, it.data->y, it.data->width, it.data->height), it.data->primary != 0});
        std::free(name);
    }
    std::free(reply);
    return result;
}

QPoint pointer(VirtualDesktop& desktop)
{
    xcb_query_pointer_reply_t* reply = xcb_query_pointer_reply(
        desktop.connection(), xcb_query_pointer(desktop.connection(), desktop.root()), nullptr);
    const QPoint point = reply ? QPoint(reply->root_x, reply->root_y) : QPoint(-1, -1);
    std::free(reply);
    return point;
}

class VirtualDesktopTest : public ::testing::Test
{
protected:
    void TearDown() override
    {
        desktop.stopAllClients();
        desktop.stopPanel();
        desktop.stopCompositor();
        desktop.stopWindowManager();
        desktop.resetMonitors();
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
};

TEST_F(VirtualDesktopTest, StartsTwoMonitorsWithLeftPrimaryAndQtSeesThem)
{
    const QList<Monitor> monitors = serverMonitors(desktop);
    ASSERT_EQ(monitors.size(), 2);
    EXPECT_EQ(monitors[0].name, QStringLiteral("LEFT"));
    EXPECT_EQ(monitors[0].geometry, QRect(0, 0, 1280, 1080));
    EXPECT_TRUE(monitors[0].primary);
    EXPECT_EQ(monitors[1].name, QStringLiteral("RIGHT"));
    EXPECT_EQ(monitors[1].geometry, QRect(1280, 0, 1280, 1080));
    EXPECT_FALSE(monitors[1].primary);

    EXPECT_EQ(qgetenv("DISPLAY"), desktop.displayName().toLatin1());
    EXPECT_TRUE(qgetenv("HOME").startsWith(desktop.scratchDir().toLatin1()));
    EXPECT_TRUE(qgetenv("XDG_RUNTIME_DIR").startsWith(desktop.scratchDir().toLatin1()));
    ASSERT_TRUE(VirtualDesktop::waitUntil([] { return QGuiApplication::screens().size() == 2; }));
    EXPECT_EQ(QGuiApplication::primaryScreen()->name(), QStringLiteral("LEFT"));
}

TEST_F(VirtualDesktopTest, DeletingAndResettingMonitors)
{
    ASSERT_TRUE(desktop.deleteMonitor(QStringLiteral("RIGHT")));
    EXPECT_EQ(desktop.monitorNames(), QStringList {QStringLiteral("LEFT")});
    ASSERT_TRUE(desktop.setMonitors({{QStringLiteral("TOP"), QRect(0, 0, 2560, 540), false},
        {QStringLiteral("BOTTOM"), QRect(0, 540, 2560, 540), true}}));
    const QList<Monitor> monitors = serverMonitors(desktop);
    ASSERT_EQ(monitors.size(), 2);
    EXPECT_EQ(monitors[0].name, QStringLiteral("BOTTOM")) << "the primary monitor comes first";
    EXPECT_EQ(monitors[0].geometry, QRect(0, 540, 2560, 540));
    ASSERT_TRUE(desktop.resetMonitors());
    EXPECT_EQ(desktop.monitorNames(), (QStringList {QStringLiteral("LEFT"), QStringLiteral("RIGHT")}));
}

TEST_F(VirtualDesktopTest, PlainWindowWithoutWindowManagerTakesItsRequestedGeometry)
{
    const xcb_window_t window = desktop.startPlainWindow(QStringLiteral("bare"), QRect(200, 150, 333, 222));
    ASSERT_NE(window, XCB_WINDOW_NONE);
    EXPECT_EQ(desktop.titleOf(window), QStringLiteral("bare"));
    EXPECT_EQ(desktop.wmClassOf(window), QStringLiteral("ParquetaPlain ParquetaPlain"));
    EXPECT_EQ(desktop.clientGeometry(window), QRect(200, 150, 333, 222));
    desktop.stopClient(window);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.clientGeometry(window).has_value(); }));
}

// Each manager must frame the test client, list it and apply its size exactly.
TEST_F(VirtualDesktopTest, EveryWindowManagerManagesThePlainWindow)
{
    struct Case
    {
        WindowManagerKind kind;
        QMargins extents; // left, top, right, bottom
    };
    for (const Case& c : {Case {WindowManagerKind::Openbox, QMargins(1, 20, 1, 5)},
             Case {WindowManagerKind::Metacity, QMargins(5, 42, 5, 5)},
             Case {WindowManagerKind::Xfwm4, QMargins(5, 29, 5, 5)}}) {
        SCOPED_TRACE(static_cast<int>(c.kind));
        ASSERT_TRUE(desktop.startWindowManager(c.kind));
        EXPECT_EQ(desktop.windowManager(), c.kind);
        const xcb_window_t window = desktop.startPlainWindow(QStringLiteral("managed"), QRect(300, 200, 640, 480));
        ASSERT_NE(window, XCB_WINDOW_NONE);
        EXPECT_TRUE(desktop.clientList().contains(window));
        EXPECT_EQ(desktop.frameExtents(window), c.extents);
        const std::optional<QRect> geometry = desktop.clientGeometry(window);
        ASSERT_TRUE(geometry.has_value());
        EXPECT_EQ(geometry->size(), QSize(640, 480));
        desktop.stopClient(window);
    }
    desktop.stopWindowManager();
    EXPECT_EQ(desktop.windowManager(), WindowManagerKind::None);
}

TEST_F(VirtualDesktopTest, XtermIsFoundByClassAndTitle)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t window = desktop.startXterm(QStringLiteral("terminal one"));
    ASSERT_NE(window, XCB_WINDOW_NONE);
    EXPECT_EQ(desktop.findWindow(QStringLiteral("XTerm"), QStringLiteral("terminal one")), window);
    EXPECT_EQ(desktop.findWindow(QStringLiteral("XTerm"), QStringLiteral("terminal two")), XCB_WINDOW_NONE);
}

TEST_F(VirtualDesktopTest, PanelOnTheRightMonitorReservesItsBottomEdge)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    ASSERT_TRUE(desktop.startPanel(1));
    const QList<quint32> strut = desktop.property32(desktop.panelWindow(), "_NET_WM_STRUT_PARTIAL");
    ASSERT_EQ(strut.size(), 12);
    // bottom = 30, bottom_start_x = 1280, bottom_end_x = 2559 (root-relative)
    EXPECT_EQ(strut[3], quint32(VirtualDesktop::kPanelHeight));
    EXPECT_EQ(strut[10], 1280u);
    EXPECT_EQ(strut[11], 2559u);
    desktop.stopPanel();
    EXPECT_EQ(desktop.panelWindow(), XCB_WINDOW_NONE);
}

TEST_F(VirtualDesktopTest, CompositorOwnsTheCompositingSelection)
{
    ASSERT_TRUE(desktop.startCompositor(CompositorKind::Xcompmgr));
    desktop.stopCompositor();
    ASSERT_TRUE(desktop.startCompositor(CompositorKind::Picom));
}

TEST_F(VirtualDesktopTest, XTestMovesThePointerAndPressesKeys)
{
    XTestInput input;
    ASSERT_TRUE(input.isValid());
    input.moveTo(500, 400);
    EXPECT_EQ(pointer(desktop), QPoint(500, 400));
    input.moveBy(1000, -100);
    EXPECT_EQ(pointer(desktop), QPoint(1500, 300));

    ASSERT_TRUE(input.keyDown(0xffe1)); // Shift_L
    xcb_query_pointer_reply_t* reply = xcb_query_pointer_reply(
        desktop.connection(), xcb_query_pointer(desktop.connection(), desktop.root()), nullptr);
    ASSERT_NE(reply, nullptr);
    EXPECT_TRUE(reply->mask & XCB_MOD_MASK_SHIFT);
    std::free(reply);
    ASSERT_TRUE(input.keyUp(0xffe1));
    EXPECT_FALSE(input.keyDown(0x12345678)) << "an unmapped keysym has no keycode";
}

TEST_F(VirtualDesktopTest, MissingProgramFailsNamingThePackage)
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", desktop.scratchDir().toLatin1()); // nothing executable in there
    EXPECT_NONFATAL_FAILURE(EXPECT_FALSE(VirtualDesktop::shared().startWindowManager(WindowManagerKind::Metacity)),
        "apt-get install metacity");
    EXPECT_NONFATAL_FAILURE(EXPECT_FALSE(VirtualDesktop::shared().startPanel(0)), "apt-get install tint2");
    qputenv("PATH", path);
    EXPECT_TRUE(desktop.lastError().contains(QStringLiteral("tint2 is not installed")));
}

} // namespace
