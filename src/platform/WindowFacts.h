#pragma once

#include <QList>
#include <QPair>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

// What the platform can tell about one window for a person asking why it does or does
// not snap. Sizes are in desktop pixels; an empty size means the window sets no such hint.
struct WindowFacts
{
    QString title;
    // The application's class and instance (WM_CLASS on X11, bundle id and name on macOS).
    QString className;
    QString instanceName;
    // The kinds the window declares, in its own order ("normal", "dialog", "dock", ...).
    QStringList types;
    // States the window manager reports ("maximized", "full screen", "sticky", ...).
    QStringList states;
    // Empty for a window Parqueta snaps; otherwise why it leaves the window alone.
    QString notNormalBecause;
    std::optional<QRectF> frame;
    // Size hints the application gives: the window manager keeps it within these.
    QSize minimumSize;
    QSize maximumSize;
    QSize sizeIncrement;
    QSize baseSize;

    // The last frame Parqueta asked for and what the window manager made of it.
    struct Placement
    {
        QRectF requested;
        QRectF applied;
        // Whether the applied frame is the requested one (within a pixel or two, or
        // smaller by the application's own size steps).
        bool honoured = false;
    };
    std::optional<Placement> lastPlacement;
};

// Facts about the desktop that explain most surprises: which window manager, whether a
// compositor runs, who hosts the tray. Label and value, in the order worth reading.
using DesktopFacts = QList<QPair<QString, QString>>;
