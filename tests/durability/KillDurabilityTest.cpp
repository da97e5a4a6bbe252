#include "DurabilityCatalogue.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

namespace {

using DurabilityCatalogue::Variant;

constexpr int kKills = 200;
constexpr int kStartTimeoutMs = 10000;

// Which variant a settings file holds, byte for byte as the store writes it; an error
// text for anything else (missing, empty, unparsable, torn, a mixture).
QString variantInFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1 cannot be opened: %2").arg(path, file.errorString());
    const QByteArray data = file.readAll();
    if (data.isEmpty())
        return QStringLiteral("%1 is empty").arg(path);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return QStringLiteral("%1 (%2 bytes) does not parse: %3 at byte %4")
            .arg(path)
            .arg(data.size())
            .arg(error.errorString())
            .arg(error.offset);
    const QJsonObject stored = document.object();
    for (Variant variant : {Variant::A, Variant::B}) {
        if (stored == DurabilityCatalogue::fileEntries(variant))
            return DurabilityCatalogue::nameOf(variant);
    }
    return QStringLiteral("%1 parses but holds neither variant (keys: %2)")
        .arg(path, stored.keys().join(QStringLiteral(", ")));
}

// Files the store left beside the settings. A write holds "<file>.lock" from before it
// reads the file until the new one is in place (its temporary file is unnamed on Linux),
// so a lock file left behind shows the kill landed mid-write. Files moved aside mean
// the store met a file it could not read.
struct Remains
{
    bool interruptedWrite = false;
    QStringList corrupt;
    QStringList other;
};

Remains remainsIn(const QString& directory)
{
    Remains remains;
    const QStringList names = QDir(directory).entryList(QDir::Files | QDir::Hidden);
    for (const QString& name : names) {
        if (name == QLatin1String("parqueta.json") || name == QLatin1String("parqueta.json.bak"))
            continue;
        if (name == QLatin1String("parqueta.json.lock"))
            remains.interruptedWrite = true;
        else if (name.startsWith(QLatin1String("parqueta.json.corrupt-")))
            remains.corrupt.append(name);
        else
            remains.other.append(name);
    }
    return remains;
}

class Writer final
{
public:
    explicit Writer(const QProcessEnvironment& environment)
    {
        m_process.setProgram(QStringLiteral(PARQUETA_SETTINGS_WRITER_PATH));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
    }
    ~Writer()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(kStartTimeoutMs);
        }
    }

    bool start()
    {
        m_process.start();
        return m_process.waitForStarted(kStartTimeoutMs);
    }

    // The "start" line: what the writer read from the store when it came up.
    QString startLine()
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_process.canReadLine() && timer.elapsed() < kStartTimeoutMs) {
            if (!m_process.waitForReadyRead(100) && m_process.state() == QProcess::NotRunning)
                break;
        }
        if (!m_process.canReadLine())
            return QStringLiteral("(no start line; stderr: %1)")
                .arg(QString::fromLocal8Bit(m_process.readAllStandardError()));
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }

    bool isRunning() const { return m_process.state() == QProcess::Running; }
    QString errors() { return QString::fromLocal8Bit(m_process.readAllStandardError()); }

    void killNow()
    {
        m_process.kill(); // SIGKILL
        m_process.waitForFinished(kStartTimeoutMs);
    }

private:
    QProcess m_process;
};

unsigned seedForThisRun()
{
    const QByteArray fixed = qgetenv("PARQUETA_DURABILITY_SEED");
    return fixed.isEmpty() ? std::random_device {}() : fixed.toUInt();
}

void sleepMicroseconds(long microseconds)
{
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

} // namespace

// The writer stores one whole catalogue after the other through Settings and the file
// backend; SIGKILL lands at random moments, some while it starts up (reading, refreshing
// the backup), most while it writes. Afterwards the file and its backup must each hold
// exactly one variant, and the next start must read what the file holds.
TEST(KillDuringWrites, SettingsFileIsAlwaysWholeAndTheNextStartReadsIt)
{
    const unsigned seed = seedForThisRun();
    SCOPED_TRACE(QStringLiteral("PARQUETA_DURABILITY_SEED=%1").arg(seed).toStdString());
    std::mt19937 random(seed);

    QTemporaryDir config;
    ASSERT_TRUE(config.isValid());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), config.path());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    const QString directory = config.path() + QStringLiteral("/parqueta");
    const QString file = directory + QStringLiteral("/parqueta.json");
    const QString backup = file + QStringLiteral(".bak");

    // How long one write takes decides how long the kills wait, so most land mid-write.
    long writeMicroseconds = 0;
    {
        QProcess timing;
        timing.setProcessEnvironment(environment);
        timing.start(QStringLiteral(PARQUETA_SETTINGS_WRITER_PATH), {QStringLiteral("--time"), QStringLiteral("10")});
        ASSERT_TRUE(timing.waitForFinished(60000));
        ASSERT_EQ(timing.exitCode(), 0) << timing.readAllStandardError().toStdString();
        const QStringList lines = QString::fromUtf8(timing.readAllStandardOutput()).split(QLatin1Char('\n'));
        ASSERT_GE(lines.size(), 2);
        ASSERT_EQ(lines.at(0), QStringLiteral("start none"));
        writeMicroseconds = long(lines.at(1).section(QLatin1Char(' '), 0, 0).toDouble() * 1000);
        ASSERT_GT(writeMicroseconds, 0) << lines.at(1).toStdString();
        std::printf("one write of the catalogue takes %.2f ms\n", double(writeMicroseconds) / 1000);
    }
    QString inFile = variantInFile(file);
    ASSERT_TRUE(inFile == QLatin1String("A") || inFile == QLatin1String("B")) << inFile.toStdString();

    std::uniform_int_distribution<int> startUpKill(0, 3);
    std::uniform_int_distribution<long> startUpDelay(0, 40000);
    std::uniform_int_distribution<long> writeDelay(0, 3 * writeMicroseconds);
    int killsMidWrite = 0;
    int killsWhileStarting = 0;
    for (int kill = 1; kill <= kKills; ++kill) {
        SCOPED_TRACE(QStringLiteral("kill %1").arg(kill).toStdString());
        Writer writer(environment);
        ASSERT_TRUE(writer.start());
        const bool whileStarting = startUpKill(random) == 0;
        if (whileStarting) {
            sleepMicroseconds(startUpDelay(random));
            ++killsWhileStarting;
        } else {
            const QString started = writer.startLine();
            ASSERT_EQ(started, QStringLiteral("start ") + inFile) << writer.errors().toStdString();
            sleepMicroseconds(writeDelay(random));
        }
        ASSERT_TRUE(writer.isRunning()) << "the writer stopped by itself: " << writer.errors().toStdString();
        writer.killNow();

        const Remains remains = remainsIn(directory);
        if (remains.interruptedWrite && !whileStarting)
            ++killsMidWrite;
        ASSERT_TRUE(remains.corrupt.isEmpty()) << "the store found an unreadable file and moved it aside: "
                                               << remains.corrupt.join(QStringLiteral(", ")).toStdString();
        inFile = variantInFile(file);
        ASSERT_TRUE(inFile == QLatin1String("A") || inFile == QLatin1String("B")) << inFile.toStdString();
        if (QFile::exists(backup)) {
            const QString inBackup = variantInFile(backup);
            ASSERT_TRUE(inBackup == QLatin1String("A") || inBackup == QLatin1String("B")) << inBackup.toStdString();
        }
    }

    // The last state is read back by a start that is allowed to finish.
    Writer last(environment);
    ASSERT_TRUE(last.start());
    EXPECT_EQ(last.startLine(), QStringLiteral("start ") + inFile);

    const QStringList litter = remainsIn(directory).other;
    std::printf("%d kills: %d while starting, %d interrupted a write; %lld stray file(s) left: %s\n", kKills,
        killsWhileStarting, killsMidWrite, static_cast<long long>(litter.size()),
        qPrintable(litter.join(QStringLiteral(", "))));
    // Without kills that interrupt writes this test would prove nothing.
    EXPECT_GE(killsMidWrite, (kKills - killsWhileStarting) / 2) << "too few kills landed during a write";
}
