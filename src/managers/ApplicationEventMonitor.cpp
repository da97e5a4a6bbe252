#include "managers/ApplicationEventMonitor.h"

#include <QCoreApplication>

ApplicationEventMonitor::~ApplicationEventMonitor()
{
    stopMonitoring();
}

void ApplicationEventMonitor::startMonitoring()
{
    if (m_monitoring || !QCoreApplication::instance())
        return;
    QCoreApplication::instance()->installEventFilter(this);
    m_monitoring = true;
}

void ApplicationEventMonitor::stopMonitoring()
{
    if (!m_monitoring)
        return;
    if (QCoreApplication::instance())
        QCoreApplication::instance()->removeEventFilter(this);
    m_monitoring = false;
}
