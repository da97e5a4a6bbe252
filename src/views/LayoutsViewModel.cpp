#include "views/LayoutsViewModel.h"

#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"

LayoutsViewModel::LayoutsViewModel(LayoutManager& layouts, ScreenManager& screens, QObject* parent)
    : QObject(parent)
    , m_layouts(layouts)
    , m_screenManager(screens)
{
    connect(&m_screenManager, &ScreenManager::displayReconfiguration, this, &LayoutsViewModel::reloadScreens);
    connect(&m_layouts, &LayoutManager::activeLayoutChanged, this, &LayoutsViewModel::changed);
    reloadScreens();
}

void LayoutsViewModel::reloadScreens()
{
    // The screen the user was looking at stays chosen while it is connected; at first it
    // is the one under the pointer, where the window opens.
    const std::optional<Screen> current = m_screenIndex < 0 ? m_screenManager.screenWithMouse() : screen();
    m_screens = m_screenManager.screens();
    m_screenIndex = m_screens.isEmpty() ? -1 : 0;
    if (current) {
        for (qsizetype i = 0; i < m_screens.size(); ++i) {
            if (m_screens[i].id() == current->id())
                m_screenIndex = int(i);
        }
    }
    Q_EMIT changed();
}

std::optional<Screen> LayoutsViewModel::screen() const
{
    if (m_screenIndex < 0 || m_screenIndex >= m_screens.size())
        return std::nullopt;
    return m_screens[m_screenIndex];
}

void LayoutsViewModel::selectScreen(int index)
{
    if (index == m_screenIndex || index < 0 || index >= m_screens.size())
        return;
    m_screenIndex = index;
    Q_EMIT changed();
}

LayoutList LayoutsViewModel::layouts() const
{
    const std::optional<Screen> chosen = screen();
    return chosen ? m_layouts.layouts(*chosen) : LayoutList {};
}

int LayoutsViewModel::activeIndex() const
{
    const std::optional<Screen> chosen = screen();
    if (!chosen)
        return -1;
    const std::shared_ptr<Layout> active = m_layouts.activeFor(*chosen);
    const LayoutList list = layouts();
    for (size_t i = 0; i < list.size(); ++i) {
        if (active && list[i]->id() == active->id())
            return int(i);
    }
    return -1;
}

void LayoutsViewModel::activate(int index)
{
    const LayoutList list = layouts();
    const std::optional<Screen> chosen = screen();
    if (!chosen || index < 0 || size_t(index) >= list.size() || index == activeIndex())
        return;
    m_layouts.setActiveFor(*chosen, list[size_t(index)]);
}

void LayoutsViewModel::edit(int index)
{
    const LayoutList list = layouts();
    const std::optional<Screen> chosen = screen();
    if (chosen && index >= 0 && size_t(index) < list.size())
        Q_EMIT editRequested(*chosen, list[size_t(index)]);
}

void LayoutsViewModel::remove(int index)
{
    const LayoutList list = layouts();
    if (index < 0 || size_t(index) >= list.size())
        return;
    m_layouts.remove(list[size_t(index)]);
    Q_EMIT changed();
}

void LayoutsViewModel::add(std::optional<DefaultLayoutType> preset)
{
    const std::optional<Screen> chosen = screen();
    if (!chosen)
        return;
    const std::shared_ptr<Layout> layout
        = preset ? m_layouts.defaultLayout(*preset, *chosen) : Layout::defaultFor(*chosen, m_screenManager);
    m_layouts.save(layout);
    Q_EMIT changed();
    Q_EMIT editRequested(*chosen, layout);
}
