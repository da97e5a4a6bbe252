#include "core/Appcast.h"

#include "core/VersionNumber.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <optional>

namespace {

const QString kSparkleNamespace = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

// Titles end up in headings and log lines; a feed has no business sending an essay.
constexpr qsizetype kLongestTitle = 200;
// Anything quoted from the feed in a problem sentence.
constexpr qsizetype kLongestQuote = 80;

// The reader and the one thing QXmlStreamReader does not track for us: how deep it is.
struct FeedReader
{
    QXmlStreamReader xml;
    int depth = 0;
    // Why the document was refused although it is well-formed XML (too deep, a DTD).
    QString refusal;
};

QString quoted(QStringView text)
{
    const QString shown
        = text.size() > kLongestQuote ? text.first(kLongestQuote - 1).toString() + u'…' : text.toString();
    return u'"' + shown + u'"';
}

// One token further, keeping the depth and refusing what a feed may not hold. False at
// the end of the document, at the first XML error and at a refusal.
bool advance(FeedReader& reader)
{
    switch (reader.xml.readNext()) {
    case QXmlStreamReader::StartElement:
        if (++reader.depth > Appcast::kDeepestNesting) {
            reader.refusal = QStringLiteral("it is nested deeper than %1 elements").arg(Appcast::kDeepestNesting);
            return false;
        }
        return true;
    case QXmlStreamReader::EndElement:
        --reader.depth;
        return true;
    case QXmlStreamReader::DTD:
        // Entities a DTD declares are expanded by the reader; a feed needs none.
        reader.refusal = QStringLiteral("it declares a document type (DTD), which an update feed does not need");
        return false;
    case QXmlStreamReader::EndDocument:
    case QXmlStreamReader::Invalid:
        return false;
    default:
        return true;
    }
}

// The text of the element the reader stands on, with that of every element inside it;
// leaves the reader on the element's end.
QString elementText(FeedReader& reader)
{
    QString text;
    const int depth = reader.depth;
    while (advance(reader)) {
        if (reader.xml.isCharacters())
            text += reader.xml.text();
        else if (reader.xml.isEndElement() && reader.depth < depth)
            break;
    }
    return text;
}

void skipElement(FeedReader& reader)
{
    const int depth = reader.depth;
    while (advance(reader)) {
        if (reader.xml.isEndElement() && reader.depth < depth)
            return;
    }
}

// The feed's text for a plain-text description: its own lines, no control characters.
QString plainNotes(QStringView text)
{
    QString notes;
    for (const QChar c : text) {
        if (c == u'\n' || c == u'\t' || (c.unicode() >= 0x20 && c.unicode() != 0x7f))
            notes += c;
    }
    notes = notes.trimmed();
    if (notes.size() > Appcast::kLongestNotes)
        notes = notes.first(Appcast::kLongestNotes - 1) + u'…';
    return notes;
}

// What an item holds as read, before it is checked.
struct RawItem
{
    QString title;
    QString version;
    QString shortVersion;
    QString enclosureVersion;
    QString enclosureShortVersion;
    QString channel;
    QString minimumSystemVersion;
    QString releaseNotesLink;
    QString description;
    bool plainTextDescription = false;
    QString published;
    std::optional<QString> enclosureUrl;
};

void readSparkleField(FeedReader& reader, RawItem& raw)
{
    const QStringView name = reader.xml.name();
    QString* field = nullptr;
    if (name == u"version")
        field = &raw.version;
    else if (name == u"shortVersionString")
        field = &raw.shortVersion;
    else if (name == u"channel")
        field = &raw.channel;
    else if (name == u"minimumSystemVersion")
        field = &raw.minimumSystemVersion;
    else if (name == u"releaseNotesLink")
        field = &raw.releaseNotesLink;
    if (field)
        *field = elementText(reader).trimmed();
    else
        skipElement(reader);
}

void readPlainField(FeedReader& reader, RawItem& raw)
{
    const QStringView name = reader.xml.name();
    if (name == u"title") {
        raw.title = elementText(reader).simplified().left(kLongestTitle);
    } else if (name == u"description") {
        raw.plainTextDescription
            = reader.xml.attributes().value(kSparkleNamespace, QStringLiteral("format")) == u"plain-text";
        raw.description = elementText(reader);
    } else if (name == u"pubDate") {
        raw.published = elementText(reader).trimmed();
    } else if (name == u"enclosure") {
        const QXmlStreamAttributes attributes = reader.xml.attributes();
        if (!raw.enclosureUrl && attributes.hasAttribute(QStringLiteral("url"))) {
            raw.enclosureUrl = attributes.value(QStringLiteral("url")).trimmed().toString();
            raw.enclosureVersion = attributes.value(kSparkleNamespace, QStringLiteral("version")).trimmed().toString();
            raw.enclosureShortVersion
                = attributes.value(kSparkleNamespace, QStringLiteral("shortVersionString")).trimmed().toString();
        }
        skipElement(reader);
    } else {
        skipElement(reader);
    }
}

RawItem readItem(FeedReader& reader)
{
    RawItem raw;
    const int depth = reader.depth;
    while (advance(reader)) {
        if (reader.xml.isEndElement() && reader.depth < depth)
            break;
        if (!reader.xml.isStartElement())
            continue;
        if (reader.xml.namespaceUri().isEmpty())
            readPlainField(reader, raw);
        else if (reader.xml.namespaceUri() == kSparkleNamespace)
            readSparkleField(reader, raw);
        else
            skipElement(reader);
    }
    return raw;
}

bool isHttps(const QUrl& url)
{
    return url.isValid() && url.scheme() == u"https" && !url.host().isEmpty();
}

// The item as the application may use it, or the reason it may not.
std::optional<AppcastItem> checkItem(const RawItem& raw, const QString& label, QStringList& problems)
{
    const auto drop = [&](const QString& reason) {
        problems << QStringLiteral("%1 was dropped: %2.").arg(label, reason);
        return std::nullopt;
    };
    AppcastItem item;
    item.title = raw.title;
    // The item's own elements win over the enclosure's attributes.
    item.version = raw.version.isEmpty() ? raw.enclosureVersion : raw.version;
    item.shortVersion = raw.shortVersion.isEmpty() ? raw.enclosureShortVersion : raw.shortVersion;
    if (item.version.isEmpty() && item.shortVersion.isEmpty())
        return drop(QStringLiteral("it has no version"));
    for (const QString* version : {&item.version, &item.shortVersion}) {
        if (!version->isEmpty() && !VersionNumber::isValid(*version))
            return drop(QStringLiteral("its version %1 is not a version number").arg(quoted(*version)));
    }
    if (!raw.enclosureUrl || raw.enclosureUrl->isEmpty())
        return drop(QStringLiteral("it has no download (no enclosure with a url)"));
    item.downloadUrl = QUrl(*raw.enclosureUrl);
    if (!isHttps(item.downloadUrl))
        return drop(QStringLiteral("its download address %1 is not an https address").arg(quoted(*raw.enclosureUrl)));

    item.channel = raw.channel;
    item.minimumSystemVersion = raw.minimumSystemVersion;
    if (!raw.releaseNotesLink.isEmpty()) {
        const QUrl link(raw.releaseNotesLink);
        if (isHttps(link))
            item.releaseNotesLink = link;
        else
            problems << QStringLiteral("%1 keeps no release-notes link: %2 is not an https address.")
                            .arg(label, quoted(raw.releaseNotesLink));
    }
    if (!raw.published.isEmpty()) {
        item.published = QDateTime::fromString(raw.published, Qt::RFC2822Date);
        if (!item.published.isValid())
            problems << QStringLiteral("%1 has a publication date that is not a date: %2.")
                            .arg(label, quoted(raw.published));
    }
    item.notes = raw.plainTextDescription ? plainNotes(raw.description) : Appcast::plainText(raw.description);
    return item;
}

QString documentError(const FeedReader& reader)
{
    if (!reader.refusal.isEmpty())
        return reader.refusal;
    if (reader.xml.error() == QXmlStreamReader::PrematureEndOfDocumentError)
        return QStringLiteral("it ends too early, as if cut short (line %1)").arg(reader.xml.lineNumber());
    return QStringLiteral("it is not well-formed XML: %1 (line %2, column %3)")
        .arg(reader.xml.errorString())
        .arg(reader.xml.lineNumber())
        .arg(reader.xml.columnNumber());
}

} // namespace

bool AppcastItem::isPrerelease() const
{
    return channel == u"beta" || VersionNumber::isPrerelease(displayVersion()) || VersionNumber::isPrerelease(version);
}

Appcast Appcast::parse(const QByteArray& document)
{
    Appcast feed;
    if (document.size() > kLargestDocument) {
        feed.error = QStringLiteral("it is larger than %1 KB").arg(kLargestDocument / 1024);
        return feed;
    }
    if (document.trimmed().isEmpty()) {
        feed.error = QStringLiteral("it is empty");
        return feed;
    }

    FeedReader reader;
    reader.xml.addData(document);
    bool sawRss = false;
    bool sawChannel = false;
    int itemCount = 0;
    while (advance(reader)) {
        if (!reader.xml.isStartElement())
            continue;
        const QStringView name = reader.xml.name();
        const bool plain = reader.xml.namespaceUri().isEmpty();
        if (reader.depth == 1) {
            if (!plain || name != u"rss") {
                feed.error = QStringLiteral("it is not an RSS feed (it starts with <%1>)")
                                 .arg(reader.xml.qualifiedName().left(kLongestQuote));
                return feed;
            }
            sawRss = true;
        } else if (reader.depth == 2 && plain && name == u"channel") {
            sawChannel = true;
        } else if (reader.depth == 3 && plain && name == u"item" && ++itemCount <= kMostItems) {
            const RawItem raw = readItem(reader);
            // An item the document broke off in is no item: the error below says why.
            if (reader.xml.hasError() || !reader.refusal.isEmpty())
                break;
            const QString label = raw.title.isEmpty() ? QStringLiteral("Item %1").arg(itemCount)
                                                      : QStringLiteral("Item %1").arg(quoted(raw.title));
            if (std::optional<AppcastItem> item = checkItem(raw, label, feed.problems))
                feed.items.append(std::move(*item));
        } else {
            skipElement(reader);
        }
    }

    if (reader.xml.hasError() || !reader.refusal.isEmpty())
        feed.error = documentError(reader);
    else if (!sawRss)
        feed.error = QStringLiteral("it holds no RSS element");
    else if (!sawChannel)
        feed.error = QStringLiteral("it is an RSS document without a channel");
    if (!feed.ok()) {
        feed.items.clear();
        return feed;
    }
    if (itemCount > kMostItems)
        feed.problems << QStringLiteral("The feed has %1 items; those after the first %2 were ignored.")
                             .arg(itemCount)
                             .arg(kMostItems);
    return feed;
}

namespace {

// The named entities release notes use; any other is left as it stands.
QString namedEntity(QStringView name)
{
    struct Entity
    {
        const char16_t* name;
        const char16_t* text;
    };
    static constexpr Entity entities[]
        = {{u"amp", u"&"}, {u"lt", u"<"}, {u"gt", u">"}, {u"quot", u"\""}, {u"apos", u"'"}, {u"nbsp", u" "},
            {u"ndash", u"–"}, {u"mdash", u"—"}, {u"hellip", u"…"}, {u"bull", u"•"}, {u"middot", u"·"}, {u"lsquo", u"‘"},
            {u"rsquo", u"’"}, {u"ldquo", u"“"}, {u"rdquo", u"”"}, {u"copy", u"©"}, {u"reg", u"®"}, {u"trade", u"™"}};
    for (const Entity& entity : entities) {
        if (name == QStringView(entity.name))
            return QString::fromUtf16(entity.text);
    }
    return {};
}

// "&#233;", "&#x1F600;": a character that cannot be shown becomes U+FFFD.
QString numericEntity(QStringView digits)
{
    bool ok = false;
    const bool hex = digits.startsWith(u'x') || digits.startsWith(u'X');
    const uint code = (hex ? digits.sliced(1) : digits).toUInt(&ok, hex ? 16 : 10);
    const bool usable = ok && (code >= 0x20 || code == 0x09 || code == 0x0A) && code <= 0x10FFFF
        && (code < 0xD800 || code > 0xDFFF) && code != 0x7F;
    const char32_t character = usable ? char32_t(code) : char32_t(0xFFFD);
    return QString::fromUcs4(&character, 1);
}

// The end of the tag opened at from ('>' outside quoted attribute values); -1 if none.
qsizetype tagEnd(QStringView html, qsizetype from)
{
    QChar quote;
    for (qsizetype j = from; j < html.size(); ++j) {
        const QChar c = html.at(j);
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u'>') {
            return j;
        }
    }
    return -1;
}

// Text gathered with spaces collapsed and at most one blank line in a row, as it goes,
// so a megabyte of whitespace cannot crowd out the text after it.
struct PlainTextBuilder
{
    QString text;

    void space()
    {
        if (!text.isEmpty() && !text.endsWith(u' ') && !text.endsWith(u'\n'))
            text += u' ';
    }
    void lineBreaks(int wanted)
    {
        while (text.endsWith(u' '))
            text.chop(1);
        if (text.isEmpty())
            return;
        const int have = text.endsWith(u"\n\n") ? 2 : (text.endsWith(u'\n') ? 1 : 0);
        for (int i = have; i < wanted; ++i)
            text += u'\n';
    }
    void append(QStringView characters)
    {
        for (const QChar c : characters) {
            if (c.isSpace())
                space();
            else if (c.unicode() >= 0x20 && c.unicode() != 0x7f)
                text += c;
        }
    }
    void tag(QStringView tag)
    {
        const bool closing = tag.startsWith(u'/');
        QStringView name = closing ? tag.sliced(1) : tag;
        qsizetype length = 0;
        while (length < name.size() && name.at(length).unicode() < 128 && name.at(length).isLetterOrNumber())
            ++length;
        const QString lower = name.first(length).toString().toLower();
        static const QStringList blocks
            = {QStringLiteral("p"), QStringLiteral("div"), QStringLiteral("ul"), QStringLiteral("ol"),
                QStringLiteral("table"), QStringLiteral("tr"), QStringLiteral("blockquote"), QStringLiteral("pre"),
                QStringLiteral("hr"), QStringLiteral("section"), QStringLiteral("h1"), QStringLiteral("h2"),
                QStringLiteral("h3"), QStringLiteral("h4"), QStringLiteral("h5"), QStringLiteral("h6")};
        if (lower == u"br") {
            lineBreaks(1);
        } else if (lower == u"li" && !closing) {
            lineBreaks(1);
            text += QStringLiteral("• ");
        } else if (blocks.contains(lower)) {
            lineBreaks(2);
        } else if (lower == u"td" || lower == u"th") {
            space();
        }
    }
};

} // namespace

QString Appcast::plainText(QStringView html)
{
    PlainTextBuilder out;
    qsizetype i = 0;
    while (i < html.size() && out.text.size() <= kLongestNotes) {
        const QChar c = html.at(i);
        const QChar after = i + 1 < html.size() ? html.at(i + 1) : QChar();
        if (c == u'<' && html.sliced(i).startsWith(u"<!--")) {
            const qsizetype end = html.indexOf(u"-->", i + 4);
            i = end < 0 ? html.size() : end + 3;
        } else if (c == u'<' && (after.isLetter() || after == u'/' || after == u'!' || after == u'?')) {
            const qsizetype end = tagEnd(html, i + 1);
            if (end < 0)
                break;
            const QStringView tag = html.sliced(i + 1, end - i - 1);
            i = end + 1;
            out.tag(tag);
            // What scripts and style sheets hold is not text for a person.
            for (const QStringView hidden : {QStringView(u"script"), QStringView(u"style")}) {
                if (tag.startsWith(hidden, Qt::CaseInsensitive)) {
                    const qsizetype close
                        = html.indexOf(QStringLiteral("</") + hidden.toString(), i, Qt::CaseInsensitive);
                    const qsizetype closeEnd = close < 0 ? -1 : tagEnd(html, close + 2);
                    i = closeEnd < 0 ? html.size() : closeEnd + 1;
                }
            }
        } else if (c == u'&') {
            // Entity names are short: looking further would make a run of stray '&' quadratic.
            const qsizetype semicolon = html.sliced(i, std::min<qsizetype>(html.size() - i, 12)).indexOf(u';') + i;
            const QStringView name = semicolon > i ? html.sliced(i + 1, semicolon - i - 1) : QStringView();
            const QString decoded = name.startsWith(u'#') ? numericEntity(name.sliced(1)) : namedEntity(name);
            out.append(decoded.isEmpty() ? QStringView(u"&") : QStringView(decoded));
            i = decoded.isEmpty() ? i + 1 : semicolon + 1;
        } else {
            out.append(html.sliced(i, 1));
            ++i;
        }
    }
    QString text = out.text.trimmed();
    if (text.size() > kLongestNotes) {
        text.truncate(kLongestNotes - 1);
        if (text.back().isHighSurrogate())
            text.chop(1);
        text += u'…';
    }
    return text;
}
