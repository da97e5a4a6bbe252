#pragma once

#include "core/SettingsBackend.h"

// The application's own domain of the user's defaults (CFPreferences with
// kCFPreferencesCurrentApplication): what `defaults read <bundle id>` shows, kept by
// cfprefsd and written to ~/Library/Preferences/<bundle id>.plist.
//
// Values map to property-list types both ways: bool - CFBoolean, numbers - CFNumber
// (integers read back as qint64, others as double), QString - CFString, QByteArray -
// CFData, QVariantList - CFArray, QVariantMap - CFDictionary with string keys. A value of
// any other type is logged and not written. Older stores keep colours as a keyed archive
// of an NSColor; such a top-level value reads back as the list ColorCodec decodes.
class MacDefaultsSettingsBackend final : public SettingsBackend
{
public:
    QVariant value(const QString& storedKey) const override;
    bool contains(const QString& storedKey) const override;
    void setValue(const QString& storedKey, const QVariant& value) override;
    void remove(const QString& storedKey) override;
    QStringList keys() const override;
    bool sync() override;
    QString location() const override;
};
