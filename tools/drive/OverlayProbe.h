#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <xcb/xcb.h>

#include <sys/types.h>

#include <optional>

class VirtualDesktop;

// Parqueta's zone overlays as another client of the X server sees them: the mapped
// override-redirect top-level windows titled "Parqueta zones" (or another title, for the
// layout editor and the borders flash) whose opacity is not 0 and whose shape, if any,
// leaves something of them on the screen. Looks through the
// desktop harness's own connection; nothing here depends on the program's internals.
class OverlayProbe final
{
public:
    // ownerPid > 0: only windows whose _NET_WM_PID is that process.
    explicit OverlayProbe(VirtualDesktop& desktop, pid_t ownerPid = 0);
    // On VirtualDesktop::shared().
    explicit OverlayProbe(pid_t ownerPid = 0);
    OverlayProbe(const OverlayProbe&) = delete;
    OverlayProbe& operator=(const OverlayProbe&) = delete;

    bool isValid() const;
    void setOwnerPid(pid_t pid) { m_ownerPid = pid; }
    void setTitle(const QString& title) { m_title = title; }

    struct Overlay
    {
        xcb_window_t window = XCB_WINDOW_NONE;
        QRect geometry; // root coordinates
    };
    // The overlays mapped right now, in stacking order (bottom first).
    QList<Overlay> mapped();
    // Their geometries, sorted by x then y.
    QList<QRect> mappedGeometries();
    int mappedCount() { return int(mapped().size()); }

    // Waits until exactly `count` overlays are mapped (count < 0: at least one).
    bool waitForShown(int count = -1, int timeoutMs = 5000);
    // Waits until no overlay is mapped.
    bool waitForHidden(int timeoutMs = 5000);

    // The owner's tray icon embedded in a panel's tray (a small viewable window of the
    // owner's below the top level), in root coordinates.
    std::optional<QRect> trayIcon();

private:
    VirtualDesktop& m_desktop;
    pid_t m_ownerPid = 0;
    QString m_title = QStringLiteral("Parqueta zones");
};
