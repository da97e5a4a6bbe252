#pragma once

#include "core/SettingsBackend.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

class QFileSystemWatcher;
class QSettings;
class QTimer;

// Settings in one human-readable JSON file (the top-level object maps stored keys to
// values), read and written through QSettings with a registered JSON format.
//
// Durability: QSettings writes through QSaveFile (a temporary file renamed over the old
// one) under a lock file, so a crash mid-write leaves the previous file whole. A file
// that cannot be parsed is moved aside to "<file>.corrupt-<yyyyMMdd-HHmmss>" and the last
// good copy, "<file>.bak" (refreshed at every successful load), is put back in its place;
// nothing the user stored is overwritten in place. When the directory cannot be written,
// values stay in memory and sync() returns false.
//
// Stored forms: bool, double, string, list and map map to their JSON counterparts. A
// QByteArray holding UTF-8 JSON text (an object or an array) is kept as a JSON string so
// the file stays readable, and therefore reads back as a QString; any other QByteArray is
// kept as a string tagged "base64:" and reads back as a QByteArray.
class FileSettingsBackend final : public SettingsBackend
{
public:
    explicit FileSettingsBackend(const QString& filePath);
    ~FileSettingsBackend() override;

    QVariant value(const QString& storedKey) const override;
    bool contains(const QString& storedKey) const override;
    void setValue(const QString& storedKey, const QVariant& value) override;
    void remove(const QString& storedKey) override;
    QStringList keys() const override;
    bool sync() override;
    // The file is watched; a change made by another program is read within a fraction
    // of a second, merged under what this program has not written yet, and reported.
    // A file made unreadable is handled as at start-up (moved aside, last good copy back,
    // and that copy is refreshed after every write of this program).
    void watchExternalChanges(std::function<void(const QStringList& storedKeys)> onChanged) override;

    QString filePath() const;
    QString location() const override { return filePath(); }

    static QString backupPath(const QString& filePath);
    // The prefix of the names corrupt files are moved aside to.
    static QString corruptPathPrefix(const QString& filePath);

    // The file's contents as the store reads and writes them, without a file: what the
    // store would hold for these bytes (nothing when it cannot read them), and the bytes
    // it would write for a set of values.
    static std::optional<QVariantMap> decode(const QByteArray& contents);
    static QByteArray encode(const QVariantMap& values);
    // Prefix of a JSON string that holds a binary blob in base64.
    static constexpr char kBinaryTag[] = "base64:";

private:
    void scheduleSync();
    void reloadChangedFile();
    QVariantMap snapshot() const;

    QString m_filePath;
    std::unique_ptr<QSettings> m_settings;
    bool m_syncScheduled = false;
    bool m_writeFailing = false;
    std::function<void(const QStringList&)> m_onExternalChange;
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    std::unique_ptr<QTimer> m_reloadTimer;
};
