#pragma once

#include "models/SnappedWindowRecord.h"

#include <QDateTime>
#include <QString>

#include <vector>

// The state file of the windows snapped into zones (snapped-windows.json beside the
// settings): session state, not a user's choice, so it is kept apart from the settings.
// JSON with a version; written whole and atomically. A file that cannot be read is
// moved aside (".corrupt-<time>") and replaced by an empty one; nothing else is lost.
class SnappedWindowsStore final
{
public:
    static constexpr int kVersion = 1;
    // Records not seen for this long are dropped when the file is read or written.
    static constexpr qint64 kKeepSeconds = 7 * 24 * 3600;

    // An empty path keeps nothing (reads nothing, writes nothing).
    explicit SnappedWindowsStore(QString path);

    const QString& path() const { return m_path; }

    // The records seen within the last week; none when there is no file.
    std::vector<SnappedWindowRecord> load(const QDateTime& now = QDateTime::currentDateTimeUtc());
    // Writes the records seen within the last week; false (logged) when it cannot.
    bool save(const std::vector<SnappedWindowRecord>& records, const QDateTime& now = QDateTime::currentDateTimeUtc());

    static bool isFresh(const SnappedWindowRecord& record, const QDateTime& now);

private:
    QString m_path;
};
