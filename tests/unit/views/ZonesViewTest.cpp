// What the overlay paints, pixel by pixel, and what it repaints.
#include "views/ZonesView.h"
#include "ViewsTestSupport.h"
#include "views/ZonesViewModel.h"
#include "views/ZonesWindow.h"

#include <QApplication>
#include <QPaintEvent>

namespace {

void setDesktopPalette(const QColor& window, const QColor& accent = QColor(48, 140, 198))
{
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Highlight, accent);
    QApplication::setPalette(palette);
}

// Keeps the regions of the paints a widget receives.
class PaintLog final : public QObject
{
public:
    explicit PaintLog(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
    QRegion painted;
};

class ZonesViewTest : public ViewsTest
{
protected:
    ZonesViewTest() { setDesktopPalette(Qt::white); }
    ~ZonesViewTest() override { QApplication::setPalette(m_savedPalette); }

    void moveOver(const QStringList& zoneIds)
    {
        engine.hits = zoneIds;
        window.viewModel().zoneGestureDidMove(gestureEvent(false));
    }
    QColor pixel(QPoint at) { return pixelAt(window, at); }

    QPalette m_savedPalette = QApplication::palette();
    ZonesWindow window {std::make_unique<ZonesViewModel>(screen, layout, engine, settings, screens),
        QRect(40, 0, 600, 400), settings, effects};
};

TEST_F(ZonesViewTest, HighlightIsHalfOverTheBackdropWithCustomOrSystemAccent)
{
    moveOver({"2"});
    EXPECT_TRUE(sameColor(pixel(interior(1)), over(kHighlight, 0.5, kLightBackdrop)));
    EXPECT_TRUE(sameColor(pixel(interior(0)), kLightBackdrop));
    EXPECT_TRUE(sameColor(pixel({1, 200}), kAccent)) << "border, two pixels wide";
    EXPECT_TRUE(sameColor(pixel({2, 200}), kLightBackdrop));
    EXPECT_TRUE(sameColor(pixel({zone(2).rect().toRect().left(), 300}), kAccent)) << "zone outline";

    // System accent: the palette's highlight for the border, half-way to white for the fill.
    setDesktopPalette(Qt::white, QColor(0, 90, 200));
    settings.setValue(Keys::useSystemAccentColor, true);
    EXPECT_TRUE(sameColor(pixel({1, 200}), QColor(0, 90, 200)));
    EXPECT_TRUE(sameColor(pixel(interior(1)), over(QColor(128, 173, 228), 0.5, kLightBackdrop)));
}

TEST_F(ZonesViewTest, DarkPaletteSwitchesTheBackdropWhileShown)
{
    window.show();
    pump(50);
    PaintLog paints(window.view());
    setDesktopPalette(QColor(40, 40, 44));
    pump(50);
    EXPECT_FALSE(paints.painted.isEmpty()) << "a palette switch repaints the shown overlay";
    EXPECT_TRUE(sameColor(pixel(interior(0)), kDarkBackdrop));
    setDesktopPalette(QColor(236, 236, 236));
    pump(50);
    EXPECT_TRUE(sameColor(pixel(interior(0)), kLightBackdrop));
}

TEST_F(ZonesViewTest, WithoutCompositorTheWindowIsShapedToWhatItDraws)
{
    effects.setTranslucent(false);
    moveOver({"2"});
    const QRegion mask = window.mask();
    EXPECT_TRUE(mask.contains(QPoint(0, 200))) << "border";
    EXPECT_TRUE(mask.contains(QPoint(zone(2).rect().toRect().left(), 300))) << "zone outline";
    EXPECT_TRUE(mask.contains(interior(1))) << "highlighted fill";
    EXPECT_FALSE(mask.contains(interior(0))) << "bare backdrop lets the windows beneath show";
    EXPECT_FALSE(mask.contains(interior(2)));
    const QRect numberBox(zone(0).rect().toRect().center() - QPoint(60, 60), QSize(120, 120));
    EXPECT_FALSE(mask.intersected(numberBox).isEmpty()) << "zone number";
    EXPECT_NE(mask.intersected(numberBox), QRegion(numberBox)) << "shaped like the digit, not a block";
    EXPECT_EQ(pixel(interior(1)).alpha(), 255) << "painted solid: nothing beneath shows through";

    moveOver({"3"});
    EXPECT_FALSE(window.mask().contains(interior(1)));
    EXPECT_TRUE(window.mask().contains(interior(2)));

    effects.setTranslucent(true); // a compositor started
    EXPECT_TRUE(window.mask().isEmpty());
    EXPECT_LT(pixel(interior(0)).alpha(), 255);
}

TEST_F(ZonesViewTest, ShapeFollowsTheNumbersWhenTheLayoutChanges)
{
    effects.setTranslucent(false);
    const auto numberBox = [&](int index) {
        return QRect(zone(index).rect().toRect().center() - QPoint(15, 30), QSize(30, 60));
    };
    const QRect before = numberBox(0);
    EXPECT_FALSE(window.mask().intersected(before).isEmpty());
    moveOver({"2"}); // reshapes with the numbers it has
    EXPECT_FALSE(window.mask().intersected(before).isEmpty());

    layout->root()->resizeFirstChild(layout->root()->children().at(0)->rect().width() - 100);
    const QRect after = numberBox(0);
    ASSERT_FALSE(after.intersects(before)) << "the test needs the number to move clear of where it was: "
                                           << ::testing::PrintToString(zone(0).rect());
    EXPECT_FALSE(window.mask().intersected(after).isEmpty()) << "the number is cut out where it is drawn now";
    EXPECT_TRUE(window.mask().intersected(before).isEmpty()) << "no outline of the number left where it was";
}

TEST_F(ZonesViewTest, RepaintsOnlyZonesWhoseHighlightFlipped)
{
    window.show();
    pump(ZonesWindow::kFadeInMs + 100);
    PaintLog paints(window.view());
    moveOver({});
    pump(50);
    EXPECT_TRUE(paints.painted.isEmpty()) << "a move that changes nothing paints nothing";

    moveOver({"2"});
    pump(50);
    EXPECT_FALSE(paints.painted.isEmpty());
    EXPECT_TRUE(zone(1).rect().toRect().contains(paints.painted.boundingRect())) << "only zone 2 repainted";
}

} // namespace
