// The commands a later launch sends the running Parqueta: the request lines both ends
// parse, and the instance's socket under clients that misbehave.
#include "app/SingleInstance.h"
#include "core/AutomationRequest.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <QTest>

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <vector>

namespace {

struct RequestRow
{
    const char* line;
    // What the launch ends with when the line is malformed; 0 when it parses.
    int status;
    // The wire form it parses to (the line itself when empty).
    const char* wire = "";
};

TEST(AutomationRequest, ValidLinesSurviveTheWireAndMalformedOnesAreRefusedWithUsage)
{
    const std::vector<RequestRow> rows {
        {"snap-focused 2\n", 0},
        {"snap-focused 1-2\n", 0},
        {"snap-focused 2-2", 0, "snap-focused 2\n"},
        {"snap-focused 9999\n", 0},
        {"move-focused right\n", 0},
        {"span-focused left\n", 0},
        {"cycle next\n", 0},
        {"cycle prev\n", 0},
        {"layout 3\n", 0},
        {"layout {0f3c2e4a-1111-2222-3333-444455556666}\n", 0, "layout 0F3C2E4A-1111-2222-3333-444455556666\n"},
        {"list\n", 0},
        {"reopen\n", 0},
        {"edit-layout\n", 0},
        {"debug-window\n", 0},
        {"snap-focused 3-1\n", 64},
        {"snap-focused 0\n", 64},
        {"snap-focused 10000\n", 64},
        {"snap-focused -2\n", 64},
        {"snap-focused 1-\n", 64},
        {"snap-focused 1-2-3\n", 64},
        {"snap-focused +2\n", 64},
        {"snap-focused\n", 64},
        {"snap-focused  2\n", 64},
        {"move-focused up\n", 64},
        {"move-focused Right\n", 64},
        {"span-focused rigth\n", 64},
        {"cycle previous\n", 64},
        {"layout 0\n", 64},
        {"layout 0F3C2E4A-1111-2222-3333\n", 64},
        {"list all\n", 64},
        {"list \n", 64},
        {"snap\n", 64},
        {"\n", 64},
        {"", 64},
        {"list\r\n", 64},
        {"list\nlist\n", 64},
        {"snap-focused 2\t\n", 64},
    };
    for (const RequestRow& row : rows) {
        SCOPED_TRACE(row.line);
        const AutomationRequest::Parsed parsed = AutomationRequest::parse(QByteArrayView(row.line));
        ASSERT_EQ(parsed.request.has_value(), row.status == 0) << parsed.error.toStdString();
        if (!parsed.request) {
            EXPECT_FALSE(parsed.error.isEmpty());
            continue;
        }
        const QByteArray wire = *row.wire ? QByteArray(row.wire) : QByteArray(row.line);
        EXPECT_EQ(parsed.request->toLine(), wire);
        EXPECT_EQ(AutomationRequest::parse(wire).request, parsed.request);
    }
    // The command-line form parses as its line does.
    EXPECT_EQ(AutomationRequest::fromOption(QStringLiteral("snap-focused"), QStringLiteral("1-2")).request,
        AutomationRequest::parse("snap-focused 1-2").request);
    EXPECT_FALSE(AutomationRequest::fromOption(QStringLiteral("snap-focused"), QStringLiteral("3-1")).request);

    EXPECT_FALSE(AutomationRequest::parse(QByteArray("snap-focused 2\xff\n")).request) << "not UTF-8";
    EXPECT_FALSE(AutomationRequest::parse(QByteArray("list\0\n", 6)).request) << "a NUL byte";
    EXPECT_FALSE(AutomationRequest::parse(QByteArray(5000, 'a') + '\n').request) << "over the bound";

    EXPECT_EQ(AutomationRequest::decodeAnswer("64\nThere is no zone 7\n")->status, 64);
    EXPECT_EQ(AutomationRequest::decodeAnswer("64\nThere is no zone 7\n")->body, QStringLiteral("There is no zone 7\n"));
    EXPECT_EQ(AutomationRequest::decodeAnswer("ok\n")->status, 0) << "what earlier versions answer";
    EXPECT_FALSE(AutomationRequest::decodeAnswer("")) << "closed without a word";
    EXPECT_FALSE(AutomationRequest::decodeAnswer("Snapped\n"));
}

// A client that talks to the instance without blocking it: what it got back once the
// instance closed the connection.
struct Client
{
    std::unique_ptr<QLocalSocket> socket = std::make_unique<QLocalSocket>();
    QByteArray received;
    bool closed = false;

    Client(const QString& key, const QByteArray& sent)
    {
        QObject::connect(socket.get(), &QLocalSocket::readyRead, [this] { received += socket->readAll(); });
        QObject::connect(socket.get(), &QLocalSocket::disconnected, [this] { closed = true; });
        socket->connectToServer(key);
        socket->write(sent);
    }
};

TEST(SingleInstanceSocket, EveryClientGetsOneAnswerOrIsDroppedAndTheInstanceKeepsServing)
{
    const QString key = QStringLiteral("parqueta-test-%1").arg(QCoreApplication::applicationPid());
    SingleInstance instance(key);
    QList<QByteArray> handled;
    instance.setHandler([&](const QByteArray& line) {
        handled.append(line);
        const AutomationRequest::Parsed parsed = AutomationRequest::parse(line);
        return AutomationRequest::encodeAnswer(parsed.request ? AutomationAnswer {0, QStringLiteral("fine\n")}
                                                              : AutomationAnswer {64, parsed.error});
    });
    ASSERT_TRUE(instance.listen());

    // Many at once, one of them sending more after its line, one giving up half-way,
    // garbage, and a line far over the bound that never ends.
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 20; ++i)
        clients.push_back(std::make_unique<Client>(key, i == 0 ? QByteArray("list\nlist\nreopen\n") : QByteArray("list\n")));
    Client garbage(key, QByteArray("\x01\xff snap \0 \n", 12));
    Client huge(key, QByteArray(1 << 20, 'x'));
    {
        Client leaving(key, "snap-foc");
        QTest::qWait(50);
        leaving.socket->abort();
    }
    ASSERT_TRUE(QTest::qWaitFor([&] {
        return garbage.closed && huge.closed
            && std::all_of(clients.begin(), clients.end(), [](const auto& c) { return c->closed; });
    })) << "every connection is closed by the instance";
    for (const auto& client : clients)
        EXPECT_EQ(client->received, QByteArray("0\nfine\n"));
    EXPECT_TRUE(garbage.received.startsWith("64\n")) << garbage.received.constData();
    EXPECT_TRUE(huge.received.startsWith("64\nThe request is longer than 4096 bytes")) << huge.received.left(80).constData();
    EXPECT_EQ(handled.size(), 22) << "one line per connection; the half-sent one never reaches the handler";
    EXPECT_LE(handled.last().size(), SingleInstance::kMaxRequestBytes + 1);

    // A launch's own blocking client, from another thread while this one serves.
    auto asked = std::async(std::launch::async, [key] { return SingleInstance(key).ask("cycle next\n"); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return asked.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(asked.get(), std::optional<QByteArray>("0\nfine\n"));
    EXPECT_FALSE(SingleInstance(key + QStringLiteral("-nobody")).ask("list\n")) << "no instance: no answer, no wait";
}

} // namespace
