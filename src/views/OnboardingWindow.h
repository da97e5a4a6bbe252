#pragma once

#include "views/OnboardingViewModel.h"

#include <QWidget>

class QButtonGroup;
class QLabel;
class QPushButton;
class QStackedWidget;
class QToolButton;

// The first-run guide: what zones are and how to reach them, a first layout to pick,
// and the keys to remember. Keyboard alone: Enter continues, Alt+B goes back, the arrow
// keys move between layouts, Esc closes.
class OnboardingWindow final : public QWidget
{
    Q_OBJECT

public:
    OnboardingWindow(LayoutManager& layouts, ScreenManager& screens, GlobalShortcuts& shortcuts, bool trayReachable,
        QWidget* parent = nullptr);

    OnboardingViewModel& model() { return m_model; }
    void present();

Q_SIGNALS:
    void closed();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* welcomePage();
    QWidget* choicePage();
    QWidget* donePage();
    void showStep(OnboardingViewModel::Step step);
    // The pictures follow the palette (light or dark) and the chosen preset.
    void paintChoices();

    OnboardingViewModel m_model;
    QStackedWidget* m_pages;
    QLabel* m_progress;
    QPushButton* m_back;
    QPushButton* m_next;
    QButtonGroup* m_choices;
    QList<QToolButton*> m_choiceButtons;
};
