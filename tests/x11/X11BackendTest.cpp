// The X11 backend against real window managers, a real panel and real clients on a
// virtual desktop (tools/desktop), driven with XTest.
#include "TestSupport.h"
#include "SplitTrees.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "core/FileSettingsBackend.h"
#include "core/MemorySettingsBackend.h"
#include "core/ObserverList.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/ScreenManager.h"
#include "managers/SnapDiagnosis.h"
#include "managers/WindowManager.h"
#include "models/Layout.h"
#include "models/LayoutPresets.h"
#include "models/SplitNode.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DesktopEffects.h"
#include "platform/x11/X11DisplayServer.h"
#include "platform/x11/X11GlobalInput.h"
#include "platform/x11/X11HotkeyBackend.h"
#include "platform/x11/X11WindowControl.h"
#include "views/ZoneOverlayEngine.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <QEventLoop>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xcb_keysyms.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

const char* wmName(WindowManagerKind kind)
{
    return kind == WindowManagerKind::Openbox ? "openbox" : kind == WindowManagerKind::Xfwm4 ? "xfwm4" : "metacity";
}

constexpr uint16_t kCtrlAltSuper = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;

class X11Test : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(xtest.isValid()) << "the X server has no XTest extension (Debian package xvfb)"; }
    void TearDown() override
    {
        xtest.release(1);
        setLock(Keysym::NumLock, XCB_MOD_MASK_2, false);
        setLock(Keysym::CapsLock, XCB_MOD_MASK_LOCK, false);
        desktop.stopAllClients();
        desktop.stopPanel();
        desktop.stopCompositor();
        desktop.stopWindowManager();
        desktop.resetMonitors();
    }

    WindowPtr recordFor(xcb_window_t window) { return windows.windowFrom(X11WindowControl::handleFor(window)); }
    bool hasState(xcb_window_t window, const char* state)
    {
        return desktop.property32(window, "_NET_WM_STATE").contains(desktop.atom(state));
    }
    template<typename Reply, typename Cookie>
    std::unique_ptr<Reply, decltype(&std::free)> reply(Reply* (*get)(xcb_connection_t*, Cookie, xcb_generic_error_t**), Cookie cookie)
    {
        return {get(desktop.connection(), cookie, nullptr), &std::free};
    }
    uint16_t serverMask()
    {
        const auto r = reply(xcb_query_pointer_reply, xcb_query_pointer(desktop.connection(), desktop.root()));
        return r ? r->mask : 0;
    }
    void setLock(uint32_t keysym, uint16_t bit, bool on)
    {
        if (((serverMask() & bit) != 0) != on)
            xtest.tap(keysym);
        VirtualDesktop::waitUntil([&] { return ((serverMask() & bit) != 0) == on; });
    }
    // Holds the modifiers, taps the key and lets go.
    void press(std::initializer_list<uint32_t> modifiers, uint32_t key)
    {
        for (uint32_t m : modifiers)
            xtest.keyDown(m);
        xtest.tap(key);
        for (auto it = std::rbegin(modifiers); it != std::rend(modifiers); ++it)
            xtest.keyUp(*it);
    }
    // A key grab by another program (the harness's connection): the X error code, 0 on success.
    int grabElsewhere(uint32_t keysym, uint16_t modifiers, bool grab = true)
    {
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(desktop.connection());
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, keysym);
        const xcb_keycode_t code = codes ? codes[0] : 0;
        std::free(codes);
        xcb_key_symbols_free(symbols);
        if (!grab) {
            xcb_ungrab_key(desktop.connection(), code, desktop.root(), modifiers);
            xcb_flush(desktop.connection());
            return 0;
        }
        xcb_generic_error_t* error = xcb_request_check(desktop.connection(),
            xcb_grab_key_checked(desktop.connection(), 1, desktop.root(), modifiers, code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const int result = error ? error->error_code : 0;
        std::free(error);
        return result;
    }
    xcb_window_t inputFocus()
    {
        const auto r = reply(xcb_get_input_focus_reply, xcb_get_input_focus(desktop.connection()));
        return r ? r->focus : xcb_window_t(XCB_WINDOW_NONE);
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    XTestInput xtest;
    X11Connection connection;
    X11WindowControl control {connection};
    WindowManager windows {control};
    Settings settings {std::make_unique<MemorySettingsBackend>()};
};


class EveryWindowManager : public X11Test, public ::testing::WithParamInterface<WindowManagerKind>
{ };

TEST_P(EveryWindowManager, FramesLandExactlyEvenFromMaximizedAndTheDefaultShortcutsAreFree)
{
    ASSERT_TRUE(desktop.startWindowManager(GetParam()));
    const xcb_window_t plain = desktop.startPlainWindow("exact", QRect(300, 200, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.frameExtents(plain).has_value(); }));
    const WindowPtr window = recordFor(plain);
    ASSERT_TRUE(window);
    // A maximized window is released and placed exactly.
    xcb_client_message_event_t message {XCB_CLIENT_MESSAGE, 32, 0, plain, desktop.atom("_NET_WM_STATE"), {}};
    message.data.data32[0] = 1; // add, as a pager asks
    message.data.data32[1] = desktop.atom("_NET_WM_STATE_MAXIMIZED_VERT");
    message.data.data32[2] = desktop.atom("_NET_WM_STATE_MAXIMIZED_HORZ");
    xcb_send_event(desktop.connection(), 0, desktop.root(),
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, reinterpret_cast<const char*>(&message));
    xcb_flush(desktop.connection());
    // Placed only once the window manager has finished maximizing, or it would undo the move.
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        return hasState(plain, "_NET_WM_STATE_MAXIMIZED_VERT") && hasState(plain, "_NET_WM_STATE_MAXIMIZED_HORZ")
            && desktop.visibleFrame(plain).value_or(QRect()).width() > 400;
    }));
    windows.setFrame(*window, QRect(100, 120, 600, 400));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.visibleFrame(plain) == QRect(100, 120, 600, 400); }))
        << ::testing::PrintToString(QRectF(desktop.visibleFrame(plain).value_or(QRect())));
    EXPECT_EQ(windows.getFrame(*window), QRectF(100, 120, 600, 400)) << "read as the harness measures it";
    EXPECT_FALSE(hasState(plain, "_NET_WM_STATE_MAXIMIZED_VERT"));

    // The six defaults are free under the stock configuration.
    X11HotkeyBackend backend(connection);
    GlobalShortcuts shortcuts(backend, settings);
    int unavailable = 0;
    QObject::connect(&shortcuts, &GlobalShortcuts::shortcutUnavailable, [&] { ++unavailable; });
    shortcuts.registerDefaultShortcuts();
    EXPECT_EQ(unavailable, 0);
}

INSTANTIATE_TEST_SUITE_P(X11, EveryWindowManager,
    ::testing::Values(WindowManagerKind::Openbox, WindowManagerKind::Xfwm4, WindowManagerKind::Metacity),
    [](const auto& param) { return std::string(wmName(param.param)); });


TEST_F(X11Test, LookupsFocusAndWindowTypes)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t first = desktop.startPlainWindow("first", QRect(200, 200, 600, 400));
    const xcb_window_t second = desktop.startXterm("second");
    ASSERT_TRUE(first != XCB_WINDOW_NONE && second != XCB_WINDOW_NONE);
    windows.setFrame(*recordFor(second), QRect(1500, 200, 500, 400));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.visibleFrame(second).value_or(QRect()).topLeft() == QPoint(1500, 200); }));

    // The window at the cursor is looked up through an unmanaged popup over it.
    const QRect frame = *desktop.visibleFrame(first);
    xcb_connection_t* c = desktop.connection();
    const xcb_window_t popup = xcb_generate_id(c);
    const uint32_t overrideRedirect = 1;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, popup, desktop.root(), int16_t(frame.center().x() - 50),
        int16_t(frame.center().y() - 50), 100, 100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
    xcb_map_window(c, popup);
    xcb_flush(c);
    xtest.moveTo(frame.center().x(), frame.center().y());
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.deepestWindowUnderPointer() == popup; }));
    ASSERT_TRUE(windows.getWindowAtCursor());
    EXPECT_EQ(windows.getWindowAtCursor()->id(), first);
    xtest.moveTo(2500, 500);
    EXPECT_FALSE(windows.getWindowAtCursor()) << "the bare desktop";

    for (const xcb_window_t id : {first, second}) {
        EXPECT_TRUE(windows.focus(*recordFor(id)));
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
            const QList<quint32> stacking = desktop.property32(desktop.root(), "_NET_CLIENT_LIST_STACKING");
            return desktop.property32(desktop.root(), "_NET_ACTIVE_WINDOW") == QList<quint32> {id} && !stacking.isEmpty()
                && stacking.last() == id;
        })) << id;
        EXPECT_EQ(windows.getFocusedWindow()->id(), id);
    }

    // Only managed normal windows of other programs are snapped; the first type known wins.
    const WindowControl::Handle handle = X11WindowControl::handleFor(first);
    const auto setTypes = [&](QList<const char*> names) {
        QList<xcb_atom_t> atoms;
        for (const char* name : names)
            atoms << desktop.atom(name);
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, first, desktop.atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32,
            uint32_t(atoms.size()), atoms.constData());
        desktop.property32(first, "_NET_WM_WINDOW_TYPE"); // a round trip
    };
    for (const char* type : {"_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_MENU",
             "_NET_WM_WINDOW_TYPE_TOOLTIP", "_NET_WM_WINDOW_TYPE_NOTIFICATION", "_NET_WM_WINDOW_TYPE_SPLASH",
             "_NET_WM_WINDOW_TYPE_DIALOG"}) {
        setTypes({type});
        EXPECT_FALSE(control.isNormal(*handle)) << type;
    }
    setTypes({"_KDE_NET_WM_WINDOW_TYPE_OVERRIDE", "_NET_WM_WINDOW_TYPE_NORMAL"});
    EXPECT_TRUE(control.isNormal(*handle));
    // A window of another's (a dialog without a type, a palette) is never snapped either.
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, first, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, 32, 1, &second);
    desktop.property32(first, "WM_TRANSIENT_FOR"); // a round trip
    EXPECT_FALSE(control.isNormal(*handle)) << "transient";
    xcb_delete_property(c, first, XCB_ATOM_WM_TRANSIENT_FOR);
    desktop.property32(first, "WM_TRANSIENT_FOR");
    EXPECT_TRUE(control.isNormal(*handle));
    ASSERT_TRUE(desktop.startPanel(0));
    EXPECT_FALSE(control.isNormal(*X11WindowControl::handleFor(desktop.panelWindow()))) << "the panel";

    // What "Why won't this window snap?" says: the normal window snaps, the panel never does, the
    // terminal fills a zone only to within its character cell after a move it honoured.
    struct Explained
    {
        xcb_window_t window;
        bool snaps;
        const char* finding;
    };
    for (const Explained& row : {Explained {first, true, "Nothing keeps it from snapping"},
             Explained {desktop.panelWindow(), false, "it says it is a dock window"},
             Explained {second, true, "steps of 6 × 13 px"}}) {
        const std::optional<WindowFacts> facts = control.facts(*X11WindowControl::handleFor(row.window));
        ASSERT_TRUE(facts && facts->frame) << row.window;
        const SnapDiagnosis::Report report = SnapDiagnosis::explain(*facts, nullptr);
        EXPECT_EQ(report.snaps, row.snaps) << report.verdict.toStdString();
        EXPECT_TRUE(report.findings.join(' ').contains(QString::fromUtf8(row.finding)))
            << report.findings.join('\n').toStdString();
    }
    // The placement is judged once the window manager has had its say (a timer).
    std::optional<WindowFacts> terminal;
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        terminal = control.facts(*X11WindowControl::handleFor(second));
        return terminal && terminal->lastPlacement;
    }));
    ASSERT_TRUE(terminal);
    EXPECT_EQ(terminal->className, "XTerm");
    EXPECT_EQ(terminal->title, "second");
    ASSERT_TRUE(terminal->lastPlacement) << "the move at the start of this test";
    EXPECT_TRUE(terminal->lastPlacement->honoured);
    EXPECT_EQ(terminal->lastPlacement->requested, QRectF(1500, 200, 500, 400));
    QWidget own;
    own.show();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.clientList().contains(xcb_window_t(own.winId())); }));
    EXPECT_FALSE(control.isNormal(*X11WindowControl::handleFor(xcb_window_t(own.winId())))) << "Parqueta's own window";

    // A window that is gone gives nothing and breaks nothing.
    const WindowPtr gone = recordFor(first);
    desktop.stopClient(first);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.clientGeometry(first); }));
    EXPECT_FALSE(windows.getFrame(*gone) || windows.getSize(*gone) || windows.isNormal(*gone) || windows.focus(*gone));
    windows.setFrame(*gone, QRect(0, 0, 300, 300));
    EXPECT_FALSE(recordFor(first));
    xcb_destroy_window(c, popup);
}

TEST_F(X11Test, ShortcutsFireWithNumLockAndCapsLockAndNothingHalfGrabbedStays)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    // Another program holds only the NumLock variant of one default: the plain variants
    // would succeed, and must be given back.
    ASSERT_EQ(grabElsewhere(Keysym::Right, kCtrlAltSuper | XCB_MOD_MASK_2), 0);
    X11HotkeyBackend backend(connection);
    GlobalShortcuts shortcuts(backend, settings);
    QStringList unavailable;
    QObject::connect(&shortcuts, &GlobalShortcuts::shortcutUnavailable,
        [&](const QString& name, KeyCombination, const QString& reason) { unavailable << name + ": " + reason; });
    shortcuts.registerDefaultShortcuts();
    ASSERT_EQ(unavailable.size(), 1);
    EXPECT_TRUE(unavailable[0].startsWith(ShortcutNames::cycleWindowRight + ": ")) << unavailable[0].toStdString();
    EXPECT_TRUE(unavailable[0].contains("held by another program")) << unavailable[0].toStdString();
    grabElsewhere(Keysym::Right, kCtrlAltSuper | XCB_MOD_MASK_2, false);
    EXPECT_EQ(grabElsewhere(Keysym::Right, kCtrlAltSuper), 0) << "our plain-variant grab stayed behind";
    grabElsewhere(Keysym::Right, kCtrlAltSuper, false);
    EXPECT_EQ(grabElsewhere(Keysym::Left, kCtrlAltSuper), 10) << "what we hold, others cannot take (BadAccess)";

    QStringList fired;
    shortcuts.onKeyDown(ShortcutNames::cycleWindowLeft, [&] { fired << "left"; });
    shortcuts.onKeyDown(ShortcutNames::spanWindowRight, [&] { fired << "span right"; });
    // Presses arrive in order: a press that must not fire is followed by one that must.
    const auto heard = [&](qsizetype count) { return VirtualDesktop::waitUntil([&] { return fired.size() >= count; }); };
    press({Keysym::ControlL, Keysym::AltL}, Keysym::Left); // without Super: someone else's
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    ASSERT_TRUE(heard(1));
    setLock(Keysym::NumLock, XCB_MOD_MASK_2, true);
    ASSERT_TRUE(serverMask() & XCB_MOD_MASK_2) << "NumLock did not lock";
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL, Keysym::ShiftL}, Keysym::Right);
    EXPECT_TRUE(heard(3)) << "with NumLock on";
    setLock(Keysym::NumLock, XCB_MOD_MASK_2, false);
    setLock(Keysym::CapsLock, XCB_MOD_MASK_LOCK, true);
    ASSERT_TRUE(serverMask() & XCB_MOD_MASK_LOCK) << "CapsLock did not lock";
    press({Keysym::ControlL, Keysym::AltL}, Keysym::Left);
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    EXPECT_TRUE(heard(4)) << "with CapsLock on";
    setLock(Keysym::NumLock, XCB_MOD_MASK_2, true);
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    EXPECT_TRUE(heard(5)) << "with both on";
    EXPECT_EQ(fired, (QStringList {"left", "left", "span right", "left", "left"}));
}


TEST_F(X11Test, ScreensFollowPanelsAndMonitorsAndKeepTheirIdsAcrossARestart)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const QString file = desktop.scratchDir() + "/screens.json";
    QFile::remove(file);
    struct Session
    {
        explicit Session(const QString& path) : displays(connection), settings(std::make_unique<FileSettingsBackend>(path)) { }
        X11Connection connection;
        X11DisplayServer displays;
        Settings settings;
        ScreenManager screens {displays, settings};
    };
    QList<Screen> first;
    {
        Session session(file);
        first = session.screens.screens();
        ASSERT_EQ(first.size(), 2);
        EXPECT_EQ(first[0].name(), "LEFT") << "primary first";
        EXPECT_TRUE(first[1].id().endsWith("-1280x1080")) << first[1].id().toStdString();
        QList<quint32> flags;
        QObject::connect(&session.screens, &ScreenManager::displayReconfiguration, [&](quint32 f) { flags << f; });

        // Panels usually start after Parqueta: visible frames follow them.
        ASSERT_TRUE(desktop.startPanel(1));
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
            return session.screens.visibleFrameOf(first[1]) == QRectF(1280, 0, 1280, 1080 - VirtualDesktop::kPanelHeight);
        })) << "RIGHT's visible frame ignored the new panel";
        EXPECT_EQ(session.screens.visibleFrameOf(first[0]), QRectF(0, 0, 1280, 1080));
        EXPECT_TRUE(flags.contains(quint32(X11DisplayServer::VisibleFramesChanged)));

        flags.clear();
        ASSERT_TRUE(desktop.deleteMonitor("RIGHT"));
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return session.screens.screens().size() == 1; }));
        EXPECT_TRUE(!flags.isEmpty() && (flags.first() & X11DisplayServer::MonitorsChanged));
        EXPECT_EQ(session.screens.screens()[0], first[0]) << "LEFT keeps its identity";
        ASSERT_TRUE(desktop.resetMonitors());
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return session.screens.screens() == first; }))
            << "RIGHT comes back as the same screen";
        ASSERT_TRUE(session.settings.sync());
    }
    Session restarted(file);
    EXPECT_EQ(restarted.screens.screens(), first);
    EXPECT_EQ(restarted.settings.blobs(Keys::screens).size(), 2);

}


TEST_F(X11Test, OverlayIsTranslucentWithACompositorAndElseShapedAroundAWindowThatStaysUsable)
{
    X11DesktopEffects effects(connection);
    QList<bool> changes;
    QObject::connect(&effects, &DesktopEffects::overlaysCanBeTranslucentChanged, [&](bool on) { changes << on; });
    ASSERT_TRUE(desktop.startCompositor(CompositorKind::Xcompmgr));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return effects.overlaysCanBeTranslucent(); }));
    desktop.stopCompositor();
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !effects.overlaysCanBeTranslucent(); }));
    EXPECT_EQ(changes, QList<bool>({true, false}));

    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t beneath = desktop.startPlainWindow("beneath", QRect(100, 100, 400, 300));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return inputFocus() == beneath; }));
    settings.setValue(Keys::useSystemAccentColor, false);
    settings.setValue(Keys::customAccentColor, QColor(200, 30, 30));
    settings.setValue(Keys::zoneHighlightColor, QColor(20, 160, 40));
    settings.setValue(Keys::zoneBackgroundLightColor, QColor(240, 240, 250, 128));
    settings.setValue(Keys::zoneBackgroundDarkColor, QColor(240, 240, 250, 128));
    struct LeftOnly final : ScreenGeometry
    {
        std::optional<QRectF> visibleFrameOf(const Screen&) const override { return QRectF(0, 0, 1280, 1080); }
    } geometry;
    struct Engine final : ZoneOverlayEngine
    {
        void addGestureObserver(ZoneGestureObserver* observer) override { observers.add(observer); }
        void removeGestureObserver(ZoneGestureObserver* observer) override { observers.remove(observer); }
        bool isCursorInZone(const Zone& zone) const override { return zone.id() == hit; }
        void snap(const WindowPtr&, const std::vector<std::shared_ptr<Zone>>&) override { }
        QString hit;
        ObserverList<ZoneGestureObserver> observers;
    } engine;
    const Screen left("5C3B2A10-0000-4000-8000-000000000001-1280x1080", "LEFT");
    ZonesWindow overlay(std::make_unique<ZonesViewModel>(left, defaultLayout(DefaultLayoutType::vertical, left, geometry),
                            engine, settings, geometry),
        QRect(0, 0, 1280, 1080), settings, effects);
    overlay.show();
    const auto pixel = [&](QPoint at) {
        const auto image = reply(xcb_get_image_reply,
            xcb_get_image(desktop.connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, desktop.root(), int16_t(at.x()), int16_t(at.y()), 1, 1, ~0u));
        const uint8_t* bgrx = image && xcb_get_image_data_length(image.get()) >= 4 ? xcb_get_image_data(image.get()) : nullptr;
        return bgrx ? QColor(bgrx[2], bgrx[1], bgrx[0]) : QColor();
    };
    const auto near = [](const QColor& a, const QColor& b) {
        return a.isValid() && std::abs(a.red() - b.red()) <= 4 && std::abs(a.green() - b.green()) <= 4
            && std::abs(a.blue() - b.blue()) <= 4;
    };
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return near(pixel({0, 700}), QColor(200, 30, 30)); })) << "no border";
    const QPoint inZoneOne(300, 250); // inside the window beneath, clear of the number
    EXPECT_TRUE(near(pixel(inZoneOne), Qt::white)) << "the window beneath shows, not black";
    EXPECT_EQ(inputFocus(), beneath) << "showing the overlay moved the keyboard focus";
    const auto attributes = reply(xcb_get_window_attributes_reply, xcb_get_window_attributes(desktop.connection(), xcb_window_t(overlay.winId())));
    ASSERT_TRUE(attributes);
    EXPECT_TRUE(attributes->override_redirect) << "a managed window gets a frame that swallows clicks";
    xtest.moveTo(inZoneOne.x(), inZoneOne.y());
    EXPECT_EQ(desktop.deepestWindowUnderPointer(), beneath) << "the pointer reaches the window beneath";

    // A highlighted zone is painted solid, half over the solid backdrop, still click-through.
    engine.hit = "1";
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidMove(ZoneGestureEvent {}); });
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return near(pixel(inZoneOne), QColor(130, 200, 145)); }))
        << pixel(inZoneOne).name().toStdString();
    EXPECT_EQ(desktop.deepestWindowUnderPointer(), beneath);

    // A change made from a timer, with no X event coming in to wake Qt's connection (a
    // step of the fade-in), reaches the server while the event loop sleeps.
    QEventLoop loop;
    QTimer::singleShot(0, &overlay, [&] { overlay.setWindowOpacity(0.5); });
    QTimer::singleShot(150, &loop, &QEventLoop::quit);
    loop.exec();
    // Whatever came last, the fade's end or this step, is what the server holds.
    const auto sent = quint32(qRound64(overlay.windowHandle()->opacity() * 0xffffffffu));
    EXPECT_EQ(desktop.property32(xcb_window_t(overlay.winId()), "_NET_WM_WINDOW_OPACITY"), QList<quint32> {sent});

    // Without one, a window shaped to thousands of rectangles (64 zones, each number traced
    // row by row) leaves by way of its whole frame: parked, it covers nothing, and what
    // lay beneath is as it was, the window beneath repainted where outlines and numbers lay.
    const QRect under(110, 110, 380, 280);
    const auto screen = [&] {
        const auto image = reply(xcb_get_image_reply, xcb_get_image(desktop.connection(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                                          desktop.root(), int16_t(under.x()), int16_t(under.y()),
                                                          uint16_t(under.width()), uint16_t(under.height()), ~0u));
        return image ? QByteArray(reinterpret_cast<const char*>(xcb_get_image_data(image.get())),
                           xcb_get_image_data_length(image.get()))
                     : QByteArray();
    };
    overlay.hide();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !near(pixel(inZoneOne), QColor(130, 200, 145)); }));
    const QByteArray bare = screen();
    auto tree = SplitNode::create(0, 0, 1280, 1080);
    TestTrees::splitAlternating(tree, 6);
    ZonesWindow many(std::make_unique<ZonesViewModel>(left, Layout::create(tree, QUuid::createUuid(), left), engine,
                         settings, geometry),
        QRect(0, 0, 1280, 1080), settings, effects);
    many.show();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return screen() != bare; })) << "the overlay never showed";
    ASSERT_GT(many.shape().rectCount(), ZonesWindow::kMostRectanglesToUncover);
    many.disappear();
    EXPECT_TRUE(many.isParked());
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return screen() == bare; })) << "the parked overlay left pixels";
    const auto native = reply(xcb_shape_get_rectangles_reply,
        xcb_shape_get_rectangles(desktop.connection(), xcb_window_t(many.winId()), XCB_SHAPE_SK_BOUNDING));
    ASSERT_TRUE(native);
    EXPECT_EQ(native->rectangles_len, 1);
    EXPECT_TRUE(xcb_shape_get_rectangles_rectangles(native.get())[0].x < 0) << "parked where it still covers";

    // With a compositor a window waits parked by its opacity between gestures. What the
    // server holds of it stays blank however it is exposed, in case a compositor ignores
    // the opacity; the zones Qt kept aside come back with the next gesture, highlight
    // moved, without being painted again.
    ASSERT_TRUE(desktop.startCompositor(CompositorKind::Xcompmgr));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return effects.overlaysCanBeTranslucent(); }));
    ZonesWindow parked(std::make_unique<ZonesViewModel>(left, defaultLayout(DefaultLayoutType::rightT, left, geometry),
                           engine, settings, geometry),
        QRect(0, 0, 1280, 1080), settings, effects);
    int returns = 0;
    QObject::connect(&parked, &ZonesWindow::cameBackWithKeptPixels, [&] { ++returns; });
    const auto held = [&](QPoint at) {
        const auto image = reply(xcb_get_image_reply, xcb_get_image(desktop.connection(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                                          xcb_window_t(parked.winId()), int16_t(at.x()), int16_t(at.y()), 1, 1, ~0u));
        const uint8_t* bgra = image && xcb_get_image_data_length(image.get()) >= 4 ? xcb_get_image_data(image.get()) : nullptr;
        return bgra ? qRgba(bgra[2], bgra[1], bgra[0], bgra[3]) : QRgb(1);
    };
    const auto idle = [] {
        QEventLoop wait;
        QTimer::singleShot(150, &wait, &QEventLoop::quit);
        wait.exec();
    };
    // A column and two rows; the lower row is never highlighted, so only what the window
    // kept can bring it back.
    const QPoint inZoneTwo(1000, 150);
    const QPoint inZoneThree(1000, 1000);
    engine.hit = "2";
    parked.appear();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return qAlpha(held(inZoneOne)) != 0; }));
    idle();
    const QRgb unlit = held(inZoneOne);
    const QRgb lit = held(inZoneTwo);
    EXPECT_NE(lit, unlit);
    parked.disappear();
    idle();
    xcb_clear_area(desktop.connection(), 1, xcb_window_t(parked.winId()), 0, 0, 0, 0);
    xcb_flush(desktop.connection());
    idle();
    EXPECT_EQ(qAlpha(held(inZoneOne)) + qAlpha(held(inZoneThree)) + qAlpha(held({0, 700})), 0)
        << "a parked window exposed sent zones to the screen";
    engine.hit = "1";
    parked.appear();
    EXPECT_EQ(returns, 1) << "painted again instead of sending what it kept";
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return held(inZoneOne) == lit && held(inZoneTwo) == unlit && held(inZoneThree) == unlit; }));
}

// Motion that piles up while the program is busy, or the server slow to answer, is one
// drag step at the pointer's latest position, and never merges across a button change.
TEST_F(X11Test, PiledUpDragMotionIsOneStepAtTheLatestPointerInOrderWithTheButtons)
{
    X11GlobalInput input(connection);
    QStringList seen;
    QObject::connect(&input, &GlobalInput::leftButtonDown, [&] { seen << "down"; });
    QObject::connect(&input, &GlobalInput::leftButtonUp, [&] { seen << "up"; });
    QObject::connect(&input, &GlobalInput::pointerMotion, [&] {
        const QPointF at = input.pointerLocation();
        seen << QStringLiteral("motion %1,%2").arg(at.x()).arg(at.y());
    });
    ASSERT_TRUE(input.start());
    xtest.moveTo(200, 200);
    // Nothing is dispatched until the server has sent every event of a phase.
    const auto deliver = [&] {
        connection.sync();
        connection.processEvents();
    };
    deliver();
    seen.clear();

    xtest.press(1);
    for (int i = 0; i < 40; ++i)
        xtest.moveBy(2, 1);
    deliver();
    EXPECT_EQ(seen, QStringList({"down", "motion 280,240"}));

    seen.clear();
    for (int i = 0; i < 3; ++i)
        xtest.moveBy(1, 0);
    xtest.release(1);
    xtest.moveBy(5, 5); // no button held: no drag step
    deliver();
    // The pointer is read when the step is handled, after the last move.
    EXPECT_EQ(seen, QStringList({"motion 288,245", "up"}));
    input.stop();
}

} // namespace
