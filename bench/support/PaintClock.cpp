#include "PaintClock.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

#include <cstdlib>
#include <utility>

#include <xcb/xcb.h>

namespace Bench {

bool PaintClock::watchedWindow(const QObject* receiver) const
{
    const auto* widget = qobject_cast<const QWidget*>(receiver);
    return widget && widget->isWindow() && isWindow && isWindow(widget);
}

bool PaintClock::notify(QObject* receiver, QEvent* event)
{
    ++m_depth;
    const qsizetype paintedBefore = m_painted.size();
    if (event->type() == QEvent::Paint && watchedView(receiver)) {
        if (auto* view = qobject_cast<QWidget*>(receiver))
            m_painted.append(view);
    }
    if (event->type() == QEvent::Expose && receiver->isWindowType()) {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->windowHandle() != receiver || !watchedWindow(widget))
                continue;
            lastExposed = Clock::now();
            // A window whose pixels are all still in its backing store (one parked by its
            // shape) is not painted again: Qt sends them in the handling of the expose.
            if (static_cast<QWindow*>(receiver)->isExposed())
                m_painted.append(widget);
        }
    }
    const Clock::time_point began = Clock::now();
    const bool result = QApplication::notify(receiver, event);
    if (event->type() == QEvent::Paint && watchedView(receiver))
        paintUs.push_back(microseconds(began, Clock::now()));
    // An outermost event that painted (the report may still be waiting for an earlier one).
    if (m_depth == 1 && m_painted.size() > paintedBefore)
        paintingEventUs.push_back(microseconds(began, Clock::now()));
    if (event->type() == QEvent::Show && watchedWindow(receiver))
        lastShown = Clock::now();
    --m_depth;
    if (!m_painted.isEmpty())
        scheduleReport();
    return result;
}

void PaintClock::countAsPainted(QWidget* window)
{
    m_painted.append(window);
    scheduleReport();
}

void PaintClock::scheduleReport()
{
    // Once the application is back in its event loop: whatever it does in the same go
    // (another window's pixels, sent from the same call) is part of what is timed.
    if (m_reportScheduled || m_reporting)
        return;
    m_reportScheduled = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_reportScheduled = false;
            if (!m_painted.isEmpty())
                reportPainted();
        },
        Qt::QueuedConnection);
}

void PaintClock::reportPainted()
{
    // The repaints already asked for (another window's) are what the application does
    // next anyway; the round trip comes after them, as it would.
    m_reporting = true;
    sendPostedEvents(nullptr, QEvent::UpdateRequest);
    m_reporting = false;
    syncWithServer();
    const Clock::time_point now = Clock::now();
    const QList<QPointer<QWidget>> painted = std::exchange(m_painted, {});
    for (const QPointer<QWidget>& view : painted) {
        if (view && onPainted)
            onPainted(view.data(), now);
    }
}

std::optional<double> PaintClock::timeUntilPainted(
    const std::function<void()>& request, const std::function<bool(QWidget*)>& done, int timeoutMs)
{
    bool finished = false;
    Clock::time_point at;
    onPainted = [&](QWidget* view, Clock::time_point when) {
        if (!finished && done(view)) {
            finished = true;
            at = when;
        }
    };
    const Clock::time_point t0 = Clock::now();
    request();
    runUntil([&] { return finished; }, timeoutMs);
    onPainted = nullptr;
    if (!finished)
        return std::nullopt;
    return microseconds(t0, at);
}

void PaintClock::printPaints(const char* what)
{
    print(what, stats(paintUs), true);
    print("  the event that paints (flush included)", stats(paintingEventUs), true);
    paintUs.clear();
    paintingEventUs.clear();
}

void PaintClock::syncWithServer()
{
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11)
        return;
    xcb_connection_t* c = x11->connection();
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
}

} // namespace Bench
