#pragma once

#include "core/Settings.h"


// Two recognisably different, deterministic sets of settings for the kill -9 test: many
// layout blobs on several screens (large enough that writing them takes a moment), the
// active layout of each screen and the gap size. Every write puts one whole variant in
// place; any mixture of the two means a torn file.
namespace DurabilityCatalogue {

inline QMap<QString, QList<QByteArray>> layouts(char variant)
{
    QMap<QString, QList<QByteArray>> catalogue;
    for (int screen = 0; screen < 3; ++screen)
        for (int index = 0; index < 40; ++index)
            catalogue[QStringLiteral("SCREEN-%1-1920x1080").arg(screen)].append(
                QStringLiteral(R"({"id":"%1-%2-%3","root":{"x":0,"y":0,"width":1920,"height":1080,"children":[%4]}})")
                    .arg(variant)
                    .arg(screen)
                    .arg(index)
                    .arg(QStringLiteral(R"({"x":%1,"y":0,"width":960,"height":1080},)").arg(index).repeated(8).chopped(1))
                    .toUtf8());
    return catalogue;
}

inline double gapSize(char variant)
{
    return variant == 'A' ? 8 : 12;
}

inline void write(Settings& settings, char variant)
{
    settings.setBlobLists(Keys::layouts, layouts(variant));
    settings.setStrings(Keys::activeLayouts, {{"SCREEN-0-1920x1080", QStringLiteral("%1-0-0").arg(variant)}});
    settings.setValue(Keys::gapSize, gapSize(variant));
}

// "A" or "B" when the store holds exactly that variant, "none" when it holds nothing.
inline QString identify(const Settings& settings)
{
    for (const char variant : {'A', 'B'})
        if (settings.blobLists(Keys::layouts) == layouts(variant) && settings.value(Keys::gapSize) == gapSize(variant))
            return QString(QLatin1Char(variant));
    return settings.blobLists(Keys::layouts).isEmpty() ? QStringLiteral("none") : QStringLiteral("a mixture");
}

} // namespace DurabilityCatalogue
