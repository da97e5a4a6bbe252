// A stored bare split tree, and what the zone editor asks of a loaded tree.
#include "FuzzSupport.h"
#include "models/SplitNodeBridge.h"

#include <cmath>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::quietLogs();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const SplitNode::Ptr root = SplitNodeBridge::deserialize(Fuzz::bytes(data, size));
    if (!root)
        return 0;

    const std::optional<QByteArray> stored = SplitNodeBridge::serialize(root);
    Fuzz::check(stored.has_value(), "a decoded tree can be stored");
    const SplitNode::Ptr again = SplitNodeBridge::deserialize(stored);
    Fuzz::check(again != nullptr, "a stored tree decodes");
    Fuzz::check(again->toJson() == root->toJson(), "the tree survives storing");

    // Searches and derived data of the editor, on whatever shape was stored.
    const std::vector<SplitNode::Ptr> leaves = root->getNodes();
    Fuzz::check(!leaves.empty(), "every tree has a leaf");
    for (const SplitNode::Ptr& leaf : leaves)
        Fuzz::check(leaf->isLeaf(), "getNodes returns leaves");
    const std::vector<SplitBorder> borders = root->getResizeBorders();
    for (size_t i = 0; i < borders.size(); ++i)
        Fuzz::check(borders[i].id == static_cast<int>(i), "border ids count from 0");
    for (const SplitType type : {SplitType::vertical, SplitType::horizontal}) {
        (void)root->recursivelyHasChild(type);
        for (const SplitNode::Coordinate axis : {SplitNode::Coordinate::x, SplitNode::Coordinate::y}) {
            (void)SplitNode::recursivelyGetMinCoordinate(root, type, axis);
            (void)SplitNode::recursivelyGetMaxCoordinate(root, type, axis);
        }
    }

    // Dragging the first border of the tree halfway.
    if (!root->isLeaf()) {
        const double extent = root->children().front()->splitType() == SplitType::horizontal ? root->height()
                                                                                            : root->width();
        root->resizeFirstChild(extent / 2);
    }
    return 0;
}
