#include "views/ZonesViewModel.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "models/Layout.h"
#include "views/ZoneOverlayEngine.h"

ZonesViewModel::ZonesViewModel(Screen screen, std::shared_ptr<Layout> layout, ZoneOverlayEngine& engine,
    const Settings& settings, const ScreenGeometry& screens, QObject* parent)
    : QObject(parent)
    , m_screen(std::move(screen))
    , m_layout(std::move(layout))
    , m_engine(engine)
    , m_settings(settings)
    , m_screens(screens)
{
    if (m_layout)
        connect(m_layout.get(), &Layout::willChange, this, &ZonesViewModel::zonesChanged);
}

ZonesViewModel::~ZonesViewModel()
{
    stopMonitoring();
}

const std::vector<std::shared_ptr<Zone>>& ZonesViewModel::zones() const
{
    static const std::vector<std::shared_ptr<Zone>> none;
    return m_layout ? m_layout->zones() : none;
}

QRectF ZonesViewModel::frameOf(const Zone& zone) const
{
    return zone.usableFrame(m_settings.effectiveGap(), m_screens);
}

QSizeF ZonesViewModel::canvasSize() const
{
    const std::optional<QRectF> frame = m_screens.visibleFrameOf(m_screen);
    return frame ? frame->size() : QSizeF();
}

void ZonesViewModel::startMonitoring()
{
    // Flags live on the layout's zones and outlast an overlay: a multi-zone gesture
    // would otherwise start with the zones the previous one collected.
    clearHighlights();
    m_engine.addGestureObserver(this);
    m_monitoring = true;
    // An overlay shown mid-gesture (rebuilt after a display or panel change) would
    // otherwise show nothing under the pointer, and a release before the next pointer
    // motion would snap nothing.
    highlightZonesWithCursor(false);
}

void ZonesViewModel::stopMonitoring()
{
    if (!m_monitoring)
        return;
    m_engine.removeGestureObserver(this);
    m_monitoring = false;
}

void ZonesViewModel::highlightZonesWithCursor(bool isMultiZone)
{
    const std::vector<std::shared_ptr<Zone>>& all = zones();
    bool flipped = false;
    for (int i = 0; i < int(all.size()); ++i) {
        const Zone& zone = *all[size_t(i)];
        if (isMultiZone && zone.highlighted())
            continue;
        flipped |= setHighlighted(i, m_engine.isCursorInZone(zone));
    }
    if (flipped)
        Q_EMIT highlightsSettled();
}

std::vector<std::shared_ptr<Zone>> ZonesViewModel::highlightedZones() const
{
    std::vector<std::shared_ptr<Zone>> result;
    for (const std::shared_ptr<Zone>& zone : zones()) {
        if (zone->highlighted())
            result.push_back(zone);
    }
    return result;
}

void ZonesViewModel::zoneGestureDidMove(const ZoneGestureEvent& event)
{
    highlightZonesWithCursor(event.isMultiZone);
}

void ZonesViewModel::zoneGestureDidEnd(const ZoneGestureEvent& event, bool canceled)
{
    if (canceled) {
        qCDebug(lcOverlay) << "Zone gesture canceled";
        clearHighlights();
        return;
    }
    const std::vector<std::shared_ptr<Zone>> zones = highlightedZones();
    clearHighlights();
    if (zones.empty()) {
        // Every screen's overlay sees the end; only the one under the pointer has news.
        if (m_engine.isCursorOnScreen(m_screen))
            qCDebug(lcOverlay).noquote() << "Released over no zone of" << m_screen.name() << "- nothing snapped";
        return;
    }
    if (!event.dragEvent || !event.dragEvent->window) {
        qCCritical(lcOverlay) << "Zone gesture ended without a dragged window; nothing snapped";
        return;
    }
    m_engine.snap(event.dragEvent->window, zones);
}

bool ZonesViewModel::setHighlighted(int index, bool highlighted)
{
    Zone& zone = *zones()[size_t(index)];
    if (zone.highlighted() == highlighted)
        return false;
    zone.setHighlighted(highlighted);
    Q_EMIT zoneHighlightChanged(index);
    return true;
}

void ZonesViewModel::clearHighlights()
{
    bool flipped = false;
    for (int i = 0; i < int(zones().size()); ++i)
        flipped |= setHighlighted(i, false);
    if (flipped)
        Q_EMIT highlightsSettled();
}
