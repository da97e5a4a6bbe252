#pragma once

#include "managers/LayoutManager.h"
#include "models/DefaultLayoutType.h"
#include "models/Layout.h"
#include "models/Screen.h"

#include <QObject>

#include <optional>

class ScreenManager;

// The Layouts tab without pixels: the connected screens, the chosen screen's catalogue
// with its active layout, and what the tab's buttons do to them.
class LayoutsViewModel final : public QObject
{
    Q_OBJECT

public:
    LayoutsViewModel(LayoutManager& layouts, ScreenManager& screens, QObject* parent = nullptr);

    QList<Screen> screens() const { return m_screens; }
    // -1 while no screen is connected.
    int screenIndex() const { return m_screenIndex; }
    void selectScreen(int index);

    LayoutList layouts() const;
    int activeIndex() const;

    // One click on a layout makes it the screen's active layout.
    void activate(int index);
    // Opens the zone editor on that layout (editRequested).
    void edit(int index);
    // Takes the layout out; the last one of a screen leaves a single zone behind.
    void remove(int index);
    // A new layout from a preset, or a single zone without one, saved at once and
    // opened in the editor.
    void add(std::optional<DefaultLayoutType> preset);

Q_SIGNALS:
    // Screens, catalogue or active layout changed: read everything again.
    void changed();
    void editRequested(const Screen& screen, const std::shared_ptr<Layout>& layout);

private:
    void reloadScreens();
    std::optional<Screen> screen() const;

    LayoutManager& m_layouts;
    ScreenManager& m_screenManager;
    QList<Screen> m_screens;
    int m_screenIndex = -1;
};
