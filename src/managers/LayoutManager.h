#pragma once

#include "models/DefaultLayoutType.h"
#include "models/Layout.h"
#include "models/Screen.h"

#include <QObject>

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

class GlobalShortcuts;
class ScreenManager;
class Settings;

using LayoutList = std::vector<std::shared_ptr<Layout>>;

// The layout catalogue of every screen and the one active layout of each. Catalogues
// live in the `layouts` setting (screen id -> list of Layout JSON), the active ids in
// `activeLayouts` (screen id -> UUID text). A screen's catalogue is read from the store
// once and then cached: the cache is authoritative, later reads never go back to the
// store. Every write reads the whole map, changes one screen's entry and writes it back,
// so the other screens' entries survive. Each layout may carry a global shortcut named
// after its UUID text that makes it the active layout of its screen.
class LayoutManager final : public QObject
{
    Q_OBJECT

public:
    LayoutManager(Settings& settings, ScreenManager& screens, GlobalShortcuts& shortcuts, QObject* parent = nullptr);
    ~LayoutManager() override;

    // The cached catalogue, else the stored one, else a single-zone layout that is not
    // stored until something is saved. Never empty; the answer is cached.
    LayoutList layouts(const Screen& screen);

    // The stored catalogue of the screen (moving one kept under the display's bare UUID
    // to the screen id), each layout bound to the screen and its shortcut registered;
    // nothing when there is none or it is empty. Bypasses and does not fill the cache.
    std::optional<LayoutList> lookupLayouts(const Screen& screen);

    // The layout named in activeLayouts, else the first of the catalogue.
    std::shared_ptr<Layout> activeFor(const Screen& screen);
    // Stores the layout's id as the screen's active layout, then announces it.
    void setActiveFor(const Screen& screen, const std::shared_ptr<Layout>& layout);
    // What a layout's own shortcut does: setActiveFor(), then its borders are shown.
    void activate(const Screen& screen, const std::shared_ptr<Layout>& layout);

    // Replaces the screen's catalogue in the store and in the cache. An empty list would
    // leave the screen nothing to snap into: it is stored as a single-zone layout instead.
    void save(const LayoutList& list, const Screen& screen);
    // Replaces the layout with the same id in its screen's catalogue, or appends it, and
    // saves the catalogue. A layout without a screen is ignored.
    void save(const std::shared_ptr<Layout>& layout);
    // Takes the layout out of its screen's catalogue; a catalogue left empty gets a
    // single-zone layout. A removed active layout hands over to the first one left.
    void remove(const std::shared_ptr<Layout>& layout);

    // Gives every connected screen the three presets, replacing what it had.
    void setDefaultLayouts();
    // Activates the preset of that type on every screen, by position in the catalogue;
    // stops at the first screen whose catalogue does not hold exactly three layouts.
    void setActiveLayoutForAllScreens(DefaultLayoutType type);
    // A new preset layout (fresh id) bound to the screen.
    std::shared_ptr<Layout> defaultLayout(DefaultLayoutType type, const Screen& screen);

    // Binds the layout's recorded shortcut (name: its UUID text, no default) to making it
    // active; a name without a recorded shortcut is disabled.
    void registerShortcutIfNeeded(const std::shared_ptr<Layout>& layout);
    void unregisterShortcut(const std::shared_ptr<Layout>& layout);

Q_SIGNALS:
    // The application-wide "activeLayoutChanged" notification.
    void activeLayoutChanged(std::shared_ptr<Layout> layout);
    // A layout's shortcut was pressed: show the layout's borders on its screen.
    void layoutBordersRequested(std::shared_ptr<Layout> layout);

private:
    // The cached catalogue, else the stored one (loaded, not cached), else nothing.
    LayoutList catalogueForWrite(const Screen& screen);
    void writeCatalogue(const QString& screenId, const LayoutList& list);

    Settings& m_settings;
    ScreenManager& m_screens;
    GlobalShortcuts& m_shortcuts;
    std::unordered_map<Screen, LayoutList> m_cachedLayouts;
};
