// Update checks against a small HTTP server on this machine (feeds that offer nothing,
// something newer, betas, garbage, silence, an unsafe redirect, too much), the version
// order and the feed reader they rest on, and the dialog that shows what they found.
#include "TestSupport.h"
#include "core/Appcast.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "core/VersionNumber.h"
#include "managers/HelperFeedDownloader.h"
#include "managers/SoftwareUpdater.h"
#include "platform/NativeUpdater.h"
#include "views/UpdateDialog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextBrowser>
#include <QTimer>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using Kind = UpdateCheckResult::Kind;

namespace {

QByteArray rss(const QByteArray& items)
{
    return R"(<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)" + items
        + "</channel></rss>";
}

QByteArray item(const QByteArray& version, const QByteArray& more = {}, const QByteArray& scheme = "https")
{
    return "<item><title>Parqueta " + version + "</title><sparkle:version>" + version + "</sparkle:version>" + more
        + "<enclosure url=\"" + scheme + "://example.org/parqueta-" + version + ".tar.gz\"/></item>";
}

QByteArray ok(const QByteArray& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/rss+xml\r\nSet-Cookie: visit=1\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

// HTTP/1.1 on 127.0.0.1: one canned answer per path (an empty one: silence), 404 for the
// rest. An answer without Content-Length keeps the connection open after it.
struct FeedServer
{
    FeedServer()
    {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection())
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { answer(socket); });
        });
    }
    QUrl url(const QString& path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort()) + path);
    }
    void answer(QTcpSocket* socket)
    {
        QByteArray& request = pending[socket];
        request += socket->readAll();
        if (!request.contains("\r\n\r\n"))
            return;
        ++requests;
        lastRequest = request;
        const QByteArray response
            = responses.value(request.split(' ').value(1), "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        socket->write(response);
        if (response.contains("Content-Length"))
            socket->disconnectFromHost();
    }

    QTcpServer server;
    QHash<QByteArray, QByteArray> responses;
    QHash<QTcpSocket*, QByteArray> pending;
    int requests = 0;
    QByteArray lastRequest;
};

// Every result the check produced by the time the first one came and the queue ran dry.
QList<UpdateCheckResult> results(SoftwareUpdater& updater, const std::function<void()>& check)
{
    QList<UpdateCheckResult> seen;
    QEventLoop loop;
    QObject::connect(&updater, &SoftwareUpdater::checkFinished, &loop, [&](const UpdateCheckResult& result) {
        seen << result;
        loop.quit();
    });
    check();
    // Only keeps a broken check from hanging the suite; nothing is measured.
    QTimer::singleShot(30s, &loop, &QEventLoop::quit);
    if (seen.isEmpty())
        loop.exec();
    QCoreApplication::processEvents();
    return seen;
}

class UpdaterTest : public ::testing::Test
{
protected:
    UpdaterTest()
    {
        auto& feeds = server.responses;
        feeds["/current"] = elsewhere.responses["/current"] = ok(rss(item("0.0.9") + item("0.1.0")));
        // By its build number the first would win; by the version people see, the second.
        feeds["/newer"] = ok(rss(item("900", "<sparkle:shortVersionString>0.1.5</sparkle:shortVersionString>")
            + item("58", "<sparkle:shortVersionString>0.2.0</sparkle:shortVersionString>") + item("0.1.9")));
        // One pre-release by its version, one by its channel.
        feeds["/beta"]
            = ok(rss(item("0.3.0-beta1") + item("0.4.0", "<sparkle:channel>beta</sparkle:channel>") + item("0.1.0")));
        feeds["/broken"] = ok("<rss><channel><item><title>cut");
        feeds["/plain-download"] = ok(rss(item("0.9.0", {}, "http") + item("0.1.0")));
        feeds["/moved"] = "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: "
            + elsewhere.url("/current").toEncoded() + "\r\n\r\n";
        feeds["/silent"] = {};
        feeds["/huge"] = "HTTP/1.1 200 OK\r\n\r\n" + QByteArray(Appcast::kLargestDocument + 4096, ' ');
    }

    std::unique_ptr<SoftwareUpdater> updater(const QString& path)
    {
        // The helper the product starts, from this build.
        auto* helper = new HelperFeedDownloader(QStringLiteral(PARQUETA_FEED_HELPER_PATH));
        auto made = std::make_unique<SoftwareUpdater>(settings, server.url(path), QStringLiteral("0.1.0"), helper);
        helper->setParent(made.get());
        // Short only where the server is silent anyway: the others answer at their own pace.
        if (path == QLatin1String("/silent"))
            made->setTimeout(300ms);
        return made;
    }

    FeedServer server;
    FeedServer elsewhere;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
};

} // namespace

TEST_F(UpdaterTest, EachFeedEndsInExactlyOneResult)
{
    // Path, beta updates, what the check finds, a part of its message, a part of the download's address.
    const std::tuple<const char*, bool, Kind, const char*, const char*> rows[] = {
        {"/current", false, Kind::UpToDate, "Parqueta 0.1.0 is the newest version available.", ""},
        {"/newer", false, Kind::UpdateAvailable, "Parqueta 0.2.0 is available — you have 0.1.0.", "parqueta-58"},
        {"/beta", false, Kind::UpToDate, "newest version", ""},
        {"/beta", true, Kind::UpdateAvailable, "Parqueta 0.4.0 is available", "parqueta-0.4.0"},
        {"/broken", false, Kind::Failed, "The update feed could not be read: it ends too early", ""},
        {"/silent", false, Kind::Failed, "The update server took too long to answer.", ""},
        {"/moved", false, Kind::Failed, "redirected to an address that is not secure: http://127.0.0.1", ""},
        {"/huge", false, Kind::Failed, "larger than 1024 KB", ""},
        {"/plain-download", false, Kind::UpToDate, "newest version", ""},
        {"/missing", false, Kind::Failed, "Could not reach the update server:", ""},
    };
    for (const auto& [path, beta, kind, message, download] : rows) {
        SCOPED_TRACE(std::string(path) + (beta ? " with betas" : ""));
        settings.setValue(Keys::betaUpdates, beta);
        const auto checker = updater(QString::fromLatin1(path));
        const QList<UpdateCheckResult> seen = results(*checker, [&] { checker->checkForUpdates(); });
        ASSERT_EQ(seen.size(), 1);
        EXPECT_EQ(seen[0].kind, kind);
        EXPECT_TRUE(seen[0].interactive);
        EXPECT_EQ(seen[0].runningVersion, "0.1.0");
        EXPECT_TRUE(seen[0].message.contains(QString::fromUtf8(message))) << seen[0].message.toStdString();
        EXPECT_EQ(seen[0].item.has_value(), kind == Kind::UpdateAvailable);
        EXPECT_TRUE(seen[0].item.value_or(AppcastItem {}).downloadUrl.toString().contains(QLatin1String(download)));
    }
    EXPECT_EQ(elsewhere.requests, 0) << "the unsafe hop is refused before it is taken";
}

TEST_F(UpdaterTest, BackgroundChecksReachTheServerOnceADay)
{
    const auto checker = updater(QStringLiteral("/current"));
    // A background check the user joins is one check, and it is the user's.
    const QList<UpdateCheckResult> joined = results(*checker, [&] {
        checker->checkForUpdatesInBackground();
        checker->checkForUpdates();
    });
    ASSERT_EQ(joined.size(), 1);
    EXPECT_TRUE(joined[0].interactive);
    EXPECT_EQ(server.requests, 1);
    EXPECT_TRUE(server.lastRequest.contains("User-Agent: Parqueta/0.1.0"));

    checker->checkForUpdatesInBackground();
    EXPECT_FALSE(checker->isChecking()) << "the feed was read moments ago";
    EXPECT_EQ(results(*checker, [&] { checker->checkForUpdates(); }).size(), 1) << "the user may always ask";
    EXPECT_EQ(server.requests, 2);
    EXPECT_FALSE(server.lastRequest.contains("Cookie")) << "the server's cookie is not sent back";

    settings.setValue(Keys::lastUpdateCheck, double(QDateTime::currentSecsSinceEpoch() - 25 * 3600));
    const QList<UpdateCheckResult> background = results(*checker, [&] { checker->checkForUpdatesInBackground(); });
    ASSERT_EQ(background.size(), 1);
    EXPECT_FALSE(background[0].interactive);
    EXPECT_EQ(server.requests, 3);

    // Scheduled checks wait for automaticUpdates and start the moment it is turned on.
    settings.setValue(Keys::automaticUpdates, false);
    settings.setValue(Keys::lastUpdateCheck, 0.0);
    checker->startScheduledChecks();
    EXPECT_FALSE(checker->isChecking());
    EXPECT_EQ(results(*checker, [&] { settings.setValue(Keys::automaticUpdates, true); }).size(), 1);
    EXPECT_EQ(server.requests, 4);
}

TEST_F(UpdaterTest, OnlyHttpsOrThisMachineIsAskedAndOtherwiseTheUserIsToldWhy)
{
    const std::pair<const char*, bool> rows[] = {{"", false}, {"http://example.org/feed.xml", false},
        {"ftp://127.0.0.1/feed.xml", false}, {"https://example.org/feed.xml", true},
        {"http://localhost:8080/feed.xml", true}, {"http://[::1]/feed.xml", true}};
    for (const auto& [url, available] : rows)
        EXPECT_EQ(SoftwareUpdater(settings, QUrl(QString::fromLatin1(url)), {}).isAvailable(), available) << url;
    SoftwareUpdater none(settings, QUrl(), QStringLiteral("0.1.0"));
    const QList<UpdateCheckResult> seen = results(none, [&] { none.checkForUpdates(); });
    ASSERT_EQ(seen.size(), 1) << "the user is answered all the same";
    EXPECT_EQ(seen[0].kind, Kind::Unavailable);
    EXPECT_EQ(seen[0].message, "Parqueta cannot check for updates: this build has no update address.");

    // A package that lost its helper: the check fails in words rather than hanging.
    auto* lost = new HelperFeedDownloader(QString());
    SoftwareUpdater helperless(settings, QUrl(QStringLiteral("https://example.org/feed.xml")), QStringLiteral("0.1.0"), lost);
    lost->setParent(&helperless);
    const QList<UpdateCheckResult> failed = results(helperless, [&] { helperless.checkForUpdates(); });
    ASSERT_EQ(failed.size(), 1);
    EXPECT_EQ(failed[0].kind, Kind::Failed);
    EXPECT_TRUE(failed[0].message.contains(QLatin1String("parqueta-feed is not installed"))) << failed[0].message.toStdString();
}

TEST(VersionNumber, ComparesPartByPart)
{
    const QString huge = QStringLiteral("1234567890123456789012345678901234567890");
    const QString huger = QStringLiteral("1234567890123456789012345678901234567891");
    const std::tuple<QString, QString, int> rows[]
        = {{"1.10", "1.9", 1}, {"1.2", "1.2-beta3", 1}, {"1.2-beta10", "1.2-beta9", 1}, {"1.2-beta", "1.2-alpha", 1},
            {"1.2-rc1", "1.2-beta5", 1}, {"1.2-beta", "1.2-beta2", -1}, {"1.2", "1.2.0", 0}, {"v1.2", "01.2", 0},
            {"1.2+build7", "1.2", 0}, {"0.1.0", "0.1.0-beta", 1}, {huger, huge, 1}, {huge + ".1", huge, 1},
            {"", "0", 0}, {"abc", "0", -1}, {"abc", "abd", -1}};
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (const auto& [newer, older, expected] : rows) {
        SCOPED_TRACE(newer.toStdString() + " vs " + older.toStdString());
        EXPECT_EQ(sign(VersionNumber::compare(newer, older)), expected);
        EXPECT_EQ(sign(VersionNumber::compare(older, newer)), -expected);
    }
    EXPECT_TRUE(VersionNumber::isPrerelease(u"2.0rc1") && !VersionNumber::isPrerelease(u"2.0.1+build5"));
}

TEST(Appcast, RefusesHostileDocumentsAndDropsUnusableItems)
{
    QByteArray many;
    for (int i = 0; i < Appcast::kMostItems + 1; ++i)
        many += item("1." + QByteArray::number(i));
    const std::tuple<const char*, QByteArray, int, const char*> rows[] = {
        {"dtd", "<!DOCTYPE rss [<!ENTITY x \"y\">]>" + rss(item("1.0")), 0, "declares a document type"},
        {"deep", rss(item("1.0", QByteArray("<x>").repeated(40) + QByteArray("</x>").repeated(40))), 0,
            "nested deeper than 32"},
        {"cut short", rss(item("1.0")).chopped(12), 0, "cut short"},
        {"atom", "<feed><entry/></feed>", 0, "not an RSS feed"},
        {"too large", rss(QByteArray(Appcast::kLargestDocument, ' ')), 0, "larger than 1024 KB"},
        {"not xml", "{\"version\": \"2.0\"}", 0, "not well-formed XML"},
        {"bad version", rss(item("latest") + item("1.0")), 1, "\"latest\" is not a version number"},
        {"no enclosure", rss("<item><sparkle:version>2.0</sparkle:version></item>"), 0, "no download"},
        {"http notes", rss(item("1.0", "<sparkle:releaseNotesLink>http://x.org/n</sparkle:releaseNotesLink>")), 1,
            "keeps no release-notes link"},
        {"too many", rss(many), Appcast::kMostItems, "those after the first 500 were ignored"},
    };
    for (const auto& [name, document, itemCount, said] : rows) {
        const Appcast feed = Appcast::parse(document);
        EXPECT_EQ(feed.items.size(), itemCount) << name;
        EXPECT_TRUE((feed.error + feed.problems.join(u' ')).contains(QString::fromUtf8(said)))
            << name << ": " << (feed.error + feed.problems.join(u' ')).toStdString();
    }
}

TEST(Appcast, ReadsVersionsFromEnclosuresAndNotesAsPlainText)
{
    const Appcast feed = Appcast::parse(rss(R"(<item><description><![CDATA[<h2>New</h2><p>Gaps &amp; zones<br>now</p>
        <script>alert(1)</script><ul><li>One <img src="https://example.org/a.png"></li><!-- no --><li>Two&#x21;</li></ul>
        ]]></description><pubDate>Tue, 04 Mar 2025 10:00:00 +0000</pubDate><enclosure url="https://example.org/p.tgz"
        sparkle:version="58" sparkle:shortVersionString="0.2.0"/></item>)"));
    ASSERT_EQ(feed.items.size(), 1) << feed.error.toStdString();
    const AppcastItem& only = feed.items.front();
    EXPECT_EQ(only.displayVersion(), "0.2.0");
    EXPECT_EQ(only.version, "58");
    EXPECT_EQ(only.published, QDateTime(QDate(2025, 3, 4), QTime(10, 0), Qt::UTC));
    EXPECT_EQ(only.notes, QStringLiteral("New\n\nGaps & zones\nnow\n\n• One\n• Two!"));
}

TEST(UpdateDialog, DownloadOpensTheEnclosureAndNotesStayText)
{
    UpdateCheckResult result;
    result.kind = Kind::UpdateAvailable;
    result.item = AppcastItem {};
    result.item->downloadUrl = QUrl(QStringLiteral("https://example.org/parqueta-0.2.0.tar.gz"));
    result.item->notes = QStringLiteral("Fixes <img src=\"https://example.org/track.png\"> and <b>more</b>");

    UpdateDialog dialog;
    QList<QUrl> opened;
    dialog.setUrlOpener([&](const QUrl& url) { opened << url; });
    dialog.showResult(result);
    dialog.present();
    auto* notes = dialog.findChild<QTextBrowser*>(QStringLiteral("notes"));
    auto* download = dialog.findChild<QPushButton*>(QStringLiteral("download"));
    ASSERT_TRUE(notes && download);
    EXPECT_EQ(notes->toPlainText(), result.item->notes) << "markup shown as written, nothing rendered";
    EXPECT_FALSE(dialog.findChild<QPushButton*>(QStringLiteral("releaseNotes"))->isVisible()) << "no link, no button";
    EXPECT_TRUE(download->isDefault());
    download->click();
    EXPECT_EQ(opened, QList<QUrl> {result.item->downloadUrl});
    EXPECT_FALSE(dialog.isVisible());
}

// Where the system brings its own update framework (Sparkle on macOS), every request and
// both settings reach it, and no answer of ours is awaited: the framework shows its own.
TEST(NativeUpdates, RequestsAndSettingsReachTheFrameworkAndNoDialogWaits)
{
    struct Recorder final : NativeUpdater
    {
        QStringList calls;
        void checkForUpdates() override { calls << QStringLiteral("check"); }
        void checkForUpdatesInBackground() override { calls << QStringLiteral("background"); }
        void setAutomaticallyChecks(bool on) override { calls << QStringLiteral("automatic=%1").arg(on); }
        void setIncludesPrereleases(bool on) override { calls << QStringLiteral("betas=%1").arg(on); }
    } native;
    Settings settings(std::make_unique<MemorySettingsBackend>());
    SoftwareUpdater updater(settings, native, QStringLiteral("0.1.0"));
    int finished = 0;
    QObject::connect(&updater, &SoftwareUpdater::checkFinished, [&] { ++finished; });
    EXPECT_TRUE(updater.isAvailable());
    EXPECT_TRUE(updater.showsItsOwnWindows());

    updater.startScheduledChecks();
    updater.checkForUpdates();
    settings.setValue(Keys::betaUpdates, true);
    settings.setValue(Keys::automaticUpdates, false);
    updater.checkForUpdatesInBackground();
    QCoreApplication::processEvents();

    EXPECT_EQ(native.calls,
        QStringList({"automatic=1", "betas=0", "background", "check", "automatic=1", "betas=1", "automatic=0", "betas=1"}));
    EXPECT_EQ(finished, 0);
}
