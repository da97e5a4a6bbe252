// The settings store as the application opens it: the JSON file under XDG_CONFIG_HOME,
// its defaults, what it refuses, and how it survives files it cannot read.
#include "core/Settings.h"
#include "TestSupport.h"
#include "core/ColorCodec.h"
#include "core/FileSettingsBackend.h"
#include "core/MemorySettingsBackend.h"
#include "platform/SettingsLocation.h"

#include <QDataStream>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPalette>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// A private XDG_CONFIG_HOME. QSettings keeps what it parsed per path, so reread() moves
// the configuration to a path this process has never opened.
class ConfigHome final
{
public:
    ConfigHome() { reread(); }
    ~ConfigHome() { qunsetenv("XDG_CONFIG_HOME"); }

    QString home() const { return m_root.path() + QStringLiteral("/config-%1").arg(m_generation); }
    QString directory() const { return home() + QStringLiteral("/parqueta"); }
    QString file() const { return directory() + QStringLiteral("/parqueta.json"); }
    std::unique_ptr<Settings> open() const { return std::make_unique<Settings>(createUserSettingsBackend()); }
    void reread()
    {
        const QString from = home();
        ++m_generation;
        QDir().rename(from, home());
        QDir().mkpath(home());
        qputenv("XDG_CONFIG_HOME", home().toLocal8Bit());
    }
    void write(const QByteArray& content) const
    {
        QDir().mkpath(directory());
        QFile out(file());
        if (out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            out.write(content);
    }
    QByteArray read(const QString& path = {}) const
    {
        QFile in(path.isEmpty() ? file() : path);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("<missing>");
    }
    QJsonObject json() const { return QJsonDocument::fromJson(read()).object(); }
    QStringList corruptFiles() const
    {
        return QDir(directory()).entryList({QStringLiteral("parqueta.json.corrupt-*")}, QDir::Files);
    }

private:
    QTemporaryDir m_root;
    int m_generation = 0;
};

const QByteArray kLayout
    = R"({"id":"0F8E2C1A-0000-4000-8000-000000000001","root":{"x":0,"y":0,"width":800,"height":600}})";
const QByteArray kBinary("\x00\x01\xfe\xffnot json", 12);
const QByteArray kGood = R"({"gapSize": 14, "enableGaps": true, "layouts-v0": {"S": ["{\"id\":\"A\"}"]}})";

} // namespace

TEST(SettingsFile, EveryTypeRoundTripsUnderItsStoredNameInReadableJson)
{
    ConfigHome config;
    {
        const auto settings = config.open();
        settings->setValue(Keys::spanAdjancedZones, false);
        settings->setValue(Keys::autoSpanDistance, 12.75);
        settings->setValue(Keys::customAccentColor, QColor(250, 128, 1, 200));
        settings->setValue(Keys::zoneBackgroundDarkColor, QColor::fromRgbF(1.25f, -0.125f, 0.5f, 1.0f));
        settings->setBlobs(Keys::screens, {{"6E2D-1512x944", R"({"id":"6E2D-1512x944"})"}, {"other", kBinary}});
        settings->setBlobLists(Keys::layouts, {{"6E2D-1512x944", {kLayout, kBinary}}});
        settings->setStrings(Keys::activeLayouts, {{"6E2D-1512x944", "0F8E2C1A-0000-4000-8000-000000000001"}});
        settings->setValue(Keys::excludedApplications, {"xterm", "Gimp-2.10"});
        ASSERT_TRUE(settings->sync());
    }
    const QJsonObject json = config.json();
    EXPECT_EQ(json.keys(),
        (QStringList {"activeLayouts-v0", "autoSpanDistance", "customAccentColor", "customDarkZoneBackgroundColor",
            "excludedApplications", "layouts-v0", "screens-v0", "spanAdjancedZones"}));
    EXPECT_EQ(json["excludedApplications"].toArray(), (QJsonArray {"xterm", "Gimp-2.10"}));
    EXPECT_EQ(json["customAccentColor"].toArray().at(0), QJsonValue("sRGB"));
    EXPECT_EQ(json["customAccentColor"].toArray().at(1).toArray().at(3).toDouble(), 200 / 255.0);
    EXPECT_TRUE(json["customDarkZoneBackgroundColor"].toString().startsWith("base64:")) << "extended range is archived";
    // JSON blobs stay readable text; binary ones are tagged base64.
    EXPECT_EQ(json["layouts-v0"].toObject()["6E2D-1512x944"].toArray(),
        (QJsonArray {QString::fromUtf8(kLayout), QStringLiteral("base64:") + QString::fromLatin1(kBinary.toBase64())}));

    config.reread();
    const auto settings = config.open();
    EXPECT_FALSE(settings->value(Keys::spanAdjancedZones));
    EXPECT_EQ(settings->value(Keys::autoSpanDistance), 12.75);
    EXPECT_EQ(settings->value(Keys::customAccentColor), QColor(250, 128, 1, 200));
    EXPECT_EQ(settings->value(Keys::zoneBackgroundDarkColor), QColor::fromRgbF(1.25f, -0.125f, 0.5f, 1.0f));
    for (const QColor& color :
        {QColor(255, 255, 255, 0), QColor::fromRgba64(1, 32768, 65534, 40000), QColor::fromHsv(200, 30, 90)})
        EXPECT_EQ(ColorCodec::decode(ColorCodec::encode(color)), color.toRgb()) << "every channel survives exactly";
    EXPECT_EQ(settings->blobs(Keys::screens).value("other"), kBinary);
    EXPECT_EQ(settings->blobLists(Keys::layouts).value("6E2D-1512x944"), (QList<QByteArray> {kLayout, kBinary}));
    EXPECT_EQ(settings->strings(Keys::activeLayouts).value("6E2D-1512x944"), "0F8E2C1A-0000-4000-8000-000000000001");
    EXPECT_EQ(settings->value(Keys::excludedApplications), (QStringList {"xterm", "Gimp-2.10"}));
    EXPECT_TRUE(settings->value(Keys::restoreSizeOnUnsnap)) << "never written: the default";
    EXPECT_TRUE(settings->value(Keys::restoreSnappedWindows)) << "never written: the default";

    // Without XDG_CONFIG_HOME, or with a relative one, the file lives under ~/.config.
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", config.home().toLocal8Bit());
    for (const char* xdg : {"", "relative/config"}) {
        qputenv("XDG_CONFIG_HOME", xdg);
        EXPECT_EQ(static_cast<FileSettingsBackend*>(createUserSettingsBackend().get())->filePath(),
            config.home() + "/.config/parqueta/parqueta.json")
            << xdg;
    }
    qputenv("HOME", home);
}

TEST(SettingsFile, ValuesOfTheWrongFormReadAsDefaultsAndAreLoggedOnce)
{
    QByteArray futureArchive;
    {
        QDataStream out(&futureArchive, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_0);
        out << quint32(0x5051434C) << quint16(2) << QColor(Qt::red);
    }
    const QByteArray archive = ColorCodec::archive(QColor(Qt::red));
    const QByteArray badColours[] = {R"("blue")", "42", R"(["sRGB"])", R"(["sRGB", [1, 0, 0]])",
        R"(["sRGB", [2, 0, 0, 1]])", R"(["sRGB", ["1", 0, 0, 1]])", R"(["DisplayP3", [1, 0, 0, 1]])",
        R"([[1, 0, 0, 1], "sRGB"])", R"("base64:AAECAw==")", R"("base64:)" + futureArchive.toBase64() + '"',
        R"("base64:)" + archive.left(archive.size() - 3).toBase64() + '"',
        R"("base64:)" + (archive + "x").toBase64() + '"'};
    for (const QByteArray& value : badColours) {
        ConfigHome config;
        config.write(R"({"customAccentColor": )" + value + "}");
        TestLog log;
        const auto settings = config.open();
        EXPECT_EQ(settings->value(Keys::customAccentColor), Settings::systemAccentColor()) << value.constData();
        EXPECT_EQ(settings->value(Keys::customAccentColor), Settings::systemAccentColor()) << value.constData();
        EXPECT_EQ(log.count("\"customAccentColor\""), 1) << value.constData();
    }

    ConfigHome config;
    config.write(R"({
        "spanAdjancedZones": "yes", "enableGaps": 1, "restoreSizeOnUnsnap": null, "firstRun": false,
        "gapSize": "10", "autoSpanDistance": 1e300, "zoneTextDarkColor": [0.5, 0.5], "excludedApplications": "xterm",
        "restoreSnappedWindows": "no",
        "layouts-v0": {"S1": ["{}", 42, null, "base64:/w=="], "S2": "not a list"}, "screens-v0": ["a"],
        "activeLayouts-v0": {"A": "11111111-2222-4333-8444-555555555555", "B": false, "C": "base64:/w=="}})");
    TestLog log;
    const auto settings = config.open();
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(settings->value(Keys::spanAdjancedZones));
        EXPECT_FALSE(settings->value(Keys::enableGaps));
        EXPECT_TRUE(settings->value(Keys::restoreSizeOnUnsnap));
        EXPECT_FALSE(settings->value(Keys::firstRun)) << "a good sibling still reads";
        EXPECT_EQ(settings->value(Keys::gapSize), 10.0);
        EXPECT_EQ(settings->value(Keys::autoSpanDistance), 40.0);
        EXPECT_EQ(settings->value(Keys::zoneTextDarkColor), QColor(Qt::white));
        EXPECT_TRUE(settings->value(Keys::excludedApplications).isEmpty()) << "text is not a list of texts";
        EXPECT_TRUE(settings->value(Keys::restoreSnappedWindows));
        EXPECT_EQ(settings->blobLists(Keys::layouts),
            (QMap<QString, QList<QByteArray>> {{"S1", {"{}", QByteArray("\xff", 1)}}}));
        EXPECT_TRUE(settings->blobs(Keys::screens).isEmpty());
        EXPECT_EQ(settings->strings(Keys::activeLayouts),
            (QMap<QString, QString> {{"A", "11111111-2222-4333-8444-555555555555"}}));
    }
    EXPECT_EQ(log.count("parqueta.settings"), 10) << log.text(); // one per bad key

    // A list keeps its texts and drops what is not one, with one line for all of them.
    config.write(R"({"excludedApplications": ["xterm", 42, null, {"a": 1}, "Gimp"]})");
    config.reread();
    const auto lists = config.open();
    EXPECT_EQ(lists->value(Keys::excludedApplications), (QStringList {"xterm", "Gimp"}));
    EXPECT_EQ(lists->value(Keys::excludedApplications), (QStringList {"xterm", "Gimp"}));
    EXPECT_EQ(log.count("parqueta.settings"), 11) << log.text();
}

TEST(SettingsFile, AnUnreadableFileIsMovedAsideAndTheLastGoodOneRestored)
{
    const std::pair<const char*, QByteArray> damages[] = {
        {"truncated", kGood.left(kGood.size() / 2)},
        {"garbage bytes", QByteArray("\x89PNG\r\n\x1a\n\x00\x00\xff\xfe", 12)},
        {"NaN", R"({"gapSize": NaN, "enableGaps": true})"},
        {"number beyond double range", R"({"gapSize": 1e999})"},
        {"top level not an object", R"([{"gapSize": 14}])"},
        {"trailing garbage", kGood + "}}"},
    };
    for (const auto& [what, damaged] : damages) {
        for (const bool withBackup : {true, false}) {
            SCOPED_TRACE(std::string(what) + (withBackup ? " with backup" : " without backup"));
            ConfigHome config;
            if (withBackup) {
                config.write(kGood);
                config.open(); // a good load leaves the backup
            }
            config.write(damaged);
            config.reread();
            TestLog log;
            const auto settings = config.open();
            EXPECT_EQ(settings->effectiveGap(), withBackup ? 14.0 : 0.0);
            const QStringList aside = config.corruptFiles();
            ASSERT_EQ(aside.size(), 1);
            EXPECT_TRUE(aside.first().contains(QRegularExpression("^parqueta\\.json\\.corrupt-\\d{8}-\\d{6}$")));
            EXPECT_EQ(config.read(config.directory() + "/" + aside.first()), damaged);
            EXPECT_EQ(log.count(config.directory() + "/" + aside.first()), 1) << log.text();
            if (withBackup) {
                EXPECT_EQ(config.read(), kGood);
                EXPECT_EQ(settings->blobLists(Keys::layouts).value("S"), QList<QByteArray> {R"({"id":"A"})"});
            } else {
                EXPECT_EQ(config.read(), "<missing>");
                settings->setValue(Keys::holdShiftToSnap, true);
                ASSERT_TRUE(settings->sync());
                EXPECT_EQ(config.json().keys(), QStringList {"holdShiftToSnap"});
                EXPECT_EQ(config.read(config.directory() + "/" + aside.first()), damaged) << "never overwritten";
            }
        }
    }
}

TEST(SettingsStore, DefaultsFollowTheDesktopAndChangesAreAnnouncedOnceReadable)
{
    const QPalette original = QGuiApplication::palette();
    QPalette palette = original;
    palette.setColor(QPalette::Highlight, QColor(0, 100, 200));
    QGuiApplication::setPalette(palette);
    Settings settings(std::make_unique<MemorySettingsBackend>());
    EXPECT_EQ(settings.value(Keys::customAccentColor), QColor(0, 100, 200));
    EXPECT_NEAR(settings.value(Keys::zoneHighlightColor).blueF(), (200 / 255.0 + 1) / 2, 1e-3) << "half-way to white";
    palette.setColor(QPalette::Highlight, QColor(200, 0, 0));
    QGuiApplication::setPalette(palette);
    EXPECT_EQ(settings.value(Keys::customAccentColor), QColor(200, 0, 0)) << "a default is not cached";
    QGuiApplication::setPalette(original);

    // The effective gap is the gap size only while gaps are on, and never negative.
    settings.setValue(Keys::gapSize, 6.5);
    EXPECT_EQ(settings.effectiveGap(), 0.0);
    settings.setValue(Keys::enableGaps, true);
    EXPECT_EQ(settings.effectiveGap(), 6.5);
    settings.setValue(Keys::gapSize, -4.0);
    EXPECT_EQ(settings.effectiveGap(), 0.0);

    QStringList names;
    QColor seen;
    QObject::connect(&settings, &Settings::changed, [&](const QString& name) {
        names << name;
        seen = settings.value(Keys::zoneBackgroundLightColor);
    });
    settings.setValue(Keys::zoneBackgroundLightColor, QColor(1, 2, 3));
    EXPECT_EQ(seen, QColor(1, 2, 3));
    settings.reset("customLightZoneBackgroundColor");
    EXPECT_EQ(seen, QColor::fromRgbF(1, 1, 1, 0.5));
    settings.setStrings(Keys::activeLayouts, {});
    EXPECT_EQ(names, (QStringList {"zoneBackgroundLightColor", "zoneBackgroundLightColor", "activeLayouts"}));

    // What could not be stored is refused, and the stored value kept.
    TestLog log;
    settings.setValue(Keys::gapSize, 12.0);
    settings.setValue(Keys::gapSize, std::numeric_limits<double>::quiet_NaN());
    settings.setValue(Keys::gapSize, std::numeric_limits<double>::infinity());
    settings.setValue(Keys::gapSize, 1e300);
    settings.setValue(Keys::customAccentColor, QColor());
    EXPECT_EQ(settings.value(Keys::gapSize), 12.0);
    EXPECT_EQ(log.count("Refusing"), 4);
    EXPECT_EQ(names.size(), 4);
}

namespace {

TEST(SettingsFile, ColoursWrittenOnAMacReadAsTheSameColours)
{
    const auto decoded = [](const char* json) {
        return ColorCodec::decode(QJsonDocument::fromJson(QByteArray("[") + json + "]").array().at(0).toVariant());
    };
    EXPECT_EQ(decoded(R"(["kCGColorSpaceSRGB", [0.2, 0.4, 0.6, 1]])"), decoded(R"(["sRGB", [0.2, 0.4, 0.6, 1]])"));
    EXPECT_EQ(
        decoded(R"(["kCGColorSpaceGenericGrayGamma2_2", [0.5, 0.25]])"), decoded(R"(["sRGB", [0.5, 0.5, 0.5, 0.25]])"));
    const std::optional<QColor> p3 = decoded(R"(["kCGColorSpaceDisplayP3", [0.8, 0.2, 0.2, 1]])");
    ASSERT_TRUE(p3.has_value());
    EXPECT_GT(p3->redF(), 0.82) << "Display P3 red is redder than sRGB's";
    EXPECT_LT(p3->greenF(), 0.2);
    EXPECT_FALSE(decoded(R"(["kCGColorSpaceGenericGray", [0.5, 0.5, 0.5, 1]])").has_value())
        << "grey has two components";
}

} // namespace

// Another program edits the file while Parqueta runs: the change is announced within a
// second and read; one that breaks the file falls back to the last good copy, which
// already holds what this program wrote in this run.
TEST(SettingsFile, ChangesMadeByAnotherProgramAreReadWithinASecond)
{
    ConfigHome config;
    config.write(kGood);
    const auto settings = config.open();
    QStringList external;
    QObject::connect(settings.get(), &Settings::changedExternally, [&](const QString& name) { external << name; });
    const auto waitFor = [&](const std::function<bool()>& condition) {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < 1000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return condition();
    };

    settings->setValue(Keys::holdShiftToSnap, true);
    ASSERT_TRUE(settings->sync());
    QCoreApplication::processEvents();
    QJsonObject edited = config.json();
    edited.insert(QStringLiteral("gapSize"), 30);
    edited.insert(QStringLiteral("enableGaps"), false);
    config.write(QJsonDocument(edited).toJson());
    EXPECT_TRUE(waitFor([&] { return external.size() == 2; })) << external.join(',').toStdString();
    EXPECT_EQ(QSet<QString>(external.begin(), external.end()), (QSet<QString> {"gapSize", "enableGaps"}));
    EXPECT_EQ(settings->value(Keys::gapSize), 30.0);
    EXPECT_TRUE(settings->value(Keys::holdShiftToSnap)) << "what this program wrote stays";

    external.clear();
    TestLog log;
    config.write("{ broken");
    EXPECT_TRUE(waitFor([&] { return !config.corruptFiles().isEmpty(); }));
    EXPECT_EQ(config.corruptFiles().size(), 1);
    EXPECT_EQ(settings->value(Keys::gapSize), 30.0) << "the last good file is back";
    EXPECT_FALSE(settings->value(Keys::enableGaps));
    EXPECT_TRUE(settings->value(Keys::holdShiftToSnap)) << "with what this program wrote";
}
