#include "views/UpdateDialog.h"

#include "core/Logging.h"
#include "views/AppIcon.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

// Headings and messages quote the feed and the network; none of it is markup.
QLabel* plainLabel(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

UpdateDialog::UpdateDialog(QWidget* parent)
    : QDialog(parent)
    , m_heading(plainLabel(this))
    , m_message(plainLabel(this))
    , m_busy(new QProgressBar(this))
    , m_notes(new QTextBrowser(this))
    , m_openUrl([](const QUrl& url) {
        if (!QDesktopServices::openUrl(url))
            qCWarning(lcUpdates).noquote() << "No browser would open" << url.toDisplayString();
    })
{
    setWindowTitle(tr("Software Update"));
    setWindowIcon(AppIcon::icon());
    setModal(false);

    m_heading->setObjectName(QStringLiteral("heading"));
    QFont headingFont = m_heading->font();
    headingFont.setBold(true);
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.2);
    m_heading->setFont(headingFont);
    m_message->setObjectName(QStringLiteral("message"));
    m_busy->setObjectName(QStringLiteral("busy"));
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setAccessibleName(tr("Checking for updates"));

    m_notes->setObjectName(QStringLiteral("notes"));
    m_notes->setAccessibleName(tr("Release notes"));
    m_notes->setOpenLinks(false);
    m_notes->setOpenExternalLinks(false);
    m_notes->setMinimumHeight(160);

    auto* buttons = new QDialogButtonBox(this);
    m_download = buttons->addButton(tr("&Download"), QDialogButtonBox::AcceptRole);
    m_download->setObjectName(QStringLiteral("download"));
    m_releaseNotes = buttons->addButton(tr("&Release Notes"), QDialogButtonBox::ActionRole);
    m_releaseNotes->setObjectName(QStringLiteral("releaseNotes"));
    m_close = buttons->addButton(tr("&Close"), QDialogButtonBox::RejectRole);
    m_close->setObjectName(QStringLiteral("close"));
    connect(m_download, &QPushButton::clicked, this, [this] {
        openUrl(m_downloadUrl);
        accept();
    });
    connect(m_releaseNotes, &QPushButton::clicked, this, [this] { openUrl(m_releaseNotesUrl); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);

    auto* icon = new QLabel(this);
    icon->setPixmap(AppIcon::pixmap(64));
    icon->setAlignment(Qt::AlignTop);
    auto* text = new QVBoxLayout;
    text->setSpacing(10);
    text->addWidget(m_heading);
    text->addWidget(m_message);
    text->addWidget(m_busy);
    text->addWidget(m_notes, 1);
    auto* body = new QHBoxLayout;
    body->setSpacing(16);
    body->addWidget(icon, 0, Qt::AlignTop);
    body->addLayout(text, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->addLayout(body, 1);
    layout->addWidget(buttons);
    setMinimumWidth(440);

    showChecking();
}

void UpdateDialog::showChecking()
{
    m_heading->setText(tr("Checking for updates…"));
    m_message->clear();
    m_message->hide();
    m_busy->show();
    m_notes->clear();
    m_notes->hide();
    m_downloadUrl.clear();
    m_releaseNotesUrl.clear();
    setButtons(false);
}

void UpdateDialog::showResult(const UpdateCheckResult& result)
{
    const bool available = result.kind == UpdateCheckResult::Kind::UpdateAvailable && result.item.has_value();
    const QString name = QApplication::applicationName();
    switch (result.kind) {
    case UpdateCheckResult::Kind::UpdateAvailable:
        m_heading->setText(tr("A new version of %1 is available").arg(name));
        break;
    case UpdateCheckResult::Kind::UpToDate:
        m_heading->setText(tr("You’re up to date"));
        break;
    case UpdateCheckResult::Kind::Failed:
        m_heading->setText(tr("The update check did not succeed"));
        break;
    case UpdateCheckResult::Kind::Unavailable:
        m_heading->setText(tr("Updates are not available"));
        break;
    }
    m_message->setText(result.message);
    m_message->show();
    m_busy->hide();

    m_downloadUrl = available ? result.item->downloadUrl : QUrl();
    m_releaseNotesUrl = available ? result.item->releaseNotesLink : QUrl();
    const QString notes = available ? result.item->notes : QString();
    m_notes->setPlainText(notes);
    m_notes->setVisible(!notes.isEmpty());
    setButtons(available);
    adjustSize();
}

void UpdateDialog::setButtons(bool updateAvailable)
{
    m_download->setVisible(updateAvailable && m_downloadUrl.isValid());
    m_releaseNotes->setVisible(updateAvailable && m_releaseNotesUrl.isValid());
    m_close->setText(updateAvailable ? tr("&Later") : tr("&Close"));
    QPushButton* preferred = m_download->isVisibleTo(this) ? m_download : m_close;
    m_download->setDefault(preferred == m_download);
    m_close->setDefault(preferred == m_close);
    preferred->setFocus(Qt::OtherFocusReason);
}

void UpdateDialog::setUrlOpener(std::function<void(const QUrl&)> opener)
{
    if (!opener) {
        qCWarning(lcUpdates) << "Ignoring an empty way to open addresses; the desktop's browser stays";
        return;
    }
    m_openUrl = std::move(opener);
}

void UpdateDialog::present()
{
    show();
    raise();
    activateWindow();
}

void UpdateDialog::openUrl(const QUrl& url)
{
    // The buttons only show for https addresses the feed reader let through; this is the
    // last look before a browser is handed anything.
    if (url.scheme() != QLatin1String("https")) {
        qCWarning(lcUpdates).noquote() << "Not opening" << url.toDisplayString() << "- it is not an https address";
        return;
    }
    m_openUrl(url);
}
