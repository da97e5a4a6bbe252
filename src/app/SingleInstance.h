#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QLocalServer;
class QLockFile;

// One Parqueta per user session, however close together two launches come. A launch
// first claims the session with a lock file; the one that gets it is the instance and
// listens on a local socket only its user can reach. A later launch (or one that lost
// the race) finds the instance there, passes its request on and steps aside.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    // key names the session; the default is derived from the user and the X display.
    explicit SingleInstance(QString key = defaultKey(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // What a later launch asks of the running instance.
    enum class Request { reopen, editLayout, debugWindow };

    // How long a launch that lost the claim waits for the winner to start listening.
    static constexpr int kStartUpWaitMs = 10000;

    // True when this process is now the session's instance. A lock left by an instance
    // that crashed is taken over.
    bool claim();
    // True when the running instance answered and took the request: exit now. Tries
    // again until waitMs has passed, for an instance that is still starting up.
    bool notifyRunningInstance(Request request = Request::reopen, int waitMs = 0);
    // Starts listening; false (logged) when the socket cannot be created.
    bool listen();

    static QString defaultKey();

Q_SIGNALS:
    // A later launch asked this instance to come forward.
    void reopenRequested();
    // A later launch with --edit-layout: open the zone editor under the pointer.
    void editLayoutRequested();
    // A later launch with --debug-window.
    void debugWindowRequested();

private:
    void acceptConnections();

    bool tryNotify(Request request);

    QString m_key;
    QLocalServer* m_server = nullptr;
    std::unique_ptr<QLockFile> m_lock;
};
