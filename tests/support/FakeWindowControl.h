#pragma once

#include "platform/WindowControl.h"

#include <QList>
#include <QString>

#include <map>
#include <optional>

// The handle FakeWindowControl hands out: just the window number.
class FakeWindowHandle final : public WindowHandle
{
public:
    explicit FakeWindowHandle(quint32 id)
        : id(id)
    { }
    const quint32 id;
};

// A simulated window server. Windows are frames in desktop space that tests move,
// resize, close and make stubborn; every call through the WindowControl interface is
// logged so tests can check what the engine asked for and in which order.
class FakeWindowControl final : public WindowControl
{
public:
    struct FakeWindow
    {
        quint32 id = 0;
        QRectF frame;
        WindowApplication app;
        bool normal = true;
        // Closed windows answer nothing, as on a real desktop.
        bool open = true;
        // Sizes are rounded down to multiples of this (terminals); empty: exact.
        QSizeF sizeStep;
        // Sizes below this are raised to it.
        QSizeF minimumSize;
        // When set, every resize request is ignored.
        bool refusesSize = false;
        // When false, the frame cannot be read (the application does not answer).
        bool readable = true;
        // Reads of the frame, position or size that still succeed before the window stops
        // answering, as when an application quits between two calls; negative: no limit.
        int readsLeft = -1;
        // When false, focus() reports a failed raise.
        bool raisable = true;
    };

    struct Call
    {
        QString op;
        quint32 id = 0;
        QRectF rect;

        friend bool operator==(const Call&, const Call&) = default;
    };

    // Adds an open window owned by appName (pid = id, identifier org.example.<appName>).
    FakeWindow& addWindow(quint32 id, const QRectF& frame, const QString& appName = QStringLiteral("FakeApp"));
    FakeWindow* window(quint32 id);
    // The window vanishes: lookups stop finding it and reads give nothing.
    void close(quint32 id);

    void setFocused(std::optional<quint32> id) { m_focused = id; }
    void setWindowAtCursor(std::optional<quint32> id) { m_atCursor = id; }
    std::optional<quint32> focusedId() const { return m_focused; }

    // The user (or the window manager) moves or resizes a window: not logged.
    void moveWindow(quint32 id, const QPointF& topLeft);
    void setWindowFrame(quint32 id, const QRectF& frame);
    std::optional<QRectF> frameOf(quint32 id) const;

    const QList<Call>& calls() const { return m_calls; }
    // The calls whose op is one of ops, in order.
    QList<Call> calls(const QStringList& ops) const;
    int count(const QString& op) const;
    void clearCalls() { m_calls.clear(); }

    static Handle handleFor(quint32 id);

    // WindowControl
    Handle focusedWindow() override;
    Handle windowAtCursor() override;
    std::optional<quint32> windowId(const WindowHandle& window) override;
    std::optional<WindowApplication> application(const WindowHandle& window) override;
    std::optional<QRectF> frame(const WindowHandle& window) override;
    std::optional<QPointF> position(const WindowHandle& window) override;
    std::optional<QSizeF> size(const WindowHandle& window) override;
    void setFrame(const WindowHandle& window, const QRectF& rect) override;
    void setSize(const WindowHandle& window, const QSizeF& size) override;
    bool focus(const WindowHandle& window) override;
    bool isNormal(const WindowHandle& window) override;

private:
    FakeWindow* live(const WindowHandle& window);
    // Whether a read of w succeeds now; counts down readsLeft.
    static bool answers(FakeWindow& w);
    QSizeF acceptedSize(const FakeWindow& window, const QSizeF& requested) const;
    void log(const QString& op, quint32 id, const QRectF& rect = {});

    std::map<quint32, FakeWindow> m_windows;
    std::optional<quint32> m_focused;
    std::optional<quint32> m_atCursor;
    QList<Call> m_calls;
};
