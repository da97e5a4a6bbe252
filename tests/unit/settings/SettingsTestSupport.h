#pragma once

#include "core/Settings.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// A private XDG_CONFIG_HOME for one test, restored afterwards.
class ConfigHome final
{
public:
    ConfigHome();
    ~ConfigHome();

    QString root() const; // the temporary directory that holds everything
    QString home() const;
    QString directory() const; // <home>/parqueta
    QString file() const; // <home>/parqueta/parqueta.json

    // The store the application would open, through createUserSettingsBackend().
    std::unique_ptr<Settings> open() const;
    void writeFile(const QByteArray& content) const;
    QByteArray readFile() const;
    QJsonObject readJson() const;
    // Files in the settings directory whose name starts with "parqueta.json.corrupt-".
    QStringList corruptFiles() const;

    // Moves the configuration to a path this process has never opened, so the next
    // open() parses the file instead of reusing what QSettings keeps per path.
    void relocate();

private:
    QTemporaryDir m_root;
    int m_generation = 0;
    QByteArray m_previousXdg;
    bool m_hadXdg = false;
};

// Collects the warnings the settings code logs while it lives.
class LogCapture final
{
public:
    LogCapture();
    ~LogCapture();

    QStringList warnings() const;
    int count(const QString& containing) const;
};

// Makes a directory unwritable for this process while it lives; the files in it stay
// writable. Under root, which permissions do not stop, the files are handed to "nobody"
// and the effective user becomes "nobody" for that time.
class ReadOnlyDirectory final
{
public:
    explicit ReadOnlyDirectory(const QString& directory, const QString& openUpFrom);
    ~ReadOnlyDirectory();

    bool active() const { return m_active; }
    QString failure() const { return m_failure; }

private:
    QString m_directory;
    bool m_active = false;
    bool m_droppedRoot = false;
    QString m_failure;
};
