// An update feed as it arrives from the network: whatever the bytes, reading them never
// crashes, and every item that comes out is one the updater may offer. The same bytes,
// taken as lines of text, are compared as versions, whose order must stay an order.
#include "FuzzSupport.h"
#include "core/Appcast.h"
#include "core/VersionNumber.h"

namespace {

int sign(int value)
{
    return (value > 0) - (value < 0);
}

void checkItem(const AppcastItem& item)
{
    Fuzz::check(item.downloadUrl.scheme() == QLatin1String("https") && !item.downloadUrl.host().isEmpty(),
        "every download is an https address");
    Fuzz::check(item.releaseNotesLink.isEmpty() || item.releaseNotesLink.scheme() == QLatin1String("https"),
        "a release-notes link is https or absent");
    Fuzz::check(VersionNumber::isValid(item.displayVersion()), "an item's version reads as a version");
    Fuzz::check(item.notes.size() <= Appcast::kLongestNotes, "notes are capped");
}

void checkOrder(const QStringList& versions)
{
    for (const QString& a : versions) {
        Fuzz::check(VersionNumber::compare(a, a) == 0, "a version equals itself");
        for (const QString& b : versions) {
            const int ab = sign(VersionNumber::compare(a, b));
            Fuzz::check(ab == -sign(VersionNumber::compare(b, a)), "comparing is antisymmetric");
            for (const QString& c : versions) {
                if (ab <= 0 && VersionNumber::compare(b, c) <= 0)
                    Fuzz::check(VersionNumber::compare(a, c) <= 0, "comparing is transitive");
            }
        }
    }
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
    const Appcast feed = Appcast::parse(bytes);
    Fuzz::check(feed.ok() || feed.items.isEmpty(), "a refused feed offers nothing");
    Fuzz::check(feed.items.size() <= Appcast::kMostItems, "the item count is capped");
    for (const AppcastItem& item : feed.items)
        checkItem(item);

    const QString text = QString::fromUtf8(bytes);
    Fuzz::check(Appcast::plainText(text).size() <= Appcast::kLongestNotes, "plain text is capped");
    QStringList versions = text.left(512).split(QLatin1Char('\n'));
    versions.resize(std::min<qsizetype>(versions.size(), 8));
    for (const AppcastItem& item : feed.items.mid(0, 4))
        versions << item.displayVersion();
    checkOrder(versions);
    return 0;
}
