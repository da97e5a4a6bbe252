// A stored screen blob, as the screen manager reads "screens-v0".
#include "FuzzSupport.h"
#include "models/Screen.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::quietLogs();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::optional<Screen> screen = Screen::fromJson(Fuzz::bytes(data, size));
    if (!screen)
        return 0;
    const std::optional<Screen> again = Screen::fromJson(screen->toJson());
    Fuzz::check(again.has_value(), "a stored screen decodes");
    Fuzz::check(again->id() == screen->id() && again->name() == screen->name(), "a screen survives storing");
    Fuzz::check(qHash(*again) == qHash(*screen), "equal screens hash alike");
    return 0;
}
