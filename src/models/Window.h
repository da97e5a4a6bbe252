#pragma once

#include <QSizeF>
#include <QString>
#include <QtGlobal>

#include <memory>

// The backend's own reference to one foreign window: an X11 client window, an
// accessibility element on macOS. Only the backend that made it looks inside.
class WindowHandle
{
public:
    virtual ~WindowHandle() = default;
};

// The application that owns a window.
struct WindowApplication
{
    // 0 when the window does not say which process it belongs to.
    qint64 pid = 0;
    // Shown to people ("XTerm", "Firefox"); empty when unknown.
    QString name;
    // Stable for the application across runs (a bundle identifier, an X11 class).
    QString identifier;
    // The X11 instance name ("xterm" for class "XTerm"); the application's name on macOS.
    QString instance;
};

// One window of another application as the engine knows it. The record is taken once
// and never changes; the live geometry is read through WindowManager. Two records are
// the same window when their ids match, whatever objects they are.
class Window final
{
public:
    Window(quint32 id, std::shared_ptr<const WindowHandle> handle, WindowApplication app, QSizeF initialSize);

    quint32 id() const { return m_id; }
    const std::shared_ptr<const WindowHandle>& handle() const { return m_handle; }
    const WindowApplication& app() const { return m_app; }
    // The size the window had when this record was taken; an unsnap restores it.
    QSizeF initialSize() const { return m_initialSize; }

    // The owning application's name, or a fixed text when it has none.
    QString appName() const;
    // The owning application's identifier, or a fixed text when it has none.
    QString appIdentifier() const;

    static const QString& unknownAppName();
    static const QString& unknownAppIdentifier();

    friend bool operator==(const Window& a, const Window& b) { return a.m_id == b.m_id; }

private:
    quint32 m_id;
    std::shared_ptr<const WindowHandle> m_handle;
    WindowApplication m_app;
    QSizeF m_initialSize;
};

using WindowPtr = std::shared_ptr<Window>;

// Identity of possibly absent records: both absent, or both present with the same id.
inline bool sameWindow(const Window* a, const Window* b)
{
    return (!a && !b) || (a && b && a->id() == b->id());
}

inline bool sameWindow(const WindowPtr& a, const WindowPtr& b)
{
    return sameWindow(a.get(), b.get());
}
