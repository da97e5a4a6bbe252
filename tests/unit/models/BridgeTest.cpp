#include "ModelTestSupport.h"

#include "models/LayoutBridge.h"
#include "models/LayoutPresets.h"
#include "models/SplitNodeBridge.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

// Same shape, split types and parent links, node by node.
void expectSameTree(const SplitNode::Ptr& a, const SplitNode::Ptr& b, const SplitNode::Ptr& expectedParent)
{
    ASSERT_TRUE(a && b);
    EXPECT_EQ(geometry(a), geometry(b));
    EXPECT_EQ(a->splitType(), b->splitType());
    EXPECT_EQ(b->parent(), expectedParent);
    ASSERT_EQ(a->children().size(), b->children().size());
    for (size_t i = 0; i < a->children().size(); ++i)
        expectSameTree(a->children()[i], b->children()[i], b);
}

} // namespace

TEST(LayoutBridge, TwoZoneLayoutHasTheStoredFormAndDecodesWithLiveSubscriptions)
{
    const auto layout = Layout::create(
        columns(1512, {756}), QUuid::fromString(QStringLiteral("a1b2c3d4-0000-4000-8000-00000000abcd")));
    layout->root()->setHeight(944);
    for (const auto& child : layout->root()->children())
        child->setHeight(944);
    const QByteArray stored(R"({"id":"A1B2C3D4-0000-4000-8000-00000000ABCD","root":{"children":[)"
                            R"({"children":[],"height":944,"splitType":0,"width":756,"x":0,"y":0},)"
                            R"({"children":[],"height":944,"splitType":0,"width":756,"x":756,"y":0}],)"
                            R"("height":944,"width":1512,"x":0,"y":0}})");
    EXPECT_EQ(LayoutBridge::serialize(layout), stored);

    const auto decoded = LayoutBridge::deserialize(stored);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(*decoded == *layout);
    EXPECT_FALSE(decoded->screen().has_value());
    expectSameTree(layout->root(), decoded->root(), nullptr);
    // Decoding subscribes without announcing; an edit then reaches the layout.
    int announced = 0;
    QObject::connect(decoded.get(), &Layout::willChange, decoded.get(), [&announced] { ++announced; });
    decoded->root()->children()[0]->splitAtRatio(SplitType::horizontal, 0.5);
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(decoded->zones().size(), 3u);
}

TEST(LayoutBridge, PresetsRoundTripAndAMissingIdIsFreshAtEveryLoad)
{
    FakeScreenGeometry screens;
    screens.connect(kScreen, QRectF(0, 25, 1440, 875));
    for (const auto type : {DefaultLayoutType::vertical, DefaultLayoutType::rightT, DefaultLayoutType::doubleRightT}) {
        const auto layout = defaultLayout(type, kScreen, screens);
        const std::optional<QByteArray> blob = LayoutBridge::serialize(layout);
        const auto decoded = LayoutBridge::deserialize(blob);
        ASSERT_TRUE(decoded);
        EXPECT_TRUE(*decoded == *layout);
        expectSameTree(layout->root(), decoded->root(), nullptr);
        EXPECT_EQ(LayoutBridge::serialize(decoded), blob);
    }

    const QByteArray withoutId(R"({"root":{"x":0,"y":0,"width":100,"height":100}})");
    const auto first = LayoutBridge::deserialize(withoutId);
    const auto second = LayoutBridge::deserialize(withoutId);
    ASSERT_TRUE(first && second);
    EXPECT_FALSE(*first == *second);
}

TEST(LayoutBridge, CorruptBlobsDecodeToNothing)
{
    EXPECT_EQ(LayoutBridge::deserialize(std::nullopt), nullptr);
    EXPECT_EQ(LayoutBridge::serialize(nullptr), std::nullopt);
    const char* corrupt[] = {
        "not json",
        R"({"root":{"x":0,"y":0,"width":100,)",
        "[]",
        R"({"id":"A1B2C3D4-0000-4000-8000-00000000ABCD"})",
        R"({"root":[]})",
        R"({"id":"not-a-uuid","root":{"x":0,"y":0,"width":1,"height":1}})",
        R"({"id":"{a1b2c3d4-0000-4000-8000-00000000abcd}","root":{"x":0,"y":0,"width":1,"height":1}})",
        R"({"root":{"x":0,"y":0,"width":100}})",
        R"({"root":{"x":0,"y":0,"width":"100","height":100}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"splitType":2}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"splitType":"0"}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"children":{}}})",
        R"({"root":{"x":0,"y":0,"width":100,"height":100,"children":[{"x":0,"y":0,"width":50}]}})",
        R"({"root":{"x":1e400,"y":0,"width":100,"height":100}})",
    };
    for (const char* text : corrupt)
        EXPECT_EQ(LayoutBridge::deserialize(QByteArray(text)), nullptr) << text;
}

TEST(SplitNodeBridge, LeafWithoutSplitTypeAndOddChildCounts)
{
    const auto leaf = SplitNodeBridge::deserialize(QByteArray(R"({"x":0,"y":0,"width":100,"height":100})"));
    ASSERT_TRUE(leaf);
    EXPECT_FALSE(leaf->splitType().has_value());
    EXPECT_TRUE(leaf->isLeaf());
    EXPECT_EQ(SplitNodeBridge::serialize(leaf), QByteArray(R"({"children":[],"height":100,"width":100,"x":0,"y":0})"));
    EXPECT_EQ(SplitNodeBridge::deserialize(QByteArray("[1]")), nullptr);

    // The child count is not checked on load; one child makes no border and cannot be resized.
    ErrorLog log;
    const auto single
        = LayoutBridge::deserialize(QByteArray(R"({"root":{"x":0,"y":0,"width":800,"height":600,)"
                                               R"("children":[{"x":0,"y":0,"width":800,"height":600}]}})"));
    ASSERT_TRUE(single);
    EXPECT_EQ(single->zones().size(), 1u);
    EXPECT_TRUE(single->borders().empty());
    single->root()->resizeFirstChild(300);
    EXPECT_EQ(single->root()->children()[0]->width(), 800);
    EXPECT_FALSE(ErrorLog::messages().empty());
}

TEST(SplitNodeBridge, HugeCoordinatesLoadButANonFiniteTreeIsNotStored)
{
    const auto node = SplitNodeBridge::deserialize(QByteArray(R"({"x":1e308,"y":-1e308,"width":1.7e308,"height":1})"));
    ASSERT_TRUE(node);
    EXPECT_EQ(node->width(), 1.7e308);
    EXPECT_TRUE(SplitNodeBridge::serialize(node).has_value());

    node->splitAtRatio(SplitType::vertical, 0.5); // the second child starts past the largest double
    EXPECT_EQ(node->children()[1]->x(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(SplitNodeBridge::serialize(node), std::nullopt);
    const auto layout = Layout::create(node);
    EXPECT_EQ(layout->zones().size(), 2u);
    EXPECT_EQ(LayoutBridge::serialize(layout), std::nullopt);
}
