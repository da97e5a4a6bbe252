// The first-run guide walked with the keyboard, its layout choice on every screen; the
// debug window over a live engine while windows and screens vanish, and its "Why won't
// this window snap?" for the windows users ask about.
#include "FakeEngine.h"
#include "TestSupport.h"
#include "models/Layout.h"
#include "views/DebugWindow.h"
#include "views/OnboardingWindow.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

const QRectF kLeft(0, 0, 1280, 1080), kRight(1280, 0, 1280, 1080);

class FirstRunAndDiagnostics : public ::testing::Test, protected FakeEngine
{
protected:
    void SetUp() override
    {
        DisplayInfo left = FakeDisplayServer::display("11111111-1111-1111-1111-111111111111", "LEFT", kLeft);
        left.visibleFrameSource = QStringLiteral("the whole monitor: no panel reserves space on it");
        displays.setDisplays({left, FakeDisplayServer::display("22222222-2222-2222-2222-222222222222", "RIGHT", kRight)});
        hotkeys.holdElsewhere(KeyCombination(hotkeys.primaryModifiers(), Qt::Key_Up));
        shortcuts.registerDefaultShortcuts();
        layouts.setDefaultLayouts();
    }
    // The active layout's position in each screen's catalogue, LEFT first.
    QList<int> activeIndexes()
    {
        QList<int> result;
        for (const Screen& screen : screens.screens()) {
            const LayoutList list = layouts.layouts(screen);
            const auto at = std::find(list.begin(), list.end(), layouts.activeFor(screen));
            result << int(at - list.begin());
        }
        return result;
    }
    QString snapshotText() { return DebugViewModel::toText(debug.model().snapshot()); }

    DebugWindow debug {{screens, layouts, zoneManager, windows, gestures, dragMonitor, shortcuts,
        [] { return DesktopFacts {{QStringLiteral("Window manager"), QStringLiteral("Openbox")}}; }}};
};

TEST_F(FirstRunAndDiagnostics, TheGuideWorksByKeyboardAndItsChoiceReachesEveryScreenThatHoldsThePresets)
{
    OnboardingWindow guide(layouts, screens, shortcuts, true);
    guide.present();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&guide));
    QTest::keyClick(&guide, Qt::Key_Return);
    EXPECT_EQ(guide.model().step(), OnboardingViewModel::Step::ChooseLayout);
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    EXPECT_EQ(activeIndexes(), (QList<int> {1, 1})) << "the second preset on both screens";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right); // past the last: stays
    EXPECT_EQ(activeIndexes(), (QList<int> {2, 2}));

    // Left open while a monitor goes and comes back, the guide still acts on what is there.
    const QList<DisplayInfo> both = displays.displays();
    displays.changeDisplays({both.at(1)});
    guide.model().choose(DefaultLayoutType::vertical);
    displays.changeDisplays(both);
    EXPECT_EQ(activeIndexes(), (QList<int> {2, 0}));
    guide.model().choose(DefaultLayoutType::doubleRightT);

    // A screen whose catalogue is no longer the three presets stops the walk there.
    const Screen right = screens.screens().at(1);
    LayoutList grown = layouts.layouts(right);
    grown.push_back(Layout::defaultFor(right, screens));
    layouts.save(grown, right);
    guide.model().choose(DefaultLayoutType::vertical);
    EXPECT_EQ(activeIndexes(), (QList<int> {0, 2}));
    const Screen left = screens.screens().at(0);
    LayoutList leftGrown = layouts.layouts(left);
    leftGrown.push_back(Layout::defaultFor(left, screens));
    layouts.save(leftGrown, left);
    guide.model().choose(DefaultLayoutType::rightT);
    EXPECT_EQ(activeIndexes(), (QList<int> {0, 2})) << "the first screen stops it before any change";

    guide.findChild<QWidget*>("back")->setFocus(); // Enter on Back goes back
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(guide.model().step(), OnboardingViewModel::Step::Welcome);
    QTest::keyClick(&guide, Qt::Key_Return);
    QTest::keyClick(&guide, Qt::Key_Return);
    EXPECT_EQ(guide.model().step(), OnboardingViewModel::Step::Done);
    const QList<QPair<QString, QString>> rows = guide.model().shortcutRows();
    ASSERT_EQ(rows.size(), 6);
    EXPECT_EQ(rows.first().second, KeyCombinations::toDisplayText(*shortcuts.shortcut(ShortcutNames::cycleWindowLeft)));
    QSignalSpy closed(&guide, &OnboardingWindow::closed);
    QTest::keyClick(&guide, Qt::Key_Return);
    EXPECT_EQ(closed.size(), 1);
    EXPECT_FALSE(guide.isVisible());
    EXPECT_TRUE(OnboardingViewModel(layouts, screens, shortcuts, false).trayText().contains("launch Parqueta again"));
}

TEST_F(FirstRunAndDiagnostics, TheDebugWindowFollowsTheEngineAndExplainsWindows)
{
    control.addWindow(7, QRectF(100, 100, 500, 400), "XTerm");
    const WindowPtr seven = windows.windowFrom(FakeWindowControl::handleFor(7));
    const Screen left = screens.screens().at(0);
    zoneManager.snap(seven, {layouts.activeFor(left)->zones().front()});
    debug.present();

    const QString text = snapshotText();
    for (const char* expected : {"LEFT: 11111111-1111-1111-1111-111111111111-1280x1080",
             "Visible frame found as: the whole monitor", "Zone 2: 640 × 1080 at 640, 0", "Zone 1: 1 window(s)",
             "0x7 XTerm: now 640 × 1080 at 0, 0; size before snapping 500 × 400", "Window manager: Openbox",
             "Cycle window left: Ctrl+Alt+Super+Left, grabbed", "Cycle next window: Ctrl+Alt+Super+Up, not grabbed",
             "Shortcuts: 5 of 6 grabbed", "Zone mode: no"})
        EXPECT_TRUE(text.contains(QString::fromUtf8(expected))) << expected << "\n" << text.toStdString();

    // A window that closes and a monitor unplugged while the window shows them.
    control.close(7);
    displays.changeDisplays({displays.displays().at(0)});
    debug.refresh();
    const QString after = snapshotText();
    EXPECT_TRUE(after.contains("0x7 XTerm: now gone")) << after.toStdString();
    EXPECT_FALSE(after.contains("RIGHT")) << after.toStdString();

    struct Case
    {
        std::optional<quint32> atCursor;
        WindowFacts facts;
        QStringList said;
        QString app = QStringLiteral("FakeApp");
    };
    WindowFacts terminal;
    terminal.sizeIncrement = QSize(6, 13);
    terminal.minimumSize = QSize(700, 200);
    terminal.lastPlacement = WindowFacts::Placement {QRectF(0, 0, 640, 1080), QRectF(20, 0, 640, 1080), false};
    WindowFacts dock;
    dock.notNormalBecause = QStringLiteral("it says it is a dock window");
    const Case cases[] = {
        {8, terminal,
            {"is a window Parqueta snaps", "steps of 6 × 13 px", "will not shrink below 700 × 200, so it overflows "
             "zones 1, 2", "did not honour the last move", "zone 1, 640 × 1080 at 0, 0 in layout space"}},
        {9, dock, {"Parqueta never snaps", "dock window"}},
        {10, {},
            {"Parqueta never snaps “XTerm”",
                "its application (xterm) is in the list of applications Parqueta never snaps", "no: its application"},
            "XTerm"},
        {std::nullopt, {}, {"There is no window there"}},
    };
    settings.setValue(Keys::excludedApplications, QStringList {"xterm"});
    for (const Case& c : cases) {
        if (c.atCursor) {
            control.addWindow(*c.atCursor, QRectF(10, 10, 300, 300), c.app).facts = c.facts;
        }
        control.setWindowAtCursor(c.atCursor);
        displays.setPointer(QPointF(50, 50));
        debug.inspectUnderPointer();
        for (const QString& said : c.said)
            EXPECT_TRUE(debug.diagnosisText().contains(said)) << said.toStdString() << "\n"
                                                              << debug.diagnosisText().toStdString();
    }
    debug.startInspecting();
    EXPECT_TRUE(debug.isInspecting());
    QTest::keyClick(&debug, Qt::Key_Escape);
    EXPECT_FALSE(debug.isInspecting()) << "Esc ends the pick";
}

} // namespace
