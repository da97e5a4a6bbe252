#pragma once

#include <QObject>
#include <QString>

class LocalConnection;
class QSocketNotifier;

// Listens on a Unix-domain socket that only this user can reach, and hands out each
// connection as a LocalConnection.
class LocalSocketServer final : public QObject
{
    Q_OBJECT

public:
    explicit LocalSocketServer(QObject* parent = nullptr);
    ~LocalSocketServer() override;

    // False, with errorString(), when the socket cannot be made. A file already at path
    // is left alone: a caller that knows it is stale removes it first.
    bool listen(const QString& path);
    QString errorString() const { return m_error; }
    // The next waiting connection, parented to this server; null when none waits.
    LocalConnection* nextPendingConnection();

Q_SIGNALS:
    void newConnection();

private:
    int m_fd = -1;
    QString m_path;
    QString m_error;
    QSocketNotifier* m_notifier = nullptr;
};
