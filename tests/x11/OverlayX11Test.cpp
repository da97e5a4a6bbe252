// Zone overlays on a real X server: out of the way of the window beneath them, never
// focused, translucent with a compositor and shaped without one.
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "core/MemorySettingsBackend.h"
#include "core/ObserverList.h"
#include "core/Settings.h"
#include "models/LayoutPresets.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DesktopEffects.h"
#include "views/ZoneOverlayEngine.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

const Screen kLeft(QStringLiteral("5C3B2A10-0000-4000-8000-000000000001-1280x1080"), QStringLiteral("LEFT"));
const QColor kAccent(200, 30, 30);
const QColor kHighlight(20, 160, 40);
const QColor kBackdrop(240, 240, 250, 128);
constexpr QPoint kInZoneOne(300, 250); // inside the plain window, clear of the number "1"

class LeftOnly final : public ScreenGeometry
{
public:
    std::optional<QRectF> visibleFrameOf(const Screen&) const override { return QRectF(0, 0, 1280, 1080); }
};

class ScriptedEngine final : public ZoneOverlayEngine
{
public:
    void addGestureObserver(ZoneGestureObserver* observer) override { observers.add(observer); }
    void removeGestureObserver(ZoneGestureObserver* observer) override { observers.remove(observer); }
    bool isCursorInZone(const Zone& zone) const override { return zone.id() == hit; }
    void snap(const WindowPtr&, const std::vector<std::shared_ptr<Zone>>&) override { }
    QString hit;
    ObserverList<ZoneGestureObserver> observers;
};

class OverlayX11Test : public ::testing::Test
{
protected:
    OverlayX11Test()
    {
        settings.setValue(Keys::useSystemAccentColor, false);
        settings.setValue(Keys::customAccentColor, kAccent);
        settings.setValue(Keys::zoneHighlightColor, kHighlight);
        settings.setValue(Keys::zoneBackgroundLightColor, kBackdrop);
        settings.setValue(Keys::zoneBackgroundDarkColor, kBackdrop);
    }
    void SetUp() override { desktop.stopCompositor(); }
    void TearDown() override
    {
        desktop.stopAllClients();
        desktop.stopCompositor();
        desktop.stopWindowManager();
    }

    // A plain white window under zone "1" of a two-zone overlay over the left monitor.
    std::unique_ptr<ZonesWindow> showOverWindow(const DesktopEffects& effects)
    {
        client = desktop.startPlainWindow(QStringLiteral("beneath"), QRect(100, 100, 400, 300));
        EXPECT_NE(client, XCB_WINDOW_NONE);
        VirtualDesktop::waitUntil([&] { return inputFocus() == client; }, 2000); // the new window takes focus
        focusBeforeOverlay = inputFocus();
        auto overlay = std::make_unique<ZonesWindow>(
            std::make_unique<ZonesViewModel>(
                kLeft, defaultLayout(DefaultLayoutType::vertical, kLeft, geometry), engine, settings, geometry),
            QRect(0, 0, 1280, 1080), settings, effects);
        overlay->show();
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
            return near(screenPixel({0, 700}), kAccent);
        })) << "the overlay's border never appeared";
        return overlay;
    }

    QColor screenPixel(QPoint at)
    {
        xcb_connection_t* c = desktop.connection();
        xcb_get_image_reply_t* reply = xcb_get_image_reply(c,
            xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, desktop.root(), int16_t(at.x()), int16_t(at.y()), 1, 1, ~0u),
            nullptr);
        QColor color;
        if (reply && xcb_get_image_data_length(reply) >= 4) {
            const uint8_t* bgrx = xcb_get_image_data(reply);
            color = QColor(bgrx[2], bgrx[1], bgrx[0]);
        }
        std::free(reply);
        return color;
    }

    static bool near(const QColor& a, const QColor& b, int tolerance = 4)
    {
        return a.isValid() && std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance
            && std::abs(a.blue() - b.blue()) <= tolerance;
    }


    xcb_window_t inputFocus()
    {
        xcb_get_input_focus_reply_t* reply
            = xcb_get_input_focus_reply(desktop.connection(), xcb_get_input_focus(desktop.connection()), nullptr);
        const xcb_window_t focus = reply ? reply->focus : xcb_window_t(XCB_WINDOW_NONE);
        std::free(reply);
        return focus;
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    X11Connection connection;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    LeftOnly geometry;
    ScriptedEngine engine;
    xcb_window_t client = XCB_WINDOW_NONE;
    xcb_window_t focusBeforeOverlay = XCB_WINDOW_NONE;
};

TEST_F(OverlayX11Test, CompositorIsNoticedWhenItStartsAndStops)
{
    X11DesktopEffects effects(connection);
    EXPECT_FALSE(effects.overlaysCanBeTranslucent());
    QList<bool> changes;
    QObject::connect(&effects, &DesktopEffects::overlaysCanBeTranslucentChanged, [&](bool on) { changes << on; });

    ASSERT_TRUE(desktop.startCompositor(CompositorKind::Xcompmgr));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return effects.overlaysCanBeTranslucent(); }));
    desktop.stopCompositor();
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !effects.overlaysCanBeTranslucent(); }));
    ASSERT_TRUE(desktop.startCompositor(CompositorKind::Picom));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return effects.overlaysCanBeTranslucent(); }));
    EXPECT_EQ(changes, QList<bool>({true, false, true}));
}

TEST_F(OverlayX11Test, WithoutCompositorTheWindowBeneathStaysVisibleClickableAndFocused)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    X11DesktopEffects effects(connection);
    ASSERT_FALSE(effects.overlaysCanBeTranslucent());
    const std::unique_ptr<ZonesWindow> overlay = showOverWindow(effects);

    xcb_get_window_attributes_reply_t* attributes = xcb_get_window_attributes_reply(
        desktop.connection(), xcb_get_window_attributes(desktop.connection(), xcb_window_t(overlay->winId())), nullptr);
    ASSERT_NE(attributes, nullptr);
    EXPECT_TRUE(attributes->override_redirect) << "a managed window gets a frame that swallows clicks";
    std::free(attributes);
    EXPECT_TRUE(near(screenPixel(kInZoneOne), Qt::white)) << "the window beneath shows, not black";
    EXPECT_EQ(inputFocus(), focusBeforeOverlay) << "showing the overlay moved the keyboard focus";

    XTestInput input;
    ASSERT_TRUE(input.isValid()) << "the X server lacks XTest (Debian package xvfb)";
    input.moveTo(kInZoneOne.x(), kInZoneOne.y());
    EXPECT_EQ(desktop.deepestWindowUnderPointer(), client) << "the pointer reaches the window beneath";

    // A highlighted zone is painted solid (highlight half over the solid backdrop) and
    // still lets the pointer through.
    engine.hit = QStringLiteral("1");
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidMove(ZoneGestureEvent {}); });
    const QColor lit((20 + 240) / 2, (160 + 240) / 2, (40 + 250) / 2);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return near(screenPixel(kInZoneOne), lit); }))
        << qPrintable(screenPixel(kInZoneOne).name());
    EXPECT_EQ(desktop.deepestWindowUnderPointer(), client);
}

} // namespace
