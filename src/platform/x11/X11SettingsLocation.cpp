#include "platform/SettingsLocation.h"

#include "core/FileSettingsBackend.h"

#include <QDir>

// $XDG_CONFIG_HOME/parqueta/parqueta.json, or ~/.config/parqueta/parqueta.json. The XDG
// base directory rules say a relative XDG_CONFIG_HOME is invalid and must be ignored.
std::unique_ptr<SettingsBackend> createUserSettingsBackend()
{
    QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (configHome.isEmpty() || QDir::isRelativePath(configHome))
        configHome = QDir::homePath() + QStringLiteral("/.config");
    return std::make_unique<FileSettingsBackend>(configHome + QStringLiteral("/parqueta/parqueta.json"));
}

// The XDG base directories put logs under the state home (~/.local/state).
QString userLogFilePath()
{
    QString stateHome = qEnvironmentVariable("XDG_STATE_HOME");
    if (stateHome.isEmpty() || QDir::isRelativePath(stateHome))
        stateHome = QDir::homePath() + QStringLiteral("/.local/state");
    return stateHome + QStringLiteral("/parqueta/parqueta.log");
}
