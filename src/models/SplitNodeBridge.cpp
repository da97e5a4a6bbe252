#include "models/SplitNodeBridge.h"

#include "core/Logging.h"

#include <QJsonDocument>

std::optional<QByteArray> SplitNodeBridge::serialize(const std::shared_ptr<SplitNode>& node)
{
    if (!node)
        return std::nullopt;
    const std::optional<QJsonObject> object = node->toJson();
    if (!object) {
        qCDebug(lcModel) << "split tree not stored: a coordinate is not a finite number";
        return std::nullopt;
    }
    return QJsonDocument(*object).toJson(QJsonDocument::Compact);
}

std::shared_ptr<SplitNode> SplitNodeBridge::deserialize(const std::optional<QByteArray>& data)
{
    if (!data)
        return nullptr;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*data, &error);
    if (!document.isObject()) {
        qCDebug(lcModel) << "stored split tree is not a JSON object:" << error.errorString();
        return nullptr;
    }
    SplitNode::Ptr node = SplitNode::fromJson(document.object());
    if (!node)
        qCDebug(lcModel) << "stored split tree does not decode";
    return node;
}
