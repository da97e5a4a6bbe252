// The commands a later launch gives the running program (parqueta --snap-focused 2 and
// the others), as a window manager's key binding or a script runs them: each does what
// it says to the real windows, answers with its status, and none starts a Parqueta.
#include "E2EFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

using namespace E2E;

namespace {

class Automation : public Fixture, public ::testing::WithParamInterface<DesktopSetup>
{
protected:
    // What the launch printed on standard output; its status is checked against `status`.
    QString run(const QStringList& arguments, int status = 0)
    {
        const std::optional<LaunchOutcome> outcome = ParquetaProcess::command(arguments);
        EXPECT_TRUE(outcome) << "parqueta " << arguments.join(' ').toStdString() << " did not end";
        if (!outcome)
            return {};
        EXPECT_EQ(outcome->exitCode, status) << "parqueta " << arguments.join(' ').toStdString() << "\nout: "
                                             << outcome->out.toStdString() << "\nerr: " << outcome->err.toStdString()
                                             << log();
        EXPECT_EQ(outcome->err.isEmpty(), status == 0) << "a reason on standard error exactly when it failed";
        return outcome->out;
    }
    QJsonObject list()
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(run({QStringLiteral("--list")}).toUtf8(), &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
        return document.object();
    }
    static QJsonObject named(const QJsonArray& array, const QString& key, const QJsonValue& value)
    {
        for (const QJsonValue& entry : array) {
            if (entry.toObject().value(key) == value)
                return entry.toObject();
        }
        return {};
    }
};

TEST_P(Automation, EveryCommandActsOnTheRunningProgramAndAnswersWithItsStatus)
{
    ASSERT_NO_FATAL_FAILURE(prepare(GetParam()));

    // Nothing runs: the command says so and starts nothing (a started Parqueta would not
    // have ended). Malformed ones are refused before anything is looked for.
    SettingsFile().remove();
    const std::optional<LaunchOutcome> alone = ParquetaProcess::command({QStringLiteral("--list")});
    ASSERT_TRUE(alone) << "a command without a running Parqueta must not start one";
    EXPECT_EQ(alone->exitCode, 2);
    EXPECT_EQ(alone->err.trimmed(), QStringLiteral("Parqueta is not running"));
    EXPECT_TRUE(alone->out.isEmpty());
    run({QStringLiteral("--snap-focused"), QStringLiteral("3-1")}, 64);
    run({QStringLiteral("--move-focused"), QStringLiteral("up")}, 64);
    run({QStringLiteral("--cycle"), QStringLiteral("next"), QStringLiteral("--list")}, 64);

    ASSERT_NO_FATAL_FAILURE(startParqueta());
    const xcb_window_t window = plainWindow("automation");
    ASSERT_TRUE(driver.activate(window));
    const QRect both = zones.unitedFrame(kLeft, {QStringLiteral("1"), QStringLiteral("2")}).value_or(QRect());
    run({QStringLiteral("--snap-focused"), QStringLiteral("2")});
    EXPECT_TRUE(lands(window, frame(kLeft, "2")));
    run({QStringLiteral("--snap-focused"), QStringLiteral("1-2")});
    EXPECT_TRUE(lands(window, both));
    run({QStringLiteral("--snap-focused"), QStringLiteral("1")});
    EXPECT_TRUE(lands(window, frame(kLeft, "1")));
    run({QStringLiteral("--move-focused"), QStringLiteral("right")});
    EXPECT_TRUE(lands(window, frame(kLeft, "2")));
    run({QStringLiteral("--snap-focused"), QStringLiteral("1")});
    ASSERT_TRUE(lands(window, frame(kLeft, "1")));
    run({QStringLiteral("--span-focused"), QStringLiteral("right")});
    EXPECT_TRUE(lands(window, both));
    run({QStringLiteral("--snap-focused"), QStringLiteral("7")}, 64);
    EXPECT_TRUE(lands(window, both)) << "an unknown zone leaves the window alone";

    // A second window in the same zones: cycling brings the first one forward again.
    const xcb_window_t other = plainWindow("automation 2", QRect(200, 250, 300, 200));
    ASSERT_TRUE(driver.activate(other));
    run({QStringLiteral("--snap-focused"), QStringLiteral("1-2")});
    ASSERT_TRUE(lands(other, both));
    run({QStringLiteral("--cycle"), QStringLiteral("next")});
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return driver.activeWindow() == window; })) << log();

    const QJsonObject state = list();
    const QJsonArray screens = state.value(QStringLiteral("screens")).toArray();
    ASSERT_EQ(screens.size(), 2);
    const QJsonObject left = named(screens, QStringLiteral("name"), kLeft);
    EXPECT_FALSE(named(screens, QStringLiteral("name"), kRight).isEmpty());
    const QJsonObject visible = left.value(QStringLiteral("visibleFrame")).toObject();
    EXPECT_EQ(QRectF(visible.value("x").toDouble(), visible.value("y").toDouble(), visible.value("width").toDouble(),
                  visible.value("height").toDouble()),
        zones.visibleFrame(kLeft).value_or(QRectF()));
    const QJsonObject listed = named(state.value(QStringLiteral("windows")).toArray(), QStringLiteral("id"),
        static_cast<qint64>(window));
    EXPECT_EQ(listed.value(QStringLiteral("zones")).toArray(), (QJsonArray {"1", "2"}));
    EXPECT_EQ(listed.value(QStringLiteral("screen")), left.value(QStringLiteral("id")));
    EXPECT_EQ(state.value(QStringLiteral("windows")).toArray().size(), 2);

    // Layouts of the screen under the pointer: the second preset by its number.
    const QPoint onLeft = zones.visibleFrame(kLeft).value_or(QRectF()).center().toPoint();
    driver.input().moveTo(onLeft.x(), onLeft.y());
    run({QStringLiteral("--layout"), QStringLiteral("2")});
    const QJsonArray layouts = named(list().value(QStringLiteral("screens")).toArray(), QStringLiteral("name"), kLeft)
                                   .value(QStringLiteral("layouts"))
                                   .toArray();
    ASSERT_EQ(layouts.size(), 3);
    EXPECT_TRUE(named(layouts, QStringLiteral("position"), 2).value(QStringLiteral("active")).toBool());
    EXPECT_FALSE(named(layouts, QStringLiteral("position"), 1).value(QStringLiteral("active")).toBool());
    run({QStringLiteral("--layout"), named(layouts, QStringLiteral("position"), 1).value("id").toString()});
    run({QStringLiteral("--layout"), QStringLiteral("4")}, 64);
    run({QStringLiteral("--layout"), QUuid::createUuid().toString()}, 64);

    // The window-opening options still start nothing new and open the window; with
    // Parqueta's own window focused there is nothing to snap.
    EXPECT_EQ(ParquetaProcess::launchAgain({QStringLiteral("--settings")}), std::optional<int>(0));
    const xcb_window_t settings = desktop.waitForWindow({}, QStringLiteral("Parqueta Settings"));
    ASSERT_NE(settings, XCB_WINDOW_NONE) << log();
    ASSERT_TRUE(driver.activate(settings));
    run({QStringLiteral("--move-focused"), QStringLiteral("right")}, 1);
    EXPECT_TRUE(m_parqueta->isRunning());
}

INSTANTIATE_TEST_SUITE_P(Desktops, Automation,
    ::testing::Values(DesktopSetup {WindowManagerKind::Openbox, CompositorKind::None, "openbox"},
        DesktopSetup {WindowManagerKind::Metacity, CompositorKind::None, "metacity"}),
    [](const auto& param) { return std::string(param.param.name); });

} // namespace
