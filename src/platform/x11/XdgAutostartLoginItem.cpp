#include "platform/x11/XdgAutostartLoginItem.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

// How a desktop entry's Exec line quotes a path: one with reserved characters goes in
// double quotes, with ", `, $ and \ escaped by a backslash.
QString quotedForExec(const QString& path)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    if (std::none_of(path.begin(), path.end(), [](QChar c) { return reserved.contains(c); }))
        return path;
    QString quoted;
    for (const QChar c : path) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') || c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        quoted += c;
    }
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace

XdgAutostartLoginItem::XdgAutostartLoginItem(QString executable, QString autostartDir)
    : m_executable(std::move(executable))
    , m_autostartDir(std::move(autostartDir))
{
    if (m_autostartDir.isEmpty())
        m_autostartDir
            = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/autostart");
}

QString XdgAutostartLoginItem::entryPath() const
{
    return m_autostartDir + QLatin1Char('/') + QLatin1String(kEntryName);
}

QByteArray XdgAutostartLoginItem::entry() const
{
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=Parqueta\n"
                                        "Comment=Snap windows into zones\n"
                                        "Exec=%1 --login-item\n"
                                        "Icon=io.github.parqueta.Parqueta\n"
                                        "Terminal=false\n"
                                        "X-GNOME-Autostart-enabled=true\n")
                             .arg(quotedForExec(m_executable));
    return text.toUtf8();
}

bool XdgAutostartLoginItem::setEnabled(bool enabled, QString& error)
{
    if (!enabled) {
        QFile file(entryPath());
        if (file.exists() && !file.remove()) {
            error = QStringLiteral("cannot remove %1: %2").arg(entryPath(), file.errorString());
            return false;
        }
        return true;
    }
    if (!QDir().mkpath(m_autostartDir)) {
        error = QStringLiteral("cannot create %1").arg(m_autostartDir);
        return false;
    }
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(entry()) < 0 || !file.commit()) {
        error = QStringLiteral("cannot write %1: %2").arg(entryPath(), file.errorString());
        return false;
    }
    return true;
}

bool XdgAutostartLoginItem::isEnabled() const
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // An entry the user turned off in the desktop's own settings does not start anything.
    const QByteArray text = file.readAll();
    return !text.contains("\nHidden=true") && !text.contains("\nX-GNOME-Autostart-enabled=false");
}
