#include "managers/SnappedWindowsStore.h"

#include "core/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <optional>

namespace {

const QString kVersionKey = QStringLiteral("version");
const QString kWindowsKey = QStringLiteral("windows");
const QString kIdentityKey = QStringLiteral("identity");
const QString kScreenKey = QStringLiteral("screen");
const QString kZonesKey = QStringLiteral("zones");
const QString kLastSeenKey = QStringLiteral("lastSeen");

QJsonObject toJson(const SnappedWindowRecord& record)
{
    return QJsonObject {{kIdentityKey, record.identity.toJson()}, {kScreenKey, record.screenId},
        {kZonesKey, QJsonArray::fromStringList(record.zoneIds)},
        {kLastSeenKey, record.lastSeen.toUTC().toString(Qt::ISODateWithMs)}};
}

// A record that cannot be used is skipped, its siblings kept.
std::optional<SnappedWindowRecord> fromJson(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    std::optional<WindowIdentity> identity = WindowIdentity::fromJson(object.value(kIdentityKey).toObject());
    SnappedWindowRecord record;
    record.screenId = object.value(kScreenKey).toString();
    for (const QJsonValue& zone : object.value(kZonesKey).toArray()) {
        if (zone.isString() && !zone.toString().isEmpty())
            record.zoneIds.append(zone.toString());
    }
    record.lastSeen = QDateTime::fromString(object.value(kLastSeenKey).toString(), Qt::ISODate);
    if (!identity || record.screenId.isEmpty() || record.zoneIds.isEmpty() || !record.lastSeen.isValid())
        return std::nullopt;
    record.identity = std::move(*identity);
    return record;
}

QString moveAside(const QString& path)
{
    const QString base
        = path + QStringLiteral(".corrupt-") + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = base;
    for (int attempt = 2; QFileInfo::exists(target); ++attempt)
        target = base + QLatin1Char('-') + QString::number(attempt);
    return QFile::rename(path, target) ? target : QString();
}

} // namespace

SnappedWindowsStore::SnappedWindowsStore(QString path)
    : m_path(std::move(path))
{ }

bool SnappedWindowsStore::isFresh(const SnappedWindowRecord& record, const QDateTime& now)
{
    return record.lastSeen.isValid() && record.lastSeen.secsTo(now) <= kKeepSeconds;
}

std::vector<SnappedWindowRecord> SnappedWindowsStore::load(const QDateTime& now)
{
    std::vector<SnappedWindowRecord> records;
    QFile file(m_path);
    if (m_path.isEmpty() || !file.exists())
        return records;
    QString problem;
    QJsonDocument document;
    if (!file.open(QIODevice::ReadOnly)) {
        problem = file.errorString();
    } else {
        QJsonParseError error;
        document = QJsonDocument::fromJson(file.readAll(), &error);
        file.close();
        if (error.error != QJsonParseError::NoError)
            problem = error.errorString();
        else if (!document.isObject() || !document.object().value(kWindowsKey).isArray())
            problem = QStringLiteral("not a list of windows");
        else if (document.object().value(kVersionKey).toInt() != kVersion)
            problem = QStringLiteral("version %1, this build reads %2")
                          .arg(document.object().value(kVersionKey).toVariant().toString())
                          .arg(kVersion);
    }
    if (!problem.isEmpty()) {
        const QString aside = moveAside(m_path);
        if (aside.isEmpty()) {
            qCWarning(lcZones).noquote() << QStringLiteral("Snapped windows file %1 cannot be read (%2) nor moved "
                                                           "aside; no window is restored")
                                                .arg(m_path, problem);
            return records;
        }
        qCWarning(lcZones).noquote() << QStringLiteral("Snapped windows file %1 cannot be read (%2); moved it aside "
                                                       "to %3 and started afresh")
                                            .arg(m_path, problem, aside);
        save(records, now);
        return records;
    }
    int skipped = 0;
    int stale = 0;
    for (const QJsonValue& value : document.object().value(kWindowsKey).toArray()) {
        std::optional<SnappedWindowRecord> record = fromJson(value);
        if (!record)
            ++skipped;
        else if (!isFresh(*record, now))
            ++stale;
        else
            records.push_back(std::move(*record));
    }
    if (skipped > 0)
        qCWarning(lcZones).noquote() << QStringLiteral("Skipped %1 unusable entries of %2").arg(skipped).arg(m_path);
    if (stale > 0)
        qCInfo(lcZones).noquote() << QStringLiteral("Forgot %1 windows not seen for a week").arg(stale);
    return records;
}

bool SnappedWindowsStore::save(const std::vector<SnappedWindowRecord>& records, const QDateTime& now)
{
    if (m_path.isEmpty())
        return true;
    QJsonArray windows;
    for (const SnappedWindowRecord& record : records) {
        if (isFresh(record, now))
            windows.append(toJson(record));
    }
    const QByteArray data = QJsonDocument(QJsonObject {{kVersionKey, kVersion}, {kWindowsKey, windows}}).toJson();
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        qCWarning(lcZones).noquote() << QStringLiteral("Could not write the snapped windows file %1: %2")
                                            .arg(m_path, file.errorString());
        return false;
    }
    return true;
}
