#include "GestureRun.h"
#include "RootScreenshot.h"
#include "Sections.h"
#include "views/ZonesWindow.h"

#include <cstdio>

// --- Picture ------------------------------------------------------------------------
void savePictures(GestureRun& run)
{
    run.beginDrag();
    // The drag alone, zone mode not yet on: its overlays are being made ready, out of
    // sight. This picture must show the desktop and the dragged window only.
    run.pump(300);
    const QString dragPicture = QString(run.picture).replace(QLatin1String(".png"), QLatin1String("-drag.png"));
    std::printf("Picture of the drag before zone mode %s %s\n",
        RootScreenshot::save(dragPicture) ? "saved to" : "could not be saved to", qPrintable(dragPicture));
    // Zone mode on and off once first: the picture shows the windows kept from an
    // earlier gesture, as every gesture but the first one sees them.
    run.xtest.keyDown(kShift);
    Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= run.screenCount; }, 2000);
    run.pump(50);
    run.zoneModeOff();
    run.pump(100);
    run.xtest.keyDown(kShift);
    Bench::runUntil([&] { return static_cast<int>(visibleOverlays().size()) >= run.screenCount; }, 2000);
    run.xtest.moveTo(qRound(run.targets[1].center.x()), qRound(run.targets[1].center.y()));
    run.pump(ZonesWindow::kFadeInMs + 300);
    const bool saved = RootScreenshot::save(run.picture);
    std::printf(
        "Picture of the overlays %s %s\n", saved ? "saved to" : "could not be saved to", qPrintable(run.picture));
    run.zoneModeOff();
    run.xtest.release(1);
    run.pump(300);
}
