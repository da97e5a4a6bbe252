#include "core/FileSettingsBackend.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QSaveFile>
#include <QSettings>
#include <QTemporaryFile>
#include <QTimer>

#include <cmath>
#include <optional>

namespace {

QLatin1String binaryTag()
{
    return QLatin1String(FileSettingsBackend::kBinaryTag);
}

bool isJsonText(const QByteArray& blob)
{
    if (QString::fromUtf8(blob).toUtf8() != blob)
        return false;
    QJsonParseError error;
    QJsonDocument::fromJson(blob, &error);
    return error.error == QJsonParseError::NoError;
}

QJsonValue toJson(const QVariant& value, const QString& storedKey)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return QJsonValue::Null;
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double: {
        const double number = value.toDouble();
        if (std::isfinite(number))
            return number;
        qCWarning(lcSettings).noquote() << QStringLiteral("Cannot store the non-finite number %1 under \"%2\"; "
                                                          "it is written as null")
                                               .arg(number)
                                               .arg(storedKey);
        return QJsonValue::Null;
    }
    case QMetaType::QString: {
        const QString text = value.toString();
        // A string that looks tagged is stored tagged, so reading cannot misread it;
        // it comes back as its UTF-8 bytes.
        if (text.startsWith(binaryTag()))
            return binaryTag() + QString::fromLatin1(text.toUtf8().toBase64());
        return text;
    }
    case QMetaType::QByteArray: {
        const QByteArray blob = value.toByteArray();
        if (isJsonText(blob))
            return QString::fromUtf8(blob);
        return binaryTag() + QString::fromLatin1(blob.toBase64());
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        QJsonArray array;
        for (const QVariant& element : value.toList())
            array.append(toJson(element, storedKey));
        return array;
    }
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            object.insert(it.key(), toJson(it.value(), storedKey));
        return object;
    }
    default:
        qCWarning(lcSettings).noquote() << QStringLiteral("Cannot store a value of type %1 under \"%2\"; "
                                                          "it is written as null")
                                               .arg(QLatin1String(value.typeName()), storedKey);
        return QJsonValue::Null;
    }
}

QVariant fromJson(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return value.toDouble();
    case QJsonValue::String: {
        const QString text = value.toString();
        if (text.startsWith(binaryTag())) {
            auto decoded = QByteArray::fromBase64Encoding(
                text.mid(binaryTag().size()).toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
            if (decoded)
                return *decoded;
        }
        return text;
    }
    case QJsonValue::Array: {
        QVariantList list;
        for (const QJsonValue& element : value.toArray())
            list.append(fromJson(element));
        return list;
    }
    case QJsonValue::Object: {
        QVariantMap map;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            map.insert(it.key(), fromJson(it.value()));
        return map;
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return {};
}

std::optional<QSettings::SettingsMap> parseDocument(const QByteArray& data, QString* problem)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError) {
        *problem = QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset);
        return std::nullopt;
    }
    if (!document.isObject()) {
        *problem = QStringLiteral("the top level is not a JSON object");
        return std::nullopt;
    }
    QSettings::SettingsMap map;
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isNull())
            map.insert(it.key(), fromJson(it.value()));
    }
    return map;
}

bool writeAtomically(const QString& path, const QByteArray& data, QString* problem)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        *problem = file.errorString();
        return false;
    }
    return true;
}

void refreshBackup(const QString& path, const QByteArray& data)
{
    const QString backup = FileSettingsBackend::backupPath(path);
    QFile current(backup);
    if (current.open(QIODevice::ReadOnly) && current.readAll() == data)
        return;
    QString problem;
    if (!writeAtomically(backup, data, &problem))
        qCWarning(lcSettings).noquote()
            << QStringLiteral("Could not refresh the settings backup %1: %2").arg(backup, problem);
}

// Keeps the unreadable file under a new name, so nothing the user had is lost when
// the settings are written next. Empty when neither renaming nor copying worked; an
// atomic write into that directory fails as well then, so the file stays untouched.
QString moveAside(const QString& path)
{
    const QString base = FileSettingsBackend::corruptPathPrefix(path)
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = base;
    for (int attempt = 2; QFileInfo::exists(target); ++attempt)
        target = base + QLatin1Char('-') + QString::number(attempt);
    if (QFile::rename(path, target) || QFile::copy(path, target))
        return target;
    return {};
}

// A settings file that cannot be read: move it aside and put the backup in its place.
// Returns false only when the file could not be moved aside.
bool recoverFromUnreadableFile(const QString& path, const QString& problem, QSettings::SettingsMap& map)
{
    const QString aside = moveAside(path);
    if (aside.isEmpty()) {
        qCWarning(lcSettings).noquote() << QStringLiteral("Settings file %1 cannot be read (%2) and could not be "
                                                          "moved aside; it is left as it is and defaults apply")
                                               .arg(path, problem);
        return false;
    }
    qCWarning(lcSettings).noquote()
        << QStringLiteral("Settings file %1 cannot be read (%2); moved it aside to %3").arg(path, problem, aside);

    const QString backup = FileSettingsBackend::backupPath(path);
    QFile backupFile(backup);
    if (!backupFile.open(QIODevice::ReadOnly)) {
        map.clear();
        return true;
    }
    const QByteArray data = backupFile.readAll();
    QString backupProblem;
    const std::optional<QSettings::SettingsMap> restored = parseDocument(data, &backupProblem);
    if (!restored) {
        qCWarning(lcSettings).noquote() << QStringLiteral(
            "Settings backup %1 cannot be read either (%2); defaults apply")
                                               .arg(backup, backupProblem);
        map.clear();
        return true;
    }
    if (!writeAtomically(path, data, &backupProblem)) {
        qCWarning(lcSettings).noquote() << QStringLiteral("Could not put the settings backup %1 back in place of %2 "
                                                          "(%3); its values are used for this session")
                                               .arg(backup, path, backupProblem);
    } else {
        qCWarning(lcSettings).noquote() << QStringLiteral("Restored settings from the backup %1").arg(backup);
    }
    map = *restored;
    return true;
}

bool readJson(QIODevice& device, QSettings::SettingsMap& map)
{
    const auto* file = qobject_cast<QFile*>(&device);
    const QString path = file ? file->fileName() : QString();
    const QByteArray data = device.readAll();
    QString problem;
    if (std::optional<QSettings::SettingsMap> parsed = parseDocument(data, &problem)) {
        map = *parsed;
        if (!path.isEmpty())
            refreshBackup(path, data);
        return true;
    }
    if (path.isEmpty())
        return false;
    return recoverFromUnreadableFile(path, problem, map);
}

QByteArray documentFor(const QSettings::SettingsMap& map)
{
    QJsonObject object;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        object.insert(it.key(), toJson(it.value(), it.key()));
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

bool writeJson(QIODevice& device, const QSettings::SettingsMap& map)
{
    const QByteArray data = documentFor(map);
    return device.write(data) == data.size();
}

QSettings::Format jsonFormat()
{
    static const QSettings::Format format = QSettings::registerFormat(QStringLiteral("json"), readJson, writeJson);
    return format;
}

bool canCreateFilesIn(const QString& directory)
{
    if (!QDir().mkpath(directory))
        return false;
    QTemporaryFile probe(directory + QStringLiteral("/.parqueta-write-test-XXXXXX"));
    return probe.open();
}

} // namespace

FileSettingsBackend::FileSettingsBackend(const QString& filePath)
    : m_filePath(QFileInfo(filePath).absoluteFilePath())
{
    const QString directory = QFileInfo(m_filePath).absolutePath();
    if (!canCreateFilesIn(directory)) {
        m_writeFailing = true;
        qCWarning(lcSettings).noquote() << QStringLiteral("Settings directory %1 is not writable; changes are kept "
                                                          "in memory for this session only")
                                               .arg(directory);
    }

    // QSettings never hands an empty file to the format, so an empty file (the usual
    // remains of an interrupted non-atomic write by some other tool) is recovered here.
    const QFileInfo info(m_filePath);
    if (info.exists() && info.size() == 0 && QFileInfo::exists(backupPath(m_filePath))) {
        QSettings::SettingsMap unused;
        recoverFromUnreadableFile(m_filePath, QStringLiteral("the file is empty"), unused);
    }

    m_settings = std::make_unique<QSettings>(m_filePath, jsonFormat());
    if (m_settings->status() == QSettings::AccessError)
        qCWarning(lcSettings).noquote() << QStringLiteral(
            "Settings file %1 cannot be opened; defaults apply and it is not written")
                                               .arg(m_filePath);
    qCDebug(lcSettings).noquote() << QStringLiteral("Settings file: %1").arg(m_filePath);
}

FileSettingsBackend::~FileSettingsBackend()
{
    sync();
}

QVariant FileSettingsBackend::value(const QString& storedKey) const
{
    return m_settings->value(storedKey);
}

bool FileSettingsBackend::contains(const QString& storedKey) const
{
    return m_settings->contains(storedKey);
}

void FileSettingsBackend::setValue(const QString& storedKey, const QVariant& value)
{
    m_settings->setValue(storedKey, value);
    scheduleSync();
}

void FileSettingsBackend::remove(const QString& storedKey)
{
    m_settings->remove(storedKey);
    scheduleSync();
}

QStringList FileSettingsBackend::keys() const
{
    return m_settings->allKeys();
}

bool FileSettingsBackend::sync()
{
    // QSettings keeps the first error it ever met, so its status says nothing about this
    // attempt. A second instance on the same file shares the pending changes (QSettings
    // shares one state per file), writes them while it opens and reports this attempt only.
    const QSettings attempt(m_filePath, jsonFormat());
    // With nothing pending QSettings writes nothing and reports no error: that says
    // nothing about a directory that was not writable, which must be asked again.
    const bool written = attempt.status() == QSettings::NoError
        && (!m_writeFailing || canCreateFilesIn(QFileInfo(m_filePath).absolutePath()));
    if (!written && !m_writeFailing) {
        qCWarning(lcSettings).noquote() << QStringLiteral("Could not write the settings file %1; changes are kept "
                                                          "in memory until it can be written")
                                               .arg(m_filePath);
    } else if (written && m_writeFailing) {
        qCInfo(lcSettings).noquote() << QStringLiteral("Settings file %1 is writable again").arg(m_filePath);
    }
    m_writeFailing = !written;
    // The last good copy follows what this program wrote, so a file another program
    // breaks later falls back to the user's latest choices, not to those of the start.
    if (written) {
        QFile file(m_filePath);
        if (file.open(QIODevice::ReadOnly)) {
            const QByteArray data = file.readAll();
            QString problem;
            if (parseDocument(data, &problem))
                refreshBackup(m_filePath, data);
        }
    }
    return written;
}

void FileSettingsBackend::watchExternalChanges(std::function<void(const QStringList& storedKeys)> onChanged)
{
    m_onExternalChange = std::move(onChanged);
    if (m_watcher || !QCoreApplication::instance())
        return;
    m_watcher = std::make_unique<QFileSystemWatcher>();
    m_reloadTimer = std::make_unique<QTimer>();
    m_reloadTimer->setSingleShot(true);
    // Editors write in bursts (truncate, write, rename); read once they are done.
    m_reloadTimer->setInterval(150);
    QObject::connect(m_reloadTimer.get(), &QTimer::timeout, m_reloadTimer.get(), [this] { reloadChangedFile(); });
    const auto changed = [this] {
        // A file replaced by a rename is a new file: watch it again.
        if (!m_watcher->files().contains(m_filePath) && QFileInfo::exists(m_filePath))
            m_watcher->addPath(m_filePath);
        m_reloadTimer->start();
    };
    QObject::connect(m_watcher.get(), &QFileSystemWatcher::fileChanged, m_reloadTimer.get(), changed);
    QObject::connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, m_reloadTimer.get(), changed);
    const QString directory = QFileInfo(m_filePath).absolutePath();
    QDir().mkpath(directory);
    m_watcher->addPath(directory);
    if (QFileInfo::exists(m_filePath))
        m_watcher->addPath(m_filePath);
}

QVariantMap FileSettingsBackend::snapshot() const
{
    QVariantMap values;
    for (const QString& key : m_settings->allKeys())
        values.insert(key, m_settings->value(key));
    return values;
}

void FileSettingsBackend::reloadChangedFile()
{
    const QVariantMap before = snapshot();
    // QSettings reads the file again when it changed on disk, keeping what this program
    // has not written yet on top.
    m_settings->sync();
    const QVariantMap after = snapshot();
    QStringList changed;
    for (auto it = after.cbegin(); it != after.cend(); ++it) {
        if (before.value(it.key()) != it.value())
            changed << it.key();
    }
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        if (!after.contains(it.key()))
            changed << it.key();
    }
    if (changed.isEmpty())
        return;
    qCInfo(lcSettings).noquote()
        << QStringLiteral("Settings file changed by another program: %1").arg(changed.join(QStringLiteral(", ")));
    if (m_onExternalChange)
        m_onExternalChange(changed);
}

QString FileSettingsBackend::filePath() const
{
    return m_filePath;
}

std::optional<QVariantMap> FileSettingsBackend::decode(const QByteArray& contents)
{
    QString problem;
    return parseDocument(contents, &problem);
}

QByteArray FileSettingsBackend::encode(const QVariantMap& values)
{
    return documentFor(values);
}

QString FileSettingsBackend::backupPath(const QString& filePath)
{
    return filePath + QStringLiteral(".bak");
}

QString FileSettingsBackend::corruptPathPrefix(const QString& filePath)
{
    return filePath + QStringLiteral(".corrupt-");
}

void FileSettingsBackend::scheduleSync()
{
    // Writes within one turn of the event loop reach the disk together, and a failure
    // is logged when it happens rather than at exit.
    if (m_syncScheduled || !QCoreApplication::instance())
        return;
    m_syncScheduled = true;
    QTimer::singleShot(0, m_settings.get(), [this] {
        m_syncScheduled = false;
        sync();
    });
}
