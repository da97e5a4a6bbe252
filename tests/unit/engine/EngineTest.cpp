// The engine on the platform fakes: which drags become zone gestures, which zones the
// pointer is in, and what a snap, an unsnap and the six window shortcuts do to windows.
#include "FakeEngine.h"
#include "TestSupport.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

using Call = FakeWindowControl::Call;

const Qt::KeyboardModifiers kPrimary = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
const KeyCombination kCycleLeft(kPrimary, Qt::Key_Left), kCycleRight(kPrimary, Qt::Key_Right);
const KeyCombination kNext(kPrimary, Qt::Key_Up), kPrev(kPrimary, Qt::Key_Down);
const KeyCombination kSpanLeft(kPrimary | Qt::ShiftModifier, Qt::Key_Left);
const KeyCombination kSpanRight(kPrimary | Qt::ShiftModifier, Qt::Key_Right);

// LEFT is the primary with a 30-point panel along its top; RIGHT stands beside it with a
// 40-point panel along its bottom. Each has zones "1" | "2" | "3" of 400, 400 and 480
// points, the full height of its visible frame. Window 7 is 500 x 400.
class Engine : public ::testing::Test, protected FakeEngine
{
protected:
    Engine()
    {
        displays.setDisplays({FakeDisplayServer::display("11111111-1111-1111-1111-111111111111", "LEFT",
                                  QRectF(0, 0, 1280, 1080), QRectF(0, 30, 1280, 1050)),
            FakeDisplayServer::display("22222222-2222-2222-2222-222222222222", "RIGHT", QRectF(1280, 0, 1280, 1080),
                QRectF(1280, 0, 1280, 1040))});
        left = screens.screens().at(0);
        right = screens.screens().at(1);
        for (const Screen& screen : {left, right}) {
            auto root = SplitNode::create(
                0, 0, screens.visibleFrameOf(screen)->width(), screens.visibleFrameOf(screen)->height());
            root->splitAtOffset(SplitType::vertical, 400);
            root->children().at(1)->splitAtOffset(SplitType::vertical, 400);
            auto layout = Layout::create(root, QUuid::createUuid(), screen);
            layouts.save(LayoutList {layout}, screen);
            layouts.setActiveFor(screen, layout);
        }
        settings.setValue(Keys::spanAdjancedZones, false);
        control.addWindow(7, QRectF(100, 100, 500, 400));
        zoneManager.startObserving();
        dragMonitor.startMonitoring();
        gestures.startMonitoring();
    }

    std::vector<std::shared_ptr<Zone>> zones(const Screen& screen, const std::vector<int>& numbers)
    {
        std::vector<std::shared_ptr<Zone>> result;
        for (const int number : numbers)
            result.push_back(layouts.activeFor(screen)->zones().at(size_t(number - 1)));
        return result;
    }
    WindowPtr record(quint32 id) { return windows.windowFrom(FakeWindowControl::handleFor(id)); }
    QRectF frameOf(quint32 id) { return control.frameOf(id).value_or(QRectF()); }
    QList<Call> writes() const { return control.calls(QStringList {"setFrame", "setSize"}); }
    // The zones a window stands in ("1 2"), checking on the way that a window is known
    // exactly while it stands in some zone and that no zone keeps an empty list.
    QString zonesOf(quint32 id)
    {
        QStringList result;
        QSet<quint32> listed;
        const auto byZone = zoneManager.snappedWindowsByZone();
        for (auto it = byZone.cbegin(); it != byZone.cend(); ++it) {
            EXPECT_FALSE(it.value().empty()) << "zone " << it.key().toStdString() << " keeps an empty list";
            for (const WindowPtr& window : it.value()) {
                listed.insert(window->id());
                if (window->id() == id)
                    result << it.key();
            }
        }
        const QList<quint32> known = zoneManager.snappedWindows().keys();
        EXPECT_EQ(listed, QSet<quint32>(known.begin(), known.end()));
        result.sort();
        return result.join(' ');
    }
    // One drag step in which the window manager moved window 7 along with the pointer.
    void step(qreal dx = 5)
    {
        control.moveWindow(7, frameOf(7).topLeft() + QPointF(dx, 0));
        input.moveBy(dx, 0);
    }

    Screen left, right;
};

// Logs "start", "move", "end" or "cancel", with " #<id>" when the event carries a drag
// and " multi" when it is multi-zone.
class GestureLog final : public ZoneGestureObserver
{
public:
    void zoneGestureDidStart(const ZoneGestureEvent& e) override { add("start", e); }
    void zoneGestureDidMove(const ZoneGestureEvent& e) override { add("move", e); }
    void zoneGestureDidEnd(const ZoneGestureEvent& e, bool canceled) override { add(canceled ? "cancel" : "end", e); }
    QStringList log;

private:
    void add(const char* what, const ZoneGestureEvent& e)
    {
        log << QString::fromLatin1(what) + (e.dragEvent ? QStringLiteral(" #%1").arg(e.dragEvent->window->id()) : "")
                + (e.isMultiZone ? " multi" : "");
    }
};

struct GestureRow
{
    const char* name;
    bool holdShiftToSnap;
    const char* script;
    const char* heard;
    friend void PrintTo(const GestureRow& row, std::ostream* os) { *os << row.name; }
};

class Gestures : public Engine, public ::testing::WithParamInterface<GestureRow>
{ };

// Actions: begin (button down, a step that moves the window), m (a step), end (button
// up), R (right click), S/s, A/a, C/c (Shift, Alt, Control down/up); [off], [on:k],
// [on:m] and [multi] check the monitor's state.
TEST_P(Gestures, Script)
{
    settings.setValue(Keys::holdShiftToSnap, GetParam().holdShiftToSnap);
    control.setWindowAtCursor(7);
    GestureLog observer;
    gestures.addObserver(&observer);
    for (const QString& action : QString::fromLatin1(GetParam().script).split(' ')) {
        SCOPED_TRACE(action.toStdString());
        const QChar c = action.front();
        if (action == "begin") {
            input.pressLeft();
            input.moveBy(1, 0);
            step();
        } else if (action == "m") {
            step();
        } else if (action == "end") {
            input.releaseLeft();
        } else if (action == "R") {
            input.pressRight();
        } else if (action.size() == 1) {
            const Qt::KeyboardModifier m = c.toUpper() == 'S' ? Qt::ShiftModifier
                : c.toUpper() == 'A'                          ? Qt::AltModifier
                                                              : Qt::ControlModifier;
            input.setModifiers(c.isUpper() ? input.currentModifiers() | m : input.currentModifiers() & ~m);
        } else if (action == "[multi]") {
            EXPECT_TRUE(gestures.isMultiZone());
        } else {
            EXPECT_EQ(gestures.inZoneMode(), action != "[off]");
            EXPECT_EQ(gestures.toggledBy(),
                action == "[off]"        ? ToggleDevice::none
                    : action == "[on:k]" ? ToggleDevice::keyboard
                                         : ToggleDevice::mouse);
        }
    }
    EXPECT_EQ(observer.log.join(", "), QString::fromLatin1(GetParam().heard));
    gestures.removeObserver(&observer);
}

// "begin" reports a move for the step that started the drag. A start announced at the
// drag start itself carries no drag event: it comes before the event is stored.
INSTANTIATE_TEST_SUITE_P(ZoneGesture, Gestures,
    ::testing::Values(GestureRow {"NoToggleOnlyTheUncancelledEnd", false, "begin m end [off]", "end #7"},
        GestureRow {"ShiftAtStartToggleMode", false, "S begin [on:k] m end [off] s", "start, move #7, move #7, end #7"},
        GestureRow {"ThreeShiftPressesLeaveZoneModeOn", false, "begin S m s [on:k] S [off] m s S s [on:k] end [off]",
            "start #7, move #7, cancel, start #7, end #7"},
        GestureRow {"RightClickAndKeyboardOwnTheirZoneMode", false,
            "begin R [on:m] S s [on:m] R [off] S s [on:k] R [on:k] end", "start #7, cancel, start #7, end #7"},
        GestureRow {"DragEndClearsTheOwner", false, "begin R end [off] begin S s [on:k] end",
            "start #7, end #7, start #7, end #7"},
        GestureRow {"HoldReleaseCancelsThenTheDragEndComes", true, "begin S m s [off] m end",
            "start #7, move #7, cancel, end #7"},
        GestureRow {"HoldAnnouncesEveryModifierChange", true, "begin C S c s end",
            "cancel, start #7, start #7, cancel, end #7"},
        GestureRow {"HoldRightClickWaitsForShiftsRelease", true, "begin S R [on:k] s R [on:m] S s [on:m] end",
            "start #7, cancel, start #7, end #7"},
        GestureRow {"AltIsReadWithTheNextNotification", false, "begin S s A [multi] m a m end",
            "start #7, move #7 multi, move #7, end #7"},
        // Shift is looked at before Alt at the start; Alt released after the drag is not seen.
        GestureRow {
            "AltAtStartOutlivesTheDrag", false, "A S begin end a s [multi]", "start, move #7 multi, end #7 multi"},
        GestureRow {"NothingOutsideADrag", false, "S s R begin end S s R [off]", "end #7"}),
    [](const ::testing::TestParamInfo<GestureRow>& row) { return std::string(row.param.name); });

struct HitRow
{
    double spanDistance; // 0: spanning off
    QPointF pointer; // desktop space
    const char* leftHits;
    const char* rightHits;
    friend void PrintTo(const HitRow& row, std::ostream* os)
    {
        *os << row.pointer.x() << "," << row.pointer.y() << " span " << row.spanDistance;
    }
};

class HitTest : public Engine, public ::testing::WithParamInterface<HitRow>
{ };

TEST_P(HitTest, ZonesUnderThePointer)
{
    settings.setValue(Keys::spanAdjancedZones, GetParam().spanDistance != 0);
    settings.setValue(Keys::autoSpanDistance, GetParam().spanDistance);
    displays.setPointer(GetParam().pointer);
    for (const auto& [screen, expected] : {std::pair {left, GetParam().leftHits}, {right, GetParam().rightHits}}) {
        QStringList hits;
        for (const std::shared_ptr<Zone>& z : layouts.activeFor(screen)->zones())
            if (zoneManager.isCursorInZone(*z))
                hits << z->id();
        EXPECT_EQ(hits.join(' '), QString::fromLatin1(expected)) << screen.name().toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(ZoneManager, HitTest,
    ::testing::Values(
        // The point test: left and top edges inside, right and bottom edges outside.
        HitRow {0, {0, 30}, "1", ""}, HitRow {0, {399.5, 500}, "1", ""}, HitRow {0, {400, 500}, "2", ""},
        HitRow {0, {200, 29.5}, "", ""}, HitRow {0, {1280, 500}, "", "1"}, HitRow {0, {1300, 1039.9}, "", "1"},
        HitRow {0, {1300, 1040}, "", ""}, HitRow {0, {-50, -50}, "", ""},
        // Spanning: a square of side autoSpanDistance; touching a border is not crossing it.
        HitRow {40, {381, 500}, "1 2", ""}, HitRow {40, {380, 500}, "1", ""}, HitRow {40, {419, 500}, "1 2", ""},
        HitRow {40, {600, 11}, "2", ""},
        // Never across screens, even when the square reaches over the edge.
        HitRow {400, {1281, 500}, "", "1"},
        // Half a point is raised to one; a negative distance is the point test.
        HitRow {0.5, {399.6, 500}, "1 2", ""}, HitRow {0.5, {399.4, 500}, "1", ""}, HitRow {-10, {400, 500}, "2", ""}));

TEST_F(Engine, SnapFillsTheUnionOfTheZonesOnTheFirstZonesScreenAndKeepsTheBookkeeping)
{
    zoneManager.snap(record(7), zones(left, {1, 2}));
    EXPECT_EQ(frameOf(7), QRectF(0, 30, 800, 1050));
    zoneManager.snap(record(7), zones(right, {3, 2}));
    EXPECT_EQ(frameOf(7), QRectF(1680, 0, 880, 1040));
    // Placed on RIGHT, and never taller than RIGHT's visible frame.
    zoneManager.snap(record(7), {zones(right, {1})[0], zones(left, {2})[0]});
    EXPECT_EQ(frameOf(7), QRectF(1280, 0, 800, 1040));
    // A gap that would leave nothing of the zone, and a zone a stored tree put far off
    // the screen: never a window of no size, never one beyond the screen.
    settings.setValue(Keys::enableGaps, true);
    settings.setValue(Keys::gapSize, 700);
    zoneManager.snap(record(7), zones(left, {1}));
    EXPECT_EQ(frameOf(7), QRectF(QPointF(0, 30), zones(left, {1})[0]->rect().size()));
    settings.setValue(Keys::enableGaps, false);
    zoneManager.snap(record(7), {std::make_shared<Zone>("9", QRectF(0, 0, 1e12, 1e12), left)});
    EXPECT_EQ(frameOf(7), QRectF(0, 30, 1280, 1050));

    control.addWindow(8, QRectF(100, 100, 500, 400));
    zoneManager.snap(record(7), zones(left, {1, 2, 3}));
    zoneManager.snap(record(8), zones(left, {1}));
    zoneManager.snap(record(7), zones(left, {3})); // leaves all its old zones
    EXPECT_EQ(zonesOf(7), "3");
    EXPECT_EQ(zonesOf(8), "1");
    zoneManager.addSnappedWindow(record(8), zones(left, {1}));
    EXPECT_EQ(zoneManager.snappedWindowsByZone().value("1").size(), 1u) << "a zone lists a window once";

    // Nothing to go on: no zones, a zone without a screen, a screen not connected.
    control.clearCalls();
    const Screen unplugged("33333333-3333-3333-3333-333333333333-1920x1080", "GONE");
    for (const std::optional<Screen>& screen : {std::optional<Screen>(), std::optional<Screen>(unplugged)}) {
        const Zone zone("1", QRectF(0, 0, 400, 400), screen);
        displays.setPointer(QPointF(100, 100));
        EXPECT_FALSE(zoneManager.isCursorInZone(zone));
        zoneManager.snap(record(7), {std::make_shared<Zone>(zone)});
    }
    zoneManager.snap(record(7), {});
    EXPECT_TRUE(writes().isEmpty());
}

TEST_F(Engine, UnsnapRestoresTheSizeFromBeforeTheFirstSnapWhereTheWindowWasDropped)
{
    zoneManager.snap(record(7), zones(left, {1}));
    zoneManager.snap(record(7), zones(left, {2, 3})); // through a record that carries zone 1's size
    control.moveWindow(7, QPointF(640, 300));
    control.clearCalls();
    zoneManager.unsnap(record(7));
    EXPECT_EQ(writes(), (QList<Call> {{"setSize", 7, QRectF(0, 0, 500, 400)}}));
    EXPECT_EQ(frameOf(7), QRectF(640, 300, 500, 400));
    EXPECT_EQ(zonesOf(7), "");
    zoneManager.unsnap(record(7)); // not snapped: nothing to restore
    EXPECT_EQ(writes().size(), 1);

    settings.setValue(Keys::restoreSizeOnUnsnap, false);
    zoneManager.snap(record(7), zones(left, {1}));
    control.clearCalls();
    zoneManager.unsnap(record(7));
    EXPECT_TRUE(writes().isEmpty());
    EXPECT_EQ(zonesOf(7), "");
}

struct KeyRow
{
    std::vector<int> from;
    KeyCombination key;
    const char* to; // "-": nothing moved
    friend void PrintTo(const KeyRow& row, std::ostream* os)
    {
        *os << KeyCombinations::toText(row.key).toStdString() << " from " << row.from.front() << "+" << row.from.size();
    }
};

class MoveAndSpan : public Engine, public ::testing::WithParamInterface<KeyRow>
{ };

TEST_P(MoveAndSpan, FromSnappedZones)
{
    shortcuts.registerDefaultShortcuts();
    zoneManager.snap(record(7), zones(left, GetParam().from));
    control.setFocused(7);
    control.clearCalls();
    ASSERT_TRUE(hotkeys.press(GetParam().key));
    EXPECT_EQ(control.count("setFrame") ? zonesOf(7) : QStringLiteral("-"), QString::fromLatin1(GetParam().to));
    QRectF expected;
    for (const QString& id : zonesOf(7).split(' '))
        expected |= zones(left, {id.toInt()})[0]->rect().translated(0, 30);
    EXPECT_EQ(frameOf(7), expected);
}

INSTANTIATE_TEST_SUITE_P(ZoneShortcuts, MoveAndSpan,
    ::testing::Values(KeyRow {{1}, kCycleRight, "2"}, KeyRow {{3}, kCycleRight, "1"}, KeyRow {{1}, kCycleLeft, "3"},
        KeyRow {{3}, kCycleLeft, "2"}, KeyRow {{1, 2}, kCycleRight, "2"}, KeyRow {{1}, kSpanRight, "1 2"},
        KeyRow {{3}, kSpanRight, "2 3"}, KeyRow {{1}, kSpanLeft, "-"}, KeyRow {{3}, kSpanLeft, "2 3"},
        KeyRow {{1, 2}, kSpanRight, "1 2 3"}, KeyRow {{2, 3}, kSpanLeft, "1 2 3"}, KeyRow {{2, 3}, kSpanRight, "-"},
        KeyRow {{1, 2, 3}, kSpanLeft, "-"}));

// The same keys on RIGHT: nothing with the raw comparison, the neighbouring zones of
// RIGHT once shortcutsOnEveryScreen takes the window into its screen's layout space, and
// cycling then keeps to the zone "1" of the focused window's screen.
TEST_F(Engine, ShortcutsOnEveryScreenActOnTheWindowsOwnScreen)
{
    shortcuts.registerDefaultShortcuts();
    control.addWindow(8, QRectF(100, 100, 500, 400));
    zoneManager.snap(record(8), zones(left, {1}));
    zoneManager.snap(record(7), zones(right, {1}));
    control.setFocused(7);
    const std::pair<KeyCombination, const char*> steps[]
        = {{kCycleRight, "2"}, {kSpanLeft, "1 2"}, {kCycleRight, "2"}, {kCycleLeft, "1"}};
    for (const bool everyScreen : {false, true}) {
        settings.setValue(Keys::shortcutsOnEveryScreen, everyScreen);
        for (const auto& [key, expected] : steps) {
            ASSERT_TRUE(hotkeys.press(key));
            EXPECT_EQ(zonesOf(7), everyScreen ? QString::fromLatin1(expected) : QStringLiteral("1"))
                << KeyCombinations::toText(key).toStdString() << (everyScreen ? " on" : " off");
        }
    }
    EXPECT_EQ(frameOf(7), QRectF(1280, 0, 400, 1040));
    control.clearCalls();
    ASSERT_TRUE(hotkeys.press(kNext));
    EXPECT_EQ(control.calls(QStringList {"focus"}).value(0).id, 7u) << "window 8 stands in LEFT's zone 1";
    settings.setValue(Keys::shortcutsOnEveryScreen, false);
    control.clearCalls();
    ASSERT_TRUE(hotkeys.press(kNext));
    EXPECT_EQ(control.calls(QStringList {"focus"}).value(0).id, 8u) << "grouped by zone id across screens";
}

// Window 9 stands in LEFT's zone 1 and has the focus. With "xterm" excluded (the class is
// "XTerm"), a Shift drag of it is no zone gesture and the move, span and cycle keys do
// nothing, whether its class or its instance matches; a dock is left alone whatever the
// list says; another application's window still does both.
TEST_F(Engine, ExcludedApplicationsAndOtherKindsAreNeverDraggedIntoZonesNorMovedByShortcuts)
{
    shortcuts.registerDefaultShortcuts();
    settings.setValue(Keys::excludedApplications, QStringList {"Firefox", "xterm"});
    WindowFacts dock;
    dock.notNormalBecause = QStringLiteral("it says it is a dock window");
    struct Row
    {
        const char* what;
        WindowApplication app;
        WindowFacts facts;
        bool leftAlone;
    };
    const Row rows[] = {
        {"class in another case", {9, "XTerm", "XTerm", "terminal"}, {}, true},
        {"instance in another case", {9, "Terminal", "Terminal", "XTERM"}, {}, true},
        {"a dock", {9, "Panel", "Panel", "panel"}, dock, true},
        {"another application", {9, "Gimp", "Gimp", "gimp"}, {}, false},
    };
    const QRectF first = zones(left, {1})[0]->rect().translated(0, 30);
    GestureLog observer;
    gestures.addObserver(&observer);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        FakeWindowControl::FakeWindow& nine = control.addWindow(9, first);
        nine.app = row.app;
        nine.facts = row.facts;
        observer.log.clear();
        control.clearCalls();
        control.setWindowAtCursor(9);
        input.setModifiers(Qt::ShiftModifier);
        input.pressLeft();
        input.moveBy(1, 0);
        for (int i = 0; i < 3; ++i) {
            control.moveWindow(9, frameOf(9).topLeft() + QPointF(5, 0));
            input.moveBy(5, 0);
        }
        EXPECT_EQ(gestures.inZoneMode(), !row.leftAlone);
        input.releaseLeft();
        input.setModifiers({});
        EXPECT_EQ(observer.log.value(0), row.leftAlone ? "" : "start");
        EXPECT_EQ(observer.log.value(observer.log.size() - 1), row.leftAlone ? "" : "end #9");

        control.setWindowFrame(9, first);
        zoneManager.snap(record(9), zones(left, {1}));
        control.setFocused(9);
        control.clearCalls();
        ASSERT_TRUE(hotkeys.press(kCycleRight));
        ASSERT_TRUE(hotkeys.press(kSpanRight));
        EXPECT_EQ(zonesOf(9), row.leftAlone ? "1" : "2 3");
        EXPECT_EQ(frameOf(9), row.leftAlone ? first : QRectF(400, 30, 880, 1050));
        ASSERT_TRUE(hotkeys.press(kNext));
        EXPECT_EQ(control.count("focus"), row.leftAlone ? 0 : 1);
        EXPECT_EQ(writes().isEmpty(), row.leftAlone);
    }
    gestures.removeObserver(&observer);
}

// A drag may turn into a zone gesture: once its first event is handled, every screen's
// overlay is made ready, once per drag; not for a window left alone, and not when zone
// mode came with the drag, whose overlays exist already (a second set would be made).
TEST_F(Engine, ADragHasTheOverlaysMadeReadyUnlessZoneModeCameWithIt)
{
    overlays.standIns = true;
    // In the application's order: the zone monitor hears of a drag before the gestures.
    gestures.stopMonitoring();
    zoneMonitor.startMonitoring();
    gestures.startMonitoring();
    const QStringList both {"LEFT", "RIGHT"};
    struct Row
    {
        const char* what;
        Qt::KeyboardModifiers held;
        QStringList excluded, prepared, created;
    };
    const Row rows[] = {
        {"a plain drag", {}, {}, both, {}},
        {"Shift held at the press", Qt::ShiftModifier, {}, {}, both},
        {"a window left alone", {}, {"FakeApp"}, {}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        settings.setValue(Keys::excludedApplications, row.excluded);
        overlays.prepared.clear();
        overlays.created.clear();
        control.setWindowAtCursor(7);
        input.setModifiers(row.held);
        input.pressLeft();
        input.moveBy(1, 0);
        step();
        step();
        QCoreApplication::processEvents();
        step();
        QCoreApplication::processEvents();
        EXPECT_EQ(overlays.prepared, row.prepared);
        EXPECT_EQ(overlays.created, row.created);
        input.releaseLeft();
        input.setModifiers({});
        QCoreApplication::processEvents();
    }
}

TEST_F(Engine, CyclingRaisesTheWindowsOfOneZoneInSnapOrderAndDropsClosedOnes)
{
    shortcuts.registerDefaultShortcuts();
    const auto raisedFrom = [&](quint32 id, KeyCombination key) -> quint32 {
        control.setFocused(id);
        control.clearCalls();
        EXPECT_TRUE(hotkeys.press(key));
        const QList<Call> raised = control.calls(QStringList {"focus"});
        return raised.size() == 1 ? raised.front().id : 0;
    };
    zoneManager.snap(record(7), zones(left, {1}));
    EXPECT_EQ(raisedFrom(7, kNext), 7u) << "a lone window is raised again";
    for (const quint32 id : {8u, 9u}) {
        control.addWindow(id, QRectF(100, 100, 500, 400));
        zoneManager.snap(record(id), zones(left, {1}));
    }
    EXPECT_EQ((QList<quint32> {raisedFrom(7, kNext), raisedFrom(8, kNext), raisedFrom(9, kNext)}),
        (QList<quint32> {8, 9, 7}));
    EXPECT_EQ((QList<quint32> {raisedFrom(7, kPrev), raisedFrom(8, kPrev), raisedFrom(9, kPrev)}),
        (QList<quint32> {9, 7, 8}));
    EXPECT_TRUE(writes().isEmpty()) << "cycling only raises";

    TestLog log;
    control.window(9)->raisable = false;
    EXPECT_EQ(raisedFrom(7, kNext), 8u);
    EXPECT_EQ(raisedFrom(8, kNext), 9u);
    EXPECT_EQ(log.count("failed to focus window"), 1);
    control.close(8);
    EXPECT_EQ(raisedFrom(7, kNext), 9u) << "a closed window leaves the zone when it is cycled";
    EXPECT_EQ(zonesOf(8), "");
}

} // namespace
