// Global input and drag recognition with real window managers moving real windows.
#include "VirtualDesktop.h"
#include "WindowsX11Support.h"
#include "XTestInput.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11GlobalInput.h"
#include "platform/x11/X11WindowControl.h"

#include <gtest/gtest.h>

using namespace WindowsX11;

namespace {


struct Recorded
{
    QString what;
    quint32 id;
    QRectF initialFrame;
};

class Recorder final : public WindowDragObserver
{
public:
    void windowDragDidStart(const WindowDragEvent& event) override { add(QStringLiteral("start"), event); }
    void windowDragDidMove(const WindowDragEvent& event) override { add(QStringLiteral("move"), event); }
    void windowDragDidEnd(const WindowDragEvent& event) override { add(QStringLiteral("end"), event); }

    QList<Recorded> events;

    QStringList kinds() const
    {
        QStringList result;
        for (const Recorded& r : events) {
            if (result.isEmpty() || r.what != QStringLiteral("move") || result.last() != QStringLiteral("move*"))
                result << (r.what == QStringLiteral("move") ? QStringLiteral("move*") : r.what);
        }
        return result;
    }
    int count(const QString& what) const
    {
        int n = 0;
        for (const Recorded& r : events)
            n += r.what == what ? 1 : 0;
        return n;
    }

private:
    void add(const QString& what, const WindowDragEvent& event)
    {
        events.append({what, event.window ? event.window->id() : 0u, event.initialFrame});
    }
};

class WindowDragTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(xtest.isValid()) << "the X server has no XTest extension";
        monitor.addObserver(&recorder);
    }

    void TearDown() override
    {
        xtest.release(1);
        monitor.stopMonitoring();
        desktop.stopAllClients();
        desktop.stopWindowManager();
    }

    // Places a client's frame at a known rectangle and returns the frame it got.
    QRect place(xcb_window_t window, const QRect& rect)
    {
        const WindowPtr record = windows.windowFrom(X11WindowControl::handleFor(window));
        if (!record)
            return {};
        windows.setFrame(*record, rect);
        VirtualDesktop::waitUntil([&] {
            const auto frame = visibleFrame(desktop, window);
            return frame && frame->topLeft() == rect.topLeft();
        });
        return visibleFrame(desktop, window).value_or(QRect());
    }

    // A point on the title bar: the middle of the top frame extent.
    QPoint titleBar(xcb_window_t window)
    {
        const QRect frame = visibleFrame(desktop, window).value_or(QRect());
        const QMargins extents = desktop.frameExtents(window).value_or(QMargins());
        return QPoint(frame.center().x(), frame.top() + extents.top() / 2);
    }

    // A drag step: the X server moves the pointer, then our events are handled.
    void step(int dx, int dy)
    {
        xtest.moveBy(dx, dy);
        pump(5);
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    XTestInput xtest;
    X11Connection connection;
    X11WindowControl control {connection};
    WindowManager windows {control};
    X11GlobalInput input {connection};
    WindowDragMonitor monitor {input, windows};
    Recorder recorder;
};

class TitleBarDragTest : public WindowDragTest, public ::testing::WithParamInterface<WindowManagerKind>
{ };

TEST_P(TitleBarDragTest, XtermDraggedByItsTitleBarReportsStartMovesEnd)
{
    ASSERT_TRUE(desktop.startWindowManager(GetParam()));
    const xcb_window_t xterm = desktop.startXterm(QStringLiteral("drag me"));
    ASSERT_NE(xterm, XCB_WINDOW_NONE);
    const QRect before = place(xterm, QRect(200, 200, 500, 400));
    ASSERT_EQ(before.topLeft(), QPoint(200, 200));
    monitor.startMonitoring();
    ASSERT_TRUE(monitor.isMonitoring());

    const QPoint grip = titleBar(xterm);
    xtest.moveTo(grip.x(), grip.y());
    pump(50);
    xtest.press(1);
    pump(20);
    for (int i = 0; i < 40; ++i)
        step(6, 3);
    const int movesBeforeRelease = recorder.count(QStringLiteral("move"));
    xtest.release(1);
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return recorder.count(QStringLiteral("end")) == 1; }))
        << wmName(GetParam()) << ": " << recorder.kinds().join(QLatin1Char(' ')).toStdString();

    EXPECT_EQ(recorder.kinds(), (QStringList {"start", "move*", "end"})) << wmName(GetParam());
    EXPECT_GE(movesBeforeRelease, 20) << "every step after the start is a move";
    // The frame is read on the first drag event, while the window manager is already
    // handling the same pointer motion: metacity may have moved the window by a step or
    // two by then. Whatever was read, every event carries that one frame, at the size
    // the window had and on the line the pointer travelled.
    ASSERT_FALSE(recorder.events.isEmpty());
    const QRectF initial = recorder.events.first().initialFrame;
    const QPointF shift = initial.topLeft() - QPointF(before.topLeft());
    EXPECT_EQ(initial.size(), QSizeF(before.size())) << wmName(GetParam());
    EXPECT_TRUE(shift.x() >= 0 && shift.x() <= 3 * 6 && shift.x() == 2 * shift.y())
        << wmName(GetParam()) << ": initial frame read " << shift.x() << "," << shift.y() << " away from the start";
    for (const Recorded& r : recorder.events) {
        EXPECT_EQ(r.id, xterm);
        EXPECT_EQ(r.initialFrame, initial);
    }
    const QRect after = visibleFrame(desktop, xterm).value_or(QRect());
    EXPECT_GT(after.x(), before.x() + 100) << "the window manager moved the window";
    EXPECT_EQ(after.size(), before.size());
    EXPECT_FALSE(monitor.trackedWindow());
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, TitleBarDragTest,
    ::testing::Values(WindowManagerKind::Openbox, WindowManagerKind::Xfwm4, WindowManagerKind::Metacity),
    [](const auto& param) { return std::string(wmName(param.param)); });

TEST_F(WindowDragTest, GlobalInputReportsButtonsModifiersAndThePointerDuringAMove)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    const xcb_window_t plain = desktop.startPlainWindow(QStringLiteral("input"), QRect(300, 300, 400, 300));
    ASSERT_NE(plain, XCB_WINDOW_NONE);
    ASSERT_TRUE(input.start());
    QStringList seen;
    QList<Qt::KeyboardModifiers> modifiers;
    QObject::connect(&input, &GlobalInput::leftButtonDown, [&] { seen << "down"; });
    QObject::connect(&input, &GlobalInput::leftButtonUp, [&] { seen << "up"; });
    QObject::connect(&input, &GlobalInput::rightButtonDown, [&] { seen << "right"; });
    QObject::connect(&input, &GlobalInput::pointerMotion, [&] {
        if (seen.isEmpty() || seen.last() != QStringLiteral("motion"))
            seen << "motion";
    });
    QObject::connect(&input, &GlobalInput::modifiersChanged, [&](Qt::KeyboardModifiers m) { modifiers << m; });

    // Motion without a button held is no drag step.
    xtest.moveTo(100, 100);
    step(10, 10);
    EXPECT_TRUE(seen.isEmpty());

    const QPoint grip = titleBar(plain);
    xtest.moveTo(grip.x(), grip.y());
    xtest.press(1);
    step(20, 0);
    step(20, 0);
    // While the window manager holds the pointer: position, Shift and a right click.
    EXPECT_EQ(input.pointerLocation(), QPointF(grip + QPoint(40, 0)));
    xtest.keyDown(Keysym::ShiftL);
    pump(20);
    EXPECT_EQ(input.currentModifiers(), Qt::ShiftModifier);
    xtest.click(3);
    pump(20);
    xtest.keyUp(Keysym::ShiftL);
    step(5, 0);
    xtest.release(1);
    pump(30);

    EXPECT_EQ(seen, (QStringList {"down", "motion", "right", "motion", "up"}));
    EXPECT_EQ(modifiers, (QList<Qt::KeyboardModifiers> {Qt::ShiftModifier, Qt::NoModifier}));
    input.stop();
}

} // namespace
