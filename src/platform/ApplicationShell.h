#pragma once

#include <QObject>
#include <QUrl>

#include <functional>

// How the operating system treats Parqueta as an application: when its launch is
// complete, whether it is listed among running applications, and requests to come
// forward that arrive through the system rather than through a second launch.
//
// The defaults fit a desktop where none of this exists (X11): launched at once, never
// listed, no settings page for a permission.
class ApplicationShell : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~ApplicationShell() override;

    // Calls then exactly once, when the system has finished launching Parqueta, with
    // whether the session started it at login. Only then does the system say so (on
    // macOS the open-application event carries it), so the launch sequence waits here.
    virtual void whenLaunched(std::function<void(bool launchedAsLoginItem)> then);

    // Regular: in the Dock and the application switcher, as while one of Parqueta's own
    // windows is open; otherwise only in the menu bar or tray.
    virtual void setRegularApplication(bool regular);

    // The page of the system's settings where the user lets Parqueta control other
    // applications' windows; empty where no such grant exists.
    virtual QUrl windowControlPermissionPage() const;

Q_SIGNALS:
    // The user opened Parqueta again through the system (the Dock, Finder, a second
    // launch the system turned into a reopen). Whether a window should come up is the
    // application's decision: it knows which of its windows are on screen.
    void reopenRequested();
};
