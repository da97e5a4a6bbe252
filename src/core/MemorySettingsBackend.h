#pragma once

#include "core/SettingsBackend.h"

#include <QVariantMap>

// Settings that live only as long as this object: for tests and as the last resort
// when no store can be opened.
class MemorySettingsBackend final : public SettingsBackend
{
public:
    MemorySettingsBackend() = default;
    explicit MemorySettingsBackend(QVariantMap values);

    QVariant value(const QString& storedKey) const override;
    bool contains(const QString& storedKey) const override;
    void setValue(const QString& storedKey, const QVariant& value) override;
    void remove(const QString& storedKey) override;
    QStringList keys() const override;
    bool sync() override;

private:
    QVariantMap m_values;
};
