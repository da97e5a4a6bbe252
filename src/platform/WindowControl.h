#pragma once

#include "models/Window.h"
#include "models/WindowIdentity.h"
#include "platform/WindowFacts.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <memory>
#include <optional>
#include <vector>

// The operating-system side of window control: how to find a window and how to read,
// move, resize and raise it. Every rectangle is in desktop space (top-left of the
// primary screen, y down) and means the frame the user sees, decorations included.
//
// Each operation is one platform algorithm, so a backend keeps its own way of getting
// there: the macOS backend brackets frame changes with the enhanced-user-interface
// switch, writes size, position, size, and falls back to the main window or the
// window list; the X11 backend leaves maximized states and asks the window manager
// for the whole frame at once. What both share (building Window records, deciding a
// window's screen, the drag recognition) lives above, in the managers.
//
// A failed read gives an absent value and a failed write does nothing: a window may
// vanish between any two calls.
class WindowControl
{
public:
    using Handle = std::shared_ptr<const WindowHandle>;

    virtual ~WindowControl() = default;

    // The focused window of the active application.
    virtual Handle focusedWindow() = 0;
    // The top-level window under the pointer.
    virtual Handle windowAtCursor() = 0;

    // The window number that identifies the window for as long as it exists.
    virtual std::optional<quint32> windowId(const WindowHandle& window) = 0;
    // The owning application; absent when the owner cannot be found.
    virtual std::optional<WindowApplication> application(const WindowHandle& window) = 0;

    // The frame the user sees: absent when either position or size cannot be read.
    virtual std::optional<QRectF> frame(const WindowHandle& window) = 0;
    virtual std::optional<QPointF> position(const WindowHandle& window) = 0;
    virtual std::optional<QSizeF> size(const WindowHandle& window) = 0;

    // Moves and resizes the frame onto rect. An application that insists on its own
    // size steps (terminals) keeps the size it accepted.
    virtual void setFrame(const WindowHandle& window, const QRectF& rect) = 0;
    // Resizes, keeping the top-left corner of the frame.
    virtual void setSize(const WindowHandle& window, const QSizeF& size) = 0;
    // Raises the window and activates its application; false when the raise failed.
    virtual bool focus(const WindowHandle& window) = 0;
    // An ordinary application window that may be snapped: not a panel, desktop, menu,
    // tooltip, notification or one of Parqueta's own windows.
    virtual bool isNormal(const WindowHandle& window) = 0;
    // Everything worth telling a person about the window; absent once it is gone.
    virtual std::optional<WindowFacts> facts(const WindowHandle& window) = 0;
    // What recognises the window after a restart (class, role, title, the command of its
    // process), as far as the platform can tell; absent once it is gone.
    virtual std::optional<WindowIdentity> identity(const WindowHandle& window) = 0;
    // Every normal top-level window now (see isNormal()), in the window manager's order.
    virtual std::vector<Handle> normalWindows() = 0;
};
