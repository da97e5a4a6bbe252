#include "app/AppPresence.h"

#include "platform/ApplicationShell.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <algorithm>

namespace {

bool isUserWindow(const QWidget& widget)
{
    if (!widget.isWindow() || !widget.isVisible() || widget.testAttribute(Qt::WA_DontShowOnScreen))
        return false;
    if (widget.windowFlags().testFlag(Qt::WindowTransparentForInput))
        return false;
    const Qt::WindowType type = widget.windowType();
    return type == Qt::Window || type == Qt::Dialog || type == Qt::Tool || type == Qt::Sheet;
}

} // namespace

AppPresence::AppPresence(ApplicationShell& shell, QObject* parent)
    : QObject(parent)
    , m_shell(shell)
{
    qApp->installEventFilter(this);
    m_shell.setRegularApplication(m_regular);
}

AppPresence::~AppPresence()
{
    qApp->removeEventFilter(this);
}

bool AppPresence::userWindowVisible()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.cbegin(), windows.cend(), [](const QWidget* widget) { return isUserWindow(*widget); });
}

bool AppPresence::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    // Every event of every object passes here: decide on the cheapest test first.
    if ((type == QEvent::Show || type == QEvent::Hide || type == QEvent::Close || type == QEvent::DeferredDelete)
        && watched->isWidgetType() && static_cast<QWidget*>(watched)->isWindow() && !m_updateQueued) {
        // After the event: a window being hidden still reads as visible during it.
        m_updateQueued = true;
        QTimer::singleShot(0, this, &AppPresence::update);
    }
    return false;
}

void AppPresence::update()
{
    m_updateQueued = false;
    const bool regular = userWindowVisible();
    if (regular == m_regular)
        return;
    m_regular = regular;
    m_shell.setRegularApplication(regular);
}
