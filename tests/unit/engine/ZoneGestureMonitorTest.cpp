// The zone gesture: which Shift presses, right clicks and Alt changes during a window drag
// switch zone mode on and off, and what the observers hear.
#include "EngineTestSupport.h"

#include <gtest/gtest.h>

using namespace EngineTest;

namespace {

// Logs "start", "move", "end" or "cancel", with " #<id>" when the event carries a drag
// and " multi" when it is multi-zone.
class RecordingGestureObserver final : public ZoneGestureObserver
{
public:
    void zoneGestureDidStart(const ZoneGestureEvent& event) override { record("start", event); }
    void zoneGestureDidMove(const ZoneGestureEvent& event) override { record("move", event); }
    void zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled) override
    {
        record(canceled ? "cancel" : "end", event);
    }
    QStringList log;

private:
    void record(const char* what, const ZoneGestureEvent& event)
    {
        QString line = QString::fromLatin1(what);
        if (event.dragEvent)
            line += QStringLiteral(" #%1").arg(event.dragEvent->window->id());
        if (event.isMultiZone)
            line += QStringLiteral(" multi");
        log << line;
    }
};

class ZoneGestureTest : public EngineFixture
{
protected:
    ZoneGestureTest()
    {
        control.addWindow(7, QRectF(100, 100, 400, 300));
        control.setWindowAtCursor(7);
        gestures.addObserver(&observer);
    }

    // One drag step in which the window manager moved the window.
    void step()
    {
        control.moveWindow(7, frameOf(7).topLeft() + QPointF(5, 0));
        input.moveBy(5, 0);
    }

    void key(Qt::KeyboardModifier modifier, bool down)
    {
        input.setModifiers(down ? input.currentModifiers() | modifier : input.currentModifiers() & ~modifier);
    }

    // Plays a script of space-separated actions: begin (button down, the first step that
    // moves the window), m (a step), end (button up), R (right click), S/s, A/a, C/c (Shift,
    // Alt, Control down/up); [off], [on:k], [on:m], [multi] check the monitor's state.
    void play(const QString& script)
    {
        for (const QString& action : script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            SCOPED_TRACE(action.toStdString());
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
            } else if (action.size() == 1 && QStringLiteral("SsAaCc").contains(action)) {
                const QChar c = action.front();
                const Qt::KeyboardModifier m = c.toUpper() == 'S' ? Qt::ShiftModifier
                    : c.toUpper() == 'A'                          ? Qt::AltModifier
                                                                  : Qt::ControlModifier;
                key(m, c.isUpper());
            } else if (action == "[off]") {
                EXPECT_FALSE(gestures.inZoneMode());
                EXPECT_EQ(gestures.toggledBy(), ToggleDevice::none);
            } else if (action == "[on:k]" || action == "[on:m]") {
                EXPECT_TRUE(gestures.inZoneMode());
                EXPECT_EQ(gestures.toggledBy(), action == "[on:k]" ? ToggleDevice::keyboard : ToggleDevice::mouse);
            } else if (action == "[multi]") {
                EXPECT_TRUE(gestures.isMultiZone());
            } else {
                FAIL() << "unknown action";
            }
        }
    }

    RecordingGestureObserver observer;
};

struct Row
{
    const char* name;
    bool holdShiftToSnap;
    const char* script;
    const char* heard;
    friend void PrintTo(const Row& row, std::ostream* os) { *os << row.name; }
};

class GestureTableTest : public ZoneGestureTest, public ::testing::WithParamInterface<Row>
{ };

TEST_P(GestureTableTest, StateTable)
{
    settings.setValue(Keys::holdShiftToSnap, GetParam().holdShiftToSnap);
    play(QString::fromLatin1(GetParam().script));
    EXPECT_EQ(observer.log.join(QStringLiteral(", ")), QString::fromLatin1(GetParam().heard));
}

// "begin" reports a move for the step that started the drag. A start announced at the
// drag start itself carries no drag event: it comes before the event is stored.
INSTANTIATE_TEST_SUITE_P(ZoneGesture, GestureTableTest,
    ::testing::Values(Row {"NoToggleOnlyTheUncancelledEnd", false, "begin m end [off]", "end #7"},
        Row {"ShiftAtStartToggleMode", false, "S begin [on:k] m end [off] s", "start, move #7, move #7, end #7"},
        Row {"ShiftAtStartHoldMode", true, "S begin [on:k] m end [off] s", "start, move #7, move #7, end #7"},
        Row {"ThreeShiftPressesLeaveZoneModeOn", false, "begin S m s [on:k] S [off] m s S s [on:k] end [off]",
            "start #7, move #7, cancel, start #7, end #7"},
        Row {"RightClickAndKeyboardOwnTheirZoneMode", false,
            "begin R [on:m] S s [on:m] R [off] S s [on:k] R [on:k] end", "start #7, cancel, start #7, end #7"},
        Row {"DragEndClearsTheOwner", false, "begin R end [off] begin S s [on:k] end",
            "start #7, end #7, start #7, end #7"},
        Row {"HoldReleaseCancelsThenTheDragEndComes", true, "begin S m s [off] m end",
            "start #7, move #7, cancel, end #7"},
        Row {"HoldAnnouncesEveryModifierChange", true, "begin C S c s end",
            "cancel, start #7, start #7, cancel, end #7"},
        Row {"HoldRightClickWaitsForShiftsRelease", true, "begin S R [on:k] s R [on:m] S s [on:m] end",
            "start #7, cancel, start #7, end #7"},
        Row {"AltIsReadWithTheNextNotification", false, "begin S s A [multi] m a m end",
            "start #7, move #7 multi, move #7, end #7"},
        // Shift is looked at before Alt at the start; Alt released after the drag is not seen.
        Row {"AltAtStartOutlivesTheDrag", false, "A S begin end a s [multi]", "start, move #7 multi, end #7 multi"},
        Row {"NothingOutsideADrag", false, "S s R begin end S s R [off]", "end #7"}),
    [](const ::testing::TestParamInfo<Row>& row) { return std::string(row.param.name); });

TEST_F(ZoneGestureTest, StopMonitoringMidGestureCancelsAndSilencesTheRest)
{
    QList<bool> changes;
    QObject::connect(&gestures, &ZoneGestureMonitor::inZoneModeChanged, [&](bool on) { changes << on; });
    play("begin R");
    gestures.stopMonitoring();
    play("[off] R S s m end");
    EXPECT_EQ(observer.log, (QStringList {"start #7", "cancel"}));
    EXPECT_EQ(changes, (QList<bool> {true, false}));
}

} // namespace
