#pragma once

#include "managers/UpdateCheckResult.h"

#include <QDialog>
#include <QUrl>

#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;

// The answer to "Check for updates…": a busy state while the check runs, then what it
// found. An available update shows its notes as plain text (nothing in them is loaded
// or followed) and a Download button that hands the address to the browser; Parqueta
// itself downloads and installs nothing. Non-modal, and usable with the keyboard alone:
// Return takes the default button, Escape closes, the notes scroll once tabbed into.
class UpdateDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit UpdateDialog(QWidget* parent = nullptr);

    // "Checking for updates…" with a busy bar, until showResult().
    void showChecking();
    void showResult(const UpdateCheckResult& result);
    // Where Download and Release Notes send their address; the desktop's browser
    // (QDesktopServices) unless set. Tests set it so no browser starts.
    void setUrlOpener(std::function<void(const QUrl&)> opener);
    // Shows the dialog, or brings the open one forward.
    void present();

private:
    void openUrl(const QUrl& url);
    void setButtons(bool updateAvailable);

    QLabel* m_heading;
    QLabel* m_message;
    QProgressBar* m_busy;
    QTextBrowser* m_notes;
    QPushButton* m_download;
    QPushButton* m_releaseNotes;
    QPushButton* m_close;
    QUrl m_downloadUrl;
    QUrl m_releaseNotesUrl;
    std::function<void(const QUrl&)> m_openUrl;
};
