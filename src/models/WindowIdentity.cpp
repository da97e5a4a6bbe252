#include "models/WindowIdentity.h"

#include <QRegularExpression>

namespace {

constexpr int kSameClass = 1;
constexpr int kSameRole = 2;
constexpr int kSameCommand = 4;
constexpr int kSameNormalizedTitle = 8;
constexpr int kSameTitle = 1;

const QString kInstance = QStringLiteral("instance");
const QString kClass = QStringLiteral("class");
const QString kRole = QStringLiteral("role");
const QString kTitle = QStringLiteral("title");
const QString kCommand = QStringLiteral("command");

} // namespace

QString WindowIdentity::normalizedTitle(const QString& title)
{
    // Counters first, whole, so "(12)" leaves nothing behind; then any other digits.
    static const QRegularExpression counters(QStringLiteral("[\\(\\[]\\s*\\d+\\s*[\\)\\]]"));
    static const QRegularExpression digits(QStringLiteral("\\d+"));
    static const QRegularExpression markers(QStringLiteral("^[\\s*●•]+|[\\s*●•]+$"));
    static const QRegularExpression spaces(QStringLiteral("\\s+"));
    QString text = title;
    text.remove(counters);
    text.replace(digits, QStringLiteral("#"));
    text.remove(markers);
    text.replace(spaces, QStringLiteral(" "));
    return text.toCaseFolded();
}

int WindowIdentity::matchScore(const WindowIdentity& recorded, const WindowIdentity& candidate)
{
    if (recorded.className.isEmpty() || recorded.className != candidate.className
        || recorded.instance != candidate.instance)
        return 0;
    if (!recorded.role.isEmpty() && recorded.role != candidate.role)
        return 0;
    const bool commandsKnown = !recorded.command.isEmpty() && !candidate.command.isEmpty();
    if (commandsKnown && recorded.command != candidate.command)
        return 0;
    int score = kSameClass;
    if (!recorded.role.isEmpty())
        score += kSameRole;
    if (commandsKnown)
        score += kSameCommand;
    if (normalizedTitle(recorded.title) == normalizedTitle(candidate.title)) {
        score += kSameNormalizedTitle;
        if (recorded.title == candidate.title)
            score += kSameTitle;
    }
    return score;
}

int WindowIdentity::bestScore(const WindowIdentity& recorded)
{
    return matchScore(recorded, recorded);
}

QJsonObject WindowIdentity::toJson() const
{
    QJsonObject object {{kInstance, instance}, {kClass, className}, {kTitle, title}};
    // Parts a window does not have are left out rather than written empty.
    if (!role.isEmpty())
        object.insert(kRole, role);
    if (!command.isEmpty())
        object.insert(kCommand, command);
    return object;
}

std::optional<WindowIdentity> WindowIdentity::fromJson(const QJsonObject& object)
{
    WindowIdentity identity;
    identity.instance = object.value(kInstance).toString();
    identity.className = object.value(kClass).toString();
    identity.role = object.value(kRole).toString();
    identity.title = object.value(kTitle).toString();
    identity.command = object.value(kCommand).toString();
    if (identity.className.isEmpty() || !object.value(kInstance).isString())
        return std::nullopt;
    return identity;
}
