#include "core/Logging.h"
#include "core/ObserverList.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

TEST(Logging, LineCarriesTimeLevelFileFunctionLineAndMessage)
{
    const QMessageLogContext context("/home/dev/parqueta/src/managers/ZoneManager.cpp", 412,
                                     "void ZoneManager::handleCycleSwap(ZoneCycleDirection)", "parqueta.zones");
    const QString line = Logging::formatMessage(QtCriticalMsg, context, QStringLiteral("failed to focus window"));
    const QRegularExpression pattern(QStringLiteral(
        R"(^\d\d:\d\d:\d\d\.\d\d\d ERROR managers/ZoneManager\.cpp ZoneManager::handleCycleSwap:412 - failed to focus window$)"));
    EXPECT_TRUE(pattern.match(line).hasMatch()) << line.toStdString();
}

namespace {
struct Recorder
{
    std::vector<int>* log;
    int tag;
};
} // namespace

TEST(ObserverList, ReRegisteringMovesToTheEndAndRemovalIsByIdentity)
{
    std::vector<int> log;
    Recorder a{&log, 1}, b{&log, 2}, c{&log, 3};
    ObserverList<Recorder> list;
    list.add(&a);
    list.add(&b);
    list.add(&c);
    list.add(&a);
    list.notify([](Recorder& r) { r.log->push_back(r.tag); });
    EXPECT_EQ(log, (std::vector<int>{2, 3, 1}));

    list.remove(&b);
    log.clear();
    list.notify([](Recorder& r) { r.log->push_back(r.tag); });
    EXPECT_EQ(log, (std::vector<int>{3, 1}));
}

TEST(ObserverList, ChangesInsideACallbackTakeEffectWithTheNextNotification)
{
    std::vector<int> log;
    Recorder a{&log, 1}, b{&log, 2};
    ObserverList<Recorder> list;
    list.add(&a);
    list.notify([&](Recorder& r) {
        r.log->push_back(r.tag);
        list.add(&b);
    });
    EXPECT_EQ(log, (std::vector<int>{1}));
    log.clear();
    list.notify([](Recorder& r) { r.log->push_back(r.tag); });
    EXPECT_EQ(log, (std::vector<int>{1, 2}));
}
