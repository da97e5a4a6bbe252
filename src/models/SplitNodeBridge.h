#pragma once

#include "models/SplitNode.h"

#include <QByteArray>

#include <memory>
#include <optional>

// Stored form of a bare split tree: compact UTF-8 JSON of the root node.
class SplitNodeBridge final
{
public:
    // Nothing for a null node or a tree that cannot be encoded.
    static std::optional<QByteArray> serialize(const std::shared_ptr<SplitNode>& node);
    // Null for an absent blob or one that does not decode.
    static std::shared_ptr<SplitNode> deserialize(const std::optional<QByteArray>& data);
};
