#pragma once

#include "models/DefaultLayoutType.h"

#include <QList>
#include <QObject>
#include <QPair>
#include <QString>

#include <memory>
#include <optional>

class GlobalShortcuts;
class Layout;
class LayoutManager;
class ScreenManager;

// The three-step first-run guide without its widgets: where the guide stands, the preset
// chosen (applied to every screen at once, so what the user picks is what the next drag
// shows), and the texts that depend on this desktop: the tray and the real keys.
class OnboardingViewModel final : public QObject
{
    Q_OBJECT

public:
    enum class Step { Welcome = 0, ChooseLayout = 1, Done = 2 };

    OnboardingViewModel(LayoutManager& layouts, ScreenManager& screens, GlobalShortcuts& shortcuts, bool trayReachable,
        QObject* parent = nullptr);

    Step step() const { return m_step; }
    bool canGoBack() const { return m_step != Step::Welcome; }
    bool isLastStep() const { return m_step == Step::Done; }
    // Continue; on the last step the guide is finished.
    void next();
    void back();

    // The presets offered, in the order they are installed.
    static QList<DefaultLayoutType> choices();
    static QString choiceName(DefaultLayoutType type);
    // A preset cut for the screen the guide shows, to draw; absent without a screen.
    std::shared_ptr<Layout> preview(DefaultLayoutType type);
    // The preset active now on the first screen, if it is one of the three.
    std::optional<DefaultLayoutType> chosen() const { return m_chosen; }
    // Makes the preset active on every screen that still holds the three presets.
    void choose(DefaultLayoutType type);

    // What the first step says about reaching Parqueta on this desktop.
    QString trayText() const;
    // The six window shortcuts with their keys as this desktop names them.
    QList<QPair<QString, QString>> shortcutRows() const;

Q_SIGNALS:
    void stepChanged(Step step);
    void chosenChanged(DefaultLayoutType type);
    void finished();

private:
    void readChosen();

    LayoutManager& m_layouts;
    ScreenManager& m_screens;
    GlobalShortcuts& m_shortcuts;
    bool m_trayReachable;
    Step m_step = Step::Welcome;
    std::optional<DefaultLayoutType> m_chosen;
};
