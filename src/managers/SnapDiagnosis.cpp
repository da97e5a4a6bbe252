#include "managers/SnapDiagnosis.h"

#include "managers/LayoutManager.h"
#include "managers/ScreenManager.h"
#include "managers/WindowManager.h"
#include "managers/ZoneManager.h"
#include "models/Layout.h"

namespace {

QString sizeText(QSize size)
{
    return QStringLiteral("%1 × %2").arg(size.width()).arg(size.height());
}

QString listText(const QStringList& items)
{
    return items.isEmpty() ? SnapDiagnosis::tr("none") : items.join(QStringLiteral(", "));
}

} // namespace

SnapDiagnosis::SnapDiagnosis(ScreenManager& screens, LayoutManager& layouts, ZoneManager& zones, WindowManager& windows)
    : m_screens(screens)
    , m_layouts(layouts)
    , m_zones(zones)
    , m_windows(windows)
{ }

QString SnapDiagnosis::describeRect(const QRectF& rect)
{
    return tr("%1 × %2 at %3, %4").arg(rect.width()).arg(rect.height()).arg(rect.x()).arg(rect.y());
}

SnapDiagnosis::Report SnapDiagnosis::diagnose(const WindowPtr& window, QPointF point)
{
    std::optional<WindowFacts> facts = window ? m_windows.facts(*window) : std::nullopt;
    if (!facts) {
        Report gone;
        gone.verdict = tr("There is no window there any more, or it belongs to no application Parqueta can read.");
        return gone;
    }
    // A window the engine refuses for the user's list is explained like one of a kind
    // Parqueta never snaps: the same sentence, with the list as the reason.
    if (const QString entry = m_windows.excludedBy(*window); facts->notNormalBecause.isEmpty() && !entry.isEmpty())
        facts->notNormalBecause
            = tr("its application (%1) is in the list of applications Parqueta never snaps").arg(entry);
    const std::optional<Screen> screen = m_screens.screenWithPoint(point);
    const std::shared_ptr<Layout> layout = screen ? m_layouts.activeFor(*screen) : nullptr;
    Report report = explain(*facts, layout.get());

    const auto add = [&report](const QString& label, const QString& value) { report.facts.append({label, value}); };
    add(tr("Application"),
        facts->instanceName.isEmpty() ? facts->className
                                      : tr("%1 (instance %2)").arg(facts->className, facts->instanceName));
    add(tr("Title"), facts->title);
    add(tr("Window id"), QStringLiteral("0x%1").arg(window->id(), 0, 16));
    add(tr("Kind"), facts->types.isEmpty() ? tr("none declared (taken as normal)") : listText(facts->types));
    add(tr("States"), listText(facts->states));
    add(tr("Snapped by Parqueta"),
        report.snaps ? tr("yes, it counts as a normal window") : tr("no: %1").arg(facts->notNormalBecause));
    add(tr("Frame"), facts->frame ? describeRect(*facts->frame) : tr("unreadable"));

    add(tr("Screen"), screen ? tr("%1 (%2)").arg(screen->name(), screen->id()) : tr("none under the pointer"));
    const std::optional<QPointF> local = screen ? m_screens.positionInVisibleFrame(*screen, point) : std::nullopt;
    QString zoneText = tr("none");
    if (layout && local) {
        for (const std::shared_ptr<Zone>& zone : layout->zones()) {
            if (zone->rect().contains(*local))
                zoneText = tr("zone %1, %2 in layout space").arg(zone->id(), describeRect(zone->rect()));
        }
    }
    add(tr("Zone under the pointer"), zoneText);
    const std::optional<QString> snappedZone = m_zones.zoneId(*window);
    add(tr("Snapped now"), snappedZone ? tr("in zone %1").arg(*snappedZone) : tr("no"));

    if (facts->lastPlacement) {
        const WindowFacts::Placement& last = *facts->lastPlacement;
        add(tr("Last move"),
            last.honoured ? tr("honoured: %1").arg(describeRect(last.applied))
                          : tr("asked for %1, the window manager made it %2")
                                .arg(describeRect(last.requested), describeRect(last.applied)));
    } else {
        add(tr("Last move"), tr("Parqueta has not moved it since it started"));
    }
    add(tr("Size steps"), facts->sizeIncrement.isEmpty() ? tr("none") : sizeText(facts->sizeIncrement));
    add(tr("Minimum size"), facts->minimumSize.isEmpty() ? tr("none") : sizeText(facts->minimumSize));
    add(tr("Maximum size"), facts->maximumSize.isEmpty() ? tr("none") : sizeText(facts->maximumSize));
    return report;
}

SnapDiagnosis::Report SnapDiagnosis::explain(const WindowFacts& facts, const Layout* layout)
{
    Report report;
    report.snaps = facts.notNormalBecause.isEmpty();
    const QString name = facts.title.isEmpty() ? facts.className : facts.title;
    report.verdict = report.snaps ? tr("“%1” is a window Parqueta snaps.").arg(name)
                                  : tr("Parqueta never snaps “%1”: %2.").arg(name, facts.notNormalBecause);
    if (facts.lastPlacement && !facts.lastPlacement->honoured)
        report.findings << tr("The window manager did not honour the last move: Parqueta asked for %1 and it "
                              "kept the window at %2.")
                               .arg(describeRect(facts.lastPlacement->requested),
                                   describeRect(facts.lastPlacement->applied));
    if (!report.snaps)
        report.findings << tr("Parqueta leaves it alone because %1.").arg(facts.notNormalBecause);
    if (!facts.sizeIncrement.isEmpty())
        report.findings << tr("It resizes in steps of %1 px (a terminal's character cell, for instance), so it fills "
                              "a zone only to within one step.")
                               .arg(sizeText(facts.sizeIncrement));
    if (layout) {
        QStringList tooSmall;
        QStringList tooLarge;
        for (const std::shared_ptr<Zone>& zone : layout->zones()) {
            const QSizeF size = zone->rect().size();
            const QSize minimum = facts.minimumSize;
            const QSize maximum = facts.maximumSize;
            if (!minimum.isEmpty() && (size.width() < minimum.width() || size.height() < minimum.height()))
                tooSmall << zone->id();
            if (!maximum.isEmpty() && (size.width() > maximum.width() || size.height() > maximum.height()))
                tooLarge << zone->id();
        }
        if (!tooSmall.isEmpty())
            report.findings << tr("It will not shrink below %1, so it overflows zones %2 of this screen's layout.")
                                   .arg(sizeText(facts.minimumSize), tooSmall.join(QStringLiteral(", ")));
        if (!tooLarge.isEmpty())
            report.findings << tr("It will not grow beyond %1, so it cannot fill zones %2 of this screen's layout.")
                                   .arg(sizeText(facts.maximumSize), tooLarge.join(QStringLiteral(", ")));
    }
    if (report.snaps && report.findings.isEmpty())
        report.findings << tr("Nothing keeps it from snapping: drag it with Shift held (or right-click while dragging) "
                              "and drop it on a zone.");
    return report;
}
