// Kill -9 durability of the settings file: a writer stores whole variants through the
// real store, and is SIGKILLed at random moments, some while it starts up (reading,
// refreshing the backup), most while it writes.
#include "DurabilityCatalogue.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace {

// "A" or "B" when a file holds exactly that variant, byte for byte as the store writes
// it; otherwise what is wrong with it (missing, empty, unparsable, torn, a mixture).
QString variantInFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return path + " cannot be opened";
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (!document.isObject())
        return QStringLiteral("%1 does not parse: %2 at byte %3").arg(path, error.errorString()).arg(error.offset);
    for (const char variant : {'A', 'B'})
        if (document.object() == DurabilityCatalogue::fileEntries(variant))
            return QString(QLatin1Char(variant));
    return path + " holds neither variant";
}

class Writer final
{
public:
    explicit Writer(const QProcessEnvironment& environment, const QStringList& arguments = {})
    {
        m_process.setProcessEnvironment(environment);
        m_process.start(QStringLiteral(PARQUETA_SETTINGS_WRITER_PATH), arguments);
    }
    ~Writer() { killNow(); }
    bool started() { return m_process.waitForStarted(10000); }
    // A line of output: "start <what the store held>" first.
    QString line()
    {
        QDeadlineTimer deadline(30000);
        while (!m_process.canReadLine() && !deadline.hasExpired() && m_process.state() != QProcess::NotRunning)
            m_process.waitForReadyRead(100);
        return m_process.canReadLine() ? QString::fromUtf8(m_process.readLine()).trimmed()
                                       : "(nothing; stderr: " + QString::fromLocal8Bit(m_process.readAllStandardError()) + ")";
    }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    void killNow()
    {
        m_process.kill(); // SIGKILL
        m_process.waitForFinished(10000);
    }

private:
    QProcess m_process;
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
        ASSERT_TRUE(writer.started());
        if (startUpKill(random) == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(startUpDelay(random)));
            ++killsWhileStarting;
        } else {
            ASSERT_EQ(writer.line(), "start " + inFile);
            std::this_thread::sleep_for(std::chrono::microseconds(writeDelay(random)));
        }
        ASSERT_TRUE(writer.isRunning()) << "the writer stopped by itself";
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
