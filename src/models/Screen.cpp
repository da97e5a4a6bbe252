#include "models/Screen.h"

#include <QJsonDocument>
#include <QJsonObject>

Screen::Screen(QString id, QString name)
    : m_id(std::move(id))
    , m_name(std::move(name))
{
}

QString Screen::makeId(const QString& displayUuid, double width, double height)
{
    return QStringLiteral("%1-%2x%3").arg(displayUuid).arg(static_cast<int>(width)).arg(static_cast<int>(height));
}

QByteArray Screen::toJson() const
{
    QJsonObject object;
    object.insert(QStringLiteral("id"), m_id);
    object.insert(QStringLiteral("name"), m_name);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<Screen> Screen::fromJson(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue id = object.value(QStringLiteral("id"));
    const QJsonValue name = object.value(QStringLiteral("name"));
    if (!id.isString() || !name.isString())
        return std::nullopt;
    return Screen(id.toString(), name.toString());
}
