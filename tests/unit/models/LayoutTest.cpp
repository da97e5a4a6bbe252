#include "ModelTestSupport.h"

#include "models/Layout.h"
#include "models/LayoutPresets.h"

#include <gtest/gtest.h>

namespace {

using Rects = std::vector<QRectF>;

FakeScreenGeometry connected()
{
    FakeScreenGeometry screens;
    screens.connect(kScreen, QRectF(0, 38, 1512, 944));
    return screens;
}

Rects zoneRects(const Layout& layout)
{
    Rects rects;
    for (const auto& zone : layout.zones())
        rects.push_back(zone->rect());
    return rects;
}

// Records, at each willChange(), the zones the layout already shows.
struct WillChangeRecorder
{
    explicit WillChangeRecorder(const std::shared_ptr<Layout>& layout)
    {
        QObject::connect(layout.get(), &Layout::willChange, layout.get(),
            [this, raw = layout.get()] { seen.push_back(zoneRects(*raw)); });
    }
    std::vector<Rects> seen;
};

} // namespace

TEST(LayoutPresets, ZonesOfThePresetsAndOfTheDefault)
{
    const FakeScreenGeometry screens = connected();
    const auto vertical = defaultLayout(DefaultLayoutType::vertical, kScreen, screens);
    EXPECT_EQ(zoneRects(*vertical), (Rects {{0, 0, 756, 944}, {756, 0, 756, 944}}));
    EXPECT_EQ(vertical->zones()[1]->screen(), kScreen);
    const auto rightT = defaultLayout(DefaultLayoutType::rightT, kScreen, screens);
    EXPECT_EQ(zoneRects(*rightT), (Rects {{0, 0, 1009, 944}, {1009, 0, 503, 472}, {1009, 472, 503, 472}}));
    const auto doubleRightT = defaultLayout(DefaultLayoutType::doubleRightT, kScreen, screens);
    EXPECT_EQ(zoneRects(*doubleRightT),
        (Rects {{0, 0, 605, 944}, {605, 0, 544, 944}, {1149, 0, 363, 472}, {1149, 472, 363, 472}}));
    EXPECT_EQ(doubleRightT->borders().size(), 3u);
    for (size_t i = 0; i < 4; ++i) {
        const auto& zone = doubleRightT->zones()[i];
        EXPECT_EQ(zone->id(), QString::number(i + 1));
        EXPECT_EQ(doubleRightT->nodesByID().value(zone->id())->rect(), zone->rect());
    }
    EXPECT_EQ(zoneRects(*Layout::defaultFor(kScreen, screens)), (Rects {{0, 0, 1512, 944}}));

    // A screen that is not connected: a 0 x 0 root, cut by the split clamps.
    const FakeScreenGeometry none;
    EXPECT_EQ(zoneRects(*defaultLayout(DefaultLayoutType::vertical, kScreen, none)),
        (Rects {{0, 0, 100, 0}, {100, 0, -100, 0}}));
    EXPECT_EQ(zoneRects(*Layout::defaultFor(kScreen, none)), (Rects {{0, 0, 0, 0}}));
}

TEST(LayoutChanges, TreeEditsRebuildZonesBeforeAnnouncing)
{
    const auto layout = defaultLayout(DefaultLayoutType::vertical, kScreen, connected());
    WillChangeRecorder recorder(layout);
    const std::shared_ptr<Zone> before = layout->zones()[1];

    layout->nodesByID().value(QStringLiteral("2"))->splitAtOffset(SplitType::horizontal, 300);
    ASSERT_EQ(recorder.seen.size(), 1u);
    EXPECT_EQ(recorder.seen[0], (Rects {{0, 0, 756, 944}, {756, 0, 756, 300}, {756, 300, 756, 644}}));
    EXPECT_NE(layout->zones()[1], before); // rebuilt, not edited

    layout->borders()[0].parent->resizeFirstChild(600);
    ASSERT_EQ(recorder.seen.size(), 2u);
    EXPECT_EQ(recorder.seen[1][2], QRectF(600, 300, 912, 644));

    const SplitBorder border = layout->borders()[1];
    EXPECT_EQ(border.splitType, SplitType::horizontal);
    border.parent->setChildren({});
    ASSERT_EQ(recorder.seen.size(), 3u);
    EXPECT_EQ(recorder.seen[2], (Rects {{0, 0, 600, 944}, {600, 0, 912, 944}}));
    EXPECT_EQ(layout->nodesByID().size(), 2);
    EXPECT_EQ(layout->borders().size(), 1u);

    // Assigning the screen rebuilds the zones without announcing.
    layout->setScreen(std::nullopt);
    EXPECT_FALSE(layout->zones()[0]->screen().has_value());
    EXPECT_EQ(recorder.seen.size(), 3u);
}

TEST(LayoutChanges, ResetCollapsesAtTheOldSizeAndResizesTheRootSilently)
{
    FakeScreenGeometry screens = connected();
    const auto layout = defaultLayout(DefaultLayoutType::doubleRightT, kScreen, screens);
    const std::weak_ptr<SplitNode> oldLeaf = layout->nodesByID().value(QStringLiteral("4"));
    WillChangeRecorder recorder(layout);

    screens.connect(kScreen, QRectF(0, 0, 1200, 800));
    layout->reset(kScreen, screens);
    EXPECT_EQ(recorder.seen, (std::vector<Rects> {{{0, 0, 1512, 944}}}));
    EXPECT_TRUE(layout->borders().empty());
    EXPECT_EQ(layout->root()->rect(), QRectF(0, 0, 1200, 800));
    EXPECT_TRUE(oldLeaf.expired());

    layout->reset(kScreen, FakeScreenGeometry()); // disconnected: the size stays
    EXPECT_EQ(zoneRects(*layout), (Rects {{0, 0, 1200, 800}}));
}

TEST(LayoutLifetime, TreeOutlivingItsLayoutStaysUsable)
{
    SplitNode::Ptr root;
    {
        const auto layout = defaultLayout(DefaultLayoutType::rightT, kScreen, connected());
        root = layout->root();
        layout->borders()[1].parent->setChildren({});
        EXPECT_EQ(layout->zones().size(), 2u);
    }
    root->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
    root->resizeFirstChild(800);
    EXPECT_EQ(root->getNodes().size(), 3u);
}
