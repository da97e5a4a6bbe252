// The shell around the engine where the system has opinions of its own (macOS): the
// Dock presence follows the windows the user works with, and a missing permission is
// asked for in a window that goes away once the grant arrives.
#include "TestSupport.h"
#include "app/AppPresence.h"
#include "app/PermissionWatcher.h"
#include "platform/ApplicationShell.h"
#include "views/AppIcon.h"
#include "views/PermissionsWindow.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace {

struct RecordingShell final : ApplicationShell
{
    QList<bool> regular;
    void setRegularApplication(bool value) override { regular << value; }
};

// Receives the addresses QDesktopServices would hand to the system.
class OpenedUrls final : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;
    Q_INVOKABLE void open(const QUrl& url) { urls << url; }
};

} // namespace

TEST(AppShell, TheDockFollowsTheUsersWindowsAndIgnoresOverlays)
{
    RecordingShell shell;
    AppPresence presence(shell);
    const auto settle = [] {
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    };

    QWidget settings(nullptr, Qt::Window);
    QWidget overlay(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowTransparentForInput);
    auto editor = std::make_unique<QWidget>(nullptr, Qt::Tool | Qt::FramelessWindowHint);

    overlay.show();
    settle();
    EXPECT_EQ(shell.regular, QList<bool>({false})) << "an overlay takes no input and puts nothing in the Dock";
    settings.show();
    settle();
    editor->show();
    settle();
    EXPECT_EQ(shell.regular, QList<bool>({false, true}));
    settings.close();
    settle();
    EXPECT_EQ(shell.regular, QList<bool>({false, true})) << "the editor is still open";
    EXPECT_TRUE(AppPresence::userWindowVisible());
    editor.reset();
    settle();
    EXPECT_EQ(shell.regular, QList<bool>({false, true, false})) << "a window destroyed while shown counts as closed";
    EXPECT_FALSE(AppPresence::userWindowVisible());
}

TEST(AppShell, ThePermissionIsAskedForUntilGrantedAndTheWindowOpensTheSettingsPage)
{
    const QUrl page(QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
    OpenedUrls opened;
    QDesktopServices::setUrlHandler(page.scheme(), &opened, "open");
    PermissionsWindow window(page);
    window.present();
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(window.findChild<QLabel*>(QStringLiteral("heading"))->text(), "Accessibility permissions");
    EXPECT_EQ(window.findChild<QLabel*>(QStringLiteral("explanation"))->text(),
        "Parqueta requires accessibility permissions to function properly. Click the button below to open Settings "
        "and grant Accessibility permissions.");
    QTest::mouseClick(window.findChild<QPushButton*>(QStringLiteral("openSettings")), Qt::LeftButton);
    QDesktopServices::unsetUrlHandler(page.scheme());
    EXPECT_EQ(opened.urls, QList<QUrl>({page}));

    std::atomic<int> asked {0};
    int granted = 0;
    {
        PermissionWatcher watcher([&] { return ++asked >= 3; }, std::chrono::milliseconds(20));
        QObject::connect(&watcher, &PermissionWatcher::granted, [&] { ++granted; });
        watcher.start();
        EXPECT_TRUE(QTest::qWaitFor([&] { return granted > 0; }, 5000));
        QTest::qWait(100);
        EXPECT_EQ(asked, 3) << "no question after the grant";
        EXPECT_EQ(granted, 1);
    }

    // Destroyed while still waiting: it stops asking and returns promptly.
    std::atomic<int> refused {0};
    {
        PermissionWatcher watcher([&] { return ++refused, false; });
        watcher.start();
        ASSERT_TRUE(QTest::qWaitFor([&] { return refused > 0; }, 5000));
    }
    const int askedBeforeQuit = refused;
    QTest::qWait(50);
    EXPECT_EQ(refused, askedBeforeQuit);
}

#include "AppShellTest.moc"

// The icons are drawn when asked: every size, and every ratio, must still be exactly
// the drawing at that many pixels, and the tray's glyph must stay a template image.
TEST(AppShell, IconsAreTheDrawingAtEverySizeAndRatioAskedFor)
{
    const QColor ink(Qt::white);
    const QIcon tray = AppIcon::trayIcon(ink);
    const QIcon icon = AppIcon::icon();
    EXPECT_TRUE(tray.isMask());
    EXPECT_TRUE(icon.availableSizes().contains(QSize(16, 16)));
    EXPECT_TRUE(icon.availableSizes().contains(QSize(256, 256)));
    const struct
    {
        QSize asked;
        qreal ratio;
        int pixels;
    } cases[] = {{{16, 16}, 1, 16}, {{22, 22}, 2, 44}, {{37, 37}, 1, 37}, {{64, 48}, 1, 48}, {{256, 256}, 1.5, 384}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pixels);
        const QImage drawn = icon.pixmap(c.asked, c.ratio).toImage();
        ASSERT_EQ(drawn.size(), QSize(c.pixels, c.pixels));
        EXPECT_EQ(drawn.convertToFormat(QImage::Format_ARGB32_Premultiplied), AppIcon::image(c.pixels));
        EXPECT_EQ(tray.pixmap(c.asked, c.ratio).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied),
            AppIcon::glyph(c.pixels, ink));
    }
}
