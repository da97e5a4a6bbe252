#include "managers/WindowRestorer.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowManager.h"
#include "managers/ZoneManager.h"
#include "models/Layout.h"
#include "platform/WindowEvents.h"

#include <QHash>

#include <algorithm>

WindowRestorer::WindowRestorer(ZoneManager& zones, ScreenManager& screens, LayoutManager& layouts,
    WindowManager& windows, WindowEvents& events, Settings& settings, QString statePath, QObject* parent)
    : QObject(parent)
    , m_zones(zones)
    , m_screens(screens)
    , m_layouts(layouts)
    , m_windows(windows)
    , m_events(events)
    , m_settings(settings)
    , m_store(std::move(statePath))
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(kSaveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &WindowRestorer::flush);
}

WindowRestorer::~WindowRestorer()
{
    stop();
}

void WindowRestorer::start()
{
    if (m_started)
        return;
    m_started = true;
    for (SnappedWindowRecord& record : m_store.load())
        m_entries.push_back(Entry {std::move(record), nullptr});
    connect(&m_zones, &ZoneManager::windowSnapped, this, &WindowRestorer::recordSnap);
    connect(&m_zones, &ZoneManager::windowUnsnapped, this, &WindowRestorer::forget);
    connect(&m_screens, &ScreenManager::displayReconfiguration, this, &WindowRestorer::handleDisplayChange);
    connect(&m_events, &WindowEvents::windowAppeared, this, &WindowRestorer::handleAppeared);
    m_events.start();
    m_connected = connectedScreenIds();
    const int restored = restore(m_connected);
    qCInfo(lcZones) << "Remembering" << m_entries.size() << "snapped windows; put" << restored << "back";
}

void WindowRestorer::stop()
{
    if (!m_started)
        return;
    m_started = false;
    disconnect(&m_zones, nullptr, this, nullptr);
    disconnect(&m_screens, nullptr, this, nullptr);
    disconnect(&m_events, nullptr, this, nullptr);
    m_events.stop();
    // Windows still in their zones are seen now, even when nothing changed.
    if (std::any_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return entry.window != nullptr; }))
        m_dirty = true;
    flush();
}

bool WindowRestorer::enabled() const
{
    return m_settings.value(Keys::restoreSnappedWindows);
}

std::vector<SnappedWindowRecord> WindowRestorer::records() const
{
    std::vector<SnappedWindowRecord> result;
    for (const Entry& entry : m_entries)
        result.push_back(entry.record);
    return result;
}

QSet<QString> WindowRestorer::connectedScreenIds()
{
    QSet<QString> ids;
    for (const Screen& screen : m_screens.screens())
        ids.insert(screen.id());
    return ids;
}

bool WindowRestorer::isAlive(const WindowPtr& window)
{
    return window && m_windows.getPosition(*window).has_value();
}

WindowRestorer::Entry* WindowRestorer::entryOf(quint32 windowId)
{
    const auto it = std::find_if(m_entries.begin(), m_entries.end(),
        [&](const Entry& entry) { return entry.window && entry.window->id() == windowId; });
    return it == m_entries.end() ? nullptr : &*it;
}

void WindowRestorer::changed()
{
    m_dirty = true;
    m_saveTimer.start();
}

std::vector<std::shared_ptr<Zone>> WindowRestorer::zonesFor(const SnappedWindowRecord& record)
{
    const std::optional<Screen> screen = m_screens.screen(record.screenId);
    if (!screen || !m_screens.displayFor(*screen))
        return {};
    const std::shared_ptr<Layout> layout = m_layouts.activeFor(*screen);
    if (!layout)
        return {};
    std::vector<std::shared_ptr<Zone>> zones;
    for (const QString& id : record.zoneIds) {
        const auto found = std::find_if(layout->zones().begin(), layout->zones().end(),
            [&](const std::shared_ptr<Zone>& zone) { return zone->id() == id; });
        if (found == layout->zones().end()) {
            qCDebug(lcZones).noquote() << QStringLiteral("Zone %1 of a %2 window is not in the active layout of %3; "
                                                         "the window waits")
                                              .arg(id, record.identity.className, screen->name());
            return {};
        }
        zones.push_back(*found);
    }
    return zones;
}

void WindowRestorer::recordSnap(const WindowPtr& window, const QString& screenId, const QStringList& zoneIds)
{
    if (!window || !enabled())
        return;
    m_unsnapped.remove(window->id());
    Entry* entry = entryOf(window->id());
    if (!entry) {
        const std::optional<WindowIdentity> identity = m_windows.identity(*window);
        if (!identity || identity->className.isEmpty()) {
            qCDebug(lcZones) << "Window" << window->id() << "has no class to be known by; not remembered";
            return;
        }
        // The record of an earlier window just like this one on the same screen (closed,
        // or from an earlier session and not restored) is this window's now.
        const auto reusable = std::find_if(m_entries.begin(), m_entries.end(), [&](Entry& candidate) {
            return candidate.record.screenId == screenId && candidate.record.identity == *identity
                && !isAlive(candidate.window);
        });
        entry = reusable != m_entries.end() ? &*reusable : &m_entries.emplace_back();
        entry->record.identity = *identity;
        entry->window = window;
    }
    entry->record.screenId = screenId;
    entry->record.zoneIds = zoneIds;
    entry->record.lastSeen = QDateTime::currentDateTimeUtc();
    changed();
}

void WindowRestorer::forget(quint32 windowId)
{
    if (!enabled())
        return;
    m_unsnapped.insert(windowId);
    const auto erased = std::erase_if(
        m_entries, [&](const Entry& entry) { return entry.window && entry.window->id() == windowId; });
    if (erased > 0)
        changed();
}

int WindowRestorer::restore(const QSet<QString>& screenIds)
{
    if (!enabled())
        return 0;
    struct Candidate
    {
        size_t entry;
        std::vector<std::shared_ptr<Zone>> zones;
        WindowPtr window;
        int score = 0;
    };
    std::vector<Candidate> candidates;
    for (size_t i = 0; i < m_entries.size(); ++i) {
        if (!screenIds.contains(m_entries[i].record.screenId))
            continue;
        std::vector<std::shared_ptr<Zone>> zones = zonesFor(m_entries[i].record);
        if (!zones.empty())
            candidates.push_back(Candidate {i, std::move(zones), nullptr, 0});
    }
    if (candidates.empty())
        return 0;

    const std::vector<WindowPtr> live = m_windows.normalWindows();
    QHash<quint32, WindowPtr> liveById;
    for (const WindowPtr& window : live)
        liveById.insert(window->id(), window);
    QSet<quint32> bound;
    for (Entry& entry : m_entries) {
        if (entry.window && !liveById.contains(entry.window->id()))
            entry.window = nullptr;
        if (entry.window)
            bound.insert(entry.window->id());
    }
    // A record that knows its window in this session gets that window back.
    for (Candidate& candidate : candidates) {
        if (const WindowPtr& window = m_entries[candidate.entry].window)
            candidate.window = liveById.value(window->id());
    }

    // The others by identity: every pair that can match, best first, each window and
    // each record used once; among equals the record seen last wins.
    struct Pair
    {
        int score;
        size_t candidate;
        size_t window;
    };
    std::vector<Pair> pairs;
    std::vector<std::optional<WindowIdentity>> identities(live.size());
    std::vector<bool> identityRead(live.size(), false);
    for (size_t w = 0; w < live.size(); ++w) {
        const WindowPtr& window = live[w];
        if (bound.contains(window->id()) || m_unsnapped.contains(window->id()) || m_zones.isWindowSnapped(*window))
            continue;
        for (size_t c = 0; c < candidates.size(); ++c) {
            if (!identityRead[w]) {
                identities[w] = m_windows.identity(*window);
                identityRead[w] = true;
            }
            if (!identities[w])
                break;
            const int score = WindowIdentity::matchScore(m_entries[candidates[c].entry].record.identity, *identities[w]);
            if (score > 0)
                pairs.push_back(Pair {score, c, w});
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(), [&](const Pair& a, const Pair& b) {
        if (a.score != b.score)
            return a.score > b.score;
        return m_entries[candidates[a.candidate].entry].record.lastSeen
            > m_entries[candidates[b.candidate].entry].record.lastSeen;
    });
    std::vector<bool> taken(live.size(), false);
    for (const Pair& pair : pairs) {
        Candidate& candidate = candidates[pair.candidate];
        if (candidate.window || taken[pair.window])
            continue;
        candidate.window = live[pair.window];
        candidate.score = pair.score;
        taken[pair.window] = true;
    }
    // Windows identical to a record already given one (two terminals started the same
    // way) join it in its zones: they cannot be told apart, and zones hold several windows.
    std::vector<std::pair<WindowPtr, size_t>> extra;
    for (const Pair& pair : pairs) {
        const Candidate& candidate = candidates[pair.candidate];
        if (taken[pair.window] || !candidate.window
            || pair.score != WindowIdentity::bestScore(m_entries[candidate.entry].record.identity))
            continue;
        taken[pair.window] = true;
        extra.emplace_back(live[pair.window], pair.candidate);
    }

    int restored = 0;
    for (const Candidate& candidate : candidates) {
        if (!candidate.window)
            continue;
        Entry& entry = m_entries[candidate.entry];
        entry.window = candidate.window;
        qCInfo(lcZones).noquote() << QStringLiteral("Putting window %1 (%2) back into zones %3 of %4")
                                         .arg(candidate.window->id())
                                         .arg(entry.record.identity.className,
                                             entry.record.zoneIds.join(QLatin1Char(' ')), entry.record.screenId);
        m_zones.snap(candidate.window, candidate.zones);
        ++restored;
    }
    for (const auto& [window, candidate] : extra) {
        m_zones.snap(window, candidates[candidate].zones);
        ++restored;
    }
    return restored;
}

void WindowRestorer::handleDisplayChange()
{
    const QSet<QString> now = connectedScreenIds();
    const QSet<QString> returned = now - m_connected;
    m_connected = now;
    if (returned.isEmpty())
        return;
    const int restored = restore(returned);
    if (restored > 0)
        qCInfo(lcZones) << "A screen came back:" << restored << "windows put back into their zones";
}

void WindowRestorer::handleAppeared(const WindowControl::Handle& handle)
{
    if (!enabled())
        return;
    const WindowPtr window = m_windows.windowFrom(handle);
    if (!window || !m_windows.isNormal(*window) || !m_windows.excludedBy(*window).isEmpty())
        return;
    // Window numbers are used again (X11 hands a new client the id range of one that
    // left): a window that appears is a new one, whatever stood under its number before.
    m_unsnapped.remove(window->id());
    if (Entry* stale = entryOf(window->id()))
        stale->window = nullptr;
    const std::optional<WindowIdentity> identity = m_windows.identity(*window);
    if (!identity)
        return;
    // Only records whose window is gone: a window that still stands in its zones keeps its
    // record, and a second one just like it is a new window, not one coming back.
    Entry* best = nullptr;
    int bestScore = 0;
    std::vector<std::shared_ptr<Zone>> bestZones;
    for (Entry& entry : m_entries) {
        const int score = WindowIdentity::matchScore(entry.record.identity, *identity);
        if (score == 0 || score < bestScore
            || (score == bestScore && best && best->record.lastSeen >= entry.record.lastSeen))
            continue;
        if (entry.window && isAlive(entry.window))
            continue;
        std::vector<std::shared_ptr<Zone>> zones = zonesFor(entry.record);
        if (zones.empty())
            continue;
        best = &entry;
        bestScore = score;
        bestZones = std::move(zones);
    }
    if (!best)
        return;
    best->window = window;
    qCInfo(lcZones).noquote() << QStringLiteral("Window %1 (%2) appeared; snapping it into zones %3 of %4")
                                     .arg(window->id())
                                     .arg(identity->className, best->record.zoneIds.join(QLatin1Char(' ')),
                                         best->record.screenId);
    m_zones.snap(window, bestZones);
}

void WindowRestorer::flush()
{
    m_saveTimer.stop();
    if (!m_dirty)
        return;
    // Windows still there are seen now, under the title they have now.
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (Entry& entry : m_entries) {
        if (!entry.window)
            continue;
        const std::optional<WindowIdentity> identity = m_windows.identity(*entry.window);
        if (identity && !identity->className.isEmpty()) {
            entry.record.identity = *identity;
            entry.record.lastSeen = now;
        }
    }
    std::vector<SnappedWindowRecord> records = this->records();
    if (m_store.save(records, now))
        m_dirty = false;
}
