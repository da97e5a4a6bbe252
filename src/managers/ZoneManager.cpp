#include "managers/ZoneManager.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenCoordinates.h"
#include "managers/ScreenManager.h"
#include "managers/WindowManager.h"
#include "managers/ZoneGestureMonitor.h"
#include "models/Layout.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace {

// Points on the left and top edges are inside, points on the right and bottom edges are
// not, so a point on a shared border belongs to exactly one zone.
bool rectContains(const QRectF& rect, QPointF point)
{
    return ScreenCoordinates::frameContains(rect, point);
}

// Overlap with a non-empty area; a rectangle without area (or with a negative extent)
// intersects nothing, and touching edges do not count.
bool rectsIntersect(const QRectF& a, const QRectF& b)
{
    if (a.width() <= 0 || a.height() <= 0 || b.width() <= 0 || b.height() <= 0)
        return false;
    return a.x() < b.x() + b.width() && b.x() < a.x() + a.width() && a.y() < b.y() + b.height()
        && b.y() < a.y() + a.height();
}

// The smallest rectangle holding both; rectangles with a negative extent count by their
// extreme coordinates.
QRectF unite(const QRectF& a, const QRectF& b)
{
    const QRectF na = a.normalized();
    const QRectF nb = b.normalized();
    const double left = std::min(na.left(), nb.left());
    const double top = std::min(na.top(), nb.top());
    const double right = std::max(na.x() + na.width(), nb.x() + nb.width());
    const double bottom = std::max(na.y() + na.height(), nb.y() + nb.height());
    return QRectF(left, top, right - left, bottom - top);
}

bool holds(const std::vector<WindowPtr>& windows, quint32 id)
{
    return std::any_of(windows.begin(), windows.end(), [id](const WindowPtr& w) { return w && w->id() == id; });
}

} // namespace

ZoneManager::ZoneManager(ScreenManager& screens, LayoutManager& layouts, WindowManager& windows,
    ZoneGestureMonitor& gestures, GlobalShortcuts& shortcuts, Settings& settings, OverlayFactory& overlays,
    QObject* parent)
    : QObject(parent)
    , m_screens(screens)
    , m_layouts(layouts)
    , m_windows(windows)
    , m_gestures(gestures)
    , m_shortcuts(shortcuts)
    , m_settings(settings)
    , m_overlays(overlays)
{
    // The handlers outlive nothing: once the manager is gone a press does nothing.
    const QPointer<ZoneManager> self(this);
    const auto bind
        = [&](const QString& name, void (ZoneManager::*operation)(ZoneCycleDirection), ZoneCycleDirection direction) {
              m_shortcuts.onKeyDown(name, [self, operation, direction] {
                  if (self)
                      (self.data()->*operation)(direction);
              });
          };
    bind(ShortcutNames::cycleWindowLeft, &ZoneManager::handleCycleMove, ZoneCycleDirection::left);
    bind(ShortcutNames::cycleWindowRight, &ZoneManager::handleCycleMove, ZoneCycleDirection::right);
    bind(ShortcutNames::cycleWindowNext, &ZoneManager::handleCycleSwap, ZoneCycleDirection::up);
    bind(ShortcutNames::cycleWindowPrev, &ZoneManager::handleCycleSwap, ZoneCycleDirection::down);
    bind(ShortcutNames::spanWindowLeft, &ZoneManager::onSpanWindow, ZoneCycleDirection::left);
    bind(ShortcutNames::spanWindowRight, &ZoneManager::onSpanWindow, ZoneCycleDirection::right);
}

ZoneManager::~ZoneManager()
{
    stopObserving();
    removeOverlayWindows();
}

void ZoneManager::startObserving()
{
    m_gestures.addObserver(this);
}

void ZoneManager::stopObserving()
{
    m_gestures.removeObserver(this);
}

void ZoneManager::zoneGestureDidStart(const ZoneGestureEvent& event)
{
    Q_UNUSED(event);
    showOverlayWindows();
}

void ZoneManager::zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled)
{
    Q_UNUSED(event);
    Q_UNUSED(canceled);
    removeOverlayWindows();
}

void ZoneManager::showOverlayWindows()
{
    for (const Screen& screen : m_screens.screens()) {
        auto it = std::find_if(
            m_overlayWindows.begin(), m_overlayWindows.end(), [&](const auto& entry) { return entry.first == screen; });
        if (it == m_overlayWindows.end()) {
            std::unique_ptr<OverlayWindow> overlay = m_overlays.createOverlay(screen, m_layouts.activeFor(screen));
            if (!overlay) {
                qCDebug(lcZones) << "No overlay for screen" << screen.id() << "- its display is not connected";
                continue;
            }
            m_overlayWindows.emplace_back(screen, std::move(overlay));
            it = std::prev(m_overlayWindows.end());
        }
        it->second->show();
    }
}

void ZoneManager::removeOverlayWindows()
{
    // Taken out first: hiding may run code that asks for the overlays again.
    auto overlays = std::move(m_overlayWindows);
    m_overlayWindows.clear();
    for (auto& [screen, overlay] : overlays) {
        overlay->hide();
        overlay.reset();
    }
}

void ZoneManager::prepareOverlayWindows()
{
    if (m_preparePending)
        return;
    m_preparePending = true;
    QTimer::singleShot(0, this, [this] {
        m_preparePending = false;
        // Zone mode came on meanwhile: its overlays are made already.
        if (hasOverlays())
            return;
        for (const Screen& screen : m_screens.screens())
            m_overlays.prepareOverlay(screen, m_layouts.activeFor(screen));
    });
}

bool ZoneManager::isCursorInZone(const Zone& zone) const
{
    // One read: on X11 each is a round trip to the server, made for every zone of every
    // screen on every drag step; and both questions below must see the same position.
    const QPointF pointer = m_screens.pointerLocation();
    // Screens are equal by id; comparing ids spares decoding the stored screen for
    // every zone of every screen on every drag step.
    const std::optional<QString> mouseScreenId = m_screens.screenIdWithPoint(pointer);
    if (!mouseScreenId)
        return false;
    // A zone on another screen is never hit, whatever its local coordinates say.
    if (!zone.screen() || zone.screen()->id() != *mouseScreenId)
        return false;
    const std::optional<QPointF> point = m_screens.positionInVisibleFrame(*zone.screen(), pointer);
    if (!point)
        return false;

    const double distance = m_settings.value(Keys::autoSpanDistance);
    if (!m_settings.value(Keys::spanAdjancedZones) || !(distance > 0))
        return rectContains(zone.rect(), *point);

    // While spanning, the pointer counts as a square, so near a border it lies in both
    // neighbouring zones at once.
    const double side = std::max(distance, 1.0);
    const QRectF square(point->x() - side / 2, point->y() - side / 2, side, side);
    return rectsIntersect(square, zone.rect());
}

bool ZoneManager::isCursorOnScreen(const Screen& screen) const
{
    return m_screens.screenIdWithPoint(m_screens.pointerLocation()) == screen.id();
}

void ZoneManager::snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones)
{
    if (!window || zones.empty())
        return;
    const double gap = m_settings.effectiveGap();
    std::optional<QRectF> united;
    for (const std::shared_ptr<Zone>& zone : zones) {
        if (!zone)
            return;
        const QRectF frame = zone->usableFrame(gap, m_screens);
        if (frame != zone->visibleFrame(gap, m_screens))
            qCInfo(lcZones).noquote() << "A gap of" << gap << "would leave nothing of zone" << zone->id()
                                      << "- snapping to the whole zone";
        united = united ? unite(*united, frame) : frame;
    }
    const std::optional<Screen>& screen = zones.front()->screen();
    if (!screen)
        return;
    // Whatever the stored tree says, a window is never sized beyond its screen.
    if (const std::optional<QRectF> visible = m_screens.visibleFrameOf(*screen)) {
        const QRectF clamped = united->intersected(QRectF(QPointF(0, 0), visible->size()));
        if (clamped.width() < Zone::kMinimumExtent || clamped.height() < Zone::kMinimumExtent) {
            qCWarning(lcZones) << "Not snapping into" << *united << "- it lies outside the visible frame of"
                               << screen->name();
            return;
        }
        if (clamped != *united)
            qCInfo(lcZones) << "Zone frame" << *united << "cut to the visible frame of" << screen->name();
        united = clamped;
    }
    // The whole union is placed relative to the first zone's screen.
    const std::optional<QRectF> target = m_screens.layoutToDesktop(*screen, *united);
    if (!target) {
        qCDebug(lcZones) << "Cannot snap: screen" << screen->id() << "is not connected";
        return;
    }

    // The record kept is the one taken at the window's first snap, just before it moves:
    // its size is what an unsnap restores. A window snapped again keeps it (later records
    // carry a zone's size). The caller's record is not used for a first snap: a drag's
    // record dates from the drag's start, possibly in an old zone, and the unsnap at the
    // drag's end has just given the window its earlier size back.
    WindowPtr keep = m_snappedWindows.value(window->id());
    if (!keep && window->handle())
        keep = m_windows.windowFrom(window->handle());
    if (!keep)
        keep = window;

    m_windows.setFrame(*window, *target);
    removeSnappedWindow(*window);
    addSnappedWindow(keep, zones);
    QStringList zoneIds;
    for (const std::shared_ptr<Zone>& zone : zones)
        zoneIds.append(zone->id());
    Q_EMIT windowSnapped(window, screen->id(), zoneIds);
}

void ZoneManager::unsnap(const WindowPtr& window)
{
    if (!window)
        return;
    const WindowPtr stored = m_snappedWindows.value(window->id());
    if (!stored)
        return;
    removeSnappedWindow(*window);
    // The size from before the first snap; the position stays where the user dropped it.
    if (m_settings.value(Keys::restoreSizeOnUnsnap))
        m_windows.setSize(*window, stored->initialSize());
    Q_EMIT windowUnsnapped(window->id());
}

void ZoneManager::addSnappedWindow(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones)
{
    // No zone, no record: a window is known exactly while it stands in some zone.
    if (!window || std::none_of(zones.begin(), zones.end(), [](const auto& zone) { return zone != nullptr; }))
        return;
    m_snappedWindows.insert(window->id(), window);
    for (const std::shared_ptr<Zone>& zone : zones) {
        if (!zone)
            continue;
        if (zone->screen())
            m_snappedScreens.insert(window->id(), zone->screen()->id());
        std::vector<WindowPtr>& list = m_snappedWindowsByZone[zone->id()];
        if (!holds(list, window->id()))
            list.push_back(window);
    }
}

void ZoneManager::removeSnappedWindow(const Window& window)
{
    const quint32 id = window.id();
    m_snappedWindows.remove(id);
    m_snappedScreens.remove(id);
    for (auto it = m_snappedWindowsByZone.begin(); it != m_snappedWindowsByZone.end();) {
        std::vector<WindowPtr>& list = it.value();
        list.erase(std::remove_if(list.begin(), list.end(), [id](const WindowPtr& w) { return !w || w->id() == id; }),
            list.end());
        it = list.empty() ? m_snappedWindowsByZone.erase(it) : std::next(it);
    }
}

bool ZoneManager::isWindowSnapped(const Window& window) const
{
    return m_snappedWindows.contains(window.id());
}

std::optional<QString> ZoneManager::zoneId(const Window& window) const
{
    // For a window spanning zones this is one of them, not a defined one.
    for (auto it = m_snappedWindowsByZone.cbegin(); it != m_snappedWindowsByZone.cend(); ++it) {
        if (holds(it.value(), window.id()))
            return it.key();
    }
    return std::nullopt;
}

void ZoneManager::cleanSnappedWindowsByZone(const QString& zoneId)
{
    auto it = m_snappedWindowsByZone.find(zoneId);
    if (it == m_snappedWindowsByZone.end())
        return;
    // Closed windows are noticed only here, when a cycle touches their zone.
    std::vector<WindowPtr> kept;
    std::vector<WindowPtr> gone;
    for (const WindowPtr& window : it.value()) {
        if (m_windows.getSize(*window) && m_windows.getPosition(*window))
            kept.push_back(window);
        else
            gone.push_back(window);
    }
    if (kept.empty())
        m_snappedWindowsByZone.erase(it);
    else
        it.value() = std::move(kept);

    // A vanished window that stands in no other zone is forgotten altogether.
    for (const WindowPtr& window : gone) {
        const bool elsewhere = std::any_of(m_snappedWindowsByZone.cbegin(), m_snappedWindowsByZone.cend(),
            [&](const std::vector<WindowPtr>& list) { return holds(list, window->id()); });
        if (!elsewhere)
            m_snappedWindows.remove(window->id());
    }
}

void ZoneManager::moveWindowsToZones(const std::shared_ptr<Layout>& layout)
{
    if (!layout || !layout->screen() || !m_settings.value(Keys::moveWindowsOnLayoutChange))
        return;
    const QString screenId = layout->screen()->id();
    std::vector<std::pair<WindowPtr, QStringList>> onScreen;
    for (auto it = m_snappedScreens.cbegin(); it != m_snappedScreens.cend(); ++it) {
        if (it.value() != screenId)
            continue;
        const WindowPtr window = m_snappedWindows.value(it.key());
        if (!window)
            continue;
        QStringList zoneIds;
        for (auto zone = m_snappedWindowsByZone.cbegin(); zone != m_snappedWindowsByZone.cend(); ++zone) {
            if (holds(zone.value(), window->id()))
                zoneIds.append(zone.key());
        }
        onScreen.emplace_back(window, zoneIds);
    }
    for (const auto& [window, zoneIds] : onScreen) {
        std::vector<std::shared_ptr<Zone>> zones;
        for (const std::shared_ptr<Zone>& zone : layout->zones()) {
            if (zoneIds.contains(zone->id()))
                zones.push_back(zone);
        }
        if (zones.empty() || !m_windows.getPosition(*window)) {
            qCInfo(lcZones).noquote() << "Window" << window->id() << "no longer stands in a zone of"
                                      << layout->screen()->name() << "; left where it is";
            removeSnappedWindow(*window);
            continue;
        }
        snap(window, zones);
    }
}

std::optional<ZoneManager::FocusedPlacement> ZoneManager::focusedPlacement()
{
    FocusedPlacement placement;
    placement.window = m_windows.getFocusedWindow();
    if (!placement.window)
        return std::nullopt;
    const std::optional<QPointF> position = m_windows.getPosition(*placement.window);
    const std::optional<QSizeF> size = m_windows.getSize(*placement.window);
    if (!position || !size)
        return std::nullopt;
    placement.frame = QRectF(*position, *size);
    const std::optional<Screen> screen = m_screens.screenWithPoint(*position);
    if (!screen)
        return std::nullopt;
    const std::shared_ptr<Layout> layout = m_layouts.activeFor(*screen);
    if (!layout || layout->zones().empty())
        return std::nullopt;
    placement.zones = layout->zones();
    if (m_settings.value(Keys::shortcutsOnEveryScreen)) {
        const std::optional<QRectF> visible = m_screens.visibleFrameOf(*screen);
        if (!visible)
            return std::nullopt;
        placement.frame.translate(-visible->topLeft());
    }
    return placement;
}

void ZoneManager::handleCycleMove(ZoneCycleDirection direction)
{
    if (direction != ZoneCycleDirection::left && direction != ZoneCycleDirection::right) {
        qCCritical(lcZones) << "called with invalid direction:" << direction;
        return;
    }
    const std::optional<FocusedPlacement> placement = focusedPlacement();
    if (!placement)
        return;
    const auto& zones = placement->zones;
    const int n = static_cast<int>(zones.size());

    // Unless shortcutsOnEveryScreen is on, the window's desktop position is compared with
    // the zones' layout rectangles as they stand, without converting one into the
    // other's space.
    const QPointF probe = placement->frame.topLeft() + QPointF(50, 50);
    const auto found = std::find_if(zones.begin(), zones.end(),
        [&](const std::shared_ptr<Zone>& zone) { return rectContains(zone->rect(), probe); });
    if (found == zones.end())
        return;
    const int i = static_cast<int>(found - zones.begin());
    // Moving wraps around at both ends.
    const int next = direction == ZoneCycleDirection::left ? (i + n - 1) % n : (i + n + 1) % n;
    snap(placement->window, {zones[next]});
}

void ZoneManager::handleCycleSwap(ZoneCycleDirection direction)
{
    if (direction != ZoneCycleDirection::up && direction != ZoneCycleDirection::down) {
        qCCritical(lcZones) << "called with invalid direction:" << direction;
        return;
    }
    const WindowPtr focused = m_windows.getFocusedWindow();
    if (!focused)
        return;
    const std::optional<QString> zone = zoneId(*focused);
    if (!zone)
        return;

    cleanSnappedWindowsByZone(*zone);
    const auto it = m_snappedWindowsByZone.constFind(*zone);
    if (it == m_snappedWindowsByZone.constEnd() || it.value().empty()) {
        // Every window of the zone vanished, the focused one included.
        qCCritical(lcZones) << "no normal windows in zone";
        return;
    }
    std::vector<WindowPtr> windows = it.value();
    if (m_settings.value(Keys::shortcutsOnEveryScreen)) {
        // Zone ids repeat on every screen: keep the focused window's screen only.
        const QString screenId = m_snappedScreens.value(focused->id());
        std::erase_if(windows, [&](const WindowPtr& w) { return m_snappedScreens.value(w->id()) != screenId; });
    }
    const auto found = std::find_if(
        windows.begin(), windows.end(), [&](const WindowPtr& window) { return window->id() == focused->id(); });
    if (found == windows.end())
        return;

    const int count = static_cast<int>(windows.size());
    const int i = static_cast<int>(found - windows.begin());
    const int step = direction == ZoneCycleDirection::up ? 1 : -1;
    // With one window in the zone the target is the window itself, raised again.
    const WindowPtr target = windows[(i + step + count) % count];
    if (!m_windows.focus(*target))
        qCCritical(lcZones) << "failed to focus window";
}

void ZoneManager::onSpanWindow(ZoneCycleDirection direction)
{
    const std::optional<FocusedPlacement> placement = focusedPlacement();
    if (!placement)
        return;
    const auto& zones = placement->zones;
    const int n = static_cast<int>(zones.size());

    // The zones whose centre lies inside the window, in layout order; the same raw
    // comparison of desktop and layout coordinates as the move.
    std::vector<int> covered;
    for (int index = 0; index < n; ++index) {
        if (rectContains(placement->frame, zones[index]->rect().center()))
            covered.push_back(index);
    }
    if (covered.empty())
        return;

    std::vector<std::shared_ptr<Zone>> target;
    for (const int index : covered)
        target.push_back(zones[index]);

    if (covered.size() == 1) {
        const int i = covered.front();
        if (direction == ZoneCycleDirection::right && i < n - 1) {
            snap(placement->window, {zones[i], zones[i + 1]});
            return;
        }
        // Spanning right from the last zone falls through to spanning left.
        if (i >= 1)
            snap(placement->window, {zones[i], zones[i - 1]});
        return;
    }

    // Already over several zones: grow by one neighbour, never shrink, never wrap.
    if (direction == ZoneCycleDirection::right) {
        const int last = covered.back();
        if (last >= n - 1)
            return;
        target.push_back(zones[last + 1]);
    } else {
        const int first = covered.front();
        if (first < 1)
            return;
        target.push_back(zones[first - 1]);
    }
    snap(placement->window, target);
}
