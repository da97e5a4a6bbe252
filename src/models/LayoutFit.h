#pragma once

#include "models/SplitNode.h"

#include <QSizeF>

// A stored tree checked against the screen it is read for. Settings files are edited by
// hand, synced between machines and carried across monitors: a tree may not fit its
// screen any more (a width of 1e12, a panel that came since) or may not tile at all.
// Only the tree in memory changes; what is stored stays until the user saves over it.
namespace LayoutFit {

enum class Result {
    fits,
    // A well-formed tree that is not at the origin or is larger than the whole display,
    // scaled to the visible frame with its edges on whole points (zones keep their
    // proportions, neighbours stay edge to edge). A tree a little larger than the visible
    // frame but within the display is left alone: panels come and go (tint2 rebuilds
    // itself when a compositor starts), and refitting to a passing frame would stick.
    refitted,
    // Children that do not tile their parent, sizes that are not positive, more than two
    // children: the tree is collapsed into one zone covering the screen.
    replaced,
};

// visible: the screen's visible frame size; display: its whole display's size.
Result fit(SplitNode& root, QSizeF visible, QSizeF display);

} // namespace LayoutFit
