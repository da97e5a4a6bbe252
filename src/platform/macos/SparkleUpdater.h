#pragma once

#include "platform/NativeUpdater.h"

#include <memory>

// Sparkle 2's standard updater: its own windows, schedule and installer. The feed and the
// key that signs updates come from Info.plist (SUFeedURL, SUPublicEDKey); the beta
// channel is offered through the updater delegate while pre-releases are included.
class SparkleUpdater final : public NativeUpdater
{
public:
    // Starts the updater: Sparkle alerts the user when the bundle is not set up for it,
    // so create one only where hasFeed() says so.
    SparkleUpdater();
    ~SparkleUpdater() override;

    // Whether Info.plist names an update feed (SUFeedURL). Builds that leave it out take
    // their updates from elsewhere (a package manager).
    static bool hasFeed();

    void checkForUpdates() override;
    void checkForUpdatesInBackground() override;
    // Sparkle keeps this in the user defaults itself; only a change is passed on, so a
    // launch does not reset its schedule.
    void setAutomaticallyChecks(bool automatically) override;
    void setIncludesPrereleases(bool include) override;

private:
    // The controller and its delegate (Objective-C, so defined in the .mm).
    struct Native;
    std::unique_ptr<Native> m_native;
};
