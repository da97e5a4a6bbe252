// What putting windows back into their zones costs Parqueta itself, on the platform
// fakes of the test suite (the window server answers at once, so this is the restorer's
// and the zone manager's own time, not the round trips of a real one):
//   - a monitor plugged back with 50 windows remembered on it, all put back;
//   - one window appearing, matched against 50 records and snapped.
//
//   bench_restore [Google Benchmark flags]
#include "FakeEngine.h"
#include "managers/WindowRestorer.h"
#include "models/Layout.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int kWindows = 50;
const QRectF kElsewhere(100, 100, 300, 200);

// LEFT and RIGHT with four zones each; 50 windows of ten applications (five windows
// each, told apart by their titles) snapped on RIGHT, round the zones.
struct Desk : FakeEngine
{
    Desk()
    {
        displays.setDisplays({left, right});
        for (const Screen& screen : screens.screens()) {
            auto root = SplitNode::create(0, 0, 1280, 1080);
            root->splitAtOffset(SplitType::vertical, 320);
            root->children().at(1)->splitAtOffset(SplitType::vertical, 320);
            root->children().at(1)->children().at(1)->splitAtOffset(SplitType::vertical, 320);
            auto layout = Layout::create(root, QUuid::createUuid(), screen);
            layouts.save(LayoutList {layout}, screen);
            layouts.setActiveFor(screen, layout);
        }
        restorer = std::make_unique<WindowRestorer>(zoneManager, screens, layouts, windows, windowEvents, settings,
            directory.filePath(QStringLiteral("snapped-windows.json")));
        restorer->start();
        const Screen screen = screens.screens().at(1);
        const auto zones = layouts.activeFor(screen)->zones();
        for (quint32 id = 1; id <= kWindows; ++id) {
            add(id, id);
            zoneManager.snap(windows.windowFrom(FakeWindowControl::handleFor(id)), {zones.at(id % zones.size())});
        }
        control.clearCalls();
    }
    void add(quint32 id, quint32 like)
    {
        const QString app = QStringLiteral("App%1").arg(like % 10);
        FakeWindowControl::FakeWindow& window = control.addWindow(id, kElsewhere, app);
        window.identity.title = QStringLiteral("document %1 - %2").arg(QChar(u'a' + like / 10)).arg(app);
        window.identity.command = QStringLiteral("/usr/bin/") + app.toLower();
    }

    const DisplayInfo left
        = FakeDisplayServer::display("11111111-1111-1111-1111-111111111111", "LEFT", QRectF(0, 0, 1280, 1080));
    const DisplayInfo right
        = FakeDisplayServer::display("22222222-2222-2222-2222-222222222222", "RIGHT", QRectF(1280, 0, 1280, 1080));
    QTemporaryDir directory;
    std::unique_ptr<WindowRestorer> restorer;
};

void BM_ReplugWith50Windows(benchmark::State& state)
{
    Desk desk;
    for (auto _ : state) {
        state.PauseTiming();
        desk.displays.changeDisplays({desk.left});
        for (quint32 id = 1; id <= kWindows; ++id)
            desk.control.setWindowFrame(id, kElsewhere);
        desk.control.clearCalls();
        state.ResumeTiming();
        desk.displays.changeDisplays({desk.left, desk.right});
    }
    state.counters["restored"] = desk.control.count(QStringLiteral("setFrame"));
}
BENCHMARK(BM_ReplugWith50Windows)->Unit(benchmark::kMicrosecond);

void BM_WindowAppearsAmong50Records(benchmark::State& state)
{
    Desk desk;
    // Window 1's application restarts again and again: each time a new window like it.
    quint32 previous = 1;
    quint32 next = 1000;
    for (auto _ : state) {
        state.PauseTiming();
        desk.control.close(previous);
        desk.add(next, 1);
        desk.control.clearCalls();
        state.ResumeTiming();
        desk.windowEvents.appear(FakeWindowControl::handleFor(next));
        previous = next++;
    }
    state.counters["snapped"] = desk.control.count(QStringLiteral("setFrame"));
}
BENCHMARK(BM_WindowAppearsAmong50Records)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
