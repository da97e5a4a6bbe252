// The overlay window and the factory the engine makes it with. Whether the window
// system really leaves it unfocused and click-through is checked on X11 (the offscreen
// platform activates every window it shows).
#include "views/ZonesWindow.h"
#include "ViewsTestSupport.h"
#include "views/ZonesOverlayFactory.h"
#include "views/ZonesView.h"
#include "views/ZonesViewModel.h"

#include <QApplication>
#include <QPropertyAnimation>

namespace {

QList<ZonesWindow*> zonesWindows()
{
    QList<ZonesWindow*> found;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = qobject_cast<ZonesWindow*>(widget))
            found << window;
    }
    return found;
}

class ZonesWindowTest : public ViewsTest
{
protected:
    ZonesWindowTest() { factory.setEngine(&engine); }
    ~ZonesWindowTest() override { pump(0); }

    static constexpr int kKeepMs = 50;
    ZonesOverlayFactory factory {screens, settings, effects, kKeepMs};
};

TEST_F(ZonesWindowTest, OverlayIsClickThroughNeverFocusedAndFadesIn)
{
    ZonesWindow window(std::make_unique<ZonesViewModel>(screen, layout, engine, settings, screens),
        QRect(40, 0, 600, 400), settings, effects);
    const Qt::WindowFlags required = Qt::FramelessWindowHint | Qt::WindowTransparentForInput | Qt::WindowStaysOnTopHint
        | Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint | Qt::Tool;
    EXPECT_EQ(window.windowFlags() & required, required);
    EXPECT_TRUE(window.testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_TRUE(window.testAttribute(Qt::WA_ShowWithoutActivating));

    window.show();
    EXPECT_LT(window.windowOpacity(), 0.2);
    EXPECT_TRUE(engine.observers.contains(&window.viewModel())) << "follows the gesture while shown";
    auto* fade = window.findChild<QPropertyAnimation*>();
    ASSERT_NE(fade, nullptr);
    EXPECT_EQ(fade->state(), QAbstractAnimation::Running);
    EXPECT_EQ(fade->duration(), 300);
    pump(ZonesWindow::kFadeInMs + 100);
    EXPECT_DOUBLE_EQ(window.windowOpacity(), 1.0);
    window.hide();
    EXPECT_TRUE(engine.observers.empty());
}

TEST_F(ZonesWindowTest, WithoutCompositorTheWindowHasNoAlphaChannelAndStaysShaped)
{
    effects.setTranslucent(false);
    ZonesWindow window(std::make_unique<ZonesViewModel>(screen, layout, engine, settings, screens),
        QRect(40, 0, 600, 400), settings, effects);
    EXPECT_FALSE(window.testAttribute(Qt::WA_TranslucentBackground))
        << "the server would composite a 32-bit window itself on every repaint";
    EXPECT_TRUE(window.view().isOpaque());
    EXPECT_FALSE(window.mask().isEmpty());

    // A compositor starting now cannot make a window without alpha translucent.
    effects.setTranslucent(true);
    EXPECT_TRUE(window.view().isOpaque());
    EXPECT_FALSE(window.mask().isEmpty()) << "unshaped, the solid backdrop would hide every window beneath";
}

TEST_F(ZonesWindowTest, FactoryCoversExactlyTheVisibleFrameOfAConnectedScreen)
{
    displays.setDisplays({displays.displays().value(0),
        FakeDisplayServer::display(QStringLiteral("7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF"), QStringLiteral("RIGHT"),
            QRectF(640, 0, 800, 600), QRectF(640, 30, 800, 570))});
    const Screen right = screens.screens().value(1);
    std::unique_ptr<OverlayWindow> overlay = factory.createOverlay(right, layout);
    ASSERT_NE(overlay, nullptr);
    ASSERT_EQ(zonesWindows().size(), 1);
    ZonesWindow* window = zonesWindows().first();
    EXPECT_EQ(window->geometry(), QRect(640, 30, 800, 570));
    EXPECT_EQ(window->view().geometry(), QRect(0, 0, 800, 570)) << "layout space is the window's own space";
    EXPECT_EQ(window->screen(), right);
    overlay->show();
    EXPECT_TRUE(window->isVisible());
    overlay.reset();
    pump(0);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(factory.keptCount(), 1) << "kept hidden for the next gesture";
    pump(kKeepMs + 50);
    EXPECT_TRUE(zonesWindows().isEmpty()) << "deleted once nobody asked for it";
    EXPECT_EQ(factory.keptCount(), 0);

    displays.setDisplays({});
    EXPECT_EQ(factory.createOverlay(screen, layout), nullptr) << "display unplugged";
    EXPECT_TRUE(zonesWindows().isEmpty());
}

// The next gesture gets the hidden window back, cleared of the last gesture's
// highlights and following the gesture again; anything that changed what the window
// must look like (layout, frame, compositor) gets a new one and the old one goes.
TEST_F(ZonesWindowTest, NextGestureReusesTheHiddenWindowWhileItStillFits)
{
    std::unique_ptr<OverlayWindow> overlay = factory.createOverlay(screen, layout);
    overlay->show();
    ZonesWindow* first = zonesWindows().value(0);
    ASSERT_NE(first, nullptr);
    engine.hits = {"2"};
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidMove(gestureEvent(false)); });
    EXPECT_EQ(highlighted(), QStringList {"2"});
    overlay.reset();
    EXPECT_TRUE(engine.observers.empty()) << "a hidden overlay follows no gesture";

    engine.hits = {};
    overlay = factory.createOverlay(screen, layout);
    EXPECT_EQ(factory.keptCount(), 0);
    overlay->show();
    ASSERT_EQ(zonesWindows(), QList<ZonesWindow*> {first}) << "the same window, no new one";
    EXPECT_TRUE(first->isVisible());
    EXPECT_TRUE(highlighted().isEmpty()) << "the last gesture's highlight is gone";
    EXPECT_TRUE(engine.observers.contains(&first->viewModel()));
    overlay.reset();

    // Another layout: a new window, the old one deleted.
    const std::shared_ptr<Layout> other = defaultLayout(DefaultLayoutType::vertical, screen, screens);
    overlay = factory.createOverlay(screen, other);
    pump(0);
    ASSERT_EQ(zonesWindows().size(), 1);
    EXPECT_NE(zonesWindows().first(), first);
    EXPECT_EQ(zonesWindows().first()->layout(), other);
    overlay.reset();

    // A compositor arrived: a window made without alpha is not reused.
    ZonesWindow* opaque = zonesWindows().first();
    effects.setTranslucent(!effects.overlaysCanBeTranslucent());
    overlay = factory.createOverlay(screen, other);
    pump(0);
    ASSERT_EQ(zonesWindows().size(), 1);
    EXPECT_NE(zonesWindows().first(), opaque);
    overlay.reset();

    // Unbinding from the engine deletes kept windows at once: they refer to it.
    factory.setEngine(nullptr);
    EXPECT_EQ(factory.keptCount(), 0);
    EXPECT_TRUE(zonesWindows().isEmpty());
}

// The engine drops its overlays inside its own gesture-end callback; the view model,
// notified after it from the same snapshot of observers, must still be alive to snap.
TEST_F(ZonesWindowTest, OverlayDroppedDuringTheEndNotificationStillSnaps)
{
    struct DroppingEngine final : ZoneGestureObserver
    {
        std::unique_ptr<OverlayWindow> overlay;
        void zoneGestureDidEnd(const ZoneGestureEvent&, bool) override { overlay.reset(); }
    } manager;
    engine.observers.add(&manager);
    manager.overlay = factory.createOverlay(screen, layout);
    manager.overlay->show();

    engine.hits = {"3"};
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidMove(gestureEvent(false)); });
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidEnd(gestureEvent(false), false); });
    ASSERT_EQ(engine.snaps.size(), 1u);
    EXPECT_EQ(engine.snaps[0].second, QStringList({"3"}));
    EXPECT_EQ(engine.observers.items().size(), 1u) << "the dropped overlay no longer follows gestures";
}

} // namespace
