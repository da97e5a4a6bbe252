#pragma once

#include "managers/SnappedWindowsStore.h"
#include "models/SnappedWindowRecord.h"
#include "models/Window.h"
#include "models/Zone.h"
#include "platform/WindowControl.h"

#include <QObject>
#include <QSet>
#include <QTimer>

#include <memory>
#include <vector>

class LayoutManager;
class ScreenManager;
class Settings;
class WindowEvents;
class WindowManager;
class ZoneManager;

// Puts windows back into the zones they were snapped into. Every snap and unsnap the
// zone manager announces is recorded with the window's identity (class, role, title,
// command) in the state file; the records outlive the windows, Parqueta and the session.
// Windows that match a record are snapped into its zones again (moved and resized, never
// raised or focused):
//   - when Parqueta starts, on every connected screen;
//   - when a screen comes back (connected now, not before), on that screen;
//   - when a window appears later (its application restarted).
// A record is used only while its screen is connected and that screen's active layout
// has all its zones; otherwise it waits. Records of a screen that is unplugged stay.
// Nothing happens, and nothing is recorded, while restoreSnappedWindows is off.
class WindowRestorer final : public QObject
{
    Q_OBJECT

public:
    // Changes are written this long after the last one, and at stop().
    static constexpr int kSaveDelayMs = 1000;

    WindowRestorer(ZoneManager& zones, ScreenManager& screens, LayoutManager& layouts, WindowManager& windows,
        WindowEvents& events, Settings& settings, QString statePath, QObject* parent = nullptr);
    ~WindowRestorer() override;

    // Reads the state file, starts following snaps, displays and new windows, and puts
    // back every window that matches a record on a connected screen.
    void start();
    // Stops following and writes what changed.
    void stop();

    // Snaps the windows that match records of these screens into their zones; each
    // window at most once. Returns how many were snapped.
    int restore(const QSet<QString>& screenIds);
    // Writes the state file now when something changed since the last write.
    void flush();

    std::vector<SnappedWindowRecord> records() const;

private:
    struct Entry
    {
        SnappedWindowRecord record;
        // The window the record stands for in this session, once known.
        WindowPtr window;
    };

    bool enabled() const;
    void recordSnap(const WindowPtr& window, const QString& screenId, const QStringList& zoneIds);
    void forget(quint32 windowId);
    void handleDisplayChange();
    void handleAppeared(const WindowControl::Handle& handle);
    // The record's zones in its screen's active layout; none unless the screen is
    // connected and every zone is there.
    std::vector<std::shared_ptr<Zone>> zonesFor(const SnappedWindowRecord& record);
    bool isAlive(const WindowPtr& window);
    Entry* entryOf(quint32 windowId);
    QSet<QString> connectedScreenIds();
    void changed();

    ZoneManager& m_zones;
    ScreenManager& m_screens;
    LayoutManager& m_layouts;
    WindowManager& m_windows;
    WindowEvents& m_events;
    Settings& m_settings;
    SnappedWindowsStore m_store;
    std::vector<Entry> m_entries;
    // Windows the user took out of their zones in this session: never put back.
    QSet<quint32> m_unsnapped;
    QSet<QString> m_connected;
    QTimer m_saveTimer;
    bool m_dirty = false;
    bool m_started = false;
};
