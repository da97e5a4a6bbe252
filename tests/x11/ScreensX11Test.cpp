// Screens on a real X server: RandR monitors, a real tint2 panel, the settings file.
#include "VirtualDesktop.h"
#include "XTestInput.h"
#include "core/FileSettingsBackend.h"
#include "core/Settings.h"
#include "managers/ScreenManager.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11DisplayServer.h"
#include "platform/x11/X11GlobalInput.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>

namespace {

constexpr QRectF kLeft(0, 0, 1280, 1080);
constexpr QRectF kRight(1280, 0, 1280, 1080);
constexpr int kPanel = VirtualDesktop::kPanelHeight;

// One start of the screen side of Parqueta: connection, display backend, settings, manager.
struct Session
{
    explicit Session(const QString& settingsFile)
        : displays(connection)
        , settings(std::make_unique<FileSettingsBackend>(settingsFile))
        , screens(displays, settings)
    {
        QObject::connect(&screens, &ScreenManager::displayReconfiguration, [this](quint32 f) { flags << f; });
    }

    X11Connection connection;
    X11DisplayServer displays;
    Settings settings;
    ScreenManager screens;
    QList<quint32> flags;
};

class ScreensX11Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(desktop.resetMonitors());
        settingsFile = desktop.scratchDir() + QStringLiteral("/settings-%1.json").arg(++counter);
    }
    void TearDown() override
    {
        desktop.stopPanel();
        desktop.stopWindowManager();
        desktop.resetMonitors();
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    QString settingsFile;
    static inline int counter = 0;
};

TEST_F(ScreensX11Test, PanelOnRightMonitorGivesTwoScreensAndIdsSurviveARestart)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    ASSERT_TRUE(desktop.startPanel(1));

    QStringList firstIds;
    {
        Session session(settingsFile);
        ASSERT_TRUE(session.connection.isValid());
        const QList<Screen> screens = session.screens.screens();
        ASSERT_EQ(screens.size(), 2);
        EXPECT_EQ(screens[0].name(), QStringLiteral("LEFT")) << "primary first";
        EXPECT_EQ(screens[1].name(), QStringLiteral("RIGHT"));
        for (const Screen& screen : screens) {
            firstIds << screen.id();
            EXPECT_TRUE(screen.id().endsWith(QStringLiteral("-1280x1080"))) << qPrintable(screen.id());
            // "<8-4-4-4-12 upper-case UUID>-1280x1080"
            EXPECT_EQ(screen.id().size(), 36 + 10) << qPrintable(screen.id());
            EXPECT_EQ(screen.id().left(36), screen.id().left(36).toUpper());
        }
        EXPECT_NE(screens[0].id(), screens[1].id());
        EXPECT_EQ(session.screens.displayFor(screens[0])->frame, kLeft);
        EXPECT_EQ(session.screens.displayFor(screens[1])->frame, kRight);
        EXPECT_EQ(session.screens.visibleFrameOf(screens[0]), kLeft) << "the panel is not on LEFT";
        EXPECT_EQ(session.screens.visibleFrameOf(screens[1]), QRectF(1280, 0, 1280, 1080 - kPanel));
        ASSERT_TRUE(session.settings.sync());
    }

    Session restarted(settingsFile);
    const QList<Screen> again = restarted.screens.screens();
    ASSERT_EQ(again.size(), 2);
    EXPECT_EQ(again[0].id(), firstIds[0]);
    EXPECT_EQ(again[1].id(), firstIds[1]);
    const QMap<QString, QByteArray> stored = restarted.settings.blobs(Keys::screens);
    EXPECT_EQ(stored.size(), 2);
    EXPECT_TRUE(stored.contains(firstIds[0]));
    EXPECT_TRUE(stored.contains(firstIds[1]));
}

// Panels usually start after Parqueta: the visible frames must follow them.
TEST_F(ScreensX11Test, PanelStartedLaterShrinksOnlyItsMonitorAndGivesItBack)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    Session session(settingsFile);
    const QList<Screen> screens = session.screens.screens();
    ASSERT_EQ(screens.size(), 2);
    EXPECT_EQ(session.screens.visibleFrameOf(screens[0]), kLeft);

    ASSERT_TRUE(desktop.startPanel(0));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        return session.screens.visibleFrameOf(screens[0]) == QRectF(0, 0, 1280, 1080 - kPanel);
    })) << "LEFT's visible frame ignored the new panel";
    EXPECT_EQ(session.screens.visibleFrameOf(screens[1]), kRight);
    ASSERT_FALSE(session.flags.isEmpty());
    EXPECT_EQ(session.flags.last(), quint32(X11DisplayServer::VisibleFramesChanged));
    EXPECT_EQ(session.screens.screens(), screens) << "a panel changes no identity";

    session.flags.clear();
    desktop.stopPanel();
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return session.screens.visibleFrameOf(screens[0]) == kLeft; }));
    EXPECT_FALSE(session.flags.isEmpty());
}

TEST_F(ScreensX11Test, DeletingAMonitorReconfiguresAndKeepsItsStoredScreen)
{
    Session session(settingsFile);
    const QList<Screen> before = session.screens.screens();
    ASSERT_EQ(before.size(), 2);

    ASSERT_TRUE(desktop.deleteMonitor(QStringLiteral("RIGHT")));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !session.flags.isEmpty(); }))
        << "no displayReconfiguration after xrandr --delmonitor";
    EXPECT_TRUE(session.flags.first() & X11DisplayServer::MonitorsChanged);
    const QList<Screen> after = session.screens.screens();
    ASSERT_EQ(after.size(), 1);
    EXPECT_EQ(after[0], before[0]) << "LEFT keeps its identity";
    EXPECT_FALSE(session.screens.visibleFrameOf(before[1]).has_value());
    EXPECT_TRUE(session.screens.screen(before[1].id()).has_value()) << "screens are never forgotten";

    session.flags.clear();
    ASSERT_TRUE(desktop.resetMonitors());
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return session.screens.screens().size() == 2; }));
    EXPECT_EQ(session.screens.screens(), before) << "RIGHT comes back as the same screen";
    EXPECT_FALSE(session.flags.isEmpty());
}

TEST_F(ScreensX11Test, PointerIsReadOncePerHandledEventAndAfreshOutsideOne)
{
    Session session(settingsFile);
    X11GlobalInput globalInput(session.connection);
    ASSERT_TRUE(globalInput.start());
    XTestInput input;
    ASSERT_TRUE(input.isValid());
    input.moveTo(300, 300);
    input.press(1); // motion is reported while the left button is down (a drag)
    // Every zone of every screen asks during one drag step: all must see one position,
    // and the server is asked once, not once per zone.
    std::optional<std::pair<QPointF, QPointF>> readsInEvent;
    QObject::connect(&globalInput, &GlobalInput::pointerMotion, [&] {
        if (readsInEvent)
            return;
        const QPointF first = session.displays.pointerLocation();
        input.moveBy(40, 0);
        readsInEvent = std::make_pair(first, session.displays.pointerLocation());
    });
    input.moveBy(10, 0);
    const bool handled = VirtualDesktop::waitUntil([&] { return readsInEvent.has_value(); });
    const QPointF afterwards = session.displays.pointerLocation();
    input.release(1);
    globalInput.stop();
    ASSERT_TRUE(handled) << "no motion reported during the drag";
    EXPECT_EQ(readsInEvent->second, readsInEvent->first);
    EXPECT_EQ(afterwards, readsInEvent->first + QPointF(40, 0))
        << "outside the handling of an event the pointer is read afresh";
}

} // namespace
