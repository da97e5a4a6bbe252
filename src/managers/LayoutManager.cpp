#include "managers/LayoutManager.h"

#include "core/Logging.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/ScreenManager.h"
#include "models/LayoutBridge.h"
#include "models/LayoutFit.h"
#include "models/LayoutPresets.h"

#include <QPointer>
#include <QUuid>

#include <algorithm>

namespace {

// The layout the stored active id names, else the first; null only for an empty list.
std::shared_ptr<Layout> activeIn(const LayoutList& list, const QString& activeId)
{
    const QUuid id = QUuid::fromString(activeId);
    const auto it = std::find_if(list.begin(), list.end(), [&](const auto& layout) { return layout->id() == id; });
    if (it != list.end())
        return *it;
    return list.empty() ? nullptr : list.front();
}

} // namespace

LayoutManager::LayoutManager(Settings& settings, ScreenManager& screens, GlobalShortcuts& shortcuts, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_screens(screens)
    , m_shortcuts(shortcuts)
{
    // A layout's shortcut recorded in the settings window starts working at once.
    connect(&m_shortcuts, &GlobalShortcuts::shortcutChanged, this, [this](const QString& name) {
        for (const auto& [screen, list] : m_cachedLayouts) {
            for (const std::shared_ptr<Layout>& layout : list) {
                if (layout->idText() == name)
                    registerShortcutIfNeeded(layout);
            }
        }
    });
    // A catalogue edited in the file by hand (or synced from elsewhere) replaces the
    // copies handed out so far; every screen's active layout is announced again.
    connect(&m_settings, &Settings::changedExternally, this, [this](const QString& name) {
        if (name != QLatin1String(Keys::layouts.name) && name != QLatin1String(Keys::activeLayouts.name))
            return;
        m_cachedLayouts.clear();
        for (const Screen& screen : m_screens.screens()) {
            if (const std::shared_ptr<Layout> layout = activeFor(screen))
                Q_EMIT activeLayoutChanged(layout);
        }
    });
}

LayoutManager::~LayoutManager() = default;

LayoutList LayoutManager::layouts(const Screen& screen)
{
    if (const auto it = m_cachedLayouts.find(screen); it != m_cachedLayouts.end())
        return it->second;
    LayoutList list = lookupLayouts(screen).value_or(LayoutList {Layout::defaultFor(screen, m_screens)});
    m_cachedLayouts[screen] = list;
    return list;
}

std::optional<LayoutList> LayoutManager::lookupLayouts(const Screen& screen)
{
    QMap<QString, QList<QByteArray>> stored = m_settings.blobLists(Keys::layouts);
    QList<QByteArray> blobs;
    if (const auto it = stored.constFind(screen.id()); it != stored.constEnd()) {
        blobs = *it;
    } else {
        // Catalogues were once kept under the bare display UUID, before the size became
        // part of a screen's identity: the first screen of that display adopts it.
        const std::optional<QString> uuid = m_screens.displayUuidOf(screen);
        if (!uuid || !stored.contains(*uuid))
            return std::nullopt;
        blobs = stored.value(*uuid);
        qCInfo(lcModel).noquote() << "Moving the layouts stored under display" << *uuid << "to screen" << screen.id();
        // Stored under the new key before the old one goes, so a failure between the two
        // writes leaves a copy rather than nothing.
        stored.insert(screen.id(), blobs);
        m_settings.setBlobLists(Keys::layouts, stored);
        stored.remove(*uuid);
        m_settings.setBlobLists(Keys::layouts, stored);
    }

    LayoutList list;
    for (qsizetype i = 0; i < blobs.size(); ++i) {
        if (std::shared_ptr<Layout> layout = LayoutBridge::deserialize(blobs.at(i)))
            list.push_back(std::move(layout));
        else
            qCWarning(lcSettings).noquote() << "Skipping stored layout" << i << "of screen" << screen.id()
                                            << "- it cannot be read; the other layouts are kept";
    }
    if (list.empty())
        return std::nullopt;
    const std::optional<DisplayInfo> display = m_screens.displayFor(screen);
    for (const auto& layout : list) {
        if (display) {
            const QRectF storedRect = layout->root()->rect();
            const QRectF* frame = &display->visibleFrame;
            switch (LayoutFit::fit(*layout->root(), frame->size(), display->frame.size())) {
            case LayoutFit::Result::fits:
                break;
            case LayoutFit::Result::refitted:
                qCWarning(lcModel).noquote() << "Layout" << layout->idText() << "of screen" << screen.id() << "is"
                                             << storedRect.size() << "for a visible frame of" << frame->size()
                                             << "- scaled to fit; the stored copy stays until it is saved again";
                break;
            case LayoutFit::Result::replaced:
                qCWarning(lcModel).noquote() << "Layout" << layout->idText() << "of screen" << screen.id()
                                             << "has zones that do not tile the screen - shown as one zone; the "
                                                "stored copy stays until it is saved again";
                break;
            }
        }
        layout->setScreen(screen);
        registerShortcutIfNeeded(layout);
    }
    return list;
}

std::shared_ptr<Layout> LayoutManager::activeFor(const Screen& screen)
{
    const QString activeId = m_settings.strings(Keys::activeLayouts).value(screen.id());
    return activeIn(layouts(screen), activeId);
}

void LayoutManager::setActiveFor(const Screen& screen, const std::shared_ptr<Layout>& layout)
{
    if (!layout) {
        qCWarning(lcModel).noquote() << "Ignoring a request to activate no layout on screen" << screen.id();
        return;
    }
    QMap<QString, QString> active = m_settings.strings(Keys::activeLayouts);
    active.insert(screen.id(), layout->idText());
    m_settings.setStrings(Keys::activeLayouts, active);
    Q_EMIT activeLayoutChanged(layout);
}

void LayoutManager::activate(const Screen& screen, const std::shared_ptr<Layout>& layout)
{
    if (!layout)
        return;
    setActiveFor(screen, layout);
    Q_EMIT layoutBordersRequested(layout);
}

void LayoutManager::save(const LayoutList& list, const Screen& screen)
{
    LayoutList kept;
    std::copy_if(
        list.begin(), list.end(), std::back_inserter(kept), [](const auto& layout) { return layout != nullptr; });
    if (kept.empty()) {
        // Every screen always has a layout to snap into.
        qCWarning(lcModel).noquote() << "Screen" << screen.id()
                                     << "would be left without layouts; it gets a single zone instead";
        kept.push_back(Layout::defaultFor(screen, m_screens));
    }
    writeCatalogue(screen.id(), kept);
    m_cachedLayouts[screen] = kept;
}

void LayoutManager::save(const std::shared_ptr<Layout>& layout)
{
    if (!layout || !layout->screen())
        return;
    const Screen screen = *layout->screen();
    LayoutList list = catalogueForWrite(screen);
    const auto it
        = std::find_if(list.begin(), list.end(), [&](const auto& other) { return sameLayout(other, layout); });
    if (it != list.end())
        *it = layout;
    else
        list.push_back(layout);
    save(list, screen);
}

void LayoutManager::remove(const std::shared_ptr<Layout>& layout)
{
    if (!layout || !layout->screen())
        return;
    const Screen screen = *layout->screen();
    const LayoutList before = catalogueForWrite(screen);
    LayoutList list = before;
    std::erase_if(list, [&](const auto& other) { return sameLayout(other, layout); });
    if (list.empty())
        list.push_back(Layout::defaultFor(screen, m_screens));

    const std::shared_ptr<Layout> active = activeIn(before, m_settings.strings(Keys::activeLayouts).value(screen.id()));
    unregisterShortcut(layout);
    save(list, screen);
    // Announced once the catalogue holds the successor, so listeners that ask for the
    // active layout in response find it.
    if (sameLayout(active, layout))
        setActiveFor(screen, list.front());
}

void LayoutManager::setDefaultLayouts()
{
    for (const Screen& screen : m_screens.screens()) {
        save(LayoutList {defaultLayout(DefaultLayoutType::vertical, screen),
                 defaultLayout(DefaultLayoutType::rightT, screen),
                 defaultLayout(DefaultLayoutType::doubleRightT, screen)},
            screen);
    }
}

void LayoutManager::setActiveLayoutForAllScreens(DefaultLayoutType type)
{
    for (const Screen& screen : m_screens.screens()) {
        const LayoutList list = layouts(screen);
        // The preset is picked by position, which only means something while the
        // catalogue is still the three presets setDefaultLayouts() wrote.
        if (list.size() != 3) {
            qCDebug(lcModel).noquote() << "Screen" << screen.id() << "has" << list.size()
                                       << "layouts, not the three presets; no preset activated from here on";
            return;
        }
        setActiveFor(screen, list.at(static_cast<size_t>(type)));
    }
}

std::shared_ptr<Layout> LayoutManager::defaultLayout(DefaultLayoutType type, const Screen& screen)
{
    return ::defaultLayout(type, screen, m_screens);
}

void LayoutManager::registerShortcutIfNeeded(const std::shared_ptr<Layout>& layout)
{
    if (!layout)
        return;
    const QString name = layout->idText();
    if (!m_shortcuts.isRecorded(name)) {
        m_shortcuts.disable(name);
        return;
    }
    // One handler per layout, however often this runs (every load, every recording).
    m_shortcuts.removeHandlers(name);
    m_shortcuts.onKeyDown(name, [manager = QPointer<LayoutManager>(this), layout] {
        const std::optional<Screen> screen = layout->screen();
        if (!screen || !manager)
            return;
        manager->activate(*screen, layout);
    });
    m_shortcuts.enable(name);
}

void LayoutManager::unregisterShortcut(const std::shared_ptr<Layout>& layout)
{
    if (!layout)
        return;
    const QString name = layout->idText();
    m_shortcuts.disable(name);
    m_shortcuts.removeHandlers(name);
}

LayoutList LayoutManager::catalogueForWrite(const Screen& screen)
{
    if (const auto it = m_cachedLayouts.find(screen); it != m_cachedLayouts.end())
        return it->second;
    // Nothing handed out yet: start from what is stored rather than from nothing, so a
    // single save cannot wipe a catalogue that was never loaded.
    return lookupLayouts(screen).value_or(LayoutList {});
}

void LayoutManager::writeCatalogue(const QString& screenId, const LayoutList& list)
{
    QList<QByteArray> blobs;
    for (const auto& layout : list) {
        if (const std::optional<QByteArray> blob = LayoutBridge::serialize(layout))
            blobs.append(*blob);
        else
            qCWarning(lcSettings).noquote()
                << "Layout" << layout->idText() << "of screen" << screenId << "cannot be encoded and is not stored";
    }
    // Other screens' entries go back exactly as they were read.
    QMap<QString, QList<QByteArray>> stored = m_settings.blobLists(Keys::layouts);
    stored.insert(screenId, blobs);
    m_settings.setBlobLists(Keys::layouts, stored);
}
