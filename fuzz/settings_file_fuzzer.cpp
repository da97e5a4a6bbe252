// The whole settings file: whatever it holds, decoding it and reading every key never
// crashes, and a file that can be read loses no key when something is written. That runs
// in memory for every input, at thousands a second. Every 256th input also goes through
// a real file: one that cannot be read is moved aside byte for byte, and one that can is
// never rewritten by reading.
#include "FuzzSupport.h"
#include "core/FileSettingsBackend.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "models/LayoutBridge.h"
#include "models/Screen.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>

#include <memory>

namespace {

quint64 inputNumber = 0;

// Removed when the process exits normally; a crashing input leaves it for a look.
QTemporaryDir& scratch()
{
    static QTemporaryDir directory(QDir::tempPath() + QStringLiteral("/parqueta-fuzz-XXXXXX"));
    return directory;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    Fuzz::check(file.open(QIODevice::ReadOnly), "a file the test made can be read");
    return file.readAll();
}

// Reads every key the application knows, and decodes the structured ones as it does.
void readEverything(const Settings& settings, SettingsBackend& backend)
{
    for (const BoolKey* key : {&Keys::firstRun, &Keys::automaticUpdates, &Keys::betaUpdates, &Keys::launchAtLogin,
             &Keys::hideMenuBarIcon, &Keys::restoreSizeOnUnsnap, &Keys::spanAdjancedZones, &Keys::holdShiftToSnap,
             &Keys::enableGaps, &Keys::useSystemAccentColor})
        (void)settings.value(*key);
    for (const DoubleKey* key : {&Keys::autoSpanDistance, &Keys::gapSize, &Keys::lastUpdateCheck})
        (void)settings.value(*key);
    (void)settings.effectiveGap();
    for (const ColorKey* key : {&Keys::customAccentColor, &Keys::zoneHighlightColor, &Keys::zoneBackgroundLightColor,
             &Keys::zoneBackgroundDarkColor, &Keys::zoneTextLightColor, &Keys::zoneTextDarkColor})
        Fuzz::check(settings.value(*key).isValid(), "a colour key reads as a usable colour");

    for (const QByteArray& blob : settings.blobs(Keys::screens))
        (void)Screen::fromJson(blob);
    const QMap<QString, QList<QByteArray>> layouts = settings.blobLists(Keys::layouts);
    for (const QList<QByteArray>& list : layouts) {
        for (const QByteArray& blob : list)
            (void)LayoutBridge::deserialize(blob);
    }
    (void)settings.strings(Keys::activeLayouts);

    // QSettings cannot address an empty key or one with stray slashes (it normalises the
    // name it is asked for); such foreign keys are only carried along. Ours are plain names.
    for (const QString& key : backend.keys()) {
        const bool addressable = !key.isEmpty() && !key.startsWith(QLatin1Char('/')) && !key.endsWith(QLatin1Char('/'))
            && !key.contains(QLatin1String("//"));
        if (addressable)
            Fuzz::check(backend.contains(key) && backend.value(key).isValid(), "a listed key has a value");
    }
}

QStringList corruptFiles(const QString& path)
{
    const QFileInfo info(path);
    return info.dir().entryList({info.fileName() + QStringLiteral(".corrupt-*")}, QDir::Files);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::quietLogs();
    Fuzz::check(scratch().isValid(), "a scratch directory can be made");
    return 0;
}

namespace {

// Every key the file had (but those holding null, which the store drops) is in what the
// store writes back after a change, and the change is there too.
void checkKeepsEveryKey(const QJsonDocument& before, const QJsonObject& after)
{
    Fuzz::check(after.value(QStringLiteral("gapSize")).toDouble() == 12.5, "the written value is in the file");
    const QJsonObject object = before.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isNull() && it.key() != QLatin1String("gapSize"))
            Fuzz::check(after.contains(it.key()), "writing keeps every key the file had");
    }
}

void checkInMemory(const QByteArray& content, const QJsonDocument& document, bool readable)
{
    const std::optional<QVariantMap> decoded = FileSettingsBackend::decode(content);
    Fuzz::check(decoded.has_value() == readable, "the store reads exactly the files that are JSON objects");
    if (!decoded)
        return;
    auto owned = std::make_unique<MemorySettingsBackend>(*decoded);
    SettingsBackend& backend = *owned;
    Settings settings(std::move(owned));
    readEverything(settings, backend);
    settings.setValue(Keys::gapSize, 12.5);
    QVariantMap values;
    for (const QString& key : backend.keys())
        values.insert(key, backend.value(key));
    const QByteArray written = FileSettingsBackend::encode(values);
    const QJsonDocument reread = QJsonDocument::fromJson(written);
    Fuzz::check(reread.isObject() && FileSettingsBackend::decode(written).has_value(), "what is written reads back");
    checkKeepsEveryKey(document, reread.object());
}

void checkOnDisk(const QByteArray& content, const QJsonDocument& document, bool readable)
{
    // A path never used before: QSettings keeps what it read per path for the process.
    const QString home = scratch().filePath(QString::number(inputNumber));
    const QString directory = home + QStringLiteral("/parqueta");
    const QString path = directory + QStringLiteral("/parqueta.json");
    Fuzz::check(QDir().mkpath(directory), "the settings directory can be made");
    {
        QFile file(path);
        Fuzz::check(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), "the file is written");
    }

    {
        auto owned = std::make_unique<FileSettingsBackend>(path);
        SettingsBackend& backend = *owned;
        Settings settings(std::move(owned));
        readEverything(settings, backend);

        if (readable || content.isEmpty()) {
            Fuzz::check(readAll(path) == content, "reading leaves the file as it was");
            Fuzz::check(corruptFiles(path).isEmpty(), "a readable file is not moved aside");
        } else {
            const QStringList aside = corruptFiles(path);
            Fuzz::check(aside.size() == 1, "an unreadable file is moved aside once");
            Fuzz::check(readAll(directory + QLatin1Char('/') + aside.front()) == content,
                "the file moved aside holds exactly what the user had");
        }

        settings.setValue(Keys::gapSize, 12.5);
        Fuzz::check(settings.sync(), "the settings file can be written");
        readEverything(settings, backend);
        Fuzz::check(settings.value(Keys::gapSize) == 12.5, "a written value reads back");
    }

    // What is on disk now: a JSON object with the new value and every key the file had.
    const QJsonDocument written = QJsonDocument::fromJson(readAll(path));
    Fuzz::check(written.isObject(), "the written file is a JSON object");
    const QJsonObject object = written.object();
    Fuzz::check(object.value(QStringLiteral("gapSize")).toDouble() == 12.5, "the written value is in the file");
    if (readable) {
        checkKeepsEveryKey(document, object);
    } else if (!content.isEmpty()) {
        const QStringList aside = corruptFiles(path);
        Fuzz::check(aside.size() == 1 && readAll(directory + QLatin1Char('/') + aside.front()) == content,
            "writing leaves the file moved aside untouched");
    }

    QDir(home).removeRecursively();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content = Fuzz::bytes(data, size);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    const bool readable = error.error == QJsonParseError::NoError && document.isObject();
    checkInMemory(content, document, readable);
    if (++inputNumber % 256 == 1)
        checkOnDisk(content, document, readable);
    return 0;
}
