#include "views/GeneralSettingsView.h"

#include "core/Settings.h"
#include "views/ColorWell.h"
#include "views/CrispValueAdjuster.h"
#include "views/ExcludedApplicationsView.h"
#include "views/SettingsBinder.h"
#include "views/SettingsText.h"

#include <QApplication>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

GeneralSettingsView::GeneralSettingsView(
    SettingsBinder& binder, WindowManager& windows, const QString& reopenPlace, QWidget* parent)
    : QWidget(parent)
    , m_binder(binder)
    , m_layout(new QVBoxLayout(this))
{
    Settings& settings = binder.settings();
    m_layout->setSpacing(6);
    // Every switch has an Alt+letter of its own: the tab works without a pointer.

    m_layout->addWidget(SettingsText::heading(tr("Behavior"), this));
    m_layout->addWidget(toggle(tr("&Launch at login"), Keys::launchAtLogin));
    m_layout->addWidget(toggle(tr("&Hide menubar icon"), Keys::hideMenuBarIcon,
        tr("Open %1 from %2 to access these settings").arg(QApplication::applicationName(), reopenPlace)));
    m_layout->addWidget(toggle(tr("&Restore window size on unsnap"), Keys::restoreSizeOnUnsnap));
    m_layout->addWidget(toggle(tr("Restore &windows to their zones"), Keys::restoreSnappedWindows,
        tr("After a restart or when a monitor comes back, windows return to the zones they were snapped to")));

    m_layout->addWidget(toggle(tr("Automatically &span adjacent zones"), Keys::spanAdjancedZones,
        tr("Suggest spanning a window across multiple zones when dragged near the edge of another zone")));
    auto* distance = new CrispValueAdjuster(
        tr("Distance"), {}, [&settings] { return settings.value(Keys::autoSpanDistance); },
        [&settings](double value) { settings.setValue(Keys::autoSpanDistance, value); }, 0, 100, tr("px"), std::nullopt,
        true, true, this);
    distance->setObjectName(QString::fromLatin1(Keys::autoSpanDistance.name));
    binder.follow(Keys::autoSpanDistance.name, [distance] { distance->refresh(); });
    binder.showWhile(distance, Keys::spanAdjancedZones);
    m_layout->addWidget(distance);

    m_layout->addWidget(toggle(tr("&Gap between zones"), Keys::enableGaps,
        tr("Sets the gap (default zero, no gap) between windows in zones")));
    auto* gap = new CrispValueAdjuster(
        tr("Size"), {}, [&settings] { return settings.value(Keys::gapSize); },
        [&settings](double value) { settings.setValue(Keys::gapSize, value); }, 0, 50, tr("px"), 2.0, true, true, this);
    gap->setObjectName(QString::fromLatin1(Keys::gapSize.name));
    binder.follow(Keys::gapSize.name, [gap] { gap->refresh(); });
    binder.showWhile(gap, Keys::enableGaps);
    m_layout->addWidget(gap);

    m_layout->addWidget(SettingsText::heading(tr("Never snap these applications"), this));
    m_layout->addWidget(SettingsText::caption(
        tr("Windows whose class (WM_CLASS) is listed here never enter zone mode and no shortcut moves them"), this));
    m_layout->addWidget(new ExcludedApplicationsView(binder, windows, this));

    m_layout->addWidget(SettingsText::heading(tr("Accent and highlight colors"), this));
    m_layout->addWidget(toggle(tr("Use system &accent color"), Keys::useSystemAccentColor));
    // One row per colour: its name (and what it is for) on the left, the well on the right.
    const auto well = [&](const ColorKey& key, const QString& title, const QString& description) {
        auto* row = new QHBoxLayout();
        auto* text = new QVBoxLayout();
        text->setSpacing(0);
        text->addWidget(new QLabel(title, this));
        if (!description.isEmpty())
            text->addWidget(SettingsText::caption(description, this));
        row->addLayout(text, 1);
        auto* colorWell = new ColorWell(settings, key, title, this);
        binder.follow(key.name, [colorWell] { colorWell->refresh(); });
        row->addWidget(colorWell, 0, Qt::AlignVCenter);
        m_layout->addLayout(row);
    };
    well(Keys::customAccentColor, tr("Custom accent color"), tr("Used for window borders and resizing handles"));
    well(Keys::zoneHighlightColor, tr("Custom highlight color"), tr("Used for highlighting zones"));

    m_layout->addWidget(SettingsText::heading(tr("Layout and zone colors"), this));
    well(Keys::zoneTextLightColor, tr("Light scheme text color"), {});
    well(Keys::zoneTextDarkColor, tr("Dark scheme text color"), {});
    well(Keys::zoneBackgroundLightColor, tr("Light scheme background color"), {});
    well(Keys::zoneBackgroundDarkColor, tr("Dark scheme background color"), {});
    m_layout->addStretch(1);
}

QWidget* GeneralSettingsView::toggle(const QString& label, const BoolKey& key, const QString& description)
{
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* check = new QCheckBox(label, box);
    m_binder.bind(check, key);
    layout->addWidget(check);
    if (!description.isEmpty()) {
        QLabel* text = SettingsText::caption(description, box);
        text->setContentsMargins(24, 0, 0, 0);
        layout->addWidget(text);
    }
    return box;
}
