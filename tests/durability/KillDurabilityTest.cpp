// Kill -9 durability of the settings file: a writer stores whole variants through the
// real store, and is SIGKILLed at random moments, some while it starts up (reading,
// refreshing the backup), most while it writes.
#include "DurabilityCatalogue.h"
#include "TestSupport.h"
#include "core/FileSettingsBackend.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace {

// "A" or "B" when a file holds exactly that variant, read through the store on a copy
// (the store would put a backup in place of a damaged original); anything else says
// what is wrong with it.
QString variantInFile(const QString& path)
{
    static QTemporaryDir elsewhere;
    static int copies = 0;
    const QString copy = QStringLiteral("%1/copy-%2.json").arg(elsewhere.path()).arg(++copies);
    if (!QFile::copy(path, copy))
        return path + " cannot be copied";
    TestLog log;
    const QString found = DurabilityCatalogue::identify(Settings(std::make_unique<FileSettingsBackend>(copy)));
    QFile::remove(copy);
    return log.count("cannot be read") ? path + " cannot be read: " + QString::fromStdString(log.text()) : found;
}

// The writer process; it is SIGKILLed when it goes out of scope.
struct Writer final : QProcess
{
    explicit Writer(const QProcessEnvironment& environment, const QStringList& arguments = {})
    {
        setProcessEnvironment(environment);
        start(QStringLiteral(PARQUETA_SETTINGS_WRITER_PATH), arguments);
    }
    ~Writer() override { killNow(); }
    // A line of output: "start <what the store held>" first.
    QString line()
    {
        QDeadlineTimer deadline(30000);
        while (!canReadLine() && !deadline.hasExpired() && state() != QProcess::NotRunning)
            waitForReadyRead(100);
        return canReadLine() ? QString::fromUtf8(readLine()).trimmed() : "(nothing; stderr: " + readAllStandardError() + ")";
    }
    void killNow()
    {
        kill();
        waitForFinished(10000);
    }
};

} // namespace

TEST(KillDuringWrites, TheSettingsFileIsAlwaysWholeAndTheNextStartReadsIt)
{
    const QByteArray fixedSeed = qgetenv("PARQUETA_DURABILITY_SEED");
    const unsigned seed = fixedSeed.isEmpty() ? std::random_device {}() : fixedSeed.toUInt();
    SCOPED_TRACE("PARQUETA_DURABILITY_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    QTemporaryDir config;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_CONFIG_HOME", config.path());
    const QString directory = config.path() + "/parqueta";
    const QString file = directory + "/parqueta.json";

    // How long one write takes decides how long the kills wait, so most land mid-write.
    Writer timing(environment, {"--time", "10"});
    ASSERT_EQ(timing.line(), "start none");
    const long writeMicroseconds = long(timing.line().section(' ', 0, 0).toDouble() * 1000);
    ASSERT_GT(writeMicroseconds, 0);
    QString inFile = variantInFile(file);

    std::uniform_int_distribution<int> startUpKill(0, 3);
    std::uniform_int_distribution<long> startUpDelay(0, 40000);
    std::uniform_int_distribution<long> writeDelay(0, 3 * writeMicroseconds);
    int killsMidWrite = 0, killsWhileStarting = 0;
    for (int kill = 1; kill <= 200; ++kill) {
        SCOPED_TRACE("kill " + std::to_string(kill));
        Writer writer(environment);
        ASSERT_TRUE(writer.waitForStarted(10000));
        if (startUpKill(random) == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(startUpDelay(random)));
            ++killsWhileStarting;
        } else {
            ASSERT_EQ(writer.line(), "start " + inFile);
            std::this_thread::sleep_for(std::chrono::microseconds(writeDelay(random)));
        }
        ASSERT_EQ(writer.state(), QProcess::Running) << "the writer stopped by itself";
        writer.killNow();
        // A write holds "<file>.lock" from before it reads the file until the new one is
        // in place: a lock left behind shows the kill landed mid-write.
        killsMidWrite += QFile::exists(file + ".lock") ? 1 : 0;
        ASSERT_TRUE(QDir(directory).entryList({"parqueta.json.corrupt-*"}).isEmpty()) << "an unreadable file was moved aside";
        inFile = variantInFile(file);
        ASSERT_TRUE(inFile == "A" || inFile == "B") << inFile.toStdString();
        if (QFile::exists(file + ".bak")) {
            const QString inBackup = variantInFile(file + ".bak");
            ASSERT_TRUE(inBackup == "A" || inBackup == "B") << inBackup.toStdString();
        }
    }
    Writer last(environment);
    EXPECT_EQ(last.line(), "start " + inFile) << "the next start reads what the file holds";
    // Without kills that interrupt writes this test would prove nothing.
    EXPECT_GE(killsMidWrite, (200 - killsWhileStarting) / 2) << "too few kills landed during a write";
}
