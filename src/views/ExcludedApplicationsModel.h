#pragma once

#include <QObject>
#include <QStringList>

class Settings;
class WindowManager;

// "Never snap these applications" as the General tab edits it: the names as stored, a
// typed name added, one removed, or the class of a window picked with the next click.
// Nothing is kept here: every read goes to excludedApplications and every change writes
// it whole at once, so an edit made elsewhere shows at the view's next refresh.
class ExcludedApplicationsModel final : public QObject
{
    Q_OBJECT

public:
    ExcludedApplicationsModel(Settings& settings, WindowManager& windows, QObject* parent = nullptr);

    QStringList names() const;
    // Adds the name, trimmed; false for an empty one or one the list holds in any case.
    bool add(const QString& name);
    void remove(int index);

    // A pick lasts until the next click (pickUnderPointer) or Escape (cancelPicking).
    bool isPicking() const { return m_picking; }
    void startPicking();
    void cancelPicking();
    // Ends the pick by adding the class of the window under the pointer; false when there
    // is none there, or it is one of Parqueta's own windows.
    bool pickUnderPointer();
    // The pick button's text: what it does, or while picking how to cancel.
    QString pickButtonText() const;

Q_SIGNALS:
    void pickingChanged(bool picking);

private:
    void setPicking(bool picking);

    Settings& m_settings;
    WindowManager& m_windows;
    bool m_picking = false;
};
