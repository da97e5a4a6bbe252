#pragma once

#include "managers/UpdateCheckResult.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

class FeedDownloader;
class NativeUpdater;
class Settings;

// Asks the update feed (a Sparkle appcast over https) whether a newer Parqueta exists,
// where no Sparkle framework does the asking. It only tells: the download itself is
// left to the user's browser, so nothing is fetched, run or installed here.
//
// Where the system has its own update framework (Sparkle on macOS), that framework
// checks, shows its own windows and installs; this class then only hands it the user's
// requests and keeps it in step with automaticUpdates and betaUpdates, and
// checkFinished() is never emitted (showsItsOwnWindows()).
//
// Everything is asynchronous; every check ends in checkFinished(). A check the user asks
// for always answers, even when updates are unavailable or a check is already under way
// (it joins that one). Background checks obey automaticUpdates and reach the server at
// most once a day, counted from the last time the feed was read.
//
// The network is held short: one address (https, or plain http to this machine for tests
// and local mirrors), redirects only to https and at most kMostRedirects of them, no
// cookies, a whole-check timeout, and an answer larger than kLargestResponse is cut off
// as it arrives.
class SoftwareUpdater final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kDefaultTimeout {15000};
    static constexpr qint64 kLargestResponse = Appcast::kLargestDocument;
    static constexpr int kMostRedirects = 3;
    // How often background checks reach the server, and how often a long session asks
    // whether it is time.
    static constexpr std::chrono::hours kCheckInterval {24};
    static constexpr std::chrono::hours kRetryInterval {1};

    // feedUrl: the appcast; empty in builds without updates. runningVersion: this build,
    // "0.1.0" or "0.1.0-beta". downloader: what fetches the feed, or null for the
    // parqueta-feed helper process (HelperFeedDownloader).
    // systemVersion: the operating system's version, held against an item's
    // minimumSystemVersion; empty (as on Linux) ignores that field.
    SoftwareUpdater(Settings& settings, const QUrl& feedUrl, const QString& runningVersion,
        FeedDownloader* downloader = nullptr, const QString& systemVersion = {}, QObject* parent = nullptr);
    // Over the system's update framework, which reads its feed address from the bundle.
    SoftwareUpdater(
        Settings& settings, NativeUpdater& native, const QString& runningVersion, QObject* parent = nullptr);
    ~SoftwareUpdater() override;

    // The framework answers the user in windows of its own: no dialog should wait for
    // checkFinished().
    bool showsItsOwnWindows() const { return m_native != nullptr; }

    // Whether there is a feed address this updater will use.
    bool isAvailable() const { return m_unavailableReason.isEmpty(); }
    // Why not, in words for the settings window ("this build has no update address").
    QString unavailableReason() const { return m_unavailableReason; }
    bool isChecking() const;
    QString runningVersion() const { return m_runningVersion; }

    // The longest a whole check may take, redirects included. Not positive: the default
    // stays (logged).
    void setTimeout(std::chrono::milliseconds timeout);

    // The user's check, started at once.
    void checkForUpdates();
    // A check nobody is waiting for: skipped (without a signal) while automaticUpdates is
    // off, while one runs, and within a day of the last one that read the feed.
    void checkForUpdatesInBackground();
    // A background check now and one every kRetryInterval after it (which the once-a-day
    // rule turns into one a day), for as long as automaticUpdates is on; turning it on
    // later starts them, turning it off stops them.
    void startScheduledChecks();

Q_SIGNALS:
    // Exactly once per check that was started, and once per checkForUpdates() call made
    // while updates are unavailable.
    void checkFinished(const UpdateCheckResult& result);

private:
    void start(bool interactive);
    void followSchedule();
    void onFinished(const QByteArray& document, const QString& failure);
    // Ends the running check as failed, with message as the reason.
    void abortWith(const QString& message);
    UpdateCheckResult resultFor(const QByteArray& document);
    std::optional<AppcastItem> chooseUpdate(const QList<AppcastItem>& items) const;
    void finish(const UpdateCheckResult& result);

    // Hands automaticUpdates and betaUpdates to the native framework.
    void configureNative();

    Settings& m_settings;
    NativeUpdater* m_native = nullptr;
    QUrl m_feedUrl;
    QString m_runningVersion;
    QString m_systemVersion;
    QString m_unavailableReason;
    FeedDownloader* m_downloader = nullptr;
    QTimer m_deadline;
    QTimer m_schedule;
    bool m_interactive = false;
    bool m_scheduled = false;
};
