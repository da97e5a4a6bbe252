#include "SettingsTestSupport.h"

#include "core/ColorCodec.h"

#include <QDataStream>
#include <QGuiApplication>
#include <QJsonArray>
#include <QPalette>

#include <gtest/gtest.h>

TEST(ColorStorage, ChannelsSurviveTheListFormExactly)
{
    for (const QColor& color : {QColor(0, 0, 0), QColor(255, 255, 255, 0), QColor(12, 34, 56, 78),
             QColor::fromRgba64(1, 32768, 65534, 40000), QColor::fromHsv(200, 30, 90)}) {
        const QVariant stored = ColorCodec::encode(color);
        ASSERT_EQ(stored.typeId(), QMetaType::QVariantList);
        EXPECT_EQ(ColorCodec::decode(stored), color.toRgb());
    }
}

TEST(ColorStorage, BothStoredFormsReadBackFromTheFile)
{
    ConfigHome config;
    const QColor extended = QColor::fromRgbF(1.25f, -0.125f, 0.5f, 1.0f);
    ASSERT_EQ(extended.spec(), QColor::ExtendedRgb);
    {
        const auto settings = config.open();
        settings->setValue(Keys::customAccentColor, QColor(250, 128, 1, 200));
        settings->setValue(Keys::zoneHighlightColor, extended);
        ASSERT_TRUE(settings->sync());
    }
    const QJsonObject json = config.readJson();
    const QJsonArray listForm = json["customAccentColor"].toArray();
    EXPECT_EQ(listForm.at(0).toString(), "sRGB");
    EXPECT_EQ(listForm.at(1).toArray().at(3).toDouble(), 200 / 255.0);
    EXPECT_TRUE(json["zoneHighlightColor"].toString().startsWith("base64:")) << "an extended-range colour is archived";

    config.relocate();
    const auto reread = config.open();
    EXPECT_EQ(reread->value(Keys::customAccentColor), QColor(250, 128, 1, 200));
    EXPECT_EQ(reread->value(Keys::zoneHighlightColor), extended);
}

TEST(ColorStorage, AnythingElseReadsAsTheDefaultAndIsLoggedOnce)
{
    QByteArray futureArchive;
    {
        QDataStream out(&futureArchive, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_0);
        out << quint32(0x5051434C) << quint16(2) << QColor(Qt::red);
    }
    const QByteArray validArchive = ColorCodec::archive(QColor(Qt::red));
    const QByteArray garbage[] = {
        R"("blue")",
        "42",
        "true",
        R"(["sRGB"])",
        R"(["sRGB", [1, 0, 0]])",
        R"(["sRGB", [2, 0, 0, 1]])",
        R"(["sRGB", [-0.5, 0, 0, 1]])",
        R"(["sRGB", ["1", 0, 0, 1]])",
        R"(["DisplayP3", [1, 0, 0, 1]])",
        R"([[1, 0, 0, 1], "sRGB"])",
        R"({"r": 1})",
        R"("base64:AAECAw==")",
        R"("base64:)" + futureArchive.toBase64() + '"',
        R"("base64:)" + validArchive.left(validArchive.size() - 3).toBase64() + '"',
        R"("base64:)" + (validArchive + "x").toBase64() + '"',
    };
    const QColor accent = Settings::systemAccentColor();
    for (const QByteArray& value : garbage) {
        ConfigHome config;
        config.writeFile(R"({"zoneTextDarkColor": [0.5, 0.5], "customAccentColor": )" + value + "}");
        LogCapture log;
        const auto settings = config.open();
        EXPECT_EQ(settings->value(Keys::customAccentColor), accent) << value.constData();
        EXPECT_EQ(settings->value(Keys::customAccentColor), accent) << value.constData();
        EXPECT_EQ(log.count("\"customAccentColor\""), 1) << value.constData();
        EXPECT_EQ(settings->value(Keys::zoneTextDarkColor), QColor(Qt::white)) << value.constData();
        EXPECT_EQ(log.warnings().size(), 2) << log.warnings().join('\n').toStdString();
    }
}
