#pragma once

#include <optional>

// The orientation of a split, stored as its integer value.
// vertical: the dividing line is vertical, children side by side (width is divided).
// horizontal: the dividing line is horizontal, children one above the other.
enum class SplitType { vertical = 0, horizontal = 1 };

// Stored data may carry any number; only the two known values decode.
inline std::optional<SplitType> splitTypeFromRaw(double raw)
{
    if (raw == 0)
        return SplitType::vertical;
    if (raw == 1)
        return SplitType::horizontal;
    return std::nullopt;
}

inline int splitTypeToRaw(SplitType type)
{
    return static_cast<int>(type);
}
