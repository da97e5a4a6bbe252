#pragma once

#include <QObject>

#include <atomic>
#include <chrono>
#include <functional>

class QThread;

// Waits for the user to grant Parqueta control of other applications' windows: asks
// every interval, off the main thread (the question may block on the system for a
// moment, and nothing on screen should wait for it), until the answer is yes. There is
// no time limit: the user may take as long as they like in the system's settings.
class PermissionWatcher final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kInterval {500};

    // isGranted is called on the watcher's own thread and must be safe there.
    explicit PermissionWatcher(std::function<bool()> isGranted, std::chrono::milliseconds interval = kInterval,
        QObject* parent = nullptr);
    // Stops asking; returns once the thread has ended (at most one interval).
    ~PermissionWatcher() override;

    void start();

Q_SIGNALS:
    // On the main thread, once.
    void granted();

private:
    std::function<bool()> m_isGranted;
    std::chrono::milliseconds m_interval;
    std::atomic<bool> m_stopping {false};
    QThread* m_thread = nullptr;
};
