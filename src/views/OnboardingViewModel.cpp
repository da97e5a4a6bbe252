#include "views/OnboardingViewModel.h"

#include "managers/GlobalShortcuts.h"
#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"

OnboardingViewModel::OnboardingViewModel(
    LayoutManager& layouts, ScreenManager& screens, GlobalShortcuts& shortcuts, bool trayReachable, QObject* parent)
    : QObject(parent)
    , m_layouts(layouts)
    , m_screens(screens)
    , m_shortcuts(shortcuts)
    , m_trayReachable(trayReachable)
{
    readChosen();
}

void OnboardingViewModel::next()
{
    if (m_step == Step::Done) {
        Q_EMIT finished();
        return;
    }
    m_step = static_cast<Step>(int(m_step) + 1);
    Q_EMIT stepChanged(m_step);
}

void OnboardingViewModel::back()
{
    if (!canGoBack())
        return;
    m_step = static_cast<Step>(int(m_step) - 1);
    Q_EMIT stepChanged(m_step);
}

QList<DefaultLayoutType> OnboardingViewModel::choices()
{
    return {DefaultLayoutType::vertical, DefaultLayoutType::rightT, DefaultLayoutType::doubleRightT};
}

QString OnboardingViewModel::choiceName(DefaultLayoutType type)
{
    switch (type) {
    case DefaultLayoutType::vertical:
        return tr("Two halves");
    case DefaultLayoutType::rightT:
        return tr("One wide, two stacked");
    case DefaultLayoutType::doubleRightT:
        return tr("Three columns");
    }
    return {};
}

std::shared_ptr<Layout> OnboardingViewModel::preview(DefaultLayoutType type)
{
    const QList<Screen> screens = m_screens.screens();
    return screens.isEmpty() ? nullptr : m_layouts.defaultLayout(type, screens.first());
}

void OnboardingViewModel::readChosen()
{
    const QList<Screen> screens = m_screens.screens();
    m_chosen.reset();
    if (screens.isEmpty())
        return;
    const LayoutList list = m_layouts.layouts(screens.first());
    const std::shared_ptr<Layout> active = m_layouts.activeFor(screens.first());
    if (list.size() != size_t(choices().size()) || !active)
        return;
    for (DefaultLayoutType type : choices()) {
        if (list.at(size_t(type))->id() == active->id())
            m_chosen = type;
    }
}

void OnboardingViewModel::choose(DefaultLayoutType type)
{
    m_layouts.setActiveLayoutForAllScreens(type);
    m_chosen = type;
    Q_EMIT chosenChanged(type);
}

QString OnboardingViewModel::trayText() const
{
    if (m_trayReachable)
        return tr("Parqueta lives in the tray of your panel. Its menu opens the layout editor, switches layouts and "
                  "leads to Settings.");
    return tr("Your desktop shows no tray icons, so Parqueta has no icon there: launch Parqueta again from the "
              "application menu to open its settings.");
}

QList<QPair<QString, QString>> OnboardingViewModel::shortcutRows() const
{
    QList<QPair<QString, QString>> rows;
    for (const QString& name : {ShortcutNames::cycleWindowLeft, ShortcutNames::cycleWindowRight,
             ShortcutNames::spanWindowLeft, ShortcutNames::spanWindowRight, ShortcutNames::cycleWindowNext,
             ShortcutNames::cycleWindowPrev}) {
        const std::optional<KeyCombination> keys = m_shortcuts.shortcut(name);
        rows.append({GlobalShortcuts::displayName(name),
            keys ? KeyCombinations::toDisplayText(*keys) : tr("none: choose keys in Settings")});
    }
    return rows;
}
