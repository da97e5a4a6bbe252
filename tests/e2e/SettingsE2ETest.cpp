// The settings window with the real program: a second launch opens it, a switch flipped
// with the keyboard and a shortcut recorded in it act at once, and the settings file
// edited by another program while Parqueta runs is obeyed within a second.
#include "E2EFixture.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/wait.h>

using namespace E2E;

namespace {

const QString kTitle = QStringLiteral("Parqueta Settings");

class SettingsWindow : public Fixture
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(prepare({WindowManagerKind::Openbox, CompositorKind::None, "openbox"}));
        ASSERT_NO_FATAL_FAILURE(startParqueta());
    }
    // Alt, Ctrl, Shift held around one key, as a user types a combination.
    void type(std::initializer_list<uint32_t> modifiers, uint32_t key)
    {
        XTestInput& input = driver.input();
        for (uint32_t modifier : modifiers)
            input.keyDown(modifier);
        input.tap(key);
        for (uint32_t modifier : modifiers)
            input.keyUp(modifier);
        VirtualDesktop::pump(150);
    }
    bool stored(const QString& key, const QJsonValue& value)
    {
        return VirtualDesktop::waitUntil([&] {
            QFile file(ParquetaProcess::settingsPath());
            return file.open(QIODevice::ReadOnly)
                && QJsonDocument::fromJson(file.readAll()).object().value(key) == value;
        });
    }
    void readZones()
    {
        const std::optional<DesktopZones> read = DesktopZones::read();
        ASSERT_TRUE(read) << DesktopZones::lastError().toStdString();
        zones = *read;
    }
};

TEST_F(SettingsWindow, OpensOnASecondLaunchAndItsChangesAndTheFilesActAtOnce)
{
    const xcb_window_t plain = plainWindow("settings test");
    EXPECT_EQ(desktop.findWindow({}, kTitle), XCB_WINDOW_NONE) << "started at login: no window by itself";
    EXPECT_EQ(ParquetaProcess::launchAgain({}), std::optional<int>(0));
    const xcb_window_t settings = desktop.waitForWindow({}, kTitle);
    ASSERT_NE(settings, XCB_WINDOW_NONE) << log();

    // "Gap between zones" by its Alt+G, then a drag leaves the default gap of 10.
    ASSERT_TRUE(driver.activate(settings));
    type({Keysym::AltL}, 'g');
    ASSERT_TRUE(stored(QStringLiteral("enableGaps"), true)) << log();
    ASSERT_NO_FATAL_FAILURE(readZones());
    EXPECT_EQ(zones.gap(), 10);
    driver.drag(plain, zones.dropPoint(kLeft, "1"));
    EXPECT_TRUE(lands(plain, frame(kLeft, "1")));

    // Ctrl+3 to the Shortcuts tab, Alt+R to start recording "Cycle window right", and a
    // combination of the user's own (not Ctrl+Alt+F<n>: the keymap makes those switch
    // virtual terminals).
    ASSERT_TRUE(driver.activate(settings));
    type({Keysym::ControlL}, '3');
    type({Keysym::AltL}, 'r');
    type({Keysym::ControlL, Keysym::AltL}, 'j');
    ASSERT_TRUE(driver.activate(plain));
    type({Keysym::ControlL, Keysym::AltL}, 'j');
    EXPECT_TRUE(lands(plain, frame(kLeft, "2"))) << "the recorded shortcut moves the window\n" << log();

    // Another program sets a wider gap: the next snap uses it.
    SettingsFile file;
    ASSERT_TRUE(file.edit([](Settings& s) { s.setValue(Keys::gapSize, 30); }));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        return m_parqueta->logCount(QStringLiteral("Settings file changed by another program: gapSize")) == 1;
    })) << log();
    ASSERT_NO_FATAL_FAILURE(readZones());
    EXPECT_EQ(zones.gap(), 30);
    driver.drag(plain, zones.dropPoint(kRight, "1"));
    EXPECT_TRUE(lands(plain, frame(kRight, "1"))) << log();
}

} // namespace

namespace {

// A bare window manager with no tray: started by hand, Parqueta opens its settings
// window at once, and that window's Quit button is the way out.
TEST_F(Fixture, WithoutATrayTheSettingsWindowOpensAtLaunchAndQuits)
{
    ASSERT_NO_FATAL_FAILURE(prepare({WindowManagerKind::Openbox, CompositorKind::None, "openbox_no_tray", -1}));
    SettingsFile file;
    file.remove();
    m_parqueta = std::make_unique<ParquetaProcess>(desktop);
    m_parqueta->setArguments({});
    ASSERT_TRUE(m_parqueta->start()) << m_parqueta->lastError().toStdString();
    const xcb_window_t settings = desktop.waitForWindow({}, kTitle);
    ASSERT_NE(settings, XCB_WINDOW_NONE) << log();
    EXPECT_EQ(m_parqueta->logCount(QStringLiteral("the settings window carries a Quit button")), 1) << log();
    ASSERT_TRUE(driver.activate(settings));
    driver.input().keyDown(Keysym::AltL);
    driver.input().tap('q');
    driver.input().keyUp(Keysym::AltL);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !m_parqueta->isRunning(); })) << log();
    EXPECT_TRUE(WIFEXITED(m_parqueta->waitStatus()) && WEXITSTATUS(m_parqueta->waitStatus()) == 0);
}

// The first run's guide stands over the desktop; firstRun is stored false while it shows,
// so a crash during the guide does not bring it back, and the presets stay.
TEST_F(Fixture, TheFirstRunGuideShowsOnceEvenWhenParquetaCrashesDuringIt)
{
    ASSERT_NO_FATAL_FAILURE(prepare({WindowManagerKind::Openbox, CompositorKind::None, "openbox"}));
    SettingsFile().remove();
    m_parqueta = std::make_unique<ParquetaProcess>(desktop);
    m_parqueta->setShowsOnboarding(true);
    ASSERT_TRUE(m_parqueta->start()) << m_parqueta->lastError().toStdString();
    const QString title = QStringLiteral("Welcome to Parqueta");
    ASSERT_NE(desktop.waitForWindow({}, title), XCB_WINDOW_NONE) << log();
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        QFile file(ParquetaProcess::settingsPath());
        return file.open(QIODevice::ReadOnly)
            && QJsonDocument::fromJson(file.readAll()).object().value(QStringLiteral("firstRun")) == QJsonValue(false);
    })) << "stored as soon as the guide shows";
    m_parqueta->kill9();
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return desktop.findWindow({}, title) == XCB_WINDOW_NONE; }));

    ASSERT_TRUE(m_parqueta->start()) << m_parqueta->lastError().toStdString();
    VirtualDesktop::pump(1000);
    EXPECT_EQ(desktop.findWindow({}, title), XCB_WINDOW_NONE) << "no guide on the second run";
    const std::optional<DesktopZones> zones = DesktopZones::read();
    ASSERT_TRUE(zones) << DesktopZones::lastError().toStdString();
    EXPECT_EQ(zones->zones().size(), 4) << "the two-halves preset on each monitor, kept";
}

} // namespace
