// The rest of the main road with the real program: hold-to-snap mode, the six window
// shortcuts, what the overlay looks like mid-gesture, and a drag that goes wrong (the
// window closes, a monitor goes away).
#include "E2EFixture.h"
#include "RootScreenshot.h"

#include <QImage>

using namespace E2E;

namespace {

const QString kLeft = QStringLiteral("LEFT");
const QString kRight = QStringLiteral("RIGHT");
const DesktopSetup kOpenboxPicom {WindowManagerKind::Openbox, CompositorKind::Picom};
const DesktopSetup kOpenboxPlain {WindowManagerKind::Openbox, CompositorKind::None};
// The overlays fade in over 300 ms; a screenshot after this sees them whole.
constexpr int kAfterFadeInMs = 450;

class ModesTest : public Fixture
{ };

TEST_F(ModesTest, HoldShiftModeSnapsWhileShiftIsHeldAndCancelsWhenItIsLetGo)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPicom));
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) { s.setValue(Keys::holdShiftToSnap, true); }));
    const xcb_window_t plain = plainWindow(QStringLiteral("hold"));

    const DragReport held = driver.drag(plain, zones.dropPoint(kRight, QStringLiteral("1")));
    EXPECT_TRUE(held.overlayShown) << log();
    EXPECT_TRUE(driver.waitForFrame(plain, frame(kRight, QStringLiteral("1")))) << "got " << frameText(plain);

    // Let go of Shift before the button: the overlays go at once and nothing is snapped.
    DragOptions early;
    early.toggle = ZoneToggle::ShiftReleasedEarly;
    int overlaysAfterShiftUp = -1;
    early.beforeRelease = [&] {
        driver.input().keyUp(Keysym::ShiftL);
        overlays.waitForHidden(2000);
        overlaysAfterShiftUp = overlays.mappedCount();
    };
    const DragReport cancelled = driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")), early);
    EXPECT_TRUE(cancelled.overlayShown);
    EXPECT_EQ(cancelled.overlaysAtDrop, 2);
    EXPECT_EQ(overlaysAfterShiftUp, 0) << "Shift up ends the gesture before the button does";
    GestureDriver::pump(300);
    const QRect after = driver.frameOf(plain).value_or(QRect());
    EXPECT_NE(after, frame(kLeft, QStringLiteral("2")));
    EXPECT_EQ(after.size(), QSize(422, 325)) << "unsnapped: the size from before the first snap";
}

TEST_F(ModesTest, WithGapsWindowsKeepTheirDistanceFromEachOtherAndTheScreenEdges)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPicom));
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) {
        s.setValue(Keys::enableGaps, true);
        s.setValue(Keys::gapSize, 16);
    }));
    ASSERT_EQ(zones.gap(), 16);
    const xcb_window_t first = plainWindow(QStringLiteral("gap one"));
    const xcb_window_t second = plainWindow(QStringLiteral("gap two"), QRect(700, 300, 300, 200));
    driver.drag(first, zones.dropPoint(kRight, QStringLiteral("1")));
    driver.drag(second, zones.dropPoint(kRight, QStringLiteral("2")));
    // Whole gap at the screen's edges (the panel's edge included), half a gap each side
    // of the border between the two zones.
    const QRectF visible = *zones.visibleFrame(kRight);
    const QRect one(1280 + 16, 16, 640 - 16 - 8, int(visible.height()) - 32);
    const QRect two(1280 + 640 + 8, 16, 640 - 8 - 16, int(visible.height()) - 32);
    EXPECT_EQ(frame(kRight, QStringLiteral("1")), one);
    EXPECT_TRUE(driver.waitForFrame(first, one)) << "got " << frameText(first);
    EXPECT_TRUE(driver.waitForFrame(second, two)) << "got " << frameText(second);
}

TEST_F(ModesTest, TheSixShortcutsMoveSpanAndCycleTheFocusedWindow)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPicom));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    // Two columns and two rows: the third preset.
    ASSERT_NO_FATAL_FAILURE(restartParqueta([](SettingsFile& file) { return file.activateLayout(2); }));
    ASSERT_EQ(zones.zonesOn(kLeft).size(), 4);
    const auto zoneFrame = [&](const char* id) { return frame(kLeft, QString::fromLatin1(id)); };
    const auto united = [&](QStringList ids) { return *zones.unitedFrame(kLeft, ids); };

    const xcb_window_t plain = plainWindow(QStringLiteral("keys"));
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("1")));
    ASSERT_TRUE(driver.waitForFrame(plain, zoneFrame("1"))) << "got " << frameText(plain);
    ASSERT_TRUE(driver.activate(plain));

    const std::pair<WindowShortcut, QRect> steps[] = {
        {WindowShortcut::CycleRight, zoneFrame("2")},
        {WindowShortcut::CycleRight, zoneFrame("3")},
        {WindowShortcut::CycleRight, zoneFrame("4")},
        {WindowShortcut::CycleRight, zoneFrame("1")}, // wraps around
        {WindowShortcut::CycleLeft, zoneFrame("4")}, // and back
        {WindowShortcut::SpanLeft, united({"3", "4"})},
        {WindowShortcut::SpanRight, united({"3", "4"})}, // nothing right of the last zone
        {WindowShortcut::CycleLeft, zoneFrame("2")}, // from zone 3, which holds the probe point
        {WindowShortcut::SpanRight, united({"2", "3"})},
    };
    int step = 0;
    for (const auto& [shortcut, expected] : steps) {
        SCOPED_TRACE("step " + std::to_string(++step));
        ASSERT_TRUE(driver.press(shortcut));
        EXPECT_TRUE(driver.waitForFrame(plain, expected))
            << "wanted " << ::testing::PrintToString(expected) << ", got " << frameText(plain);
    }

    // Two windows stacked in zone 1: next and previous raise one, then the other, and
    // move nothing.
    const xcb_window_t term = xterm(QStringLiteral("stacked"));
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("1")));
    driver.drag(term, zones.dropPoint(kLeft, QStringLiteral("1"), QPoint(0, 100)));
    ASSERT_TRUE(driver.waitForFrame(plain, zoneFrame("1")));
    ASSERT_TRUE(driver.waitForFrame(term, zoneFrame("1"), kCell)) << "got " << frameText(term);
    ASSERT_TRUE(driver.activate(term));
    ASSERT_TRUE(driver.press(WindowShortcut::CycleNext));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.activeWindow() == plain; })) << log();
    ASSERT_TRUE(driver.press(WindowShortcut::CyclePrev));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.activeWindow() == term; }));
    EXPECT_EQ(driver.frameOf(plain), zoneFrame("1"));
}

// Zones whose sampled patches all carry the highlight colour (magenta: red and blue well
// above green), and those where none does.
struct Highlighted
{
    QStringList highlighted;
    QStringList plain;
};

Highlighted highlightedZones(const QImage& shot, const DesktopZones& zones, const QRect& avoid)
{
    Highlighted result;
    for (const DesktopZone& zone : zones.zones()) {
        // Small patches on a grid over the zone, clear of its outline, its number and the
        // dragged window; averaging smooths the root window's stipple.
        const QRect r = zone.rect.toRect().adjusted(12, 12, -24, -24);
        const QRect number(zone.rect.toRect().center() - QPoint(90, 90), QSize(180, 180));
        int magenta = 0;
        int sampled = 0;
        for (int y = r.top(); y < r.bottom(); y += 48) {
            for (int x = r.left(); x < r.right(); x += 48) {
                const QRect patch(x, y, 8, 8);
                if (patch.intersects(avoid) || patch.intersects(number))
                    continue;
                long red = 0, green = 0, blue = 0;
                for (int py = patch.top(); py <= patch.bottom(); ++py) {
                    for (int px = patch.left(); px <= patch.right(); ++px) {
                        const QRgb pixel = shot.pixel(px, py);
                        red += qRed(pixel);
                        green += qGreen(pixel);
                        blue += qBlue(pixel);
                    }
                }
                const long n = long(patch.width()) * patch.height();
                ++sampled;
                magenta += (red - green) / n > 50 && (blue - green) / n > 50 ? 1 : 0;
            }
        }
        const QString name = zone.screenName + QLatin1Char(':') + zone.zoneId;
        if (sampled >= 10 && magenta == sampled)
            result.highlighted << name;
        else if (sampled >= 10 && magenta == 0)
            result.plain << name;
    }
    return result;
}

class OverlayLookTest : public Fixture, public ::testing::WithParamInterface<DesktopSetup>
{ };

TEST_P(OverlayLookTest, MidGestureOnlyTheHoveredZoneCarriesTheHighlightColour)
{
    ASSERT_NO_FATAL_FAILURE(prepare(GetParam()));
    ASSERT_NO_FATAL_FAILURE(startParqueta([](Settings& s) {
        s.setValue(Keys::useSystemAccentColor, false);
        s.setValue(Keys::zoneHighlightColor, QColor(255, 0, 255));
    }));
    const xcb_window_t plain = plainWindow(QStringLiteral("look"), QRect(300, 300, 300, 200));
    for (const auto& [screen, zone] :
        {std::pair {kRight, QStringLiteral("1")}, std::pair {kLeft, QStringLiteral("2")}}) {
        SCOPED_TRACE(screen.toStdString() + ":" + zone.toStdString());
        QImage shot;
        QRect dragged;
        DragOptions options;
        options.beforeRelease = [&] {
            GestureDriver::pump(kAfterFadeInMs);
            dragged = driver.frameOf(plain).value_or(QRect()).adjusted(-4, -4, 4, 4);
            shot = RootScreenshot::take();
        };
        driver.drag(plain, zones.dropPoint(screen, zone, QPoint(0, -150)), options);
        ASSERT_FALSE(shot.isNull());
        shot.save(QStringLiteral("%1/logs/highlight-%2-%3.png")
                      .arg(desktop.scratchDir(), QString::fromStdString(describe(GetParam())), screen));
        const Highlighted seen = highlightedZones(shot, zones, dragged);
        EXPECT_EQ(seen.highlighted, QStringList {screen + QLatin1Char(':') + zone});
        EXPECT_EQ(seen.plain.size(), zones.zones().size() - 1) << seen.plain.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(driver.waitForFrame(plain, frame(screen, zone)));
    }
    // Once the gesture is over no zone is drawn at all.
    const Highlighted after = highlightedZones(RootScreenshot::take(), zones, {});
    EXPECT_TRUE(after.highlighted.isEmpty()) << after.highlighted.join(QLatin1Char(' ')).toStdString();
}

INSTANTIATE_TEST_SUITE_P(Desktops, OverlayLookTest,
    ::testing::Values(kOpenboxPicom, DesktopSetup {WindowManagerKind::Metacity, CompositorKind::None}),
    [](const auto& param) { return describe(param.param); });

TEST_F(ModesTest, AWindowClosedMidDragLeavesParquetaWorking)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPlain));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t doomed = plainWindow(QStringLiteral("doomed"));
    DragOptions options;
    options.beforeRelease = [&] {
        desktop.stopClient(doomed);
        GestureDriver::pump(200);
    };
    const DragReport report = driver.drag(doomed, zones.dropPoint(kLeft, QStringLiteral("2")), options);
    EXPECT_TRUE(report.overlayShown);
    EXPECT_TRUE(report.overlayHiddenAfter) << log();
    EXPECT_TRUE(m_parqueta->isRunning()) << log();

    const xcb_window_t next = plainWindow(QStringLiteral("next"));
    driver.drag(next, zones.dropPoint(kRight, QStringLiteral("2")));
    EXPECT_TRUE(driver.waitForFrame(next, frame(kRight, QStringLiteral("2")))) << "got " << frameText(next) << log();
}

TEST_F(ModesTest, AMonitorRemovedMidGestureTakesItsOverlayAlongAndNothingCrashes)
{
    ASSERT_NO_FATAL_FAILURE(prepare(kOpenboxPlain));
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    desktopChanged();
    const xcb_window_t plain = plainWindow(QStringLiteral("unplugged"));
    int overlaysAfterRemoval = -1;
    DragOptions options;
    options.beforeRelease = [&] {
        ASSERT_TRUE(desktop.deleteMonitor(kRight));
        overlays.waitForShown(1);
        GestureDriver::pump(300);
        overlaysAfterRemoval = overlays.mappedCount();
        // No further motion: the rebuilt overlay must show the zone under the pointer
        // by itself, or the release would snap nothing.
    };
    const DragReport report = driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("1")), options);
    EXPECT_EQ(report.overlaysAtDrop, 2);
    EXPECT_EQ(overlaysAfterRemoval, 1) << "the overlay of the monitor that went away is gone:\n" << log();
    EXPECT_TRUE(report.overlayHiddenAfter);
    EXPECT_TRUE(m_parqueta->isRunning()) << log();
    // tint2 moves to LEFT once RIGHT is gone; if it has by the release, the window stops
    // at the panel instead of going under it.
    const QRect zone = frame(kLeft, QStringLiteral("1"));
    const QRect abovePanel(zone.topLeft(), QSize(zone.width(), VirtualDesktop::kHeight - VirtualDesktop::kPanelHeight));
    EXPECT_TRUE(driver.waitForFrame(plain, zone, {}, 1500) || driver.waitForFrame(plain, abovePanel, {}, 1500))
        << "got " << frameText(plain);

    // The monitor comes back: its zones work again.
    ASSERT_TRUE(desktop.resetMonitors());
    GestureDriver::pump(500);
    const std::optional<DesktopZones> again = DesktopZones::read();
    ASSERT_TRUE(again) << DesktopZones::lastError().toStdString();
    zones = *again;
    driver.drag(plain, zones.dropPoint(kRight, QStringLiteral("1")));
    EXPECT_TRUE(driver.waitForFrame(plain, frame(kRight, QStringLiteral("1")))) << "got " << frameText(plain) << log();
}

} // namespace
