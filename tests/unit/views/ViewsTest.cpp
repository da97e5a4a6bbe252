// The zone overlay, painted offscreen, with the engine faked behind ZoneOverlayEngine:
// which zones light up during a gesture, what its end snaps, what is painted and how the
// window is shaped, and how the factory keeps and reuses windows. That the window system
// leaves it unfocused and click-through is checked on X11.
#include "FakePlatform.h"
#include "SplitTrees.h"
#include "TestSupport.h"
#include "core/MemorySettingsBackend.h"
#include "core/ObserverList.h"
#include "core/Settings.h"
#include "managers/ScreenManager.h"
#include "models/LayoutPresets.h"
#include "views/NumberOutlines.h"
#include "views/ZoneOverlayEngine.h"
#include "views/ZonesOverlayFactory.h"
#include "views/ZonesView.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFontDatabase>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

// Zones "under the pointer" are set by the test; snaps are recorded as zone ids.
class FakeEngine final : public ZoneOverlayEngine
{
public:
    void addGestureObserver(ZoneGestureObserver* observer) override { observers.add(observer); }
    void removeGestureObserver(ZoneGestureObserver* observer) override { observers.remove(observer); }
    bool isCursorInZone(const Zone& zone) const override { return hits.contains(zone.id()); }
    void snap(const WindowPtr& window, const std::vector<std::shared_ptr<Zone>>& zones) override
    {
        QStringList ids;
        for (const auto& zone : zones)
            ids << zone->id();
        snaps << QStringLiteral("#%1 %2").arg(window->id()).arg(ids.join(' '));
    }
    // The pointer is over these zones now, with or without Alt.
    void move(const QStringList& zoneIds, bool multiZone = false)
    {
        hits = zoneIds;
        observers.notify([&](ZoneGestureObserver& o) { o.zoneGestureDidMove(gesture(multiZone)); });
    }
    static ZoneGestureEvent gesture(bool multiZone)
    {
        auto window = std::make_shared<Window>(42, nullptr, WindowApplication {}, QSizeF(300, 200));
        return ZoneGestureEvent {multiZone, WindowDragEvent {window, QRectF(10, 10, 300, 200)}};
    }

    QStringList hits;
    QStringList snaps;
    ObserverList<ZoneGestureObserver> observers;
};

bool waitFor(const std::function<bool()>& condition)
{
    QDeadlineTimer deadline(10000);
    while (!condition() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return condition();
}

// Parked by its shape: the native window's shape lies wholly outside it (an empty one
// would be no shape at all).
bool shapedAway(const ZonesWindow& window)
{
    const QRegion mask = window.windowHandle() ? window.windowHandle()->mask() : QRegion();
    return !mask.isEmpty() && !mask.intersects(window.rect());
}

// `top` at `opacity` over `bottom`, source-over in straight alpha, within 3 per channel.
::testing::AssertionResult isBlend(const QColor& actual, const QColor& top, double opacity, const QColor& bottom)
{
    const double ta = top.alphaF() * opacity, ba = bottom.alphaF(), a = ta + ba * (1 - ta);
    const auto mix = [&](double t, double b) { return (t * ta + b * ba * (1 - ta)) / a; };
    const QColor expected = QColor::fromRgbF(float(mix(top.redF(), bottom.redF())),
        float(mix(top.greenF(), bottom.greenF())), float(mix(top.blueF(), bottom.blueF())), float(a));
    const int off = std::max({std::abs(actual.red() - expected.red()), std::abs(actual.green() - expected.green()),
        std::abs(actual.blue() - expected.blue()), std::abs(actual.alpha() - expected.alpha())});
    if (off <= 3)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << actual.name(QColor::HexArgb).toStdString() << ", expected "
                                         << expected.name(QColor::HexArgb).toStdString();
}

QList<ZonesWindow*> zonesWindows()
{
    QList<ZonesWindow*> found;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* window = qobject_cast<ZonesWindow*>(widget))
            found << window;
    return found;
}

void setPalette(const QColor& window, const QColor& accent = QColor(48, 140, 198))
{
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Highlight, accent);
    QApplication::setPalette(palette);
}

const QColor kAccent {200, 30, 30};
const QColor kHighlight {20, 160, 40};
const QColor kLight {240, 240, 250, 128};
const QColor kDark {10, 10, 30, 128};

// A screen whose visible frame is 600 x 400 (a 40-point panel on its left), cut by the
// three-zone preset: "1" left, "2" top right, "3" bottom right.
class Views : public ::testing::Test
{
protected:
    Views()
    {
        displays.setDisplays({FakeDisplayServer::display(
            "0F3C1B2A-1111-5222-8333-444455556666", "LEFT", QRectF(0, 0, 640, 400), QRectF(40, 0, 600, 400))});
        screen = screens.screens().value(0);
        layout = defaultLayout(DefaultLayoutType::rightT, screen, screens);
        settings.setValue(Keys::useSystemAccentColor, false);
        settings.setValue(Keys::customAccentColor, kAccent);
        settings.setValue(Keys::zoneHighlightColor, kHighlight);
        settings.setValue(Keys::zoneBackgroundLightColor, kLight);
        settings.setValue(Keys::zoneBackgroundDarkColor, kDark);
        setPalette(Qt::white);
        factory.setEngine(&engine);
    }
    ~Views() override
    {
        QApplication::setPalette(m_palette);
        waitFor([] { return true; });
    }

    std::unique_ptr<ZonesWindow> makeWindow()
    {
        return std::make_unique<ZonesWindow>(
            std::make_unique<ZonesViewModel>(screen, layout, engine, settings, screens), QRect(40, 0, 600, 400),
            settings, effects);
    }
    QRect zoneRect(int index) const { return layout->zones().at(size_t(index))->rect().toRect(); }
    // A point inside a zone, clear of its centred number.
    QPoint interior(int index) const { return zoneRect(index).topLeft() + QPoint(20, 20); }
    QColor pixel(QWidget& widget, QPoint at)
    {
        return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32).pixelColor(at);
    }
    // The pointer moves over these zones; a window follows the gesture only while shown.
    void move(ZonesWindow& window, const QStringList& zoneIds)
    {
        engine.hits = zoneIds;
        window.viewModel().zoneGestureDidMove(FakeEngine::gesture(false));
    }
    QStringList highlighted() const
    {
        QStringList ids;
        for (const auto& zone : layout->zones())
            if (zone->highlighted())
                ids << zone->id();
        return ids;
    }

    QPalette m_palette = QApplication::palette();
    FakeDisplayServer displays;
    Settings settings {std::make_unique<MemorySettingsBackend>()};
    ScreenManager screens {displays, settings};
    FakeEngine engine;
    FakeDesktopEffects effects;
    Screen screen;
    std::shared_ptr<Layout> layout;
    // Long enough that a slow (sanitizer) build reuses a kept window before it goes.
    static constexpr int kKeepMs = 300;
    ZonesOverlayFactory factory {screens, settings, effects, kKeepMs};
};

TEST_F(Views, SingleZoneLightsWhatIsUnderThePointerMultiZoneKeepsWhatItCrossedAndTheEndSnapsIt)
{
    ZonesViewModel viewModel(screen, layout, engine, settings, screens);
    QList<int> flips;
    QObject::connect(&viewModel, &ZonesViewModel::zoneHighlightChanged, [&](int i) { flips << i; });
    // -1: a step's flips are all out.
    QObject::connect(&viewModel, &ZonesViewModel::highlightsSettled, [&] { flips << -1; });
    layout->zones()[1]->setHighlighted(true); // left over from an earlier gesture
    viewModel.startMonitoring();
    EXPECT_TRUE(highlighted().isEmpty());
    flips.clear();
    engine.move({"1"});
    engine.move({"2", "3"}); // near the border of 2 and 3, spanning
    EXPECT_EQ(highlighted(), QStringList({"2", "3"}));
    engine.move({});
    engine.move({});
    EXPECT_EQ(flips, QList<int>({0, -1, 0, 1, 2, -1, 1, 2, -1})) << "each flip announced once, then its step";

    engine.move({"3"}, true);
    engine.move({"1"}, true);
    engine.move({}, true);
    EXPECT_EQ(highlighted(), QStringList({"1", "3"}));
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidEnd(FakeEngine::gesture(true), false); });
    EXPECT_EQ(engine.snaps, QStringList {"#42 1 3"}) << "in layout order";
    EXPECT_TRUE(highlighted().isEmpty()) << "no highlight may leak into the next gesture";

    engine.move({"2"});
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidEnd({}, true); });
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidEnd(FakeEngine::gesture(false), false); });
    EXPECT_EQ(engine.snaps.size(), 1) << "cancelled: nothing highlighted any more, nothing snapped";
    viewModel.stopMonitoring();
    EXPECT_TRUE(engine.observers.empty());
}

TEST_F(Views, HighlightIsPaintedHalfOverTheBackdropThatFollowsTheDesktopsPalette)
{
    const auto window = makeWindow();
    move(*window, {"2"});
    EXPECT_TRUE(isBlend(pixel(*window, interior(1)), kHighlight, 0.5, kLight));
    EXPECT_TRUE(isBlend(pixel(*window, interior(0)), kLight, 1, Qt::transparent));
    EXPECT_TRUE(isBlend(pixel(*window, {1, 200}), kAccent, 1, Qt::transparent)) << "border, two pixels wide";
    setPalette(Qt::white, QColor(0, 90, 200));
    settings.setValue(Keys::useSystemAccentColor, true);
    EXPECT_TRUE(isBlend(pixel(*window, interior(1)), QColor(128, 173, 228), 0.5, kLight)) << "half-way to white";

    window->show();
    setPalette(QColor(40, 40, 44));
    EXPECT_TRUE(waitFor([&] { return isBlend(pixel(*window, interior(0)), kDark, 1, Qt::transparent); }));
    setPalette(QColor(236, 236, 236));
    EXPECT_TRUE(waitFor([&] { return isBlend(pixel(*window, interior(0)), kLight, 1, Qt::transparent); }));
}

// Inside the screen's border a highlighted zone is one plain fill of the blended colour:
// it must leave exactly the pixels blending the highlight over what lies there leaves,
// translucent or opaque, and where the zone overlaps the border too.
TEST_F(Views, AHighlightedZoneHoldsExactlyTheBlendedPixels)
{
    for (const bool translucent : {true, false}) {
        SCOPED_TRACE(translucent ? "translucent" : "opaque");
        effects.setTranslucent(translucent);
        const auto window = makeWindow();
        const QImage::Format format = translucent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
        const auto rendered = [&] {
            QImage image(window->size(), format);
            image.fill(Qt::transparent);
            window->view().render(&image);
            return image;
        };
        move(*window, {});
        const QImage plain = rendered();
        move(*window, {"2"});
        const QImage lit = rendered();
        const QPoint onBorder(window->width() - 2, zoneRect(1).center().y());
        ASSERT_TRUE(isBlend(plain.pixelColor(onBorder), kAccent, 1, Qt::transparent)) << "the screen's border";
        for (const QPoint at : {interior(1), onBorder}) {
            QImage expected = plain.copy(QRect(at, QSize(1, 1)));
            QPainter painter(&expected);
            painter.setOpacity(0.5);
            painter.fillRect(expected.rect(), kHighlight);
            painter.end();
            EXPECT_EQ(lit.pixel(at), expected.pixel(0, 0)) << at.x() << "," << at.y();
        }
    }
}

// A flip repaints only its zone, with the zone's number copied from a tile made for
// the zone's look: after any sequence of flips, and after the colours change, the screen
// must hold exactly what a window painted from scratch shows.
TEST_F(Views, AfterHighlightFlipsTheWindowShowsWhatAFreshlyPaintedOneDoes)
{
    // What the window system holds once every pending repaint is done.
    const auto shown = [](ZonesWindow& window) {
        QDeadlineTimer settled(30);
        while (!settled.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return QGuiApplication::primaryScreen()->grabWindow(window.winId()).toImage().copy();
    };
    // Each step painted before the next, as the pointer moves between frames.
    const auto steps = [&](ZonesWindow& window, const QList<QStringList>& zones) {
        for (const QStringList& step : zones) {
            move(window, step);
            shown(window);
        }
    };
    for (const bool translucent : {true, false}) {
        SCOPED_TRACE(translucent ? "translucent" : "shaped");
        effects.setTranslucent(translucent);
        const auto window = makeWindow();
        window->show();
        window->view().repaint();
        steps(*window, {{"2"}, {"1"}, {"3"}, {"1", "3"}});
        settings.setValue(Keys::zoneHighlightColor, QColor(200, 120, 0));
        steps(*window, {{"1", "3"}, {"2"}, {"3"}});
        const QImage flipped = shown(*window);

        window->hide();
        engine.hits.clear();
        const auto fresh = makeWindow();
        fresh->show();
        fresh->view().repaint();
        const QImage unlit = shown(*fresh);
        move(*fresh, {"3"});
        // Shaped, only what the shape lets through is seen: Qt leaves the rest as it was.
        const QRegion seen = translucent ? QRegion(window->rect()) : window->shape();
        ASSERT_EQ(seen, translucent ? QRegion(fresh->rect()) : fresh->shape());
        const QImage painted = shown(*fresh);
        int differ = 0;
        for (const QRect& r : seen)
            for (int y = r.top(); y <= r.bottom(); ++y)
                for (int x = r.left(); x <= r.right(); ++x)
                    differ += painted.pixel(x, y) != flipped.pixel(x, y);
        EXPECT_EQ(differ, 0);
        const QColor lit = flipped.pixelColor(interior(2));
        EXPECT_NE(lit, unlit.pixelColor(interior(2)));
        // Right around its number too, where a tile of the unlit look would leave the
        // bare backdrop: the corners just outside the box the number's ink spans.
        const QRect inside = zoneRect(2).adjusted(2, 2, -2, -2);
        const QColor backdrop = unlit.pixelColor(interior(2));
        QRect ink;
        for (int y = inside.top(); y <= inside.bottom(); ++y)
            for (int x = inside.left(); x <= inside.right(); ++x)
                if (unlit.pixelColor(x, y) != backdrop)
                    ink |= QRect(x, y, 1, 1);
        ASSERT_TRUE(inside.contains(ink.adjusted(-1, -1, 1, 1)));
        const QRect box = ink.adjusted(-1, -1, 1, 1);
        for (const QPoint& corner : {box.topLeft(), box.topRight(), box.bottomLeft(), box.bottomRight()})
            EXPECT_EQ(flipped.pixelColor(corner), lit) << corner.x() << "," << corner.y();

        settings.setValue(Keys::zoneHighlightColor, kHighlight);
    }
}

// Numbers skip the text shaper; they must still come out where the text engine puts
// them, for one digit and several, in frames whose centres fall between pixels, and
// anything but plain digits must take the text engine's way.
TEST(NumberOutlines, PutTheTextEnginesGlyphsWhereItWouldCentredByTheirInk)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(100);
    NumberOutlines numbers(font);
    const QRectF frames[] = {{0, 0, 640, 540}, {10.5, 3.25, 317.3, 99.9}, {-200.7, 1000.1, 33, 41}};
    QStringList texts {QStringLiteral("A1"), QStringLiteral("x2"), QStringLiteral("1 2")};
    for (int n = 1; n <= 64; ++n)
        texts << QString::number(n);
    texts << QStringLiteral("100") << QStringLiteral("907");
    for (const QRectF& frame : frames) {
        for (const QString& text : texts) {
            SCOPED_TRACE(qPrintable(text + QStringLiteral(" in ") + QString::number(frame.x())));
            const QRectF box = QFontMetricsF(font).tightBoundingRect(text);
            QPainterPath expected;
            expected.addText(frame.center().x() - box.width() / 2 - box.left(),
                frame.center().y() - box.height() / 2 - box.top(), font, text);
            const QPainterPath path = numbers.centredIn(text, frame);
            ASSERT_EQ(path.elementCount(), expected.elementCount());
            ASSERT_GT(path.elementCount(), 0);
            double worst = 0;
            for (int i = 0; i < path.elementCount(); ++i) {
                EXPECT_EQ(path.elementAt(i).type, expected.elementAt(i).type);
                worst = std::max({worst, std::abs(path.elementAt(i).x - expected.elementAt(i).x),
                    std::abs(path.elementAt(i).y - expected.elementAt(i).y)});
            }
            EXPECT_LT(worst, 1e-9);
        }
    }
}

TEST_F(Views, WithoutACompositorTheWindowIsSolidAndShapedToWhatItDraws)
{
    effects.setTranslucent(false);
    const auto window = makeWindow();
    window->show();
    EXPECT_FALSE(window->testAttribute(Qt::WA_TranslucentBackground))
        << "the server would blend a 32-bit window itself";
    move(*window, {"2"});
    const QRegion mask = window->shape();
    EXPECT_TRUE(mask.contains(QPoint(0, 200))) << "border";
    EXPECT_TRUE(mask.contains(QPoint(zoneRect(2).left(), 300))) << "zone outline";
    EXPECT_TRUE(mask.contains(interior(1))) << "highlighted fill";
    EXPECT_FALSE(mask.contains(interior(0))) << "the bare backdrop lets the windows beneath show";
    const QRect numberBox(zoneRect(0).center() - QPoint(15, 30), QSize(30, 60));
    EXPECT_FALSE(mask.intersected(numberBox).isEmpty()) << "zone number";
    EXPECT_NE(mask.intersected(numberBox), QRegion(numberBox)) << "shaped like the digit, not a block";
    EXPECT_EQ(pixel(*window, interior(1)).alpha(), 255);
    int reshapes = 0;
    QObject::connect(&window->view(), &ZonesView::paintedRegionChanged, [&] { ++reshapes; });
    move(*window, {"3"});
    EXPECT_EQ(reshapes, 1) << "one new shape for the zone left and the zone entered together";
    EXPECT_TRUE(window->shape().contains(interior(2)));
    EXPECT_FALSE(window->shape().contains(interior(1)));
    ASSERT_NE(window->windowHandle(), nullptr);
    EXPECT_EQ(window->windowHandle()->mask(), window->shape());
    move(*window, {"2"});
    EXPECT_EQ(window->windowHandle()->mask(), window->shape());
    // The digit stands on a plate of the backdrop's colour, so it reads over any window.
    const QImage shot = window->view().grab().toImage();
    int plate = 0;
    for (const QRect& r : mask.intersected(numberBox))
        for (int y = r.top(); y <= r.bottom(); ++y)
            for (int x = r.left(); x <= r.right(); ++x)
                plate += shot.pixelColor(x, y).rgb() == QColor(kLight.rgb()).rgb();
    EXPECT_GT(plate, 20) << "no plate around the number";

    // The shape follows the numbers when the layout changes.
    layout->root()->resizeFirstChild(zoneRect(0).width() - 100);
    const QRect moved(zoneRect(0).center() - QPoint(15, 30), QSize(30, 60));
    ASSERT_FALSE(moved.intersects(numberBox));
    EXPECT_FALSE(window->shape().intersected(moved).isEmpty());
    EXPECT_TRUE(window->shape().intersected(numberBox).isEmpty());

    // Thousands of rectangles (64 zones, every number traced row by row) shape the native
    // window alone: as a widget mask they would also clip every paint.
    for (const SplitNode::Ptr& leaf : std::vector<SplitNode::Ptr>(layout->root()->children()))
        TestTrees::splitAlternating(leaf, 5);
    ASSERT_GT(window->shape().rectCount(), ZonesWindow::kMostRectanglesToClipPaintingTo);
    EXPECT_EQ(window->windowHandle()->mask(), window->shape());
    EXPECT_TRUE(window->mask().isEmpty());

    // A compositor starting now cannot make a window without alpha translucent.
    effects.setTranslucent(true);
    EXPECT_TRUE(window->view().isOpaque());
    EXPECT_FALSE(window->shape().isEmpty());

    // One made with alpha is shaped while the compositor is away, and whole again when
    // it is back, however large its shape was.
    const auto translucent = makeWindow();
    translucent->show();
    effects.setTranslucent(false);
    EXPECT_EQ(translucent->windowHandle()->mask(), translucent->shape());
    EXPECT_FALSE(translucent->shape().isEmpty());
    effects.setTranslucent(true);
    EXPECT_TRUE(translucent->windowHandle()->mask().isEmpty());
}

// The next gesture gets the hidden window back, cleared and following the gesture again;
// anything that changed what it must look like (layout, compositor) gets a new one.
TEST_F(Views, TheFactoryCoversTheVisibleFrameAndReusesAHiddenWindowWhileItStillFits)
{
    std::unique_ptr<OverlayWindow> overlay = factory.createOverlay(screen, layout);
    ASSERT_NE(overlay, nullptr);
    overlay->show();
    ZonesWindow* first = zonesWindows().value(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->geometry(), QRect(40, 0, 600, 400));
    EXPECT_EQ(first->view().geometry(), QRect(0, 0, 600, 400)) << "layout space is the window's own space";
    engine.move({"2"});
    overlay.reset();
    EXPECT_TRUE(engine.observers.empty()) << "a hidden overlay follows no gesture";
    EXPECT_EQ(factory.keptCount(), 1);
    // With a compositor the window stays mapped, out of sight by its opacity and its pixels.
    EXPECT_TRUE(first->isVisible() && first->isParked());
    EXPECT_FALSE(first->isShowing());
    EXPECT_EQ(first->windowOpacity(), 0.0);
    EXPECT_EQ(pixel(first->view(), interior(1)).alpha(), 0);

    engine.hits.clear();
    overlay = factory.createOverlay(screen, layout);
    overlay->show();
    EXPECT_EQ(zonesWindows(), QList<ZonesWindow*> {first});
    EXPECT_TRUE(first->isShowing());
    EXPECT_NE(pixel(first->view(), interior(1)).alpha(), 0) << "the zones are drawn again";
    EXPECT_TRUE(highlighted().isEmpty()) << "the last gesture's highlight is gone";
    EXPECT_TRUE(engine.observers.contains(&first->viewModel()));
    overlay.reset();
    // The compositor goes: transparent pixels would turn black, so the window is unmapped.
    effects.setTranslucent(false);
    EXPECT_FALSE(first->isVisible());
    effects.setTranslucent(true);

    overlay = factory.createOverlay(screen, defaultLayout(DefaultLayoutType::vertical, screen, screens));
    waitFor([] { return true; });
    ASSERT_EQ(zonesWindows().size(), 1);
    ZonesWindow* second = zonesWindows().first();
    EXPECT_NE(second, first) << "another layout, another window";
    overlay.reset();
    EXPECT_TRUE(waitFor([] { return zonesWindows().isEmpty(); })) << "deleted once nobody asked for it";

    // Without a compositor it stays mapped too, with a shape that leaves nothing of it on
    // the screen, and its pixels: coming back is getting its shape back.
    effects.setTranslucent(false);
    overlay = factory.createOverlay(screen, layout);
    overlay->show();
    ZonesWindow* shaped = zonesWindows().value(0);
    ASSERT_NE(shaped, nullptr);
    const QRegion shape = shaped->shape();
    ASSERT_FALSE(shape.isEmpty());
    overlay.reset();
    EXPECT_TRUE(shaped->isVisible() && shaped->isParked());
    EXPECT_TRUE(shapedAway(*shaped));
    EXPECT_NE(pixel(shaped->view(), interior(1)).alpha(), 0) << "nothing to draw again";
    overlay = factory.createOverlay(screen, layout);
    overlay->show();
    EXPECT_EQ(zonesWindows(), QList<ZonesWindow*> {shaped});
    EXPECT_TRUE(shaped->isShowing());
    EXPECT_EQ(shaped->windowHandle()->mask(), shape);
    overlay.reset();
    effects.setTranslucent(true);
    EXPECT_TRUE(shaped->isParked() && shapedAway(*shaped)) << "a compositor coming changes nothing for it";

    displays.setDisplays({});
    EXPECT_EQ(factory.createOverlay(screen, layout), nullptr) << "display unplugged";
}

// A drag has the window made before zone mode comes, and it waits parked: with a
// compositor invisible by its opacity, without one by its shape. The next gesture
// shows that very window; preparing again makes no second one.
TEST_F(Views, APreparedWindowWaitsOutOfSightAndIsTheOneTheNextGestureShows)
{
    for (const bool compositor : {true, false}) {
        SCOPED_TRACE(compositor ? "with a compositor" : "without one");
        effects.setTranslucent(compositor);
        factory.prepareOverlay(screen, layout);
        factory.prepareOverlay(screen, layout);
        ASSERT_EQ(zonesWindows().size(), 1);
        ZonesWindow* prepared = zonesWindows().first();
        EXPECT_EQ(factory.keptCount(), 1);
        EXPECT_FALSE(prepared->isShowing());
        EXPECT_TRUE(engine.observers.empty()) << "it follows no gesture yet";
        EXPECT_TRUE(prepared->isVisible() && prepared->isParked());
        if (compositor) {
            EXPECT_EQ(prepared->windowOpacity(), 0.0);
            EXPECT_EQ(pixel(prepared->view(), interior(1)).alpha(), 0);
        } else {
            EXPECT_NE(prepared->windowHandle(), nullptr);
            const std::unique_ptr<ZonesWindow> plain = makeWindow();
            plain->show();
            EXPECT_FALSE(prepared->shape().isEmpty());
            EXPECT_EQ(prepared->shape(), plain->shape()) << "shaped for the size it will be shown at";
            EXPECT_TRUE(shapedAway(*prepared));
        }
        const QRegion shape = prepared->shape();

        std::unique_ptr<OverlayWindow> overlay = factory.createOverlay(screen, layout);
        overlay->show();
        EXPECT_EQ(zonesWindows(), QList<ZonesWindow*> {prepared});
        EXPECT_TRUE(prepared->isShowing());
        EXPECT_EQ(prepared->windowOpacity(), 0.0) << "fading in from nothing";
        EXPECT_EQ(prepared->shape(), shape);
        EXPECT_EQ(prepared->windowHandle()->mask(), shape);
        EXPECT_NE(pixel(prepared->view(), interior(1)).alpha(), 0);
        EXPECT_TRUE(engine.observers.contains(&prepared->viewModel()));
        overlay.reset();
        EXPECT_TRUE(waitFor([] { return zonesWindows().isEmpty(); }));
    }
}

// The engine drops its overlays inside its own gesture-end callback; the view model,
// notified after it from the same snapshot of observers, must still be alive to snap.
TEST_F(Views, AnOverlayDroppedDuringTheEndNotificationStillSnaps)
{
    struct DroppingEngine final : ZoneGestureObserver
    {
        std::unique_ptr<OverlayWindow> overlay;
        void zoneGestureDidEnd(const ZoneGestureEvent&, bool) override { overlay.reset(); }
    } manager;
    engine.observers.add(&manager);
    manager.overlay = factory.createOverlay(screen, layout);
    manager.overlay->show();
    engine.move({"3"});
    engine.observers.notify([](ZoneGestureObserver& o) { o.zoneGestureDidEnd(FakeEngine::gesture(false), false); });
    EXPECT_EQ(engine.snaps, QStringList {"#42 3"});
    EXPECT_EQ(engine.observers.items().size(), 1u);
}

} // namespace
