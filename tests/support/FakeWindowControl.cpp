#include "FakeWindowControl.h"

#include <cmath>

FakeWindowControl::FakeWindow& FakeWindowControl::addWindow(quint32 id, const QRectF& frame, const QString& appName)
{
    FakeWindow& window = m_windows[id];
    window = FakeWindow {};
    window.id = id;
    window.frame = frame;
    window.app = WindowApplication {static_cast<qint64>(id), appName, QStringLiteral("org.example.") + appName};
    return window;
}

FakeWindowControl::FakeWindow* FakeWindowControl::window(quint32 id)
{
    const auto it = m_windows.find(id);
    return it == m_windows.end() ? nullptr : &it->second;
}

void FakeWindowControl::close(quint32 id)
{
    if (FakeWindow* w = window(id))
        w->open = false;
    if (m_focused == id)
        m_focused.reset();
    if (m_atCursor == id)
        m_atCursor.reset();
}

void FakeWindowControl::moveWindow(quint32 id, const QPointF& topLeft)
{
    if (FakeWindow* w = window(id))
        w->frame.moveTopLeft(topLeft);
}

void FakeWindowControl::setWindowFrame(quint32 id, const QRectF& frame)
{
    if (FakeWindow* w = window(id))
        w->frame = frame;
}

std::optional<QRectF> FakeWindowControl::frameOf(quint32 id) const
{
    const auto it = m_windows.find(id);
    if (it == m_windows.end() || !it->second.open)
        return std::nullopt;
    return it->second.frame;
}

QList<FakeWindowControl::Call> FakeWindowControl::calls(const QStringList& ops) const
{
    QList<Call> result;
    for (const Call& call : m_calls) {
        if (ops.contains(call.op))
            result.append(call);
    }
    return result;
}

int FakeWindowControl::count(const QString& op) const
{
    return static_cast<int>(calls(QStringList {op}).size());
}

WindowControl::Handle FakeWindowControl::handleFor(quint32 id)
{
    return std::make_shared<FakeWindowHandle>(id);
}

WindowControl::Handle FakeWindowControl::focusedWindow()
{
    log(QStringLiteral("focusedWindow"), m_focused.value_or(0));
    if (!m_focused || !window(*m_focused) || !window(*m_focused)->open)
        return nullptr;
    return handleFor(*m_focused);
}

WindowControl::Handle FakeWindowControl::windowAtCursor()
{
    log(QStringLiteral("windowAtCursor"), m_atCursor.value_or(0));
    if (!m_atCursor || !window(*m_atCursor) || !window(*m_atCursor)->open)
        return nullptr;
    return handleFor(*m_atCursor);
}

std::optional<quint32> FakeWindowControl::windowId(const WindowHandle& handle)
{
    const FakeWindow* w = live(handle);
    return w ? std::optional<quint32>(w->id) : std::nullopt;
}

std::optional<WindowApplication> FakeWindowControl::application(const WindowHandle& handle)
{
    const FakeWindow* w = live(handle);
    return w ? std::optional<WindowApplication>(w->app) : std::nullopt;
}

std::optional<QRectF> FakeWindowControl::frame(const WindowHandle& handle)
{
    FakeWindow* w = live(handle);
    log(QStringLiteral("frame"), w ? w->id : 0);
    if (!w || !answers(*w))
        return std::nullopt;
    return w->frame;
}

std::optional<QPointF> FakeWindowControl::position(const WindowHandle& handle)
{
    FakeWindow* w = live(handle);
    log(QStringLiteral("position"), w ? w->id : 0);
    if (!w || !answers(*w))
        return std::nullopt;
    return w->frame.topLeft();
}

std::optional<QSizeF> FakeWindowControl::size(const WindowHandle& handle)
{
    FakeWindow* w = live(handle);
    log(QStringLiteral("size"), w ? w->id : 0);
    if (!w || !answers(*w))
        return std::nullopt;
    return w->frame.size();
}

void FakeWindowControl::setFrame(const WindowHandle& handle, const QRectF& rect)
{
    FakeWindow* w = live(handle);
    log(QStringLiteral("setFrame"), w ? w->id : 0, rect);
    if (!w)
        return;
    w->frame = QRectF(rect.topLeft(), acceptedSize(*w, rect.size()));
}

void FakeWindowControl::setSize(const WindowHandle& handle, const QSizeF& size)
{
    FakeWindow* w = live(handle);
    log(QStringLiteral("setSize"), w ? w->id : 0, QRectF(QPointF(), size));
    if (!w)
        return;
    w->frame.setSize(acceptedSize(*w, size));
}

bool FakeWindowControl::focus(const WindowHandle& handle)
{
    FakeWindow* w = live(handle);
    log(QStringLiteral("focus"), w ? w->id : 0);
    if (!w || !w->raisable)
        return false;
    m_focused = w->id;
    return true;
}

bool FakeWindowControl::isNormal(const WindowHandle& handle)
{
    const FakeWindow* w = live(handle);
    return w && w->normal;
}

FakeWindowControl::FakeWindow* FakeWindowControl::live(const WindowHandle& handle)
{
    const auto* fake = dynamic_cast<const FakeWindowHandle*>(&handle);
    if (!fake)
        return nullptr;
    FakeWindow* w = window(fake->id);
    return w && w->open ? w : nullptr;
}

bool FakeWindowControl::answers(FakeWindow& w)
{
    if (!w.readable)
        return false;
    if (w.readsLeft < 0)
        return true;
    if (w.readsLeft == 0)
        return false;
    --w.readsLeft;
    return true;
}

QSizeF FakeWindowControl::acceptedSize(const FakeWindow& w, const QSizeF& requested) const
{
    if (w.refusesSize)
        return w.frame.size();
    QSizeF size = requested.expandedTo(w.minimumSize);
    if (w.sizeStep.width() > 0)
        size.setWidth(std::floor(size.width() / w.sizeStep.width()) * w.sizeStep.width());
    if (w.sizeStep.height() > 0)
        size.setHeight(std::floor(size.height() / w.sizeStep.height()) * w.sizeStep.height());
    return size;
}

void FakeWindowControl::log(const QString& op, quint32 id, const QRectF& rect)
{
    m_calls.append(Call {op, id, rect});
}
