#include "views/ExcludedApplicationsModel.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/WindowManager.h"

#include <QCoreApplication>

ExcludedApplicationsModel::ExcludedApplicationsModel(Settings& settings, WindowManager& windows, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_windows(windows)
{ }

QStringList ExcludedApplicationsModel::names() const
{
    return m_settings.value(Keys::excludedApplications);
}

bool ExcludedApplicationsModel::add(const QString& name)
{
    const QString trimmed = name.trimmed();
    QStringList list = names();
    if (trimmed.isEmpty() || list.contains(trimmed, Qt::CaseInsensitive))
        return false;
    list.append(trimmed);
    m_settings.setValue(Keys::excludedApplications, list);
    return true;
}

void ExcludedApplicationsModel::remove(int index)
{
    QStringList list = names();
    if (index < 0 || index >= list.size())
        return;
    list.removeAt(index);
    m_settings.setValue(Keys::excludedApplications, list);
}

void ExcludedApplicationsModel::startPicking()
{
    setPicking(true);
}

void ExcludedApplicationsModel::cancelPicking()
{
    setPicking(false);
}

bool ExcludedApplicationsModel::pickUnderPointer()
{
    setPicking(false);
    const WindowPtr window = m_windows.getWindowAtCursor(WindowLookup::Any);
    // A click on the settings window itself is a change of mind, not Parqueta's class.
    if (!window || window->app().pid == QCoreApplication::applicationPid()) {
        qCInfo(lcWindows) << "Nothing to exclude under the pointer";
        return false;
    }
    const WindowApplication& app = window->app();
    return add(app.identifier.isEmpty() ? app.instance : app.identifier);
}

QString ExcludedApplicationsModel::pickButtonText() const
{
    return m_picking ? tr("Click a window to add its application (Esc cancels)") : tr("P&ick a window…");
}

void ExcludedApplicationsModel::setPicking(bool picking)
{
    if (m_picking == picking)
        return;
    m_picking = picking;
    Q_EMIT pickingChanged(picking);
}
