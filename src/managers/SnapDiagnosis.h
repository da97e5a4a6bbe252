#pragma once

#include "models/Window.h"
#include "platform/WindowFacts.h"

#include <QCoreApplication>
#include <QList>
#include <QPair>
#include <QPointF>
#include <QString>
#include <QStringList>

class LayoutManager;
class ScreenManager;
class WindowManager;
class ZoneManager;

// "Why won't this window snap?": what Parqueta sees of one window, in words a person can
// act on. Everything is read afresh, so the answer holds for the moment it is asked.
class SnapDiagnosis final
{
    Q_DECLARE_TR_FUNCTIONS(SnapDiagnosis)

public:
    struct Report
    {
        // One sentence: whether the window snaps, and if not the main reason.
        QString verdict;
        // Label and value: class, title, kind, frame, screen, zone, last move, size hints.
        QList<QPair<QString, QString>> facts;
        // What keeps the window from filling a zone exactly, one sentence each.
        QStringList findings;
        // The window counts as one Parqueta snaps.
        bool snaps = false;
    };

    SnapDiagnosis(ScreenManager& screens, LayoutManager& layouts, ZoneManager& zones, WindowManager& windows);

    // The window picked at point (desktop space): point decides the zone it would fall in.
    Report diagnose(const WindowPtr& window, QPointF point);

    // What keeps a window with these facts from filling a zone of layout (none: no zones
    // to compare with), one sentence each; and whether it snaps at all.
    static Report explain(const WindowFacts& facts, const class Layout* layout);

    // "640 × 480 at 10, 20"
    static QString describeRect(const QRectF& rect);

private:
    ScreenManager& m_screens;
    LayoutManager& m_layouts;
    ZoneManager& m_zones;
    WindowManager& m_windows;
};
