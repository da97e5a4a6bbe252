#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

// What tells one application window apart from another across restarts of Parqueta, of
// the application and of the session, where window numbers mean nothing: the window's
// class and instance (WM_CLASS on X11, the bundle identifier and the application's name
// on macOS), its role, its title and the command line of its process. Each part may be
// empty when the window does not say.
struct WindowIdentity
{
    QString instance;
    QString className;
    QString role;
    QString title;
    QString command;

    // The title without what changes while a window lives: digits, counters such as
    // "(3)" or "[2]", modification markers ("*", "●", "•") at either end, case and runs
    // of spaces. "● main.cpp (2) - Editor" and "main.cpp - Editor" are the same.
    static QString normalizedTitle(const QString& title);

    // How well a live window (candidate) fits a recorded identity: 0 when it cannot be
    // that window (another class or instance, another recorded role, another command
    // where both are known), else higher for each part that agrees. An equal normalised
    // title outweighs an equal role and command together; an exactly equal title adds one.
    static int matchScore(const WindowIdentity& recorded, const WindowIdentity& candidate);
    // The score of a candidate identical to the record: nothing fits better.
    static int bestScore(const WindowIdentity& recorded);

    QJsonObject toJson() const;
    // Absent when class or instance is missing: such a record can match nothing.
    static std::optional<WindowIdentity> fromJson(const QJsonObject& object);

    friend bool operator==(const WindowIdentity&, const WindowIdentity&) = default;
};
