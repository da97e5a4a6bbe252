#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <xcb/xcb.h>

#include <functional>
#include <optional>

class OverlayProbe;
class VirtualDesktop;
class XTestInput;

// How zone mode is switched on during a title-bar drag.
enum class ZoneToggle {
    // A plain drag: zone mode stays off.
    None,
    // Shift goes down once the window manager moves the window (openbox ignores a
    // title-bar press made while Shift is already down) and up after the button.
    Shift,
    // As Shift, but Shift goes up again just before the button (in hold-to-snap mode
    // that cancels the gesture).
    ShiftReleasedEarly,
    // Shift is already down when the title bar is pressed, up after the button.
    ShiftHeldAtPress,
    // One right click once the window moves: zone mode on.
    RightClick,
    // Right click on, and a second right click off again before the drop point.
    RightClickTwice,
};

// The six window shortcuts with their Linux defaults: Ctrl+Alt+Super+Left/Right/Up/Down,
// the spans with Shift added.
enum class WindowShortcut {
    CycleLeft,
    CycleRight,
    CycleNext,
    CyclePrev,
    SpanLeft,
    SpanRight,
};

struct DragOptions
{
    ZoneToggle toggle = ZoneToggle::Shift;
    // Alt is held from just before the toggle until after the release. (Pressed while
    // Shift is held, Alt would count as another Shift press and toggle zone mode off.)
    bool multiZone = false;
    // Points the pointer passes on its way to the drop point, in order.
    QList<QPoint> via;
    // Motion steps per leg of the path and the pause after each step.
    int stepsPerLeg = 16;
    int stepDelayMs = 10;
    // Activates (raises) the window first, so its title bar is not under another window.
    bool raiseFirst = true;
    // Scales the fixed pauses between the phases of a drag (about 330 ms in all at 1.0);
    // waits for the window manager and the overlays do not depend on it.
    double pauseScale = 1.0;
    // Runs with the pointer on the drop point and the button still down (screenshots,
    // closing the window, unplugging a monitor ...).
    std::function<void()> beforeRelease;
};

// What the driver saw during one drag.
struct DragReport
{
    // The window manager moved the window after the press.
    bool windowMoved = false;
    // Overlays were mapped after zone mode was switched on (or at any time, for a drag
    // without a toggle: that would be a fault).
    bool overlayShown = false;
    // Overlays mapped with the pointer on the drop point, before the release.
    int overlaysAtDrop = 0;
    // No overlay was mapped once the gesture was over.
    bool overlayHiddenAfter = false;
    // The window manager kept moving the window after the toggle (some end their own
    // move on a right click).
    bool windowMovedAfterToggle = false;
};

// Drives the virtual desktop as a user would, through XTest: title-bar drags with zone
// mode switched on by Shift or a right click, Alt for multi-zone, the window shortcuts.
// Observes only through the X server (the window's frame, the overlay probe).
class GestureDriver final
{
public:
    GestureDriver(VirtualDesktop& desktop, OverlayProbe& overlays);
    ~GestureDriver();
    GestureDriver(const GestureDriver&) = delete;
    GestureDriver& operator=(const GestureDriver&) = delete;

    bool isValid() const;
    XTestInput& input() { return *m_input; }

    // The frame the user sees: the client area plus the window manager's decorations
    // (_NET_FRAME_EXTENTS), in root coordinates. This is what a snap sets.
    std::optional<QRect> frameOf(xcb_window_t window);
    // The middle of the title bar.
    std::optional<QPoint> titleBarPoint(xcb_window_t window);

    // Presses the title bar, drags the window so that the pointer ends on dropPoint
    // (through options.via) switching zone mode as asked, and releases. Leaves every
    // button and modifier up, whatever happened.
    DragReport drag(xcb_window_t window, QPoint dropPoint, const DragOptions& options = {});

    // Presses a window shortcut and lets go of every key again.
    bool press(WindowShortcut shortcut);
    // Asks the window manager to activate (raise and focus) a window, as a pager does,
    // and waits until it is the active window.
    bool activate(xcb_window_t window);
    xcb_window_t activeWindow();

    // Waits until the window's frame equals expected (or, with a tolerance, starts at
    // its top-left and falls short of its size by less than the tolerance: a terminal
    // that rounds its size down to character cells).
    bool waitForFrame(xcb_window_t window, const QRect& expected, QSize tolerance = {}, int timeoutMs = 3000);
    static bool fits(const QRect& actual, const QRect& expected, QSize tolerance = {});

    // Lets Qt and X events run for a while.
    static void pump(int milliseconds);

private:
    void moveAlong(QPoint from, QPoint to, int steps, int delayMs);
    void releaseEverything();
    bool waitForOverlayWhileMoving(QPoint towards);

    VirtualDesktop& m_desktop;
    OverlayProbe& m_overlays;
    std::unique_ptr<XTestInput> m_input;
    QPoint m_pointer;
};
