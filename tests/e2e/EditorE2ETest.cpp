// The zone editor and the borders flash with the real program: the editor opened by a
// second launch and from the tray, a zone split by a click, a border dragged and another
// deleted through XTest, Escape, then the settings file and a Shift-drag into the new
// zone; a layout's own shortcut flashing its borders for half a second.
#include "E2EFixture.h"
#include "RootScreenshot.h"
#include "managers/GlobalShortcuts.h"
#include "models/LayoutBridge.h"
#include "platform/KeyCombination.h"

#include <cstdlib>


using namespace E2E;

namespace {

const char* wmName(WindowManagerKind kind)
{
    switch (kind) {
    case WindowManagerKind::Metacity:
        return "metacity";
    case WindowManagerKind::Xfwm4:
        return "xfwm4";
    default:
        return "openbox";
    }
}

class EditorTest : public Fixture, public ::testing::WithParamInterface<WindowManagerKind>
{
protected:
    void SetUp() override
    {
        prepare({GetParam(), CompositorKind::None, wmName(GetParam())});
        editor.setTitle(QStringLiteral("Parqueta layout editor"));
        flash.setTitle(QStringLiteral("Parqueta layout borders"));
    }

    void startProbes()
    {
        editor.setOwnerPid(m_parqueta->pid());
        flash.setOwnerPid(m_parqueta->pid());
    }

    // Presses along a path with the left button held, as a hand would.
    void dragWithButton(QPoint from, QPoint to)
    {
        XTestInput& input = driver.input();
        input.moveTo(from.x(), from.y());
        GestureDriver::pump(50);
        input.press(1);
        for (int i = 1; i <= 10; ++i) {
            input.moveTo(from.x() + (to.x() - from.x()) * i / 10, from.y() + (to.y() - from.y()) * i / 10);
            GestureDriver::pump(15);
        }
        input.release(1);
        GestureDriver::pump(100);
    }

    // Escape pressed before the editor has the keyboard would go to another window: wait
    // until the server says the focus is on it (a hand is never that quick).
    void pressEscapeInEditor()
    {
        const auto focused = [&] {
            const QList<OverlayProbe::Overlay> shown = editor.mapped();
            xcb_connection_t* c = desktop.connection();
            xcb_get_input_focus_reply_t* reply = xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr);
            const bool onEditor = reply && !shown.isEmpty() && reply->focus == shown.front().window;
            std::free(reply);
            return onEditor;
        };
        EXPECT_TRUE(VirtualDesktop::waitUntil(focused, 5000)) << "the editor never got the keyboard\n" << log();
        driver.input().tap(Keysym::Escape);
    }

    OverlayProbe editor;
    OverlayProbe flash;
};

TEST_P(EditorTest, SplitDragDeleteEscapeThenSnapIntoTheNewZone)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    startProbes();
    const xcb_window_t plain = plainWindow(QStringLiteral("edited"));
    XTestInput& input = driver.input();
    const QRect left = zones.visibleFrame(kLeft)->toRect();

    input.moveTo(left.center().x(), left.center().y());
    ASSERT_EQ(ParquetaProcess::launchAgain({QStringLiteral("--edit-layout")}), std::optional<int>(0));
    ASSERT_TRUE(editor.waitForShown(1)) << log();
    EXPECT_EQ(editor.mappedGeometries(), (QList<QRect> {left})) << "exactly the visible frame";
    GestureDriver::pump(400); // the fade-in
    RootScreenshot::save(desktop.scratchDir() + QStringLiteral("/editor-open.png"));

    // The first-run layout has two columns; a click at x = 320 splits the left one there.
    input.moveTo(320, 700);
    GestureDriver::pump(50);
    input.click(1);
    GestureDriver::pump(150);
    // The middle border's handle sits at its centre; dragging it 60 to the right.
    dragWithButton(QPoint(640, left.center().y()), QPoint(700, left.center().y()));
    RootScreenshot::save(desktop.scratchDir() + QStringLiteral("/editor-edited.png"));
    // The new border's delete control is 40 below its centre: merge the left column again.
    input.moveTo(320, left.center().y() + 40);
    GestureDriver::pump(50);
    input.click(1);
    GestureDriver::pump(150);
    pressEscapeInEditor();
    ASSERT_TRUE(editor.waitForHidden()) << "Escape must reach the editor\n" << log();
    // Killed right after: the edit is already on disk.
    m_parqueta->kill9();
    ASSERT_TRUE(m_parqueta->start());
    overlays.setOwnerPid(m_parqueta->pid());

    const std::optional<DesktopZones> read = DesktopZones::read();
    ASSERT_TRUE(read) << DesktopZones::lastError().toStdString();
    zones = *read;
    EXPECT_EQ(frame(kLeft, QStringLiteral("1")), QRect(0, 0, 700, left.height()));
    EXPECT_EQ(frame(kLeft, QStringLiteral("2")), QRect(700, 0, 580, left.height()));
    const DragReport report = driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")));
    EXPECT_TRUE(report.overlayShown) << log();
    EXPECT_TRUE(lands(plain, frame(kLeft, QStringLiteral("2"))));
}

TEST_P(EditorTest, TrayMenuOpensTheEditorOfTheScreenUnderThePointer)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    startProbes();
    std::optional<QRect> icon;
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return (icon = overlays.trayIcon()).has_value(); }, 10000))
        << "no tray icon of parqueta in the panel";
    XTestInput& input = driver.input();
    input.moveTo(icon->center().x(), icon->center().y());
    GestureDriver::pump(100);
    input.click(1);
    GestureDriver::pump(500);
    // The menu holds the keyboard: its first item is "Open layout editor…".
    input.tap(Keysym::Down);
    input.tap(Keysym::Return);
    ASSERT_TRUE(editor.waitForShown(1)) << log();
    EXPECT_EQ(editor.mappedGeometries(), (QList<QRect> {zones.visibleFrame(QStringLiteral("RIGHT"))->toRect()}));
    pressEscapeInEditor();
    EXPECT_TRUE(editor.waitForHidden()) << log();
}

TEST_P(EditorTest, LayoutShortcutActivatesTheLayoutAndFlashesItsBorders)
{
    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const KeyCombination combination(Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier, Qt::Key_2);
    QString layoutId;
    ASSERT_NO_FATAL_FAILURE(restartParqueta([&](SettingsFile& file) {
        return file.edit([&](Settings& settings) {
            // The second preset of LEFT (a column and two rows) gets the shortcut.
            const auto catalogues = settings.blobLists(Keys::layouts);
            for (auto it = catalogues.cbegin(); it != catalogues.cend(); ++it) {
                const auto layout = LayoutBridge::deserialize(it.value().value(1));
                if (layout && layout->root()->width() == 1280 && layout->root()->height() == VirtualDesktop::kHeight)
                    layoutId = layout->idText();
            }
            QMap<QString, QString> recorded = settings.strings(GlobalShortcuts::settingsKey);
            recorded.insert(layoutId, KeyCombinations::toText(combination));
            settings.setStrings(GlobalShortcuts::settingsKey, recorded);
        });
    }));
    ASSERT_FALSE(layoutId.isEmpty());
    startProbes();

    // On the border between the two rows of the right column.
    const QPoint onBorder(960, zones.visibleFrame(kLeft)->toRect().center().y());
    const QColor before = RootScreenshot::take().pixelColor(onBorder);
    XTestInput& input = driver.input();
    for (uint32_t key : {Keysym::ControlL, Keysym::AltL, Keysym::SuperL})
        input.keyDown(key);
    input.tap(Keysym::Digit2);
    for (uint32_t key : {Keysym::SuperL, Keysym::AltL, Keysym::ControlL})
        input.keyUp(key);
    ASSERT_TRUE(flash.waitForShown(1, 2000)) << log();
    EXPECT_EQ(flash.mappedGeometries(), (QList<QRect> {zones.visibleFrame(kLeft)->toRect()}));
    GestureDriver::pump(150);
    RootScreenshot::save(desktop.scratchDir() + QStringLiteral("/borders-flash.png"));
    EXPECT_NE(RootScreenshot::take().pixelColor(onBorder), before) << "the border is drawn";
    ASSERT_TRUE(flash.waitForHidden()) << "the flash closes itself";
    // Faded out is not yet closed: without a compositor the window still shows until the
    // flash closes it a moment later, so wait for the pixels rather than a fixed time.
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return RootScreenshot::take().pixelColor(onBorder) == before; }, 3000))
        << "and leaves nothing behind";

    const std::optional<DesktopZones> read = DesktopZones::read();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->zonesOn(kLeft).size(), 3) << "the shortcut made the layout active";
}

// Qt scaled by 2 (as with Xft.dpi 192): Qt's logical pixels are then half the window
// manager's, and every window placed over a visible frame must still cover exactly it.
TEST_P(EditorTest, AtPixelRatioTwoOverlaysAndTheEditorCoverExactlyTheirScreens)
{
    qputenv("QT_SCALE_FACTOR", "2");
    startParqueta();
    qunsetenv("QT_SCALE_FACTOR");
    ASSERT_FALSE(HasFatalFailure());
    startProbes();
    const xcb_window_t plain = plainWindow(QStringLiteral("scaled"));
    const QList<QRect> visible {zones.visibleFrame(kLeft)->toRect(), zones.visibleFrame(QStringLiteral("RIGHT"))->toRect()};
    QList<QRect> seen;
    DragOptions options;
    options.beforeRelease = [&] { seen = overlays.mappedGeometries(); };
    // xfwm4 sees one head on this server: windows are snapped on the first monitor.
    driver.drag(plain, zones.dropPoint(kLeft, QStringLiteral("2")), options);
    EXPECT_EQ(seen, visible);
    EXPECT_TRUE(lands(plain, frame(kLeft, QStringLiteral("2"))));

    driver.input().moveTo(visible[1].center().x(), visible[1].center().y());
    ASSERT_EQ(ParquetaProcess::launchAgain({QStringLiteral("--edit-layout")}), std::optional<int>(0));
    ASSERT_TRUE(editor.waitForShown(1)) << log();
    EXPECT_EQ(editor.mappedGeometries(), (QList<QRect> {visible[1]}));
    pressEscapeInEditor();
    EXPECT_TRUE(editor.waitForHidden()) << log();
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, EditorTest,
    ::testing::Values(WindowManagerKind::Openbox, WindowManagerKind::Metacity, WindowManagerKind::Xfwm4),
    [](const ::testing::TestParamInfo<WindowManagerKind>& param) { return std::string(wmName(param.param)); });

} // namespace
