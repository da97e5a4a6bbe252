#include "views/LayoutBordersWindow.h"

#include "core/Logging.h"
#include "managers/ScreenManager.h"
#include "models/Layout.h"
#include "platform/DesktopEffects.h"
#include "views/DesktopGeometry.h"
#include "views/LayoutBordersView.h"

#include <QPointer>
#include <QPropertyAnimation>
#include <QTimer>
#include <QWindow>

std::unique_ptr<LayoutBordersWindow> LayoutBordersWindow::create(const std::shared_ptr<Layout>& layout,
    ScreenManager& screens, const Settings& settings, const DesktopEffects& effects)
{
    if (!layout || !layout->screen())
        return nullptr;
    const std::optional<QRectF> frame = screens.visibleFrameOf(*layout->screen());
    if (!frame || frame->isEmpty()) {
        qCDebug(lcOverlay) << "No border flash: screen" << layout->screen()->id() << "is not connected";
        return nullptr;
    }
    return std::make_unique<LayoutBordersWindow>(layout, *frame, settings, effects);
}

LayoutBordersWindow::LayoutBordersWindow(const std::shared_ptr<Layout>& layout, const QRectF& visibleFrame,
    const Settings& settings, const DesktopEffects& effects)
    : QWidget(nullptr,
        Qt::FramelessWindowHint | Qt::WindowTransparentForInput | Qt::WindowStaysOnTopHint
            | Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint | Qt::Tool)
    , m_desktopFrame(visibleFrame)
    , m_effects(effects)
    , m_view(new LayoutBordersView(layout, settings, this))
{
    const bool translucent = effects.overlaysCanBeTranslucent();
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(QStringLiteral("Parqueta layout borders"));
    m_view->setOpaque(!translucent);
    setGeometry(DesktopGeometry::toLogical(visibleFrame));
    if (!translucent)
        setMask(m_view->paintedRegion());
}

void LayoutBordersWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_view->setGeometry(rect());
    if (!testAttribute(Qt::WA_TranslucentBackground))
        setMask(m_view->paintedRegion());
}

void LayoutBordersWindow::setLayout(const std::shared_ptr<Layout>& layout)
{
    m_view->setLayout(layout);
    if (!testAttribute(Qt::WA_TranslucentBackground))
        setMask(m_view->paintedRegion());
}

void LayoutBordersWindow::flash()
{
    auto* fadeIn = new QPropertyAnimation(this, "windowOpacity", this);
    fadeIn->setDuration(kFadeMs);
    fadeIn->setStartValue(0.0);
    fadeIn->setEndValue(1.0);
    setWindowOpacity(0.0);
    show();
    if (QWindow* window = windowHandle())
        m_effects.placeExactly(*window, m_desktopFrame.toRect());
    raise();
    fadeIn->start(QAbstractAnimation::DeleteWhenStopped);

    // The later steps hold the window weakly: whatever closed it earlier wins.
    const QPointer<LayoutBordersWindow> self(this);
    QTimer::singleShot(kFadeMs, this, [self] {
        if (!self)
            return;
        auto* fadeOut = new QPropertyAnimation(self.data(), "windowOpacity", self.data());
        fadeOut->setDuration(kFadeMs);
        fadeOut->setStartValue(self->windowOpacity());
        fadeOut->setEndValue(0.0);
        fadeOut->start(QAbstractAnimation::DeleteWhenStopped);
    });
    QTimer::singleShot(kCloseAfterMs, this, [self] {
        if (self)
            self->close();
    });
}
