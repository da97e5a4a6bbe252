// The snapping engine on a real desktop: openbox, a real xterm and the plain client, real
// drags through XTest, the real key grabs of the six window shortcuts. The overlay is
// stood in for by an observer that snaps into the zones under the pointer on release.
#include "../unit/engine/EngineTestDoubles.h"
#include "VirtualDesktop.h"
#include "WindowsX11Support.h"
#include "XTestInput.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"
#include "managers/ZoneMonitor.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DisplayServer.h"
#include "platform/x11/X11GlobalInput.h"
#include "platform/x11/X11HotkeyBackend.h"
#include "platform/x11/X11WindowControl.h"

#include <gtest/gtest.h>

#include <memory>

using namespace WindowsX11;

namespace {


// The three columns of LEFT (no panel: layout space is desktop space there).
const QRect kZone1(0, 0, 400, 1080);
const QRect kZone2(400, 0, 400, 1080);
const QRect kZone3(800, 0, 480, 1080);

// Parqueta's engine as the application assembles it, on the X11 backends.
struct Engine
{
    Engine()
    {
        shortcuts.registerDefaultShortcuts();
        for (const Screen& screen : screens.screens()) {
            const QRectF frame = *screens.visibleFrameOf(screen);
            auto root = SplitNode::create(0, 0, frame.width(), frame.height());
            root->splitAtOffset(SplitType::vertical, 400);
            root->children().at(1)->splitAtOffset(SplitType::vertical, 400);
            auto layout = Layout::create(root, QUuid::createUuid(), screen);
            layouts.save(LayoutList {layout}, screen);
            layouts.setActiveFor(screen, layout);
        }
        zoneManager.startObserving();
        zoneMonitor.startMonitoring();
        dragMonitor.startMonitoring();
        gestures.startMonitoring();
        gestures.addObserver(&overlay);
    }
    ~Engine() { gestures.removeObserver(&overlay); }

    WindowPtr record(xcb_window_t window) { return windows.windowFrom(X11WindowControl::handleFor(window)); }

    X11Connection connection;
    X11DisplayServer displays {connection};
    X11WindowControl control {connection};
    X11GlobalInput input {connection};
    X11HotkeyBackend hotkeys {connection};
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    ScreenManager screens {displays, settings};
    GlobalShortcuts shortcuts {hotkeys, settings};
    LayoutManager layouts {settings, screens, shortcuts};
    WindowManager windows {control, WindowManager::screenLocator(screens)};
    WindowDragMonitor dragMonitor {input, windows};
    ZoneGestureMonitor gestures {dragMonitor, input, settings};
    EngineTest::FakeOverlayFactory overlays;
    ZoneManager zoneManager {screens, layouts, windows, gestures, shortcuts, settings, overlays};
    ZoneMonitor zoneMonitor {zoneManager, dragMonitor};
    EngineTest::SnapOnRelease overlay {zoneManager, layouts, screens};
};

class EngineX11Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(desktop.resetMonitors());
        ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
        ASSERT_TRUE(xtest.isValid()) << "the X server has no XTest extension";
        engine = std::make_unique<Engine>();
        ASSERT_TRUE(engine->connection.isValid());
        ASSERT_EQ(engine->screens.screens().size(), 2);
        for (const QString& name : {ShortcutNames::cycleWindowLeft, ShortcutNames::cycleWindowRight,
                 ShortcutNames::cycleWindowNext, ShortcutNames::spanWindowRight})
            ASSERT_TRUE(engine->shortcuts.isActive(name)) << name.toStdString() << " is not grabbed";
    }

    void TearDown() override
    {
        engine.reset();
        desktop.stopAllClients();
        desktop.stopWindowManager();
    }

    enum class Toggle {
        None,
        // Shift pressed once the drag has begun (openbox ignores a title-bar press made
        // with Shift already down), released after the button.
        Shift,
        // The same, but Shift is released again before the button.
        ShiftReleasedEarly,
        RightClick,
    };

    // Presses the title bar of window, drags it so the pointer ends at `to` (switching
    // zone mode on a third of the way) and releases.
    void drag(xcb_window_t window, QPoint to, Toggle toggle)
    {
        const std::optional<QRect> client = desktop.clientGeometry(window);
        ASSERT_TRUE(client);
        const QPoint grab(client->center().x(), client->top() - 10);
        xtest.moveTo(grab.x(), grab.y());
        pump(50);
        xtest.press(1);
        pump(50);
        constexpr int steps = 24;
        for (int i = 1; i <= steps; ++i) {
            const QPoint at = grab + (to - grab) * i / steps;
            xtest.moveTo(at.x(), at.y());
            pump(15);
            if (toggle != Toggle::None && i == steps / 3) {
                ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return engine->dragMonitor.isMovingWindow(); }))
                    << "the drag was not recognised";
                if (toggle == Toggle::RightClick) {
                    xtest.click(3);
                } else {
                    ASSERT_TRUE(xtest.keyDown(Keysym::ShiftL));
                }
                ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return engine->gestures.inZoneMode(); }))
                    << "zone mode did not come on";
                EXPECT_TRUE(engine->zoneManager.hasOverlays());
            }
            if (toggle == Toggle::ShiftReleasedEarly && i == steps - 2) {
                xtest.keyUp(Keysym::ShiftL);
                pump(50);
            }
        }
        xtest.release(1);
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !engine->dragMonitor.trackedWindow(); }));
        if (toggle == Toggle::Shift)
            xtest.keyUp(Keysym::ShiftL);
        pump(50);
        EXPECT_FALSE(engine->gestures.inZoneMode());
        EXPECT_FALSE(engine->zoneManager.hasOverlays());
    }

    // Ctrl+Alt+Super (+Shift) + key, the Linux defaults.
    void shortcut(uint32_t key, bool span = false)
    {
        ASSERT_TRUE(xtest.keyDown(Keysym::ControlL));
        ASSERT_TRUE(xtest.keyDown(Keysym::AltL));
        ASSERT_TRUE(xtest.keyDown(Keysym::SuperL));
        if (span) {
            ASSERT_TRUE(xtest.keyDown(Keysym::ShiftL));
        }
        ASSERT_TRUE(xtest.tap(key));
        if (span)
            xtest.keyUp(Keysym::ShiftL);
        xtest.keyUp(Keysym::SuperL);
        xtest.keyUp(Keysym::AltL);
        xtest.keyUp(Keysym::ControlL);
        pump(100);
    }

    void activate(xcb_window_t window)
    {
        const WindowPtr record = engine->record(window);
        ASSERT_TRUE(record);
        engine->windows.focus(*record);
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return activeWindow() == window; }));
    }

    xcb_window_t activeWindow()
    {
        const QList<quint32> active = desktop.property32(desktop.root(), "_NET_ACTIVE_WINDOW");
        return active.isEmpty() ? xcb_window_t(XCB_WINDOW_NONE) : active.first();
    }

    // A terminal fills a zone up to less than one character cell (6 x 13) from its top-left.
    bool fills(xcb_window_t window, const QRect& zone)
    {
        const std::optional<QRect> frame = visibleFrame(desktop, window);
        return frame && frame->topLeft() == zone.topLeft() && frame->width() <= zone.width()
            && frame->width() > zone.width() - 6 && frame->height() <= zone.height()
            && frame->height() > zone.height() - 13;
    }

    std::string describe(xcb_window_t window)
    {
        return ::testing::PrintToString(visibleFrame(desktop, window).value_or(QRect()));
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    XTestInput xtest;
    std::unique_ptr<Engine> engine;
};

TEST_F(EngineX11Test, ShiftDragSnapsExactlyIntoTheZoneUnderThePointerAndDraggingOutRestoresTheSize)
{
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("snap me"), QRect(100, 150, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain).has_value(); }));
    const QSize before = visibleFrame(desktop, plain)->size();

    drag(plain, QPoint(600, 500), Toggle::Shift);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain) == kZone2; }))
        << "got " << describe(plain);
    const WindowPtr record = engine->record(plain);
    ASSERT_TRUE(record);
    EXPECT_EQ(engine->zoneManager.zoneId(*record), std::optional<QString>(QStringLiteral("2")));
    EXPECT_TRUE(engine->overlays.log.contains(QStringLiteral("create LEFT")));
    EXPECT_TRUE(engine->overlays.log.contains(QStringLiteral("destroy RIGHT")));

    // Out again without zone mode: the size from before the snap, where it was dropped.
    drag(plain, QPoint(1000, 400), Toggle::None);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        const auto frame = visibleFrame(desktop, plain);
        return frame && frame->size() == before && frame->top() > 300;
    })) << "got "
        << describe(plain);
    EXPECT_FALSE(engine->zoneManager.isWindowSnapped(*record));
}

TEST_F(EngineX11Test, HoldModeSnapsOnlyWhileShiftIsHeldAndARightClickTogglesToo)
{
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("modes"), QRect(100, 150, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain).has_value(); }));
    engine->settings.setValue(Keys::holdShiftToSnap, true);

    drag(plain, QPoint(1000, 500), Toggle::Shift);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain) == kZone3; }))
        << "got " << describe(plain);

    // Released before the button: the gesture is cancelled, the window stays where it was
    // dropped and is no longer snapped.
    drag(plain, QPoint(300, 500), Toggle::ShiftReleasedEarly);
    pump(200);
    EXPECT_NE(visibleFrame(desktop, plain), kZone1);
    const WindowPtr record = engine->record(plain);
    ASSERT_TRUE(record);
    EXPECT_FALSE(engine->zoneManager.isWindowSnapped(*record));

    drag(plain, QPoint(1500, 500), Toggle::RightClick);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain) == QRect(1280, 0, 400, 1080); }))
        << "got " << describe(plain);
}

TEST_F(EngineX11Test, AnXtermIsSnappedMovedSpannedCycledAndUnsnapped)
{
    const xcb_window_t xterm = desktop.startXterm(QStringLiteral("engine xterm"));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("partner"), QRect(1500, 200, 300, 300));
    ASSERT_NE(xterm, XCB_WINDOW_NONE);
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, xterm).has_value(); }));
    const QSize before = visibleFrame(desktop, xterm)->size();

    drag(xterm, QPoint(200, 600), Toggle::Shift);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return fills(xterm, kZone1); })) << "got " << describe(xterm);

    // The six shortcuts through the real key grabs, on the focused window.
    activate(xterm);
    const std::pair<std::pair<uint32_t, bool>, QRect> steps[] = {
        {{Keysym::Right, false}, kZone2}, {{Keysym::Right, true}, kZone2.united(kZone3)}, {{Keysym::Left, false}, kZone1},
        {{Keysym::Left, false}, kZone3}, // wraps around
        {{Keysym::Left, true}, kZone2.united(kZone3)},
        {{Keysym::Right, false}, kZone3}, // from zone 2, the first holding the probe point
    };
    for (const auto& [key, zone] : steps) {
        shortcut(key.first, key.second);
        EXPECT_TRUE(VirtualDesktop::waitUntil([&, zone = zone] { return fills(xterm, zone); }))
            << "wanted " << ::testing::PrintToString(zone) << ", got " << describe(xterm);
    }

    const WindowPtr partner = engine->record(plain);
    ASSERT_TRUE(partner);
    engine->zoneManager.snap(partner, {engine->layouts.activeFor(engine->screens.screens().at(0))->zones().at(2)});
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return visibleFrame(desktop, plain) == kZone3; }));
    activate(xterm);
    shortcut(Keysym::Up);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return activeWindow() == plain; }));
    shortcut(Keysym::Up);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return activeWindow() == xterm; }));
    EXPECT_TRUE(fills(xterm, kZone3)) << "cycling only restacks";
    EXPECT_EQ(visibleFrame(desktop, plain), kZone3);

    // Dragged out: the size from before the first snap, whatever zones it went through.
    drag(xterm, QPoint(700, 300), Toggle::None);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        return visibleFrame(desktop, xterm).value_or(QRect()).size() == before;
    })) << "got "
        << describe(xterm);
}

} // namespace
