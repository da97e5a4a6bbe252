#include "platform/x11/X11Struts.h"

#include <algorithm>
#include <limits>

namespace {

int clampToInt(quint32 value)
{
    return int(std::min<quint32>(value, quint32(std::numeric_limits<int>::max())));
}

// Inclusive range [start, end] against the half-open span [from, from + length).
bool overlaps(int start, int end, int from, int length)
{
    return start < from + length && end >= from;
}

// Panels that never filled in their ranges (all zero) mean the whole edge.
void fullEdgeIfUnset(int& start, int& end, int width, int extent)
{
    if (width > 0 && start == 0 && end == 0) {
        start = 0;
        end = extent - 1;
    }
}

} // namespace

std::optional<X11Strut> X11Strut::fromPartial(const QList<quint32>& values, QSize root)
{
    if (values.size() != 12)
        return std::nullopt;
    X11Strut s;
    s.left = clampToInt(values[0]);
    s.right = clampToInt(values[1]);
    s.top = clampToInt(values[2]);
    s.bottom = clampToInt(values[3]);
    s.leftStartY = clampToInt(values[4]);
    s.leftEndY = clampToInt(values[5]);
    s.rightStartY = clampToInt(values[6]);
    s.rightEndY = clampToInt(values[7]);
    s.topStartX = clampToInt(values[8]);
    s.topEndX = clampToInt(values[9]);
    s.bottomStartX = clampToInt(values[10]);
    s.bottomEndX = clampToInt(values[11]);
    fullEdgeIfUnset(s.leftStartY, s.leftEndY, s.left, root.height());
    fullEdgeIfUnset(s.rightStartY, s.rightEndY, s.right, root.height());
    fullEdgeIfUnset(s.topStartX, s.topEndX, s.top, root.width());
    fullEdgeIfUnset(s.bottomStartX, s.bottomEndX, s.bottom, root.width());
    return s;
}

std::optional<X11Strut> X11Strut::fromLegacy(const QList<quint32>& values, QSize root)
{
    if (values.size() != 4)
        return std::nullopt;
    return fromPartial({values[0], values[1], values[2], values[3], 0, 0, 0, 0, 0, 0, 0, 0}, root);
}

QRect visibleArea(const QRect& monitor, QSize root, const QList<X11Strut>& struts)
{
    int left = monitor.left();
    int top = monitor.top();
    int right = monitor.x() + monitor.width(); // exclusive
    int bottom = monitor.y() + monitor.height(); // exclusive
    for (const X11Strut& s : struts) {
        if (s.left > monitor.x() && s.left < monitor.x() + monitor.width()
            && overlaps(s.leftStartY, s.leftEndY, monitor.y(), monitor.height()))
            left = std::max(left, s.left);
        const int rightBorder = root.width() - s.right;
        if (s.right > 0 && rightBorder > monitor.x() && rightBorder < monitor.x() + monitor.width()
            && overlaps(s.rightStartY, s.rightEndY, monitor.y(), monitor.height()))
            right = std::min(right, rightBorder);
        if (s.top > monitor.y() && s.top < monitor.y() + monitor.height()
            && overlaps(s.topStartX, s.topEndX, monitor.x(), monitor.width()))
            top = std::max(top, s.top);
        const int bottomBorder = root.height() - s.bottom;
        if (s.bottom > 0 && bottomBorder > monitor.y() && bottomBorder < monitor.y() + monitor.height()
            && overlaps(s.bottomStartX, s.bottomEndX, monitor.x(), monitor.width()))
            bottom = std::min(bottom, bottomBorder);
    }
    if (right <= left || bottom <= top)
        return monitor; // struts from both sides that meet: ignore them rather than lose the screen
    return QRect(left, top, right - left, bottom - top);
}

QList<X11Strut> unexplainedReservations(
    const QRect& workarea, QSize root, const QList<X11Strut>& struts, const QList<QRect>& panels)
{
    QList<X11Strut> found;
    if (!workarea.isValid() || root.isEmpty())
        return found;
    int explainedLeft = 0, explainedRight = 0, explainedTop = 0, explainedBottom = 0;
    for (const X11Strut& s : struts) {
        explainedLeft = std::max(explainedLeft, s.left);
        explainedRight = std::max(explainedRight, s.right);
        explainedTop = std::max(explainedTop, s.top);
        explainedBottom = std::max(explainedBottom, s.bottom);
    }
    // A reservation of more than a quarter of the root is no panel.
    const auto plausible = [](int reserved, int explained, int extent) {
        return reserved > explained && reserved <= extent / 4;
    };
    const int left = workarea.left();
    const int top = workarea.top();
    const int right = root.width() - (workarea.x() + workarea.width());
    const int bottom = root.height() - (workarea.y() + workarea.height());
    for (const QRect& panel : panels) {
        X11Strut s;
        if (plausible(bottom, explainedBottom, root.height()) && panel.top() >= root.height() - bottom) {
            s.bottom = bottom;
            s.bottomStartX = panel.left();
            s.bottomEndX = panel.right();
        } else if (plausible(top, explainedTop, root.height()) && panel.y() + panel.height() <= top) {
            s.top = top;
            s.topStartX = panel.left();
            s.topEndX = panel.right();
        } else if (plausible(left, explainedLeft, root.width()) && panel.x() + panel.width() <= left) {
            s.left = left;
            s.leftStartY = panel.top();
            s.leftEndY = panel.bottom();
        } else if (plausible(right, explainedRight, root.width()) && panel.left() >= root.width() - right) {
            s.right = right;
            s.rightStartY = panel.top();
            s.rightEndY = panel.bottom();
        } else {
            continue;
        }
        found << s;
    }
    return found;
}
