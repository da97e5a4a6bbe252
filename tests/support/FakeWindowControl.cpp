#include "FakeWindowControl.h"

namespace {

// The handle FakeWindowControl hands out: just the window number.
struct FakeWindowHandle final : WindowHandle
{
    explicit FakeWindowHandle(quint32 id) : id(id) { }
    const quint32 id;
};

} // namespace

FakeWindowControl::FakeWindow& FakeWindowControl::addWindow(quint32 id, const QRectF& frame, const QString& appName)
{
    return m_windows[id] = FakeWindow {id, frame, WindowApplication {qint64(id), appName, "org.example." + appName}};
}

FakeWindowControl::FakeWindow* FakeWindowControl::window(quint32 id)
{
    const auto it = m_windows.find(id);
    return it == m_windows.end() ? nullptr : &it->second;
}

void FakeWindowControl::close(quint32 id)
{
    window(id)->open = false;
    if (m_focused == id)
        m_focused.reset();
    if (m_atCursor == id)
        m_atCursor.reset();
}

std::optional<QRectF> FakeWindowControl::frameOf(quint32 id)
{
    const FakeWindow* w = window(id);
    return w && w->open ? std::optional(w->frame) : std::nullopt;
}

QList<FakeWindowControl::Call> FakeWindowControl::calls(const QStringList& ops) const
{
    QList<Call> result;
    for (const Call& call : m_calls)
        if (ops.contains(call.op))
            result.append(call);
    return result;
}

WindowControl::Handle FakeWindowControl::handleFor(quint32 id)
{
    return std::make_shared<FakeWindowHandle>(id);
}

WindowControl::Handle FakeWindowControl::lookUp(const char* op, std::optional<quint32> id)
{
    m_calls.append({QString::fromLatin1(op), id.value_or(0), {}});
    return id && frameOf(*id) ? handleFor(*id) : nullptr;
}

FakeWindowControl::FakeWindow* FakeWindowControl::live(const WindowHandle& handle)
{
    const auto* fake = dynamic_cast<const FakeWindowHandle*>(&handle);
    FakeWindow* w = fake ? window(fake->id) : nullptr;
    return w && w->open ? w : nullptr;
}

std::optional<QRectF> FakeWindowControl::read(const char* op, const WindowHandle& handle)
{
    const FakeWindow* w = live(handle);
    m_calls.append({QString::fromLatin1(op), w ? w->id : 0, {}});
    return w && w->readable ? std::optional(w->frame) : std::nullopt;
}

std::optional<quint32> FakeWindowControl::windowId(const WindowHandle& handle)
{
    const FakeWindow* w = live(handle);
    return w ? std::optional(w->id) : std::nullopt;
}

std::optional<WindowApplication> FakeWindowControl::application(const WindowHandle& handle)
{
    const FakeWindow* w = live(handle);
    return w ? std::optional(w->app) : std::nullopt;
}

std::optional<QRectF> FakeWindowControl::frame(const WindowHandle& handle)
{
    return read("frame", handle);
}

std::optional<QPointF> FakeWindowControl::position(const WindowHandle& handle)
{
    const std::optional<QRectF> frame = read("position", handle);
    return frame ? std::optional(frame->topLeft()) : std::nullopt;
}

std::optional<QSizeF> FakeWindowControl::size(const WindowHandle& handle)
{
    const std::optional<QRectF> frame = read("size", handle);
    return frame ? std::optional(frame->size()) : std::nullopt;
}

void FakeWindowControl::setFrame(const WindowHandle& handle, const QRectF& rect)
{
    FakeWindow* w = live(handle);
    m_calls.append({QStringLiteral("setFrame"), w ? w->id : 0, rect});
    if (w)
        w->frame = QRectF(rect.topLeft(), w->refusesSize ? w->frame.size() : rect.size());
}

void FakeWindowControl::setSize(const WindowHandle& handle, const QSizeF& size)
{
    FakeWindow* w = live(handle);
    m_calls.append({QStringLiteral("setSize"), w ? w->id : 0, QRectF(QPointF(), size)});
    if (w && !w->refusesSize)
        w->frame.setSize(size);
}

bool FakeWindowControl::focus(const WindowHandle& handle)
{
    FakeWindow* w = live(handle);
    m_calls.append({QStringLiteral("focus"), w ? w->id : 0, {}});
    if (!w || !w->raisable)
        return false;
    m_focused = w->id;
    return true;
}
