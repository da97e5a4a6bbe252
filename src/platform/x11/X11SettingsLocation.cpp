#include "platform/SettingsLocation.h"

#include "core/FileSettingsBackend.h"

#include <QDir>

// $XDG_CONFIG_HOME/parqueta/parqueta.json, or ~/.config/parqueta/parqueta.json. The XDG
// base directory rules say a relative XDG_CONFIG_HOME is invalid and must be ignored.
namespace {

QString configDirectory()
{
    QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (configHome.isEmpty() || QDir::isRelativePath(configHome))
        configHome = QDir::homePath() + QStringLiteral("/.config");
    return configHome + QStringLiteral("/parqueta");
}

} // namespace

std::unique_ptr<SettingsBackend> createUserSettingsBackend()
{
    return std::make_unique<FileSettingsBackend>(configDirectory() + QStringLiteral("/parqueta.json"));
}

// Beside the settings, so the two go together when a user copies or clears the directory.
QString snappedWindowsStatePath()
{
    return configDirectory() + QStringLiteral("/snapped-windows.json");
}

// The XDG base directories put logs under the state home (~/.local/state).
QString userLogFilePath()
{
    QString stateHome = qEnvironmentVariable("XDG_STATE_HOME");
    if (stateHome.isEmpty() || QDir::isRelativePath(stateHome))
        stateHome = QDir::homePath() + QStringLiteral("/.local/state");
    return stateHome + QStringLiteral("/parqueta/parqueta.log");
}
