#pragma once

#include <QUrl>
#include <QWidget>

// Asks the user to let Parqueta control other applications' windows, where the system
// makes that a grant of its own (macOS's Accessibility list). It stays above ordinary
// windows until the grant arrives; the application closes it then.
class PermissionsWindow final : public QWidget
{
    Q_OBJECT

public:
    // settingsPage: the system settings page holding the grant; the button opens it.
    explicit PermissionsWindow(const QUrl& settingsPage, QWidget* parent = nullptr);

    // Shows the window in front of every other application's.
    void present();

Q_SIGNALS:
    // The button was pressed; the page is being opened.
    void settingsPageRequested(const QUrl& page);
};
