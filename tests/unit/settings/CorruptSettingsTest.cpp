#include "SettingsTestSupport.h"

#include "core/FileSettingsBackend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

const QByteArray kGood = R"({"gapSize": 14, "enableGaps": true, "layouts-v0": {"S": ["{\"id\":\"A\"}"]}})";

struct Damage
{
    const char* what;
    QByteArray content;
};

const Damage kDamage[] = {
    {"truncated", kGood.left(kGood.size() / 2)},
    {"garbage bytes", QByteArray("\x89PNG\r\n\x1a\n\x00\x00\xff\xfe", 12)},
    {"NaN", R"({"gapSize": NaN, "enableGaps": true})"},
    {"number beyond double range", R"({"gapSize": 1e999})"},
    {"top level not an object", R"([{"gapSize": 14}])"},
    {"trailing garbage", kGood + "}}"},
};

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

TEST(CorruptSettingsFile, IsMovedAsideAndTheLastGoodFileRestored)
{
    for (const Damage& damage : kDamage) {
        ConfigHome config;
        config.writeFile(kGood);
        config.open(); // a good load leaves the backup
        config.writeFile(damage.content);
        config.relocate();

        LogCapture log;
        const auto settings = config.open();
        EXPECT_EQ(settings->effectiveGap(), 14.0) << damage.what;
        EXPECT_EQ(settings->blobLists(Keys::layouts).value("S"), QList<QByteArray> {R"({"id":"A"})"}) << damage.what;
        const QStringList aside = config.corruptFiles();
        ASSERT_EQ(aside.size(), 1) << damage.what;
        EXPECT_EQ(readAll(config.directory() + "/" + aside.first()), damage.content) << damage.what;
        EXPECT_EQ(config.readFile(), kGood) << damage.what;
        EXPECT_EQ(log.count(config.file() + " cannot be read"), 1) << damage.what;
        EXPECT_EQ(log.count(config.directory() + "/" + aside.first()), 1) << "both paths are logged";
    }
}

TEST(CorruptSettingsFile, WithoutBackupDefaultsApplyAndTheDamagedFileIsNeverOverwritten)
{
    for (const Damage& damage : kDamage) {
        ConfigHome config;
        config.writeFile(damage.content);
        const auto settings = config.open();
        EXPECT_EQ(settings->value(Keys::gapSize), 10.0) << damage.what;
        EXPECT_FALSE(settings->value(Keys::enableGaps)) << damage.what;

        settings->setValue(Keys::holdShiftToSnap, true);
        ASSERT_TRUE(settings->sync()) << damage.what;
        EXPECT_EQ(config.readJson().keys(), QStringList {"holdShiftToSnap"}) << damage.what;
        const QStringList aside = config.corruptFiles();
        ASSERT_EQ(aside.size(), 1) << damage.what;
        EXPECT_TRUE(aside.first().contains(QRegularExpression("^parqueta\\.json\\.corrupt-\\d{8}-\\d{6}$")));
        EXPECT_EQ(readAll(config.directory() + "/" + aside.first()), damage.content) << damage.what;
    }
}

TEST(CorruptSettingsFile, AnEmptiedFileIsReplacedByTheBackup)
{
    ConfigHome config;
    config.writeFile(kGood);
    config.open();
    config.writeFile("");
    config.relocate();
    const auto settings = config.open();
    EXPECT_EQ(settings->effectiveGap(), 14.0);
    EXPECT_EQ(config.readFile(), kGood);
}

TEST(CorruptSettingsValues, WrongTypesAndImplausibleNumbersReadAsDefaults)
{
    ConfigHome config;
    config.writeFile(R"({
        "spanAdjancedZones": "yes", "enableGaps": 1, "restoreSizeOnUnsnap": null, "firstRun": false,
        "gapSize": "10", "autoSpanDistance": 1e300,
        "layouts-v0": 5, "screens-v0": ["a"], "activeLayouts-v0": "A"})");
    LogCapture log;
    const auto settings = config.open();
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(settings->value(Keys::spanAdjancedZones));
        EXPECT_FALSE(settings->value(Keys::enableGaps));
        EXPECT_TRUE(settings->value(Keys::restoreSizeOnUnsnap));
        EXPECT_FALSE(settings->value(Keys::firstRun)) << "a good sibling still reads";
        EXPECT_EQ(settings->value(Keys::gapSize), 10.0);
        EXPECT_EQ(settings->value(Keys::autoSpanDistance), 40.0);
        EXPECT_TRUE(settings->blobLists(Keys::layouts).isEmpty());
        EXPECT_TRUE(settings->blobs(Keys::screens).isEmpty());
        EXPECT_TRUE(settings->strings(Keys::activeLayouts).isEmpty());
    }
    for (const char* key : {"spanAdjancedZones", "enableGaps", "gapSize", "autoSpanDistance", "layouts-v0",
             "screens-v0", "activeLayouts-v0"})
        EXPECT_EQ(log.count(QStringLiteral("\"%1\"").arg(key)), 1) << key;
    EXPECT_EQ(log.warnings().size(), 7) << log.warnings().join('\n').toStdString();

    settings->setValue(Keys::spanAdjancedZones, false);
    EXPECT_FALSE(settings->value(Keys::spanAdjancedZones)) << "a write replaces the bad value";
}

TEST(ReadOnlyConfigDirectory, ValuesStayInMemoryAndSyncFailsUntilItIsWritable)
{
    ConfigHome config;
    config.writeFile(kGood);
    config.open();
    std::unique_ptr<Settings> settings;
    LogCapture log;
    {
        ReadOnlyDirectory readOnly(config.directory(), config.root());
        ASSERT_TRUE(readOnly.active()) << readOnly.failure().toStdString();
        settings = config.open();
        EXPECT_EQ(settings->effectiveGap(), 14.0);
        settings->setValue(Keys::gapSize, 3.0);
        settings->setValue(Keys::betaUpdates, true);
        EXPECT_FALSE(settings->sync());
        EXPECT_FALSE(settings->sync());
        EXPECT_EQ(settings->effectiveGap(), 3.0);
        EXPECT_TRUE(settings->value(Keys::betaUpdates));
        EXPECT_TRUE(QFileInfo(config.file()).isWritable());
        EXPECT_EQ(config.readFile(), kGood) << "never written in place when it cannot be replaced atomically";
        EXPECT_EQ(log.count(config.directory() + " is not writable"), 1) << log.warnings().join('\n').toStdString();
    }
    EXPECT_TRUE(settings->sync()) << "what was kept in memory is written once the directory is writable";
    EXPECT_EQ(config.readJson()["gapSize"].toDouble(), 3.0);
    EXPECT_EQ(config.readJson()["betaUpdates"].toBool(), true);
}

TEST(ReadOnlyConfigDirectory, ADirectoryThatCannotBeCreatedKeepsValuesInMemory)
{
    ConfigHome config;
    QFile blocker(config.home() + "/parqueta");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file where the directory should be
    blocker.close();
    LogCapture log;
    const auto settings = config.open();
    settings->setValue(Keys::enableGaps, true);
    EXPECT_FALSE(settings->sync());
    EXPECT_TRUE(settings->value(Keys::enableGaps));
    EXPECT_EQ(settings->effectiveGap(), 10.0);
    EXPECT_GE(log.count("not writable"), 1);
    EXPECT_TRUE(QFileInfo(config.home() + "/parqueta").isFile());
}
