#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// What the running instance answers: the exit status the asking launch ends with and
// the text it prints (on standard output for 0, on standard error otherwise).
struct AutomationAnswer
{
    int status = 0;
    QString body;
};

// One command for the running Parqueta as it travels from a later launch to it: a
// single line "<command>[ <argument>]\n" of UTF-8, at most kMaxLineBytes long. Parsing
// checks everything that can be known without the running program (names, directions,
// ranges, layout numbers); whether zone 7 or layout 4 exists is the instance's to say.
// Both ends parse, so a malformed command is refused before anything is sent.
class AutomationRequest final
{
public:
    enum class Command {
        // The requests of earlier versions, still understood: answered "ok".
        reopen,
        editLayout,
        debugWindow,
        // Answered with a status line and a body.
        snapFocused,
        moveFocused,
        spanFocused,
        cycle,
        layout,
        list,
    };

    // The exit statuses of a launch that sends a command (sysexits' EX_USAGE for 64).
    static constexpr int kSucceeded = 0;
    static constexpr int kNotPossibleNow = 1;
    static constexpr int kNotRunning = 2;
    static constexpr int kMalformed = 64;

    static constexpr qsizetype kMaxLineBytes = 4096;
    // The highest zone and layout number a command may name: far beyond any layout,
    // low enough that no arithmetic on it can overflow.
    static constexpr int kMaxNumber = 9999;

    // A command that takes no argument (reopen, editLayout, debugWindow, list).
    explicit AutomationRequest(Command command)
        : m_command(command)
    { }

    struct Parsed;
    // The request in one line, with or without its final newline; an error in words
    // (for the person who typed the command) when it is malformed.
    static Parsed parse(QByteArrayView line);
    // From a command-line option's name ("snap-focused") and its value.
    static Parsed fromOption(const QString& option, const QString& value);

    Command command() const { return m_command; }
    // snapFocused: the first and last zone number (equal for a single zone).
    int firstZone() const { return m_first; }
    int lastZone() const { return m_last; }
    // moveFocused, spanFocused: true for right; cycle: true for next.
    bool forward() const { return m_forward; }
    // layout: the 1-based position, or 0 when a layout id was given.
    int layoutNumber() const { return m_first; }
    // layout: the upper-case 8-4-4-4-12 id text, when one was given.
    const QString& layoutId() const { return m_layoutId; }
    // Whether the answer is the old bare "ok" rather than a status and a body.
    bool isWindowRequest() const;

    // The wire form, newline included; parse(toLine()) gives this request back.
    QByteArray toLine() const;

    // "<status>\n<body>": what the instance sends back before closing.
    static QByteArray encodeAnswer(const AutomationAnswer& answer);
    // The answer as received; the old "ok\n" counts as success. Nothing when the bytes
    // are no answer at all (an instance that closed without one).
    static std::optional<AutomationAnswer> decodeAnswer(const QByteArray& bytes);

    friend bool operator==(const AutomationRequest&, const AutomationRequest&) = default;

private:
    static Parsed parseArgument(Command command, const QString& argument);

    Command m_command;
    int m_first = 0;
    int m_last = 0;
    bool m_forward = false;
    QString m_layoutId;
};

struct AutomationRequest::Parsed
{
    std::optional<AutomationRequest> request;
    QString error;
};
