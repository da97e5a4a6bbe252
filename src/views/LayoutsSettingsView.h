#pragma once

#include <QWidget>

#include <functional>

class QComboBox;
class QListWidget;
class QPushButton;
class QVBoxLayout;
class Layout;
class LayoutsViewModel;

// The Layouts tab: a screen picker, the screen's layouts as small pictures of their
// zones (the active one marked, chosen with one click), and Edit, Remove, Add and a
// shortcut for the layout picked.
class LayoutsSettingsView final : public QWidget
{
    Q_OBJECT

public:
    // recorderFor makes the shortcut control of a layout (named after its UUID text).
    using RecorderFactory = std::function<QWidget*(const QString& shortcutName, QWidget* parent)>;
    LayoutsSettingsView(LayoutsViewModel& model, RecorderFactory recorderFor, QWidget* parent = nullptr);

    // The small picture of a layout's zones, as in the list and the tray's Layouts menu.
    static QPixmap picture(const Layout& layout, QSize size, const QPalette& palette, bool active);

    // Asks before removing; tests answer instead of a user.
    using Confirmation = std::function<bool(const QString& question)>;
    void setConfirmation(Confirmation confirm) { m_confirm = std::move(confirm); }

private:
    void reload();
    void showShortcutOf(int index);
    int pickedIndex() const;

    LayoutsViewModel& m_model;
    RecorderFactory m_recorderFor;
    Confirmation m_confirm;
    QComboBox* m_screens;
    QListWidget* m_list;
    QPushButton* m_edit;
    QPushButton* m_remove;
    QVBoxLayout* m_shortcutBox;
    QWidget* m_recorder = nullptr;
    bool m_reloading = false;
};
