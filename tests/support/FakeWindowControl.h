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
        WindowFacts facts {}; // what facts() tells besides the frame and class
        WindowIdentity identity {}; // class "FakeApp", instance "fakeapp" unless set
    };
    struct Call
    {
        QString op;
        quint32 id = 0;
        QRectF rect;
        friend bool operator==(const Call&, const Call&) = default;
    };

    // An open window owned by appName (pid = id).
    FakeWindow& addWindow(quint32 id, const QRectF& frame, const QString& appName = QStringLiteral("FakeApp"))
    {
        FakeWindow& w = m_windows[id]
            = FakeWindow {id, frame, WindowApplication {qint64(id), appName, "org.example." + appName, appName}};
        w.identity.className = appName;
        w.identity.instance = appName.toLower();
        return w;
    }
    FakeWindow* window(quint32 id) { return m_windows.contains(id) ? &m_windows[id] : nullptr; }
    void close(quint32 id)
    {
        window(id)->open = false;
        m_focused = m_focused == id ? std::nullopt : m_focused;
        m_atCursor = m_atCursor == id ? std::nullopt : m_atCursor;
    }
    void setFocused(std::optional<quint32> id) { m_focused = id; }
    void setWindowAtCursor(std::optional<quint32> id) { m_atCursor = id; }
    // The user (or the window manager) moves or resizes a window: not logged.
    void moveWindow(quint32 id, const QPointF& topLeft) { window(id)->frame.moveTopLeft(topLeft); }
    void setWindowFrame(quint32 id, const QRectF& frame) { window(id)->frame = frame; }
    std::optional<QRectF> frameOf(quint32 id)
    {
        const FakeWindow* w = window(id);
        return w && w->open ? std::optional(w->frame) : std::nullopt;
    }

    QList<Call> calls(const QStringList& ops) const
    {
        QList<Call> result;
        for (const Call& call : m_calls)
            if (ops.contains(call.op))
                result.append(call);
        return result;
    }
    int count(const QString& op) const { return int(calls(QStringList {op}).size()); }
    void clearCalls() { m_calls.clear(); }

    static Handle handleFor(quint32 id) { return std::make_shared<Id>(id); }

    Handle focusedWindow() override { return lookUp("focusedWindow", m_focused); }
    Handle windowAtCursor() override { return lookUp("windowAtCursor", m_atCursor); }
    std::optional<quint32> windowId(const WindowHandle& handle) override
    {
        const FakeWindow* w = live(handle);
        return w ? std::optional(w->id) : std::nullopt;
    }
    std::optional<WindowApplication> application(const WindowHandle& handle) override
    {
        const FakeWindow* w = live(handle);
        return w ? std::optional(w->app) : std::nullopt;
    }
    std::optional<QRectF> frame(const WindowHandle& handle) override { return read("frame", handle); }
    std::optional<QPointF> position(const WindowHandle& handle) override
    {
        const std::optional<QRectF> frame = read("position", handle);
        return frame ? std::optional(frame->topLeft()) : std::nullopt;
    }
    std::optional<QSizeF> size(const WindowHandle& handle) override
    {
        const std::optional<QRectF> frame = read("size", handle);
        return frame ? std::optional(frame->size()) : std::nullopt;
    }
    void setFrame(const WindowHandle& handle, const QRectF& rect) override
    {
        if (FakeWindow* w = logged("setFrame", handle, rect))
            w->frame = QRectF(rect.topLeft(), w->refusesSize ? w->frame.size() : rect.size());
    }
    void setSize(const WindowHandle& handle, const QSizeF& size) override
    {
        if (FakeWindow* w = logged("setSize", handle, QRectF(QPointF(), size)); w && !w->refusesSize)
            w->frame.setSize(size);
    }
    bool focus(const WindowHandle& handle) override
    {
        FakeWindow* w = logged("focus", handle);
        if (w && w->raisable)
            m_focused = w->id;
        return w && w->raisable;
    }
    bool isNormal(const WindowHandle& handle) override
    {
        const FakeWindow* w = live(handle);
        return w && w->facts.notNormalBecause.isEmpty();
    }
    std::optional<WindowFacts> facts(const WindowHandle& handle) override
    {
        const FakeWindow* w = live(handle);
        if (!w)
            return std::nullopt;
        WindowFacts facts = w->facts;
        facts.frame = w->frame;
        facts.className = w->app.name;
        return facts;
    }

    std::optional<WindowIdentity> identity(const WindowHandle& handle) override
    {
        const FakeWindow* w = logged("identity", handle);
        return w ? std::optional(w->identity) : std::nullopt;
    }
    std::vector<Handle> normalWindows() override
    {
        std::vector<Handle> result;
        for (const auto& [id, w] : m_windows)
            if (w.open && w.facts.notNormalBecause.isEmpty())
                result.push_back(handleFor(id));
        return result;
    }

private:
    // The handle this fake hands out: just the window number.
    struct Id final : WindowHandle
    {
        explicit Id(quint32 id) : id(id) { }
        const quint32 id;
    };

    Handle lookUp(const char* op, std::optional<quint32> id)
    {
        m_calls.append({QString::fromLatin1(op), id.value_or(0), {}});
        return id && frameOf(*id) ? handleFor(*id) : nullptr;
    }
    FakeWindow* live(const WindowHandle& handle)
    {
        const auto* fake = dynamic_cast<const Id*>(&handle);
        FakeWindow* w = fake ? window(fake->id) : nullptr;
        return w && w->open ? w : nullptr;
    }
    FakeWindow* logged(const char* op, const WindowHandle& handle, const QRectF& rect = {})
    {
        FakeWindow* w = live(handle);
        m_calls.append({QString::fromLatin1(op), w ? w->id : 0, rect});
        return w;
    }
    std::optional<QRectF> read(const char* op, const WindowHandle& handle)
    {
        const FakeWindow* w = logged(op, handle);
        return w && w->readable ? std::optional(w->frame) : std::nullopt;
    }

    std::map<quint32, FakeWindow> m_windows;
    std::optional<quint32> m_focused;
    std::optional<quint32> m_atCursor;
    QList<Call> m_calls;
};
