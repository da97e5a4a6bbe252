#pragma once

#include "models/Layout.h"

#include <QByteArray>

#include <memory>
#include <optional>

// Stored form of a layout: compact UTF-8 JSON {"id", "root"}.
class LayoutBridge final
{
public:
    // Nothing for a null layout or one whose tree cannot be encoded.
    static std::optional<QByteArray> serialize(const std::shared_ptr<Layout>& layout);
    // Null for an absent blob or one that does not decode; the layout has no screen yet.
    static std::shared_ptr<Layout> deserialize(const std::optional<QByteArray>& data);
};
