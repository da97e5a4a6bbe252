#include "ModelTestSupport.h"

#include <gtest/gtest.h>

using V = std::vector<double>;

TEST(SplitNodeSplit, RatiosRoundHalfAwayFromZeroAndClampWithTheLowerBoundLast)
{
    const SplitNode::Ptr half = SplitNode::create(0, 0, 1512, 944);
    half->splitAtRatio(SplitType::vertical, 0.5);
    EXPECT_EQ(geometry(half->children()[0]), (V {0, 0, 756, 944}));
    EXPECT_EQ(geometry(half->children()[1]), (V {756, 0, 756, 944}));
    for (const SplitNode::Ptr& child : half->children()) {
        EXPECT_EQ(child->splitType(), SplitType::vertical);
        EXPECT_EQ(child->parent(), half);
    }
    half->splitAtRatio(SplitType::vertical, 0.667); // 1008.504; replaces the children
    EXPECT_EQ(half->children()[0]->width(), 1009);
    EXPECT_EQ(half->children()[1]->width(), 503);

    const SplitNode::Ptr tie = SplitNode::create(10, 20, 300, 1001);
    tie->splitAtRatio(SplitType::horizontal, 0.5); // 500.5 rounds up, not to even
    EXPECT_EQ(geometry(tie->children()[1]), (V {10, 521, 300, 500}));

    const SplitNode::Ptr narrow = SplitNode::create(0, 0, 150, 800);
    narrow->splitAtRatio(SplitType::vertical, 0.5);
    EXPECT_EQ(geometry(narrow->children()[1]), (V {100, 0, 50, 800}));
    const SplitNode::Ptr empty = SplitNode::create(0, 0, 0, 0);
    empty->splitAtRatio(SplitType::vertical, 0.5);
    EXPECT_EQ(geometry(empty->children()[1]), (V {100, 0, -100, 0}));
}

TEST(SplitNodeSplit, OffsetsRoundBeforeTheClampAndNotAfter)
{
    EXPECT_EQ(columns(1000, {20})->children()[1]->width(), 900);
    EXPECT_EQ(columns(1000, {990})->children()[1]->width(), 100);
    // A fractional extent: the offset keeps the fractional bound, the ratio rounds it.
    EXPECT_EQ(columns(300.75, {250})->children()[0]->width(), 200.75);
    const SplitNode::Ptr byRatio = SplitNode::create(0, 0, 300.75, 800);
    byRatio->splitAtRatio(SplitType::vertical, 0.9);
    EXPECT_EQ(byRatio->children()[0]->width(), 201);
}

TEST(SplitNodeResize, LeafNeighbourLimitsAndRounding)
{
    const SplitNode::Ptr p = columns(1000, {500});
    ChangeCounter changes(p);
    p->resizeFirstChild(700.5);
    EXPECT_EQ(geometry(p->children()[1]), (V {701, 0, 299, 800}));
    p->resizeFirstChild(5000);
    EXPECT_EQ(geometry(p->children()[1]), (V {900, 0, 100, 800}));
    p->resizeFirstChild(-40);
    EXPECT_EQ(geometry(p->children()[1]), (V {100, 0, 900, 800}));
    EXPECT_EQ(changes.count(), 3);
}

TEST(SplitNodeResize, CappedAHundredBeforeTheNeighboursInnerBorder)
{
    // A | (B1 | B2): the border stops at B2.x - 100 and B1 absorbs the move.
    const SplitNode::Ptr p = columns(1000, {500, 250});
    const SplitNode::Ptr b = p->children()[1];
    p->resizeFirstChild(900);
    EXPECT_EQ(p->children()[0]->width(), 650);
    EXPECT_EQ(geometry(b->children()[0]), (V {650, 0, 100, 800}));
    EXPECT_EQ(geometry(b->children()[1]), (V {750, 0, 250, 800}));

    // B stacked, its lower half cut side by side at 700: that border limits too.
    const SplitNode::Ptr q = columns(1000, {500});
    q->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
    const SplitNode::Ptr lower = q->children()[1]->children()[1];
    lower->splitAtOffset(SplitType::vertical, 200);
    q->resizeFirstChild(900);
    EXPECT_EQ(geometry(q->children()[1]->children()[0]), (V {600, 0, 400, 400}));
    EXPECT_EQ(geometry(lower->children()[0]), (V {600, 400, 100, 400}));
    EXPECT_EQ(geometry(lower->children()[1]), (V {700, 400, 300, 400}));
}

TEST(SplitNodeResize, LowerLimitFollowsTheFirstChildsInnerBorders)
{
    const SplitNode::Ptr p = columns(1000, {500});
    p->children()[0]->splitAtOffset(SplitType::vertical, 300);
    p->resizeFirstChild(150);
    EXPECT_EQ(geometry(p->children()[0]->children()[1]), (V {300, 0, 100, 800}));

    // Only the first half cut again: its border at 300 counts, not the one at 600,
    // so the far zone is pushed past its minimum.
    const SplitNode::Ptr q = columns(1200, {800});
    const SplitNode::Ptr a = q->children()[0];
    a->splitAtOffset(SplitType::vertical, 600);
    a->children()[0]->splitAtOffset(SplitType::vertical, 300);
    q->resizeFirstChild(150);
    EXPECT_EQ(geometry(a->children()[1]), (V {600, 0, -200, 800}));

    // Both halves cut again: the smaller of their results wins.
    const SplitNode::Ptr r = columns(1200, {800});
    const SplitNode::Ptr b = r->children()[0];
    b->splitAtOffset(SplitType::vertical, 400);
    b->children()[0]->splitAtOffset(SplitType::vertical, 200);
    b->children()[1]->splitAtOffset(SplitType::vertical, 200);
    r->resizeFirstChild(150);
    EXPECT_EQ(b->width(), 300);
    EXPECT_EQ(geometry(b->children()[1]->children()[1]), (V {600, 0, -300, 800}));
}

TEST(SplitNodeResize, StackedBorderOfANodeBelowTheTop)
{
    const SplitNode::Ptr p = SplitNode::create(0, 0, 1000, 1000);
    p->splitAtOffset(SplitType::horizontal, 400);
    const SplitNode::Ptr lower = p->children()[1]; // y 400, height 600
    lower->splitAtOffset(SplitType::horizontal, 200);
    const SplitNode::Ptr b = lower->children()[1];
    b->splitAtOffset(SplitType::horizontal, 150); // inner border at y 750
    lower->resizeFirstChild(1000);
    EXPECT_EQ(lower->children()[0]->height(), 250); // measured from the node's top: 750 - 400 - 100
    EXPECT_EQ(geometry(b->children()[0]), (V {0, 650, 1000, 100}));
}

TEST(SplitNodeResize, RefusedSilentlyWhenTheSecondChildWouldDropUnderAHundred)
{
    // Away from the left edge the side-by-side cap mixes an absolute x with a size;
    // only the second child's own check holds the border.
    const SplitNode::Ptr top = columns(2000, {1000, 500, 250});
    const SplitNode::Ptr p = top->children()[1];
    const SplitNode::Ptr b = p->children()[1];
    ChangeCounter changes(top);
    p->resizeFirstChild(901); // b would be 99 wide
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(geometry(b), (V {1500, 0, 500, 800}));
    EXPECT_EQ(geometry(b->children()[0]), (V {1500, 0, 250, 800}));
    p->resizeFirstChild(900);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(geometry(b), (V {1900, 0, 100, 800}));
}

TEST(SplitNodeResize, LeafAndMissingSplitTypeAreLoggedAsErrors)
{
    ErrorLog log;
    const SplitNode::Ptr leaf = SplitNode::create(0, 0, 1000, 800);
    ChangeCounter leafChanges(leaf);
    leaf->resizeFirstChild(300);
    EXPECT_EQ(ErrorLog::count("Attempted to resize a child of a leaf node"), 1);
    EXPECT_EQ(leafChanges.count(), 0);

    // Untyped children: nothing moves and no border is listed, but the change is announced.
    leaf->setChildren({SplitNode::create(0, 0, 400, 800), SplitNode::create(400, 0, 600, 800)});
    leaf->resizeFirstChild(500);
    EXPECT_EQ(leaf->children()[0]->width(), 400);
    EXPECT_EQ(leafChanges.count(), 2);
    EXPECT_TRUE(leaf->getResizeBorders().empty());
    EXPECT_EQ(ErrorLog::count("Invalid split type"), 2);
}

TEST(SplitNodeTree, DoubleRightTBordersAndLeavesInPreOrder)
{
    const SplitNode::Ptr p = SplitNode::create(0, 0, 1512, 944);
    p->splitAtRatio(SplitType::vertical, 0.4);
    const SplitNode::Ptr rest = p->children()[1];
    rest->splitAtRatio(SplitType::vertical, 0.6);
    const SplitNode::Ptr column = rest->children()[1];
    column->splitAtRatio(SplitType::horizontal, 0.5);

    const std::vector<SplitBorder> borders = p->getResizeBorders();
    ASSERT_EQ(borders.size(), 3u);
    const std::vector<SplitNode::Ptr> parents {p, rest, column};
    const std::vector<QRectF> rects {{604, 0, 2, 944}, {1148, 0, 2, 944}, {1149, 471, 363, 2}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(borders[i].id, i);
        EXPECT_EQ(borders[i].parent, parents[i]);
        EXPECT_EQ(borders[i].rect, rects[i]);
        EXPECT_EQ(borders[i].splitType, i == 2 ? SplitType::horizontal : SplitType::vertical);
    }
    EXPECT_EQ(rest->getResizeBorders()[1].id, 1); // a subtree numbers from 0
    EXPECT_EQ(p->getNodes(),
        (std::vector<SplitNode::Ptr> {
            p->children()[0], rest->children()[0], column->children()[0], column->children()[1]}));
}

TEST(SplitNodeNotification, StructuralChangesReachTheRootOnceAndGeometryAssignmentsNever)
{
    const SplitNode::Ptr p = columns(1000, {500});
    const SplitNode::Ptr b = p->children()[1];
    b->splitAtRatio(SplitType::horizontal, 0.5);
    const SplitNode::Ptr former = b->children()[0];
    ChangeCounter atRoot(p);

    b->children()[1]->splitAtRatio(SplitType::vertical, 0.5);
    EXPECT_EQ(atRoot.count(), 1);
    EXPECT_EQ(atRoot.emitters.back(), p); // each level re-announces itself
    b->resizeFirstChild(300);
    b->setWidth(10);
    EXPECT_EQ(atRoot.count(), 2);
    b->setChildren({});
    EXPECT_EQ(atRoot.count(), 3);
    // A former child still held elsewhere is still listened to.
    former->splitAtRatio(SplitType::vertical, 0.5);
    EXPECT_EQ(atRoot.count(), 4);

    int heard = 0;
    SplitNode::Subscription subscription = p->subscribe([&heard](const SplitNode::Ptr&) { ++heard; });
    subscription = SplitNode::Subscription();
    p->setChildren({});
    EXPECT_EQ(heard, 0);
}

TEST(SplitNodeNotification, CollapsedNodesNeverCallBackIntoFreedParents)
{
    std::weak_ptr<SplitNode> weakRoot;
    SplitNode::Ptr survivor;
    std::vector<std::weak_ptr<SplitNode>> dropped;
    {
        const SplitNode::Ptr p = columns(1000, {500});
        weakRoot = p;
        p->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
        survivor = p->children()[1]->children()[0];
        dropped = {p->children()[1], p->children()[1]->children()[1]};
        p->setChildren({});
        EXPECT_TRUE(dropped[0].expired() && dropped[1].expired());
    }
    EXPECT_TRUE(weakRoot.expired());
    EXPECT_EQ(survivor->parent(), nullptr);
    survivor->splitAtRatio(SplitType::vertical, 0.5);
    survivor->resizeFirstChild(120);
    EXPECT_EQ(survivor->children()[0]->width(), 120);
}
