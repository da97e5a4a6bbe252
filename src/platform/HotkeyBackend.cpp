#include "platform/HotkeyBackend.h"

HotkeyBackend::~HotkeyBackend() = default;
