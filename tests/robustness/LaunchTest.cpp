// Launching the real executable the ways users do: asking for help or the version in a
// terminal without X, starting it without a display, and two launches at the same
// moment (a login script and a click, or `parqueta & parqueta &`).
#include "ParquetaProcess.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <sys/wait.h>

namespace {

struct Outcome
{
    int exitCode = -1;
    QString out;
    QString err;
};

Outcome runWithoutDisplay(const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(ParquetaProcess::executable(), arguments);
    if (!process.waitForFinished(10000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput()),
        QString::fromLocal8Bit(process.readAllStandardError())};
}

TEST(Launch, HelpAndVersionAnswerWithoutADisplayAndALaunchWithoutOneSaysWhy)
{
    const Outcome help = runWithoutDisplay({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0) << help.err.toStdString();
    EXPECT_TRUE(help.out.contains(QStringLiteral("--edit-layout"))) << help.out.toStdString();
    const Outcome version = runWithoutDisplay({QStringLiteral("--version")});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("Parqueta "))) << version.out.toStdString();

    const Outcome bare = runWithoutDisplay({});
    EXPECT_EQ(bare.exitCode, 1);
    EXPECT_EQ(bare.err.trimmed().count(QLatin1Char('\n')), 0) << "one line:\n" << bare.err.toStdString();
    EXPECT_TRUE(bare.err.contains(QStringLiteral("DISPLAY"))) << bare.err.toStdString();
}

TEST(Launch, TwoLaunchesAtOnceLeaveExactlyOneRunning)
{
    VirtualDesktop& desktop = VirtualDesktop::shared();
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Openbox));
    SettingsFile().remove();
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        ParquetaProcess first(desktop);
        ParquetaProcess second(desktop);
        ASSERT_TRUE(first.start(false));
        ASSERT_TRUE(second.start(false));
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !first.isRunning() || !second.isRunning(); }, 20000))
            << "both are still running";
        ParquetaProcess& stayed = first.isRunning() ? first : second;
        const ParquetaProcess& left = first.isRunning() ? second : first;
        EXPECT_TRUE(WIFEXITED(left.waitStatus()) && WEXITSTATUS(left.waitStatus()) == 0) << left.logText().toStdString();
        EXPECT_TRUE(stayed.waitUntilReady()) << stayed.logText().toStdString();
        EXPECT_EQ(stayed.terminate(), std::optional<int>(0));
    }
}

} // namespace
