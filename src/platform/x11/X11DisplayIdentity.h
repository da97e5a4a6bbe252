#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Stable display UUIDs for X11, where the server has none: a name-based (version 5)
// UUID in Parqueta's own namespace, so the same monitor gets the same UUID at every
// start and on every machine. Upper-case 8-4-4-4-12, like the macOS display UUIDs.
namespace X11DisplayIdentity {

// What identifies a physical monitor in its EDID base block.
struct Edid
{
    QString manufacturer; // three letters, e.g. "DEL"
    quint16 productCode = 0;
    quint32 serialNumber = 0;
    QString serialText; // the serial-number descriptor (0xFF), if any
    QString productName; // the name descriptor (0xFC), if any

    bool hasSerial() const { return serialNumber != 0 || !serialText.isEmpty(); }
};

// Nothing when the block is shorter than 128 bytes or lacks the EDID header.
std::optional<Edid> parseEdid(const QByteArray& data);

// From the manufacturer, product code and serial. Two monitors of one model without a
// serial would collide, so the connector name is mixed in only in that case.
QString uuidForEdid(const Edid& edid, const QString& connectorName);
// For monitors without EDID (virtual ones, Xvfb): from the RandR monitor name.
QString uuidForMonitorName(const QString& monitorName);

} // namespace X11DisplayIdentity
