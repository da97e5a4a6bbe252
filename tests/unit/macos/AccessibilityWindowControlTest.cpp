// The macOS window control on scripted accessibility calls: which window each lookup
// means, and what a frame change writes in which order.
#include "platform/macos/AccessibilityWindowControl.h"
#include "FakeAccessibilityApi.h"
#include "TestSupport.h"
#include "managers/WindowManager.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

namespace {

using Elements = std::vector<AxElementRef>;
using Entries = std::vector<WindowListEntry>;
constexpr auto kCannotComplete = static_cast<AxError>(-25204);

// What is logged on parqueta.windows, as "debug: text" or "critical: text".
QStringList windowsLog;
void logWindows(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (QByteArray(context.category) == "parqueta.windows")
        windowsLog << (type == QtDebugMsg ? "debug: " : type == QtCriticalMsg ? "critical: " : "other: ") + text;
}

WindowListEntry entry(
    std::optional<qint64> layer, std::optional<qint64> pid, std::optional<QRectF> bounds = QRectF(0, 0, 100, 100))
{
    return {layer, bounds, pid};
}

class AccessibilityWindows : public ::testing::Test
{
protected:
    AccessibilityWindows()
    {
        field->set("AXParent", AxElementRef(group));
        group->set("AXParent", AxElementRef(w));
        ax.running[7] = {"Safari", "com.apple.Safari"};
        qInstallMessageHandler(logWindows);
    }
    ~AccessibilityWindows() override { qInstallMessageHandler(nullptr); }

    static WindowControl::Handle handle(AxElementRef element)
    {
        return AccessibilityWindowControl::handleFor(std::move(element));
    }
    static QString nameOf(const WindowControl::Handle& handle)
    {
        const AxElement* element = handle ? AccessibilityWindowControl::elementOf(*handle) : nullptr;
        return element ? static_cast<const FakeAccessibilityApi::Element*>(element)->name : "none";
    }
    void newWindow() { w = ax.addWindow("w", 7, 70, QRectF(0, 0, 800, 600)); }

    FakeAccessibilityApi ax;
    AccessibilityWindowControl control {ax};
    FakeAccessibilityApi::Ref w = ax.addWindow("w", 7, 70, QRectF(0, 0, 800, 600));
    FakeAccessibilityApi::Ref group = ax.add("group"), field = ax.add("field");
    FakeAccessibilityApi::Ref a = ax.addWindow("a", 7, 71, {}), b = ax.addWindow("b", 7, 72, {});
};

TEST_F(AccessibilityWindows, FrameWritesComeInOrderInsideTheEnhancedUserInterfaceBracket)
{
    const QStringList shrink {"w AXSize QSizeF(400, 600)", "w AXPosition QPointF(10,20)", "w AXSize QSizeF(400, 600)"};
    const QStringList grow {"w AXPosition QPointF(10,20)", "w AXSize QSizeF(900, 600)"};
    const QStringList off {"app7 AXEnhancedUserInterface false"}, on {"app7 AXEnhancedUserInterface true"};
    const AxReading big {AxError::Success, QSizeF(800, 600)}, unset {AxError::AttributeUnsupported, {}};
    const QRectF narrower(10, 20, 400, 600), wider(10, 20, 900, 600);
    const std::tuple<const char*, AxReading, AxReading, QRectF, QStringList> cases[] = {
        {"narrower", big, unset, narrower, shrink},
        {"lower only", big, unset, {10, 20, 900, 500},
            {"w AXSize QSizeF(900, 500)", "w AXPosition QPointF(10,20)", "w AXSize QSizeF(900, 500)"}},
        {"wider, as high", big, unset, wider, grow},
        {"size unreadable: 0 by 0", {kCannotComplete, QSizeF(999, 999)}, unset, wider, grow},
        {"enhanced UI on", big, {AxError::Success, true}, narrower, off + shrink + on},
        {"enhanced UI off", big, {AxError::Success, false}, wider, grow},
        {"enhanced UI unreadable", big, {AxError::Failure, true}, wider, grow},
    };
    for (const auto& [name, size, enhanced, rect, writes] : cases) {
        w->attributes["AXSize"] = size;
        ax.app(7)->attributes["AXEnhancedUserInterface"] = enhanced;
        ax.log.clear();
        control.setFrame(*handle(w), rect);
        EXPECT_EQ(ax.log, writes) << name;
    }
    ax.log.clear();
    ax.app(7)->set("AXEnhancedUserInterface", true);
    control.setSize(*handle(w), {300, 200});
    EXPECT_EQ(ax.log, off + QStringList {"w AXSize QSizeF(300, 200)"} + on);
}

TEST_F(AccessibilityWindows, TheFocusedWindowIsTheFocusedElementsWindowOrTheMainOneWhenTheSystemSaysNoValue)
{
    const QStringList fallback {"debug: appResult == .noValue, trying to get main window instead"};
    const AxReading focusedApp {AxError::Success, AxElementRef(ax.app(7))};
    const AxReading noValue {AxError::NoValue, AxElementRef(ax.app(7))};
    const std::tuple<const char*, AxReading, AxReading, AxReading, QString, QStringList> cases[] = {
        {"text field climbs", focusedApp, {AxError::Success, AxElementRef(field)}, {}, "w", {}},
        {"focused window unreadable", focusedApp, {kCannotComplete, AxElementRef(w)}, {}, "none",
            {"debug: Error retrieving focused window: -25204"}},
        {"no focused application", {AxError::Failure, AxElementRef(ax.app(7))}, {}, {}, "none", {}},
        {"no value, no application", {AxError::NoValue, {}}, {}, {}, "none", {}},
        {"a main window", noValue, {}, {AxError::Success, Elements {b, a}}, "b", fallback},
        {"an earlier window with a frame", noValue, {}, {AxError::Success, Elements {a, b}}, "a", fallback},
        {"a frameless window passed over", noValue, {}, {AxError::Success, Elements {w, b}}, "b", fallback},
        {"the first with a frame", noValue, {}, {AxError::Success, Elements {w, a}}, "a", fallback},
        {"windows read as no value", noValue, {}, {AxError::NoValue, Elements {b}}, "b", fallback},
        {"windows unreadable", noValue, {}, {AxError::Failure, Elements {b}}, "none", fallback},
        {"windows not a list", noValue, {}, {AxError::Success, AxElementRef(b)}, "none", fallback},
        {"no window qualifies", noValue, {}, {AxError::Success, Elements {w}}, "none", fallback},
    };
    a->set("AXMain", false);
    b->set("AXMain", true);
    w->set("AXPosition", QSizeF(1, 1)); // of the wrong type: w has no readable frame
    for (const auto& [name, app, focused, windows, expected, logged] : cases) {
        ax.systemWideElement->attributes["AXFocusedApplication"] = app;
        ax.app(7)->attributes["AXFocusedWindow"] = focused;
        ax.app(7)->attributes["AXWindows"] = windows;
        windowsLog.clear();
        EXPECT_EQ(nameOf(control.focusedWindow()), expected) << name;
        EXPECT_EQ(windowsLog, logged) << name;
    }
}

TEST_F(AccessibilityWindows, TheWindowAtTheCursorClimbsFromTheHitOrIsTheFirstWindowOfTheLowestListedOwner)
{
    for (qint64 pid : {0, 8, 9, 10}) // 0: what a missing pid must not be taken for
        ax.app(pid)->set("AXWindows",
            Elements {ax.addWindow(QStringLiteral("w%1").arg(pid), pid, 1, {}), ax.addWindow("later", pid, 2, {})});
    ax.app(11)->set("AXWindows", Elements {});
    const auto menuBar = ax.add("menu bar"), loop = ax.add("loop");
    menuBar->set("AXRole", QStringLiteral("AXMenuBar"));
    loop->set("AXParent", AxElementRef(loop));
    Entries many; // beyond the length up to which std::sort happens to keep equal entries in order
    for (qint64 i = 0; i < 40; ++i)
        many.push_back(entry(i < 20 ? 1 : 0, i < 20 ? 8 : i == 20 ? 9 : 10));
    const Entries passedOver {entry(0, 9, std::nullopt), entry(0, 9, QRectF(0, 0, 10, 50)),
        entry(0, 9, QRectF(0, 0, 50, 10)), entry(0, {}), entry(0, 11), entry(0, 12), entry(0, 10)};
    const std::tuple<const char*, FakeAccessibilityApi::Ref, std::optional<Entries>, QString> cases[] = {
        {"text field climbs", field, {}, "w"},
        {"no window above the hit", menuBar, Entries {entry(0, 8)}, "w8"},
        {"nothing hit", nullptr, Entries {entry(0, 8)}, "w8"},
        {"parents in a circle", loop, Entries {entry(0, 8)}, "w8"},
        {"no layer counts as 0", nullptr, Entries {entry(0, 10), entry({}, 8)}, "w10"},
        {"lowest layer first", nullptr, Entries {entry(1, 9), entry({}, 8), entry(0, 10)}, "w8"},
        {"stable within a layer", nullptr, many, "w9"},
        {"entries passed over", nullptr, passedOver, "w10"},
        {"no window list", nullptr, std::nullopt, "none"},
    };
    for (const auto& [name, hit, list, expected] : cases) {
        ax.hit = hit;
        ax.windows = list;
        ax.windowListOptions = 0;
        EXPECT_EQ(nameOf(control.windowAtCursor()), expected) << name;
        EXPECT_EQ(ax.windowListOptions, expected == "w" ? 0u : 17u) << name;
    }
    ax.pointer.reset();
    EXPECT_EQ(nameOf(control.windowAtCursor()), "none");
    loop->attributes.erase("AXParent"); // the circle would keep the element alive for ever
}

TEST_F(AccessibilityWindows, AWindowRecordNeedsTheApplicationTheNumberAndTheSize)
{
    const std::tuple<const char*, std::function<void()>, QStringList, std::string> cases[] = {
        {"complete", [] {}, {}, ""},
        {"no running application", [&] { w->pid = 8; }, {}, "Error: Unable to find running application for PID 8\n"},
        {"no window number", [&] { w->number.error = AxError::Failure; }, {"critical: Failed to get window id"}, ""},
        {"size unreadable", [&] { w->set("AXSize", QSizeF(1, 1), kCannotComplete); },
            {"critical: Failed to get window size"}, ""},
    };
    WindowManager windows(control);
    for (const auto& [name, script, logged, printed] : cases) {
        newWindow();
        script();
        windowsLog.clear();
        ::testing::internal::CaptureStdout();
        const WindowPtr window = windows.windowFrom(handle(w));
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), printed) << name;
        EXPECT_EQ(windowsLog, logged) << name;
        EXPECT_EQ(window ? QStringList({QString::number(window->id()), window->appName(), window->appIdentifier()})
                         : QStringList(),
            logged.isEmpty() && printed.empty() ? QStringList({"70", "Safari", "com.apple.Safari"}) : QStringList())
            << name;
    }
}

TEST_F(AccessibilityWindows, FocusRaisesThenActivatesAndReportsTheRaise)
{
    for (AxError raise : {AxError::Success, kCannotComplete}) {
        w->raise = raise;
        ax.log.clear();
        EXPECT_EQ(control.focus(*handle(w)), raise == AxError::Success);
        EXPECT_EQ(ax.log, (QStringList {"w AXRaise", "activate 7"}));
    }
}

TEST_F(AccessibilityWindows, OnlyStandardWindowsOfOtherProcessesAreNormal)
{
    // The expected reason is part of the text; empty: normal; "gone": no facts at all.
    const std::tuple<const char*, std::function<void()>, QString> cases[] = {
        {"standard window", [] {}, ""},
        {"dialog", [&] { w->set("AXSubrole", QStringLiteral("AXDialog")); }, "a dialog"},
        {"palette", [&] { w->set("AXSubrole", QStringLiteral("AXFloatingWindow")); }, "a floating window"},
        {"no subrole", [&] { w->attributes.erase("AXSubrole"); }, "which kind"},
        {"sheet", [&] { w->set("AXRole", QStringLiteral("AXSheet")); }, "no window but a sheet"},
        {"own window", [&] { w->pid = QCoreApplication::applicationPid(); }, "Parqueta's own"},
        {"gone", [&] { w->set("AXRole", {}, AxError::Failure); }, "gone"},
    };
    for (const auto& [name, script, because] : cases) {
        newWindow();
        script();
        const std::optional<WindowFacts> facts = control.facts(*handle(w));
        EXPECT_EQ(control.isNormal(*handle(w)), because.isEmpty()) << name;
        EXPECT_EQ(facts.has_value(), because != "gone") << name;
        const QString reason = facts ? facts->notNormalBecause : QString();
        EXPECT_TRUE(because.isEmpty() ? reason.isEmpty() : reason.contains(because) || !facts) << name;
    }
    newWindow();
    w->set("AXTitle", QStringLiteral("Start Page"));
    w->set("AXMinimized", true);
    const std::optional<WindowFacts> facts = control.facts(*handle(w));
    ASSERT_TRUE(facts);
    EXPECT_EQ(QStringList({facts->title, facts->className, facts->instanceName, facts->types.join(","),
                  facts->states.join(",")}),
        QStringList({"Start Page", "com.apple.Safari", "Safari", "standard window", "minimized"}));
    EXPECT_EQ(facts->frame, QRectF(0, 0, 800, 600));
}

} // namespace
