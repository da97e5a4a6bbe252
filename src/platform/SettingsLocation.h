#pragma once

#include "core/SettingsBackend.h"

#include <memory>

// The user's own settings store on this platform: a JSON file in the user's
// configuration directory on Linux, the user's defaults domain on macOS.
std::unique_ptr<SettingsBackend> createUserSettingsBackend();

// Where the session state of snapped windows is kept (which window stood in which zones):
// beside the settings file on Linux, in ~/Library/Application Support/Parqueta on macOS.
QString snappedWindowsStatePath();

// Where Parqueta's log file belongs on this platform: $XDG_STATE_HOME/parqueta on Linux,
// ~/Library/Logs/Parqueta on macOS.
QString userLogFilePath();
