// Writes the settings through the real store (Settings over the user's settings file, as
// the application opens it), alternating the two variants; the kill -9 test kills it at
// random moments.
//   settings_writer            prints "start <what the store held>", then writes forever
//   settings_writer --time N   writes N times and prints the mean time of one write
#include "DurabilityCatalogue.h"
#include "platform/SettingsLocation.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const long writes = arguments.size() == 3 && arguments[1] == "--time" ? arguments[2].toLong() : -1;
    Settings settings(createUserSettingsBackend());
    const QString found = DurabilityCatalogue::identify(settings);
    std::printf("start %s\n", qPrintable(found));
    std::fflush(stdout);
    char next = found == "A" ? 'B' : 'A';
    QElapsedTimer timer;
    timer.start();
    for (long done = 0; writes < 0 || done < writes; ++done) {
        DurabilityCatalogue::write(settings, next);
        if (!settings.sync()) {
            std::fprintf(stderr, "settings_writer: the settings file could not be written\n");
            return 2;
        }
        next = next == 'A' ? 'B' : 'A';
    }
    std::printf("%.2f ms per write\n", double(timer.nsecsElapsed()) / 1e6 / double(std::max(writes, 1L)));
    return 0;
}
