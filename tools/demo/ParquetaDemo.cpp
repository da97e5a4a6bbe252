// The run command's demo for machines without a usable X display: a virtual two-monitor
// desktop (openbox, picom, a tint2 panel, two sample windows), the real parqueta on it,
// and a user's hand played through XTest. Screenshots go to the directory given as the
// first argument (default: demo/ at the top of the source tree); every resulting window
// frame is printed next to the zone it should fill. Exit status 0 only when all match.
#include "DesktopZones.h"
#include "GestureDriver.h"
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "RootScreenshot.h"
#include "VirtualDesktop.h"
#include "XTestInput.h"

#include <QApplication>
#include <QDir>
#include <QLoggingCategory>

#include <cstdio>

namespace {

// The overlays fade in over 300 ms; a screenshot after this sees them whole.
constexpr int kAfterFadeInMs = 450;
const QSize kCell(6, 13);

QString text(const QRect& r)
{
    return QStringLiteral("%1,%2 %3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

class Demo
{
public:
    Demo(VirtualDesktop& desktop, QString outputDir)
        : m_desktop(desktop)
        , m_driver(desktop, m_overlays)
        , m_parqueta(desktop)
        , m_output(std::move(outputDir))
    { }

    bool setUp()
    {
        std::printf("Starting a virtual desktop: two monitors, openbox, picom, a tint2 panel on the right\n");
        if (!m_desktop.startWindowManager(WindowManagerKind::Openbox)
            || !m_desktop.startCompositor(CompositorKind::Picom) || !m_desktop.startPanel(1))
            return false;
        m_plain = m_desktop.startPlainWindow(QStringLiteral("Sample window"), QRect(220, 260, 460, 320));
        m_xterm = m_desktop.startXterm(QStringLiteral("Sample terminal"));
        if (m_plain == XCB_WINDOW_NONE || m_xterm == XCB_WINDOW_NONE)
            return false;
        std::printf("Starting %s for the first time\n", qPrintable(ParquetaProcess::executable()));
        m_parqueta.setShowsOnboarding(true);
        if (!m_parqueta.start())
            return false;
        m_parqueta.setShowsOnboarding(false);
        onboarding();
        m_overlays.setOwnerPid(m_parqueta.pid());
        m_editor.setOwnerPid(m_parqueta.pid());
        m_editor.setTitle(QStringLiteral("Parqueta layout editor"));
        const std::optional<DesktopZones> zones = DesktopZones::read();
        if (!zones) {
            std::printf("Cannot read the zones: %s\n", qPrintable(DesktopZones::lastError()));
            return false;
        }
        m_zones = *zones;
        for (const DesktopZone& zone : m_zones.zones())
            std::printf("  zone %s:%s  %s\n", qPrintable(zone.screenName), qPrintable(zone.zoneId),
                qPrintable(text(zone.frame)));
        return true;
    }

    void run()
    {
        DragOptions shift;
        shift.beforeRelease = screenshotLater(QStringLiteral("01-shift-drag-overlay.png"));
        m_driver.drag(m_plain, m_zones.dropPoint(QStringLiteral("RIGHT"), QStringLiteral("2")), shift);
        check(QStringLiteral("Shift-drag into RIGHT zone 2"), m_plain, QStringLiteral("RIGHT"), {QStringLiteral("2")});
        screenshot(QStringLiteral("02-shift-drag-snapped.png"));

        DragOptions rightClick;
        rightClick.toggle = ZoneToggle::RightClick;
        rightClick.beforeRelease = screenshotLater(QStringLiteral("03-right-click-overlay.png"));
        m_driver.drag(m_xterm, m_zones.dropPoint(QStringLiteral("LEFT"), QStringLiteral("1")), rightClick);
        check(QStringLiteral("Right-click drag into LEFT zone 1"), m_xterm, QStringLiteral("LEFT"),
            {QStringLiteral("1")}, kCell);
        screenshot(QStringLiteral("04-right-click-snapped.png"));

        DragOptions multi;
        multi.multiZone = true;
        multi.via = {m_zones.dropPoint(QStringLiteral("RIGHT"), QStringLiteral("1"))};
        multi.beforeRelease = screenshotLater(QStringLiteral("05-alt-multi-zone-overlay.png"));
        m_driver.drag(m_plain, m_zones.dropPoint(QStringLiteral("RIGHT"), QStringLiteral("2"), QPoint(0, 120)), multi);
        check(QStringLiteral("Alt multi-zone drag over RIGHT zones 1 and 2"), m_plain, QStringLiteral("RIGHT"),
            {QStringLiteral("1"), QStringLiteral("2")});
        screenshot(QStringLiteral("06-alt-multi-zone-snapped.png"));

        m_driver.activate(m_xterm);
        m_driver.press(WindowShortcut::CycleRight);
        check(QStringLiteral("Ctrl+Alt+Super+Right moves the terminal to LEFT zone 2"), m_xterm, QStringLiteral("LEFT"),
            {QStringLiteral("2")}, kCell);
        screenshot(QStringLiteral("07-shortcut-moved.png"));

        editLayout();
        settingsWindow("");
        // The same on a dark desktop: GTK's dark theme, which Qt follows through its GTK
        // platform theme as it does on a user's GNOME or Xfce desktop.
        std::printf("Restarting Parqueta on a dark desktop (QT_QPA_PLATFORMTHEME=gtk3, GTK_THEME=Adwaita:dark)\n");
        qputenv("QT_QPA_PLATFORMTHEME", "gtk3");
        qputenv("GTK_THEME", "Adwaita:dark");
        const bool restarted = m_parqueta.terminate() == std::optional<int>(0) && m_parqueta.start();
        qunsetenv("QT_QPA_PLATFORMTHEME");
        qunsetenv("GTK_THEME");
        if (!restarted) {
            m_failures << QStringLiteral("restart on a dark desktop");
            return;
        }
        m_overlays.setOwnerPid(m_parqueta.pid());
        settingsWindow("-dark");
        aboutAndDebugWindows();
    }

    // The first run's guide, walked with the keyboard alone: Enter continues, and closes
    // it after the third step.
    void onboarding()
    {
        const xcb_window_t window = m_desktop.waitForWindow({}, QStringLiteral("Welcome to Parqueta"));
        std::printf("First-run guide: %s\n", window ? "shown" : "NOT SHOWN");
        if (window == XCB_WINDOW_NONE || !m_driver.activate(window)) {
            m_failures << QStringLiteral("first-run guide");
            return;
        }
        const char* names[] = {"15-onboarding-welcome", "16-onboarding-layout", "17-onboarding-done"};
        for (const char* name : names) {
            GestureDriver::pump(250);
            screenshot(QString::fromLatin1(name) + QStringLiteral(".png"),
                m_desktop.visibleFrame(window).value_or(QRect()));
            m_driver.input().tap(Keysym::Return);
        }
        const bool closed = VirtualDesktop::waitUntil(
            [&] { return m_desktop.findWindow({}, QStringLiteral("Welcome to Parqueta")) == XCB_WINDOW_NONE; }, 3000);
        std::printf("  closed by Enter on its last step: %s\n", closed ? "yes" : "NO");
        if (!closed)
            m_failures << QStringLiteral("first-run guide did not close");
    }

    // About from the tray menu (keyboard: the second enabled item), the debug window from
    // About (Alt+D), and "Why won't this window snap?" on the terminal.
    void aboutAndDebugWindows()
    {
        const std::optional<QRect> tray = m_overlays.trayIcon();
        std::printf("Tray icon: %s\n", tray ? qPrintable(text(*tray)) : "NOT FOUND");
        if (!tray) {
            m_failures << QStringLiteral("tray icon");
            return;
        }
        XTestInput& input = m_driver.input();
        input.moveTo(tray->center().x(), tray->center().y());
        input.click(1);
        GestureDriver::pump(400);
        input.tap(Keysym::Down);
        input.tap(Keysym::Down);
        input.tap(Keysym::Return);
        const xcb_window_t about = m_desktop.waitForWindow({}, QStringLiteral("About Parqueta"));
        std::printf("About window from the tray menu: %s\n", about ? "shown" : "NOT SHOWN");
        if (about == XCB_WINDOW_NONE || !m_driver.activate(about)) {
            m_failures << QStringLiteral("About window");
            return;
        }
        GestureDriver::pump(250);
        screenshot(QStringLiteral("18-about.png"), m_desktop.visibleFrame(about).value_or(QRect()));
        input.tapWith(Keysym::AltL, uint32_t('d'));
        const xcb_window_t debug = m_desktop.waitForWindow({}, QStringLiteral("Parqueta Debug"));
        std::printf("Debug window from About: %s\n", debug ? "shown" : "NOT SHOWN");
        if (debug == XCB_WINDOW_NONE || !m_driver.activate(debug)) {
            m_failures << QStringLiteral("debug window");
            return;
        }
        GestureDriver::pump(700);
        screenshot(QStringLiteral("19-debug-window.png"), m_desktop.visibleFrame(debug).value_or(QRect()));
        input.tapWith(Keysym::AltL, uint32_t('w'));
        GestureDriver::pump(300);
        const std::optional<QRect> terminal = m_driver.frameOf(m_xterm);
        if (terminal) {
            input.moveTo(terminal->center().x(), terminal->center().y());
            input.click(1);
        }
        GestureDriver::pump(700);
        screenshot(QStringLiteral("20-debug-why-not-snap.png"), m_desktop.visibleFrame(debug).value_or(QRect()));
    }

    // The settings window, opened as launching Parqueta again does: one picture per tab,
    // reached with Ctrl+1 to Ctrl+4, named with variant ("-dark").
    void settingsWindow(const char* variant)
    {
        const std::optional<int> launched = ParquetaProcess::launchAgain({});
        const xcb_window_t window = launched == std::optional<int>(0)
            ? m_desktop.waitForWindow({}, QStringLiteral("Parqueta Settings"))
            : xcb_window_t(XCB_WINDOW_NONE);
        std::printf("Settings window opened by launching parqueta again: %s\n", window ? "shown" : "NOT SHOWN");
        if (window == XCB_WINDOW_NONE || !m_driver.activate(window)) {
            m_failures << QStringLiteral("settings window");
            return;
        }
        const char* names[]
            = {"11-settings-general", "12-settings-layouts", "13-settings-shortcuts", "14-settings-more"};
        XTestInput& input = m_driver.input();
        for (int tab = 0; tab < 4; ++tab) {
            input.tapWith(Keysym::ControlL, uint32_t('1' + tab));
            GestureDriver::pump(250);
            screenshot(QString::fromLatin1(names[tab]) + QString::fromLatin1(variant) + QStringLiteral(".png"),
                m_desktop.visibleFrame(window).value_or(QRect()));
        }
    }

    // The layout editor of RIGHT, opened the way a second launch does: a click splits
    // zone 1, its border is dragged, Escape saves; then a snap into the new zone.
    void editLayout()
    {
        const QRect right = m_zones.visibleFrame(QStringLiteral("RIGHT")).value_or(QRectF()).toRect();
        XTestInput& input = m_driver.input();
        input.moveTo(right.center().x(), right.center().y());
        const std::optional<int> launched = ParquetaProcess::launchAgain({QStringLiteral("--edit-layout")});
        const bool shown = launched == std::optional<int>(0) && m_editor.waitForShown(1);
        std::printf("Layout editor opened by \"parqueta --edit-layout\": %s\n", shown ? "shown" : "NOT SHOWN");
        if (!shown) {
            m_failures << QStringLiteral("editor");
            return;
        }
        const QPoint split(right.left() + 300, right.top() + 500);
        input.moveTo(split.x() - 40, split.y());
        GestureDriver::pump(kAfterFadeInMs);
        input.moveTo(split.x(), split.y());
        GestureDriver::pump(100);
        screenshot(QStringLiteral("08-editor-preview-line.png"));
        input.click(1);
        GestureDriver::pump(150);

        // The new border's handle is at its centre; drag it 60 pixels to the right.
        const QPoint handle(split.x(), right.center().y());
        input.moveTo(handle.x(), handle.y());
        GestureDriver::pump(100);
        input.press(1);
        for (int dx = 6; dx <= 60; dx += 6) {
            input.moveTo(handle.x() + dx, handle.y());
            GestureDriver::pump(15);
        }
        screenshot(QStringLiteral("09-editor-border-drag.png"));
        input.release(1);
        GestureDriver::pump(100);
        input.tap(Keysym::Escape);
        const bool closed = m_editor.waitForHidden();
        std::printf("Escape closed the editor: %s\n", closed ? "yes" : "NO");
        if (!closed)
            m_failures << QStringLiteral("editor closed by Escape");
        if (const std::optional<DesktopZones> zones = DesktopZones::read())
            m_zones = *zones;
        DragOptions shift;
        m_driver.drag(m_plain, m_zones.dropPoint(QStringLiteral("RIGHT"), QStringLiteral("2")), shift);
        check(QStringLiteral("Shift-drag into the new RIGHT zone 2 (280 px wide)"), m_plain, QStringLiteral("RIGHT"),
            {QStringLiteral("2")});
        if (m_zones.zone(QStringLiteral("RIGHT"), QStringLiteral("2")).value_or(DesktopZone {}).frame.width() != 280)
            m_failures << QStringLiteral("the edited zone's width");
        screenshot(QStringLiteral("10-new-zone-snapped.png"));
    }

    bool tearDown()
    {
        const std::optional<int> code = m_parqueta.terminate();
        std::printf("Parqueta stopped with exit code %s\n", code ? qPrintable(QString::number(*code)) : "(none)");
        if (!m_failures.isEmpty() || !code || *code != 0)
            std::printf("Parqueta's log: %s\n", qPrintable(m_parqueta.logFile()));
        m_desktop.stop();
        return code == std::optional<int>(0);
    }

    int failures() const { return int(m_failures.size()); }

private:
    std::function<void()> screenshotLater(const QString& name)
    {
        return [this, name] {
            GestureDriver::pump(kAfterFadeInMs);
            std::printf("  overlays on screen mid-gesture: %d\n", m_overlays.mappedCount());
            screenshot(name);
        };
    }

    void screenshot(const QString& name, const QRect& area)
    {
        const QString path = QDir(m_output).filePath(name);
        const QImage image = RootScreenshot::take();
        const bool saved = !image.isNull() && area.isValid() && image.copy(area).save(path);
        std::printf("  screenshot %s: %s\n", qPrintable(path), saved ? "saved" : "FAILED");
    }
    void screenshot(const QString& name)
    {
        const QString path = m_output + QLatin1Char('/') + name;
        std::printf("  screenshot %s: %s\n", qPrintable(path), RootScreenshot::save(path) ? "saved" : "FAILED");
    }

    void check(const QString& what, xcb_window_t window, const QString& screen, const QStringList& zoneIds,
        QSize tolerance = {})
    {
        const QRect expected = m_zones.unitedFrame(screen, zoneIds).value_or(QRect());
        const bool matched = m_driver.waitForFrame(window, expected, tolerance);
        const QRect got = m_driver.frameOf(window).value_or(QRect());
        std::printf("%s\n  window \"%s\": frame %s, zone(s) %s:%s %s -> %s\n", qPrintable(what),
            qPrintable(m_desktop.titleOf(window)), qPrintable(text(got)), qPrintable(screen),
            qPrintable(zoneIds.join(QLatin1Char('+'))), qPrintable(text(expected)),
            matched ? (tolerance.isEmpty() ? "MATCH" : "MATCH (within one character cell)") : "MISMATCH");
        if (!matched)
            m_failures << what;
    }

    VirtualDesktop& m_desktop;
    OverlayProbe m_overlays {m_desktop};
    OverlayProbe m_editor {m_desktop};
    GestureDriver m_driver;
    ParquetaProcess m_parqueta;
    DesktopZones m_zones;
    QString m_output;
    xcb_window_t m_plain = XCB_WINDOW_NONE;
    xcb_window_t m_xterm = XCB_WINDOW_NONE;
    QStringList m_failures;
};

} // namespace

int main(int argc, char** argv)
{
    const QString output
        = QDir(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(PARQUETA_SOURCE_DIR "/demo")).absolutePath();
    if (!QDir().mkpath(output)) {
        std::fprintf(stderr, "Cannot create %s\n", qPrintable(output));
        return 1;
    }
    // The demo reads the program's settings with the program's own code; its log lines
    // are for the program, not for this report.
    QLoggingCategory::setFilterRules(QStringLiteral("parqueta.*=false"));

    VirtualDesktop desktop;
    if (!desktop.start()) {
        std::fprintf(stderr, "No virtual desktop: %s\n", qPrintable(desktop.lastError()));
        return 1;
    }
    VirtualDesktop::setShared(&desktop);
    int failures = 0;
    bool clean = false;
    {
        QApplication app(argc, argv);
        Demo demo(desktop, output);
        const bool ready = demo.setUp();
        if (ready)
            demo.run();
        failures = ready ? demo.failures() : -1;
        clean = demo.tearDown();
    }
    VirtualDesktop::setShared(nullptr);
    if (failures < 0) {
        std::printf("The demo could not start: %s\n", qPrintable(desktop.lastError()));
        return 1;
    }
    std::printf("%s: %d mismatch(es); screenshots in %s\n", failures == 0 && clean ? "DEMO PASSED" : "DEMO FAILED",
        failures, qPrintable(output));
    return failures == 0 && clean ? 0 : 1;
}
