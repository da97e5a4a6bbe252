// The settings window's value adjuster (step, clamps, popover place and timing, labels)
// and shortcut recorder (which presses count, capture, clear, cancel, refusals shown in
// the control, window shortcuts lent only while it listens), offscreen.
#include "FakePlatform.h"
#include "TestSupport.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "views/CrispValueAdjuster.h"
#include "views/ShortcutRecorder.h"

#include <QApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QSlider>
#include <QToolButton>

#include <gtest/gtest.h>

namespace {

struct Stored
{
    double value = 0;
    int writes = 0;
};

// What binding to a settings key gives: reads of it, and writes that are counted.
std::function<double()> readFrom(const Stored& stored)
{
    return [&stored] { return stored.value; };
}

std::function<void(double)> writeTo(Stored& stored)
{
    return [&stored](double v) { stored = {v, stored.writes + 1}; };
}

CrispValueAdjusterModel adjusterModel(Stored& stored, double lower, double upper, std::optional<double> step = {},
    bool lowerClamp = false, bool upperClamp = false, std::optional<QString> postscript = {})
{
    QLocale::setDefault(QLocale::c());
    return CrispValueAdjusterModel(QStringLiteral("Gap"), std::nullopt, readFrom(stored), writeTo(stored), lower, upper,
        std::move(postscript), step, lowerClamp, upperClamp);
}

void mouse(QWidget* widget, QEvent::Type type, QPoint at)
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, widget->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

void key(QWidget* widget, Qt::Key code, Qt::KeyboardModifiers modifiers = {}, bool release = true)
{
    QKeyEvent press(QEvent::KeyPress, code, modifiers), up(QEvent::KeyRelease, code, modifiers);
    QApplication::sendEvent(widget, &press);
    if (release)
        QApplication::sendEvent(widget, &up);
}

} // namespace

TEST(CrispValueAdjuster, StepsTicksAndTexts)
{
    Stored stored;
    EXPECT_EQ(adjusterModel(stored, 0, 20).step(), 2);
    EXPECT_EQ(adjusterModel(stored, 0, 20).tickCount(), 10);
    EXPECT_EQ(adjusterModel(stored, 0, 1).valueForTick(3), 0.3); // not 0.30000000000000004
    const CrispValueAdjusterModel uneven = adjusterModel(stored, 0, 25, 10.0);
    EXPECT_EQ(uneven.tickCount(), 3);
    EXPECT_EQ(uneven.valueForTick(3), 25);
    EXPECT_EQ(adjusterModel(stored, 0.5, 2.5).maxText(), "2.5");
    EXPECT_EQ(CrispValueAdjusterModel::formatNumber(1.0 / 3), "0.3333333333");
    EXPECT_EQ(CrispValueAdjusterModel::formatNumber(-1e-12), "0");
}

TEST(CrispValueAdjuster, PopoverWritesThroughTheClamps)
{
    // Per clamp setting (lower, upper): what typing 80, -5, 12.25 and "7px" into 0…50 stores.
    const std::tuple<bool, bool, double, double> rows[]
        = {{false, false, 80, -5}, {false, true, 50, -5}, {true, false, 80, 0}, {true, true, 50, 0}};
    for (const auto& [lowerClamp, upperClamp, above, below] : rows) {
        for (const auto& [typed, kept] : {std::pair {"80", above}, {"-5", below}, {"12.25", 12.25}, {" 7px ", 7.0}}) {
            Stored stored {10};
            auto model = adjusterModel(stored, 0, 50, 5.0, lowerClamp, upperClamp, QStringLiteral("px"));
            EXPECT_TRUE(model.submitText(QString::fromUtf8(typed)));
            EXPECT_EQ(stored.value, kept) << typed << " clamps " << lowerClamp << upperClamp;
        }
    }
    for (const char* junk : {"", "abc", "1,2,3", "inf", "nan", "12 apples"}) {
        Stored stored {10};
        auto model = adjusterModel(stored, 0, 50);
        EXPECT_FALSE(model.submitText(QString::fromUtf8(junk))) << junk;
        EXPECT_EQ(stored.writes, 0) << junk;
    }
    // The stepper goes past an unclamped end and stops at a clamped one.
    Stored stored {48};
    adjusterModel(stored, 0, 50, 5.0).stepBy(1);
    EXPECT_EQ(stored.value, 53);
    adjusterModel(stored, 0, 50, 5.0, true, true).stepBy(1);
    EXPECT_EQ(stored.value, 50);
}

TEST(CrispValueAdjuster, PopoverPointsAtTheThumb)
{
    const std::pair<double, double> rows[] = {{0, 4}, {50, 146}, {25, 75}, {80, 146}, {-10, 4}};
    for (const auto& [value, x] : rows) {
        Stored stored {value};
        EXPECT_DOUBLE_EQ(adjusterModel(stored, 0, 50).popoverXOffset(), x) << value;
    }
}

TEST(CrispValueAdjuster, LettingGoOfTheThumbOpensThePopover)
{
    QLocale::setDefault(QLocale::c());
    Stored stored {0};
    CrispValueAdjuster adjuster(QStringLiteral("Gap size"), QStringLiteral("Space between zones"), readFrom(stored),
        writeTo(stored), 0, 50, QStringLiteral("px"), std::nullopt, true, true);
    adjuster.resize(adjuster.sizeHint());
    adjuster.show();
    auto* slider = adjuster.findChild<QSlider*>("slider");
    auto* field = adjuster.findChild<QLineEdit*>("valueField");
    EXPECT_EQ(adjuster.findChild<QLabel*>("minText")->text(), "0px");
    EXPECT_EQ(adjuster.findChild<QLabel*>("maxText")->text(), "50px");
    EXPECT_FALSE(adjuster.popover()->isVisible());

    // A press on the thumb without moving: closed while held, open once let go.
    const QPoint thumb(qRound(adjuster.model().popoverXOffset()), slider->height() / 2);
    mouse(slider, QEvent::MouseButtonPress, thumb);
    EXPECT_FALSE(adjuster.popover()->isVisible());
    mouse(slider, QEvent::MouseButtonRelease, thumb);
    ASSERT_TRUE(adjuster.popover()->isVisible());
    EXPECT_EQ(stored.writes, 0);
    EXPECT_EQ(field->text(), "0");

    // Typed past the clamped end: the end is kept, the thumb and the popover go there.
    field->setText(QStringLiteral("80"));
    Q_EMIT field->editingFinished();
    EXPECT_EQ(stored.value, 50);
    EXPECT_EQ(field->text(), "50");
    EXPECT_EQ(slider->value(), slider->maximum());
    EXPECT_EQ(adjuster.popover()->x() + adjuster.popover()->width() / 2, slider->mapToGlobal(QPoint(146, 0)).x());
    field->setText(QStringLiteral("wide"));
    Q_EMIT field->editingFinished();
    EXPECT_EQ(field->text(), "50");
    EXPECT_EQ(stored.writes, 1);

    stored.value = 20;
    adjuster.refresh();
    EXPECT_EQ(field->text(), "20");
    EXPECT_EQ(slider->value(), 4);
    adjuster.popover()->hide();
    EXPECT_FALSE(adjuster.model().isPopoverShown());
}

namespace {

// The six window shortcuts on Ctrl+Alt+Super, on a desktop where Ctrl+Alt+T is taken.
struct Desktop
{
    FakeHotkeyBackend hotkeys;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    GlobalShortcuts shortcuts {hotkeys, settings};
    Desktop()
    {
        hotkeys.holdElsewhere(KeyCombination(Qt::ControlModifier | Qt::AltModifier, Qt::Key_T));
        shortcuts.registerDefaultShortcuts();
    }
};

constexpr auto primary = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

} // namespace

TEST(ShortcutRecorder, OnlyCombinationsWithAModifierOrFunctionKeysAreTaken)
{
    const std::tuple<Qt::Key, Qt::KeyboardModifiers, bool> rows[]
        = {{Qt::Key_K, Qt::ControlModifier, true}, {Qt::Key_K, Qt::AltModifier, true},
            {Qt::Key_K, Qt::MetaModifier, true}, {Qt::Key_K, Qt::ShiftModifier, false}, {Qt::Key_K, {}, false},
            {Qt::Key_F5, {}, true}, {Qt::Key_F35, Qt::ShiftModifier, true}, {Qt::Key_Tab, {}, false},
            {Qt::Key_Space, Qt::ShiftModifier, false}, {Qt::Key_Escape, Qt::ControlModifier, true},
            {Qt::Key_Delete, Qt::AltModifier, true}, {Qt::Key_Control, Qt::ControlModifier, false}};
    for (const auto& [code, modifiers, taken] : rows) {
        Desktop desktop;
        ShortcutRecorderModel recorder(desktop.shortcuts, QStringLiteral("layout"));
        recorder.startListening();
        recorder.keyPress(code, modifiers);
        const auto recorded = desktop.shortcuts.shortcut(QStringLiteral("layout"));
        EXPECT_EQ(recorded == KeyCombination(modifiers, code), taken) << code << " " << modifiers;
        EXPECT_EQ(recorder.isListening(), !taken) << code << " " << modifiers;
        EXPECT_EQ(desktop.hotkeys.isGrabbed(KeyCombination(modifiers, code)), taken) << code;
    }
}

TEST(ShortcutRecorder, RecordsClearsCancelsAndLendsTheWindowShortcutsOnlyWhileListening)
{
    Desktop desktop;
    desktop.shortcuts.disable(ShortcutNames::spanWindowRight); // switched off by the user
    ShortcutRecorder recorder(desktop.shortcuts, ShortcutNames::cycleWindowLeft);
    auto* button = recorder.findChild<QPushButton*>("recordButton");
    auto* error = recorder.findChild<QLabel*>("error");
    auto* reset = recorder.findChild<QToolButton*>("resetButton");
    recorder.show();
    EXPECT_EQ(button->text(), "Ctrl+Alt+Super+Left");
    EXPECT_FALSE(reset->isEnabled());
    const auto grabs = [&] { return desktop.hotkeys.grabbed().size(); };
    ASSERT_EQ(grabs(), 5);

    button->click();
    EXPECT_EQ(button->text(), "Press keys…");
    EXPECT_EQ(grabs(), 0);
    key(button, Qt::Key_Control, {}, false); // held down
    key(button, Qt::Key_Alt, Qt::ControlModifier, false);
    EXPECT_EQ(button->text(), "Ctrl+Alt+…");
    key(button, Qt::Key_Escape);
    EXPECT_EQ(button->text(), "Ctrl+Alt+Super+Left");
    EXPECT_EQ(grabs(), 5);
    EXPECT_FALSE(desktop.shortcuts.isEnabled(ShortcutNames::spanWindowRight));

    // Refused by another program, then by another of the six: the old keys stay.
    button->click();
    key(button, Qt::Key_T, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(error->text(), "Ctrl+Alt+T is taken by another program");
    EXPECT_FALSE(error->isHidden());
    button->click();
    key(button, Qt::Key_Right, primary);
    EXPECT_EQ(error->text(), "Ctrl+Alt+Super+Right is already the shortcut for “Cycle window right”");
    EXPECT_EQ(desktop.shortcuts.shortcut(ShortcutNames::cycleWindowLeft), KeyCombination(primary, Qt::Key_Left));
    EXPECT_EQ(button->text(), "Ctrl+Alt+Super+Left");

    // Taken: the old grab goes, the new one is held, the error goes.
    button->click();
    key(button, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(button->text(), "Ctrl+Alt+K");
    EXPECT_TRUE(error->isHidden());
    EXPECT_TRUE(desktop.hotkeys.isGrabbed(KeyCombination(Qt::ControlModifier | Qt::AltModifier, Qt::Key_K)));
    EXPECT_FALSE(desktop.hotkeys.isGrabbed(KeyCombination(primary, Qt::Key_Left)));
    EXPECT_TRUE(reset->isEnabled());

    // Backspace leaves it without keys rather than back on the default.
    button->click();
    key(button, Qt::Key_Backspace);
    EXPECT_EQ(desktop.shortcuts.shortcut(ShortcutNames::cycleWindowLeft), std::nullopt);
    EXPECT_EQ(button->text(), "Record Shortcut");
    EXPECT_EQ(grabs(), 4);
    reset->click();
    EXPECT_EQ(button->text(), "Ctrl+Alt+Super+Left");

    // Listening ends with the focus, with another recorder starting, with the control.
    button->click();
    QFocusEvent focusOut(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    QApplication::sendEvent(button, &focusOut);
    EXPECT_FALSE(recorder.model().isListening());
    EXPECT_EQ(grabs(), 5);
    auto other = std::make_unique<ShortcutRecorder>(desktop.shortcuts, ShortcutNames::spanWindowLeft);
    recorder.model().startListening();
    other->model().startListening();
    EXPECT_FALSE(recorder.model().isListening());
    EXPECT_EQ(grabs(), 0);
    other.reset();
    EXPECT_EQ(grabs(), 5);
}
