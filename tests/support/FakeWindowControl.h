#pragma once

#include "platform/WindowControl.h"

#include <QList>
#include <QStringList>

#include <map>
#include <optional>

// A simulated window server. Windows are frames in desktop space that tests move, close
// and make stubborn; every call through WindowControl that asks for or changes something
// is logged, so tests can check what the engine asked for and in which order.
class FakeWindowControl final : public WindowControl
{
public:
    struct FakeWindow
    {
        quint32 id = 0;
        QRectF frame;
        WindowApplication app;
        bool open = true; // closed windows answer nothing, as on a real desktop
        bool refusesSize = false; // every resize request is ignored
        bool readable = true; // false: the frame cannot be read (the application does not answer)
        bool raisable = true; // false: focus() reports a failed raise
    };

    struct Call
    {
        QString op;
        quint32 id = 0;
        QRectF rect;

        friend bool operator==(const Call&, const Call&) = default;
    };

    // An open window owned by appName (pid = id).
    FakeWindow& addWindow(quint32 id, const QRectF& frame, const QString& appName = QStringLiteral("FakeApp"));
    FakeWindow* window(quint32 id);
    void close(quint32 id);

    void setFocused(std::optional<quint32> id) { m_focused = id; }
    void setWindowAtCursor(std::optional<quint32> id) { m_atCursor = id; }
    // The user (or the window manager) moves or resizes a window: not logged.
    void moveWindow(quint32 id, const QPointF& topLeft) { window(id)->frame.moveTopLeft(topLeft); }
    void setWindowFrame(quint32 id, const QRectF& frame) { window(id)->frame = frame; }
    std::optional<QRectF> frameOf(quint32 id);

    QList<Call> calls(const QStringList& ops) const;
    int count(const QString& op) const { return int(calls(QStringList {op}).size()); }
    void clearCalls() { m_calls.clear(); }

    static Handle handleFor(quint32 id);

    Handle focusedWindow() override { return lookUp("focusedWindow", m_focused); }
    Handle windowAtCursor() override { return lookUp("windowAtCursor", m_atCursor); }
    std::optional<quint32> windowId(const WindowHandle& window) override;
    std::optional<WindowApplication> application(const WindowHandle& window) override;
    std::optional<QRectF> frame(const WindowHandle& window) override;
    std::optional<QPointF> position(const WindowHandle& window) override;
    std::optional<QSizeF> size(const WindowHandle& window) override;
    void setFrame(const WindowHandle& window, const QRectF& rect) override;
    void setSize(const WindowHandle& window, const QSizeF& size) override;
    bool focus(const WindowHandle& window) override;
    bool isNormal(const WindowHandle& window) override { return live(window); }

private:
    Handle lookUp(const char* op, std::optional<quint32> id);
    FakeWindow* live(const WindowHandle& window);
    std::optional<QRectF> read(const char* op, const WindowHandle& window);

    std::map<quint32, FakeWindow> m_windows;
    std::optional<quint32> m_focused;
    std::optional<quint32> m_atCursor;
    QList<Call> m_calls;
};
