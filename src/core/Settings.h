#pragma once

#include "core/SettingsBackend.h"

#include <QByteArray>
#include <QColor>
#include <QHash>
#include <QList>
#include <QMap>
#include <QObject>
#include <QStringList>

#include <memory>
#include <optional>

// A typed key: the name used in code, the key it is stored under, and its default.
template <typename T> struct SettingKey
{
    const char* name;
    const char* storedKey;
    T defaultValue;
};

using BoolKey = SettingKey<bool>;

// A number key also knows the largest magnitude that is still a value rather than damage:
// lengths in points stay far below a million, a moment in seconds since 1970 does not.
struct DoubleKey
{
    const char* name;
    const char* storedKey;
    double defaultValue;
    double largestPlausible = 1e6;
};

// Colour defaults follow the system accent colour, so they are computed at each read.
struct ColorKey
{
    const char* name;
    const char* storedKey;
    QColor (*defaultValue)();
};

// A list of texts, empty by default, written whole.
struct StringListKey
{
    const char* name;
    const char* storedKey;
};

// A structured key whose stored value is a map from a screen id to data blobs.
struct BlobMapKey
{
    const char* name;
    const char* storedKey;
};

// Every persisted setting, with the stored key names users' files already carry.
namespace Keys {
extern const BoolKey firstRun;
extern const BoolKey automaticUpdates;
extern const BoolKey betaUpdates;
// When the update feed last answered with a feed, in seconds since 1970 (0: never).
extern const DoubleKey lastUpdateCheck;
extern const BoolKey launchAtLogin;
extern const BoolKey hideMenuBarIcon;
extern const BoolKey restoreSizeOnUnsnap;
extern const BoolKey spanAdjancedZones;
extern const DoubleKey autoSpanDistance;
extern const BoolKey holdShiftToSnap;
extern const BoolKey moveWindowsOnLayoutChange;
// Windows go back into the zones they were snapped into after a restart, a monitor
// unplugged and plugged back, or their application restarted.
extern const BoolKey restoreSnappedWindows;
// WM_CLASS names (class or instance, any case) of applications whose windows are never
// snapped: no zone mode while one is dragged, no shortcut moves one.
extern const StringListKey excludedApplications;
// Off: moving and spanning compare the window's desktop position with layout-space zones
// as raw numbers (so they act only on the screen at the desktop's origin) and cycling
// groups windows by zone id across screens. On: the position is taken into the window's
// screen's layout space and cycling groups by screen and zone.
extern const BoolKey shortcutsOnEveryScreen;
extern const BlobMapKey screens; // id -> one blob (Screen JSON)
extern const BlobMapKey layouts; // id -> list of blobs (Layout JSON)
extern const BlobMapKey activeLayouts; // id -> UUID text
extern const BoolKey enableGaps;
extern const DoubleKey gapSize;
extern const BoolKey useSystemAccentColor;
extern const ColorKey customAccentColor;
extern const ColorKey zoneHighlightColor;
extern const ColorKey zoneBackgroundLightColor;
extern const ColorKey zoneBackgroundDarkColor;
extern const ColorKey zoneTextLightColor;
extern const ColorKey zoneTextDarkColor;
} // namespace Keys

// The settings store. Nothing is cached: every read goes to the backend, so a value
// changed elsewhere is seen at the next use. Structured values are written whole.
class Settings final : public QObject
{
    Q_OBJECT

public:
    explicit Settings(std::unique_ptr<SettingsBackend> backend, QObject* parent = nullptr);
    ~Settings() override;

    bool value(const BoolKey& key) const;
    double value(const DoubleKey& key) const;
    QColor value(const ColorKey& key) const;
    void setValue(const BoolKey& key, bool value);
    void setValue(const DoubleKey& key, double value);
    void setValue(const ColorKey& key, const QColor& value);
    // Entries that are not text are skipped (and reported once) while the rest is kept.
    QStringList value(const StringListKey& key) const;
    void setValue(const StringListKey& key, const QStringList& value);

    // screens: id -> blob. Entries of the wrong type are skipped, siblings kept.
    QMap<QString, QByteArray> blobs(const BlobMapKey& key) const;
    void setBlobs(const BlobMapKey& key, const QMap<QString, QByteArray>& value);
    // layouts: id -> list of blobs.
    QMap<QString, QList<QByteArray>> blobLists(const BlobMapKey& key) const;
    void setBlobLists(const BlobMapKey& key, const QMap<QString, QList<QByteArray>>& value);
    // activeLayouts: id -> text.
    QMap<QString, QString> strings(const BlobMapKey& key) const;
    void setStrings(const BlobMapKey& key, const QMap<QString, QString>& value);

    // Forgets a stored value so its default applies again.
    void reset(const char* storedKey);
    bool sync();
    // Where the settings are kept, for the About window; empty for a store in memory.
    QString location() const { return m_backend->location(); }

    // The gap to apply around zones right now: gapSize while enableGaps is on, else 0.
    double effectiveGap() const;

    // The accent colour of the desktop (the palette's highlight colour on Linux).
    static QColor systemAccentColor();

Q_SIGNALS:
    // After every write; name is the key's name in code (for example "gapSize").
    void changed(const QString& name);
    // Another program changed the settings file under name (changed() comes too):
    // whoever keeps a copy of that value reads it again.
    void changedExternally(const QString& name);

private:
    template <typename T>
    QMap<QString, T> readMap(
        const BlobMapKey& key, std::optional<T> (*convert)(const QVariant&), const QString& what) const;
    // The map stored under key; absent when there is none or (reported) when something else is there.
    std::optional<QVariantMap> storedMap(const BlobMapKey& key) const;
    // A stored value that cannot be used is logged once, not at every read; a new
    // problem under the same key, or a write to it, starts over.
    void reportProblem(const char* storedKey, const QString& problem) const;
    void written(const char* name, const char* storedKey);

    std::unique_ptr<SettingsBackend> m_backend;
    mutable QHash<QString, QString> m_reportedProblems;
};
