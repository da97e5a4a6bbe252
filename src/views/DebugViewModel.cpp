#include "views/DebugViewModel.h"

#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"
#include "managers/ZoneGestureMonitor.h"
#include "managers/ZoneManager.h"
#include "models/Layout.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace {

QString yesNo(bool value)
{
    return value ? DebugViewModel::tr("yes") : DebugViewModel::tr("no");
}

QString rectText(const std::optional<QRectF>& rect)
{
    return rect ? SnapDiagnosis::describeRect(*rect) : DebugViewModel::tr("gone");
}

QString windowLabel(const Window& window)
{
    return QStringLiteral("0x%1 %2").arg(window.id(), 0, 16).arg(window.appName());
}

// The ratio Qt draws at on a monitor; Qt names its screens after the same outputs.
QString pixelRatioOf(const DisplayInfo& display)
{
    for (QScreen* screen : QGuiApplication::screens()) {
        if (screen->name() == display.name)
            return QString::number(screen->devicePixelRatio());
    }
    return DebugViewModel::tr("unknown");
}

} // namespace

DebugViewModel::DebugViewModel(Sources sources)
    : m_sources(std::move(sources))
    , m_diagnosis(m_sources.screens, m_sources.layouts, m_sources.zones, m_sources.windows)
{ }

QList<DebugNode> DebugViewModel::snapshot()
{
    return {screensNode(), snappedWindowsNode(), gestureNode(), shortcutsNode(), desktopNode()};
}

DebugNode DebugViewModel::screensNode()
{
    ScreenManager& screens = m_sources.screens;
    const QList<Screen> list = screens.screens();
    DebugNode node {tr("Screens"), QString::number(list.size()), {}};
    for (const Screen& screen : list) {
        DebugNode row {screen.name(), screen.id(), {}};
        const std::optional<DisplayInfo> display = screens.displayFor(screen);
        if (!display) {
            row.value += tr(" (disconnected)");
            node.children << row;
            continue;
        }
        row.children << DebugNode {tr("Frame"), rectText(display->frame), {}};
        row.children << DebugNode {tr("Visible frame"), rectText(display->visibleFrame), {}};
        row.children << DebugNode {tr("Visible frame found as"), display->visibleFrameSource, {}};
        row.children << DebugNode {tr("Device-pixel ratio"), pixelRatioOf(*display), {}};
        const std::shared_ptr<Layout> active = m_sources.layouts.activeFor(screen);
        int number = 0;
        for (const std::shared_ptr<Layout>& layout : m_sources.layouts.layouts(screen)) {
            const bool isActive = active && active->id() == layout->id();
            DebugNode entry {tr("Layout %1").arg(++number),
                layout->idText() + (isActive ? tr(" (active)") : QString()), {}};
            if (const std::optional<KeyCombination> keys = m_sources.shortcuts.shortcut(layout->idText()))
                entry.children << DebugNode {tr("Shortcut"), KeyCombinations::toDisplayText(*keys), {}};
            for (const std::shared_ptr<Zone>& zone : layout->zones())
                entry.children << DebugNode {tr("Zone %1").arg(zone->id()), SnapDiagnosis::describeRect(zone->rect()),
                    {}};
            row.children << entry;
        }
        node.children << row;
    }
    return node;
}

DebugNode DebugViewModel::snappedWindowsNode()
{
    const auto& byZone = m_sources.zones.snappedWindowsByZone();
    DebugNode node {tr("Snapped windows"), QString::number(m_sources.zones.snappedWindows().size()), {}};
    QStringList zoneIds = byZone.keys();
    std::sort(zoneIds.begin(), zoneIds.end(), [](const QString& a, const QString& b) { return a.toInt() < b.toInt(); });
    for (const QString& zoneId : zoneIds) {
        DebugNode zone {tr("Zone %1").arg(zoneId), QString(), {}};
        for (const WindowPtr& window : byZone.value(zoneId)) {
            const QSizeF saved = window->initialSize();
            zone.children << DebugNode {windowLabel(*window),
                tr("now %1; size before snapping %2 × %3")
                    .arg(rectText(m_sources.windows.getFrame(*window)))
                    .arg(saved.width())
                    .arg(saved.height()),
                {}};
        }
        zone.value = tr("%n window(s)", nullptr, int(zone.children.size()));
        node.children << zone;
    }
    return node;
}

DebugNode DebugViewModel::gestureNode()
{
    const ZoneGestureMonitor& gestures = m_sources.gestures;
    const WindowDragMonitor& drags = m_sources.drags;
    DebugNode node {tr("Gesture"), gestures.inZoneMode() ? tr("in zone mode") : tr("idle"), {}};
    node.children << DebugNode {tr("Zone mode"), yesNo(gestures.inZoneMode()), {}};
    QString toggledBy = tr("nothing");
    if (gestures.toggledBy() == ToggleDevice::keyboard)
        toggledBy = tr("the keyboard (Shift)");
    else if (gestures.toggledBy() == ToggleDevice::mouse)
        toggledBy = tr("the mouse (right button)");
    node.children << DebugNode {tr("Toggled by"), toggledBy, {}};
    node.children << DebugNode {tr("Multi-zone"), yesNo(gestures.isMultiZone()), {}};
    node.children << DebugNode {tr("Tracked window"),
        drags.trackedWindow() ? windowLabel(*drags.trackedWindow()) : tr("none"), {}};
    node.children << DebugNode {tr("Window moving"), yesNo(drags.isMovingWindow()), {}};
    return node;
}

DebugNode DebugViewModel::shortcutsNode()
{
    GlobalShortcuts& shortcuts = m_sources.shortcuts;
    DebugNode node {tr("Shortcuts"), QString(), {}};
    int held = 0;
    const QStringList windowShortcuts {ShortcutNames::cycleWindowLeft, ShortcutNames::cycleWindowRight,
        ShortcutNames::cycleWindowNext, ShortcutNames::cycleWindowPrev, ShortcutNames::spanWindowLeft,
        ShortcutNames::spanWindowRight};
    for (const QString& name : shortcuts.names()) {
        const std::optional<KeyCombination> keys = shortcuts.shortcut(name);
        // A layout without a shortcut is the rule, not news; the layout rows show theirs.
        if (!keys && shortcuts.defaultShortcut(name) == std::nullopt && !windowShortcuts.contains(name))
            continue;
        QString state;
        if (!keys)
            state = tr("no keys");
        else if (!shortcuts.isEnabled(name))
            state = tr("%1, disabled").arg(KeyCombinations::toDisplayText(*keys));
        else if (shortcuts.isActive(name))
            state = tr("%1, grabbed").arg(KeyCombinations::toDisplayText(*keys));
        else
            state = tr("%1, not grabbed: %2").arg(KeyCombinations::toDisplayText(*keys), shortcuts.unavailableReason(name));
        held += shortcuts.isActive(name) ? 1 : 0;
        node.children << DebugNode {GlobalShortcuts::displayName(name), state, {}};
    }
    node.value = tr("%1 of %2 grabbed").arg(held).arg(node.children.size());
    return node;
}

DebugNode DebugViewModel::desktopNode()
{
    DebugNode node {tr("Desktop"), QGuiApplication::platformName(), {}};
    if (m_sources.desktopFacts) {
        for (const auto& [label, value] : m_sources.desktopFacts())
            node.children << DebugNode {label, value, {}};
    }
    for (QScreen* screen : QGuiApplication::screens())
        node.children << DebugNode {tr("Qt screen %1").arg(screen->name()),
            tr("ratio %1, %2 dpi").arg(screen->devicePixelRatio()).arg(screen->logicalDotsPerInch()), {}};
    return node;
}

QString DebugViewModel::toText(const QList<DebugNode>& nodes)
{
    QString text;
    const std::function<void(const QList<DebugNode>&, int)> write = [&](const QList<DebugNode>& list, int depth) {
        for (const DebugNode& node : list) {
            text += QString(depth * 2, QLatin1Char(' ')) + node.label;
            if (!node.value.isEmpty())
                text += QStringLiteral(": ") + node.value;
            text += QLatin1Char('\n');
            write(node.children, depth + 1);
        }
    };
    write(nodes, 0);
    return text;
}

SnapDiagnosis::Report DebugViewModel::inspectWindowUnderPointer()
{
    const QPointF point = m_sources.screens.pointerLocation();
    return m_diagnosis.diagnose(m_sources.windows.getWindowAtCursor(WindowLookup::Any), point);
}
