#pragma once

// An update framework of the operating system's own kind (Sparkle on macOS) that checks,
// downloads and installs by itself and shows its own windows. Where there is one,
// Parqueta only hands it the user's choices and requests.
class NativeUpdater
{
public:
    virtual ~NativeUpdater() = default;

    // The user asked: the framework shows progress and the answer.
    virtual void checkForUpdates() = 0;
    // Nobody is waiting: the framework speaks only when it finds an update.
    virtual void checkForUpdatesInBackground() = 0;
    // The framework's own schedule of background checks.
    virtual void setAutomaticallyChecks(bool automatically) = 0;
    // Whether pre-releases (the beta channel) are offered.
    virtual void setIncludesPrereleases(bool include) = 0;
};
