#include "core/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTime>

#include <cstdio>
#include <mutex>

Q_LOGGING_CATEGORY(lcApp, "parqueta.app")
Q_LOGGING_CATEGORY(lcModel, "parqueta.model")
Q_LOGGING_CATEGORY(lcSettings, "parqueta.settings")
Q_LOGGING_CATEGORY(lcScreens, "parqueta.screens")
Q_LOGGING_CATEGORY(lcWindows, "parqueta.windows")
Q_LOGGING_CATEGORY(lcInput, "parqueta.input")
Q_LOGGING_CATEGORY(lcShortcuts, "parqueta.shortcuts")
Q_LOGGING_CATEGORY(lcZones, "parqueta.zones")
Q_LOGGING_CATEGORY(lcOverlay, "parqueta.overlay")
Q_LOGGING_CATEGORY(lcX11, "parqueta.x11")
Q_LOGGING_CATEGORY(lcEditor, "parqueta.editor")
Q_LOGGING_CATEGORY(lcUpdates, "parqueta.updates")

namespace {

const char* levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "DEBUG";
    case QtInfoMsg:
        return "INFO";
    case QtWarningMsg:
        return "WARNING";
    case QtCriticalMsg:
        return "ERROR";
    case QtFatalMsg:
        return "FATAL";
    }
    return "LOG";
}

// Source paths are absolute at compile time; keep the part from "src/" on so the
// line names the area (managers/ZoneManager.cpp) without the build machine's layout.
QString shortFile(const char* file)
{
    if (!file)
        return QStringLiteral("?");
    const QString path = QString::fromUtf8(file);
    const qsizetype at = path.lastIndexOf(QLatin1String("/src/"));
    return at >= 0 ? path.mid(at + 5) : path.section(QLatin1Char('/'), -1);
}

// Q_FUNC_INFO carries return type and parameters; the log wants "Class::function".
QString shortFunction(const char* function)
{
    if (!function)
        return QStringLiteral("?");
    QString f = QString::fromUtf8(function);
    const qsizetype paren = f.indexOf(QLatin1Char('('));
    if (paren > 0)
        f.truncate(paren);
    const qsizetype space = f.lastIndexOf(QLatin1Char(' '));
    if (space >= 0)
        f = f.mid(space + 1);
    while (f.startsWith(QLatin1Char('*')) || f.startsWith(QLatin1Char('&')))
        f.remove(0, 1);
    return f;
}

// A started session's console is often nobody's (autostart): the same lines also go to
// a file the About window names. It is kept small: the previous run's file is moved
// aside once it passes kRotateBytes, and one run writes at most kRunCapBytes.
constexpr qint64 kRotateBytes = 1 << 20;
constexpr qint64 kRunCapBytes = 4 << 20;

struct LogFile
{
    std::mutex mutex;
    std::FILE* file = nullptr;
    qint64 written = 0;
    QString path;
};

LogFile& logFile()
{
    static LogFile instance;
    return instance;
}

void handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const QByteArray line = Logging::formatMessage(type, context, message).toLocal8Bit();
    std::fprintf(stderr, "%s\n", line.constData());
    std::fflush(stderr);
    LogFile& log = logFile();
    // Qt may log from its own threads (network, image loading).
    const std::lock_guard lock(log.mutex);
    if (!log.file)
        return;
    if (log.written + line.size() + 1 > kRunCapBytes) {
        std::fputs("Log capped for this run; the console has the rest\n", log.file);
        std::fclose(log.file);
        log.file = nullptr;
        return;
    }
    std::fprintf(log.file, "%s\n", line.constData());
    std::fflush(log.file);
    log.written += line.size() + 1;
}

} // namespace

namespace Logging {

void install()
{
    // Debug lines are for whoever asks for them; QT_LOGGING_RULES still overrides this.
    QLoggingCategory::setFilterRules(QStringLiteral("parqueta.*.debug=false"));
    qInstallMessageHandler(handler);
}

bool logToFile(const QString& path)
{
    if (path.isEmpty() || !QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    if (QFileInfo(path).size() > kRotateBytes) {
        QFile::remove(path + QStringLiteral(".1"));
        QFile::rename(path, path + QStringLiteral(".1"));
    }
    std::FILE* file = std::fopen(QFile::encodeName(path).constData(), "a");
    if (!file)
        return false;
    LogFile& log = logFile();
    const std::lock_guard lock(log.mutex);
    if (log.file)
        std::fclose(log.file);
    log.file = file;
    log.written = 0;
    log.path = path;
    return true;
}

QString logFilePath()
{
    LogFile& log = logFile();
    const std::lock_guard lock(log.mutex);
    return log.file ? log.path : QString();
}

QString formatMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    return QStringLiteral("%1 %2 %3 %4:%5 - %6")
        .arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")),
             QLatin1String(levelName(type)), shortFile(context.file), shortFunction(context.function))
        .arg(context.line)
        .arg(message);
}

} // namespace Logging
