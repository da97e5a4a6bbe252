#include "views/ZonesWindow.h"

#include "core/Logging.h"
#include "platform/DesktopEffects.h"
#include "views/DesktopGeometry.h"
#include "views/ZonesView.h"
#include "views/ZonesViewModel.h"

#include <QAbstractEventDispatcher>
#include <QBackingStore>
#include <QCoreApplication>
#include <QPropertyAnimation>
#include <QWindow>

#include <utility>

ZonesWindow::ZonesWindow(std::unique_ptr<ZonesViewModel> viewModel, const QRect& frame, const Settings& settings,
    const DesktopEffects& effects, QWidget* parent)
    : QWidget(parent,
        // Override-redirect (bypassing the window manager) is what makes it click-through
        // on X11: a managed tool window gets a frame that swallows clicks and shows up in
        // task bars.
        Qt::FramelessWindowHint | Qt::WindowTransparentForInput | Qt::WindowStaysOnTopHint
            | Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint | Qt::Tool)
    , m_desktopFrame(frame)
    , m_effects(effects)
    , m_viewModel(viewModel.release())
    , m_view(new ZonesView(*m_viewModel, settings, this))
    , m_fadeIn(new QPropertyAnimation(this, "windowOpacity", this))
{
    m_viewModel->setParent(this);
    // An alpha channel only where a compositor blends it. Without one the X server
    // composites a 32-bit window into its 24-bit parent by itself, in software, on every
    // repaint: measurably slower to appear and to follow the pointer. The visual is fixed
    // when the native window is created; a compositor that starts later finds this
    // window opaque and shaped, the next overlay translucent.
    setAttribute(Qt::WA_TranslucentBackground, effects.overlaysCanBeTranslucent());
    // The view covers the window and sets every pixel it paints: a background filled
    // beneath it first would be a second fill of every repainted zone.
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(QStringLiteral("Parqueta zones"));

    // Qt places windows in its own logical pixels, which differ from the window
    // manager's at any device-pixel ratio but 1.
    setGeometry(DesktopGeometry::toLogical(frame));
    m_view->setGeometry(rect());

    m_fadeIn->setDuration(kFadeInMs);
    m_fadeIn->setStartValue(0.0);
    m_fadeIn->setEndValue(1.0);

    connect(m_view, &ZonesView::paintedRegionChanged, this, &ZonesWindow::updateMask);
    // A paint overwrites what keepPixelsAside() drew (its own too, which sets the flag
    // again once done); a parked window then draws them again.
    connect(m_view, &ZonesView::painting, this, [this] {
        m_pixelsAside = false;
        if (m_parking == Parking::ByOpacity)
            keepPixelsAsideWhenIdle();
    });
    connect(&effects, &DesktopEffects::overlaysCanBeTranslucentChanged, this, &ZonesWindow::setTranslucent);
    setTranslucent(effects.overlaysCanBeTranslucent());
}

ZonesWindow::~ZonesWindow()
{
    m_viewModel->stopMonitoring();
}

const Screen& ZonesWindow::screen() const
{
    return m_viewModel->screen();
}

const std::shared_ptr<Layout>& ZonesWindow::layout() const
{
    return m_viewModel->layout();
}

void ZonesWindow::appear()
{
    if (m_parking == Parking::None) {
        show();
        return;
    }
    const Parking parking = std::exchange(m_parking, Parking::None);
    const bool pixelsAside = std::exchange(m_pixelsAside, false);
    qCDebug(lcOverlay) << "Zone overlay of" << screen().name() << "back from parking"
                       << (pixelsAside ? "with its pixels" : "");
    if (parking == Parking::ByOpacity)
        m_view->setBlank(false, pixelsAside ? ZonesView::Redraw::Later : ZonesView::Redraw::Now);
    else
        updateMask();
    // Another override-redirect window (a menu, a tooltip) may have been mapped since.
    raise();
    startShowing();
    if (!pixelsAside)
        return;
    // The zones whose highlight the gesture changed are painted first: painting after
    // the pixels went out would wait for the server to have read them.
    QCoreApplication::sendPostedEvents(this, QEvent::UpdateRequest);
    if (QBackingStore* store = backingStore())
        store->flush(QRegion(rect()), windowHandle());
    Q_EMIT cameBackWithKeptPixels();
}

void ZonesWindow::disappear()
{
    if (!isVisible() || m_parking != Parking::None)
        return;
    stopShowing();
    park();
}

void ZonesWindow::park()
{
    // Only a compositor hides a window by its opacity; then its pixels go transparent
    // too, in case one ignores the opacity. Without one the overlay is opaque and shaped,
    // and a shape that lies wholly outside the window leaves nothing of it on the screen
    // and nothing for the server to clip other windows by, while Qt keeps its pixels:
    // coming back is the server exposing the shape again and Qt sending what it has.
    if (testAttribute(Qt::WA_TranslucentBackground) && m_effects.overlaysCanBeTranslucent()) {
        m_parking = Parking::ByOpacity;
        setWindowOpacity(0.0);
        m_view->setBlank(true);
        m_pixelsAside = false;
        keepPixelsAsideWhenIdle();
        return;
    }
    m_parking = Parking::ByShape;
    updateMask();
}

void ZonesWindow::prepare()
{
    if (isVisible() || windowHandle())
        return;
    create();
    // Rendering once delivers the resize events a first show would, so the shape traced
    // below is the one the window keeps; it draws the number tiles, and it writes every
    // page of the new backing store, whose first touch is what makes a new window's
    // first paint slow.
    QBackingStore* store = backingStore();
    store->resize(size());
    const QRegion all(rect());
    store->beginPaint(all);
    render(store->paintDevice(), QPoint(), all);
    store->endPaint();
    // Out of sight before it is mapped: the compositor reads the opacity at the map.
    park();
    show();
}

void ZonesWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (QWindow* window = windowHandle()) {
        // See eventFilter().
        window->installEventFilter(this);
        // Before the window is mapped: it must never show unshaped.
        updateMask();
        m_effects.placeExactly(*window, m_desktopFrame);
    }
    // A window prepared parked stays off duty until it is asked to appear.
    if (m_parking == Parking::None)
        startShowing();
}

void ZonesWindow::hideEvent(QHideEvent* event)
{
    stopShowing();
    m_parking = Parking::None;
    m_pixelsAside = false;
    m_view->setBlank(false);
    QWidget::hideEvent(event);
}

void ZonesWindow::startShowing()
{
    m_viewModel->startMonitoring();
    setWindowOpacity(0.0);
    m_fadeIn->start();
}

void ZonesWindow::stopShowing()
{
    m_fadeIn->stop();
    m_viewModel->stopMonitoring();
}

void ZonesWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_view->setGeometry(rect());
}

void ZonesWindow::setTranslucent(bool translucent)
{
    // Without a compositor transparent pixels come out black and would hide every window
    // beneath: draw solid instead and cut the window down to what carries information.
    qCDebug(lcOverlay) << "Zone overlay of" << screen().name() << (translucent ? "translucent" : "shaped");
    // The compositor that made a parked window invisible is gone: unmap it before its
    // transparent pixels turn black.
    if (!translucent && m_parking == Parking::ByOpacity)
        hide();
    m_view->setOpaque(!translucent || !testAttribute(Qt::WA_TranslucentBackground));
    updateMask();
}

bool ZonesWindow::eventFilter(QObject* watched, QEvent* event)
{
    // Qt answers an expose by sending what its backing store holds: not the pixels kept
    // aside, which must never reach the screen while the window is parked. What the
    // server has of it, blank, is right for a parked window whatever it exposes.
    // A window parked by its shape shows nothing: an expose then is the one its parking
    // caused (see updateMask()), and sending pixels for it would be thousands of requests
    // the server clips to nothing.
    if (event->type() == QEvent::Expose
        && (m_parking == Parking::ByShape || (m_parking == Parking::ByOpacity && m_pixelsAside)))
        return true;
    return QWidget::eventFilter(watched, event);
}

void ZonesWindow::keepPixelsAsideWhenIdle()
{
    // Only while there is something to draw aside: the event loop sleeps after nearly
    // every event of a drag.
    if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance())
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &ZonesWindow::keepPixelsAside,
            Qt::UniqueConnection);
}

void ZonesWindow::keepPixelsAside()
{
    // A window parked by its opacity was painted blank, in case a compositor ignored the
    // opacity, and coming back meant painting it whole again at the very moment the
    // compositor is busiest, recompositing the drag. Once the blank pixels are out and
    // the event loop has nothing else to do, the zones are drawn again into the backing
    // store alone, without being sent: the server keeps the blank ones until appear()
    // sends these. Beginning the paint also takes now the round trip with which Qt's X11
    // backing store, whose memory the server shares, makes sure the server has read
    // what it sent before that memory is painted over.
    if (m_parking == Parking::ByOpacity && !m_pixelsAside && isVisible()) {
        QWindow* window = windowHandle();
        QBackingStore* store = backingStore();
        // Not yet exposed: its first, blank paint is still to come.
        if (!window || !window->isExposed() || !store)
            return;
        const QRegion all(rect());
        m_view->setBlank(false, ZonesView::Redraw::Later);
        store->beginPaint(all);
        render(store->paintDevice(), QPoint(), all);
        store->endPaint();
        m_view->setBlank(true, ZonesView::Redraw::Later);
        m_pixelsAside = true;
    }
    disconnect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
        &ZonesWindow::keepPixelsAside);
}

void ZonesWindow::updateMask()
{
    // Only for a window on its way to the screen: a shape costs milliseconds per zone to
    // trace, and the view's final size arrives with its first show.
    QWindow* window = windowHandle();
    if (!window)
        return;
    m_shape = m_view->isOpaque() ? m_view->paintedRegion() : QRegion();
    // Both ways give the native window the same shape; they differ in what Qt does with
    // it. A widget mask also clips every paint and every flush to the shape: cheaper than
    // painting and sending the whole window while the shape is a few hundred rectangles
    // (a preset layout), far dearer with thousands (each number is traced row by row, so
    // 64 zones make 17 500), where only the native window is shaped. What is painted
    // outside the shape is never shown either way. A widget mask also sets the native
    // window's, so it goes first.
    const QRegion clip = m_shape.rectCount() <= kMostRectanglesToClipPaintingTo ? m_shape : QRegion();
    if (mask() != clip)
        setMask(clip);
    // Parked by its shape: one pixel beside the window, which the server clips to nothing
    // (to Qt an empty region means no shape at all, the whole window).
    static const QRegion nowhere(-1, -1, 1, 1);
    const QRegion& native = m_parking == Parking::ByShape ? nowhere : m_shape;
    if (window->mask() == native)
        return;
    // What a window uncovers, the server paints anew beneath it, clipping each rectangle
    // uncovered against each rectangle of what still covers the desktop: with thousands on
    // both sides (64 zones on two screens) parking held the whole desktop for 0.3 s. The
    // whole frame first uncovers nothing and paints nothing (the window has no background,
    // and eventFilter() ignores its expose), and parking then uncovers a few rectangles,
    // but all the area beneath: for a shape of a few hundred, 2 ms more than uncovering it.
    if (m_parking == Parking::ByShape && isVisible() && window->mask().rectCount() > kMostRectanglesToUncover)
        window->setMask(QRegion(rect()));
    window->setMask(native);
}
