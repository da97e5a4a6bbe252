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

} // namespace Robustness
