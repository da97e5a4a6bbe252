#pragma once

#include <QString>
#include <QWidget>

// A small window with the icon, name, version and build, a short description, the
// licence, and where the settings and the log are kept (the first things a bug report
// needs); it opens the debug window.
class AboutWindow final : public QWidget
{
    Q_OBJECT

public:
    struct Details
    {
        // "0.1.0 (57)", with "-beta" for a pre-release build.
        QString versionText;
        // Empty entries are left out.
        QString settingsLocation;
        QString logLocation;
    };

    explicit AboutWindow(const Details& details, QWidget* parent = nullptr);

    // Shows the window, or brings the open one forward.
    void present();

Q_SIGNALS:
    void debugWindowRequested();
};
