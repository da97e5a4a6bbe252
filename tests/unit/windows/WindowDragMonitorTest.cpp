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
    explicit RecordingObserver(QList<Recorded>* log, QString tag = {})
        : m_log(log)
        , m_tag(std::move(tag))
    { }

    void windowDragDidStart(const WindowDragEvent& event) override { record(QStringLiteral("start"), event); }
    void windowDragDidMove(const WindowDragEvent& event) override { record(QStringLiteral("move"), event); }
    void windowDragDidEnd(const WindowDragEvent& event) override { record(QStringLiteral("end"), event); }

private:
    void record(const QString& what, const WindowDragEvent& event)
    {
        m_log->append(Recorded {m_tag + what, event.window ? event.window->id() : 0, event.initialFrame});
    }

    QList<Recorded>* m_log;
    QString m_tag;
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

TEST_F(WindowDragMonitorTest, StepsThatCannotReadTheWindowStartNothing)
{
    beginDrag();
    control.window(7)->readable = false;
    dragWindowBy(3, 3);
    dragWindowBy(3, 3);
    EXPECT_TRUE(events.isEmpty());
    control.window(7)->readable = true;
    input.moveBy(1, 1); // displaced since tracking began: the drag starts now
    input.releaseLeft();
    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move"), rec("end")}));
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

TEST_F(WindowDragMonitorTest, StopMonitoringSilencesUntilStartedAgain)
{
    monitor.stopMonitoring();
    EXPECT_FALSE(monitor.isMonitoring());
    EXPECT_FALSE(input.isRunning());
    beginDrag();
    dragWindowBy(10, 0);
    input.releaseLeft();
    EXPECT_TRUE(events.isEmpty());
    EXPECT_EQ(control.count(QStringLiteral("windowAtCursor")), 0);

    monitor.startMonitoring();
    monitor.startMonitoring(); // idempotent: one listener, one notification per step
    beginDrag();
    dragWindowBy(10, 0);
    input.releaseLeft();
    const QRectF initial(110, 100, 400, 300);
    EXPECT_EQ(events, (QList<Recorded> {rec("start", initial), rec("move", initial), rec("end", initial)}));
    EXPECT_EQ(input.listenCount(), 2);
}

TEST_F(WindowDragMonitorTest, StoppingDuringADragEndsIt)
{
    beginDrag();
    dragWindowBy(10, 0);
    monitor.stopMonitoring();
    EXPECT_EQ(events, (QList<Recorded> {rec("start"), rec("move"), rec("end")}));
    EXPECT_FALSE(monitor.trackedWindow());
}

TEST_F(WindowDragMonitorTest, MonitoringFailsWhenGlobalInputIsUnavailable)
{
    FakeGlobalInput broken;
    broken.setAvailable(false);
    WindowDragMonitor blind(broken, windows);
    blind.startMonitoring();
    EXPECT_FALSE(blind.isMonitoring());
    EXPECT_FALSE(broken.isRunning());
}

TEST_F(WindowDragMonitorTest, ObserversAreCalledInRegistrationOrderAndReRegisteringMovesToTheEnd)
{
    QList<Recorded> shared;
    RecordingObserver a(&shared, QStringLiteral("a-"));
    RecordingObserver b(&shared, QStringLiteral("b-"));
    monitor.removeObserver(&observer);
    monitor.addObserver(&a);
    monitor.addObserver(&b);
    monitor.addObserver(&a); // now b, a

    beginDrag();
    dragWindowBy(1, 0);
    monitor.removeObserver(&b);
    input.releaseLeft();

    QStringList order;
    for (const Recorded& r : shared)
        order << r.what;
    EXPECT_EQ(order, (QStringList {"b-start", "a-start", "b-move", "a-move", "a-end"}));
    EXPECT_TRUE(events.isEmpty());
}

TEST_F(WindowDragMonitorTest, ObserverAddedDuringACallbackHearsFromTheNextNotificationOn)
{
    QList<Recorded> late;
    RecordingObserver lateObserver(&late);
    struct Adder final : WindowDragObserver
    {
        WindowDragMonitor* monitor;
        WindowDragObserver* toAdd;
        void windowDragDidStart(const WindowDragEvent&) override { monitor->addObserver(toAdd); }
    } adder;
    adder.monitor = &monitor;
    adder.toAdd = &lateObserver;
    monitor.addObserver(&adder);

    beginDrag();
    dragWindowBy(1, 0); // added during the start: misses it, hears the move of the same step
    dragWindowBy(1, 0);
    input.releaseLeft();
    EXPECT_EQ(late, (QList<Recorded> {rec("move"), rec("move"), rec("end")}));
}

TEST_F(WindowDragMonitorTest, PublishesTrackingAndMovingChanges)
{
    QList<WindowPtr> tracked;
    QList<bool> moving;
    QObject::connect(&monitor, &WindowDragMonitor::trackedWindowChanged, [&](const WindowPtr& w) { tracked << w; });
    QObject::connect(&monitor, &WindowDragMonitor::movingWindowChanged, [&](bool m) { moving << m; });
    beginDrag();
    dragWindowBy(1, 0);
    dragWindowBy(1, 0);
    input.releaseLeft();
    ASSERT_EQ(tracked.count(), 2);
    ASSERT_TRUE(tracked.at(0));
    EXPECT_EQ(tracked.at(0)->id(), 7u);
    EXPECT_FALSE(tracked.at(1));
    EXPECT_EQ(moving, (QList<bool> {true, false}));
}

TEST(WindowDragEventTest, EqualWhenSameWindowIdAndSameInitialFrame)
{
    const auto handle = FakeWindowControl::handleFor(3);
    const WindowDragEvent a {std::make_shared<Window>(3, handle, WindowApplication {}, QSizeF(10, 10)), kFrame};
    const WindowDragEvent b {std::make_shared<Window>(3, nullptr, WindowApplication {}, QSizeF(99, 99)), kFrame};
    const WindowDragEvent otherWindow {
        std::make_shared<Window>(4, handle, WindowApplication {}, QSizeF(10, 10)), kFrame};
    const WindowDragEvent otherFrame {a.window, kFrame.translated(1, 0)};
    EXPECT_EQ(a, b);
    EXPECT_FALSE(a == otherWindow);
    EXPECT_FALSE(a == otherFrame);
}

} // namespace
