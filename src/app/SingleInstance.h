#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class LocalConnection;
class LocalSocketServer;
class QLockFile;

// One Parqueta per user session, however close together two launches come. A launch
// first claims the session with a lock file; the one that gets it is the instance and
// listens on a local socket only its user can reach. A later launch (or one that lost
// the race) finds the instance there, sends it one request line and reads the answer
// until the instance closes the connection. What the lines mean is the handler's
// business: this class only carries bytes, and bounds them.
class SingleInstance final : public QObject
{
    Q_OBJECT

public:
    // The request line a launch sends and the answer the instance sends back for it.
    using Handler = std::function<QByteArray(const QByteArray& request)>;

    // key names the session; the default is derived from the user and the X display.
    explicit SingleInstance(QString key = defaultKey(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // How long a launch that lost the claim waits for the winner to start listening.
    static constexpr int kStartUpWaitMs = 10000;
    // The longest request line the instance reads, newline included; anything longer
    // reaches the handler cut to this length plus one byte, without its newline.
    static constexpr qsizetype kMaxRequestBytes = 4097;
    // How long the instance waits for a whole request, and then for its answer to be
    // taken, before it drops the connection.
    static constexpr int kClientTimeoutMs = 5000;
    // Connections served at once; more are closed at once.
    static constexpr int kMaxClients = 32;

    // True when this process is now the session's instance. A lock left by an instance
    // that crashed is taken over.
    bool claim();
    // True when the running instance answered the request with "ok": exit now. Tries
    // again until waitMs has passed, for an instance that is still starting up.
    bool notifyRunningInstance(const QByteArray& request, int waitMs = 0);
    // The running instance's whole answer to the request (empty when it closed without
    // one); nothing when no instance runs. Waits for one that holds the session but is
    // still starting up.
    std::optional<QByteArray> ask(const QByteArray& request);
    // Starts listening; false (logged) when the socket cannot be created.
    bool listen();
    void setHandler(Handler handler) { m_handler = std::move(handler); }

    static QString defaultKey();

private:
    void acceptConnections();
    void serve(LocalConnection* socket);
    std::optional<QByteArray> exchange(const QByteArray& request, int answerTimeoutMs);
    QString lockPath() const;
    QString socketPath() const;
    // Whether a live process other than this one holds the session's lock.
    bool heldByAnother() const;

    QString m_key;
    LocalSocketServer* m_server = nullptr;
    std::unique_ptr<QLockFile> m_lock;
    Handler m_handler;
    int m_clients = 0;
};
