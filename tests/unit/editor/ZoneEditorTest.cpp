// The zone editor (session, canvas, manager), the borders flash, and windows following
// their zones when a layout changes. Offscreen: the canvas is driven with synthetic
// events at half the layout's size, as on a screen with a device-pixel ratio of 2.
#include "FakePlatform.h"
#include "FakeWindowControl.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"
#include "models/LayoutBridge.h"
#include "models/SplitNode.h"
#include "views/LayoutBordersFlasher.h"
#include "views/LayoutBordersView.h"
#include "views/LayoutBordersWindow.h"
#include "views/ZoneEditorManager.h"
#include "views/ZoneEditorView.h"
#include "views/ZoneEditorViewModel.h"
#include "views/ZoneEditorWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>

#include <gtest/gtest.h>

#include <functional>

namespace {

const QString kLeft = QStringLiteral("0F3C1B2A-1111-5222-8333-444455556666");
const QString kRight = QStringLiteral("7A6B5C4D-AAAA-5BBB-9CCC-DDDDEEEEFFFF");
const QColor kAccent(200, 30, 30);

void pump(int ms)
{
    QElapsedTimer timer;
    timer.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    } while (timer.elapsed() < ms);
}

bool waitUntil(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > 15000)
            return false;
        pump(10);
    }
    return true;
}

void mouse(QWidget& widget, QEvent::Type type, QPointF at, Qt::MouseButtons held = Qt::LeftButton)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, widget.mapToGlobal(at), button, held, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

void click(QWidget& widget, QPointF at)
{
    mouse(widget, QEvent::MouseButtonPress, at);
    mouse(widget, QEvent::MouseButtonRelease, at, Qt::NoButton);
}

void key(QObject* target, QEvent::Type type, int code, Qt::KeyboardModifiers modifiers = {})
{
    QKeyEvent event(type, code, modifiers);
    QApplication::sendEvent(target, &event);
}

std::vector<double> widths(const Layout& layout)
{
    std::vector<double> result;
    for (const auto& zone : layout.zones())
        result.push_back(zone->rect().width());
    return result;
}

// Two screens side by side; the right one has a 40-pixel panel at its top, so its layout
// space is shifted from desktop space.
class ZoneEditorTest : public ::testing::Test
{
protected:
    ZoneEditorTest()
    {
        displays.setDisplays({FakeDisplayServer::display(kLeft, "LEFT", {0, 0, 1280, 1080}),
            FakeDisplayServer::display(kRight, "RIGHT", {1280, 0, 1280, 1080}, {1280, 40, 1280, 1040})});
        left = screens.screens().at(0);
        right = screens.screens().at(1);
        settings.setValue(Keys::useSystemAccentColor, false);
        settings.setValue(Keys::customAccentColor, kAccent);
        layout = layouts.activeFor(right);
    }
    ~ZoneEditorTest() override { pump(0); }

    FakeDisplayServer displays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    FakeHotkeyBackend hotkeys;
    GlobalShortcuts shortcuts {hotkeys, settings};
    ScreenManager screens {displays, settings};
    LayoutManager layouts {settings, screens, shortcuts};
    FakeDesktopEffects effects;
    Screen left, right;
    std::shared_ptr<Layout> layout;
};

TEST_F(ZoneEditorTest, SessionSplitsDragsMergesAndUndoesInLayoutSpace)
{
    ZoneEditorViewModel vm(right, layout, screens);
    vm.startMonitoring();
    QWindow window;
    // The pointer monitor reads the platform's pointer and converts it to layout space.
    displays.setPointer(QPointF(1580, 540));
    QMouseEvent move(QEvent::MouseMove, QPointF(), QPointF(), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &move);
    EXPECT_EQ(vm.mousePosition(), QPointF(300, 500));
    EXPECT_EQ(vm.splitLine().rect, QRectF(300, 520, 2, 1040)) << "centre-based, spanning the zone";

    // Each of Shift and Alt flips the orientation while held; both cancel out.
    const struct
    {
        int key;
        bool press;
        Qt::KeyboardModifiers before;
        bool horizontal;
    } steps[] = {{Qt::Key_Shift, true, {}, true}, {Qt::Key_Alt, true, Qt::ShiftModifier, false},
        {Qt::Key_Alt, false, Qt::ShiftModifier | Qt::AltModifier, true}, {Qt::Key_Shift, false, Qt::ShiftModifier, false}};
    for (const auto& step : steps) {
        key(&window, step.press ? QEvent::KeyPress : QEvent::KeyRelease, step.key, step.before);
        EXPECT_EQ(vm.splitHorizontal(), step.horizontal) << "key " << step.key << (step.press ? " down" : " up");
    }
    key(&window, QEvent::KeyPress, Qt::Key_Shift);
    EXPECT_EQ(vm.splitLine().rect, QRectF(640, 500, 1280, 2));
    key(&window, QEvent::KeyRelease, Qt::Key_Shift, Qt::ShiftModifier);
    // A key that was already down when the editor opened: its release changes nothing.
    ZoneEditorViewModel late(right, layout, screens);
    late.keyboardFlagsChanged({Qt::NoModifier});
    EXPECT_FALSE(late.splitHorizontal());

    vm.handleTap(QPointF(300, 500));
    EXPECT_EQ(widths(*layout), (std::vector<double> {300, 980})) << "split at the click's distance from the edge";
    vm.beginBorderDrag(0);
    vm.dragBorder(30);
    vm.dragBorder(20); // +30, then back 10: the translation is the total since the press
    EXPECT_EQ(widths(*layout), (std::vector<double> {320, 960}));
    EXPECT_EQ(vm.sizeLabels(), (std::vector<QString> {"320px", "960px"}));
    EXPECT_FALSE(vm.showLine());
    vm.endBorderDrag();
    EXPECT_TRUE(vm.sizeLabels().empty());
    EXPECT_TRUE(vm.showLine());
    vm.deleteBorder(0);
    ASSERT_EQ(layout->zones().size(), 1u);
    EXPECT_EQ(layout->zones()[0]->rect(), QRectF(0, 0, 1280, 1040));

    // Every split, drag, merge and reset is one step, back and forth.
    vm.resetZones();
    vm.undo();
    EXPECT_EQ(widths(*layout), (std::vector<double> {1280}));
    vm.undo();
    EXPECT_EQ(widths(*layout), (std::vector<double> {320, 960}));
    vm.undo();
    EXPECT_EQ(widths(*layout), (std::vector<double> {300, 980}));
    vm.redo();
    EXPECT_EQ(widths(*layout), (std::vector<double> {320, 960}));
    vm.handleTap(QPointF(1000, 100));
    EXPECT_FALSE(vm.canRedo()) << "a new edit ends the redo history";

    // Keyboard: zones first, then borders; S splits evenly, arrows move by 10 (Alt: 1).
    vm.focusNext();
    EXPECT_EQ(vm.focus(), (ZoneEditorViewModel::FocusItem {ZoneEditorViewModel::FocusItem::Kind::zone, 0}));
    vm.splitFocusedZone(SplitType::vertical);
    EXPECT_EQ(widths(*layout), (std::vector<double> {160, 160, 680, 280}));
    for (int i = 0; i < 4; ++i)
        vm.focusNext();
    ASSERT_EQ(vm.focus(), (ZoneEditorViewModel::FocusItem {ZoneEditorViewModel::FocusItem::Kind::border, 0}));
    vm.moveFocusedBorder(-10);
    EXPECT_EQ(widths(*layout), (std::vector<double> {160, 150, 690, 280})) << "the zones along the border absorb it";
    vm.focusNext();
    vm.deleteFocusedBorder();
    EXPECT_EQ(widths(*layout), (std::vector<double> {310, 690, 280}));
    vm.focusPrevious();
    vm.focusPrevious();
    vm.focusPrevious();
    EXPECT_EQ(vm.focus().kind, ZoneEditorViewModel::FocusItem::Kind::zone) << "wraps around";
}

TEST_F(ZoneEditorTest, CanvasAtHalfScaleRoutesClicksDragsAndButtons)
{
    ZoneEditorViewModel vm(right, layout, screens);
    ZoneEditorView view(vm, settings);
    view.resize(640, 520); // the layout is 1280 × 1040
    view.show();
    int closes = 0;
    QObject::connect(&view, &ZoneEditorView::closeRequested, [&] { ++closes; });

    click(view, QPointF(150, 260));
    EXPECT_EQ(widths(*layout), (std::vector<double> {300, 980})) << "canvas pixels scaled back to layout space";
    const QImage painted = view.grab().toImage();
    EXPECT_EQ(painted.pixelColor(150, 400).rgb(), kAccent.rgb()) << "border drawn where the split is";

    SplitBorder border = layout->borders().at(0);
    const QPointF handle = view.handleRect(border).center();
    mouse(view, QEvent::MouseButtonPress, handle);
    mouse(view, QEvent::MouseMove, handle + QPointF(20, 0));
    mouse(view, QEvent::MouseMove, handle + QPointF(15, 0));
    EXPECT_EQ(vm.sizeLabels(), (std::vector<QString> {"330px", "950px"}));
    EXPECT_EQ(view.cursor().shape(), Qt::SizeHorCursor);
    mouse(view, QEvent::MouseButtonRelease, handle + QPointF(15, 0), Qt::NoButton);
    EXPECT_EQ(widths(*layout), (std::vector<double> {330, 950}));
    EXPECT_FALSE(vm.showLine()) << "the drag ended over the handle, which moved along";

    border = layout->borders().at(0);
    mouse(view, QEvent::MouseMove, view.closeButtonRect().center(), Qt::NoButton);
    EXPECT_FALSE(vm.showLine()) << "no preview line over the buttons";
    click(view, view.deleteRect(border).center());
    EXPECT_EQ(widths(*layout), (std::vector<double> {1280}));
    key(&view, QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(widths(*layout), (std::vector<double> {330, 950})) << "Ctrl+Z undoes the merge";
    click(view, view.resetButtonRect().center());
    EXPECT_EQ(widths(*layout), (std::vector<double> {1280}));
    click(view, view.closeButtonRect().center());
    EXPECT_EQ(closes, 1);
}

TEST_F(ZoneEditorTest, DegenerateStoredTreesOpenAndReset)
{
    // 400 levels of ever thinner slices, then sizes a clamp could leave: under a point,
    // zero, negative.
    SplitNode::Ptr root = SplitNode::create(0, 0, 1280, 1040);
    SplitNode::Ptr node = root;
    for (int depth = 0; depth < 400; ++depth) {
        node->splitAtRatio(depth % 2 ? SplitType::horizontal : SplitType::vertical, 0.999);
        node = node->children().back();
    }
    node->setWidth(-50);
    node->parent()->children().front()->setHeight(0.3);
    const std::shared_ptr<Layout> degenerate = Layout::create(root, QUuid::createUuid(), right);
    degenerate->recomputeZones();
    ZoneEditorViewModel vm(right, degenerate, screens);
    ZoneEditorView view(vm, settings);
    view.resize(1280, 1040);
    view.show();
    EXPECT_FALSE(view.grab().isNull());
    vm.mousePositionChanged({QPointF(1279, 1039)});
    click(view, QPointF(1279, 1039));
    mouse(view, QEvent::MouseMove, view.handleRect(degenerate->borders().back()).center(), Qt::NoButton);
    click(view, view.resetButtonRect().center());
    ASSERT_EQ(degenerate->zones().size(), 1u);
    EXPECT_EQ(degenerate->zones()[0]->rect(), QRectF(0, 0, 1280, 1040));
}

TEST_F(ZoneEditorTest, ManagerKeepsOneEditorPerScreenEscapeClosesTheLastAndEveryCloseSaves)
{
    ZoneEditorManager editors(layouts, screens, settings, effects);
    int closed = 0;
    QObject::connect(&editors, &ZoneEditorManager::editorClosed, [&] { ++closed; });
    editors.showEditor(left, layouts.activeFor(left));
    editors.showEditor(right, layout);
    ASSERT_EQ(editors.openCount(), 2);
    ZoneEditorWindow* rightWindow = editors.editorFor(right);
    EXPECT_EQ(rightWindow->geometry(), QRect(1280, 40, 1280, 1040)) << "exactly the visible frame";
    rightWindow->viewModel().handleTap(QPointF(400, 10));

    key(rightWindow->windowHandle(), QEvent::KeyPress, Qt::Key_Escape);
    pump(10);
    EXPECT_EQ(editors.openCount(), 1);
    EXPECT_EQ(closed, 1);
    const auto stored = settings.blobLists(Keys::layouts).value(right.id());
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(LayoutBridge::deserialize(stored[0])->root()->children().size(), 2u) << "saved on close";
    EXPECT_FALSE(editors.hasCloseWindowMonitor());
    key(editors.editorFor(left)->windowHandle(), QEvent::KeyPress, Qt::Key_Escape);
    pump(10);
    EXPECT_EQ(editors.openCount(), 1) << "Escape belongs to the editor shown last only";

    // A second request for an open screen swaps the layout in the same window.
    ZoneEditorWindow* leftWindow = editors.editorFor(left);
    const auto other = layouts.defaultLayout(DefaultLayoutType::rightT, left);
    editors.showEditor(left, other);
    EXPECT_EQ(editors.editorFor(left), leftWindow);
    EXPECT_EQ(leftWindow->viewModel().layout(), other);
    EXPECT_TRUE(editors.hasCloseWindowMonitor());

    // Its display unplugged: the editor closes and saves.
    displays.changeDisplays({FakeDisplayServer::display(kRight, "RIGHT", {1280, 0, 1280, 1080})});
    pump(10);
    EXPECT_EQ(editors.openCount(), 0);
    EXPECT_EQ(closed, 2);
    EXPECT_EQ(settings.blobLists(Keys::layouts).value(left.id()).size(), 2) << "the swapped-in layout was added";
}

TEST_F(ZoneEditorTest, BordersFlashIsItsOwnWindowForHalfASecond)
{
    layout->root()->splitAtRatio(SplitType::vertical, 0.25);
    LayoutBordersFlasher flasher(screens, settings, effects, 3000);
    EXPECT_EQ(flasher.flash(layouts.defaultLayout(DefaultLayoutType::rightT, Screen("gone", "gone"))), nullptr);
    LayoutBordersWindow* first = flasher.flash(layout);
    ASSERT_NE(first, nullptr);
    pump(100);
    LayoutBordersWindow* second = flasher.flash(layout);
    EXPECT_NE(second, first) << "the first is still flashing";
    EXPECT_EQ(first->geometry(), QRect(1280, 40, 1280, 1040));
    EXPECT_TRUE(first->windowFlags().testFlag(Qt::WindowTransparentForInput));
    const QImage painted = first->view().grab().toImage();
    EXPECT_EQ(painted.pixelColor(320, 500).rgb(), kAccent.rgb()) << "the border at a quarter";
    EXPECT_EQ(painted.pixelColor(600, 500).rgba(), first->view().backgroundColor().rgba());

    ASSERT_TRUE(waitUntil([&] { return !first->isVisible() && !second->isVisible(); })) << "both close themselves";
    EXPECT_EQ(flasher.flash(layout), first) << "a closed flash window serves the next flash";
    EXPECT_EQ(flasher.windowCount(), 2);
    EXPECT_TRUE(waitUntil([&] { return flasher.windowCount() == 0; })) << "kept windows go when no flash asks";
}

TEST_F(ZoneEditorTest, SnappedWindowsFollowTheirZonesWhenTheLayoutChanges)
{
    FakeWindowControl control;
    FakeGlobalInput input;
    WindowManager windows(control, WindowManager::screenLocator(screens));
    WindowDragMonitor drags(input, windows);
    ZoneGestureMonitor gestures(drags, input, settings);
    struct NoOverlays : OverlayFactory
    {
        std::unique_ptr<OverlayWindow> createOverlay(const Screen&, std::shared_ptr<Layout>) override { return {}; }
    } overlays;
    ZoneManager zones(screens, layouts, windows, gestures, shortcuts, settings, overlays);

    layout->root()->splitAtRatio(SplitType::vertical, 0.5);
    control.addWindow(1, {1300, 100, 400, 300});
    control.addWindow(2, {2000, 100, 400, 300});
    zones.snap(windows.windowFrom(FakeWindowControl::handleFor(1)), {layout->zones()[0]});
    zones.snap(windows.windowFrom(FakeWindowControl::handleFor(2)), {layout->zones()[1]});

    // The border moves to a quarter: zone 1 narrower, zone 2 wider.
    layout->root()->setChildren({});
    layout->root()->splitAtRatio(SplitType::vertical, 0.25);
    settings.setValue(Keys::moveWindowsOnLayoutChange, false);
    zones.moveWindowsToZones(layout);
    EXPECT_EQ(control.frameOf(1), QRectF(1280, 40, 640, 1040)) << "the switch is off";

    settings.setValue(Keys::moveWindowsOnLayoutChange, true);
    zones.moveWindowsToZones(layout);
    EXPECT_EQ(control.frameOf(1), QRectF(1280, 40, 320, 1040));
    EXPECT_EQ(control.frameOf(2), QRectF(1600, 40, 960, 1040)) << "zone 2 still exists, wider";
    layout->root()->setChildren({});
    zones.moveWindowsToZones(layout);
    EXPECT_EQ(control.frameOf(1), QRectF(1280, 40, 1280, 1040));
    EXPECT_FALSE(zones.isWindowSnapped(*windows.windowFrom(FakeWindowControl::handleFor(2))))
        << "its zone is gone: forgotten";
    EXPECT_EQ(control.frameOf(2), QRectF(1600, 40, 960, 1040)) << "and left where it was";
}

} // namespace
