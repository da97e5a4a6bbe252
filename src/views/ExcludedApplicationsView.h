#pragma once

#include <QWidget>

class ExcludedApplicationsModel;
class QLineEdit;
class QListWidget;
class QPushButton;
class SettingsBinder;
class WindowManager;

// The General tab's "Never snap these applications": the list of class names, a field
// whose Enter adds the name typed, Remove (or Delete in the list) for the selected one,
// and "Pick a window…", which holds the pointer until the next click and adds the class
// of the window clicked (Esc cancels).
class ExcludedApplicationsView final : public QWidget
{
    Q_OBJECT

public:
    ExcludedApplicationsView(SettingsBinder& binder, WindowManager& windows, QWidget* parent = nullptr);

    ExcludedApplicationsModel& model() const { return *m_model; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void refresh();
    void addTyped();
    void removeSelected();
    void showPicking(bool picking);

    ExcludedApplicationsModel* m_model;
    QListWidget* m_list;
    QLineEdit* m_name;
    QPushButton* m_add;
    QPushButton* m_remove;
    QPushButton* m_pick;
};
