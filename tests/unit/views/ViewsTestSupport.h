#pragma once

#include "FakeDesktopEffects.h"
#include "FakeDisplayServer.h"
#include "core/MemorySettingsBackend.h"
#include "core/ObserverList.h"
#include "core/Settings.h"
#include "managers/ScreenManager.h"
#include "managers/ZoneGestureObserver.h"
#include "models/LayoutPresets.h"
#include "views/ZoneOverlayEngine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QWidget>

#include <gtest/gtest.h>

// Zones "under the pointer" are set by the test; snaps are recorded as zone ids.
class FakeOverlayEngine final : public ZoneOverlayEngine
{
public:
    void addGestureObserver(ZoneGestureObserver* observer) override { observers.add(observer); }
    void removeGestureObserver(ZoneGestureObserver* observer) override { observers.remove(observer); }
    bool isCursorInZone(const Zone& zone) const override { return hits.contains(zone.id()); }
    void snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones) override
    {
        QStringList ids;
        for (const auto& zone : zones)
            ids << zone->id();
        snaps.push_back({window, ids});
    }

    QStringList hits;
    ObserverList<ZoneGestureObserver> observers;
    std::vector<std::pair<WindowPtr, QStringList>> snaps;
};

inline ZoneGestureEvent gestureEvent(bool multiZone, quint32 windowId = 42)
{
    auto window = std::make_shared<Window>(windowId, nullptr, WindowApplication {}, QSizeF(300, 200));
    return ZoneGestureEvent {multiZone, WindowDragEvent {window, QRectF(10, 10, 300, 200)}};
}

// Runs the event loop (paints, animations, deferred deletes) for a while.
inline void pump(int ms)
{
    QElapsedTimer timer;
    timer.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    } while (timer.elapsed() < ms);
}

inline QColor pixelAt(QWidget& widget, QPoint at)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32).pixelColor(at);
}

// `top` at `opacity` over `bottom`, source-over in straight alpha.
inline QColor over(const QColor& top, double opacity, const QColor& bottom)
{
    const double ta = top.alphaF() * opacity, ba = bottom.alphaF(), a = ta + ba * (1 - ta);
    const auto mix = [&](double t, double b) { return float((t * ta + b * ba * (1 - ta)) / a); };
    return QColor::fromRgbF(
        mix(top.redF(), bottom.redF()), mix(top.greenF(), bottom.greenF()), mix(top.blueF(), bottom.blueF()), float(a));
}

inline ::testing::AssertionResult sameColor(const QColor& actual, const QColor& expected)
{
    const int diff = std::max({std::abs(actual.red() - expected.red()), std::abs(actual.green() - expected.green()),
        std::abs(actual.blue() - expected.blue()), std::abs(actual.alpha() - expected.alpha())});
    if (diff <= 3)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << qPrintable(actual.name(QColor::HexArgb)) << ", expected "
                                         << qPrintable(expected.name(QColor::HexArgb));
}

// A screen whose visible frame is 600 × 400 (a 40-point panel on its left), cut by the
// three-zone preset: "1" left, "2" top right, "3" bottom right. Fixed colours.
class ViewsTest : public ::testing::Test
{
protected:
    ViewsTest()
        : settings(std::make_unique<MemorySettingsBackend>())
        , screens(displays, settings)
    {
        displays.setDisplays({FakeDisplayServer::display(QStringLiteral("0F3C1B2A-1111-5222-8333-444455556666"),
            QStringLiteral("LEFT"), QRectF(0, 0, 640, 400), QRectF(40, 0, 600, 400))});
        screen = screens.screens().value(0);
        layout = defaultLayout(DefaultLayoutType::rightT, screen, screens);
        settings.setValue(Keys::useSystemAccentColor, false);
        settings.setValue(Keys::customAccentColor, kAccent);
        settings.setValue(Keys::zoneHighlightColor, kHighlight);
        settings.setValue(Keys::zoneBackgroundLightColor, kLightBackdrop);
        settings.setValue(Keys::zoneBackgroundDarkColor, kDarkBackdrop);
    }

    const Zone& zone(int index) const { return *layout->zones().at(size_t(index)); }
    // A point inside a zone, clear of its centred number.
    QPoint interior(int index) const { return zone(index).rect().toRect().topLeft() + QPoint(20, 20); }
    QStringList highlighted() const
    {
        QStringList ids;
        for (const auto& z : layout->zones())
            ids << (z->highlighted() ? z->id() : QString());
        ids.removeAll(QString());
        return ids;
    }

    static inline const QColor kAccent {200, 30, 30};
    static inline const QColor kHighlight {20, 160, 40};
    static inline const QColor kLightBackdrop {240, 240, 250, 128};
    static inline const QColor kDarkBackdrop {10, 10, 30, 128};

    FakeDisplayServer displays;
    Settings settings;
    ScreenManager screens;
    FakeOverlayEngine engine;
    FakeDesktopEffects effects;
    Screen screen;
    std::shared_ptr<Layout> layout;
};
