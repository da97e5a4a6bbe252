#pragma once

#include "platform/WindowControl.h"

#include <QObject>

// Tells when another application's top-level window appears, once the window manager has
// placed it, so a window that was snapped before its application restarted can go back
// into its zones. start() and stop() are counted like GlobalInput's; the backend watches
// while at least one user has started it.
//
// This base class never reports anything: a platform without a way to watch windows
// appear uses it as it is.
class WindowEvents : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~WindowEvents() override;

    // Returns false (after logging why) when the platform cannot watch windows.
    bool start();
    void stop();
    bool isRunning() const { return m_users > 0; }

Q_SIGNALS:
    // A new top-level window; it may not be a normal one (WindowControl::isNormal tells).
    void windowAppeared(const WindowControl::Handle& window);

protected:
    virtual bool startListening() { return true; }
    virtual void stopListening() { }

private:
    int m_users = 0;
};
