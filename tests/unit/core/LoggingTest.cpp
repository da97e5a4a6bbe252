#include "core/Logging.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

// The log line people read and the robustness tests search: time, level, source file
// below src/, function without its signature, line and message.
TEST(Logging, LineCarriesTimeLevelFileFunctionLineAndMessage)
{
    const QMessageLogContext context("/home/dev/parqueta/src/managers/ZoneManager.cpp", 412,
        "void ZoneManager::handleCycleSwap(ZoneCycleDirection)", "parqueta.zones");
    const QString line = Logging::formatMessage(QtCriticalMsg, context, QStringLiteral("failed to focus window"));
    EXPECT_TRUE(QRegularExpression(R"(^\d\d:\d\d:\d\d\.\d\d\d ERROR managers/ZoneManager\.cpp )"
                                   R"(ZoneManager::handleCycleSwap:412 - failed to focus window$)")
                    .match(line)
                    .hasMatch())
        << line.toStdString();
}
