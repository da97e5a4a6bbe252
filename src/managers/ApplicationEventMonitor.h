#pragma once

#include <QObject>

// A monitor of the events Qt hands to this program's own windows: an event filter on the
// application, installed between startMonitoring() and stopMonitoring(). Like an
// application-local monitor it sees nothing sent to other programs and never consumes.
class ApplicationEventMonitor : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~ApplicationEventMonitor() override;

    void startMonitoring();
    void stopMonitoring();
    bool isMonitoring() const { return m_monitoring; }

private:
    bool m_monitoring = false;
};
