#pragma once

#include <QString>
#include <QStringView>

// Version texts as release feeds write them: "1.10", "0.2.0-beta3", "v1.2", "1.2 rc1".
//
// A text is read as a release made of dot-separated numbers, then an optional
// pre-release label (whatever follows, less a leading "-", "." or "_"), then optional
// build metadata after "+", which is ignored. Numbers compare as numbers of any length,
// so 1.10 > 1.9 and a 40-digit part neither overflows nor wraps; missing numbers count
// as zero, so 1.2 == 1.2.0. A release without a label is greater than the same release
// with one (1.2 > 1.2-beta3). Labels compare piece by piece, a piece being a run of
// digits (compared as a number) or of other characters (compared without regard to
// case): beta10 > beta9, beta > alpha, rc > beta, and a label that is a prefix of
// another is the smaller (beta < beta2).
//
// Every text compares, garbage included ("" reads as 0, "abc" as 0 with the label
// "abc"), and the order is total and the same every time. Nothing here logs: whoever
// reads a version from outside decides with isValid() what to do with a bad one.
class VersionNumber final
{
public:
    VersionNumber() = delete;

    // < 0 when a is older than b, 0 when they name the same version, > 0 when newer.
    static int compare(QStringView a, QStringView b);
    // Whether the text carries a pre-release label ("0.1.0-beta", "2.0rc1").
    static bool isPrerelease(QStringView text);
    // Whether the text looks like a version at all: at most 64 characters, an optional
    // "v", then a digit, and only letters, digits and . - _ + or spaces after it.
    static bool isValid(QStringView text);
};
