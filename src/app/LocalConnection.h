#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <optional>

class QSocketNotifier;

// One accepted connection on a Unix-domain socket, without blocking: what arrives
// collects in a buffer bounded by setReadLimit(), and what is written leaves as fast as
// the peer takes it. Plain sockets rather than Qt's local sockets keep Qt Network, and
// the Kerberos and proxy libraries it brings (1.4 MB resident), out of a process that
// has no other use for them.
class LocalConnection final : public QObject
{
    Q_OBJECT

public:
    // Takes ownership of fd, an accepted socket.
    explicit LocalConnection(int fd, QObject* parent = nullptr);
    ~LocalConnection() override;

    // Reading stops while this much waits unread; more is left in the kernel.
    void setReadLimit(qsizetype bytes);
    qsizetype bytesAvailable() const { return m_in.size(); }
    QByteArray peek(qsizetype bytes) const { return m_in.left(bytes); }
    QByteArray read(qsizetype bytes);
    QByteArray readAll();
    void write(const QByteArray& bytes);
    // Closes once everything written has gone out.
    void closeWhenWritten();
    // Closes now, dropping whatever was not sent.
    void abort();

    // A client's exchange: connects to path, sends request and reads until the other
    // side closes, answerTimeoutMs at most (more than maxAnswer bytes ends it too).
    // Nothing when nobody listens there or the request cannot be sent within
    // timeoutMs; empty when the other side closed without a word.
    static std::optional<QByteArray> exchange(const QString& path, const QByteArray& request, int timeoutMs,
        int answerTimeoutMs, qsizetype maxAnswer);
    // Whether something accepts connections at path.
    static bool isListening(const QString& path);

Q_SIGNALS:
    void readyRead();
    // The connection is over, whichever side ended it; emitted once.
    void closed();

private:
    void readFromSocket();
    void writeToSocket();
    void close();
    void updateNotifiers();

    int m_fd;
    QSocketNotifier* m_readable;
    QSocketNotifier* m_writable;
    QByteArray m_in;
    QByteArray m_out;
    qsizetype m_readLimit = 64 * 1024;
    bool m_closeWhenWritten = false;
};
