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
