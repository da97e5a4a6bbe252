#include "core/AutomationRequest.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <QUuid>

#include <array>

namespace {

enum class ArgumentKind { none, zones, leftRight, nextPrev, layout };

struct CommandName
{
    AutomationRequest::Command command;
    const char* name;
    ArgumentKind argument;
};

constexpr std::array kCommands {
    CommandName {AutomationRequest::Command::reopen, "reopen", ArgumentKind::none},
    CommandName {AutomationRequest::Command::editLayout, "edit-layout", ArgumentKind::none},
    CommandName {AutomationRequest::Command::debugWindow, "debug-window", ArgumentKind::none},
    CommandName {AutomationRequest::Command::snapFocused, "snap-focused", ArgumentKind::zones},
    CommandName {AutomationRequest::Command::moveFocused, "move-focused", ArgumentKind::leftRight},
    CommandName {AutomationRequest::Command::spanFocused, "span-focused", ArgumentKind::leftRight},
    CommandName {AutomationRequest::Command::cycle, "cycle", ArgumentKind::nextPrev},
    CommandName {AutomationRequest::Command::layout, "layout", ArgumentKind::layout},
    CommandName {AutomationRequest::Command::list, "list", ArgumentKind::none},
};

const CommandName* find(const QString& name)
{
    for (const CommandName& entry : kCommands) {
        if (name == QLatin1String(entry.name))
            return &entry;
    }
    return nullptr;
}

const CommandName& entryOf(AutomationRequest::Command command)
{
    for (const CommandName& entry : kCommands) {
        if (entry.command == command)
            return entry;
    }
    return kCommands.front();
}

// Enough of what was received to recognise it in a message, without flooding it.
QString quoted(const QString& text)
{
    constexpr qsizetype kShown = 40;
    return QLatin1Char('"') + (text.size() > kShown ? text.left(kShown) + QStringLiteral("…") : text)
        + QLatin1Char('"');
}

AutomationRequest::Parsed failure(const QString& error)
{
    return {std::nullopt, error};
}

// A whole number from 1 to kMaxNumber written in plain digits, else nothing.
std::optional<int> number(const QString& text)
{
    static const QRegularExpression digits(QStringLiteral("^[0-9]{1,4}$"));
    if (!digits.match(text).hasMatch())
        return std::nullopt;
    const int value = text.toInt();
    if (value < 1 || value > AutomationRequest::kMaxNumber)
        return std::nullopt;
    return value;
}

} // namespace

AutomationRequest::Parsed AutomationRequest::parse(QByteArrayView line)
{
    if (line.size() > kMaxLineBytes + 1)
        return failure(QStringLiteral("The request is longer than %1 bytes").arg(kMaxLineBytes));
    if (line.endsWith('\n'))
        line.chop(1);
    if (line.size() > kMaxLineBytes)
        return failure(QStringLiteral("The request is longer than %1 bytes").arg(kMaxLineBytes));
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(line);
    if (decoder.hasError())
        return failure(QStringLiteral("The request is not UTF-8 text"));
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format)
            return failure(QStringLiteral("The request holds control characters"));
    }
    const qsizetype space = text.indexOf(QLatin1Char(' '));
    const QString name = space < 0 ? text : text.left(space);
    const CommandName* entry = find(name);
    if (!entry)
        return failure(QStringLiteral("Unknown command %1").arg(quoted(name)));
    const QString argument = space < 0 ? QString() : text.mid(space + 1);
    if (entry->argument == ArgumentKind::none) {
        if (space >= 0)
            return failure(QStringLiteral("%1 takes no argument").arg(QLatin1String(entry->name)));
        return {AutomationRequest(entry->command), {}};
    }
    if (space < 0)
        return failure(QStringLiteral("%1 needs an argument").arg(QLatin1String(entry->name)));
    return parseArgument(entry->command, argument);
}

AutomationRequest::Parsed AutomationRequest::fromOption(const QString& option, const QString& value)
{
    const CommandName* entry = find(option);
    if (!entry)
        return failure(QStringLiteral("Unknown command %1").arg(quoted(option)));
    if (entry->argument == ArgumentKind::none)
        return {AutomationRequest(entry->command), {}};
    return parseArgument(entry->command, value);
}

AutomationRequest::Parsed AutomationRequest::parseArgument(Command command, const QString& argument)
{
    AutomationRequest request(command);
    switch (entryOf(command).argument) {
    case ArgumentKind::none:
        break;
    case ArgumentKind::zones: {
        const qsizetype dash = argument.indexOf(QLatin1Char('-'));
        const std::optional<int> first = number(dash < 0 ? argument : argument.left(dash));
        const std::optional<int> last = dash < 0 ? first : number(argument.mid(dash + 1));
        if (!first || !last)
            return failure(QStringLiteral("%1 is not a zone: name one by its number (\"2\") or a range (\"1-2\"), "
                                          "counting from 1")
                               .arg(quoted(argument)));
        if (*last < *first)
            return failure(QStringLiteral("The range %1 runs backwards: name the lower zone first").arg(quoted(argument)));
        request.m_first = *first;
        request.m_last = *last;
        break;
    }
    case ArgumentKind::leftRight:
        if (argument != QLatin1String("left") && argument != QLatin1String("right"))
            return failure(QStringLiteral("Expected left or right, not %1").arg(quoted(argument)));
        request.m_forward = argument == QLatin1String("right");
        break;
    case ArgumentKind::nextPrev:
        if (argument != QLatin1String("next") && argument != QLatin1String("prev"))
            return failure(QStringLiteral("Expected next or prev, not %1").arg(quoted(argument)));
        request.m_forward = argument == QLatin1String("next");
        break;
    case ArgumentKind::layout:
        if (const std::optional<int> position = number(argument)) {
            request.m_first = *position;
            break;
        }
        // Only the two usual spellings, so the wire form stays one: "ABC…" or "{abc…}".
        if (argument.size() == 36 || argument.size() == 38) {
            const QUuid id = QUuid::fromString(argument);
            if (!id.isNull()) {
                request.m_layoutId = id.toString(QUuid::WithoutBraces).toUpper();
                break;
            }
        }
        return failure(QStringLiteral("%1 is neither a layout number (counting from 1) nor a layout id")
                           .arg(quoted(argument)));
    }
    return {request, {}};
}

bool AutomationRequest::isWindowRequest() const
{
    return m_command == Command::reopen || m_command == Command::editLayout || m_command == Command::debugWindow;
}

QByteArray AutomationRequest::toLine() const
{
    QByteArray line(entryOf(m_command).name);
    switch (entryOf(m_command).argument) {
    case ArgumentKind::none:
        break;
    case ArgumentKind::zones:
        line += ' ' + QByteArray::number(m_first);
        if (m_last != m_first)
            line += '-' + QByteArray::number(m_last);
        break;
    case ArgumentKind::leftRight:
        line += m_forward ? " right" : " left";
        break;
    case ArgumentKind::nextPrev:
        line += m_forward ? " next" : " prev";
        break;
    case ArgumentKind::layout:
        line += ' ' + (m_layoutId.isEmpty() ? QByteArray::number(m_first) : m_layoutId.toLatin1());
        break;
    }
    return line + '\n';
}

QByteArray AutomationRequest::encodeAnswer(const AutomationAnswer& answer)
{
    return QByteArray::number(answer.status) + '\n' + answer.body.toUtf8();
}

std::optional<AutomationAnswer> AutomationRequest::decodeAnswer(const QByteArray& bytes)
{
    const qsizetype newline = bytes.indexOf('\n');
    if (newline < 0)
        return std::nullopt;
    const QByteArray status = bytes.left(newline);
    if (status == "ok")
        return AutomationAnswer {kSucceeded, {}};
    static const QRegularExpression code(QStringLiteral("^[0-9]{1,3}$"));
    if (!code.match(QString::fromLatin1(status)).hasMatch())
        return std::nullopt;
    return AutomationAnswer {status.toInt(), QString::fromUtf8(bytes.mid(newline + 1))};
}
