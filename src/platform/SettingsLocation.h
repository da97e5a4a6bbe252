#pragma once

#include "core/SettingsBackend.h"

#include <memory>

// The user's own settings store on this platform: a JSON file in the user's
// configuration directory on Linux, the user's defaults domain on macOS.
std::unique_ptr<SettingsBackend> createUserSettingsBackend();
