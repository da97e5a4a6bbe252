#include "SettingsTestSupport.h"

#include "core/FileSettingsBackend.h"
#include "platform/SettingsLocation.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace {

const QByteArray kLayoutA
    = R"({"id":"0F8E2C1A-0000-4000-8000-000000000001","root":{"x":0,"y":0,"width":1512,"height":944,"children":[]}})";
const QByteArray kLayoutB
    = R"({"id":"0F8E2C1A-0000-4000-8000-000000000002","root":{"x":0,"y":0,"width":800,"height":600,"children":[]}})";
const QByteArray kScreen = R"({"id":"6E2D-1512x944","name":"Built-in"})";
const QByteArray kBinary("\x00\x01\xfe\xffnot json", 12);

void writeEveryType(Settings& settings)
{
    settings.setValue(Keys::spanAdjancedZones, false);
    settings.setValue(Keys::firstRun, false);
    settings.setValue(Keys::autoSpanDistance, 12.75);
    settings.setValue(Keys::gapSize, 0.1);
    settings.setValue(Keys::customAccentColor, QColor(12, 34, 56));
    settings.setValue(Keys::zoneBackgroundDarkColor, QColor(1, 2, 3, 77));
    settings.setBlobs(Keys::screens, {{"6E2D-1512x944", kScreen}, {"other", kBinary}});
    settings.setBlobLists(Keys::layouts, {{"6E2D-1512x944", {kLayoutA, kLayoutB}}, {"other", {kBinary}}});
    settings.setStrings(Keys::activeLayouts, {{"6E2D-1512x944", "0F8E2C1A-0000-4000-8000-000000000002"}});
}

} // namespace

TEST(FileSettingsStore, EveryTypeRoundTripsThroughTheFile)
{
    ConfigHome config;
    {
        const auto settings = config.open();
        writeEveryType(*settings);
        EXPECT_TRUE(settings->sync());
    }
    config.relocate();
    const auto reread = config.open();
    EXPECT_FALSE(reread->value(Keys::spanAdjancedZones));
    EXPECT_FALSE(reread->value(Keys::firstRun));
    EXPECT_EQ(reread->value(Keys::autoSpanDistance), 12.75);
    EXPECT_EQ(reread->value(Keys::gapSize), 0.1);
    EXPECT_EQ(reread->value(Keys::customAccentColor), QColor(12, 34, 56));
    EXPECT_EQ(reread->value(Keys::zoneBackgroundDarkColor), QColor(1, 2, 3, 77));
    const QMap<QString, QByteArray> screens {{"6E2D-1512x944", kScreen}, {"other", kBinary}};
    EXPECT_EQ(reread->blobs(Keys::screens), screens);
    const QMap<QString, QList<QByteArray>> layouts {{"6E2D-1512x944", {kLayoutA, kLayoutB}}, {"other", {kBinary}}};
    EXPECT_EQ(reread->blobLists(Keys::layouts), layouts);
    const QMap<QString, QString> active {{"6E2D-1512x944", "0F8E2C1A-0000-4000-8000-000000000002"}};
    EXPECT_EQ(reread->strings(Keys::activeLayouts), active);
    EXPECT_TRUE(reread->value(Keys::restoreSizeOnUnsnap)) << "keys never written keep their defaults";
}

TEST(FileSettingsStore, FileIsReadableJsonUnderTheExactStoredKeyNames)
{
    ConfigHome config;
    {
        const auto settings = config.open();
        writeEveryType(*settings);
        for (const BoolKey* key :
            {&Keys::automaticUpdates, &Keys::betaUpdates, &Keys::launchAtLogin, &Keys::hideMenuBarIcon,
                &Keys::restoreSizeOnUnsnap, &Keys::holdShiftToSnap, &Keys::enableGaps, &Keys::useSystemAccentColor})
            settings->setValue(*key, true);
        for (const ColorKey* key : {&Keys::zoneHighlightColor, &Keys::zoneBackgroundLightColor,
                 &Keys::zoneTextLightColor, &Keys::zoneTextDarkColor})
            settings->setValue(*key, QColor(Qt::red));
        ASSERT_TRUE(settings->sync());
    }
    const QJsonObject json = config.readJson();
    QStringList expected {"firstRun", "automaticUpdates", "betaUpdates", "launchAtLogin", "hideMenuBarIcon",
        "restoreSizeOnUnsnap", "spanAdjancedZones", "autoSpanDistance", "holdShiftToSnap", "screens-v0", "layouts-v0",
        "activeLayouts-v0", "enableGaps", "gapSize", "useSystemAccentColor", "customAccentColor", "zoneHighlightColor",
        "customLightZoneBackgroundColor", "customDarkZoneBackgroundColor", "zoneTextLightColor", "zoneTextDarkColor"};
    expected.sort();
    EXPECT_EQ(json.keys(), expected);

    EXPECT_EQ(json["spanAdjancedZones"], QJsonValue(false));
    EXPECT_EQ(json["autoSpanDistance"], QJsonValue(12.75));
    EXPECT_EQ(json["customAccentColor"].toArray().at(0), QJsonValue("sRGB"));
    EXPECT_EQ(json["customAccentColor"].toArray().at(1).toArray().size(), 4);
    EXPECT_EQ(json["customAccentColor"].toArray().at(1).toArray().at(1).toDouble(), 34 / 255.0);
    // JSON blobs stay readable text; binary ones are tagged base64.
    const QJsonArray layouts = json["layouts-v0"].toObject()["6E2D-1512x944"].toArray();
    EXPECT_EQ(layouts.at(0), QJsonValue(QString::fromUtf8(kLayoutA)));
    EXPECT_EQ(json["layouts-v0"].toObject()["other"].toArray().at(0),
        QJsonValue(QStringLiteral("base64:") + QString::fromLatin1(kBinary.toBase64())));
    EXPECT_EQ(json["screens-v0"].toObject()["6E2D-1512x944"], QJsonValue(QString::fromUtf8(kScreen)));
    EXPECT_EQ(json["activeLayouts-v0"].toObject()["6E2D-1512x944"], QJsonValue("0F8E2C1A-0000-4000-8000-000000000002"));
    EXPECT_TRUE(config.readFile().contains("\n    \"")) << "written indented, for people to read";
}

TEST(FileSettingsStore, LivesUnderXdgConfigHomeOrElseDotConfig)
{
    ConfigHome config;
    {
        const auto backend = createUserSettingsBackend();
        backend->setValue("probe", true);
        ASSERT_TRUE(backend->sync());
    }
    EXPECT_TRUE(QFileInfo::exists(config.file()));

    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", config.home().toLocal8Bit());
    for (const char* xdg : {"", "relative/config"}) {
        qputenv("XDG_CONFIG_HOME", xdg);
        const auto backend = createUserSettingsBackend();
        EXPECT_EQ(static_cast<FileSettingsBackend*>(backend.get())->filePath(),
            config.home() + "/.config/parqueta/parqueta.json")
            << "XDG_CONFIG_HOME=" << xdg;
    }
    qputenv("HOME", home);
}
