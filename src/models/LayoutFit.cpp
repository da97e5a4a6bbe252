#include "models/LayoutFit.h"

#include <cmath>

namespace LayoutFit {

namespace {

// Stored edges are whole points; anything closer than this is the same edge.
constexpr double kTolerance = 0.5;

bool same(double a, double b)
{
    return std::abs(a - b) <= kTolerance;
}

bool tiles(const SplitNode& node)
{
    if (!std::isfinite(node.x()) || !std::isfinite(node.y()) || !std::isfinite(node.width())
        || !std::isfinite(node.height()) || !(node.width() > 0) || !(node.height() > 0))
        return false;
    const auto& children = node.children();
    if (children.empty())
        return true;
    if (children.size() != 2 || !children[0]->splitType() || children[1]->splitType() != children[0]->splitType())
        return false;
    const SplitNode& a = *children[0];
    const SplitNode& b = *children[1];
    const bool sideBySide = *a.splitType() == SplitType::vertical;
    const bool shape = sideBySide
        ? same(a.x(), node.x()) && same(b.x(), a.x() + a.width()) && same(b.x() + b.width(), node.x() + node.width())
            && same(a.y(), node.y()) && same(b.y(), node.y()) && same(a.height(), node.height())
            && same(b.height(), node.height())
        : same(a.y(), node.y()) && same(b.y(), a.y() + a.height())
            && same(b.y() + b.height(), node.y() + node.height()) && same(a.x(), node.x()) && same(b.x(), node.x())
            && same(a.width(), node.width()) && same(b.width(), node.width());
    return shape && tiles(a) && tiles(b);
}

// Moves every edge by the same map, rounded, so shared edges stay shared.
void scale(SplitNode& node, QPointF origin, double sx, double sy)
{
    const double left = std::round((node.x() - origin.x()) * sx);
    const double top = std::round((node.y() - origin.y()) * sy);
    const double right = std::round((node.x() + node.width() - origin.x()) * sx);
    const double bottom = std::round((node.y() + node.height() - origin.y()) * sy);
    node.setX(left);
    node.setY(top);
    node.setWidth(right - left);
    node.setHeight(bottom - top);
    for (const SplitNode::Ptr& child : node.children())
        scale(*child, origin, sx, sy);
}

} // namespace

Result fit(SplitNode& root, QSizeF extent, QSizeF display)
{
    if (!(extent.width() > 0) || !(extent.height() > 0))
        return Result::fits;
    if (!tiles(root)) {
        root.setChildren({});
        root.setX(0);
        root.setY(0);
        root.setWidth(extent.width());
        root.setHeight(extent.height());
        return Result::replaced;
    }
    if (same(root.x(), 0) && same(root.y(), 0) && root.width() <= display.width() + kTolerance
        && root.height() <= display.height() + kTolerance)
        return Result::fits;
    scale(root, QPointF(root.x(), root.y()), extent.width() / root.width(), extent.height() / root.height());
    return Result::refitted;
}

} // namespace LayoutFit
