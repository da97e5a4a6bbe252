#include "models/LayoutBridge.h"

#include "core/Logging.h"

#include <QJsonDocument>

std::optional<QByteArray> LayoutBridge::serialize(const std::shared_ptr<Layout>& layout)
{
    if (!layout)
        return std::nullopt;
    const std::optional<QJsonObject> object = layout->toJson();
    if (!object) {
        qCDebug(lcModel) << "layout" << layout->idText() << "not stored: a coordinate is not a finite number";
        return std::nullopt;
    }
    return QJsonDocument(*object).toJson(QJsonDocument::Compact);
}

std::shared_ptr<Layout> LayoutBridge::deserialize(const std::optional<QByteArray>& data)
{
    if (!data)
        return nullptr;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*data, &error);
    if (!document.isObject()) {
        qCDebug(lcModel) << "stored layout is not a JSON object:" << error.errorString();
        return nullptr;
    }
    std::shared_ptr<Layout> layout = Layout::fromJson(document.object());
    if (!layout)
        qCDebug(lcModel) << "stored layout does not decode";
    return layout;
}
