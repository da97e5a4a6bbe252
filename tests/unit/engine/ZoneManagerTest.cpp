// The zone manager's hit test, snapping, unsnapping, bookkeeping and overlays.
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

using namespace EngineTest;

namespace {

using Call = FakeWindowControl::Call;

class ZoneManagerTest : public EngineFixture
{
protected:
    ZoneManagerTest() { control.addWindow(7, QRectF(100, 100, 500, 400)); }

    QList<Call> writes() const { return control.calls(QStringList {"setFrame", "setSize"}); }
};

// --- Hit test ------------------------------------------------------------------------------

struct HitRow
{
    bool span;
    double distance;
    QPointF pointer; // desktop space
    const char* leftHits; // zones of LEFT under the pointer
    const char* rightHits;
    friend void PrintTo(const HitRow& row, std::ostream* os)
    {
        *os << "pointer " << row.pointer.x() << "," << row.pointer.y();
        if (row.span)
            *os << " spanning " << row.distance;
    }
};

class HitTest : public ZoneManagerTest, public ::testing::WithParamInterface<HitRow>
{
protected:
    QString hits(const Screen& screen)
    {
        QStringList result;
        for (const std::shared_ptr<Zone>& z : layouts.activeFor(screen)->zones()) {
            if (zoneManager.isCursorInZone(*z))
                result << z->id();
        }
        return result.join(QLatin1Char(' '));
    }
};

TEST_P(HitTest, BordersWithAndWithoutSpan)
{
    settings.setValue(Keys::spanAdjancedZones, GetParam().span);
    settings.setValue(Keys::autoSpanDistance, GetParam().distance);
    displays.setPointer(GetParam().pointer);
    EXPECT_EQ(hits(left), QString::fromLatin1(GetParam().leftHits));
    EXPECT_EQ(hits(right), QString::fromLatin1(GetParam().rightHits));
}

// LEFT's layout space starts below its 30-point panel; RIGHT's visible frame ends 40
// points above its bottom. Zones are 0-400, 400-800 and 800-1280 wide.
INSTANTIATE_TEST_SUITE_P(ZoneManager, HitTest,
    ::testing::Values(
        // The point test: left and top edges inside, right and bottom edges outside.
        HitRow {false, 40, {0, 30}, "1", ""}, HitRow {false, 40, {399.5, 500}, "1", ""},
        HitRow {false, 40, {400, 500}, "2", ""}, HitRow {false, 40, {1279.9, 1079.9}, "3", ""},
        HitRow {false, 40, {200, 29.5}, "", ""}, HitRow {false, 40, {1300, 1039.9}, "", "1"},
        HitRow {false, 40, {1300, 1040}, "", ""}, HitRow {false, 40, {-50, -50}, "", ""},
        // Spanning: a square of side autoSpanDistance; touching a border is not crossing it.
        HitRow {true, 40, {381, 500}, "1 2", ""}, HitRow {true, 40, {380, 500}, "1", ""},
        HitRow {true, 40, {419, 500}, "1 2", ""}, HitRow {true, 40, {600, 11}, "2", ""},
        // Never across screens, even when the square reaches over the edge.
        HitRow {true, 400, {1281, 500}, "", "1"},
        // Half a point is raised to one; no distance is the point test.
        HitRow {true, 0.5, {399.6, 500}, "1 2", ""}, HitRow {true, 0.5, {399.4, 500}, "1", ""},
        HitRow {true, 0, {399.9, 500}, "1", ""}, HitRow {true, -10, {400, 500}, "2", ""}));

TEST_F(ZoneManagerTest, AZoneWithoutAConnectedScreenIsNeverHit)
{
    displays.setPointer(QPointF(100, 100));
    const Screen unplugged(QStringLiteral("33333333-3333-3333-3333-333333333333-1920x1080"), QStringLiteral("GONE"));
    EXPECT_FALSE(zoneManager.isCursorInZone(Zone(QStringLiteral("1"), QRectF(0, 0, 400, 1050), std::nullopt)));
    EXPECT_FALSE(zoneManager.isCursorInZone(Zone(QStringLiteral("1"), QRectF(0, 0, 400, 1050), unplugged)));
    EXPECT_TRUE(zoneManager.isCursorInZone(*zone(left, 1)));
}

TEST_F(ZoneManagerTest, HitTestReadsThePointerOncePerZone)
{
    // Every zone of every screen is tested on every drag step, and on X11 each read is a
    // round trip to the server.
    displays.setPointer(QPointF(500, 500));
    const int before = displays.pointerReads();
    EXPECT_TRUE(zoneManager.isCursorInZone(*zone(left, 2)));
    EXPECT_FALSE(zoneManager.isCursorInZone(*zone(right, 2)));
    EXPECT_EQ(displays.pointerReads() - before, 2);
}

// --- Snap ----------------------------------------------------------------------------------

TEST_F(ZoneManagerTest, SnapFillsTheUnionOfTheZonesOnTheFirstZonesScreen)
{
    zoneManager.snap(record(7), zones(left, {1, 2}));
    EXPECT_EQ(frameOf(7), QRectF(0, 30, 800, 1050));
    zoneManager.snap(record(7), zones(right, {3, 2}));
    EXPECT_EQ(frameOf(7), QRectF(1680, 0, 880, 1040));
    // Zones of two screens: the union of their rectangles, placed on RIGHT, and never
    // taller than RIGHT's visible frame.
    zoneManager.snap(record(7), {zone(right, 1), zone(left, 2)});
    EXPECT_EQ(frameOf(7), QRectF(1280, 0, 800, 1040));
}

TEST_F(ZoneManagerTest, SnapWithGapsLeavesOneGapBetweenZonesAndAWholeOneAtTheEdges)
{
    settings.setValue(Keys::enableGaps, true);
    settings.setValue(Keys::gapSize, 10);
    control.addWindow(8, QRectF(100, 100, 500, 400));
    zoneManager.snap(record(7), zones(left, {1, 2}));
    zoneManager.snap(record(8), zones(left, {3}));
    EXPECT_EQ(frameOf(7), QRectF(10, 40, 785, 1030));
    EXPECT_EQ(frameOf(8), QRectF(805, 40, 465, 1030));
}

TEST_F(ZoneManagerTest, SnapWithNothingToGoOnDoesNothing)
{
    const Screen unplugged(QStringLiteral("33333333-3333-3333-3333-333333333333-1920x1080"), QStringLiteral("GONE"));
    zoneManager.snap(record(7), {});
    zoneManager.snap(record(7), {std::make_shared<Zone>(QStringLiteral("1"), QRectF(0, 0, 400, 400), std::nullopt)});
    zoneManager.snap(record(7), {std::make_shared<Zone>(QStringLiteral("1"), QRectF(0, 0, 400, 400), unplugged)});
    EXPECT_TRUE(writes().isEmpty());
    EXPECT_TRUE(zoneManager.snappedWindows().isEmpty());
    EXPECT_TRUE(zoneManager.snappedWindowsByZone().isEmpty());
}

TEST_F(ZoneManagerTest, AWindowThatRefusesTheSizeIsMovedAndStillRecorded)
{
    control.window(7)->refusesSize = true;
    zoneManager.snap(record(7), zones(left, {2}));
    EXPECT_EQ(frameOf(7), QRectF(400, 30, 500, 400));
    EXPECT_EQ(zonesOf(7), QStringList {"2"});
}

TEST_F(ZoneManagerTest, SnappingASnappedWindowLeavesAllItsOldZones)
{
    control.addWindow(8, QRectF(100, 100, 500, 400));
    zoneManager.snap(record(7), zones(left, {1, 2, 3}));
    zoneManager.snap(record(8), zones(left, {1}));
    EXPECT_EQ(idsIn("1"), (QList<quint32> {7, 8}));

    zoneManager.snap(record(7), zones(left, {3}));
    EXPECT_EQ(zonesOf(7), QStringList {"3"});
    EXPECT_EQ(idsIn("1"), QList<quint32> {8});
    EXPECT_FALSE(zoneManager.snappedWindowsByZone().contains("2")) << "emptied zones are dropped";
    EXPECT_EQ(zoneManager.zoneId(*record(7)), std::optional<QString>("3"));
    expectConsistentBookkeeping();

    zoneManager.addSnappedWindow(record(8), {}); // no zone, no record
    zoneManager.addSnappedWindow(record(8), zones(left, {1}));
    EXPECT_EQ(idsIn("1"), QList<quint32> {8}) << "a zone lists a window once";
    zoneManager.removeSnappedWindow(*record(8)); // another record of the same window
    EXPECT_FALSE(zoneManager.isWindowSnapped(*record(8)));
    EXPECT_FALSE(zoneManager.zoneId(*record(8)));
    expectConsistentBookkeeping();
}

// --- Unsnap ----------------------------------------------------------------------------------

TEST_F(ZoneManagerTest, UnsnapRestoresTheSizeFromBeforeTheFirstSnapWhereTheWindowWasDropped)
{
    zoneManager.snap(record(7), zones(left, {1}));
    // Snapped again through a record taken while snapped (it carries zone 1's size).
    zoneManager.snap(record(7), zones(left, {2, 3}));
    control.moveWindow(7, QPointF(640, 300));
    control.clearCalls();
    zoneManager.unsnap(record(7));
    EXPECT_EQ(writes(), (QList<Call> {{"setSize", 7, QRectF(0, 0, 500, 400)}}));
    EXPECT_EQ(frameOf(7), QRectF(640, 300, 500, 400));
    EXPECT_TRUE(zoneManager.snappedWindows().isEmpty());
    EXPECT_TRUE(zoneManager.snappedWindowsByZone().isEmpty());

    control.clearCalls();
    zoneManager.unsnap(record(7)); // not snapped: nothing to restore
    EXPECT_TRUE(writes().isEmpty());
}

TEST_F(ZoneManagerTest, UnsnapOnlyForgetsWhenRestoringIsOff)
{
    settings.setValue(Keys::restoreSizeOnUnsnap, false);
    zoneManager.snap(record(7), zones(left, {1}));
    control.clearCalls();
    zoneManager.unsnap(record(7));
    EXPECT_TRUE(writes().isEmpty());
    EXPECT_FALSE(zoneManager.isWindowSnapped(*record(7)));
}

TEST_F(ZoneManagerTest, DraggingASnappedWindowIntoAnotherZoneUnsnapsBeforeTheNewSnap)
{
    SnapOnRelease overlay(zoneManager, layouts, screens);
    gestures.addObserver(&overlay);
    zoneManager.snap(record(7), zones(left, {1}));
    control.clearCalls();

    // A title-bar drag from zone 1 into zone 3, zone mode switched on by a right click.
    control.setWindowAtCursor(7);
    input.moveTo(QPointF(200, 40));
    input.pressLeft();
    input.moveBy(1, 0);
    for (int i = 0; i < 10; ++i) {
        control.moveWindow(7, frameOf(7).topLeft() + QPointF(80, 0));
        input.moveBy(80, 0);
    }
    input.pressRight();
    displays.setPointer(input.pointerLocation());
    input.releaseLeft();

    EXPECT_EQ(
        writes(), (QList<Call> {{"setSize", 7, QRectF(0, 0, 500, 400)}, {"setFrame", 7, QRectF(800, 30, 480, 1050)}}));
    EXPECT_EQ(zonesOf(7), QStringList {"3"});
    gestures.removeObserver(&overlay);

    // Dragged out again without zone mode: only the unsnap.
    control.clearCalls();
    zoneMonitor.windowDragDidEnd(WindowDragEvent {record(7), frameOf(7)});
    zoneMonitor.windowDragDidEnd(WindowDragEvent {nullptr, QRectF()});
    EXPECT_EQ(writes(), (QList<Call> {{"setSize", 7, QRectF(0, 0, 500, 400)}})) << "the size from before zone 1";
    EXPECT_FALSE(zoneManager.isWindowSnapped(*record(7)));
}

// --- Overlays -------------------------------------------------------------------------------

TEST_F(ZoneManagerTest, OverlaysLiveFromGestureStartToEveryGestureEnd)
{
    zoneManager.startObserving(); // a second registration changes nothing
    for (const bool canceled : {true, false}) {
        overlays.log.clear();
        gestures.windowDragDidStart(WindowDragEvent {record(7), QRectF()});
        input.pressRight();
        EXPECT_EQ(overlays.log, (QStringList {"create LEFT", "show LEFT", "create RIGHT", "show RIGHT"}));
        if (canceled)
            input.pressRight();
        gestures.windowDragDidEnd(WindowDragEvent {record(7), QRectF()});
        EXPECT_EQ(overlays.log.mid(4), (QStringList {"hide LEFT", "destroy LEFT", "hide RIGHT", "destroy RIGHT"}));
        EXPECT_FALSE(zoneManager.hasOverlays());
    }
    EXPECT_EQ(overlays.layouts.value("LEFT"), layouts.activeFor(left)->idText());

    overlays.log.clear();
    zoneManager.zoneGestureDidStart({});
    zoneManager.zoneGestureDidStart({}); // shown again, not made again
    EXPECT_EQ(overlays.log.mid(4), (QStringList {"show LEFT", "show RIGHT"}));
    zoneManager.zoneGestureDidEnd({}, false);

    zoneManager.stopObserving();
    overlays.log.clear();
    gestures.windowDragDidStart(WindowDragEvent {record(7), QRectF()});
    input.pressRight();
    EXPECT_TRUE(overlays.log.isEmpty());
    gestures.windowDragDidEnd(WindowDragEvent {record(7), QRectF()});
}

TEST_F(ZoneManagerTest, AScreenWithoutAnOverlayIsSkipped)
{
    overlays.refused.insert(QStringLiteral("LEFT"));
    zoneManager.showOverlayWindows();
    EXPECT_EQ(overlays.log, (QStringList {"create RIGHT", "show RIGHT"}));
}

} // namespace
