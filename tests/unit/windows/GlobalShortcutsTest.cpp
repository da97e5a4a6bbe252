#include "managers/GlobalShortcuts.h"
#include "FakeHotkeyBackend.h"
#include "LogCapture.h"
#include "QtPrinters.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"

#include <gtest/gtest.h>

namespace {

const Qt::KeyboardModifiers kLinux = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
const KeyCombination kLeft(kLinux, Qt::Key_Left);
const KeyCombination kSpanLeft(kLinux | Qt::ShiftModifier, Qt::Key_Left);
const KeyCombination kCustom(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_H);

class GlobalShortcutsTest : public ::testing::Test
{
protected:
    std::unique_ptr<GlobalShortcuts> makeShortcuts() { return std::make_unique<GlobalShortcuts>(backend, settings); }

    QMap<QString, QString> stored() const { return settings.strings(GlobalShortcuts::settingsKey); }

    FakeHotkeyBackend backend;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    std::unique_ptr<GlobalShortcuts> shortcuts = makeShortcuts();
};

TEST_F(GlobalShortcutsTest, PressCallsTheNamesHandlersInOrderWhileEnabled)
{
    shortcuts->registerDefaultShortcuts();
    QStringList calls;
    shortcuts->onKeyDown(ShortcutNames::cycleWindowLeft, [&] { calls << "left-1"; });
    shortcuts->onKeyDown(ShortcutNames::cycleWindowLeft, [&] { calls << "left-2"; });
    shortcuts->onKeyDown(ShortcutNames::spanWindowLeft, [&] { calls << "span"; });

    backend.press(kLeft);
    backend.press(kSpanLeft);
    EXPECT_EQ(calls, (QStringList {"left-1", "left-2", "span"}));

    shortcuts->disable(ShortcutNames::cycleWindowLeft);
    EXPECT_FALSE(backend.isGrabbed(kLeft));
    EXPECT_FALSE(backend.press(kLeft));
    EXPECT_TRUE(shortcuts->enable(ShortcutNames::cycleWindowLeft).ok());
    backend.press(kLeft);
    EXPECT_EQ(calls, (QStringList {"left-1", "left-2", "span", "left-1", "left-2"}));

    shortcuts->removeHandlers(ShortcutNames::cycleWindowLeft);
    backend.press(kLeft);
    EXPECT_EQ(calls.size(), 5);
}

TEST_F(GlobalShortcutsTest, DefaultHeldByAnotherProgramIsReportedOnceAndLogged)
{
    LogCapture log;
    backend.holdElsewhere(kLeft);
    QList<std::pair<QString, KeyCombination>> unavailable;
    QObject::connect(
        shortcuts.get(), &GlobalShortcuts::shortcutUnavailable, [&](const QString& name, KeyCombination combination) {
            unavailable.append({name, combination});
        });

    shortcuts->registerDefaultShortcuts();
    ASSERT_EQ(unavailable.count(), 1);
    EXPECT_EQ(unavailable.at(0).first, ShortcutNames::cycleWindowLeft);
    EXPECT_EQ(unavailable.at(0).second, kLeft);
    // What the tray will show names the shortcut, its keys and where to change them.
    const QString notice = GlobalShortcuts::unavailableNotice(unavailable.at(0).first, unavailable.at(0).second);
    EXPECT_TRUE(notice.contains(QStringLiteral("Cycle window left"))) << notice.toStdString();
    EXPECT_TRUE(notice.contains(QStringLiteral("Left"))) << notice.toStdString();
    EXPECT_TRUE(notice.contains(QStringLiteral("Settings"))) << notice.toStdString();
    EXPECT_TRUE(log.contains(QtWarningMsg, QStringLiteral("held by another program")));
    EXPECT_FALSE(shortcuts->isActive(ShortcutNames::cycleWindowLeft));
    EXPECT_FALSE(shortcuts->unavailableReason(ShortcutNames::cycleWindowLeft).isEmpty());
    EXPECT_TRUE(shortcuts->isActive(ShortcutNames::cycleWindowRight));

    // Trying again (disable/enable) does not nag the user a second time.
    shortcuts->disable(ShortcutNames::cycleWindowLeft);
    const ShortcutResult again = shortcuts->enable(ShortcutNames::cycleWindowLeft);
    EXPECT_EQ(again.code, ShortcutResult::Code::HeldByAnotherProgram);
    EXPECT_EQ(unavailable.count(), 1);

    // Once the other program lets go, enabling gets it.
    backend.releaseElsewhere(kLeft);
    EXPECT_TRUE(shortcuts->enable(ShortcutNames::cycleWindowLeft).ok());
    EXPECT_TRUE(shortcuts->isActive(ShortcutNames::cycleWindowLeft));
    EXPECT_TRUE(shortcuts->unavailableReason(ShortcutNames::cycleWindowLeft).isEmpty());
}

TEST_F(GlobalShortcutsTest, UsersChoiceIsGrabbedStoredAndSurvivesARestart)
{
    shortcuts->registerDefaultShortcuts();
    QStringList changed;
    QObject::connect(shortcuts.get(), &GlobalShortcuts::shortcutChanged, [&](const QString& name) { changed << name; });
    ASSERT_TRUE(shortcuts->setShortcut(ShortcutNames::cycleWindowLeft, kCustom).ok());
    EXPECT_EQ(changed, QStringList {ShortcutNames::cycleWindowLeft});
    EXPECT_TRUE(backend.isGrabbed(kCustom));
    EXPECT_FALSE(backend.isGrabbed(kLeft));
    EXPECT_EQ(stored().value(ShortcutNames::cycleWindowLeft), QStringLiteral("Ctrl+Shift+H"));

    shortcuts.reset();
    EXPECT_TRUE(backend.grabbed().isEmpty()); // nothing leaks past the service
    shortcuts = makeShortcuts();
    shortcuts->registerDefaultShortcuts();
    EXPECT_EQ(shortcuts->shortcut(ShortcutNames::cycleWindowLeft), std::optional<KeyCombination>(kCustom));
    EXPECT_EQ(shortcuts->defaultShortcut(ShortcutNames::cycleWindowLeft), std::optional<KeyCombination>(kLeft));
    EXPECT_TRUE(backend.isGrabbed(kCustom));
    EXPECT_FALSE(backend.isGrabbed(kLeft));
}

TEST_F(GlobalShortcutsTest, RefusedChoiceKeepsTheWorkingShortcutInForceAndInTheSettings)
{
    shortcuts->registerDefaultShortcuts();
    backend.holdElsewhere(kCustom);
    int unavailable = 0;
    QObject::connect(shortcuts.get(), &GlobalShortcuts::shortcutUnavailable, [&] { ++unavailable; });

    const ShortcutResult result = shortcuts->setShortcut(ShortcutNames::cycleWindowLeft, kCustom);
    EXPECT_EQ(result.code, ShortcutResult::Code::HeldByAnotherProgram);
    EXPECT_FALSE(result.message.isEmpty());
    EXPECT_EQ(unavailable, 0); // the caller has the answer
    EXPECT_TRUE(backend.isGrabbed(kLeft));
    EXPECT_FALSE(stored().contains(ShortcutNames::cycleWindowLeft));
    EXPECT_EQ(shortcuts->shortcut(ShortcutNames::cycleWindowLeft), std::optional<KeyCombination>(kLeft));
    EXPECT_TRUE(backend.press(kLeft));
}

TEST_F(GlobalShortcutsTest, OneCombinationServesOneName)
{
    shortcuts->registerDefaultShortcuts();
    const ShortcutResult result = shortcuts->setShortcut(ShortcutNames::cycleWindowRight, kLeft);
    EXPECT_EQ(result.code, ShortcutResult::Code::UsedByAnotherShortcut);
    EXPECT_EQ(result.conflictingName, ShortcutNames::cycleWindowLeft);
    EXPECT_TRUE(backend.isGrabbed(KeyCombination(kLinux, Qt::Key_Right)));

    // Freeing it first makes it available.
    ASSERT_TRUE(shortcuts->setShortcut(ShortcutNames::cycleWindowLeft, std::nullopt).ok());
    EXPECT_TRUE(shortcuts->setShortcut(ShortcutNames::cycleWindowRight, kLeft).ok());
    QStringList calls;
    shortcuts->onKeyDown(ShortcutNames::cycleWindowRight, [&] { calls << "right"; });
    shortcuts->onKeyDown(ShortcutNames::cycleWindowLeft, [&] { calls << "left"; });
    backend.press(kLeft);
    EXPECT_EQ(calls, QStringList {"right"});
}

TEST_F(GlobalShortcutsTest, NoShortcutIsAChoiceDistinctFromTheDefault)
{
    shortcuts->registerDefaultShortcuts();
    ASSERT_TRUE(shortcuts->setShortcut(ShortcutNames::spanWindowLeft, std::nullopt).ok());
    EXPECT_FALSE(shortcuts->isRecorded(ShortcutNames::spanWindowLeft));
    EXPECT_FALSE(backend.isGrabbed(kSpanLeft));
    EXPECT_EQ(stored().value(ShortcutNames::spanWindowLeft, QStringLiteral("missing")), QString());

    shortcuts = makeShortcuts();
    shortcuts->registerDefaultShortcuts();
    EXPECT_FALSE(shortcuts->isRecorded(ShortcutNames::spanWindowLeft));
    EXPECT_FALSE(backend.isGrabbed(kSpanLeft));

    ASSERT_TRUE(shortcuts->resetToDefault(ShortcutNames::spanWindowLeft).ok());
    EXPECT_TRUE(backend.isGrabbed(kSpanLeft));
    EXPECT_FALSE(stored().contains(ShortcutNames::spanWindowLeft));
}

TEST_F(GlobalShortcutsTest, UnreadableStoredChoiceFallsBackToTheDefault)
{
    LogCapture log;
    settings.setStrings(GlobalShortcuts::settingsKey,
        {{ShortcutNames::cycleWindowNext, QStringLiteral("Ctrl+Banana")},
            {ShortcutNames::cycleWindowPrev, QStringLiteral("Ctrl+Alt+Meta+PgDown")}});
    shortcuts->registerDefaultShortcuts();
    EXPECT_EQ(shortcuts->shortcut(ShortcutNames::cycleWindowNext),
        std::optional<KeyCombination>(KeyCombination(kLinux, Qt::Key_Up)));
    EXPECT_EQ(shortcuts->shortcut(ShortcutNames::cycleWindowPrev),
        std::optional<KeyCombination>(KeyCombination(kLinux, Qt::Key_PageDown)));
    EXPECT_TRUE(log.contains(QtWarningMsg, QStringLiteral("Ctrl+Banana")));
}

TEST_F(GlobalShortcutsTest, NamesWithoutDefaultStartUnrecordedAndWorkOnceSet)
{
    const QString layoutName = QStringLiteral("6F1C5D8E-0000-4000-8000-000000000001");
    EXPECT_FALSE(shortcuts->isRecorded(layoutName));
    EXPECT_TRUE(shortcuts->registerShortcut(layoutName, std::nullopt).ok());
    EXPECT_TRUE(backend.grabbed().isEmpty());

    int pressed = 0;
    shortcuts->onKeyDown(layoutName, [&] { ++pressed; });
    const KeyCombination key(Qt::ControlModifier | Qt::AltModifier, Qt::Key_1);
    ASSERT_TRUE(shortcuts->setShortcut(layoutName, key).ok());
    EXPECT_TRUE(shortcuts->isRecorded(layoutName));
    backend.press(key);
    EXPECT_EQ(pressed, 1);

    // Disabled names keep their choice but give the key back.
    shortcuts->disable(layoutName);
    ASSERT_TRUE(shortcuts->setShortcut(layoutName, kCustom).ok());
    EXPECT_FALSE(backend.isGrabbed(kCustom));
    EXPECT_EQ(stored().value(layoutName), QStringLiteral("Ctrl+Shift+H"));
    shortcuts->enable(layoutName);
    backend.press(kCustom);
    EXPECT_EQ(pressed, 2);
}

TEST(KeyCombinationTextTest, RoundTripsPortableTextAndRejectsWhatIsNoShortcut)
{
    const KeyCombination combination(
        Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier | Qt::ShiftModifier, Qt::Key_Right);
    EXPECT_EQ(KeyCombinations::toText(combination), QStringLiteral("Meta+Ctrl+Alt+Shift+Right"));
    EXPECT_EQ(
        KeyCombinations::fromText(KeyCombinations::toText(combination)), std::optional<KeyCombination>(combination));
    EXPECT_FALSE(KeyCombinations::fromText(QString()));
    EXPECT_FALSE(KeyCombinations::fromText(QStringLiteral("Ctrl+Nonsense")));
    EXPECT_FALSE(KeyCombinations::fromText(QStringLiteral("Ctrl+A, Ctrl+B")));
    EXPECT_FALSE(KeyCombinations::fromText(QStringLiteral("Ctrl+Shift")));
}

} // namespace
