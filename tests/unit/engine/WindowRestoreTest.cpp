// Windows coming back to their zones: which live window a remembered identity fits, the
// state file that keeps the records, and the restorer on the engine fakes across a
// restart, a monitor unplugged and plugged back, and an application restarted.
#include "FakeEngine.h"
#include "TestSupport.h"
#include "managers/SnappedWindowsStore.h"
#include "managers/WindowRestorer.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

WindowIdentity identity(const QString& title, const QString& role = {}, const QString& command = {},
    const QString& className = QStringLiteral("XTerm"))
{
    return WindowIdentity {className.toLower(), className, role, title, command};
}

// --- Matching -------------------------------------------------------------------------------

struct MatchRow
{
    const char* name;
    WindowIdentity recorded;
    WindowIdentity candidate;
    bool matches;
    // Whether the titles count as the same once their volatile parts are gone.
    bool sameTitle;
};

class IdentityMatch : public ::testing::TestWithParam<MatchRow>
{ };

TEST_P(IdentityMatch, ClassRoleAndCommandDecideTitlesTolerateWhatChanges)
{
    const MatchRow& row = GetParam();
    const int score = WindowIdentity::matchScore(row.recorded, row.candidate);
    EXPECT_EQ(score > 0, row.matches) << score;
    EXPECT_EQ(WindowIdentity::normalizedTitle(row.recorded.title) == WindowIdentity::normalizedTitle(row.candidate.title),
        row.sameTitle);
    if (row.matches) {
        // A title that counts as the same outweighs an equal role and command together.
        WindowIdentity otherTitle = row.candidate;
        otherTitle.title = QStringLiteral("something else entirely");
        EXPECT_EQ(score > WindowIdentity::matchScore(row.recorded, otherTitle), row.sameTitle);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, IdentityMatch,
    ::testing::Values(MatchRow {"Identical", identity("build"), identity("build"), true, true},
        MatchRow {"Counter", identity("Inbox (3) - Mail"), identity("Inbox (12) - Mail"), true, true},
        MatchRow {"Brackets", identity("log [2]"), identity("log"), true, true},
        MatchRow {"Digits", identity("Terminal 2"), identity("Terminal 14"), true, true},
        MatchRow {"StarMarker", identity("*notes.txt - gedit"), identity("notes.txt - gedit"), true, true},
        MatchRow {"DotMarker", identity("● main.cpp - Code"), identity("main.cpp - Code"), true, true},
        MatchRow {"CaseAndSpaces", identity("My  Notes"), identity("my notes"), true, true},
        MatchRow {"OtherTitle", identity("build"), identity("mail"), true, false},
        MatchRow {"OtherAppSuffix", identity("notes - gedit"), identity("notes - kate"), true, false},
        MatchRow {"RoleRecordedDiffers", identity("x", "browser"), identity("x", "pop-up"), false, true},
        MatchRow {"RoleRecordedMissing", identity("x", "browser"), identity("x"), false, true},
        MatchRow {"RoleOnlyOnCandidate", identity("x"), identity("x", "browser"), true, true},
        MatchRow {"CommandDiffers", identity("x", {}, "xterm -e top"), identity("x", {}, "xterm -e htop"), false, true},
        MatchRow {"CommandUnknownOnOneSide", identity("x", {}, "xterm -e top"), identity("x"), true, true},
        MatchRow {"OtherClass", identity("x"), identity("x", {}, {}, "URxvt"), false, true},
        MatchRow {"OtherInstance", identity("x"), WindowIdentity {"uxterm", "XTerm", {}, "x", {}}, false, true}),
    [](const auto& row) { return std::string(row.param.name); });

// --- The state file -------------------------------------------------------------------------

TEST(SnappedWindowsFile, RoundTripsDropsWeekOldRecordsAndMovesAnUnreadableFileAside)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("parqueta/snapped-windows.json"));
    SnappedWindowsStore store(path);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const SnappedWindowRecord fresh {
        identity("● build (2)", "main", "xterm -T build"), "screen-A", {"1", "2"}, now.addDays(-6)};
    const SnappedWindowRecord stale {identity("old"), "screen-A", {"3"}, now.addDays(-8)};
    ASSERT_TRUE(store.save({fresh, stale}, now));
    EXPECT_EQ(store.load(now), std::vector<SnappedWindowRecord> {fresh});
    // Pruned when read as well: the file written earlier holds a record now too old.
    EXPECT_TRUE(store.load(now.addDays(2)).empty());

    TestLog log;
    for (const QByteArray& damage : {QByteArray("{\"version\": 1, \"windows\": [ {"), QByteArray("[]"),
             QByteArray("{\"version\": 99, \"windows\": []}")}) {
        {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(damage);
        }
        EXPECT_TRUE(store.load(now).empty());
        const QStringList aside = QDir(dir.filePath(QStringLiteral("parqueta")))
                                      .entryList({QStringLiteral("snapped-windows.json.corrupt-*")}, QDir::Files);
        ASSERT_FALSE(aside.isEmpty()) << damage.toStdString();
        QFile replaced(path);
        ASSERT_TRUE(replaced.open(QIODevice::ReadOnly));
        EXPECT_EQ(QJsonDocument::fromJson(replaced.readAll()).object().value("version").toInt(), 1);
        for (const QString& name : aside)
            QFile::remove(dir.filePath(QStringLiteral("parqueta/") + name));
    }
    EXPECT_EQ(log.count(QStringLiteral("moved it aside")), 3) << log.text();
}

// --- The restorer ---------------------------------------------------------------------------

// LEFT and RIGHT, each with zones "1" | "2" | "3". Two terminals started the same way
// (7, 9), an editor (8).
class Restore : public ::testing::Test, protected FakeEngine
{
protected:
    Restore()
    {
        displays.setDisplays({kLeft, kRight});
        for (const Screen& screen : screens.screens()) {
            auto root = SplitNode::create(0, 0, 1280, 1080);
            root->splitAtOffset(SplitType::vertical, 400);
            root->children().at(1)->splitAtOffset(SplitType::vertical, 400);
            auto layout = Layout::create(root, QUuid::createUuid(), screen);
            layouts.save(LayoutList {layout}, screen);
            layouts.setActiveFor(screen, layout);
        }
        left = screens.screens().at(0);
        right = screens.screens().at(1);
    }

    void addWindow(quint32 id, const WindowIdentity& who)
    {
        control.addWindow(id, QRectF(900, 700, 300, 200), who.className).identity = who;
    }
    std::vector<std::shared_ptr<Zone>> zones(const Screen& screen, const QStringList& ids)
    {
        std::vector<std::shared_ptr<Zone>> result;
        for (const auto& zone : layouts.activeFor(screen)->zones())
            if (ids.contains(zone->id()))
                result.push_back(zone);
        return result;
    }
    void snap(quint32 id, const Screen& screen, const QStringList& ids)
    {
        zoneManager.snap(windows.windowFrom(FakeWindowControl::handleFor(id)), zones(screen, ids));
    }
    QRectF frameOf(quint32 id) { return control.frameOf(id).value_or(QRectF()); }
    std::unique_ptr<WindowRestorer> restorer()
    {
        return std::make_unique<WindowRestorer>(
            zoneManager, screens, layouts, windows, windowEvents, settings, dir.filePath("snapped-windows.json"));
    }

    const DisplayInfo kLeft = FakeDisplayServer::display("11111111-1111-1111-1111-111111111111", "LEFT",
        QRectF(0, 0, 1280, 1080));
    const DisplayInfo kRight = FakeDisplayServer::display("22222222-2222-2222-2222-222222222222", "RIGHT",
        QRectF(1280, 0, 1280, 1080));
    const WindowIdentity kTerminal = identity("build", {}, "xterm -T build");
    const WindowIdentity kEditor = identity("● notes.txt - Editor", "editor", {}, "Editor");
    QTemporaryDir dir;
    Screen left;
    Screen right;
};

TEST_F(Restore, WindowsComeBackAfterARestartAReplugAndTheirApplicationsRestartButNotWhenSwitchedOff)
{
    // Session one: three windows snapped, the state written when Parqueta stops.
    auto first = restorer();
    first->start();
    addWindow(7, kTerminal);
    addWindow(9, kTerminal);
    addWindow(8, kEditor);
    snap(7, left, {"1"});
    snap(9, left, {"2"});
    snap(8, right, {"2", "3"});
    const QRectF zone1 = frameOf(7), zone2 = frameOf(9), right23 = frameOf(8);
    first->stop();
    first.reset();

    // Session two: a restarted Parqueta, new windows with the same identities (titles
    // changed as titles do), placed elsewhere; one more record whose zone is gone.
    for (const quint32 id : {7, 9, 8})
        control.close(id);
    zoneManager.removeSnappedWindow(Window(7, nullptr, {}, {}));
    zoneManager.removeSnappedWindow(Window(9, nullptr, {}, {}));
    zoneManager.removeSnappedWindow(Window(8, nullptr, {}, {}));
    WindowIdentity renamedEditor = kEditor;
    renamedEditor.title = QStringLiteral("notes.txt - Editor");
    addWindow(17, kTerminal);
    addWindow(19, kTerminal);
    addWindow(18, renamedEditor);
    addWindow(20, identity("mail", {}, {}, "Mailer"));
    {
        SnappedWindowsStore store(dir.filePath("snapped-windows.json"));
        std::vector<SnappedWindowRecord> records = store.load();
        ASSERT_EQ(records.size(), 3u);
        records.push_back({identity("mail", {}, {}, "Mailer"), left.id(), {"7"}, QDateTime::currentDateTimeUtc()});
        ASSERT_TRUE(store.save(records));
    }
    control.clearCalls();
    auto second = restorer();
    second->start();
    // The two terminals take one record each, not both the same zone.
    EXPECT_TRUE((frameOf(17) == zone1 && frameOf(19) == zone2) || (frameOf(17) == zone2 && frameOf(19) == zone1))
        << ::testing::PrintToString(frameOf(17)) << " " << ::testing::PrintToString(frameOf(19));
    EXPECT_EQ(frameOf(18), right23);
    EXPECT_EQ(frameOf(20), QRectF(900, 700, 300, 200)) << "zone 7 is not in the layout";
    EXPECT_EQ(control.count("focus"), 0) << "restoring never raises a window";
    EXPECT_EQ(second->records().size(), 4u) << "a record whose zones are gone is kept";

    // RIGHT unplugged: its window stays remembered; plugged back, it returns, alone.
    control.moveWindow(18, QPointF(100, 100));
    displays.changeDisplays({kLeft});
    EXPECT_EQ(second->records().size(), 4u);
    control.clearCalls();
    displays.changeDisplays({kLeft, kRight});
    EXPECT_EQ(frameOf(18), right23);
    EXPECT_EQ(control.calls({"setFrame"}).size(), 1) << "only the returning screen's window moves";

    // The terminal's application restarts: its new window goes where the old one stood.
    const QRectF zoneOf17 = frameOf(17);
    control.close(17);
    addWindow(27, identity("build (2)", {}, "xterm -T build"));
    windowEvents.appear(FakeWindowControl::handleFor(27));
    EXPECT_EQ(frameOf(27), zoneOf17);
    // A window that is not one of those gone stays where it opened.
    addWindow(28, kTerminal);
    windowEvents.appear(FakeWindowControl::handleFor(28));
    EXPECT_EQ(frameOf(28), QRectF(900, 700, 300, 200));

    // Dragged out by the user: forgotten, and not put back when RIGHT returns again.
    zoneManager.unsnap(windows.windowFrom(FakeWindowControl::handleFor(18)));
    EXPECT_EQ(second->records().size(), 3u);
    control.moveWindow(18, QPointF(100, 100));
    displays.changeDisplays({kLeft});
    displays.changeDisplays({kLeft, kRight});
    EXPECT_EQ(frameOf(18).topLeft(), QPointF(100, 100));
    second->stop();
    second.reset();

    // Switched off: a restart moves nothing and a window appearing stays put.
    settings.setValue(Keys::restoreSnappedWindows, false);
    for (const quint32 id : {19, 27})
        zoneManager.removeSnappedWindow(Window(id, nullptr, {}, {}));
    control.moveWindow(19, QPointF(50, 50));
    control.clearCalls();
    auto off = restorer();
    off->start();
    windowEvents.appear(FakeWindowControl::handleFor(27));
    EXPECT_EQ(control.count("setFrame"), 0);
    EXPECT_EQ(frameOf(19).topLeft(), QPointF(50, 50));
}

} // namespace
