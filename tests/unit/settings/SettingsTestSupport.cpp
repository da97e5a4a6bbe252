#include "SettingsTestSupport.h"

#include "platform/SettingsLocation.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>

#include <pwd.h>
#include <unistd.h>

ConfigHome::ConfigHome()
    : m_previousXdg(qgetenv("XDG_CONFIG_HOME"))
    , m_hadXdg(qEnvironmentVariableIsSet("XDG_CONFIG_HOME"))
{
    QDir().mkpath(home());
    qputenv("XDG_CONFIG_HOME", home().toLocal8Bit());
}

ConfigHome::~ConfigHome()
{
    if (m_hadXdg)
        qputenv("XDG_CONFIG_HOME", m_previousXdg);
    else
        qunsetenv("XDG_CONFIG_HOME");
}

QString ConfigHome::root() const
{
    return m_root.path();
}

QString ConfigHome::home() const
{
    return m_root.path() + QStringLiteral("/config-%1").arg(m_generation);
}

QString ConfigHome::directory() const
{
    return home() + QStringLiteral("/parqueta");
}

QString ConfigHome::file() const
{
    return directory() + QStringLiteral("/parqueta.json");
}

std::unique_ptr<Settings> ConfigHome::open() const
{
    return std::make_unique<Settings>(createUserSettingsBackend());
}

void ConfigHome::writeFile(const QByteArray& content) const
{
    QDir().mkpath(directory());
    QFile out(file());
    if (out.open(QIODevice::WriteOnly | QIODevice::Truncate))
        out.write(content);
}

QByteArray ConfigHome::readFile() const
{
    QFile in(file());
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

QJsonObject ConfigHome::readJson() const
{
    return QJsonDocument::fromJson(readFile()).object();
}

QStringList ConfigHome::corruptFiles() const
{
    return QDir(directory()).entryList({QStringLiteral("parqueta.json.corrupt-*")}, QDir::Files, QDir::Name);
}

void ConfigHome::relocate()
{
    const QString from = home();
    ++m_generation;
    QDir().rename(from, home());
    qputenv("XDG_CONFIG_HOME", home().toLocal8Bit());
}

namespace {

QStringList* capturedWarnings = nullptr;
QtMessageHandler previousHandler = nullptr;

void captureHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (capturedWarnings && type >= QtWarningMsg && context.category
        && QByteArrayView(context.category).startsWith("parqueta.settings"))
        capturedWarnings->append(message);
    if (previousHandler)
        previousHandler(type, context, message);
}

} // namespace

LogCapture::LogCapture()
{
    capturedWarnings = new QStringList;
    previousHandler = qInstallMessageHandler(captureHandler);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(previousHandler);
    delete capturedWarnings;
    capturedWarnings = nullptr;
}

QStringList LogCapture::warnings() const
{
    return *capturedWarnings;
}

int LogCapture::count(const QString& containing) const
{
    return static_cast<int>(capturedWarnings->filter(containing).size());
}

ReadOnlyDirectory::ReadOnlyDirectory(const QString& directory, const QString& openUpFrom)
    : m_directory(directory)
{
    // Another user must be able to reach and read everything below openUpFrom.
    const auto readable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
    const auto traversable = readable | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    QFile::setPermissions(openUpFrom, traversable);
    QDirIterator it(openUpFrom, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile::setPermissions(path, it.fileInfo().isDir() ? traversable : readable);
    }
    const auto readOnlyDir
        = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    if (!QFile::setPermissions(m_directory, readOnlyDir)) {
        m_failure = QStringLiteral("cannot change the permissions of %1").arg(m_directory);
        return;
    }
    if (geteuid() == 0) {
        const passwd* nobody = getpwnam("nobody");
        const uid_t uid = nobody ? nobody->pw_uid : 65534;
        // The files stay writable for the user; only the directory is closed, so a
        // writer that is not atomic could still overwrite them in place.
        const QStringList files = QDir(m_directory).entryList(QDir::Files | QDir::Hidden);
        for (const QString& name : files) {
            if (chown(QFile::encodeName(m_directory + QLatin1Char('/') + name).constData(), uid, gid_t(-1)) != 0) {
                m_failure = QStringLiteral("cannot hand %1 to the user nobody (chown)").arg(name);
                return;
            }
        }
        if (seteuid(uid) != 0) {
            m_failure = QStringLiteral("running as root and cannot switch the effective user to nobody (seteuid): "
                                       "run the tests as a normal user or with CAP_SETUID");
            return;
        }
        m_droppedRoot = true;
    }
    m_active = true;
}

ReadOnlyDirectory::~ReadOnlyDirectory()
{
    if (m_droppedRoot && seteuid(0) != 0)
        qFatal("could not return to the root user after a read-only directory test");
    QFile::setPermissions(m_directory,
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther
            | QFile::ExeOther);
}
