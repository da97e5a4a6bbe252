#pragma once

#include "core/Appcast.h"

#include <QString>

#include <optional>

// What one update check came to: for the update dialog, a tray notice and the log.
struct UpdateCheckResult
{
    enum class Kind {
        // The feed was read and offers nothing newer than what runs.
        UpToDate,
        // item holds the release to offer.
        UpdateAvailable,
        // The server could not be reached, took too long, or sent something unusable.
        Failed,
        // This build has no usable update feed; nothing was asked of the network.
        Unavailable,
    };

    Kind kind = Kind::Failed;
    // The user asked (rather than a background check).
    bool interactive = false;
    // The release on offer; set exactly when kind is UpdateAvailable.
    std::optional<AppcastItem> item;
    // The version of this build, as it was given to the updater ("0.1.0-beta").
    QString runningVersion;
    // One sentence for a person, e.g. "Parqueta 0.2.0 is available — you have 0.1.0."
    QString message;
};
