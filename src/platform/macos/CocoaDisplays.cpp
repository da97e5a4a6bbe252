#include "platform/macos/CocoaDisplays.h"

#include "core/Logging.h"

#include <cmath>
#include <limits>

#include <QStringList>

namespace {

bool isSaneRect(const QRectF& rect)
{
    return std::isfinite(rect.x()) && std::isfinite(rect.y()) && std::isfinite(rect.width())
        && std::isfinite(rect.height()) && rect.width() > 0.0 && rect.height() > 0.0;
}

// The top edge of a rectangle in Cocoa space, where y grows upwards.
double cocoaMaxY(const QRectF& rect)
{
    return rect.y() + rect.height();
}

} // namespace

CocoaDisplays::CocoaDisplays(CocoaScreenApi& api, QObject* parent)
    : DisplayServer(parent)
    , m_api(api)
{ }

QList<DisplayInfo> CocoaDisplays::displays() const
{
    const std::vector<CocoaScreenFacts> screens = m_api.screens();
    QList<DisplayInfo> displays;
    // Without a usable primary there is nothing to flip around, so no display can be
    // placed in desktop space.
    if (screens.empty() || !isSaneRect(screens.front().frame)) {
        if (!screens.empty())
            qCWarning(lcScreens) << "The primary display has an unusable frame" << screens.front().frame;
        return displays;
    }
    const QRectF primary = screens.front().frame;
    for (const CocoaScreenFacts& screen : screens) {
        if (!isSaneRect(screen.frame) || !isSaneRect(screen.visibleFrame)) {
            qCWarning(lcScreens) << "Display" << screen.localizedName << "has an unusable frame" << screen.frame
                                 << "or visible frame" << screen.visibleFrame << "- left out";
            continue;
        }
        DisplayInfo display;
        display.uuid = displayUuid(screen).value_or(QString());
        display.name = screen.localizedName;
        display.frame = toDesktop(screen.frame, primary);
        display.visibleFrame = toDesktop(screen.visibleFrame, primary);
        display.visibleFrameSource = describeVisibleFrame(screen);
        displays << display;
    }
    return displays;
}

QPointF CocoaDisplays::pointerLocation() const
{
    const std::vector<CocoaScreenFacts> screens = m_api.screens();
    if (screens.empty() || !isSaneRect(screens.front().frame))
        return {};
    return toDesktop(m_api.mouseLocation(), screens.front().frame);
}

void CocoaDisplays::reconfigured(quint32 flags)
{
    Q_EMIT displaysChanged(flags);
}

std::optional<QString> CocoaDisplays::displayUuid(const CocoaScreenFacts& screen) const
{
    if (!screen.screenNumber || *screen.screenNumber < 0
        || *screen.screenNumber > qint64(std::numeric_limits<quint32>::max()))
        return std::nullopt;
    std::optional<QString> uuid = m_api.displayUuid(quint32(*screen.screenNumber));
    if (!uuid || uuid->isEmpty())
        return std::nullopt;
    return uuid;
}

// Flipping y about the primary's top edge maps each space onto the other, so one
// formula serves both directions.
QPointF CocoaDisplays::toDesktop(QPointF cocoaPoint, const QRectF& primaryFrame)
{
    return {cocoaPoint.x(), cocoaMaxY(primaryFrame) - cocoaPoint.y()};
}

QPointF CocoaDisplays::toCocoa(QPointF desktopPoint, const QRectF& primaryFrame)
{
    return toDesktop(desktopPoint, primaryFrame);
}

QRectF CocoaDisplays::toDesktop(const QRectF& cocoaRect, const QRectF& primaryFrame)
{
    // The rectangle's top edge in Cocoa (its maxY) becomes its top-left corner.
    return {cocoaRect.x(), cocoaMaxY(primaryFrame) - cocoaMaxY(cocoaRect), cocoaRect.width(), cocoaRect.height()};
}

QRectF CocoaDisplays::toCocoa(const QRectF& desktopRect, const QRectF& primaryFrame)
{
    return toDesktop(desktopRect, primaryFrame);
}

QString CocoaDisplays::describeVisibleFrame(const CocoaScreenFacts& screen)
{
    const QRectF& frame = screen.frame;
    const QRectF& visible = screen.visibleFrame;
    QStringList insets;
    const auto add = [&insets](double points, const char* what) {
        if (points > 0.0)
            insets << QStringLiteral("%1 %2 pt").arg(QLatin1String(what)).arg(points);
    };
    add(cocoaMaxY(frame) - cocoaMaxY(visible), "top (menu bar)");
    add(visible.x() - frame.x(), "left (Dock)");
    add(visible.y() - frame.y(), "bottom (Dock)");
    add((frame.x() + frame.width()) - (visible.x() + visible.width()), "right (Dock)");
    const QString scale = QStringLiteral(", %1 pixels per point").arg(screen.backingScaleFactor);
    if (insets.isEmpty())
        return QStringLiteral("NSScreen.visibleFrame: the whole display") + scale;
    return QStringLiteral("NSScreen.visibleFrame: the display less ") + insets.join(QStringLiteral(", ")) + scale;
}
