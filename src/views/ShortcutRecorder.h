#pragma once

#include "views/ShortcutRecorderModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QToolButton;

// The settings window's control for one named global shortcut: a button showing the keys
// in force; click it and press a combination. A small button beside it goes back to the
// default, and the button's context menu also offers to clear the shortcut. A combination
// that cannot be had is explained in a line under the button.
//
// Children carry object names for tests: "recordButton", "resetButton" and "error".
class ShortcutRecorder final : public QWidget
{
    Q_OBJECT

public:
    ShortcutRecorder(GlobalShortcuts& shortcuts, const QString& name, QWidget* parent = nullptr);
    ~ShortcutRecorder() override;

    ShortcutRecorderModel& model() { return m_model; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showState();

    ShortcutRecorderModel m_model;
    QPushButton* m_button = nullptr;
    QToolButton* m_reset = nullptr;
    QLabel* m_error = nullptr;
};
