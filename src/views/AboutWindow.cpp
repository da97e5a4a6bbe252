#include "views/AboutWindow.h"

#include "views/AppIcon.h"

#include <QApplication>
#include <QLabel>
#include <QVBoxLayout>

AboutWindow::AboutWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setWindowTitle(tr("About %1").arg(QApplication::applicationName()));
    setWindowIcon(AppIcon::icon());
    setAttribute(Qt::WA_DeleteOnClose, false);

    auto* icon = new QLabel(this);
    icon->setPixmap(AppIcon::pixmap(96));
    icon->setAlignment(Qt::AlignCenter);

    auto* name = new QLabel(QApplication::applicationName(), this);
    QFont nameFont = name->font();
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.8);
    nameFont.setBold(true);
    name->setFont(nameFont);
    name->setAlignment(Qt::AlignCenter);

    auto* version = new QLabel(tr("Version %1").arg(QApplication::applicationVersion()), this);
    version->setAlignment(Qt::AlignCenter);
    version->setForegroundRole(QPalette::PlaceholderText);

    auto* description
        = new QLabel(tr("Snap windows into zones: drag a window with Shift held (or right-click while dragging) "
                        "and drop it on a zone. Keyboard shortcuts move, span and cycle windows between zones."),
            this);
    description->setWordWrap(true);
    description->setAlignment(Qt::AlignCenter);

    auto* licence = new QLabel(tr("Released under the MIT License."), this);
    licence->setAlignment(Qt::AlignCenter);
    licence->setForegroundRole(QPalette::PlaceholderText);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 24);
    layout->setSpacing(10);
    for (QWidget* widget : {static_cast<QWidget*>(icon), static_cast<QWidget*>(name), static_cast<QWidget*>(version),
             static_cast<QWidget*>(description), static_cast<QWidget*>(licence)})
        layout->addWidget(widget);
    setFixedWidth(360);
}

void AboutWindow::present()
{
    show();
    raise();
    activateWindow();
}
