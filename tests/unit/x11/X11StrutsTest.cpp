#include "platform/x11/X11Struts.h"

#include <gtest/gtest.h>

namespace {

X11Strut bottomPanel(int bottom, int startX, int endX)
{
    return *X11Strut::fromPartial(
        {0, 0, 0, quint32(bottom), 0, 0, 0, 0, 0, 0, quint32(startX), quint32(endX)}, QSize(1, 1));
}

const QSize kRoot(2560, 1080);
const QRect kLeft(0, 0, 1280, 1080);
const QRect kRight(1280, 0, 1280, 1080);

TEST(X11StrutsTest, PanelOnOneMonitorShrinksOnlyThatMonitor)
{
    // What tint2 sets at the bottom of the right monitor.
    const QList<X11Strut> struts {bottomPanel(30, 1280, 2559)};
    EXPECT_EQ(visibleArea(kRight, kRoot, struts), QRect(1280, 0, 1280, 1050));
    EXPECT_EQ(visibleArea(kLeft, kRoot, struts), kLeft);
}

TEST(X11StrutsTest, LegacyStrutSpansTheWholeRootEdge)
{
    const QList<X11Strut> struts {*X11Strut::fromLegacy({0, 0, 24, 0}, kRoot)};
    EXPECT_EQ(visibleArea(kLeft, kRoot, struts), QRect(0, 24, 1280, 1056));
    EXPECT_EQ(visibleArea(kRight, kRoot, struts), QRect(1280, 24, 1280, 1056));
    EXPECT_FALSE(X11Strut::fromLegacy({1, 2, 3}, kRoot).has_value());
    EXPECT_FALSE(X11Strut::fromPartial({1, 2, 3, 4}, kRoot).has_value());
}

TEST(X11StrutsTest, UnsetRangesMeanTheWholeEdge)
{
    const QList<X11Strut> struts {*X11Strut::fromPartial({48, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, kRoot)};
    EXPECT_EQ(visibleArea(kLeft, kRoot, struts), QRect(48, 0, 1232, 1080));
    EXPECT_EQ(visibleArea(kRight, kRoot, struts), kRight);
}

// Struts count from the root window's edges: a panel at the bottom of a shorter
// monitor reserves its own height plus the gap below that monitor.
TEST(X11StrutsTest, StrutsAreMeasuredFromTheRootEdges)
{
    const QSize root(3200, 1200);
    const QRect tall(0, 0, 1920, 1200);
    const QRect shorter(1920, 0, 1280, 1024);
    const QList<X11Strut> struts {bottomPanel(1200 - 1024 + 30, 1920, 3199)};
    EXPECT_EQ(visibleArea(shorter, root, struts), QRect(1920, 0, 1280, 994));
    EXPECT_EQ(visibleArea(tall, root, struts), tall);
}

TEST(X11StrutsTest, PanelsOnInnerEdgesShrinkTheirMonitorWithoutSwallowingTheOther)
{
    // A dock on the right edge of LEFT (against RIGHT): reserved from the root's right edge.
    const QList<X11Strut> rightDock {*X11Strut::fromPartial({0, 1320, 0, 0, 0, 0, 0, 1079, 0, 0, 0, 0}, kRoot)};
    EXPECT_EQ(visibleArea(kLeft, kRoot, rightDock), QRect(0, 0, 1240, 1080));
    EXPECT_EQ(visibleArea(kRight, kRoot, rightDock), kRight);

    // A panel at the left of RIGHT: its strut covers all of LEFT, which must not vanish.
    const QList<X11Strut> leftPanel {*X11Strut::fromPartial({1310, 0, 0, 0, 0, 1079, 0, 0, 0, 0, 0, 0}, kRoot)};
    EXPECT_EQ(visibleArea(kRight, kRoot, leftPanel), QRect(1310, 0, 1250, 1080));
    EXPECT_EQ(visibleArea(kLeft, kRoot, leftPanel), kLeft);

    // Stacked monitors: a bottom panel on the upper one.
    const QSize root(1920, 2104);
    const QRect top(0, 0, 1920, 1080);
    const QRect bottom(0, 1080, 1280, 1024);
    const QList<X11Strut> struts {bottomPanel(2104 - 1080 + 30, 0, 1919)};
    EXPECT_EQ(visibleArea(top, root, struts), QRect(0, 0, 1920, 1050));
    EXPECT_EQ(visibleArea(bottom, root, struts), bottom);
}

TEST(X11StrutsTest, SeveralPanelsCombineAndRangesMustOverlap)
{
    const QList<X11Strut> struts {
        bottomPanel(30, 0, 1279),
        *X11Strut::fromPartial({0, 0, 25, 0, 0, 0, 0, 0, 0, 1279, 0, 0}, kRoot),
        *X11Strut::fromPartial({64, 0, 0, 0, 200, 800, 0, 0, 0, 0, 0, 0}, kRoot),
        // A left strut whose range lies below the monitors: ignored.
        *X11Strut::fromPartial({100, 0, 0, 0, 1080, 1200, 0, 0, 0, 0, 0, 0}, kRoot),
    };
    EXPECT_EQ(visibleArea(kLeft, kRoot, struts), QRect(64, 25, 1216, 1025));
    EXPECT_EQ(visibleArea(kRight, kRoot, struts), kRight);
}

TEST(X11StrutsTest, StrutsThatMeetLeaveTheMonitorWhole)
{
    const QList<X11Strut> struts {
        *X11Strut::fromLegacy({700, 0, 0, 0}, kRoot), *X11Strut::fromLegacy({0, 2560 - 600, 0, 0}, kRoot)};
    EXPECT_EQ(visibleArea(kLeft, kRoot, struts), kLeft);
}

} // namespace
