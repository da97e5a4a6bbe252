#include "managers/WindowDragMonitor.h"
#include "FakeGlobalInput.h"
#include "FakeWindowControl.h"
#include "LogCapture.h"
#include "QtPrinters.h"
#include "managers/WindowManager.h"

#include <gtest/gtest.h>

namespace {

struct Recorded
{
    QString what;
    quint32 id;
    QRectF initialFrame;

    friend bool operator==(const Recorded&, const Recorded&) = default;
    friend std::ostream& operator<<(std::ostream& os, const Recorded& r)
    {
        return os << r.what.toStdString() << " #" << r.id << " (" << r.initialFrame.x() << "," << r.initialFrame.y()
                  << " " << r.initialFrame.width() << "x" << r.initialFrame.height() << ")";
    }
};

class RecordingObserver final : public WindowDragObserver
{
public:
    explicit RecordingObserver(QList<Recorded>* log)
        : m_log(log)
    { }

    void windowDragDidStart(const WindowDragEvent& event) override { record(QStringLiteral("start"), event); }
    void windowDragDidMove(const WindowDragEvent& event) override { record(QStringLiteral("move"), event); }
    void windowDragDidEnd(const WindowDragEvent& event) override { record(QStringLiteral("end"), event); }

private:
    void record(const QString& what, const WindowDragEvent& event)
    {
        m_log->append(Recorded {what, event.window ? event.window->id() : 0, event.initialFrame});
    }

    QList<Recorded>* m_log;
};

const QRectF kFrame(100, 100, 400, 300);

class WindowDragMonitorTest : public ::testing::Test
{
protected:
    WindowDragMonitorTest()
    {
        control.addWindow(7, kFrame);
        control.setWindowAtCursor(7);
        monitor.addObserver(&observer);
        monitor.startMonitoring();
        input.moveTo(QPointF(150, 110));
    }

    // Button down and the first drag step, in which the window is looked up (the window
    // manager has not moved it yet).
    void beginDrag()
    {
        input.pressLeft();
        input.moveBy(1, 0);
    }

    // One drag step during which the window manager moved the window by (dx, dy).
    void dragWindowBy(qreal dx, qreal dy)
    {
        const QRectF frame = *control.frameOf(7);
        control.moveWindow(7, frame.topLeft() + QPointF(dx, dy));
        input.moveBy(dx, dy);
    }

    Recorded rec(const char* what, QRectF initial = kFrame) { return Recorded {QString::fromLatin1(what), 7, initial}; }

    FakeWindowControl control;
    FakeGlobalInput input;
    WindowManager windows {control};
    WindowDragMonitor monitor {input, windows};
    QList<Recorded> events;
    RecordingObserver observer {&events};
};

TEST_F(WindowDragMonitorTest, ReportsStartOnceThenMoveOnEveryStepThenEnd)
{
    input.pressLeft();
    input.moveBy(1, 0); // the window manager has not moved the window yet
    EXPECT_TRUE(events.isEmpty());
    ASSERT_TRUE(monitor.trackedWindow());
    EXPECT_EQ(monitor.trackedWindow()->id(), 7u);
    EXPECT_FALSE(monitor.isMovingWindow());

    dragWindowBy(1, 0); // one point is enough
    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move")}));
    EXPECT_TRUE(monitor.isMovingWindow());

    dragWindowBy(30, 12);
    input.moveBy(2, 2); // a step in which the window did not move is still a move
    input.releaseLeft();

    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move"), rec("move"), rec("move"), rec("end")}));
    EXPECT_FALSE(monitor.trackedWindow());
    EXPECT_FALSE(monitor.isMovingWindow());
    EXPECT_FALSE(monitor.initialWindowFrame());
}

TEST_F(WindowDragMonitorTest, TheNextDragStartsAfreshWithItsOwnInitialFrame)
{
    beginDrag();
    dragWindowBy(5, 5);
    input.releaseLeft();
    events.clear();

    const QRectF second = *control.frameOf(7);
    beginDrag();
    dragWindowBy(-3, 0);
    input.releaseLeft();
    EXPECT_EQ(events, (QList<Recorded> {rec("start", second), rec("move", second), rec("end", second)}));
}

TEST_F(WindowDragMonitorTest, ResizeIsNeverReported)
{
    input.pressLeft();
    input.moveBy(1, 1);
    // Dragging the top-left corner: position and size change together.
    control.setWindowFrame(7, QRectF(90, 95, 410, 305));
    input.moveBy(-10, -5);
    control.setWindowFrame(7, QRectF(80, 90, 420, 310));
    input.moveBy(-10, -5);
    // Growing to the right only: the position stays.
    control.setWindowFrame(7, QRectF(80, 90, 500, 310));
    input.moveBy(80, 0);
    input.releaseLeft();

    EXPECT_TRUE(events.isEmpty());
    EXPECT_FALSE(monitor.trackedWindow());
}

TEST_F(WindowDragMonitorTest, ClickWithoutMotionReportsNothingAndLooksNothingUp)
{
    int tracked = 0;
    QObject::connect(&monitor, &WindowDragMonitor::trackedWindowChanged, [&] { ++tracked; });
    input.pressLeft();
    input.releaseLeft();
    EXPECT_TRUE(events.isEmpty());
    EXPECT_EQ(control.count(QStringLiteral("windowAtCursor")), 0);
    EXPECT_EQ(tracked, 0);
}

TEST_F(WindowDragMonitorTest, DragOverTheDesktopKeepsLookingUntilAWindowIsFound)
{
    LogCapture log;
    control.setWindowAtCursor(std::nullopt);
    input.pressLeft();
    input.moveBy(4, 0);
    input.moveBy(4, 0);
    EXPECT_FALSE(monitor.trackedWindow());
    EXPECT_EQ(control.count(QStringLiteral("windowAtCursor")), 2);
    EXPECT_EQ(log.count(QStringLiteral("unable to get current window")), 2);

    control.setWindowAtCursor(7);
    input.moveBy(4, 0); // found: tracking starts here, with the frame as it is now
    dragWindowBy(2, 0);
    dragWindowBy(2, 0);
    EXPECT_EQ(control.count(QStringLiteral("windowAtCursor")), 3);
    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move"), rec("move")}));
}

TEST_F(WindowDragMonitorTest, OnlyTheWindowFoundAtTheStartIsTracked)
{
    control.addWindow(8, QRectF(600, 100, 300, 300));
    input.pressLeft();
    input.moveBy(1, 0);
    control.setWindowAtCursor(8); // the pointer passes over another window
    dragWindowBy(50, 0);
    input.releaseLeft();
    ASSERT_FALSE(events.isEmpty());
    for (const Recorded& r : events)
        EXPECT_EQ(r.id, 7u);
}

TEST_F(WindowDragMonitorTest, UnreadableWindowIsNotTracked)
{
    LogCapture log;
    control.window(7)->readable = false;
    beginDrag();
    EXPECT_FALSE(monitor.trackedWindow());
    EXPECT_EQ(log.count(QStringLiteral("Failed to get window size")), 1);
    EXPECT_EQ(log.count(QStringLiteral("unable to get current window")), 1);
}

TEST_F(WindowDragMonitorTest, WindowThatVanishesMidDragStillEndsCleanly)
{
    beginDrag();
    dragWindowBy(10, 0);
    control.close(7);
    input.moveBy(10, 0);
    input.releaseLeft();
    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move"), rec("move"), rec("end")}));

    // Vanishing before the window was seen to move: no start, nothing at release.
    events.clear();
    control.addWindow(9, kFrame);
    control.setWindowAtCursor(9);
    input.pressLeft();
    input.moveBy(1, 0);
    control.close(9);
    input.moveBy(1, 0);
    input.releaseLeft();
    EXPECT_TRUE(events.isEmpty());
}

TEST_F(WindowDragMonitorTest, StoppingDuringADragEndsIt)
{
    beginDrag();
    dragWindowBy(10, 0);
    monitor.stopMonitoring();
    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move"), rec("end")}));
    EXPECT_FALSE(monitor.trackedWindow());
}

} // namespace
