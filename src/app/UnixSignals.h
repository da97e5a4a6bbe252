#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the event loop, so a session
// logout or Ctrl+C quits as cleanly as the tray's Quit item.
class UnixSignals final : public QObject
{
    Q_OBJECT

public:
    explicit UnixSignals(QObject* parent = nullptr);
    ~UnixSignals() override;

Q_SIGNALS:
    void terminationRequested(int signalNumber);

private:
    void readSignal();

    QSocketNotifier* m_notifier = nullptr;
};
