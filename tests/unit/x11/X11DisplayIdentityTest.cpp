#include "platform/x11/X11DisplayIdentity.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

using namespace X11DisplayIdentity;

QByteArray descriptor(quint8 tag, const QByteArray& text)
{
    QByteArray d(18, '\0');
    d[3] = char(tag);
    QByteArray payload = text + '\n';
    payload = payload.leftJustified(13, ' ', true);
    d.replace(5, 13, payload);
    return d;
}

// An EDID base block: "DEL", product 0xA0C5, serial 0x12345678, name and serial text.
QByteArray edidBlock(quint32 serial = 0x12345678, const QByteArray& serialText = "ABC123")
{
    QByteArray e(128, '\0');
    e.replace(0, 8, QByteArray::fromHex("00ffffffffffff00"));
    e[8] = char(0x10);
    e[9] = char(0xAC);
    e[10] = char(0xC5);
    e[11] = char(0xA0);
    for (int i = 0; i < 4; ++i)
        e[12 + i] = char((serial >> (8 * i)) & 0xff);
    e.replace(54, 18, QByteArray(18, '\x01')); // a detailed timing, not a descriptor
    e.replace(72, 18, descriptor(0xfc, "DELL U2720Q"));
    if (!serialText.isEmpty())
        e.replace(90, 18, descriptor(0xff, serialText));
    return e;
}

bool looksLikeUuid(const QString& text)
{
    static const QRegularExpression pattern(
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-5[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"));
    return pattern.match(text).hasMatch();
}

TEST(X11DisplayIdentityTest, ParsesTheIdentifyingFieldsOfAnEdid)
{
    const std::optional<Edid> edid = parseEdid(edidBlock());
    ASSERT_TRUE(edid.has_value());
    EXPECT_EQ(edid->manufacturer, QStringLiteral("DEL"));
    EXPECT_EQ(edid->productCode, 0xA0C5);
    EXPECT_EQ(edid->serialNumber, 0x12345678u);
    EXPECT_EQ(edid->serialText, QStringLiteral("ABC123"));
    EXPECT_EQ(edid->productName, QStringLiteral("DELL U2720Q"));
    EXPECT_TRUE(edid->hasSerial());

    EXPECT_FALSE(parseEdid(edidBlock().left(127)).has_value());
    QByteArray badHeader = edidBlock();
    badHeader[1] = 0;
    EXPECT_FALSE(parseEdid(badHeader).has_value());
    EXPECT_FALSE(parseEdid(QByteArray()).has_value());
}

TEST(X11DisplayIdentityTest, EdidUuidsAreStableAndTellMonitorsApart)
{
    const Edid first = *parseEdid(edidBlock());
    const QString uuid = uuidForEdid(first, QStringLiteral("DP-1"));
    EXPECT_TRUE(looksLikeUuid(uuid)) << qPrintable(uuid);
    EXPECT_EQ(uuidForEdid(*parseEdid(edidBlock()), QStringLiteral("HDMI-2")), uuid)
        << "a monitor with a serial keeps its UUID on another connector";
    EXPECT_NE(uuidForEdid(*parseEdid(edidBlock(0x12345679)), QStringLiteral("DP-1")), uuid);
    EXPECT_NE(uuidForEdid(*parseEdid(edidBlock(0x12345678, "ABC124")), QStringLiteral("DP-1")), uuid);

    // Two units of a model without any serial: told apart by their connectors.
    const Edid anonymous = *parseEdid(edidBlock(0, QByteArray()));
    EXPECT_FALSE(anonymous.hasSerial());
    EXPECT_NE(uuidForEdid(anonymous, QStringLiteral("DP-1")), uuidForEdid(anonymous, QStringLiteral("DP-2")));
    EXPECT_EQ(uuidForEdid(anonymous, QStringLiteral("DP-1")), uuidForEdid(anonymous, QStringLiteral("DP-1")));
}

// Stored layouts hang on these values: they must never change between versions.
TEST(X11DisplayIdentityTest, MonitorNameUuidsArePinned)
{
    const QString left = uuidForMonitorName(QStringLiteral("LEFT"));
    EXPECT_TRUE(looksLikeUuid(left)) << qPrintable(left);
    EXPECT_EQ(left, QStringLiteral("0EFD9E5D-51B1-5BD9-92B2-311DC717318B"));
    EXPECT_EQ(uuidForMonitorName(QStringLiteral("RIGHT")), QStringLiteral("8640048D-6A3C-551A-9DD4-6F9CE5877356"));
    EXPECT_NE(uuidForMonitorName(QStringLiteral("left")), left);
}

} // namespace
