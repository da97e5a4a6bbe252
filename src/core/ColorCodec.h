#pragma once

#include <QByteArray>
#include <QColor>
#include <QVariant>

#include <optional>

// The stored form of a colour. Normally a two-element list, readable in the settings
// file: [colour-space name, [red, green, blue, alpha]] with components as doubles in
// 0..1. A colour that sRGB components in 0..1 cannot express (an extended-range colour)
// is stored as an archived blob instead. Both forms are accepted when reading.
namespace ColorCodec {

// The colour-space name this program writes. Reading also takes the names a macOS
// settings file carries (Core Graphics's sRGB, Display P3, grey... spaces).
inline constexpr char kColorSpaceName[] = "sRGB";

QVariant encode(const QColor& color);
// Absent when the value is neither stored form or describes no usable colour.
std::optional<QColor> decode(const QVariant& stored);

// The blob form: a tagged, versioned QDataStream of the QColor.
QByteArray archive(const QColor& color);
std::optional<QColor> unarchive(const QByteArray& blob);

} // namespace ColorCodec
