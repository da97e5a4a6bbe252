// Desktop space and layout space are both y-down, so the engine converts by shifting
// with the visible frame's origin. The macOS backend and the original formulas work in
// bottom-left Cocoa coordinates; these tests rebuild each arrangement in Cocoa
// coordinates and prove that both conversions agree.
#include "managers/ScreenCoordinates.h"
#include "managers/ScreenManager.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

// The primary display carries both origins: desktop (top-left) and Cocoa (bottom-left).
constexpr double kPrimaryHeight = 900;

struct Display
{
    const char* name;
    QRectF frame; // desktop space
    QRectF visibleFrame; // desktop space
};

// Cocoa rectangles: origin (minX, minY) at the bottom-left, y up.
QRectF toCocoa(const QRectF& desktop)
{
    return QRectF(desktop.x(), kPrimaryHeight - desktop.y() - desktop.height(), desktop.width(), desktop.height());
}

QPointF toCocoa(QPointF desktop)
{
    return QPointF(desktop.x(), kPrimaryHeight - desktop.y());
}

double maxY(const QRectF& r)
{
    return r.y() + r.height();
}

// Visible-frame rectangle of S to accessibility space, the short form.
QRectF accessibilityRectShort(const QRectF& r, const QRectF& cocoaPrimaryFrame, const QRectF& cocoaVisible)
{
    return QRectF(
        r.x() + cocoaVisible.x(), r.y() + maxY(cocoaPrimaryFrame) - maxY(cocoaVisible), r.width(), r.height());
}

// The same conversion as the snap computes it, term by term.
QRectF accessibilityRectSnap(
    const QRectF& r, const QRectF& cocoaPrimaryFrame, const QRectF& cocoaFrame, const QRectF& cocoaVisible)
{
    const double y = r.y() + (cocoaFrame.height() - cocoaVisible.height())
        + (maxY(cocoaPrimaryFrame) - maxY(cocoaFrame)) + cocoaFrame.y() - cocoaVisible.y();
    return QRectF(r.x() + cocoaVisible.x(), y, r.width(), r.height());
}

// Global Cocoa point to the visible-frame space of S.
QPointF visibleFramePositionCocoa(QPointF cocoaPoint, const QRectF& cocoaVisible)
{
    return QPointF(cocoaPoint.x() - cocoaVisible.x(), maxY(cocoaVisible) - cocoaPoint.y());
}

bool nsMouseInRect(QPointF p, const QRectF& r)
{
    // Not flipped: the bottom edge (minY) is outside, the top edge (maxY) inside.
    return p.x() >= r.x() && p.x() < r.x() + r.width() && p.y() > r.y() && p.y() <= maxY(r);
}

const Display kPrimary {"primary, menu bar", QRectF(0, 0, 1440, 900), QRectF(0, 25, 1440, 875)};

const std::vector<Display>& arrangements()
{
    static const std::vector<Display> displays {
        kPrimary,
        {"primary, dock on the left", QRectF(0, 0, 1440, 900), QRectF(70, 25, 1370, 875)},
        {"beside, right, lower, dock on the left", QRectF(1440, 100, 1920, 1080), QRectF(1520, 125, 1840, 1055)},
        {"beside, left, taller", QRectF(-1920, -300, 1920, 1200), QRectF(-1920, -275, 1920, 1175)},
        {"above, dock at the bottom", QRectF(200, -1080, 1920, 1080), QRectF(200, -1055, 1920, 985)},
        {"below, dock on the left", QRectF(-300, 900, 1280, 800), QRectF(-236, 925, 1216, 775)},
    };
    return displays;
}

const std::vector<QRectF> kLayoutRects {
    QRectF(0, 0, 300, 200),
    QRectF(100.5, 200.25, 640, 480),
    QRectF(0, 0, 1216, 775),
    QRectF(860, 500, 500, 300),
};

TEST(ScreenCoordinatesTest, LayoutRectToDesktopEqualsBothCocoaFormulas)
{
    const QRectF cocoaPrimary = toCocoa(kPrimary.frame);
    ASSERT_EQ(cocoaPrimary, QRectF(0, 0, 1440, 900)) << "the primary's Cocoa frame starts at the origin";
    for (const Display& s : arrangements()) {
        SCOPED_TRACE(s.name);
        const QRectF cocoaFrame = toCocoa(s.frame);
        const QRectF cocoaVisible = toCocoa(s.visibleFrame);
        for (const QRectF& r : kLayoutRects) {
            const QRectF ours = ScreenCoordinates::layoutToDesktop(r, s.visibleFrame);
            EXPECT_EQ(ours, accessibilityRectShort(r, cocoaPrimary, cocoaVisible));
            EXPECT_EQ(ours, accessibilityRectSnap(r, cocoaPrimary, cocoaFrame, cocoaVisible));
            EXPECT_EQ(ScreenCoordinates::layoutToDesktop(r.topLeft(), s.visibleFrame), ours.topLeft());
        }
    }
}

TEST(ScreenCoordinatesTest, DesktopPointToLayoutEqualsCocoaPositionInVisibleFrame)
{
    for (const Display& s : arrangements()) {
        SCOPED_TRACE(s.name);
        const QRectF cocoaVisible = toCocoa(s.visibleFrame);
        for (const QPointF& inLayout : {QPointF(0, 0), QPointF(12.5, 700), QPointF(-5, -5), QPointF(1000, 1)}) {
            const QPointF desktop = s.visibleFrame.topLeft() + inLayout;
            const QPointF ours = ScreenCoordinates::desktopToLayout(desktop, s.visibleFrame);
            EXPECT_EQ(ours, visibleFramePositionCocoa(toCocoa(desktop), cocoaVisible));
            EXPECT_EQ(ours, inLayout);
        }
    }
}

TEST(ScreenCoordinatesTest, ZoneAtTopOfScreenAbovePrimaryGetsNegativeY)
{
    const Display& above = arrangements()[4];
    const QRectF zone(0, 0, 400, 300);
    const QRectF desktop = ScreenCoordinates::layoutToDesktop(zone, above.visibleFrame);
    const double expected = maxY(toCocoa(kPrimary.frame)) - maxY(toCocoa(above.visibleFrame));
    EXPECT_EQ(desktop.y(), expected);
    EXPECT_EQ(desktop.y(), -1055);
}

// The display under a point must be the one macOS picks: the first screen whose Cocoa
// frame NSMouseInRect accepts, including points exactly on shared edges.
TEST(ScreenCoordinatesTest, DisplayWithPointMatchesNSMouseInRectOnEveryEdge)
{
    const QList<DisplayInfo> displays {
        {QStringLiteral("P"), QStringLiteral("primary"), kPrimary.frame, kPrimary.visibleFrame},
        {QStringLiteral("R"), QStringLiteral("right"), QRectF(1440, 0, 1920, 1080), QRectF(1440, 25, 1920, 1055)},
        {QStringLiteral("A"), QStringLiteral("above"), QRectF(0, -900, 1440, 900), QRectF(0, -875, 1440, 875)},
        {QStringLiteral("B"), QStringLiteral("below"), QRectF(-200, 900, 1280, 800), QRectF(-200, 925, 1280, 775)},
    };
    std::vector<double> xs;
    std::vector<double> ys;
    for (double edge : {-200.0, 0.0, 1080.0, 1440.0, 3360.0})
        for (double d : {-1.0, -0.5, 0.0, 0.5, 1.0})
            xs.push_back(edge + d);
    for (double edge : {-900.0, 0.0, 900.0, 1080.0, 1700.0})
        for (double d : {-1.0, -0.5, 0.0, 0.5, 1.0})
            ys.push_back(edge + d);
    int onSomeDisplay = 0;
    for (double x : xs) {
        for (double y : ys) {
            const QPointF point(x, y);
            std::optional<QString> cocoa;
            for (const DisplayInfo& d : displays) {
                if (nsMouseInRect(toCocoa(point), toCocoa(d.frame))) {
                    cocoa = d.uuid;
                    break;
                }
            }
            const std::optional<DisplayInfo> ours = ScreenManager::displayWithPoint(displays, point);
            ASSERT_EQ(ours.has_value(), cocoa.has_value()) << x << "," << y;
            if (ours) {
                ++onSomeDisplay;
                EXPECT_EQ(ours->uuid, *cocoa) << x << "," << y;
            }
        }
    }
    EXPECT_GT(onSomeDisplay, 100);
}

TEST(ScreenCoordinatesTest, FrameContainsTakesLeftAndTopEdgesOnly)
{
    const QRectF frame(100, 50, 200, 100);
    EXPECT_TRUE(ScreenCoordinates::frameContains(frame, QPointF(100, 50)));
    EXPECT_TRUE(ScreenCoordinates::frameContains(frame, QPointF(299.9, 149.9)));
    EXPECT_FALSE(ScreenCoordinates::frameContains(frame, QPointF(300, 100)));
    EXPECT_FALSE(ScreenCoordinates::frameContains(frame, QPointF(150, 150)));
    EXPECT_FALSE(ScreenCoordinates::frameContains(frame, QPointF(99.9, 100)));
    EXPECT_FALSE(ScreenCoordinates::frameContains(frame, QPointF(150, 49.9)));
}

} // namespace
