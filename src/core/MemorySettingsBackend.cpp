#include "core/MemorySettingsBackend.h"

#include <utility>

MemorySettingsBackend::MemorySettingsBackend(QVariantMap values)
    : m_values(std::move(values))
{ }

QVariant MemorySettingsBackend::value(const QString& storedKey) const
{
    return m_values.value(storedKey);
}

bool MemorySettingsBackend::contains(const QString& storedKey) const
{
    return m_values.contains(storedKey);
}

void MemorySettingsBackend::setValue(const QString& storedKey, const QVariant& value)
{
    m_values.insert(storedKey, value);
}

void MemorySettingsBackend::remove(const QString& storedKey)
{
    m_values.remove(storedKey);
}

QStringList MemorySettingsBackend::keys() const
{
    return m_values.keys();
}

bool MemorySettingsBackend::sync()
{
    return true;
}
