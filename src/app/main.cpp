#include "app/Application.h"
#include "app/SingleInstance.h"
#include "app/UnixSignals.h"
#include "core/Logging.h"
#include "core/Settings.h"
#include "platform/Platform.h"
#include "platform/SettingsLocation.h"
#include "views/AppIcon.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char** argv)
{
    Logging::install();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Parqueta"));
    QApplication::setApplicationVersion(QStringLiteral(PARQUETA_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(AppIcon::icon());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Snaps windows into zones."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption loginItem(QStringLiteral("login-item"),
                                       QStringLiteral("Started by the session at login: open no window."));
    parser.addOption(loginItem);
    const QCommandLineOption editLayout(QStringLiteral("edit-layout"),
                                        QStringLiteral("Open the layout editor for the screen under the pointer."));
    parser.addOption(editLayout);
    parser.process(app);

    SingleInstance instance;
    const bool wantsEditor = parser.isSet(editLayout);
    if (instance.notifyRunningInstance(wantsEditor ? SingleInstance::Request::editLayout
                                                   : SingleInstance::Request::reopen)) {
        qCInfo(lcApp) << "Parqueta is already running; passed the request on to it";
        return 0;
    }

    std::unique_ptr<Platform> platform = createPlatform();
    if (!platform) {
        qCCritical(lcApp) << "Cannot reach the windowing system; is DISPLAY set to a running X server?";
        return 1;
    }
    Settings settings(createUserSettingsBackend());

    Application::Options options;
    options.launchedAsLoginItem = parser.isSet(loginItem);
    options.communityUrl = QStringLiteral(PARQUETA_COMMUNITY_URL);
    Application application(*platform, settings, options);

    instance.listen();
    QObject::connect(&instance, &SingleInstance::reopenRequested, &application, &Application::reopen);
    QObject::connect(&instance, &SingleInstance::editLayoutRequested, &application, &Application::openEditorUnderPointer);
    UnixSignals signals;
    QObject::connect(&signals, &UnixSignals::terminationRequested, &application, &Application::quit);
    platform->setConnectionLostHandler([&application] {
        qCCritical(lcApp) << "The windowing system went away; quitting";
        application.quit();
        // Not a requested quit: exit status 1, as when Qt's platform plugin ends the
        // process itself on noticing the loss first.
        QCoreApplication::exit(1);
    });

    application.start();
    if (wantsEditor)
        application.openEditorUnderPointer();
    return app.exec();
}
