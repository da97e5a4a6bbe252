#include "views/AboutWindow.h"

#include "views/AppIcon.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {

QLabel* centred(const QString& text, QWidget* parent, bool secondary = false)
{
    auto* label = new QLabel(text, parent);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    if (secondary)
        label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

// A path the user can select and copy, and open in the file manager.
QLabel* pathLabel(const QString& path, QWidget* parent)
{
    const QString folder = QUrl::fromLocalFile(QFileInfo(path).absolutePath()).toString();
    auto* label = new QLabel(QStringLiteral("<a href=\"%1\">%2</a>").arg(folder.toHtmlEscaped(), path.toHtmlEscaped()),
        parent);
    label->setTextInteractionFlags(Qt::TextBrowserInteraction);
    label->setToolTip(AboutWindow::tr("Open the folder"));
    label->setWordWrap(true);
    QObject::connect(label, &QLabel::linkActivated, parent, [](const QString& link) {
        QDesktopServices::openUrl(QUrl(link));
    });
    return label;
}

} // namespace

AboutWindow::AboutWindow(const Details& details, QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setWindowTitle(tr("About %1").arg(QApplication::applicationName()));
    setWindowIcon(AppIcon::icon());
    setObjectName(QStringLiteral("aboutWindow"));

    auto* icon = new QLabel(this);
    icon->setPixmap(AppIcon::pixmap(96));
    icon->setAlignment(Qt::AlignCenter);

    auto* name = centred(QApplication::applicationName(), this);
    QFont nameFont = name->font();
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.8);
    nameFont.setBold(true);
    name->setFont(nameFont);

    auto* version = centred(tr("Version %1").arg(details.versionText), this, true);
    version->setObjectName(QStringLiteral("version"));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* description
        = centred(tr("Snap windows into zones: drag a window with Shift held (or right-click while dragging) "
                     "and drop it on a zone. Keyboard shortcuts move, span and cycle windows between zones."),
            this);
    auto* licence = centred(tr("Released under the MIT License."), this, true);

    auto* places = new QFormLayout;
    places->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    if (!details.settingsLocation.isEmpty())
        places->addRow(tr("Settings:"), pathLabel(details.settingsLocation, this));
    if (!details.logLocation.isEmpty())
        places->addRow(tr("Log:"), pathLabel(details.logLocation, this));

    auto* debug = new QPushButton(tr("&Debug Window…"), this);
    debug->setObjectName(QStringLiteral("debugWindow"));
    connect(debug, &QPushButton::clicked, this, &AboutWindow::debugWindowRequested);
    auto* close = new QPushButton(tr("Close"), this);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(debug);
    buttons->addStretch(1);
    buttons->addWidget(close);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 20);
    layout->setSpacing(10);
    for (QWidget* widget : {static_cast<QWidget*>(icon), static_cast<QWidget*>(name), static_cast<QWidget*>(version),
             static_cast<QWidget*>(description), static_cast<QWidget*>(licence)})
        layout->addWidget(widget);
    layout->addSpacing(6);
    layout->addLayout(places);
    layout->addSpacing(6);
    layout->addLayout(buttons);
    setFixedWidth(420);
}

void AboutWindow::present()
{
    show();
    raise();
    activateWindow();
}
