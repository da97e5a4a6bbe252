// A stored layout blob, as the catalogue reads it from the settings store.
#include "FuzzSupport.h"
#include "models/LayoutBridge.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::quietLogs();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::shared_ptr<Layout> layout = LayoutBridge::deserialize(Fuzz::bytes(data, size));
    if (!layout)
        return 0;

    Fuzz::check(layout->zones().size() == layout->root()->getNodes().size(), "one zone per leaf");
    Fuzz::check(static_cast<qsizetype>(layout->zones().size()) == layout->nodesByID().size(), "one node per zone id");
    layout->setScreen(Screen(QStringLiteral("fuzz-1x1"), QStringLiteral("fuzz")));

    // Whatever loads is stored again unchanged, under the same id.
    const std::optional<QByteArray> stored = LayoutBridge::serialize(layout);
    Fuzz::check(stored.has_value(), "a decoded layout can be stored");
    const std::shared_ptr<Layout> again = LayoutBridge::deserialize(stored);
    Fuzz::check(again != nullptr, "a stored layout decodes");
    Fuzz::check(again->id() == layout->id(), "the id survives storing");
    Fuzz::check(again->toJson() == layout->toJson(), "the tree survives storing");
    return 0;
}
