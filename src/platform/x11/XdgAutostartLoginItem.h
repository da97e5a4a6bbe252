#pragma once

#include "platform/LoginItemService.h"

#include <QString>

// An XDG autostart entry, $XDG_CONFIG_HOME/autostart/<id>.desktop, that starts this
// executable with --login-item (so no window opens by itself). Desktops that start the
// programs of that directory (GNOME, KDE, Xfce, LXQt, and session starters of bare
// window managers such as dex) read it at login.
class XdgAutostartLoginItem final : public LoginItemService
{
public:
    // executable: what the entry starts (absolute path); autostartDir: empty for
    // $XDG_CONFIG_HOME/autostart (or ~/.config/autostart).
    explicit XdgAutostartLoginItem(QString executable, QString autostartDir = {});

    bool setEnabled(bool enabled, QString& error) override;
    bool isEnabled() const override;

    QString entryPath() const;
    // The entry's text, as it is written.
    QByteArray entry() const;

    static constexpr char kEntryName[] = "io.github.parqueta.Parqueta.desktop";

private:
    QString m_executable;
    QString m_autostartDir;
};
