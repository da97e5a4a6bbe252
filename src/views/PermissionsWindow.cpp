#include "views/PermissionsWindow.h"

#include "views/AppIcon.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

PermissionsWindow::PermissionsWindow(const QUrl& settingsPage, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::WindowStaysOnTopHint | Qt::WindowCloseButtonHint)
{
    setObjectName(QStringLiteral("permissionsWindow"));
    setWindowTitle(QApplication::applicationName());
    setWindowIcon(AppIcon::icon());

    auto* icon = new QLabel(this);
    icon->setPixmap(AppIcon::pixmap(80));
    icon->setAlignment(Qt::AlignCenter);

    auto* heading = new QLabel(tr("Accessibility permissions"), this);
    heading->setObjectName(QStringLiteral("heading"));
    heading->setAlignment(Qt::AlignCenter);
    QFont headingFont = heading->font();
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.4);
    headingFont.setBold(true);
    heading->setFont(headingFont);

    auto* text = new QLabel(tr("Parqueta requires accessibility permissions to function properly. Click the button "
                               "below to open Settings and grant Accessibility permissions."),
        this);
    text->setObjectName(QStringLiteral("explanation"));
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);

    auto* open = new QPushButton(tr("Open System Settings"), this);
    open->setObjectName(QStringLiteral("openSettings"));
    open->setDefault(true);
    connect(open, &QPushButton::clicked, this, [this, settingsPage] {
        Q_EMIT settingsPageRequested(settingsPage);
        QDesktopServices::openUrl(settingsPage);
    });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 24);
    layout->setSpacing(12);
    layout->addWidget(icon);
    layout->addWidget(heading);
    layout->addWidget(text);
    layout->addWidget(open, 0, Qt::AlignHCenter);
    setFixedWidth(380);
}

void PermissionsWindow::present()
{
    show();
    raise();
    activateWindow();
}
