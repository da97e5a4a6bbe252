#include "platform/macos/MacDefaultsSettingsBackend.h"

#include "core/ColorCodec.h"
#include "core/Logging.h"
#include "platform/macos/CFRef.h"

#import <AppKit/AppKit.h>

#include <QDir>

#include <cstring>
#include <limits>
#include <optional>
#include <vector>

namespace {

CFRef<CFStringRef> cfString(const QString& text)
{
    return CFRef<CFStringRef>::adopt(text.toCFString());
}

// Null, after a log line naming the type, for a value no property list can hold.
CFRef<CFPropertyListRef> propertyListOf(const QVariant& value)
{
    using Stored = CFRef<CFPropertyListRef>;
    switch (value.typeId()) {
    case QMetaType::Bool:
        return Stored::retain(value.toBool() ? kCFBooleanTrue : kCFBooleanFalse);
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        if (value.toULongLong() > quint64(std::numeric_limits<qint64>::max()))
            break;
        [[fallthrough]];
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong: {
        const SInt64 number = value.toLongLong();
        return Stored::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &number));
    }
    case QMetaType::Float:
    case QMetaType::Double: {
        const double number = value.toDouble();
        return Stored::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &number));
    }
    case QMetaType::QString:
        return Stored::adopt(value.toString().toCFString());
    case QMetaType::QByteArray:
        return Stored::adopt(value.toByteArray().toCFData());
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        const QVariantList items = value.toList();
        auto array = CFRef<CFMutableArrayRef>::adopt(
            CFArrayCreateMutable(kCFAllocatorDefault, CFIndex(items.size()), &kCFTypeArrayCallBacks));
        for (const QVariant& item : items) {
            const Stored stored = propertyListOf(item);
            if (!stored)
                return {};
            CFArrayAppendValue(array.get(), stored.get());
        }
        return Stored::adopt(array.take());
    }
    case QMetaType::QVariantMap: {
        const QVariantMap entries = value.toMap();
        auto dictionary = CFRef<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(kCFAllocatorDefault,
            CFIndex(entries.size()), &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
            const Stored stored = propertyListOf(entry.value());
            if (!stored)
                return {};
            CFDictionarySetValue(dictionary.get(), cfString(entry.key()).get(), stored.get());
        }
        return Stored::adopt(dictionary.take());
    }
    default:
        break;
    }
    qCWarning(lcSettings) << "The user defaults cannot hold" << value;
    return {};
}

QVariant variantOf(CFPropertyListRef value)
{
    if (!value)
        return {};
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFBooleanGetTypeID())
        return bool(CFBooleanGetValue(static_cast<CFBooleanRef>(value)));
    if (type == CFNumberGetTypeID()) {
        const auto number = static_cast<CFNumberRef>(value);
        if (CFNumberIsFloatType(number)) {
            double real = 0.0;
            CFNumberGetValue(number, kCFNumberDoubleType, &real);
            return real;
        }
        SInt64 integer = 0;
        CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
        return qint64(integer);
    }
    if (type == CFStringGetTypeID())
        return QString::fromCFString(static_cast<CFStringRef>(value));
    if (type == CFDataGetTypeID())
        return QByteArray::fromCFData(static_cast<CFDataRef>(value));
    if (type == CFArrayGetTypeID()) {
        const auto array = static_cast<CFArrayRef>(value);
        QVariantList items;
        for (CFIndex i = 0, count = CFArrayGetCount(array); i < count; ++i)
            items.append(variantOf(CFArrayGetValueAtIndex(array, i)));
        return items;
    }
    if (type == CFDictionaryGetTypeID()) {
        const auto dictionary = static_cast<CFDictionaryRef>(value);
        const CFIndex count = CFDictionaryGetCount(dictionary);
        std::vector<const void*> keys(size_t(count), nullptr);
        std::vector<const void*> values(size_t(count), nullptr);
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        QVariantMap entries;
        for (size_t i = 0; i < keys.size(); ++i) {
            if (!keys[i] || CFGetTypeID(keys[i]) != CFStringGetTypeID()) {
                qCWarning(lcSettings) << "A dictionary in the user defaults has a key that is not text; entry skipped";
                continue;
            }
            entries.insert(QString::fromCFString(static_cast<CFStringRef>(keys[i])), variantOf(values[i]));
        }
        return entries;
    }
    const auto name = CFRef<CFStringRef>::adopt(CFCopyTypeIDDescription(type));
    qCWarning(lcSettings) << "The user defaults hold a value of type" << QString::fromCFString(name.get())
                          << ", which Parqueta does not read";
    return {};
}

// The sRGB list form ColorCodec decodes, for data that is a secure keyed archive of an
// NSColor; absent for any other data.
std::optional<QVariant> archivedColor(CFDataRef data)
{
    NSData* bytes = (__bridge NSData*)data;
    // Keyed archives are binary property lists: other data is not worth unarchiving.
    static constexpr char kBinaryPropertyList[] = "bplist";
    const size_t magicLength = sizeof kBinaryPropertyList - 1;
    if (bytes.length < magicLength || std::memcmp(bytes.bytes, kBinaryPropertyList, magicLength) != 0)
        return std::nullopt;
    NSColor* color = nil;
    @try {
        NSError* error = nil;
        color = [NSKeyedUnarchiver unarchivedObjectOfClass:[NSColor class] fromData:bytes error:&error];
    } @catch (NSException* exception) {
        qCWarning(lcSettings) << "Unreadable archive in the user defaults:" << QString::fromNSString(exception.reason);
        return std::nullopt;
    }
    if (!color)
        return std::nullopt;
    NSColor* srgb = [color colorUsingColorSpace:NSColorSpace.sRGBColorSpace];
    if (!srgb) {
        qCWarning(lcSettings) << "An archived colour in the user defaults has no sRGB form:"
                              << QString::fromNSString(color.description);
        return std::nullopt;
    }
    CGFloat red = 0, green = 0, blue = 0, alpha = 0;
    [srgb getRed:&red green:&green blue:&blue alpha:&alpha];
    return QVariant(QVariantList {QString::fromLatin1(ColorCodec::kColorSpaceName),
        QVariantList {double(red), double(green), double(blue), double(alpha)}});
}

} // namespace

QVariant MacDefaultsSettingsBackend::value(const QString& storedKey) const
{
    const auto stored = CFRef<CFPropertyListRef>::adopt(
        CFPreferencesCopyAppValue(cfString(storedKey).get(), kCFPreferencesCurrentApplication));
    if (stored && CFGetTypeID(stored.get()) == CFDataGetTypeID()) {
        @autoreleasepool {
            if (std::optional<QVariant> color = archivedColor(static_cast<CFDataRef>(stored.get())))
                return *color;
        }
    }
    return variantOf(stored.get());
}

bool MacDefaultsSettingsBackend::contains(const QString& storedKey) const
{
    const auto stored = CFRef<CFPropertyListRef>::adopt(
        CFPreferencesCopyAppValue(cfString(storedKey).get(), kCFPreferencesCurrentApplication));
    return bool(stored);
}

void MacDefaultsSettingsBackend::setValue(const QString& storedKey, const QVariant& value)
{
    const CFRef<CFPropertyListRef> stored = propertyListOf(value);
    if (!stored) {
        qCWarning(lcSettings) << "Not writing" << storedKey << "to the user defaults";
        return;
    }
    CFPreferencesSetAppValue(cfString(storedKey).get(), stored.get(), kCFPreferencesCurrentApplication);
}

void MacDefaultsSettingsBackend::remove(const QString& storedKey)
{
    CFPreferencesSetAppValue(cfString(storedKey).get(), nullptr, kCFPreferencesCurrentApplication);
}

QStringList MacDefaultsSettingsBackend::keys() const
{
    const auto list = CFRef<CFArrayRef>::adopt(
        CFPreferencesCopyKeyList(kCFPreferencesCurrentApplication, kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    QStringList keys;
    for (CFIndex i = 0, count = list ? CFArrayGetCount(list.get()) : 0; i < count; ++i) {
        const CFTypeRef key = CFArrayGetValueAtIndex(list.get(), i);
        if (key && CFGetTypeID(key) == CFStringGetTypeID())
            keys.append(QString::fromCFString(static_cast<CFStringRef>(key)));
    }
    return keys;
}

bool MacDefaultsSettingsBackend::sync()
{
    if (CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication))
        return true;
    qCWarning(lcSettings) << "Cannot write the user defaults to" << location() << "- the settings stay in memory";
    return false;
}

QString MacDefaultsSettingsBackend::location() const
{
    @autoreleasepool {
        QString bundleId = QString::fromNSString(NSBundle.mainBundle.bundleIdentifier);
        if (bundleId.isEmpty())
            bundleId = QStringLiteral("io.github.parqueta.Parqueta");
        return QDir::homePath() + QStringLiteral("/Library/Preferences/") + bundleId + QStringLiteral(".plist");
    }
}
