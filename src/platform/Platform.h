#pragma once

#include <memory>

class QObject;
class DisplayServer;

// Everything the engine needs from the operating system, owned by one object.
// The backend is chosen at link time: exactly one of src/platform/x11 or
// src/platform/macos provides createPlatform(). Tests build their own fakes
// (tests/support) and never link a backend.
class Platform
{
public:
    virtual ~Platform() = default;

    virtual DisplayServer& displays() = 0;
};

// Defined by the backend linked into the executable. Returns nullptr (after logging
// why) when the windowing system cannot be reached.
std::unique_ptr<Platform> createPlatform();
