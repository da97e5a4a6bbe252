#pragma once

#include "models/SplitNode.h"
#include "models/SplitType.h"

// Large layouts for tests and benchmarks.
namespace TestTrees {

// Splits every leaf in half, vertical and horizontal by turns: 2^depth zones.
inline void splitAlternating(const SplitNode::Ptr& node, int depth)
{
    if (depth == 0)
        return;
    node->splitAtRatio(depth % 2 == 0 ? SplitType::vertical : SplitType::horizontal, 0.5);
    for (const SplitNode::Ptr& child : node->children())
        splitAlternating(child, depth - 1);
}

} // namespace TestTrees
