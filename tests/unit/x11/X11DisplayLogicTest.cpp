// The pure parts of the X11 display backend: what panels reserve of each monitor, and
// the identity of a monitor from its EDID.
#include "platform/x11/X11DisplayIdentity.h"
#include "platform/x11/X11Struts.h"
#include "platform/x11/XdgAutostartLoginItem.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using namespace X11DisplayIdentity;

X11Strut partial(std::initializer_list<quint32> values, QSize root = QSize(2560, 1080))
{
    return *X11Strut::fromPartial(QList<quint32>(values), root);
}

const QSize kRoot(2560, 1080);
const QRect kLeft(0, 0, 1280, 1080);
const QRect kRight(1280, 0, 1280, 1080);

TEST(X11Struts, PanelsShrinkOnlyTheMonitorsTheyReserveSpaceOn)
{
    const struct
    {
        const char* what;
        QList<X11Strut> struts;
        QRect left, right;
    } rows[] = {
        {"tint2 at the bottom of RIGHT", {partial({0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 1280, 2559})}, kLeft,
            {1280, 0, 1280, 1050}},
        {"legacy strut: the whole root edge", {*X11Strut::fromLegacy({0, 0, 24, 0}, kRoot)}, {0, 24, 1280, 1056},
            {1280, 24, 1280, 1056}},
        {"unset range: the whole edge", {partial({48, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})}, {48, 0, 1232, 1080}, kRight},
        {"dock on LEFT's inner edge", {partial({0, 1320, 0, 0, 0, 0, 0, 1079, 0, 0, 0, 0})}, {0, 0, 1240, 1080},
            kRight},
        {"panel on RIGHT's inner edge", {partial({1310, 0, 0, 0, 0, 1079, 0, 0, 0, 0, 0, 0})}, kLeft,
            {1310, 0, 1250, 1080}},
        {"several panels; a range below the monitors is ignored",
            {partial({0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 1279}), partial({0, 0, 25, 0, 0, 0, 0, 0, 0, 1279, 0, 0}),
                partial({64, 0, 0, 0, 200, 800, 0, 0, 0, 0, 0, 0}),
                partial({100, 0, 0, 0, 1080, 1200, 0, 0, 0, 0, 0, 0})},
            {64, 25, 1216, 1025}, kRight},
        {"struts that meet leave the monitor whole",
            {*X11Strut::fromLegacy({700, 0, 0, 0}, kRoot), *X11Strut::fromLegacy({0, 2560 - 600, 0, 0}, kRoot)}, kLeft,
            kRight},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(visibleArea(kLeft, kRoot, row.struts), row.left) << row.what;
        EXPECT_EQ(visibleArea(kRight, kRoot, row.struts), row.right) << row.what;
    }
    // Struts count from the root's edges: a panel at the bottom of a shorter monitor
    // reserves its own height plus the gap below that monitor.
    const QSize root(3200, 1200);
    const QList<X11Strut> shorter {partial({0, 0, 0, 1200 - 1024 + 30, 0, 0, 0, 0, 0, 0, 1920, 3199}, root)};
    EXPECT_EQ(visibleArea(QRect(1920, 0, 1280, 1024), root, shorter), QRect(1920, 0, 1280, 994));
    EXPECT_EQ(visibleArea(QRect(0, 0, 1920, 1200), root, shorter), QRect(0, 0, 1920, 1200));
}

TEST(X11Struts, WorkAreaReservationsWithoutAStrutCountOverThePanelInThem)
{
    const QRect fluxboxToolbar(0, 1060, 1280, 20);
    const struct
    {
        const char* what;
        QRect workarea;
        QList<X11Strut> struts;
        QList<QRect> panels;
        QRect left, right;
    } rows[] = {
        {"fluxbox: a toolbar on LEFT without a strut", {0, 0, 2560, 1060}, {}, {fluxboxToolbar}, {0, 0, 1280, 1060},
            kRight},
        {"tint2's strut explains the work area", {0, 0, 2560, 1050},
            {partial({0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 1280, 2559})}, {QRect(1280, 1050, 1280, 30)}, kLeft,
            {1280, 0, 1280, 1050}},
        {"a work area that means nothing: no window in the band", {0, 0, 2560, 1000}, {}, {QRect(300, 300, 400, 300)},
            kLeft, kRight},
        {"a reservation too large to be a panel", {0, 0, 2560, 500}, {}, {QRect(0, 600, 1280, 480)}, kLeft, kRight},
    };
    for (const auto& row : rows) {
        QList<X11Strut> struts = row.struts;
        struts += unexplainedReservations(row.workarea, kRoot, row.struts, row.panels);
        EXPECT_EQ(visibleArea(kLeft, kRoot, struts), row.left) << row.what;
        EXPECT_EQ(visibleArea(kRight, kRoot, struts), row.right) << row.what;
    }
}

QByteArray descriptor(quint8 tag, const QByteArray& text)
{
    QByteArray d(18, '\0');
    d[3] = char(tag);
    d.replace(5, 13, (text + '\n').leftJustified(13, ' ', true));
    return d;
}

// An EDID base block: "DEL", product 0xA0C5, a serial number, the name and a serial text.
QByteArray edid(quint32 serial = 0x12345678, const QByteArray& serialText = "ABC123")
{
    QByteArray e(128, '\0');
    e.replace(0, 12, QByteArray::fromHex("00ffffffffffff0010acc5a0"));
    for (int i = 0; i < 4; ++i)
        e[12 + i] = char((serial >> (8 * i)) & 0xff);
    e.replace(54, 18, QByteArray(18, '\x01')); // a detailed timing, not a descriptor
    e.replace(72, 18, descriptor(0xfc, "DELL U2720Q"));
    if (!serialText.isEmpty())
        e.replace(90, 18, descriptor(0xff, serialText));
    return e;
}

TEST(X11DisplayIdentity, MonitorsAreKnownByTheirEdidOrElseTheirNameAndNeverChangeTheirUuid)
{
    const std::optional<Edid> parsed = parseEdid(edid());
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ(parsed->manufacturer, "DEL");
    EXPECT_EQ(parsed->productCode, 0xA0C5);
    EXPECT_EQ(parsed->serialNumber, 0x12345678u);
    EXPECT_EQ(parsed->serialText, "ABC123");
    EXPECT_EQ(parsed->productName, "DELL U2720Q");
    QByteArray badHeader = edid();
    badHeader[1] = 0;
    for (const QByteArray& bad : {edid().left(127), badHeader, QByteArray()})
        EXPECT_FALSE(parseEdid(bad).has_value());

    const QString uuid = uuidForEdid(*parsed, "DP-1");
    EXPECT_TRUE(QRegularExpression("^[0-9A-F]{8}-[0-9A-F]{4}-5[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$")
                    .match(uuid)
                    .hasMatch())
        << uuid.toStdString();
    EXPECT_EQ(uuidForEdid(*parsed, "HDMI-2"), uuid) << "with a serial, the connector does not matter";
    EXPECT_NE(uuidForEdid(*parseEdid(edid(0x12345679)), "DP-1"), uuid);
    EXPECT_NE(uuidForEdid(*parseEdid(edid(0x12345678, "ABC124")), "DP-1"), uuid);
    const Edid anonymous = *parseEdid(edid(0, QByteArray()));
    EXPECT_NE(uuidForEdid(anonymous, "DP-1"), uuidForEdid(anonymous, "DP-2"))
        << "without one, the connector tells them apart";

    // Two monitors of one model reporting one serial: only the twins take their
    // connectors in, so a monitor without a twin keeps its UUID on any port.
    std::vector<MonitorIdentity> plugged {
        {uuid, parsed, "DP-1"}, {uuid, parsed, "HDMI-2"}, {uuidForEdid(anonymous, "DP-3"), anonymous, "DP-3"}};
    separateTwins(plugged);
    EXPECT_NE(plugged[0].uuid, plugged[1].uuid);
    EXPECT_NE(plugged[0].uuid, uuid);
    EXPECT_EQ(plugged[2].uuid, uuidForEdid(anonymous, "DP-3"));

    // Stored layouts hang on these values: pinned, so no version changes them.
    EXPECT_EQ(uuidForMonitorName("LEFT"), "0EFD9E5D-51B1-5BD9-92B2-311DC717318B");
    EXPECT_EQ(uuidForMonitorName("RIGHT"), "8640048D-6A3C-551A-9DD4-6F9CE5877356");
}

// Launch at login on Linux: an XDG autostart entry that starts this executable (its path
// quoted as the Desktop Entry rules want) as a login item; one the desktop's own settings
// turned off does not count; turning it off removes it.
TEST(XdgAutostart, TheEntryIsWrittenQuotedReadAndRemoved)
{
    QTemporaryDir home;
    XdgAutostartLoginItem item(QStringLiteral("/opt/my apps/parqueta"), home.path() + QStringLiteral("/autostart"));
    QString error;
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(true, error)) << error.toStdString();
    EXPECT_TRUE(item.isEnabled());
    QFile file(item.entryPath());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString entry = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(entry.startsWith(QStringLiteral("[Desktop Entry]\n"))) << entry.toStdString();
    EXPECT_TRUE(entry.contains(QStringLiteral("\nExec=\"/opt/my apps/parqueta\" --login-item\n")))
        << entry.toStdString();
    file.close();
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("Hidden=true\n");
    file.close();
    EXPECT_FALSE(item.isEnabled()) << "turned off in the desktop's own settings";
    ASSERT_TRUE(item.setEnabled(false, error));
    EXPECT_FALSE(QFile::exists(item.entryPath()));
    EXPECT_TRUE(item.setEnabled(false, error)) << "nothing to remove is no failure";
}

} // namespace
