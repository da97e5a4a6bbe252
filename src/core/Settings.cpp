#include "core/Settings.h"

#include "core/ColorCodec.h"
#include "core/Logging.h"
#include "core/MemorySettingsBackend.h"
#include "core/NumericVariant.h"

#include <QCoreApplication>
#include <QDebug>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

// The highlight colour of Qt's own Fusion palette, for when no GUI application exists.
constexpr QRgb kFallbackAccent = 0xff308cc6;

QString storedKeyText(const char* storedKey)
{
    return QString::fromLatin1(storedKey);
}

QString describe(const QVariant& value)
{
    QString text;
    QDebug(&text).nospace() << value;
    if (text.size() > 80)
        text = text.left(77) + QStringLiteral("...");
    return text;
}

bool isPlausibleNumber(double value, const DoubleKey& key)
{
    return std::isfinite(value) && std::abs(value) <= key.largestPlausible;
}

bool isMap(const QVariant& value)
{
    return value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantHash;
}

bool isList(const QVariant& value)
{
    return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
}

// A blob may come back as text: the file store keeps JSON blobs as readable strings.
std::optional<QByteArray> asBlob(const QVariant& value)
{
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray();
    if (value.typeId() == QMetaType::QString)
        return value.toString().toUtf8();
    return std::nullopt;
}

std::optional<QString> asText(const QVariant& value)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    if (value.typeId() == QMetaType::QByteArray) {
        const QByteArray bytes = value.toByteArray();
        const QString text = QString::fromUtf8(bytes);
        if (text.toUtf8() == bytes)
            return text;
    }
    return std::nullopt;
}

// The name in code of a stored key, for the changed() signal of reset().
QString nameOfStoredKey(const char* storedKey)
{
    struct Names
    {
        const char* name;
        const char* storedKey;
    };
    const Names all[] = {
        {Keys::firstRun.name, Keys::firstRun.storedKey},
        {Keys::automaticUpdates.name, Keys::automaticUpdates.storedKey},
        {Keys::betaUpdates.name, Keys::betaUpdates.storedKey},
        {Keys::lastUpdateCheck.name, Keys::lastUpdateCheck.storedKey},
        {Keys::launchAtLogin.name, Keys::launchAtLogin.storedKey},
        {Keys::hideMenuBarIcon.name, Keys::hideMenuBarIcon.storedKey},
        {Keys::restoreSizeOnUnsnap.name, Keys::restoreSizeOnUnsnap.storedKey},
        {Keys::spanAdjancedZones.name, Keys::spanAdjancedZones.storedKey},
        {Keys::autoSpanDistance.name, Keys::autoSpanDistance.storedKey},
        {Keys::holdShiftToSnap.name, Keys::holdShiftToSnap.storedKey},
        {Keys::moveWindowsOnLayoutChange.name, Keys::moveWindowsOnLayoutChange.storedKey},
        {Keys::shortcutsOnEveryScreen.name, Keys::shortcutsOnEveryScreen.storedKey},
        {Keys::restoreSnappedWindows.name, Keys::restoreSnappedWindows.storedKey},
        {Keys::screens.name, Keys::screens.storedKey},
        {Keys::layouts.name, Keys::layouts.storedKey},
        {Keys::activeLayouts.name, Keys::activeLayouts.storedKey},
        {Keys::enableGaps.name, Keys::enableGaps.storedKey},
        {Keys::gapSize.name, Keys::gapSize.storedKey},
        {Keys::useSystemAccentColor.name, Keys::useSystemAccentColor.storedKey},
        {Keys::customAccentColor.name, Keys::customAccentColor.storedKey},
        {Keys::zoneHighlightColor.name, Keys::zoneHighlightColor.storedKey},
        {Keys::zoneBackgroundLightColor.name, Keys::zoneBackgroundLightColor.storedKey},
        {Keys::zoneBackgroundDarkColor.name, Keys::zoneBackgroundDarkColor.storedKey},
        {Keys::zoneTextLightColor.name, Keys::zoneTextLightColor.storedKey},
        {Keys::zoneTextDarkColor.name, Keys::zoneTextDarkColor.storedKey},
    };
    const QByteArrayView wanted(storedKey);
    const auto* found = std::find_if(
        std::begin(all), std::end(all), [&](const Names& names) { return wanted == QByteArrayView(names.storedKey); });
    return QString::fromLatin1(found != std::end(all) ? found->name : storedKey);
}

} // namespace

Settings::Settings(std::unique_ptr<SettingsBackend> backend, QObject* parent)
    : QObject(parent)
    , m_backend(std::move(backend))
{
    if (!m_backend) {
        qCCritical(lcSettings) << "Settings store created without a backend; settings are kept in memory only";
        m_backend = std::make_unique<MemorySettingsBackend>();
    }
    m_backend->watchExternalChanges([this](const QStringList& storedKeys) {
        for (const QString& storedKey : storedKeys) {
            m_reportedProblems.remove(storedKey);
            const QString name = nameOfStoredKey(storedKey.toLatin1().constData());
            Q_EMIT changed(name);
            Q_EMIT changedExternally(name);
        }
    });
}

Settings::~Settings() = default;

bool Settings::value(const BoolKey& key) const
{
    const QVariant raw = m_backend->value(storedKeyText(key.storedKey));
    if (!raw.isValid())
        return key.defaultValue;
    if (raw.typeId() == QMetaType::Bool)
        return raw.toBool();
    reportProblem(key.storedKey, QStringLiteral("is not a boolean (%1); the default applies").arg(describe(raw)));
    return key.defaultValue;
}

double Settings::value(const DoubleKey& key) const
{
    const QVariant raw = m_backend->value(storedKeyText(key.storedKey));
    if (!raw.isValid())
        return key.defaultValue;
    if (isNumericVariant(raw) && isPlausibleNumber(raw.toDouble(), key))
        return raw.toDouble();
    reportProblem(key.storedKey, QStringLiteral("is not a usable number (%1); the default applies").arg(describe(raw)));
    return key.defaultValue;
}

QColor Settings::value(const ColorKey& key) const
{
    const QVariant raw = m_backend->value(storedKeyText(key.storedKey));
    if (!raw.isValid())
        return key.defaultValue();
    if (const std::optional<QColor> color = ColorCodec::decode(raw))
        return *color;
    reportProblem(key.storedKey,
        QStringLiteral("is not a colour in either stored form (%1); the default applies").arg(describe(raw)));
    return key.defaultValue();
}

void Settings::setValue(const BoolKey& key, bool value)
{
    m_backend->setValue(storedKeyText(key.storedKey), value);
    written(key.name, key.storedKey);
}

void Settings::setValue(const DoubleKey& key, double value)
{
    // Refused rather than stored: it would read back as the default anyway.
    if (!isPlausibleNumber(value, key)) {
        qCWarning(lcSettings).noquote()
            << QStringLiteral("Refusing to store %1 as \"%2\"; the stored value is kept").arg(value).arg(key.name);
        return;
    }
    m_backend->setValue(storedKeyText(key.storedKey), value);
    written(key.name, key.storedKey);
}

void Settings::setValue(const ColorKey& key, const QColor& value)
{
    // An invalid colour is what a cancelled colour dialog gives; it must not wipe a choice.
    if (!value.isValid()) {
        qCWarning(lcSettings).noquote()
            << QStringLiteral("Refusing to store an invalid colour as \"%1\"; the stored value is kept").arg(key.name);
        return;
    }
    m_backend->setValue(storedKeyText(key.storedKey), ColorCodec::encode(value));
    written(key.name, key.storedKey);
}

std::optional<QVariantMap> Settings::storedMap(const BlobMapKey& key) const
{
    const QVariant raw = m_backend->value(storedKeyText(key.storedKey));
    if (!raw.isValid())
        return std::nullopt;
    if (!isMap(raw)) {
        reportProblem(key.storedKey, QStringLiteral("is not a map (%1); it reads as empty").arg(describe(raw)));
        return std::nullopt;
    }
    return raw.toMap();
}

// A map of single values: entries that do not convert are skipped (and reported once)
// while their siblings are kept.
template <typename T>
QMap<QString, T> Settings::readMap(
    const BlobMapKey& key, std::optional<T> (*convert)(const QVariant&), const QString& what) const
{
    QMap<QString, T> result;
    const std::optional<QVariantMap> stored = storedMap(key);
    if (!stored)
        return result;
    const QVariantMap& map = *stored;
    QStringList skipped;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (const std::optional<T> value = convert(it.value()))
            result.insert(it.key(), *value);
        else
            skipped << QStringLiteral("%1: %2").arg(it.key(), describe(it.value()));
    }
    if (!skipped.isEmpty())
        reportProblem(key.storedKey,
            QStringLiteral("has entries that are not %1, skipped while the rest is kept: %2")
                .arg(what, skipped.join(u"; ")));
    return result;
}

QMap<QString, QByteArray> Settings::blobs(const BlobMapKey& key) const
{
    return readMap<QByteArray>(key, asBlob, QStringLiteral("blobs"));
}

void Settings::setBlobs(const BlobMapKey& key, const QMap<QString, QByteArray>& value)
{
    QVariantMap stored;
    for (auto it = value.cbegin(); it != value.cend(); ++it) {
        // An empty blob is a value its bridge failed to encode: written as absent.
        if (!it.value().isEmpty())
            stored.insert(it.key(), it.value());
    }
    m_backend->setValue(storedKeyText(key.storedKey), stored);
    written(key.name, key.storedKey);
}

QMap<QString, QList<QByteArray>> Settings::blobLists(const BlobMapKey& key) const
{
    QMap<QString, QList<QByteArray>> result;
    const std::optional<QVariantMap> stored = storedMap(key);
    if (!stored)
        return result;
    const QVariantMap& map = *stored;
    QStringList skipped;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (!isList(it.value())) {
            skipped << QStringLiteral("%1: %2").arg(it.key(), describe(it.value()));
            continue;
        }
        QList<QByteArray>& blobs = result[it.key()];
        const QVariantList elements = it.value().toList();
        for (qsizetype i = 0; i < elements.size(); ++i) {
            if (const std::optional<QByteArray> blob = asBlob(elements.at(i)))
                blobs.append(*blob);
            else
                skipped << QStringLiteral("%1[%2]: %3").arg(it.key()).arg(i).arg(describe(elements.at(i)));
        }
    }
    if (!skipped.isEmpty())
        reportProblem(key.storedKey,
            QStringLiteral("has elements that are not blobs, skipped while the rest is kept: %1")
                .arg(skipped.join(u"; ")));
    return result;
}

void Settings::setBlobLists(const BlobMapKey& key, const QMap<QString, QList<QByteArray>>& value)
{
    QVariantMap stored;
    for (auto it = value.cbegin(); it != value.cend(); ++it) {
        QVariantList list;
        for (const QByteArray& blob : it.value()) {
            if (!blob.isEmpty())
                list.append(blob);
        }
        stored.insert(it.key(), list);
    }
    m_backend->setValue(storedKeyText(key.storedKey), stored);
    written(key.name, key.storedKey);
}

QMap<QString, QString> Settings::strings(const BlobMapKey& key) const
{
    return readMap<QString>(key, asText, QStringLiteral("text"));
}

void Settings::setStrings(const BlobMapKey& key, const QMap<QString, QString>& value)
{
    QVariantMap stored;
    for (auto it = value.cbegin(); it != value.cend(); ++it)
        stored.insert(it.key(), it.value());
    m_backend->setValue(storedKeyText(key.storedKey), stored);
    written(key.name, key.storedKey);
}

void Settings::reset(const char* storedKey)
{
    m_backend->remove(storedKeyText(storedKey));
    m_reportedProblems.remove(storedKeyText(storedKey));
    Q_EMIT changed(nameOfStoredKey(storedKey));
}

bool Settings::sync()
{
    return m_backend->sync();
}

double Settings::effectiveGap() const
{
    if (!value(Keys::enableGaps))
        return 0.0;
    return std::max(0.0, value(Keys::gapSize));
}

QColor Settings::systemAccentColor()
{
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return QGuiApplication::palette().color(QPalette::Highlight);
    return QColor::fromRgba(kFallbackAccent);
}

void Settings::reportProblem(const char* storedKey, const QString& problem) const
{
    const QString key = storedKeyText(storedKey);
    auto reported = m_reportedProblems.constFind(key);
    if (reported != m_reportedProblems.cend() && *reported == problem)
        return;
    m_reportedProblems.insert(key, problem);
    qCWarning(lcSettings).noquote() << QStringLiteral("Stored setting \"%1\" %2").arg(key, problem);
}

void Settings::written(const char* name, const char* storedKey)
{
    m_reportedProblems.remove(storedKeyText(storedKey));
    Q_EMIT changed(QString::fromLatin1(name));
}
