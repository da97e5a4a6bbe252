#include "views/ZoneEditorWindow.h"

#include "core/Logging.h"
#include "managers/ScreenManager.h"
#include "platform/DesktopEffects.h"
#include "views/DesktopGeometry.h"
#include "views/ZoneEditorView.h"
#include "views/ZoneEditorViewModel.h"

#include <QCloseEvent>
#include <QPropertyAnimation>
#include <QWindow>

std::unique_ptr<ZoneEditorWindow> ZoneEditorWindow::create(
    ZoneEditorViewModel& viewModel, ScreenManager& screens, const Settings& settings, const DesktopEffects& effects)
{
    const std::optional<QRectF> frame = screens.visibleFrameOf(viewModel.screen());
    if (!frame || frame->isEmpty())
        return nullptr;
    return std::make_unique<ZoneEditorWindow>(viewModel, *frame, settings, effects);
}

ZoneEditorWindow::ZoneEditorWindow(
    ZoneEditorViewModel& viewModel, const QRectF& visibleFrame, const Settings& settings, const DesktopEffects& effects)
    : QWidget(nullptr, Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::X11BypassWindowManagerHint | Qt::Tool)
    , m_viewModel(viewModel)
    , m_effects(effects)
    , m_view(new ZoneEditorView(viewModel, settings, this))
    , m_fadeIn(new QPropertyAnimation(this, "windowOpacity", this))
{
    const bool translucent = effects.overlaysCanBeTranslucent();
    setAttribute(Qt::WA_TranslucentBackground, translucent);
    m_view->setOpaque(!translucent);
    setWindowTitle(tr("Parqueta layout editor"));
    setFocusProxy(m_view);
    connect(m_view, &ZoneEditorView::closeRequested, this, &QWidget::close);

    m_fadeIn->setDuration(kFadeInMs);
    m_fadeIn->setStartValue(0.0);
    m_fadeIn->setEndValue(1.0);
    place(visibleFrame);
}

ZoneEditorWindow::~ZoneEditorWindow()
{
    m_viewModel.stopMonitoring();
}

void ZoneEditorWindow::place(const QRectF& visibleFrame)
{
    setGeometry(DesktopGeometry::toLogical(visibleFrame));
    m_desktopFrame = visibleFrame.toRect();
    if (isVisible())
        placeNatively();
    qCDebug(lcEditor) << "Editor of" << m_viewModel.screen().name() << "over" << visibleFrame << "at" << geometry();
}

void ZoneEditorWindow::placeNatively()
{
    if (QWindow* window = windowHandle())
        m_effects.placeExactly(*window, m_desktopFrame);
}

void ZoneEditorWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_view->setGeometry(rect());
}

void ZoneEditorWindow::present()
{
    setWindowOpacity(0.0);
    show();
    placeNatively();
    raise();
    // The window manager does not hand focus to a window it does not manage: take it.
    activateWindow();
    m_view->setFocus(Qt::ActiveWindowFocusReason);
    m_fadeIn->stop();
    m_fadeIn->start();
}

void ZoneEditorWindow::closeEvent(QCloseEvent* event)
{
    m_fadeIn->stop();
    QWidget::closeEvent(event);
    if (event->isAccepted())
        Q_EMIT closing(this);
}
