#include "app/CommandLine.h"

#include <QCommandLineParser>

namespace CommandLine {

namespace {

const QString kLoginItem = QStringLiteral("login-item");
const QString kEditLayout = QStringLiteral("edit-layout");
const QString kDebugWindow = QStringLiteral("debug-window");
const QString kNoOnboarding = QStringLiteral("no-onboarding");

// Roff treats a leading dot or quote as a request and a backslash as an escape.
QString roffText(QString text)
{
    text.replace(QLatin1Char('\\'), QStringLiteral("\\e"));
    text.replace(QLatin1Char('-'), QStringLiteral("\\-"));
    if (text.startsWith(QLatin1Char('.')) || text.startsWith(QLatin1Char('\'')))
        text.prepend(QStringLiteral("\\&"));
    return text;
}

QString optionEntry(const QString& flags, const QString& description)
{
    return QStringLiteral(".TP\n.B %1\n%2\n").arg(roffText(flags), roffText(description));
}

} // namespace

const std::vector<Option>& options()
{
    static const std::vector<Option> table {
        {kLoginItem, QStringLiteral("Started by the session at login: open no window.")},
        {kEditLayout,
            QStringLiteral("Open the layout editor for the screen under the pointer (of the running Parqueta, "
                           "or of this one).")},
        {kDebugWindow,
            QStringLiteral("Open the debug window, which shows what Parqueta sees: screens, layouts, snapped "
                           "windows, shortcuts and the desktop (of the running Parqueta, or of this one).")},
        {kNoOnboarding,
            QStringLiteral("On the first run, install the preset layouts without showing the welcome guide (for "
                           "prepared installations).")},
    };
    return table;
}

QString summary()
{
    return QStringLiteral("Snaps windows into zones.");
}

LaunchOptions parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary());
    parser.addHelpOption();
    parser.addVersionOption();
    for (const Option& option : options())
        parser.addOption(QCommandLineOption(option.name, option.description));
    parser.process(arguments);
    return LaunchOptions {parser.isSet(kLoginItem), parser.isSet(kEditLayout), parser.isSet(kDebugWindow),
        parser.isSet(kNoOnboarding)};
}

QString manualPage(const QString& pageTemplate, const QString& version, const QString& date)
{
    // QCommandLineParser's own options first, worded as --help words them.
    QString list = optionEntry(QStringLiteral("-h, --help"), QStringLiteral("Displays help on commandline options."))
        + optionEntry(QStringLiteral("--help-all"), QStringLiteral("Displays help including Qt specific options."))
        + optionEntry(QStringLiteral("-v, --version"), QStringLiteral("Displays version information."));
    for (const Option& option : options())
        list += optionEntry(QStringLiteral("--") + option.name, option.description);
    QString page = pageTemplate;
    page.replace(QStringLiteral("@OPTIONS@\n"), list);
    page.replace(QStringLiteral("@VERSION@"), version);
    page.replace(QStringLiteral("@DATE@"), date);
    // A manual's NAME line is a phrase: "parqueta - snaps windows into zones".
    QString phrase = summary();
    phrase[0] = phrase[0].toLower();
    if (phrase.endsWith(QLatin1Char('.')))
        phrase.chop(1);
    page.replace(QStringLiteral("@SUMMARY@"), roffText(phrase));
    return page;
}

} // namespace CommandLine
