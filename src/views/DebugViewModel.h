#pragma once

#include "managers/SnapDiagnosis.h"
#include "platform/WindowFacts.h"

#include <QCoreApplication>
#include <QList>
#include <QString>

#include <functional>

class GlobalShortcuts;
class LayoutManager;
class ScreenManager;
class WindowDragMonitor;
class WindowManager;
class ZoneGestureMonitor;
class ZoneManager;

// One row of the debug window: a label, its value, and rows below it.
struct DebugNode
{
    QString label;
    QString value;
    QList<DebugNode> children;
};

// The engine's state as the debug window shows it: screens with their layouts and zones,
// the snapped windows, the gesture, the shortcuts and the desktop. Every snapshot reads
// everything afresh, so windows and screens that vanish simply drop out of the next one.
class DebugViewModel final
{
    Q_DECLARE_TR_FUNCTIONS(DebugViewModel)

public:
    struct Sources
    {
        ScreenManager& screens;
        LayoutManager& layouts;
        ZoneManager& zones;
        WindowManager& windows;
        ZoneGestureMonitor& gestures;
        WindowDragMonitor& drags;
        GlobalShortcuts& shortcuts;
        std::function<DesktopFacts()> desktopFacts;
    };

    explicit DebugViewModel(Sources sources);

    QList<DebugNode> snapshot();
    // The snapshot as indented text, for a bug report.
    static QString toText(const QList<DebugNode>& nodes);

    // "Why won't this window snap?" for the window under the pointer now.
    SnapDiagnosis::Report inspectWindowUnderPointer();

private:
    DebugNode screensNode();
    DebugNode snappedWindowsNode();
    DebugNode gestureNode();
    DebugNode shortcutsNode();
    DebugNode desktopNode();

    Sources m_sources;
    SnapDiagnosis m_diagnosis;
};
