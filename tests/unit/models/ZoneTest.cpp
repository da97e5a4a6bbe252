#include "ModelTestSupport.h"

#include "models/LayoutPresets.h"
#include "models/Zone.h"

#include <gtest/gtest.h>

namespace {

// A visible frame away from the desktop origin, so the edge rule must use its size.
FakeScreenGeometry connected()
{
    FakeScreenGeometry screens;
    screens.connect(kScreen, QRectF(1920, 38, 1512, 944));
    return screens;
}

} // namespace

TEST(ZoneVisibleFrame, OuterEdgesGetTheWholeGapAndInnerEdgesHalf)
{
    const FakeScreenGeometry screens = connected();
    const Zone full(QStringLiteral("1"), QRectF(0, 0, 1512, 944), kScreen);
    EXPECT_EQ(full.visibleFrame(10, screens), QRectF(10, 10, 1492, 924));
    const Zone middle(QStringLiteral("2"), QRectF(500, 300, 400, 200), kScreen);
    EXPECT_EQ(middle.visibleFrame(10, screens), QRectF(505, 305, 390, 190));
    EXPECT_EQ(middle.visibleFrame(0, screens), QRectF(500, 300, 400, 200));
    // Exact comparison: a fraction short of the screen's edge is an inner edge.
    const Zone almost(QStringLiteral("1"), QRectF(0, 0, 1511.5, 944), kScreen);
    EXPECT_EQ(almost.visibleFrame(10, screens), QRectF(10, 10, 1496.5, 924));
}

TEST(ZoneVisibleFrame, ScreenEdgeNeedsAConnectedScreen)
{
    const Zone disconnected(QStringLiteral("1"), QRectF(0, 0, 1512, 944), kScreen);
    EXPECT_EQ(disconnected.visibleFrame(10, FakeScreenGeometry()), QRectF(10, 10, 1497, 929));
    const Zone withoutScreen(QStringLiteral("1"), QRectF(0, 0, 1512, 944), std::nullopt);
    EXPECT_EQ(withoutScreen.visibleFrame(10, connected()), QRectF(10, 10, 1497, 929));
}

TEST(ZoneVisibleFrame, NeighboursInAPresetEndUpOneGapApart)
{
    const FakeScreenGeometry screens = connected();
    const auto layout = defaultLayout(DefaultLayoutType::rightT, kScreen, screens);
    const QRectF left = layout->zones()[0]->visibleFrame(8, screens);
    const QRectF top = layout->zones()[1]->visibleFrame(8, screens);
    const QRectF bottom = layout->zones()[2]->visibleFrame(8, screens);
    EXPECT_EQ(left, QRectF(8, 8, 1009 - 12, 944 - 16));
    EXPECT_EQ(top.left() - left.right(), 8);
    EXPECT_EQ(bottom.top() - top.bottom(), 8);
    EXPECT_EQ(bottom.bottomRight(), QPointF(1512 - 8, 944 - 8));
}
