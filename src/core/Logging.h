#pragma once

#include <QLoggingCategory>

// One category per area, so a user can narrow the console with QT_LOGGING_RULES
// (for example "parqueta.input.debug=true").
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcModel)
Q_DECLARE_LOGGING_CATEGORY(lcSettings)
Q_DECLARE_LOGGING_CATEGORY(lcScreens)
Q_DECLARE_LOGGING_CATEGORY(lcWindows)
Q_DECLARE_LOGGING_CATEGORY(lcInput)
Q_DECLARE_LOGGING_CATEGORY(lcShortcuts)
Q_DECLARE_LOGGING_CATEGORY(lcZones)
Q_DECLARE_LOGGING_CATEGORY(lcOverlay)
Q_DECLARE_LOGGING_CATEGORY(lcX11)
Q_DECLARE_LOGGING_CATEGORY(lcEditor)
Q_DECLARE_LOGGING_CATEGORY(lcUpdates)

namespace Logging {

// Installs the process-wide console format:
// "HH:mm:ss.zzz LEVEL file function:line - message".
void install();

// Appends every line to path as well (made with its directory if need be); the file of a
// previous run larger than 1 MB is kept as path.1. False when it cannot be opened.
bool logToFile(const QString& path);
// The file lines go to besides the console; empty when none.
QString logFilePath();

// The same format as a pure function, so it can be tested without a console.
QString formatMessage(QtMsgType type, const QMessageLogContext& context, const QString& message);

} // namespace Logging
