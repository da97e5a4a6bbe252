#pragma once

#include <functional>

#include <QString>
#include <QStringList>
#include <QVariant>

// Where settings live. Values are plain QVariants: bool, double, QString, QByteArray,
// QVariantList and QVariantMap (nested freely). The production backend is a file
// (Linux) or the user's defaults domain (macOS); tests use MemorySettingsBackend.
class SettingsBackend
{
public:
    virtual ~SettingsBackend() = default;

    virtual QVariant value(const QString& storedKey) const = 0;
    virtual bool contains(const QString& storedKey) const = 0;
    virtual void setValue(const QString& storedKey, const QVariant& value) = 0;
    virtual void remove(const QString& storedKey) = 0;
    virtual QStringList keys() const = 0;
    // Makes everything written so far durable. Returns false (after logging) when
    // the store cannot be written; the values stay in memory.
    virtual bool sync() = 0;
    // Calls onChanged with the stored keys whose values another program changed while
    // this one runs. Stores that nobody else writes never call it.
    // Where the values live, in words a user can follow to find them (a file's path).
    virtual QString location() const { return {}; }
    virtual void watchExternalChanges(std::function<void(const QStringList& storedKeys)> onChanged)
    {
        Q_UNUSED(onChanged);
    }
};
