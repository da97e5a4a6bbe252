#pragma once

#include "core/AutomationRequest.h"

#include <QCommandLineOption>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// What a launch was asked to do.
struct LaunchOptions
{
    bool loginItem = false;
    bool editLayout = false;
    bool debugWindow = false;
    bool settings = false;
    bool noOnboarding = false;
    // A command for the running Parqueta (--snap-focused, --list and the others): the
    // launch hands it over and ends with the answer's status, and never starts one.
    std::optional<AutomationRequest> command;
};

// The program's options in one table: the parser, --help and the manual page are all
// made from it, so none of them can name an option the others do not know.
namespace CommandLine {

struct Option
{
    QString name;
    QString description;
    // What the option's value is called in --help and the manual; empty: it takes none.
    QString valueName = {};
};

// The options besides --help and --version, in the order --help lists them.
const std::vector<Option>& options();
// One line on what the program is, as --help and the manual's NAME section say it.
QString summary();

// Reads argv; --help and --version answer on standard output and end the process,
// a mistake (an unknown option, a malformed command, two commands at once) is reported
// on standard error and ends it with status 64.
LaunchOptions parse(const QStringList& arguments);

// The manual page, parqueta(1), in roff: the template's @OPTIONS@ is filled from the
// table, @VERSION@ and @DATE@ from the arguments.
QString manualPage(const QString& pageTemplate, const QString& version, const QString& date);

} // namespace CommandLine
