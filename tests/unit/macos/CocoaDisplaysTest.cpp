// The macOS displays in desktop space, from scripted NSScreen facts in Cocoa's global
// space, and their display UUIDs.
#include "platform/macos/CocoaDisplays.h"
#include "models/Screen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

namespace {

// One UUID for every number, so a number mangled on its way would show in the identifier.
class FakeScreens final : public CocoaScreenApi
{
public:
    std::vector<CocoaScreenFacts> list;
    std::optional<QString> uuid = QStringLiteral("37D8832A-2D66-02CA-B9F7-8F30A301B230");
    QPointF mouse;

    std::vector<CocoaScreenFacts> screens() override { return list; }
    std::optional<QString> displayUuid(quint32) override { return uuid; }
    QPointF mouseLocation() override { return mouse; }
};

// A 1512 by 982 point primary with a 25 point menu bar and a 70 point Dock at the bottom.
const CocoaScreenFacts primary {1, "Built-in", {0, 0, 1512, 982}, {0, 70, 1512, 887}, 2.0};

CocoaScreenFacts screen(QRectF frame, QRectF visible)
{
    return {2, "Other", frame, visible, 1.0};
}

TEST(CocoaDisplays, FramesVisibleFramesAndPointerFlipAboutThePrimarysTopEdge)
{
    // A second screen's Cocoa facts, its desktop frame and visible frame, a mouse location, the pointer.
    const std::tuple<const char*, CocoaScreenFacts, QRectF, QRectF, QPointF, QPointF> rows[] = {
        {"above, menu bar", screen({0, 982, 1920, 1080}, {0, 982, 1920, 1055}), {0, -1080, 1920, 1080},
            {0, -1055, 1920, 1055}, {100, 1500}, {100, -518}},
        {"below and offset", screen({200, -900, 1600, 900}, {200, -900, 1600, 875}), {200, 982, 1600, 900},
            {200, 1007, 1600, 875}, {300, -1}, {300, 983}},
        {"left, Dock on the left", screen({-1440, 100, 1440, 900}, {-1370, 100, 1370, 875}), {-1440, -18, 1440, 900},
            {-1370, 7, 1370, 875}, {-1, 100}, {-1, 882}},
    };
    for (const auto& [what, other, frame, visible, mouse, pointer] : rows) {
        SCOPED_TRACE(what);
        FakeScreens api;
        api.list = {primary, other};
        api.mouse = mouse;
        CocoaDisplays displays(api);
        const QList<DisplayInfo> list = displays.displays();
        ASSERT_EQ(list.size(), 2);
        EXPECT_EQ(list[0].frame, QRectF(0, 0, 1512, 982));
        EXPECT_EQ(list[0].visibleFrame, QRectF(0, 25, 1512, 887));
        EXPECT_EQ(list[1].frame, frame);
        EXPECT_EQ(list[1].visibleFrame, visible);
        EXPECT_EQ(displays.pointerLocation(), pointer);
        EXPECT_EQ(CocoaDisplays::toCocoa(visible, primary.frame), other.visibleFrame);
    }
}

TEST(CocoaDisplays, IdentifierNeedsADisplayNumberAndAUuid)
{
    const QString uuid = FakeScreens().uuid.value();
    const std::tuple<const char*, std::optional<qint64>, std::optional<QString>, double, QString> rows[] = {
        {"ordinary", 5, uuid, 1512, uuid + "-1512x982"},
        {"half a point wide: truncated", 5, uuid, 1511.5, uuid + "-1511x982"},
        {"largest display id", 0xffffffff, uuid, 1800, uuid + "-1800x982"},
        {"no NSScreenNumber", std::nullopt, uuid, 1512, ""},
        {"negative number", -1, uuid, 1512, ""},
        {"beyond 32 bits", qint64(std::numeric_limits<quint32>::max()) + 1, uuid, 1512, ""},
        {"no UUID", 5, std::nullopt, 1512, ""},
    };
    for (const auto& [what, number, systemUuid, width, id] : rows) {
        SCOPED_TRACE(what);
        FakeScreens api;
        api.uuid = systemUuid;
        api.list = {{number, "Studio Display", {0, 0, width, 982}, {0, 0, width, 957}, 2.0}};
        const QList<DisplayInfo> list = CocoaDisplays(api).displays();
        ASSERT_EQ(list.size(), 1);
        const DisplayInfo& d = list.front();
        EXPECT_EQ(d.uuid.isEmpty() ? QString() : Screen::makeId(d.uuid, d.frame.width(), d.frame.height()), id);
    }
}

TEST(CocoaDisplays, UnusableFramesAreLeftOutAndAnUnusablePrimaryLeavesNothing)
{
    // Only the primary's frame matters for the flip; its visible frame is its own affair.
    const std::pair<CocoaScreenFacts, qsizetype> broken[] = {
        {screen({0, 982, std::nan(""), 1080}, {0, 982, 1920, 1055}), 0},
        {screen({0, 982, 1920, 1080}, {0, 982, 1920, -5}), 1},
        {screen({0, 982, 0, 1080}, {0, 982, 0, 1055}), 0},
    };
    for (const auto& [bad, leftAsPrimary] : broken) {
        FakeScreens api;
        api.mouse = {5, 5};
        api.list = {primary, bad};
        EXPECT_EQ(CocoaDisplays(api).displays().size(), 1);
        api.list = {bad, primary};
        EXPECT_EQ(CocoaDisplays(api).displays().size(), leftAsPrimary);
        EXPECT_EQ(CocoaDisplays(api).pointerLocation() == QPointF(), leftAsPrimary == 0);
    }
}

} // namespace
