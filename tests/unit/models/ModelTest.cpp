// The split tree, the layouts and zones built from it, and their stored form.
#include "models/LayoutBridge.h"
#include "models/LayoutPresets.h"
#include "models/Zone.h"

#include <QHash>

#include <gtest/gtest.h>

namespace {

using V = std::vector<double>;
using Rects = std::vector<QRectF>;

class FakeScreenGeometry final : public ScreenGeometry
{
public:
    void connect(const Screen& screen, const QRectF& frame) { m_frames.insert(screen.id(), frame); }
    std::optional<QRectF> visibleFrameOf(const Screen& screen) const override
    {
        const auto it = m_frames.constFind(screen.id());
        return it == m_frames.constEnd() ? std::nullopt : std::optional<QRectF>(*it);
    }

private:
    QHash<QString, QRectF> m_frames;
};

const Screen kScreen(QStringLiteral("37D8832A-2D66-02CA-B9F7-8F30A301B230-1512x982"), QStringLiteral("Built-in"));

FakeScreenGeometry connected(const QRectF& frame = QRectF(0, 38, 1512, 944))
{
    FakeScreenGeometry screens;
    screens.connect(kScreen, frame);
    return screens;
}

V geometry(const SplitNode::Ptr& node)
{
    return {node->x(), node->y(), node->width(), node->height()};
}

Rects zoneRects(const Layout& layout)
{
    Rects rects;
    for (const auto& zone : layout.zones())
        rects.push_back(zone->rect());
    return rects;
}

// A node at the origin cut side by side at the given offsets, each into the second child of the previous cut.
SplitNode::Ptr columns(double width, std::initializer_list<double> offsets)
{
    const SplitNode::Ptr root = SplitNode::create(0, 0, width, 800);
    SplitNode::Ptr node = root;
    for (const double offset : offsets) {
        node->splitAtOffset(SplitType::vertical, offset);
        node = node->children()[1];
    }
    return root;
}

} // namespace

TEST(SplitNode, SplitsRoundHalfAwayFromZeroAndClampWithTheLowerBoundLast)
{
    struct Row
    {
        double extent, ratio, firstWidth, secondX, secondWidth;
    };
    const Row rows[] = {
        {1512, 0.5, 756, 756, 756},
        {1512, 0.667, 1009, 1009, 503}, // 1008.504
        {1001, 0.5, 501, 501, 500}, // 500.5 rounds up, not to even
        {150, 0.5, 100, 100, 50}, // under 200 the first child keeps 100
        {0, 0.5, 100, 100, -100},
        {300.75, 0.9, 201, 201, 99.75},
    };
    for (const Row& row : rows) {
        const SplitNode::Ptr node = SplitNode::create(0, 0, row.extent, 800);
        node->splitAtRatio(SplitType::vertical, row.ratio);
        EXPECT_EQ(geometry(node->children()[0]), (V {0, 0, row.firstWidth, 800})) << row.extent << " " << row.ratio;
        EXPECT_EQ(geometry(node->children()[1]), (V {row.secondX, 0, row.secondWidth, 800}));
    }
    // Offsets round before the clamp: a fractional extent keeps its fractional bound.
    EXPECT_EQ(columns(1000, {20})->children()[1]->width(), 900);
    EXPECT_EQ(columns(300.75, {250})->children()[0]->width(), 200.75);
}

TEST(SplitNode, ResizeKeepsEveryZoneAHundredPointsWide)
{
    const SplitNode::Ptr p = columns(1000, {500});
    for (const auto& [asked, secondX] : {std::pair {700.5, 701.0}, {5000, 900}, {-40, 100}}) {
        p->resizeFirstChild(asked);
        EXPECT_EQ(geometry(p->children()[1]), (V {secondX, 0, 1000 - secondX, 800})) << asked;
    }

    // A | (B1 | B2): the border stops a hundred before B2 and B1 absorbs the move.
    const SplitNode::Ptr q = columns(1000, {500, 250});
    q->resizeFirstChild(900);
    EXPECT_EQ(geometry(q->children()[1]->children()[0]), (V {650, 0, 100, 800}));

    // The lower limit follows the first child's inner borders.
    const SplitNode::Ptr r = columns(1000, {500});
    r->children()[0]->splitAtOffset(SplitType::vertical, 300);
    r->resizeFirstChild(150);
    EXPECT_EQ(geometry(r->children()[0]->children()[1]), (V {300, 0, 100, 800}));

    // Stacked, below the top: limits are measured from the node's own top (750 - 400 - 100).
    const SplitNode::Ptr s = SplitNode::create(0, 0, 1000, 1000);
    s->splitAtOffset(SplitType::horizontal, 400);
    const SplitNode::Ptr lower = s->children()[1];
    lower->splitAtOffset(SplitType::horizontal, 200);
    lower->children()[1]->splitAtOffset(SplitType::horizontal, 150);
    lower->resizeFirstChild(1000);
    EXPECT_EQ(lower->children()[0]->height(), 250);

    // Away from the left edge only the second child's own check holds the border: a
    // second child of exactly 100 is allowed, of 99 refused without an announcement.
    const SplitNode::Ptr top = columns(2000, {1000, 500, 250});
    const SplitNode::Ptr mid = top->children()[1];
    int announced = 0;
    const SplitNode::Subscription subscription = top->subscribe([&](const SplitNode::Ptr&) { ++announced; });
    mid->resizeFirstChild(901);
    EXPECT_EQ(announced, 0);
    EXPECT_EQ(geometry(mid->children()[1]), (V {1500, 0, 500, 800}));
    mid->resizeFirstChild(900);
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(geometry(mid->children()[1]), (V {1900, 0, 100, 800}));
}

TEST(SplitNode, StructuralChangesReachTheRootOnce)
{
    const SplitNode::Ptr p = columns(1000, {500});
    const SplitNode::Ptr b = p->children()[1];
    b->splitAtRatio(SplitType::horizontal, 0.5);
    const SplitNode::Ptr former = b->children()[0];
    std::vector<SplitNode::Ptr> heard;
    SplitNode::Subscription subscription = p->subscribe([&](const SplitNode::Ptr& emitter) { heard.push_back(emitter); });
    b->children()[1]->splitAtRatio(SplitType::vertical, 0.5);
    b->resizeFirstChild(300);
    b->setWidth(10); // geometry assignments are never announced
    b->setChildren({});
    former->splitAtRatio(SplitType::vertical, 0.5); // a former child still held is still heard
    EXPECT_EQ(heard, (std::vector<SplitNode::Ptr> {p, p, p, p}));
}

TEST(Layout, PresetsNumberTheirZonesInPreOrderWithBordersBetween)
{
    const FakeScreenGeometry screens = connected();
    EXPECT_EQ(zoneRects(*defaultLayout(DefaultLayoutType::vertical, kScreen, screens)),
        (Rects {{0, 0, 756, 944}, {756, 0, 756, 944}}));
    EXPECT_EQ(zoneRects(*defaultLayout(DefaultLayoutType::rightT, kScreen, screens)),
        (Rects {{0, 0, 1009, 944}, {1009, 0, 503, 472}, {1009, 472, 503, 472}}));
    const auto layout = defaultLayout(DefaultLayoutType::doubleRightT, kScreen, screens);
    EXPECT_EQ(zoneRects(*layout), (Rects {{0, 0, 605, 944}, {605, 0, 544, 944}, {1149, 0, 363, 472}, {1149, 472, 363, 472}}));
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(layout->zones()[i]->id(), QString::number(i + 1));
        EXPECT_EQ(layout->zones()[i]->screen(), kScreen);
        const SplitNode::Ptr node = layout->nodesByID().value(QString::number(i + 1));
        ASSERT_TRUE(node);
        EXPECT_EQ(node->rect(), layout->zones()[i]->rect());
    }
    ASSERT_EQ(layout->borders().size(), 3u);
    EXPECT_EQ(layout->borders()[2].rect, QRectF(1149, 471, 363, 2)) << "two points across, on the line between";
    EXPECT_EQ(zoneRects(*Layout::defaultFor(kScreen, FakeScreenGeometry())), (Rects {{0, 0, 0, 0}}));
}

TEST(Layout, EditsRebuildTheZonesBeforeAnnouncingAndResetCollapsesThem)
{
    FakeScreenGeometry screens = connected();
    const auto layout = defaultLayout(DefaultLayoutType::vertical, kScreen, screens);
    std::vector<Rects> seen;
    QObject::connect(layout.get(), &Layout::willChange, layout.get(), [&] { seen.push_back(zoneRects(*layout)); });

    layout->nodesByID().value(QStringLiteral("2"))->splitAtOffset(SplitType::horizontal, 300);
    layout->borders()[0].parent->resizeFirstChild(600);
    layout->borders()[1].parent->setChildren({});
    EXPECT_EQ(seen,
        (std::vector<Rects> {{{0, 0, 756, 944}, {756, 0, 756, 300}, {756, 300, 756, 644}},
            {{0, 0, 600, 944}, {600, 0, 912, 300}, {600, 300, 912, 644}}, {{0, 0, 600, 944}, {600, 0, 912, 944}}}));

    seen.clear();
    screens.connect(kScreen, QRectF(0, 0, 1200, 800));
    layout->reset(kScreen, screens);
    EXPECT_EQ(seen, (std::vector<Rects> {{{0, 0, 1512, 944}}})) << "collapsed at the old size, then resized silently";
    EXPECT_EQ(layout->root()->rect(), QRectF(0, 0, 1200, 800));
    EXPECT_TRUE(layout->borders().empty());
}

TEST(LayoutBridge, StoredFormRoundTripsAndCorruptBlobsDecodeToNothing)
{
    const auto layout = Layout::create(
        columns(1512, {756}), QUuid::fromString(QStringLiteral("a1b2c3d4-0000-4000-8000-00000000abcd")));
    layout->root()->children()[1]->setY(7);
    const QByteArray stored(R"({"id":"A1B2C3D4-0000-4000-8000-00000000ABCD","root":{"children":[)"
                            R"({"children":[],"height":800,"splitType":0,"width":756,"x":0,"y":0},)"
                            R"({"children":[],"height":800,"splitType":0,"width":756,"x":756,"y":7}],)"
                            R"("height":800,"width":1512,"x":0,"y":0}})");
    EXPECT_EQ(LayoutBridge::serialize(layout), stored);
    const auto decoded = LayoutBridge::deserialize(stored);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(*decoded == *layout);
    EXPECT_EQ(LayoutBridge::serialize(decoded), stored);
    EXPECT_EQ(decoded->root()->children()[1]->parent(), decoded->root());
    // Decoding subscribes: an edit reaches the layout.
    decoded->root()->children()[0]->splitAtRatio(SplitType::horizontal, 0.5);
    EXPECT_EQ(decoded->zones().size(), 3u);

    const QByteArray withoutId(R"({"root":{"x":0,"y":0,"width":100,"height":100}})");
    EXPECT_FALSE(*LayoutBridge::deserialize(withoutId) == *LayoutBridge::deserialize(withoutId)) << "fresh at every load";

    const char* corrupt[] = {
        "not json",
        R"({"root":{"x":0,"y":0,"width":100,)",
        "[]",
        R"({"root":[]})",
        R"({"id":"not-a-uuid","root":{"x":0,"y":0,"width":1,"height":1}})",
        R"({"root":{"x":0,"y":0,"width":100}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"splitType":2}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"children":{}}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"children":[{"x":0,"y":0,"width":50}]}})",
        R"({"root":{"x":1e400,"y":0,"width":100,"height":100}})",
    };
    for (const char* text : corrupt)
        EXPECT_EQ(LayoutBridge::deserialize(QByteArray(text)), nullptr) << text;
}
