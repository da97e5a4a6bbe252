// The six window shortcuts, pressed through the global-shortcut service: move to the
// neighbouring zone, span over one more zone, cycle the windows of one zone.
#include "../windows/LogCapture.h"
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

using namespace EngineTest;

namespace {

const Qt::KeyboardModifiers kPrimary = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
const KeyCombination kCycleLeft(kPrimary, Qt::Key_Left);
const KeyCombination kCycleRight(kPrimary, Qt::Key_Right);
const KeyCombination kCycleNext(kPrimary, Qt::Key_Up);
const KeyCombination kCyclePrev(kPrimary, Qt::Key_Down);
const KeyCombination kSpanLeft(kPrimary | Qt::ShiftModifier, Qt::Key_Left);
const KeyCombination kSpanRight(kPrimary | Qt::ShiftModifier, Qt::Key_Right);
const KeyCombination kAll[] = {kCycleLeft, kCycleRight, kCycleNext, kCyclePrev, kSpanLeft, kSpanRight};

class ZoneShortcutsTest : public EngineFixture
{
protected:
    ZoneShortcutsTest() { shortcuts.registerDefaultShortcuts(); }

    // Windows snapped into zones of LEFT, in this order; the last one has the focus.
    void snapped(std::initializer_list<quint32> ids, const std::vector<int>& numbers)
    {
        for (const quint32 id : ids) {
            control.addWindow(id, QRectF(100, 100, 500, 400));
            zoneManager.snap(record(id), zones(left, numbers));
            control.setFocused(id);
        }
        control.clearCalls();
    }
    // The zone ids window 7 stands in after pressing key, or "-" when nothing was moved.
    QString zonesAfter(KeyCombination key)
    {
        EXPECT_TRUE(hotkeys.press(key));
        return control.count(QStringLiteral("setFrame")) ? zonesOf(7).join(QLatin1Char(' ')) : QStringLiteral("-");
    }
    // The window raised by pressing key while id has the focus (0: none).
    quint32 raisedFrom(quint32 id, KeyCombination key)
    {
        control.setFocused(id);
        control.clearCalls();
        EXPECT_TRUE(hotkeys.press(key));
        const QList<FakeWindowControl::Call> raised = control.calls(QStringList {"focus"});
        return raised.size() == 1 ? raised.front().id : 0;
    }
};

// --- Move and span, at the first and the last zone --------------------------------------------

struct KeyRow
{
    const char* name;
    std::vector<int> from;
    KeyCombination key;
    const char* to;
    friend void PrintTo(const KeyRow& row, std::ostream* os) { *os << row.name; }
};

class MoveAndSpanTest : public ZoneShortcutsTest, public ::testing::WithParamInterface<KeyRow>
{ };

TEST_P(MoveAndSpanTest, FromSnappedZones)
{
    snapped({7}, GetParam().from);
    EXPECT_EQ(zonesAfter(GetParam().key), QString::fromLatin1(GetParam().to));
    QRectF expected;
    for (const QString& id : zonesOf(7))
        expected |= zone(left, id.toInt())->rect().translated(0, 30);
    EXPECT_EQ(frameOf(7), expected);
    expectConsistentBookkeeping();
}

INSTANTIATE_TEST_SUITE_P(ZoneShortcuts, MoveAndSpanTest,
    ::testing::Values(KeyRow {"CycleRightFromFirst", {1}, kCycleRight, "2"},
        KeyRow {"CycleRightFromLastWraps", {3}, kCycleRight, "1"},
        KeyRow {"CycleLeftFromFirstWraps", {1}, kCycleLeft, "3"}, KeyRow {"CycleLeftFromLast", {3}, kCycleLeft, "2"},
        KeyRow {"CycleReducesASpanToOneZone", {1, 2}, kCycleRight, "2"},
        KeyRow {"SpanRightFromFirst", {1}, kSpanRight, "1 2"},
        KeyRow {"SpanRightFromLastSpansLeft", {3}, kSpanRight, "2 3"},
        KeyRow {"SpanLeftFromFirstDoesNothing", {1}, kSpanLeft, "-"},
        KeyRow {"SpanLeftFromLast", {3}, kSpanLeft, "2 3"}, KeyRow {"SpanRightGrowsASpan", {1, 2}, kSpanRight, "1 2 3"},
        KeyRow {"SpanLeftGrowsASpan", {2, 3}, kSpanLeft, "1 2 3"},
        KeyRow {"SpanRightStopsAtTheLastZone", {2, 3}, kSpanRight, "-"},
        KeyRow {"SpanLeftStopsAtTheFirstZone", {1, 2, 3}, kSpanLeft, "-"}),
    [](const ::testing::TestParamInfo<KeyRow>& row) { return std::string(row.param.name); });

TEST_F(ZoneShortcutsTest, MoveAndSpanCompareDesktopPositionsWithLayoutRectanglesAsRawNumbers)
{
    // (380, 60) + (50, 50) lies in zone 2's rectangle, though most of the window is in zone 1.
    control.addWindow(7, QRectF(380, 60, 300, 300));
    control.setFocused(7);
    EXPECT_EQ(zonesAfter(kCycleRight), QStringLiteral("3"));

    // On RIGHT the desktop position is not converted into RIGHT's layout space, so no zone
    // rectangle there holds it.
    control.setWindowFrame(7, QRectF(1380, 100, 300, 300));
    control.clearCalls();
    EXPECT_EQ(zonesAfter(kCycleRight), QStringLiteral("-"));
    EXPECT_EQ(zonesAfter(kSpanRight), QStringLiteral("-"));
    // Spanning needs a zone centre inside the window.
    control.setWindowFrame(7, QRectF(10, 40, 150, 150));
    EXPECT_EQ(zonesAfter(kSpanRight), QStringLiteral("-"));
}

TEST_F(ZoneShortcutsTest, WrongDirectionsAreLoggedAndNoFocusMeansNothing)
{
    LogCapture log;
    snapped({7}, {2});
    zoneManager.handleCycleMove(ZoneCycleDirection::up);
    zoneManager.handleCycleSwap(ZoneCycleDirection::left);
    EXPECT_TRUE(log.contains(QtCriticalMsg, QStringLiteral("called with invalid direction: up")));
    EXPECT_TRUE(log.contains(QtCriticalMsg, QStringLiteral("called with invalid direction: left")));

    control.setFocused(std::nullopt);
    for (const KeyCombination key : kAll)
        EXPECT_TRUE(hotkeys.press(key));
    EXPECT_EQ(control.calls(QStringList {"setFrame", "focus"}).size(), 0);
}

// --- Cycling the windows of one zone ----------------------------------------------------------

TEST_F(ZoneShortcutsTest, CycleGoesRoundTheZoneInSnapOrderWithOneTwoAndThreeWindows)
{
    snapped({7}, {1});
    EXPECT_EQ(raisedFrom(7, kCycleNext), 7u) << "a lone window is raised again";
    EXPECT_EQ(raisedFrom(7, kCyclePrev), 7u);
    snapped({8}, {1});
    EXPECT_EQ(raisedFrom(7, kCycleNext), 8u);
    EXPECT_EQ(raisedFrom(8, kCycleNext), 7u);
    snapped({9}, {1});
    const QList<quint32> next {raisedFrom(7, kCycleNext), raisedFrom(8, kCycleNext), raisedFrom(9, kCycleNext)};
    const QList<quint32> prev {raisedFrom(7, kCyclePrev), raisedFrom(8, kCyclePrev), raisedFrom(9, kCyclePrev)};
    EXPECT_EQ(next, (QList<quint32> {8, 9, 7}));
    EXPECT_EQ(prev, (QList<quint32> {9, 7, 8}));
    EXPECT_EQ(control.count(QStringLiteral("setFrame")), 0) << "cycling only raises";
}

TEST_F(ZoneShortcutsTest, ClosedWindowsLeaveTheZoneWhenItIsCycled)
{
    snapped({7, 8, 9}, {1});
    control.close(8);
    EXPECT_TRUE(zoneManager.snappedWindows().contains(8)) << "closing alone is not noticed";
    EXPECT_EQ(raisedFrom(7, kCycleNext), 9u);
    EXPECT_EQ(idsIn("1"), (QList<quint32> {7, 9}));
    expectConsistentBookkeeping();
}

TEST_F(ZoneShortcutsTest, CycleFailuresAreQuietOrLogged)
{
    LogCapture log;
    snapped({7, 8}, {1});
    control.addWindow(9, QRectF(0, 30, 400, 1050)); // over zone 1 but never snapped
    EXPECT_EQ(raisedFrom(9, kCycleNext), 0u);

    control.window(8)->raisable = false;
    EXPECT_EQ(raisedFrom(7, kCycleNext), 8u);
    EXPECT_EQ(log.count(QStringLiteral("failed to focus window")), 1);

    // The focused window answers the lookup, then quits before its zone is cleaned.
    control.close(8);
    control.window(7)->readsLeft = 1;
    EXPECT_EQ(raisedFrom(7, kCycleNext), 0u);
    EXPECT_EQ(log.count(QStringLiteral("no normal windows in zone")), 1);
    EXPECT_TRUE(zoneManager.snappedWindows().isEmpty());
    EXPECT_TRUE(zoneManager.snappedWindowsByZone().isEmpty());
}

TEST_F(ZoneShortcutsTest, HandlersOfAManagerThatIsGoneDoNothing)
{
    FakeHotkeyBackend otherKeys;
    GlobalShortcuts otherShortcuts(otherKeys, settings);
    otherShortcuts.registerDefaultShortcuts();
    std::make_unique<ZoneManager>(screens, layouts, windows, gestures, otherShortcuts, settings, overlays).reset();
    snapped({7}, {1});
    for (const KeyCombination key : kAll)
        EXPECT_TRUE(otherKeys.press(key));
    EXPECT_EQ(control.calls(QStringList {"setFrame", "focus"}).size(), 0);
}

} // namespace
