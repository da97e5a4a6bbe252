#pragma once

#include "models/WindowIdentity.h"

#include <QDateTime>
#include <QStringList>

// One window remembered in its zones: who it is, on which screen and in which zones of
// that screen's active layout it stood, and when it was last seen there (records older
// than a week are let go).
struct SnappedWindowRecord
{
    WindowIdentity identity;
    QString screenId;
    QStringList zoneIds;
    QDateTime lastSeen;

    friend bool operator==(const SnappedWindowRecord&, const SnappedWindowRecord&) = default;
};
