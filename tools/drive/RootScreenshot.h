#pragma once

#include <QImage>
#include <QString>

// The whole X screen as the user sees it (what a compositor painted, when one runs),
// read with GetImage on the root window over a connection of its own.
class RootScreenshot final
{
public:
    // A null image when the server cannot be reached or the visual is not 24/32-bit.
    static QImage take();
    // take() saved as PNG; false when either step fails.
    static bool save(const QString& path);
};
