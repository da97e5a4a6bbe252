#pragma once

#include "platform/WindowControl.h"
#include "platform/macos/AccessibilityApi.h"

#include <functional>

// A window of another application: its accessibility element, whose role is "AXWindow".
class AccessibilityWindowHandle final : public WindowHandle
{
public:
    explicit AccessibilityWindowHandle(AxElementRef element)
        : element(std::move(element))
    { }
    const AxElementRef element;
};

// Window control through the macOS accessibility interface, with the window server's
// window list as the last resort for the window under the pointer. Accessibility space
// is desktop space, so points and rectangles pass through unchanged.
//
// Everything is asked afresh: another application may close a window, stop answering
// or hand back a value of an unexpected type at any call, and each of those ends the
// operation with an absent value. Writes are sent without looking at their results;
// the next read tells what the application made of them.
class AccessibilityWindowControl final : public WindowControl
{
public:
    explicit AccessibilityWindowControl(AccessibilityApi& api);

    // The element behind a handle made here; null for others.
    static const AxElement* elementOf(const WindowHandle& handle);
    static Handle handleFor(AxElementRef element);

    Handle focusedWindow() override;
    Handle windowAtCursor() override;
    std::optional<quint32> windowId(const WindowHandle& window) override;
    // Prints a line on standard output when no running application has the element's pid.
    std::optional<WindowApplication> application(const WindowHandle& window) override;
    std::optional<QRectF> frame(const WindowHandle& window) override;
    std::optional<QPointF> position(const WindowHandle& window) override;
    std::optional<QSizeF> size(const WindowHandle& window) override;
    void setFrame(const WindowHandle& window, const QRectF& rect) override;
    void setSize(const WindowHandle& window, const QSizeF& size) override;
    bool focus(const WindowHandle& window) override;
    // A standard window or a dialog of another process.
    bool isNormal(const WindowHandle& window) override;
    std::optional<WindowFacts> facts(const WindowHandle& window) override;
    // The bundle identifier as the class, the application's name as the instance, the
    // subrole as the role, AXTitle; no command (nothing cheap tells it).
    std::optional<WindowIdentity> identity(const WindowHandle& window) override;
    // The normal windows of every application with a window on screen, front to back by
    // application.
    std::vector<Handle> normalWindows() override;

private:
    // The element itself when its role is "AXWindow", else its nearest such ancestor.
    AxElementRef windowContaining(AxElementRef element);
    // For an application that reports no focused application: its main window, else
    // its first window whose frame can be read.
    AxElementRef mainWindowOf(const AxElement& application);
    // The first window of the application owning the lowest-layer window-list entry
    // under point.
    AxElementRef firstWindowOfOwnerAt(const QPointF& point);

    std::optional<QPointF> readPosition(const AxElement& window);
    std::optional<QSizeF> readSize(const AxElement& window);
    // "AXEnhancedUserInterface" of the window's application element.
    std::optional<bool> enhancedUserInterface(const AxElement& window);
    void setEnhancedUserInterface(const AxElement& window, bool on);
    void withEnhancedUserInterfaceOff(const AxElement& window, const std::function<void()>& change);
    // Empty for a window Parqueta snaps; otherwise why not, in words.
    QString notNormalReason(const AxElement& window);

    AccessibilityApi& m_api;
};
