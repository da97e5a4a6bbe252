#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

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
// serial would collide, so the connector name is mixed in then, or when asked to.
QString uuidForEdid(const Edid& edid, const QString& connectorName, bool withConnector = false);

// One connected monitor's identity as first derived.
struct MonitorIdentity
{
    QString uuid;
    std::optional<Edid> edid;
    QString connectorName;
};
// Monitors that came out with one UUID (two of a model that report the same serial) get
// their connector names mixed in; every other keeps its own, so a monitor moved to
// another port finds its layouts again as long as it has no twin plugged in.
void separateTwins(std::vector<MonitorIdentity>& monitors);
// For monitors without EDID (virtual ones, Xvfb): from the RandR monitor name.
QString uuidForMonitorName(const QString& monitorName);

} // namespace X11DisplayIdentity
