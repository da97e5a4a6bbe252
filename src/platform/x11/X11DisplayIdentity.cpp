#include "platform/x11/X11DisplayIdentity.h"

#include <QUuid>

namespace X11DisplayIdentity {

namespace {

// Parqueta's namespace for display UUIDs; never change it, stored layouts hang on it.
const QUuid kNamespace(QStringLiteral("{5e0c8d7a-3f41-4b9e-a2d6-91c47f0b6e38}"));

QString upperUuid(const QByteArray& name)
{
    return QUuid::createUuidV5(kNamespace, name).toString(QUuid::WithoutBraces).toUpper();
}

// A display descriptor's text: up to 13 bytes, ended by a line feed, padded with spaces.
QString descriptorText(const QByteArray& data, int offset)
{
    QByteArray text = data.mid(offset + 5, 13);
    const int end = text.indexOf('\n');
    if (end >= 0)
        text.truncate(end);
    return QString::fromLatin1(text).trimmed();
}

} // namespace

std::optional<Edid> parseEdid(const QByteArray& data)
{
    static const QByteArray header = QByteArray::fromHex("00ffffffffffff00");
    if (data.size() < 128 || !data.startsWith(header))
        return std::nullopt;
    const auto byte = [&](int i) { return quint8(data[i]); };

    Edid edid;
    const quint16 packed = quint16(byte(8) << 8 | byte(9));
    for (int shift : {10, 5, 0}) {
        const int letter = (packed >> shift) & 0x1f;
        edid.manufacturer += (letter >= 1 && letter <= 26) ? QChar(u'A' + letter - 1) : QChar(u'?');
    }
    edid.productCode = quint16(byte(10) | byte(11) << 8);
    edid.serialNumber = quint32(byte(12)) | quint32(byte(13)) << 8 | quint32(byte(14)) << 16 | quint32(byte(15)) << 24;
    // Four 18-byte descriptors; display descriptors start with three zero bytes.
    for (int offset = 54; offset + 18 <= 126; offset += 18) {
        if (byte(offset) != 0 || byte(offset + 1) != 0 || byte(offset + 2) != 0)
            continue;
        if (byte(offset + 3) == 0xff)
            edid.serialText = descriptorText(data, offset);
        else if (byte(offset + 3) == 0xfc)
            edid.productName = descriptorText(data, offset);
    }
    return edid;
}

QString uuidForEdid(const Edid& edid, const QString& connectorName, bool withConnector)
{
    QByteArray name = QByteArrayLiteral("edid:") + edid.manufacturer.toLatin1() + ':'
        + QByteArray::number(edid.productCode, 16) + ':' + QByteArray::number(edid.serialNumber) + ':'
        + edid.serialText.toUtf8();
    if (!edid.hasSerial() || withConnector)
        name += ":connector:" + connectorName.toUtf8();
    return upperUuid(name);
}

void separateTwins(std::vector<MonitorIdentity>& monitors)
{
    std::vector<size_t> twins;
    for (size_t i = 0; i < monitors.size(); ++i) {
        for (size_t j = 0; j < monitors.size(); ++j) {
            if (i != j && !monitors[i].uuid.isEmpty() && monitors[i].uuid == monitors[j].uuid) {
                twins.push_back(i);
                break;
            }
        }
    }
    for (size_t i : twins) {
        MonitorIdentity& monitor = monitors[i];
        monitor.uuid = monitor.edid ? uuidForEdid(*monitor.edid, monitor.connectorName, true)
                                    : upperUuid(QByteArrayLiteral("monitor:") + monitor.connectorName.toUtf8());
    }
}

QString uuidForMonitorName(const QString& monitorName)
{
    return upperUuid(QByteArrayLiteral("monitor:") + monitorName.toUtf8());
}

} // namespace X11DisplayIdentity
