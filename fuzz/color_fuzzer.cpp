// A stored colour in every shape the settings file can hand over: the JSON value as it
// parses, the raw bytes as an archived blob, and "base64:" text as the file backend
// decodes it.
#include "FuzzSupport.h"
#include "core/ColorCodec.h"
#include "core/FileSettingsBackend.h"

#include <QJsonDocument>
#include <QJsonValue>

namespace {

void decodeAndStoreAgain(const QVariant& stored)
{
    const std::optional<QColor> color = ColorCodec::decode(stored);
    if (!color)
        return;
    Fuzz::check(color->isValid(), "a decoded colour is valid");
    const std::optional<QColor> again = ColorCodec::decode(ColorCodec::encode(*color));
    Fuzz::check(again.has_value(), "a decoded colour can be stored and read back");
    if (stored.typeId() == QMetaType::QVariantList)
        Fuzz::check(again->rgba64() == color->rgba64(), "a listed colour survives storing");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::quietLogs();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = Fuzz::bytes(data, size);
    decodeAndStoreAgain(bytes);

    // A whole document, so a top-level array is the listed form.
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (document.isArray())
        decodeAndStoreAgain(document.toVariant());

    // A blob in the file: the text after the tag is base64.
    const QByteArray tag(FileSettingsBackend::kBinaryTag);
    if (bytes.startsWith(tag)) {
        const auto blob = QByteArray::fromBase64Encoding(bytes.mid(tag.size()), QByteArray::AbortOnBase64DecodingErrors);
        if (blob)
            decodeAndStoreAgain(*blob);
    }
    return 0;
}
