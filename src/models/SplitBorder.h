#pragma once

#include "models/SplitType.h"

#include <QRectF>

#include <memory>

class SplitNode;

// The draggable border between the two children of one inner node.
struct SplitBorder
{
    // Position in the list getResizeBorders() returned; renumbered on every call.
    int id = 0;
    // A band 2 points thick centred on the dividing line.
    QRectF rect;
    // Strong on purpose: a border is a short-lived snapshot (the editor holds one during
    // a drag), and a border taken before a collapse must still point at a valid node
    // rather than dangle. The layout drops its borders and rebuilds them on every tree
    // change, so no tree outlives its layout because of this.
    std::shared_ptr<SplitNode> parent;
    SplitType splitType = SplitType::vertical;
};
