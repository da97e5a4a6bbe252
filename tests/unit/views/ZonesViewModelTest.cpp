// The overlay's policy: which zones light up during a gesture and what its end snaps.
#include "views/ZonesViewModel.h"
#include "../windows/LogCapture.h"
#include "ViewsTestSupport.h"

namespace {

class ZonesViewModelTest : public ViewsTest
{
protected:
    ZonesViewModelTest()
    {
        QObject::connect(&viewModel, &ZonesViewModel::zoneHighlightChanged, [this](int i) { flips << i; });
    }

    void moveOver(const QStringList& zoneIds, bool multiZone)
    {
        engine.hits = zoneIds;
        viewModel.zoneGestureDidMove(gestureEvent(multiZone));
    }

    ZonesViewModel viewModel {screen, layout, engine, settings, screens};
    QList<int> flips;
};

TEST_F(ZonesViewModelTest, SingleZoneHighlightsWhatIsUnderThePointerMultiZoneKeepsWhatItTouched)
{
    moveOver({"1"}, false);
    moveOver({"2", "3"}, false); // near the border of 2 and 3 (span adjacent zones)
    EXPECT_EQ(highlighted(), QStringList({"2", "3"}));
    moveOver({}, false);
    EXPECT_TRUE(highlighted().isEmpty());
    EXPECT_EQ(flips, QList<int>({0, 0, 1, 2, 1, 2})) << "each flip announced once, nothing else";

    moveOver({"1"}, true);
    moveOver({"3"}, true);
    moveOver({}, true);
    EXPECT_EQ(highlighted(), QStringList({"1", "3"}));
    moveOver({"2"}, false); // Alt released
    EXPECT_EQ(highlighted(), QStringList({"2"}));
}

TEST_F(ZonesViewModelTest, EndOfGestureSnapsTheHighlightedZonesInLayoutOrderOrLogsWhyNot)
{
    LogCapture log;
    moveOver({"2"}, false);
    viewModel.zoneGestureDidEnd(ZoneGestureEvent {}, true);
    EXPECT_EQ(log.count(QStringLiteral("Zone gesture canceled")), 1);
    viewModel.zoneGestureDidEnd(gestureEvent(false), false);
    EXPECT_EQ(log.count(QStringLiteral("Released over no zone of LEFT - nothing snapped")), 1) << "the cancel cleared the highlight";
    moveOver({"1"}, false);
    viewModel.zoneGestureDidEnd(ZoneGestureEvent {}, false);
    EXPECT_TRUE(log.contains(QtCriticalMsg, QStringLiteral("without a dragged window")));
    EXPECT_TRUE(engine.snaps.empty());

    moveOver({"3"}, true);
    moveOver({"1"}, true);
    viewModel.zoneGestureDidEnd(gestureEvent(true, 7), false);
    ASSERT_EQ(engine.snaps.size(), 1u);
    EXPECT_EQ(engine.snaps[0].first->id(), 7u);
    EXPECT_EQ(engine.snaps[0].second, QStringList({"1", "3"}));
    EXPECT_TRUE(highlighted().isEmpty()) << "flags live on the layout's zones: none may leak into the next gesture";
}

TEST_F(ZonesViewModelTest, FollowsTheGestureOnlyWhileMonitoringAndStartsClean)
{
    layout->zones()[1]->setHighlighted(true); // left over from an earlier gesture
    viewModel.startMonitoring();
    viewModel.startMonitoring();
    EXPECT_EQ(engine.observers.items(), std::vector<ZoneGestureObserver*>({&viewModel}));
    EXPECT_TRUE(highlighted().isEmpty());
    engine.hits = {"2"};
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidMove(gestureEvent(false)); });
    EXPECT_EQ(highlighted(), QStringList({"2"}));
    viewModel.stopMonitoring();
    EXPECT_TRUE(engine.observers.empty());
}

} // namespace
