// Global input from scripted NSEvent monitors, hot keys through scripted Carbon calls,
// and the login-item launch event.
#include "platform/macos/AppleEvents.h"
#include "platform/macos/CarbonHotkeyBackend.h"
#include "platform/macos/CocoaEventInput.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <tuple>

namespace {

enum class Kind { Global, Local };

// Every monitor ever installed stays listed; removed ones no longer receive events.
class FakeEvents final : public CocoaEventApi
{
public:
    struct Monitor
    {
        quint64 mask;
        Kind kind;
        Handler handler;
        Token token;
    };
    std::vector<Monitor> monitors;
    std::vector<Token> removed;
    std::set<std::pair<quint64, Kind>> refused;
    quint64 flags = 0;

    Token addGlobalMonitor(quint64 mask, Handler handler) override { return add(mask, Kind::Global, handler); }
    Token addLocalMonitor(quint64 mask, Handler handler) override { return add(mask, Kind::Local, handler); }
    void removeMonitor(Token token) override { removed.push_back(token); }
    quint64 modifierFlags() override { return flags; }

    std::vector<std::pair<quint64, Kind>> installed() const
    {
        std::vector<std::pair<quint64, Kind>> result;
        for (const Monitor& m : monitors)
            result.emplace_back(m.mask, m.kind);
        return result;
    }
    bool isLive(const Monitor& m) const { return std::find(removed.begin(), removed.end(), m.token) == removed.end(); }
    // What the system does: an event of another program goes to the global monitors, one
    // of Parqueta's to the local ones, each only if its mask asks for the type.
    void fire(Kind kind, quint32 type, quint64 eventFlags = 0)
    {
        for (const Monitor& m : std::vector<Monitor>(monitors)) {
            if (m.kind == kind && (m.mask & (quint64(1) << type)) && isLive(m))
                m.handler({type, eventFlags});
        }
    }

private:
    Token add(quint64 mask, Kind kind, const Handler& handler)
    {
        if (refused.count({mask, kind}))
            return 0;
        monitors.push_back({mask, kind, handler, 100 + monitors.size()});
        return monitors.back().token;
    }
};

class FakeScreens final : public CocoaScreenApi
{
public:
    std::vector<CocoaScreenFacts> list;
    QPointF mouse;

    std::vector<CocoaScreenFacts> screens() override { return list; }
    std::optional<QString> displayUuid(quint32) override { return std::nullopt; }
    QPointF mouseLocation() override { return mouse; }
};

TEST(CocoaEventInput, MonitorsTurnEventsIntoSignalsUntilStopped)
{
    FakeEvents events;
    FakeScreens screens;
    CocoaEventInput input(events, screens);
    QStringList seen;
    QObject::connect(&input, &GlobalInput::leftButtonDown, [&] { seen << "down"; });
    QObject::connect(&input, &GlobalInput::leftButtonUp, [&] { seen << "up"; });
    QObject::connect(&input, &GlobalInput::pointerMotion, [&] { seen << "motion"; });
    QObject::connect(&input, &GlobalInput::rightButtonDown, [&] { seen << "right"; });
    QObject::connect(&input, &GlobalInput::modifiersChanged,
        [&](Qt::KeyboardModifiers m) { seen << QString::number(m.toInt(), 16); });
    TestLog log;

    ASSERT_TRUE(input.start());
    ASSERT_TRUE(input.start());
    const std::vector<std::pair<quint64, Kind>> expected
        = {{68, Kind::Global}, {68, Kind::Local}, {8, Kind::Global}, {4096, Kind::Global}};
    EXPECT_EQ(events.installed(), expected);

    // A drag of another program's window, one of Parqueta's own, a right click.
    for (const Kind kind : {Kind::Global, Kind::Local}) {
        events.fire(kind, 6);
        events.fire(kind, 6);
        events.fire(kind, 2);
    }
    events.fire(Kind::Global, 3);
    // Caps Lock alone, Shift (with a device bit), Caps Lock on, Shift+Option, Option alone, all released.
    for (const quint64 flags :
        {0x10000ull, 0x20102ull, 0x20102ull, 0x30102ull, 0xa0000ull, 0xa0000ull, 0x80000ull, 0x0ull, 0x0ull})
        events.fire(Kind::Global, 12, flags);
    // A type no mask asks for, handed over all the same.
    events.monitors.front().handler({5, 0});
    EXPECT_EQ(seen,
        QStringList(
            {"motion", "motion", "up", "motion", "motion", "up", "right", "2000000", "a000000", "8000000", "0"}));
    EXPECT_EQ(log.count("parqueta.input: unexpected event type 5"), 1) << log.text();

    EXPECT_EQ(input.currentModifiers(), Qt::NoModifier);
    events.flags = 0x1c0000;
    EXPECT_EQ(input.currentModifiers(), Qt::MetaModifier | Qt::AltModifier | Qt::ControlModifier);

    input.stop();
    EXPECT_TRUE(events.removed.empty());
    input.stop();
    EXPECT_EQ(events.removed, (std::vector<CocoaEventApi::Token> {100, 101, 102, 103}));
    seen.clear();
    for (const quint32 type : {6u, 2u, 3u})
        events.fire(Kind::Global, type);
    events.fire(Kind::Global, 12, 0x20000);
    EXPECT_TRUE(seen.isEmpty()) << seen.join(' ').toStdString();
}

TEST(CocoaEventInput, OnlyARefusedGlobalLeftMouseMonitorStopsTheStart)
{
    FakeEvents events;
    FakeScreens screens;
    TestLog log;
    {
        CocoaEventInput input(events, screens);
        events.refused = {{68, Kind::Local}, {8, Kind::Global}};
        ASSERT_TRUE(input.start());
        EXPECT_EQ(log.count("refused"), 2) << log.text();
        input.stop();
        EXPECT_EQ(events.removed, (std::vector<CocoaEventApi::Token> {100, 101}));
    }
    events = FakeEvents();
    events.refused = {{68, Kind::Global}};
    CocoaEventInput input(events, screens);
    EXPECT_FALSE(input.start());
    EXPECT_FALSE(input.isRunning());
    EXPECT_TRUE(events.monitors.empty());
    EXPECT_EQ(log.count("refused the global left-mouse monitor"), 1) << log.text();
}

TEST(CocoaEventInput, PointerFlipsAboutThePrimarysTopEdge)
{
    FakeEvents events;
    FakeScreens screens;
    CocoaEventInput input(events, screens);
    screens.mouse = {100, 1500};
    EXPECT_EQ(input.pointerLocation(), QPointF());
    // The second display sits above the 982 point high primary.
    screens.list = {{1, "Built-in", {0, 0, 1512, 982}, {0, 70, 1512, 887}, 2.0},
        {2, "Above", {0, 982, 1920, 1080}, {0, 982, 1920, 1055}, 1.0}};
    EXPECT_EQ(input.pointerLocation(), QPointF(100, -518));
}

class FakeHotKeys final : public CarbonHotKeyApi
{
public:
    std::map<std::pair<quint32, quint32>, int> status;
    std::vector<std::tuple<quint32, quint32, quint32>> registered;
    std::vector<quint32> unregistered;
    std::function<void(quint32)> pressed;

    int registerHotKey(quint32 keyCode, quint32 modifiers, quint32 id) override
    {
        registered.emplace_back(keyCode, modifiers, id);
        const auto it = status.find({keyCode, modifiers});
        return it == status.end() ? 0 : it->second;
    }
    void unregisterHotKey(quint32 id) override { unregistered.push_back(id); }
    void setPressedHandler(std::function<void(quint32)> handler) override { pressed = std::move(handler); }
};

TEST(CarbonHotkeyBackend, RegistersPressesAndReleasesHotKeys)
{
    FakeHotKeys api;
    auto backend = std::make_unique<CarbonHotkeyBackend>(api);
    QList<HotkeyBackend::Token> activated;
    QObject::connect(backend.get(), &HotkeyBackend::activated, [&](HotkeyBackend::Token t) { activated << t; });
    const Qt::KeyboardModifiers primary = backend->primaryModifiers();
    EXPECT_EQ(primary, Qt::MetaModifier | Qt::AltModifier);
    api.status = {{{0x7E, 0x1800}, -9878}, {{0x7D, 0x1800}, -50}};

    const auto left = backend->grab(KeyCombination(primary, Qt::Key_Left));
    const auto right = backend->grab(KeyCombination(primary | Qt::ShiftModifier, Qt::Key_Right));
    ASSERT_TRUE(left.ok() && right.ok()) << left.error.toStdString() << right.error.toStdString();
    // Each failure with its reason; a key no Mac has never reaches Carbon.
    const std::tuple<Qt::Key, bool, QString> failures[] = {
        {Qt::Key_Up, true, " is held by another program"},
        {Qt::Key_Down, false, " could not be registered (error -50)"},
        {Qt::Key_Print, false, ""},
    };
    for (const auto& [key, heldElsewhere, reason] : failures) {
        const KeyCombination combination(primary, key);
        const QString text = KeyCombinations::toDisplayText(combination);
        const auto result = backend->grab(combination);
        EXPECT_EQ(result.token, 0u) << text.toStdString();
        EXPECT_EQ(result.heldElsewhere, heldElsewhere) << text.toStdString();
        EXPECT_EQ(result.error, reason.isEmpty() ? "no key of a Mac keyboard produces " + text : text + reason);
    }
    ASSERT_EQ(api.registered.size(), 4u);
    EXPECT_EQ(std::get<0>(api.registered[0]), 123u);
    EXPECT_EQ(std::get<1>(api.registered[0]), 0x1800u);
    EXPECT_EQ(std::get<0>(api.registered[1]), 124u);
    EXPECT_EQ(std::get<1>(api.registered[1]), 0x1a00u);
    const quint32 leftId = std::get<2>(api.registered[0]);
    const quint32 heldId = std::get<2>(api.registered[2]);

    api.pressed(std::get<2>(api.registered[1]));
    api.pressed(leftId);
    api.pressed(heldId);
    backend->release(left.token);
    backend->release(left.token);
    backend->release(12345);
    api.pressed(leftId);
    EXPECT_EQ(activated, (QList<HotkeyBackend::Token> {right.token, left.token}));
    EXPECT_EQ(api.unregistered, std::vector<quint32> {leftId});

    // Grabbed again after its release, Left gets an id no earlier press can be meant for.
    const auto again = backend->grab(KeyCombination(primary, Qt::Key_Left));
    ASSERT_TRUE(again.ok());
    std::set<quint32> ids;
    for (const auto& registration : api.registered)
        ids.insert(std::get<2>(registration));
    EXPECT_EQ(ids.size(), api.registered.size());
    EXPECT_FALSE(ids.count(0));

    backend.reset();
    EXPECT_EQ(api.unregistered, (std::vector<quint32> {leftId, std::get<2>(api.registered[1]), quint32(again.token)}));
    EXPECT_FALSE(api.pressed);
}

TEST(AppleEvents, OnlyAnOpenApplicationEventWithTheLoginItemValueIsALoginLaunch)
{
    using namespace AppleEvents;
    const std::tuple<quint32, std::optional<quint32>, bool> rows[] = {
        {kOpenApplication, kLoginItemAsCompared, true},
        {kOpenApplication, kLaunchedAsLogInItem, true},
        {kReopenApplication, kLaunchedAsLogInItem, false},
        {kOpenApplication, std::nullopt, false},
        {kOpenApplication, kPropertyData, false},
    };
    for (const auto& [eventId, propertyData, expected] : rows)
        EXPECT_EQ(isLoginItemLaunch(eventId, propertyData), expected) << eventId << " " << propertyData.value_or(0);
}

} // namespace
