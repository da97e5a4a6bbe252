#include "managers/SoftwareUpdater.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "core/VersionNumber.h"
#include "platform/NativeUpdater.h"

#include "managers/HelperFeedDownloader.h"

#include <QDateTime>

#include <algorithm>

namespace {

const QString kProductName = QStringLiteral("Parqueta");

bool isLoopback(const QString& host)
{
    if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 || host == QLatin1String("::1"))
        return true;
    // 127.0.0.0/8, written out in full as QUrl leaves it.
    const QStringList parts = host.split(QLatin1Char('.'));
    return parts.size() == 4 && parts[0] == QLatin1String("127") && std::all_of(parts.begin(), parts.end(), [](const QString& part) {
        bool ok = false;
        const int value = part.toInt(&ok);
        return ok && value >= 0 && value <= 255;
    });
}

// Why the address cannot be used for update checks; empty when it can.
QString unusableReason(const QUrl& url)
{
    if (url.isEmpty())
        return QStringLiteral("this build has no update address");
    if (!url.isValid() || url.host().isEmpty())
        return QStringLiteral("the update address \"%1\" is not a valid address").arg(url.toString());
    if (url.scheme() == QLatin1String("https"))
        return {};
    // Plain http stays on this machine: tests and local mirrors, nothing that crosses a network.
    if (url.scheme() == QLatin1String("http") && isLoopback(url.host()))
        return {};
    return QStringLiteral("the update address \"%1\" is not an https address").arg(url.toDisplayString());
}

} // namespace

SoftwareUpdater::SoftwareUpdater(Settings& settings, const QUrl& feedUrl, const QString& runningVersion,
    FeedDownloader* downloader, const QString& systemVersion, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_feedUrl(feedUrl)
    , m_runningVersion(runningVersion)
    , m_systemVersion(systemVersion)
    , m_unavailableReason(unusableReason(feedUrl))
    , m_downloader(downloader ? downloader : new HelperFeedDownloader(HelperFeedDownloader::locate(), this))
{
    connect(m_downloader, &FeedDownloader::finished, this, &SoftwareUpdater::onFinished);
    if (m_feedUrl.isEmpty())
        qCInfo(lcUpdates).noquote() << "Update checks are off:" << m_unavailableReason;
    else if (!isAvailable())
        qCWarning(lcUpdates).noquote() << "Update checks are off:" << m_unavailableReason;
    if (!VersionNumber::isValid(m_runningVersion))
        qCWarning(lcUpdates).noquote() << QStringLiteral(
            "The running version \"%1\" is not a version number; releases are compared with it as it stands")
                                              .arg(m_runningVersion);

    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this,
        [this] { abortWith(QStringLiteral("The update server took too long to answer.")); });
    m_deadline.setInterval(kDefaultTimeout);
    m_schedule.setTimerType(Qt::VeryCoarseTimer);
    m_schedule.setInterval(kRetryInterval);
    connect(&m_schedule, &QTimer::timeout, this, &SoftwareUpdater::checkForUpdatesInBackground);
    connect(&m_settings, &Settings::changed, this, [this](const QString& name) {
        if (name == QLatin1String(Keys::automaticUpdates.name))
            followSchedule();
    });
}

SoftwareUpdater::SoftwareUpdater(
    Settings& settings, NativeUpdater& native, const QString& runningVersion, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_native(&native)
    , m_runningVersion(runningVersion)
{
    qCInfo(lcUpdates) << "Updates come through the system's update framework";
    configureNative();
    connect(&m_settings, &Settings::changed, this, [this](const QString& name) {
        if (name == QLatin1String(Keys::automaticUpdates.name) || name == QLatin1String(Keys::betaUpdates.name))
            configureNative();
    });
}

void SoftwareUpdater::configureNative()
{
    m_native->setAutomaticallyChecks(m_settings.value(Keys::automaticUpdates));
    m_native->setIncludesPrereleases(m_settings.value(Keys::betaUpdates));
}

SoftwareUpdater::~SoftwareUpdater()
{
    // A downloader given by someone else may outlive us; the download must not.
    if (isChecking()) {
        m_downloader->disconnect(this);
        m_downloader->abort(QStringLiteral("The update check was cancelled."));
    }
}

bool SoftwareUpdater::isChecking() const
{
    return m_downloader && m_downloader->isRunning();
}

void SoftwareUpdater::setTimeout(std::chrono::milliseconds timeout)
{
    if (timeout.count() <= 0) {
        qCWarning(lcUpdates) << "Ignoring an update-check timeout of" << timeout.count() << "ms; keeping"
                             << m_deadline.interval() << "ms";
        return;
    }
    m_deadline.setInterval(timeout);
}

void SoftwareUpdater::checkForUpdates()
{
    if (m_native) {
        m_native->checkForUpdates();
        return;
    }
    if (!isAvailable()) {
        UpdateCheckResult result;
        result.kind = UpdateCheckResult::Kind::Unavailable;
        result.interactive = true;
        result.runningVersion = m_runningVersion;
        result.message = QStringLiteral("%1 cannot check for updates: %2.").arg(kProductName, m_unavailableReason);
        // Answered from the event loop, as a real check would be, so a caller can show
        // its dialog first and need not expect the answer inside this call.
        QTimer::singleShot(0, this, [this, result] { finish(result); });
        return;
    }
    if (isChecking()) {
        m_interactive = true;
        return;
    }
    start(true);
}

void SoftwareUpdater::checkForUpdatesInBackground()
{
    if (!m_settings.value(Keys::automaticUpdates)) {
        qCDebug(lcUpdates) << "Automatic update checks are off";
        return;
    }
    // The framework keeps its own record of when it last asked.
    if (m_native) {
        m_native->checkForUpdatesInBackground();
        return;
    }
    if (!isAvailable() || isChecking())
        return;
    const double last = m_settings.value(Keys::lastUpdateCheck);
    const double now = double(QDateTime::currentSecsSinceEpoch());
    const double interval = double(std::chrono::seconds(kCheckInterval).count());
    // A last check in the future means the clock was wrong then or is now: check.
    if (last > 0 && last <= now && now - last < interval) {
        qCDebug(lcUpdates) << "The update feed was read" << qint64(now - last) << "s ago; not asking again yet";
        return;
    }
    start(false);
}

void SoftwareUpdater::startScheduledChecks()
{
    // The framework schedules its own checks once automaticallyChecks is set: only the
    // launch's check is asked for here.
    if (m_native) {
        checkForUpdatesInBackground();
        return;
    }
    m_scheduled = true;
    followSchedule();
}

void SoftwareUpdater::followSchedule()
{
    const bool wanted = m_scheduled && isAvailable() && m_settings.value(Keys::automaticUpdates);
    if (wanted && !m_schedule.isActive()) {
        m_schedule.start();
        checkForUpdatesInBackground();
    } else if (!wanted && m_schedule.isActive()) {
        qCInfo(lcUpdates) << "Automatic update checks stopped";
        m_schedule.stop();
    }
}

void SoftwareUpdater::start(bool interactive)
{
    m_interactive = interactive;
    qCInfo(lcUpdates).noquote() << (interactive ? "Checking" : "Checking in the background") << "for updates at"
                                << m_feedUrl.toDisplayString();
    FeedDownloader::Request request;
    request.url = m_feedUrl;
    request.userAgent = QStringLiteral("%1/%2").arg(kProductName, m_runningVersion).toUtf8();
    request.largestResponse = kLargestResponse;
    request.mostRedirects = kMostRedirects;
    m_downloader->start(request);
    m_deadline.start();
}

void SoftwareUpdater::abortWith(const QString& message)
{
    if (isChecking())
        m_downloader->abort(message);
}

void SoftwareUpdater::onFinished(const QByteArray& document, const QString& failure)
{
    m_deadline.stop();
    UpdateCheckResult result;
    if (!failure.isEmpty())
        result.message = failure;
    else
        result = resultFor(document);
    result.interactive = m_interactive;
    result.runningVersion = m_runningVersion;
    finish(result);
}

UpdateCheckResult SoftwareUpdater::resultFor(const QByteArray& document)
{
    UpdateCheckResult result;
    const Appcast feed = Appcast::parse(document);
    if (!feed.ok()) {
        result.message = QStringLiteral("The update feed could not be read: %1.").arg(feed.error);
        return result;
    }
    for (const QString& problem : feed.problems)
        qCWarning(lcUpdates).noquote() << "Update feed:" << problem;
    // The feed was read: that is a check done, whatever it offers.
    m_settings.setValue(Keys::lastUpdateCheck, double(QDateTime::currentSecsSinceEpoch()));

    result.item = chooseUpdate(feed.items);
    if (result.item) {
        result.kind = UpdateCheckResult::Kind::UpdateAvailable;
        result.message = QStringLiteral("%1 %2 is available — you have %3.")
                             .arg(kProductName, result.item->displayVersion(), m_runningVersion);
    } else {
        result.kind = UpdateCheckResult::Kind::UpToDate;
        result.message = QStringLiteral("%1 %2 is the newest version available.").arg(kProductName, m_runningVersion);
    }
    return result;
}

// Sparkle's rules: an item on a channel reaches only those on that channel (here: beta,
// for whoever asked for beta updates), and a release needing a newer system is not offered.
std::optional<AppcastItem> SoftwareUpdater::chooseUpdate(const QList<AppcastItem>& items) const
{
    const bool beta = m_settings.value(Keys::betaUpdates);
    std::optional<AppcastItem> best;
    for (const AppcastItem& item : items) {
        const QString version = item.displayVersion();
        if (!item.channel.isEmpty() && item.channel != QLatin1String("beta")) {
            qCInfo(lcUpdates).noquote() << "Skipping" << version << "on the unknown channel" << item.channel;
            continue;
        }
        if (!beta && item.isPrerelease()) {
            qCDebug(lcUpdates).noquote() << "Skipping the pre-release" << version << "(beta updates are off)";
            continue;
        }
        if (!m_systemVersion.isEmpty() && !item.minimumSystemVersion.isEmpty()
            && VersionNumber::compare(m_systemVersion, item.minimumSystemVersion) < 0) {
            qCInfo(lcUpdates).noquote() << "Skipping" << version << "- it needs system version"
                                        << item.minimumSystemVersion << "and this is" << m_systemVersion;
            continue;
        }
        if (!best || VersionNumber::compare(version, best->displayVersion()) > 0)
            best = item;
    }
    if (best && VersionNumber::compare(best->displayVersion(), m_runningVersion) > 0)
        return best;
    return std::nullopt;
}

void SoftwareUpdater::finish(const UpdateCheckResult& result)
{
    switch (result.kind) {
    case UpdateCheckResult::Kind::UpToDate:
    case UpdateCheckResult::Kind::UpdateAvailable:
    case UpdateCheckResult::Kind::Unavailable:
        qCInfo(lcUpdates).noquote() << result.message;
        break;
    case UpdateCheckResult::Kind::Failed:
        // Offline for a day is not worth a warning an hour; a failure someone waits for is.
        if (result.interactive)
            qCWarning(lcUpdates).noquote() << "Update check failed:" << result.message;
        else
            qCInfo(lcUpdates).noquote() << "Background update check failed:" << result.message;
        break;
    }
    Q_EMIT checkFinished(result);
}
