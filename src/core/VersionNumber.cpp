#include "core/VersionNumber.h"

#include <QList>

#include <algorithm>

namespace {

constexpr qsizetype kLongestVersion = 64;

struct Parts
{
    QList<QStringView> release;
    QStringView label;
};

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isSeparator(QChar c)
{
    return c == u'.' || c == u'-' || c == u'_' || c == u' ';
}

int sign(int value)
{
    return (value > 0) - (value < 0);
}

// The text less surrounding spaces, build metadata and a "v" in front of the number.
QStringView core(QStringView text)
{
    text = text.trimmed();
    const qsizetype plus = text.indexOf(u'+');
    if (plus >= 0)
        text = text.first(plus).trimmed();
    if (text.size() > 1 && (text.front() == u'v' || text.front() == u'V') && isDigit(text.at(1)))
        text = text.sliced(1);
    return text;
}

Parts split(QStringView text)
{
    Parts parts;
    text = core(text);
    qsizetype i = 0;
    while (i < text.size() && isDigit(text.at(i))) {
        const qsizetype start = i;
        while (i < text.size() && isDigit(text.at(i)))
            ++i;
        parts.release.append(text.sliced(start, i - start));
        // "1.2.x": the release ends where a dot is not followed by a number.
        if (i + 1 < text.size() && text.at(i) == u'.' && isDigit(text.at(i + 1)))
            ++i;
        else
            break;
    }
    while (i < text.size() && isSeparator(text.at(i)))
        ++i;
    parts.label = text.sliced(i);
    return parts;
}

// Runs of digits compared as numbers of any length: converting would overflow.
int compareNumbers(QStringView a, QStringView b)
{
    while (!a.isEmpty() && a.front() == u'0')
        a = a.sliced(1);
    while (!b.isEmpty() && b.front() == u'0')
        b = b.sliced(1);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return sign(a.compare(b));
}

// The next run of digits, or of other characters, at or after i; empty at the end.
QStringView nextPiece(QStringView label, qsizetype& i)
{
    while (i < label.size() && isSeparator(label.at(i)))
        ++i;
    const qsizetype start = i;
    if (i < label.size()) {
        const bool digits = isDigit(label.at(i));
        while (i < label.size() && !isSeparator(label.at(i)) && isDigit(label.at(i)) == digits)
            ++i;
    }
    return label.sliced(start, i - start);
}

int compareLabels(QStringView a, QStringView b)
{
    // No label is the release itself, which comes after all of its pre-releases.
    if (a.isEmpty() || b.isEmpty())
        return a.isEmpty() == b.isEmpty() ? 0 : (a.isEmpty() ? 1 : -1);
    qsizetype i = 0;
    qsizetype j = 0;
    for (;;) {
        const QStringView x = nextPiece(a, i);
        const QStringView y = nextPiece(b, j);
        if (x.isEmpty() || y.isEmpty())
            return x.isEmpty() == y.isEmpty() ? 0 : (x.isEmpty() ? -1 : 1);
        const bool xIsNumber = isDigit(x.front());
        const bool yIsNumber = isDigit(y.front());
        int result = 0;
        if (xIsNumber && yIsNumber)
            result = compareNumbers(x, y);
        else if (xIsNumber != yIsNumber)
            result = xIsNumber ? -1 : 1;
        else
            result = sign(x.compare(y, Qt::CaseInsensitive));
        if (result != 0)
            return result;
    }
}

} // namespace

int VersionNumber::compare(QStringView a, QStringView b)
{
    const Parts left = split(a);
    const Parts right = split(b);
    const qsizetype count = std::max(left.release.size(), right.release.size());
    for (qsizetype k = 0; k < count; ++k) {
        const QStringView x = k < left.release.size() ? left.release.at(k) : QStringView(u"0");
        const QStringView y = k < right.release.size() ? right.release.at(k) : QStringView(u"0");
        if (const int result = compareNumbers(x, y); result != 0)
            return result;
    }
    return compareLabels(left.label, right.label);
}

bool VersionNumber::isPrerelease(QStringView text)
{
    return !split(text).label.isEmpty();
}

bool VersionNumber::isValid(QStringView text)
{
    text = text.trimmed();
    if (text.isEmpty() || text.size() > kLongestVersion)
        return false;
    if (text.front() == u'v' || text.front() == u'V')
        text = text.sliced(1);
    if (text.isEmpty() || !isDigit(text.front()))
        return false;
    return std::all_of(text.begin(), text.end(),
        [](QChar c) { return (c.unicode() < 128 && c.isLetterOrNumber()) || isSeparator(c) || c == u'+'; });
}
