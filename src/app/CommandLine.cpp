#include "app/CommandLine.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

namespace CommandLine {

namespace {

const QString kLoginItem = QStringLiteral("login-item");
const QString kEditLayout = QStringLiteral("edit-layout");
const QString kDebugWindow = QStringLiteral("debug-window");
const QString kNoOnboarding = QStringLiteral("no-onboarding");
const QString kSettings = QStringLiteral("settings");
// The options that are commands for the running Parqueta, named as their requests are.
const QStringList kCommands {QStringLiteral("snap-focused"), QStringLiteral("move-focused"),
    QStringLiteral("span-focused"), QStringLiteral("cycle"), QStringLiteral("layout"), QStringLiteral("list")};

[[noreturn]] void refuse(const QString& message)
{
    std::fprintf(stderr, "parqueta: %s\n", qPrintable(message));
    std::exit(AutomationRequest::kMalformed);
}

// Roff treats a leading dot or quote as a request and a backslash as an escape.
QString roffText(QString text)
{
    text.replace(QLatin1Char('\\'), QStringLiteral("\\e"));
    text.replace(QLatin1Char('-'), QStringLiteral("\\-"));
    if (text.startsWith(QLatin1Char('.')) || text.startsWith(QLatin1Char('\'')))
        text.prepend(QStringLiteral("\\&"));
    return text;
}

QString optionEntry(const QString& flags, const QString& description, const QString& valueName = {})
{
    const QString value = valueName.isEmpty() ? QString() : QStringLiteral(" \\fI%1\\fR").arg(roffText(valueName));
    return QStringLiteral(".TP\n.B %1%2\n%3\n").arg(roffText(flags), value, roffText(description));
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
        {kSettings,
            QStringLiteral("Open the settings window (of the running Parqueta, or of this one); a launch without "
                           "options does the same.")},
        {kCommands[0],
            QStringLiteral("Snap the focused window into a zone of its screen's active layout: a zone number (2) "
                           "or a range of them (1-2) that the window spans."),
            QStringLiteral("zone")},
        {kCommands[1], QStringLiteral("Move the focused window to the next zone, as its shortcut does."),
            QStringLiteral("left|right")},
        {kCommands[2], QStringLiteral("Span the focused window over one more zone, as its shortcut does."),
            QStringLiteral("left|right")},
        {kCommands[3],
            QStringLiteral("Bring the next or previous window stacked in the focused window's zone to the front."),
            QStringLiteral("next|prev")},
        {kCommands[4],
            QStringLiteral("Make a layout of the screen under the pointer active, by its position in that screen's "
                           "list (1 is the first) or its id, and flash its borders."),
            QStringLiteral("number|id")},
        {kCommands[5],
            QStringLiteral("Print the screens, their layouts and zones and the snapped windows as JSON.")},
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
        parser.addOption(QCommandLineOption(option.name, option.description, option.valueName));
    // A mistake ends the launch with the status scripts know for a usage error.
    if (!parser.parse(arguments))
        refuse(parser.errorText());
    // Parses again to answer --help, --help-all and --version.
    parser.process(arguments);

    LaunchOptions launch;
    launch.loginItem = parser.isSet(kLoginItem);
    launch.editLayout = parser.isSet(kEditLayout);
    launch.debugWindow = parser.isSet(kDebugWindow);
    launch.settings = parser.isSet(kSettings);
    launch.noOnboarding = parser.isSet(kNoOnboarding);
    QStringList given;
    for (const QString& name : parser.optionNames()) {
        if (kCommands.contains(name))
            given.append(name);
    }
    if (given.isEmpty())
        return launch;
    if (given.size() > 1 || launch.editLayout || launch.debugWindow || launch.settings)
        refuse(QStringLiteral("One command at a time, please"));
    const AutomationRequest::Parsed parsed = AutomationRequest::fromOption(given.front(), parser.value(given.front()));
    if (!parsed.request)
        refuse(parsed.error);
    launch.command = parsed.request;
    return launch;
}

QString manualPage(const QString& pageTemplate, const QString& version, const QString& date)
{
    // QCommandLineParser's own options first, worded as --help words them.
    QString list = optionEntry(QStringLiteral("-h, --help"), QStringLiteral("Displays help on commandline options."))
        + optionEntry(QStringLiteral("--help-all"), QStringLiteral("Displays help including Qt specific options."))
        + optionEntry(QStringLiteral("-v, --version"), QStringLiteral("Displays version information."));
    for (const Option& option : options())
        list += optionEntry(QStringLiteral("--") + option.name, option.description, option.valueName);
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
