#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

// One release offered by an update feed.
struct AppcastItem
{
    QString title;
    // sparkle:version: the build's own version, often a plain build number.
    QString version;
    // sparkle:shortVersionString: the version people see; may be empty.
    QString shortVersion;
    // sparkle:channel: empty for everyone, "beta" for those who asked for beta updates.
    QString channel;
    // sparkle:minimumSystemVersion; empty when the release runs everywhere.
    QString minimumSystemVersion;
    // Always https; empty when the feed gave none or gave one that was not.
    QUrl releaseNotesLink;
    // The item's description as plain text, at most Appcast::kLongestNotes characters.
    QString notes;
    // Invalid when the feed gave no date or one that is not an RFC 2822 date.
    QDateTime published;
    // The enclosure: always an https address.
    QUrl downloadUrl;

    // The version to show and compare: the short version when there is one.
    QString displayVersion() const { return shortVersion.isEmpty() ? version : shortVersion; }
    // A beta-channel item, or one whose version carries a pre-release label.
    bool isPrerelease() const;
};

// A Sparkle update feed: RSS 2.0 with the Sparkle namespace, items under rss/channel.
//
// Feeds come from the network, so the reader holds back: a document larger than
// kLargestDocument, nested deeper than kDeepestNesting or declaring a document type
// (DTD) is refused whole; items past kMostItems are ignored. An item without a version
// that reads as one, or without an https enclosure, is dropped with its reason; so is
// one whose short version is not a version. A release-notes link that is not https is
// removed and the item kept: the notes are a courtesy, the download is what matters.
// Descriptions are HTML (or plain text with sparkle:format="plain-text"); they are
// turned into plain text here, by hand, so nothing in them is ever loaded or followed.
struct Appcast
{
    static constexpr qsizetype kLargestDocument = 1024 * 1024;
    static constexpr int kDeepestNesting = 32;
    static constexpr int kMostItems = 500;
    static constexpr qsizetype kLongestNotes = 4000;

    // The usable items, in the feed's order.
    QList<AppcastItem> items;
    // What was dropped or ignored and why, one sentence each.
    QStringList problems;
    // Why the document is not a usable feed at all (not XML, not RSS, cut short); when
    // set, items is empty.
    QString error;

    bool ok() const { return error.isEmpty(); }

    static Appcast parse(const QByteArray& document);
    // HTML as plain text: tags dropped, line breaks at block ends, entities decoded,
    // spaces collapsed, at most kLongestNotes characters.
    static QString plainText(QStringView html);
};
