#include "core/ColorCodec.h"

#include "core/NumericVariant.h"

#include <QColorSpace>
#include <QColorTransform>
#include <QDataStream>
#include <QIODevice>
#include <QRgba64>
#include <QString>
#include <QVariantList>

#include <cmath>
#include <vector>

namespace {

// "PQCL": keeps an unrelated blob from being taken for a colour by accident.
constexpr quint32 kArchiveMagic = 0x5051434C;
constexpr quint16 kArchiveVersion = 1;
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_0;

bool isUnitInterval(double value)
{
    return std::isfinite(value) && value >= 0.0 && value <= 1.0;
}

// Components are taken from the 16-bit channels Qt keeps, so a colour survives a
// round trip exactly; QColor::redF() and friends are single precision.
double channel(quint16 value)
{
    return value / 65535.0;
}

quint16 toChannel(double unit)
{
    return static_cast<quint16>(std::lround(unit * 65535.0));
}

bool fitsSrgb(const QColor& color)
{
    if (color.spec() != QColor::ExtendedRgb)
        return true;
    return isUnitInterval(color.redF()) && isUnitInterval(color.greenF()) && isUnitInterval(color.blueF())
        && isUnitInterval(color.alphaF());
}

// The colour spaces a stored colour may be named in: ours, and the Core Graphics names a
// settings file carried over from macOS holds. Components outside sRGB are converted.
struct StoredSpace
{
    const char* name;
    int components; // with alpha
    std::optional<QColorSpace::NamedColorSpace> convertFrom;
};

const StoredSpace* storedSpace(const QString& name)
{
    static const StoredSpace spaces[] = {
        {ColorCodec::kColorSpaceName, 4, std::nullopt},
        {"kCGColorSpaceSRGB", 4, std::nullopt},
        {"kCGColorSpaceExtendedSRGB", 4, std::nullopt},
        {"kCGColorSpaceGenericRGB", 4, std::nullopt},
        {"kCGColorSpaceDeviceRGB", 4, std::nullopt},
        {"kCGColorSpaceDisplayP3", 4, QColorSpace::DisplayP3},
        {"kCGColorSpaceLinearSRGB", 4, QColorSpace::SRgbLinear},
        {"kCGColorSpaceExtendedLinearSRGB", 4, QColorSpace::SRgbLinear},
        {"kCGColorSpaceAdobeRGB1998", 4, QColorSpace::AdobeRgb},
        {"kCGColorSpaceGenericGray", 2, std::nullopt},
        {"kCGColorSpaceGenericGrayGamma2_2", 2, std::nullopt},
        {"kCGColorSpaceDeviceGray", 2, std::nullopt},
    };
    for (const StoredSpace& space : spaces) {
        if (name == QLatin1String(space.name))
            return &space;
    }
    return nullptr;
}

std::optional<QColor> decodeList(const QVariantList& list)
{
    if (list.size() != 2 || list.at(0).typeId() != QMetaType::QString || list.at(1).typeId() != QMetaType::QVariantList)
        return std::nullopt;
    const StoredSpace* space = storedSpace(list.at(0).toString());
    const QVariantList components = list.at(1).toList();
    if (!space || components.size() != space->components)
        return std::nullopt;
    std::vector<double> values;
    for (const QVariant& component : components) {
        if (!isNumericVariant(component) || !isUnitInterval(component.toDouble()))
            return std::nullopt;
        values.push_back(component.toDouble());
    }
    if (space->components == 2)
        return QColor(QRgba64::fromRgba64(toChannel(values[0]), toChannel(values[0]), toChannel(values[0]),
            toChannel(values[1])));
    QColor color(QRgba64::fromRgba64(toChannel(values[0]), toChannel(values[1]), toChannel(values[2]),
        toChannel(values[3])));
    if (space->convertFrom) {
        const QColorTransform toSrgb = QColorSpace(*space->convertFrom).transformationToColorSpace(QColorSpace::SRgb);
        const QRgba64 converted = toSrgb.map(color.rgba64());
        color = QColor(converted);
    }
    return color;
}

} // namespace

namespace ColorCodec {

QVariant encode(const QColor& color)
{
    if (!color.isValid() || !fitsSrgb(color))
        return archive(color);
    const QRgba64 rgba = color.toRgb().rgba64();
    const QVariantList components {
        channel(rgba.red()), channel(rgba.green()), channel(rgba.blue()), channel(rgba.alpha())};
    return QVariantList {QString::fromLatin1(kColorSpaceName), QVariant(components)};
}

std::optional<QColor> decode(const QVariant& stored)
{
    switch (stored.typeId()) {
    case QMetaType::QVariantList:
        return decodeList(stored.toList());
    case QMetaType::QByteArray:
        return unarchive(stored.toByteArray());
    default:
        return std::nullopt;
    }
}

QByteArray archive(const QColor& color)
{
    QByteArray blob;
    QDataStream out(&blob, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << kArchiveMagic << kArchiveVersion << color;
    return blob;
}

namespace {

bool isKnownModel(qint8 model)
{
    // Compared as numbers: casting an unknown number to the enum first would itself be undefined.
    for (const QColor::Spec known : {QColor::Rgb, QColor::Hsv, QColor::Cmyk, QColor::Hsl, QColor::ExtendedRgb}) {
        if (model == static_cast<qint8>(known))
            return true;
    }
    return false;
}

} // namespace

std::optional<QColor> unarchive(const QByteArray& blob)
{
    QDataStream in(blob);
    in.setVersion(kStreamVersion);
    quint32 magic = 0;
    quint16 version = 0;
    in >> magic >> version;
    if (in.status() != QDataStream::Ok || magic != kArchiveMagic || version != kArchiveVersion)
        return std::nullopt;
    // Qt trusts the colour-model byte of a streamed colour and keeps whatever number it
    // finds, which later reads as an enum value that does not exist; check it before Qt
    // reads the colour.
    const qint64 colorStart = in.device()->pos();
    qint8 model = 0;
    in >> model;
    if (in.status() != QDataStream::Ok || !isKnownModel(model))
        return std::nullopt;
    in.device()->seek(colorStart);
    QColor color;
    in >> color;
    if (in.status() != QDataStream::Ok || !in.atEnd() || !color.isValid())
        return std::nullopt;
    return color;
}

} // namespace ColorCodec
