#include "views/ShortcutsSettingsView.h"

#include "core/Settings.h"
#include "managers/GlobalShortcuts.h"
#include "platform/KeyCombination.h"
#include "views/SettingsBinder.h"
#include "views/SettingsText.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHash>
#include <QLabel>
#include <QVBoxLayout>

ShortcutsSettingsView::ShortcutsSettingsView(
    SettingsBinder& binder, const RecorderFactory& recorderFor, QWidget* parent)
    : QWidget(parent)
{
    Settings& settings = binder.settings();
    auto* layout = new QVBoxLayout(this);

    layout->addWidget(SettingsText::heading(tr("Behavior"), this));
    layout->addWidget(SettingsText::caption(tr("Hold %1 while dragging to select multiple zones")
                                                .arg(KeyCombinations::modifiersDisplayText(Qt::AltModifier)),
        this));
    auto* hold = new QCheckBox(tr("Hold shift while &dragging to snap windows"), this);
    binder.bind(hold, Keys::holdShiftToSnap);
    layout->addWidget(hold);
    QLabel* holdText = SettingsText::caption({}, this);
    holdText->setContentsMargins(24, 0, 0, 0);
    holdText->setObjectName(QStringLiteral("holdShiftToSnapDescription"));
    binder.follow(Keys::holdShiftToSnap.name, [holdText, &settings] {
        holdText->setText(settings.value(Keys::holdShiftToSnap)
                ? tr("Holding shift while dragging a window will enable snapping to zones")
                : tr("Pressing shift while dragging a window will toggle snapping to zones"));
    });
    layout->addWidget(holdText);
    auto* everyScreen = new QCheckBox(tr("&Move and span on every screen"), this);
    binder.bind(everyScreen, Keys::shortcutsOnEveryScreen);
    layout->addWidget(everyScreen);
    QLabel* everyText = SettingsText::caption(tr("Off, moving and spanning work on the main screen only"), this);
    everyText->setContentsMargins(24, 0, 0, 0);
    layout->addWidget(everyText);

    layout->addWidget(SettingsText::heading(tr("Window movement"), this));
    auto* movement = new QFormLayout();
    // Each label takes its recorder as buddy: Alt+letter goes to it, Space starts recording.
    const QHash<QString, QString> labels {
        {ShortcutNames::cycleWindowLeft, tr("Cycle window &left")},
        {ShortcutNames::cycleWindowRight, tr("Cycle window &right")},
        {ShortcutNames::spanWindowLeft, tr("Span window l&eft")},
        {ShortcutNames::spanWindowRight, tr("Span window righ&t")},
        {ShortcutNames::cycleWindowNext, tr("Cycle &next window")},
        {ShortcutNames::cycleWindowPrev, tr("Cycle &previous window")},
    };
    const auto row = [&](QFormLayout* form, const QString& name) {
        QWidget* recorder = recorderFor(name, this);
        if (!recorder)
            return;
        auto* label = new QLabel(labels.value(name, GlobalShortcuts::displayName(name)), this);
        label->setBuddy(recorder->focusProxy() ? recorder->focusProxy() : recorder);
        form->addRow(label, recorder);
    };
    row(movement, ShortcutNames::cycleWindowLeft);
    row(movement, ShortcutNames::cycleWindowRight);
    row(movement, ShortcutNames::spanWindowLeft);
    row(movement, ShortcutNames::spanWindowRight);
    layout->addLayout(movement);

    auto* switching = new QGroupBox(tr("Window switching"), this);
    auto* switchingLayout = new QVBoxLayout(switching);
    switchingLayout->addWidget(
        SettingsText::caption(tr("Cycle through windows within the same snapped zone"), switching));
    auto* cycling = new QFormLayout();
    row(cycling, ShortcutNames::cycleWindowNext);
    row(cycling, ShortcutNames::cycleWindowPrev);
    switchingLayout->addLayout(cycling);
    layout->addWidget(switching);
    layout->addStretch(1);
}
