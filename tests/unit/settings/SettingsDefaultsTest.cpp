#include "SettingsTestSupport.h"

#include "core/MemorySettingsBackend.h"

#include <QGuiApplication>
#include <QPalette>

#include <gtest/gtest.h>

namespace {

std::unique_ptr<Settings> memoryStore()
{
    return std::make_unique<Settings>(std::make_unique<MemorySettingsBackend>());
}

} // namespace

TEST(SettingsDefaults, ColourDefaultsFollowTheAccentColourAtEachRead)
{
    const QPalette original = QGuiApplication::palette();
    QPalette palette = original;
    palette.setColor(QPalette::Highlight, QColor(0, 100, 200));
    QGuiApplication::setPalette(palette);

    const auto settings = memoryStore();
    EXPECT_EQ(Settings::systemAccentColor(), QColor(0, 100, 200));
    EXPECT_EQ(settings->value(Keys::customAccentColor), QColor(0, 100, 200));
    const QColor highlight = settings->value(Keys::zoneHighlightColor);
    EXPECT_NEAR(highlight.redF(), 0.5, 1e-3);
    EXPECT_NEAR(highlight.greenF(), (100 / 255.0 + 1) / 2, 1e-3);
    EXPECT_NEAR(highlight.blueF(), (200 / 255.0 + 1) / 2, 1e-3);
    EXPECT_EQ(highlight.alphaF(), 1.0f);
    EXPECT_EQ(settings->value(Keys::zoneBackgroundLightColor), QColor::fromRgbF(1, 1, 1, 0.5));
    EXPECT_EQ(settings->value(Keys::zoneBackgroundDarkColor), QColor::fromRgbF(0, 0, 0, 0.5));
    EXPECT_EQ(settings->value(Keys::zoneTextLightColor), QColor(Qt::black));
    EXPECT_EQ(settings->value(Keys::zoneTextDarkColor), QColor(Qt::white));

    palette.setColor(QPalette::Highlight, QColor(200, 0, 0));
    QGuiApplication::setPalette(palette);
    EXPECT_EQ(settings->value(Keys::customAccentColor), QColor(200, 0, 0)) << "a default is not cached";
    QGuiApplication::setPalette(original);
}

TEST(SettingsDefaults, EffectiveGapIsTheGapSizeOnlyWhileGapsAreOn)
{
    const auto settings = memoryStore();
    settings->setValue(Keys::gapSize, 6.5);
    EXPECT_EQ(settings->effectiveGap(), 0.0);
    settings->setValue(Keys::enableGaps, true);
    EXPECT_EQ(settings->effectiveGap(), 6.5);
    settings->setValue(Keys::gapSize, -4.0);
    EXPECT_EQ(settings->effectiveGap(), 0.0);
}

TEST(SettingsSignals, ChangedNamesTheKeyInCodeOnceTheNewValueIsReadable)
{
    const auto settings = memoryStore();
    QStringList names;
    QColor seen;
    QObject::connect(settings.get(), &Settings::changed, [&](const QString& name) {
        names << name;
        seen = settings->value(Keys::zoneBackgroundLightColor);
    });
    settings->setValue(Keys::zoneBackgroundLightColor, QColor(1, 2, 3));
    EXPECT_EQ(seen, QColor(1, 2, 3));
    settings->reset("customLightZoneBackgroundColor");
    EXPECT_EQ(seen, QColor::fromRgbF(1, 1, 1, 0.5));
    settings->setStrings(Keys::activeLayouts, {});
    settings->setValue(Keys::spanAdjancedZones, false);
    EXPECT_EQ(names,
        (QStringList {"zoneBackgroundLightColor", "zoneBackgroundLightColor", "activeLayouts", "spanAdjancedZones"}));
}

TEST(SettingsSignals, UnstorableValuesAreRefusedAndTheStoredOneKept)
{
    const auto settings = memoryStore();
    settings->setValue(Keys::gapSize, 12.0);
    settings->setValue(Keys::customAccentColor, QColor(10, 20, 30));
    int emitted = 0;
    QObject::connect(settings.get(), &Settings::changed, [&] { ++emitted; });
    LogCapture log;
    settings->setValue(Keys::gapSize, std::numeric_limits<double>::quiet_NaN());
    settings->setValue(Keys::gapSize, std::numeric_limits<double>::infinity());
    settings->setValue(Keys::customAccentColor, QColor());
    EXPECT_EQ(settings->value(Keys::gapSize), 12.0);
    EXPECT_EQ(settings->value(Keys::customAccentColor), QColor(10, 20, 30));
    EXPECT_EQ(emitted, 0);
    EXPECT_EQ(log.count(QStringLiteral("Refusing")), 3);
}
