#include "RobustnessSupport.h"

#include "core/Settings.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

namespace Robustness {

pid_t childNamed(const char* command)
{
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& entry : entries) {
        bool isPid = false;
        const pid_t pid = entry.toInt(&isPid);
        if (!isPid)
            continue;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (comm) state ppid ...": comm may hold spaces, so parse from the last ')'.
        const QByteArray text = stat.readAll();
        const qsizetype open = text.indexOf('(');
        const qsizetype close = text.lastIndexOf(')');
        if (open < 0 || close < open)
            continue;
        const QByteArray name = text.mid(open + 1, close - open - 1);
        const QList<QByteArray> rest = text.mid(close + 2).split(' ');
        if (rest.size() > 1 && name == command && rest.at(1).toInt() == ::getpid())
            return pid;
    }
    return 0;
}

QString settingsProblem(const QString& path, const QStringList& screenIds)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1 cannot be opened: %2").arg(path, file.errorString());
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return QStringLiteral("%1 is not a JSON object: %2").arg(path, error.errorString());
    const QJsonObject layouts = document.object().value(QLatin1String(Keys::layouts.storedKey)).toObject();
    if (layouts.isEmpty())
        return QStringLiteral("%1 holds no layouts").arg(path);
    for (const QString& id : screenIds) {
        if (layouts.value(id).toArray().isEmpty())
            return QStringLiteral("%1 holds no layouts for the screen %2").arg(path, id);
    }
    return {};
}

QString threadStates(pid_t pid)
{
    const auto read = [](const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()).trimmed() : QStringLiteral("?");
    };
    QStringList lines;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString& tid : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString task = tasks + QLatin1Char('/') + tid;
        const QString stat = read(task + QStringLiteral("/stat"));
        const qsizetype close = stat.lastIndexOf(QLatin1Char(')'));
        // The state follows the command name; the first field of `syscall` is the call's
        // number (7 poll, 202 futex, 232 epoll_wait on x86-64), "running" when in none.
        lines << QStringLiteral("  thread %1 %2 state %3, waits in %4, system call %5")
                     .arg(tid, read(task + QStringLiteral("/comm")), close > 0 ? stat.mid(close + 2, 1) : QStringLiteral("?"),
                         read(task + QStringLiteral("/wchan")), read(task + QStringLiteral("/syscall")).section(QLatin1Char(' '), 0, 0));
    }
    return lines.isEmpty() ? QStringLiteral("  (no threads: the process is gone)") : lines.join(QLatin1Char('\n'));
}

bool waitsForEvents(pid_t pid)
{
    QFile wchan(QStringLiteral("/proc/%1/wchan").arg(pid));
    if (!wchan.open(QIODevice::ReadOnly))
        return false;
    const QByteArray waitsIn = wchan.readAll();
    return waitsIn.contains("poll") || waitsIn.contains("select");
}

} // namespace Robustness
