#include "app/PermissionWatcher.h"

#include "core/Logging.h"

#include <QThread>

#include <thread>

PermissionWatcher::PermissionWatcher(
    std::function<bool()> isGranted, std::chrono::milliseconds interval, QObject* parent)
    : QObject(parent)
    , m_isGranted(std::move(isGranted))
    , m_interval(interval.count() > 0 ? interval : kInterval)
{ }

PermissionWatcher::~PermissionWatcher()
{
    m_stopping = true;
    if (m_thread) {
        m_thread->wait();
        delete m_thread;
    }
}

void PermissionWatcher::start()
{
    if (m_thread)
        return;
    m_thread = QThread::create([this] {
        // Slept in short steps, so that a quit does not wait a whole interval.
        constexpr std::chrono::milliseconds kStep {50};
        while (!m_stopping) {
            if (m_isGranted()) {
                QMetaObject::invokeMethod(this, [this] {
                    qCInfo(lcApp) << "Parqueta may now control other applications' windows";
                    Q_EMIT granted();
                }, Qt::QueuedConnection);
                return;
            }
            for (auto slept = std::chrono::milliseconds::zero(); slept < m_interval && !m_stopping; slept += kStep)
                std::this_thread::sleep_for(std::min(kStep, m_interval - slept));
        }
    });
    m_thread->setObjectName(QStringLiteral("permission poll"));
    m_thread->start();
}
