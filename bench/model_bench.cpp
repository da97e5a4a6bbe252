// What the model costs on the hot paths: rebuilding zones and borders after an edit,
// hit-testing the zones under the pointer on every drag step, and decoding a screen's
// layout catalogue from the settings store.
//
//   bench_model [Google Benchmark flags, e.g. --benchmark_filter=HitTest]
#include "FakeEngine.h"
#include "SplitTrees.h"
#include "core/FileSettingsBackend.h"
#include "core/MemorySettingsBackend.h"
#include "core/Settings.h"
#include "managers/ScreenCoordinates.h"
#include "models/Layout.h"
#include "models/LayoutBridge.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <random>
#include <vector>

namespace {

const QRectF kFrame(0, 0, 3840, 2160);
const QRectF kVisibleFrame(0, 32, 3840, 2128);

std::shared_ptr<Layout> alternatingLayout(int depth, std::optional<Screen> screen = std::nullopt)
{
    auto root = SplitNode::create(0, 0, kVisibleFrame.width(), kVisibleFrame.height());
    TestTrees::splitAlternating(root, depth);
    return Layout::create(root, QUuid::createUuid(), std::move(screen));
}

// Pointer positions spread over the whole display, the same for every run.
std::vector<QPointF> pointerTrail()
{
    std::mt19937 random(20240601);
    std::uniform_real_distribution<double> x(kFrame.left(), kFrame.right());
    std::uniform_real_distribution<double> y(kFrame.top(), kFrame.bottom());
    std::vector<QPointF> points(1024);
    for (QPointF& point : points)
        point = QPointF(x(random), y(random));
    return points;
}

// A screen's catalogue: 50 layouts of 1 to 64 zones, as the settings store holds them.
QList<QByteArray> catalogueBlobs()
{
    QList<QByteArray> blobs;
    for (int i = 0; i < 50; ++i)
        blobs.append(*LayoutBridge::serialize(alternatingLayout(i % 7)));
    return blobs;
}

qint64 totalSize(const QList<QByteArray>& blobs)
{
    qint64 bytes = 0;
    for (const QByteArray& blob : blobs)
        bytes += blob.size();
    return bytes;
}

const QString kScreenId = QStringLiteral("11111111-1111-1111-1111-111111111111-3840x2160");

// --- Zones and borders ------------------------------------------------------------------

void BM_RecomputeZones64(benchmark::State& state)
{
    const auto layout = alternatingLayout(6);
    for (auto _ : state) {
        layout->recomputeZones();
        benchmark::DoNotOptimize(layout->zones().data());
    }
    state.counters["zones"] = static_cast<double>(layout->zones().size());
    state.counters["borders"] = static_cast<double>(layout->borders().size());
}
BENCHMARK(BM_RecomputeZones64);

// --- Hit testing ------------------------------------------------------------------------
// One op is one pointer position tested against all 64 zones.

// The zone manager's arithmetic alone: pointer into layout space, then the point rule
// (state.range(0) == 0) or the square of autoSpanDistance (40) against each zone.
void BM_HitTest64Pure(benchmark::State& state)
{
    const bool spanning = state.range(0) != 0;
    const auto layout = alternatingLayout(6);
    const std::vector<QPointF> trail = pointerTrail();
    size_t step = 0;
    long hits = 0;
    for (auto _ : state) {
        const QPointF pointer = trail[step++ % trail.size()];
        for (const std::shared_ptr<Zone>& zone : layout->zones()) {
            const QPointF point = ScreenCoordinates::desktopToLayout(pointer, kVisibleFrame);
            if (spanning) {
                const QRectF& rect = zone->rect();
                hits += point.x() - 20 < rect.right() && rect.left() < point.x() + 20 && point.y() - 20 < rect.bottom()
                        && rect.top() < point.y() + 20
                    ? 1
                    : 0;
            } else {
                hits += ScreenCoordinates::frameContains(zone->rect(), point) ? 1 : 0;
            }
        }
    }
    benchmark::DoNotOptimize(hits);
    state.counters["hits/op"] = benchmark::Counter(static_cast<double>(hits), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_HitTest64Pure)->Arg(0)->Arg(1)->ArgName("spanning");

// The whole engine on the test fakes, as the application wires it, on one screen.
struct Engine : FakeEngine
{
    explicit Engine(std::unique_ptr<SettingsBackend> backend)
        : FakeEngine(std::move(backend))
    {
        displays.setDisplays({FakeDisplayServer::display(
            QStringLiteral("11111111-1111-1111-1111-111111111111"), QStringLiteral("BENCH"), kFrame, kVisibleFrame)});
    }
};

// ZoneManager::isCursorInZone itself: per zone it finds the screen under the pointer (which
// reads and decodes the stored screens) and the zone's display, and reads
// spanAdjancedZones and autoSpanDistance. state.range(1): 0 = memory store, 1 = the JSON
// settings file, as the application runs.
void BM_HitTest64ZoneManager(benchmark::State& state)
{
    const bool spanning = state.range(0) != 0;
    QTemporaryDir directory;
    std::unique_ptr<SettingsBackend> backend;
    if (state.range(1) == 0)
        backend = std::make_unique<MemorySettingsBackend>();
    else
        backend = std::make_unique<FileSettingsBackend>(directory.filePath(QStringLiteral("parqueta.json")));
    Engine engine(std::move(backend));
    engine.settings.setValue(Keys::spanAdjancedZones, spanning);
    const auto layout = alternatingLayout(6, engine.screens.screens().at(0));
    const std::vector<QPointF> trail = pointerTrail();
    size_t step = 0;
    long hits = 0;
    for (auto _ : state) {
        engine.displays.setPointer(trail[step++ % trail.size()]);
        for (const std::shared_ptr<Zone>& zone : layout->zones())
            hits += engine.zoneManager.isCursorInZone(*zone) ? 1 : 0;
    }
    benchmark::DoNotOptimize(hits);
    state.counters["hits/op"] = benchmark::Counter(static_cast<double>(hits), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_HitTest64ZoneManager)
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->ArgNames({"spanning", "file"})
    ->Unit(benchmark::kMicrosecond);

// --- Decoding the catalogue ---------------------------------------------------------------
// One op decodes all 50 layouts of one screen.

void BM_DecodeCatalogue50Bridge(benchmark::State& state)
{
    const QList<QByteArray> blobs = catalogueBlobs();
    for (auto _ : state) {
        for (const QByteArray& blob : blobs)
            benchmark::DoNotOptimize(LayoutBridge::deserialize(blob));
    }
    state.SetBytesProcessed(state.iterations() * totalSize(blobs));
}
BENCHMARK(BM_DecodeCatalogue50Bridge)->Unit(benchmark::kMicrosecond);

// Settings::blobLists over the memory store: the map walk and type checks, no JSON.
void BM_DecodeCatalogue50BlobLists(benchmark::State& state)
{
    const QList<QByteArray> blobs = catalogueBlobs();
    Settings settings(std::make_unique<MemorySettingsBackend>());
    settings.setBlobLists(Keys::layouts, {{kScreenId, blobs}});
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.blobLists(Keys::layouts));
    state.SetBytesProcessed(state.iterations() * totalSize(blobs));
}
BENCHMARK(BM_DecodeCatalogue50BlobLists)->Unit(benchmark::kMicrosecond);

// A catalogue read as the layout manager does it: blobLists, then every blob through the
// bridge. state.range(0): 0 = memory store, 1 = the JSON settings file (already loaded).
void BM_DecodeCatalogue50Store(benchmark::State& state)
{
    const QList<QByteArray> blobs = catalogueBlobs();
    QTemporaryDir directory;
    std::unique_ptr<SettingsBackend> backend;
    if (state.range(0) == 0)
        backend = std::make_unique<MemorySettingsBackend>();
    else
        backend = std::make_unique<FileSettingsBackend>(directory.filePath(QStringLiteral("parqueta.json")));
    Settings settings(std::move(backend));
    settings.setBlobLists(Keys::layouts, {{kScreenId, blobs}});
    settings.sync();
    for (auto _ : state) {
        const QMap<QString, QList<QByteArray>> stored = settings.blobLists(Keys::layouts);
        for (const QByteArray& blob : stored.value(kScreenId))
            benchmark::DoNotOptimize(LayoutBridge::deserialize(blob));
    }
    state.SetBytesProcessed(state.iterations() * totalSize(blobs));
}
BENCHMARK(BM_DecodeCatalogue50Store)->Arg(0)->Arg(1)->ArgName("file")->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QList<QByteArray> blobs = catalogueBlobs();
    std::printf("catalogue: %lld layouts, %lld bytes of JSON\n", static_cast<long long>(blobs.size()),
        static_cast<long long>(totalSize(blobs)));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
