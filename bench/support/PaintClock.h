#pragma once

#include "BenchSupport.h"

#include <QApplication>
#include <QList>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace Bench {

// Sees every event the application handles; once the application is back in its event
// loop after an event whose handling painted a watched view, and has made the repaints
// already posted with it (another window's), syncs with the X server and reports the
// views painted. The backing store is flushed within each such event, so once the round
// trip returns the server has drawn the pixels; a round trip after every one of them
// would hold up the next window's paint, which the application itself never waits for.
// Qt paints a window only after the server exposed it, so painted implies mapped.
class PaintClock final : public QApplication
{
public:
    using QApplication::QApplication;

    // Which widgets' paints are timed, and which top-level windows count as the stages
    // below. Unset: none.
    std::function<bool(const QObject*)> isView;
    std::function<bool(const QWidget*)> isWindow;
    std::function<void(QWidget*, Clock::time_point)> onPainted;
    // Stages on the way to the first paint: the last watched window shown (QWidget::show()
    // returned) and the last one exposed by the server.
    Clock::time_point lastShown, lastExposed;
    // How long painting one view takes, and the whole event it happens in (the backing
    // store's flush to the server included).
    std::vector<double> paintUs, paintingEventUs;

    bool notify(QObject* receiver, QEvent* event) override;

    // A watched window sent its pixels without painting them (they were ready): it counts
    // as painted once the event it happened in is over, like a paint.
    void countAsPainted(QWidget* window);

    // Makes the request, then runs the event loop until done() accepts a painted view or
    // timeoutMs pass; returns the time from the request to that paint in microseconds,
    // or nothing.
    std::optional<double> timeUntilPainted(
        const std::function<void()>& request, const std::function<bool(QWidget*)>& done, int timeoutMs);

    // Prints paintUs as `what` and paintingEventUs under it, in milliseconds, and starts
    // both afresh.
    void printPaints(const char* what);

    // A round trip on Qt's own connection to the X server.
    static void syncWithServer();

private:
    bool watchedView(const QObject* receiver) const { return isView && isView(receiver); }
    bool watchedWindow(const QObject* receiver) const;

    void scheduleReport();
    void reportPainted();

    int m_depth = 0;
    QList<QPointer<QWidget>> m_painted;
    bool m_reporting = false;
    bool m_reportScheduled = false;
};

} // namespace Bench
