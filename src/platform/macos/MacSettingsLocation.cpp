#include "platform/SettingsLocation.h"

#include "platform/macos/MacDefaultsSettingsBackend.h"

#include <QDir>

std::unique_ptr<SettingsBackend> createUserSettingsBackend()
{
    return std::make_unique<MacDefaultsSettingsBackend>();
}

// Where Console lists the logs of the user's own applications.
QString userLogFilePath()
{
    return QDir::homePath() + QStringLiteral("/Library/Logs/Parqueta/parqueta.log");
}

// Session state is not a preference: it goes where applications keep their own data.
QString snappedWindowsStatePath()
{
    return QDir::homePath() + QStringLiteral("/Library/Application Support/Parqueta/snapped-windows.json");
}
