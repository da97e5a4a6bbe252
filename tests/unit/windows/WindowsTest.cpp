// Recognising a window drag from global input, and the global-shortcut service.
#include "FakePlatform.h"
#include "FakeWindowControl.h"
#include "TestSupport.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "managers/WindowDragMonitor.h"
#include "managers/WindowManager.h"

#include <gtest/gtest.h>

namespace {

const QRectF kFrame(100, 100, 400, 300);

// Logs "start #7 100,100", "move ..." and "end ...": the window and its initial frame's corner.
class DragLog final : public WindowDragObserver
{
public:
    void windowDragDidStart(const WindowDragEvent& e) override { add("start", e); }
    void windowDragDidMove(const WindowDragEvent& e) override { add("move", e); }
    void windowDragDidEnd(const WindowDragEvent& e) override { add("end", e); }
    QStringList log;

private:
    void add(const char* what, const WindowDragEvent& e)
    {
        log << QStringLiteral("%1 #%2 %3,%4")
                   .arg(what)
                   .arg(e.window ? e.window->id() : 0)
                   .arg(e.initialFrame.x())
                   .arg(e.initialFrame.y());
    }
};

class WindowDrag : public ::testing::Test
{
protected:
    WindowDrag()
    {
        control.addWindow(7, kFrame);
        control.setWindowAtCursor(7);
        monitor.addObserver(&events);
        monitor.startMonitoring();
    }
    // A drag step during which the window manager moved the window by (dx, dy).
    void dragWindowBy(qreal dx, qreal dy)
    {
        control.moveWindow(7, control.frameOf(7)->topLeft() + QPointF(dx, dy));
        input.moveBy(dx, dy);
    }

    FakeWindowControl control;
    FakeGlobalInput input;
    WindowManager windows {control};
    WindowDragMonitor monitor {input, windows};
    DragLog events;
};

TEST_F(WindowDrag, AMovedWindowIsReportedAsStartMovesEndWithTheFrameFromBeforeTheMove)
{
    input.pressLeft();
    input.moveBy(1, 0); // the window is looked up; the window manager has not moved it yet
    EXPECT_TRUE(events.log.isEmpty());
    control.setWindowAtCursor(std::nullopt); // the pointer passes over other things
    dragWindowBy(1, 0); // one point is enough
    EXPECT_TRUE(monitor.isMovingWindow());
    input.moveBy(2, 2); // a step in which the window did not move is still a move
    input.releaseLeft();
    EXPECT_EQ(events.log, (QStringList {"start #7 100,100", "move #7 100,100", "move #7 100,100", "end #7 100,100"}));
    EXPECT_FALSE(monitor.trackedWindow());

    // Over the bare desktop the lookup goes on until a window is found; the next drag
    // has its own initial frame.
    events.log.clear();
    input.pressLeft();
    input.moveBy(4, 0);
    input.moveBy(4, 0);
    EXPECT_EQ(control.count("windowAtCursor"), 3);
    control.setWindowAtCursor(7);
    input.moveBy(4, 0);
    dragWindowBy(2, 0);
    monitor.stopMonitoring(); // stopping mid-drag ends it
    EXPECT_EQ(events.log, (QStringList {"start #7 101,100", "move #7 101,100", "end #7 101,100"}));
    input.releaseLeft();
    EXPECT_EQ(events.log.size(), 3);
}

TEST_F(WindowDrag, ResizesClicksAndUnreadableWindowsAreNoDrags)
{
    input.pressLeft();
    input.moveBy(1, 1);
    // Dragging the top-left corner: position and size change together.
    control.setWindowFrame(7, QRectF(90, 95, 410, 305));
    input.moveBy(-10, -5);
    // Growing to the right only: the position stays.
    control.setWindowFrame(7, QRectF(90, 95, 500, 305));
    input.moveBy(80, 0);
    input.releaseLeft();

    control.clearCalls();
    input.pressLeft();
    input.releaseLeft(); // a click without motion looks nothing up
    EXPECT_EQ(control.count("windowAtCursor"), 0);

    TestLog log;
    control.window(7)->readable = false;
    input.pressLeft();
    input.moveBy(1, 0);
    dragWindowBy(5, 0);
    input.releaseLeft();
    EXPECT_TRUE(events.log.isEmpty()) << events.log.join(", ").toStdString();
    EXPECT_EQ(log.count("Failed to get window size"), 2) << log.text();
}


const Qt::KeyboardModifiers kPrimary = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
const KeyCombination kLeft(kPrimary, Qt::Key_Left);
const KeyCombination kRight(kPrimary, Qt::Key_Right);
const KeyCombination kCustom(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_H);

class Shortcuts : public ::testing::Test
{
protected:
    Shortcuts() { shortcuts->registerDefaultShortcuts(); }
    void restart(const std::function<void(GlobalShortcuts&)>& beforeRegistering = {})
    {
        shortcuts.reset();
        EXPECT_TRUE(backend.grabbed().isEmpty()) << "no grab outlives the service";
        shortcuts = std::make_unique<GlobalShortcuts>(backend, settings);
        if (beforeRegistering)
            beforeRegistering(*shortcuts);
        shortcuts->registerDefaultShortcuts();
    }
    QMap<QString, QString> stored() const { return settings.strings(GlobalShortcuts::settingsKey); }

    FakeHotkeyBackend backend;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    std::unique_ptr<GlobalShortcuts> shortcuts = std::make_unique<GlobalShortcuts>(backend, settings);
};

TEST_F(Shortcuts, APressCallsTheHandlersOfItsNameWhileEnabled)
{
    QStringList calls;
    shortcuts->onKeyDown(ShortcutNames::cycleWindowLeft, [&] { calls << "left-1"; });
    shortcuts->onKeyDown(ShortcutNames::cycleWindowLeft, [&] { calls << "left-2"; });
    shortcuts->onKeyDown(ShortcutNames::cycleWindowRight, [&] { calls << "right"; });
    backend.press(kLeft);
    backend.press(kRight);
    shortcuts->disable(ShortcutNames::cycleWindowLeft);
    EXPECT_FALSE(backend.press(kLeft)) << "a disabled shortcut gives its key back";
    ASSERT_TRUE(shortcuts->enable(ShortcutNames::cycleWindowLeft).ok());
    backend.press(kLeft);
    shortcuts->removeHandlers(ShortcutNames::cycleWindowLeft);
    backend.press(kLeft);
    EXPECT_EQ(calls, (QStringList {"left-1", "left-2", "right", "left-1", "left-2"}));
}

TEST_F(Shortcuts, ADefaultHeldByAnotherProgramIsReportedOnceUntilItIsFree)
{
    backend.holdElsewhere(kLeft);
    QStringList notices;
    TestLog log;
    restart([&](GlobalShortcuts& service) {
        QObject::connect(&service, &GlobalShortcuts::shortcutUnavailable,
            [&](const QString& name, KeyCombination combination) {
                notices << GlobalShortcuts::unavailableNotice(name, combination);
            });
    });
    ASSERT_EQ(notices.size(), 1);
    // What the tray shows names the shortcut, its keys and where to change them.
    for (const char* part : {"Cycle window left", "Left", "Settings"})
        EXPECT_TRUE(notices[0].contains(part)) << notices[0].toStdString();
    EXPECT_EQ(log.count("held by another program"), 1) << log.text();
    EXPECT_FALSE(shortcuts->isActive(ShortcutNames::cycleWindowLeft));

    shortcuts->disable(ShortcutNames::cycleWindowLeft);
    EXPECT_EQ(shortcuts->enable(ShortcutNames::cycleWindowLeft).code, ShortcutResult::Code::HeldByAnotherProgram);
    EXPECT_EQ(notices.size(), 1) << "trying again does not nag";
    backend.releaseElsewhere(kLeft);
    EXPECT_TRUE(shortcuts->enable(ShortcutNames::cycleWindowLeft).ok());
    EXPECT_TRUE(shortcuts->isActive(ShortcutNames::cycleWindowLeft));
}

TEST_F(Shortcuts, TheUsersChoiceIsGrabbedStoredAndKeptAcrossARestartUnlessItIsRefused)
{
    ASSERT_TRUE(shortcuts->setShortcut(ShortcutNames::cycleWindowLeft, kCustom).ok());
    EXPECT_EQ(stored().value(ShortcutNames::cycleWindowLeft), "Ctrl+Shift+H");
    ASSERT_TRUE(shortcuts->setShortcut(ShortcutNames::spanWindowLeft, std::nullopt).ok()); // none, not the default
    EXPECT_EQ(stored().value(ShortcutNames::spanWindowLeft, "missing"), "");
    restart();
    EXPECT_EQ(backend.grabbed().size(), 5);
    EXPECT_TRUE(backend.isGrabbed(kCustom));
    EXPECT_FALSE(backend.isGrabbed(kLeft));
    EXPECT_FALSE(shortcuts->isRecorded(ShortcutNames::spanWindowLeft));
    ASSERT_TRUE(shortcuts->resetToDefault(ShortcutNames::spanWindowLeft).ok());
    EXPECT_TRUE(backend.isGrabbed(KeyCombination(kPrimary | Qt::ShiftModifier, Qt::Key_Left)));
    EXPECT_FALSE(stored().contains(ShortcutNames::spanWindowLeft));

    // Refused: another program holds it, or another name has it. The working one stays.
    const KeyCombination held(Qt::ControlModifier, Qt::Key_J);
    backend.holdElsewhere(held);
    const ShortcutResult refused = shortcuts->setShortcut(ShortcutNames::cycleWindowRight, held);
    EXPECT_EQ(refused.code, ShortcutResult::Code::HeldByAnotherProgram);
    const ShortcutResult taken = shortcuts->setShortcut(ShortcutNames::cycleWindowRight, kCustom);
    EXPECT_EQ(taken.code, ShortcutResult::Code::UsedByAnotherShortcut);
    EXPECT_EQ(taken.conflictingName, ShortcutNames::cycleWindowLeft);
    EXPECT_TRUE(backend.press(kRight));
    EXPECT_FALSE(stored().contains(ShortcutNames::cycleWindowRight));
}

TEST_F(Shortcuts, StoredTextIsPortableAndWhatDoesNotParseFallsBackToTheDefault)
{
    const KeyCombination all(kPrimary | Qt::ShiftModifier, Qt::Key_Right);
    EXPECT_EQ(KeyCombinations::toText(all), "Meta+Ctrl+Alt+Shift+Right");
    EXPECT_EQ(KeyCombinations::fromText("Meta+Ctrl+Alt+Shift+Right"), std::optional<KeyCombination>(all));
    EXPECT_FALSE(KeyCombinations::fromText("Ctrl+A, Ctrl+B")) << "a sequence is no shortcut";

    TestLog log;
    settings.setStrings(GlobalShortcuts::settingsKey,
        {{ShortcutNames::cycleWindowNext, "Ctrl+Banana"}, {ShortcutNames::cycleWindowPrev, "Ctrl+Alt+Meta+PgDown"}});
    restart();
    EXPECT_EQ(shortcuts->shortcut(ShortcutNames::cycleWindowNext), std::optional(KeyCombination(kPrimary, Qt::Key_Up)));
    EXPECT_EQ(shortcuts->shortcut(ShortcutNames::cycleWindowPrev), std::optional(KeyCombination(kPrimary, Qt::Key_PageDown)));
    EXPECT_GE(log.count("Ctrl+Banana"), 1) << "the unreadable choice is logged";
}

} // namespace
