// Global shortcuts as real key grabs: lock keys, other programs holding combinations,
// and the defaults under each window manager's stock configuration.
#include "VirtualDesktop.h"
#include "WindowsX11Support.h"
#include "XTestInput.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11HotkeyBackend.h"

#include <xcb/xcb_keysyms.h>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace WindowsX11;

namespace {

// The stock modifier map of the virtual desktop: Alt on Mod1, NumLock on Mod2, Super on Mod4.
constexpr uint16_t kCtrlAltSuper = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;

class ShortcutsTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(xtest.isValid()); }

    void TearDown() override
    {
        setLock(Keysym::NumLock, XCB_MOD_MASK_2, false);
        setLock(Keysym::CapsLock, XCB_MOD_MASK_LOCK, false);
        desktop.stopWindowManager();
    }

    uint16_t serverMask()
    {
        xcb_query_pointer_reply_t* reply = xcb_query_pointer_reply(
            desktop.connection(), xcb_query_pointer(desktop.connection(), desktop.root()), nullptr);
        const uint16_t mask = reply ? reply->mask : 0;
        std::free(reply);
        return mask;
    }

    void setLock(uint32_t keysym, uint16_t bit, bool on)
    {
        if (((serverMask() & bit) != 0) != on)
            xtest.tap(keysym);
    }

    // Holds the modifiers, taps the key, lets go, and lets the events arrive.
    void press(std::initializer_list<uint32_t> modifiers, uint32_t key)
    {
        for (uint32_t m : modifiers)
            xtest.keyDown(m);
        xtest.tap(key);
        for (auto it = std::rbegin(modifiers); it != std::rend(modifiers); ++it)
            xtest.keyUp(*it);
        pump(30);
    }

    xcb_keycode_t keycode(uint32_t keysym)
    {
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(desktop.connection());
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, keysym);
        const xcb_keycode_t code = codes ? codes[0] : 0;
        std::free(codes);
        xcb_key_symbols_free(symbols);
        return code;
    }

    // A grab by another program (the harness's own connection); returns the X error code, 0 on success.
    int grabElsewhere(uint32_t keysym, uint16_t modifiers)
    {
        xcb_generic_error_t* error = xcb_request_check(desktop.connection(),
            xcb_grab_key_checked(desktop.connection(), 1, desktop.root(), modifiers, keycode(keysym),
                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const int code = error ? error->error_code : 0;
        std::free(error);
        return code;
    }

    void ungrabElsewhere(uint32_t keysym, uint16_t modifiers)
    {
        xcb_ungrab_key(desktop.connection(), keycode(keysym), desktop.root(), modifiers);
        xcb_flush(desktop.connection());
    }

    VirtualDesktop& desktop = VirtualDesktop::shared();
    XTestInput xtest;
    X11Connection connection;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
};

TEST_F(ShortcutsTest, DefaultShortcutFiresWithNumLockAndCapsLockOn)
{
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    X11HotkeyBackend backend(connection);
    GlobalShortcuts shortcuts(backend, settings);
    shortcuts.registerDefaultShortcuts();
    QStringList fired;
    shortcuts.onKeyDown(ShortcutNames::cycleWindowLeft, [&] { fired << "left"; });
    shortcuts.onKeyDown(ShortcutNames::spanWindowRight, [&] { fired << "span right"; });

    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    EXPECT_EQ(fired, QStringList {"left"});

    setLock(Keysym::NumLock, XCB_MOD_MASK_2, true);
    ASSERT_TRUE(serverMask() & XCB_MOD_MASK_2) << "NumLock did not lock";
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL, Keysym::ShiftL}, Keysym::Right);
    EXPECT_EQ(fired, (QStringList {"left", "left", "span right"}));

    setLock(Keysym::CapsLock, XCB_MOD_MASK_LOCK, true);
    ASSERT_TRUE(serverMask() & XCB_MOD_MASK_LOCK) << "CapsLock did not lock";
    press({Keysym::ControlL, Keysym::AltL, Keysym::SuperL}, Keysym::Left);
    EXPECT_EQ(fired.size(), 4);

    // Without Super it is someone else's combination (openbox switches desktops).
    press({Keysym::ControlL, Keysym::AltL}, Keysym::Left);
    EXPECT_EQ(fired.size(), 4);
}

TEST_F(ShortcutsTest, CombinationHeldByAnotherClientIsReportedAndNothingHalfGrabbedStays)
{
    // The other program holds only the NumLock variant: the plain variants would
    // succeed, and must be given back.
    ASSERT_EQ(grabElsewhere(Keysym::Right, kCtrlAltSuper | XCB_MOD_MASK_2), 0);
    X11HotkeyBackend backend(connection);
    GlobalShortcuts shortcuts(backend, settings);
    QList<std::pair<QString, QString>> unavailable;
    QObject::connect(&shortcuts, &GlobalShortcuts::shortcutUnavailable,
        [&](const QString& name, KeyCombination, const QString& reason) {
            unavailable.append({name, reason});
        });

    shortcuts.registerDefaultShortcuts();
    ASSERT_EQ(unavailable.size(), 1);
    EXPECT_EQ(unavailable.first().first, ShortcutNames::cycleWindowRight);
    EXPECT_TRUE(unavailable.first().second.contains(QStringLiteral("held by another program")))
        << unavailable.first().second.toStdString();
    EXPECT_FALSE(shortcuts.isActive(ShortcutNames::cycleWindowRight));
    EXPECT_TRUE(shortcuts.isActive(ShortcutNames::cycleWindowLeft));

    ungrabElsewhere(Keysym::Right, kCtrlAltSuper | XCB_MOD_MASK_2);
    // Had our plain-variant grab stayed behind, this would fail with BadAccess (10).
    EXPECT_EQ(grabElsewhere(Keysym::Right, kCtrlAltSuper), 0);
    ungrabElsewhere(Keysym::Right, kCtrlAltSuper);

    // Asking for a held combination from the settings gives a clear answer.
    ASSERT_EQ(grabElsewhere(Keysym::Left, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT), 0);
    const ShortcutResult result = shortcuts.setShortcut(
        ShortcutNames::cycleWindowNext, KeyCombination(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Left));
    EXPECT_EQ(result.code, ShortcutResult::Code::HeldByAnotherProgram);
    EXPECT_TRUE(shortcuts.isActive(ShortcutNames::cycleWindowNext));
    ungrabElsewhere(Keysym::Left, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT);

    // What we hold, others cannot take.
    EXPECT_EQ(grabElsewhere(Keysym::Left, kCtrlAltSuper), 10);
}

class DefaultShortcutsTest : public ShortcutsTest, public ::testing::WithParamInterface<WindowManagerKind>
{ };

TEST_P(DefaultShortcutsTest, AllSixDefaultsAreFreeUnderTheStockConfiguration)
{
    ASSERT_TRUE(desktop.startWindowManager(GetParam()));
    X11HotkeyBackend backend(connection);
    GlobalShortcuts shortcuts(backend, settings);
    int unavailable = 0;
    QObject::connect(&shortcuts, &GlobalShortcuts::shortcutUnavailable, [&] { ++unavailable; });
    shortcuts.registerDefaultShortcuts();
    EXPECT_EQ(unavailable, 0) << wmName(GetParam());
    for (const auto& [name, combination] : GlobalShortcuts::defaultShortcuts(backend.primaryModifiers()))
        EXPECT_TRUE(shortcuts.isActive(name)) << name.toStdString() << " under " << wmName(GetParam());

    // And the plain Ctrl+Alt defaults of other platforms would not be.
    const HotkeyBackend::GrabResult ctrlAlt
        = backend.grab(KeyCombination(Qt::ControlModifier | Qt::AltModifier, Qt::Key_Left));
    EXPECT_FALSE(ctrlAlt.ok()) << wmName(GetParam()) << " leaves Ctrl+Alt+Left free";
    if (ctrlAlt.ok())
        backend.release(ctrlAlt.token);
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, DefaultShortcutsTest,
    ::testing::Values(WindowManagerKind::Openbox, WindowManagerKind::Xfwm4, WindowManagerKind::Metacity),
    [](const auto& param) { return std::string(wmName(param.param)); });

} // namespace
