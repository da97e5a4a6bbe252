#include "app/Application.h"
#include "app/AutomationCommands.h"
#include "app/CommandLine.h"
#include "app/SingleInstance.h"
#include "app/UnixSignals.h"
#include "core/Logging.h"
#include "core/Settings.h"
#include "platform/ApplicationShell.h"
#include "platform/Platform.h"
#include "platform/SettingsLocation.h"

#include <QApplication>
#include <QUrl>

#include <cstdio>

namespace {

void nameTheApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("Parqueta"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PARQUETA_VERSION));
}

// The options, read before any display is needed: --help and --version answer (and end
// the process) anywhere, a terminal without X included.
LaunchOptions parseOptions(int argc, char** argv)
{
    QCoreApplication probe(argc, argv);
    nameTheApplication();
    return CommandLine::parse(QCoreApplication::arguments());
}

// A command for the running Parqueta: hand it over, print the answer and end with its
// status. Nothing here needs a display, and nothing starts an instance.
int sendCommand(int argc, char** argv, const AutomationRequest& command)
{
    QCoreApplication app(argc, argv);
    nameTheApplication();
    SingleInstance instance;
    const std::optional<QByteArray> reply = instance.ask(command.toLine());
    if (!reply) {
        std::fprintf(stderr, "Parqueta is not running\n");
        return AutomationRequest::kNotRunning;
    }
    const std::optional<AutomationAnswer> answer = AutomationRequest::decodeAnswer(*reply);
    if (!answer) {
        std::fprintf(stderr, "parqueta: the running Parqueta did not take the command; is it an older version?\n");
        return AutomationRequest::kNotPossibleNow;
    }
    const QByteArray body = answer->body.toUtf8();
    std::FILE* out = answer->status == AutomationRequest::kSucceeded ? stdout : stderr;
    std::fwrite(body.constData(), 1, static_cast<size_t>(body.size()), out);
    if (!body.isEmpty() && !body.endsWith('\n'))
        std::fputc('\n', out);
    return answer->status;
}

} // namespace

int main(int argc, char** argv)
{
    Logging::install();
    const LaunchOptions launch = parseOptions(argc, argv);
    if (launch.command)
        return sendCommand(argc, argv, *launch.command);

    QString reason;
    if (!windowingSystemAvailable(reason)) {
        std::fprintf(stderr, "parqueta: %s\n", qPrintable(reason));
        return 1;
    }

    QApplication app(argc, argv);
    nameTheApplication();
    QApplication::setQuitOnLastWindowClosed(false);
    // No application-wide window icon: each window people see names its own. Qt would
    // give the default to every overlay and editor window too, each holding every size
    // of it (360 KB) in a property on the X server.

    SingleInstance instance;
    // --settings asks what a plain launch asks: the settings window.
    const AutomationRequest request(launch.editLayout ? AutomationRequest::Command::editLayout
            : launch.debugWindow                      ? AutomationRequest::Command::debugWindow
                                                      : AutomationRequest::Command::reopen);
    if (!instance.claim()) {
        // Another launch of this session holds it; it may still be starting up.
        if (instance.notifyRunningInstance(request.toLine(), SingleInstance::kStartUpWaitMs)) {
            qCInfo(lcApp) << "Parqueta is already running; passed the request on to it";
            return 0;
        }
        qCCritical(lcApp) << "Another Parqueta holds this session but does not answer; not starting a second one";
        return 1;
    }

    // Only the instance that runs writes the log file: a launch that hands its request
    // on would otherwise rotate the running one's file from under it.
    if (!Logging::logToFile(userLogFilePath()))
        qCWarning(lcApp) << "Cannot write the log file" << userLogFilePath() << "; logging to the console only";

    std::unique_ptr<Platform> platform = createPlatform();
    if (!platform) {
        qCCritical(lcApp) << "Cannot reach the windowing system; is DISPLAY set to a running X server?";
        return 1;
    }
    Settings settings(createUserSettingsBackend());

    Application::Options options;
    options.launchedAsLoginItem = launch.loginItem;
    options.showOnboarding = !launch.noOnboarding;
    options.updateFeed = QUrl(QStringLiteral(PARQUETA_UPDATE_FEED_URL));
    options.runningVersion = QStringLiteral(PARQUETA_VERSION) + (PARQUETA_PRERELEASE ? QStringLiteral("-beta") : QString());
    options.communityUrl = QStringLiteral(PARQUETA_COMMUNITY_URL);
    options.snappedWindowsState = snappedWindowsStatePath();
    options.versionText
        = QStringLiteral("%1%2 (%3)")
              .arg(QStringLiteral(PARQUETA_VERSION), PARQUETA_PRERELEASE ? QStringLiteral("-beta") : QString(),
                  QStringLiteral(PARQUETA_BUILD_NUMBER));
    Application application(*platform, settings, options);

    AutomationCommands commands(application);
    instance.setHandler([&commands](const QByteArray& line) { return commands.answer(line); });
    instance.listen();
    UnixSignals signals;
    QObject::connect(&signals, &UnixSignals::terminationRequested, &application, &Application::quit);
    platform->setConnectionLostHandler([&application] {
        qCCritical(lcApp) << "The windowing system went away; quitting";
        application.quit();
        // Not a requested quit: exit status 1, as when Qt's platform plugin ends the
        // process itself on noticing the loss first.
        QCoreApplication::exit(1);
    });

    // Where the system says only at the end of its launch whether the session started
    // Parqueta at login (macOS), the launch sequence runs from the event loop.
    platform->shell().whenLaunched([&application, &launch](bool launchedAsLoginItem) {
        application.start(launchedAsLoginItem);
        if (launch.editLayout)
            application.openEditorUnderPointer();
        if (launch.debugWindow)
            application.openDebugWindow();
        // Started by hand, the settings window opens anyway; at login it is asked for.
        if (launch.settings && launch.loginItem)
            application.openSettings();
    });
    return app.exec();
}
