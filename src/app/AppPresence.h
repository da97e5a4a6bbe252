#pragma once

#include <QObject>

class ApplicationShell;

// Keeps Parqueta in the Dock and the application switcher exactly while one of the
// windows the user works with is open (settings, first-run guide, About, zone editor,
// debug and update windows) and out of them otherwise, so closing the last one leaves
// only the menu-bar or tray icon. Overlays and flashes do not count: they take no input.
class AppPresence final : public QObject
{
    Q_OBJECT

public:
    explicit AppPresence(ApplicationShell& shell, QObject* parent = nullptr);
    ~AppPresence() override;

    // Whether such a window is on screen now.
    static bool userWindowVisible();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void update();

    ApplicationShell& m_shell;
    bool m_regular = false;
    bool m_updateQueued = false;
};
