#include "SettingsTestSupport.h"

#include <QJsonArray>

#include <gtest/gtest.h>

TEST(BlobMaps, LayoutElementsOfTheWrongTypeAreSkippedAndTheirSiblingsKept)
{
    ConfigHome config;
    config.writeFile(R"({"layouts-v0": {
        "S1": ["{\"id\":\"A\"}", "not json at all", 42, {"x": 1}, null, ["nested"], "base64:AAEC/w==", "{\"id\":\"B\"}"],
        "S2": "not a list",
        "S3": ["{\"id\":\"C\"}"]},
        "gapSize": 3})");
    LogCapture log;
    const auto settings = config.open();
    const QMap<QString, QList<QByteArray>> expected {
        {"S1", {R"({"id":"A"})", "not json at all", QByteArray("\x00\x01\x02\xff", 4), R"({"id":"B"})"}},
        {"S3", {R"({"id":"C"})"}}};
    EXPECT_EQ(settings->blobLists(Keys::layouts), expected);
    EXPECT_EQ(settings->blobLists(Keys::layouts), expected);
    EXPECT_EQ(log.count("\"layouts-v0\""), 1) << log.warnings().join('\n').toStdString();
    EXPECT_EQ(settings->value(Keys::gapSize), 3.0);

    // Written back whole, the skipped elements are gone and the kept ones unchanged.
    settings->setBlobLists(Keys::layouts, settings->blobLists(Keys::layouts));
    ASSERT_TRUE(settings->sync());
    const QJsonObject stored = config.readJson()["layouts-v0"].toObject();
    EXPECT_EQ(stored.keys(), (QStringList {"S1", "S3"}));
    EXPECT_EQ(stored["S1"].toArray().size(), 4);
    EXPECT_EQ(stored["S1"].toArray().at(1),
        QJsonValue(QStringLiteral("base64:") + QString::fromLatin1(QByteArray("not json at all").toBase64())));
}

TEST(BlobMaps, ScreensAndActiveLayoutsSkipOnlyTheirBadEntries)
{
    ConfigHome config;
    config.writeFile(R"({
        "screens-v0": {"A": "{\"id\":\"A\",\"name\":\"Left\"}", "B": 17, "C": {"id": "C"}},
        "activeLayouts-v0": {"A": "11111111-2222-4333-8444-555555555555", "B": false, "C": "base64:/w=="}})");
    LogCapture log;
    const auto settings = config.open();
    EXPECT_EQ(settings->blobs(Keys::screens), (QMap<QString, QByteArray> {{"A", R"({"id":"A","name":"Left"})"}}));
    EXPECT_EQ(settings->strings(Keys::activeLayouts),
        (QMap<QString, QString> {{"A", "11111111-2222-4333-8444-555555555555"}}))
        << "a blob that is not UTF-8 is no UUID text";
    EXPECT_EQ(log.count("\"screens-v0\""), 1);
    EXPECT_EQ(log.count("\"activeLayouts-v0\""), 1);
}

TEST(BlobMaps, WritingOneScreensActiveLayoutKeepsTheOthers)
{
    ConfigHome config;
    {
        const auto settings = config.open();
        settings->setStrings(Keys::activeLayouts,
            {{"A-1512x944", "11111111-0000-4000-8000-000000000001"},
                {"B-1920x1080", "22222222-0000-4000-8000-000000000002"}});
        ASSERT_TRUE(settings->sync());
    }
    config.relocate();
    {
        const auto settings = config.open();
        QMap<QString, QString> active = settings->strings(Keys::activeLayouts);
        active.insert("A-1512x944", "33333333-0000-4000-8000-000000000003");
        settings->setStrings(Keys::activeLayouts, active);
        ASSERT_TRUE(settings->sync());
    }
    config.relocate();
    const auto settings = config.open();
    EXPECT_EQ(settings->strings(Keys::activeLayouts),
        (QMap<QString, QString> {{"A-1512x944", "33333333-0000-4000-8000-000000000003"},
            {"B-1920x1080", "22222222-0000-4000-8000-000000000002"}}));
}
