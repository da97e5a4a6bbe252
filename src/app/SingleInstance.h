#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One Parqueta per user session. The first instance listens on a local socket that only
// its user can reach; a later launch finds it, asks it to reopen and steps aside.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    // key names the session; the default is derived from the user and the X display.
    explicit SingleInstance(QString key = defaultKey(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // What a later launch asks of the running instance.
    enum class Request { reopen, editLayout };

    // True when another instance answered and took the request: exit now.
    bool notifyRunningInstance(Request request = Request::reopen);
    // Starts listening; false (logged) when the socket cannot be created.
    bool listen();

    static QString defaultKey();

Q_SIGNALS:
    // A later launch asked this instance to come forward.
    void reopenRequested();
    // A later launch with --edit-layout: open the zone editor under the pointer.
    void editLayoutRequested();

private:
    void acceptConnections();

    QString m_key;
    QLocalServer* m_server = nullptr;
};
