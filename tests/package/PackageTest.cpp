// The .deb as a user meets it: what it holds, what Debian's checkers say of it, and the
// program it installs running on a desktop, in the tray, able to start at login.
#include "OverlayProbe.h"
#include "ParquetaProcess.h"
#include "RootScreenshot.h"
#include "SettingsFile.h"
#include "VirtualDesktop.h"
#include "core/Settings.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

const QString kAppId = QStringLiteral("io.github.parqueta.Parqueta");

struct Outcome
{
    bool ran = false;
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs a checker; a missing one fails the test naming the package that brings it.
Outcome run(const QString& program, const QString& debianPackage, const QStringList& arguments, int timeoutMs = 120000)
{
    if (QStandardPaths::findExecutable(program).isEmpty()) {
        ADD_FAILURE() << program.toStdString() << " is missing: apt-get install " << debianPackage.toStdString();
        return {};
    }
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs) || process.exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << program.toStdString() << " did not finish";
        return {};
    }
    return {true, process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
        QString::fromUtf8(process.readAllStandardError())};
}

std::set<QString> expectedFiles()
{
    std::set<QString> files {
        QStringLiteral("./usr/bin/parqueta"),
        QStringLiteral("./usr/libexec/parqueta/parqueta-feed"),
        QStringLiteral("./usr/share/applications/%1.desktop").arg(kAppId),
        QStringLiteral("./usr/share/metainfo/%1.metainfo.xml").arg(kAppId),
        QStringLiteral("./usr/share/man/man1/parqueta.1.gz"),
        QStringLiteral("./usr/share/doc/parqueta/copyright"),
        QStringLiteral("./usr/share/doc/parqueta/changelog.gz"),
        QStringLiteral("./usr/share/icons/hicolor/scalable/apps/%1.svg").arg(kAppId),
        QStringLiteral("./usr/share/icons/hicolor/symbolic/apps/%1-symbolic.svg").arg(kAppId),
    };
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
        files.insert(QStringLiteral("./usr/share/icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(kAppId));
    return files;
}

// The long options a text names, sorted: --help's listing or the manual page's .B lines.
QString longOptions(const QString& text)
{
    QStringList names;
    static const QRegularExpression option(QStringLiteral("(?:^|[\\s,])--([a-z][a-z-]*)"));
    for (QString line : text.split(QLatin1Char('\n'))) {
        // Help lines list the option first; the manual puts it on a .B line, dashes escaped.
        line = line.startsWith(QStringLiteral(".B ")) ? line.mid(3).replace(QStringLiteral("\\-"), QStringLiteral("-"))
                                                      : line.section(QStringLiteral("  "), 1, 1);
        auto matches = option.globalMatch(line);
        while (matches.hasNext())
            names << matches.next().captured(1);
    }
    names.sort();
    return names.join(QLatin1Char(' '));
}

class PackageTest : public ::testing::Test
{
protected:
    // One package for both tests: building it is the slow part.
    static void SetUpTestSuite()
    {
        s_scratch = std::make_unique<QTemporaryDir>();
        const Outcome cpack = run(QStringLiteral("cpack"), QStringLiteral("cmake"),
            {QStringLiteral("--config"), QStringLiteral(PARQUETA_BINARY_DIR "/CPackConfig.cmake"), QStringLiteral("-B"),
                s_scratch->path()});
        if (cpack.exitCode != 0) {
            s_problem = QStringLiteral("cpack failed:\n") + cpack.out + cpack.err;
            return;
        }
        const QStringList debs = QDir(s_scratch->path()).entryList({QStringLiteral("parqueta_*.deb")});
        if (debs.size() != 1) {
            s_problem = QStringLiteral("cpack made %1 packages").arg(debs.size());
            return;
        }
        s_deb = s_scratch->filePath(debs.first());
        s_root = s_scratch->filePath(QStringLiteral("root"));
        const Outcome unpack = run(QStringLiteral("dpkg"), QStringLiteral("dpkg"), {QStringLiteral("-x"), s_deb, s_root});
        if (unpack.exitCode != 0)
            s_problem = QStringLiteral("dpkg -x failed: ") + unpack.err;
    }
    static void TearDownTestSuite() { s_scratch.reset(); }

    void SetUp() override { ASSERT_TRUE(s_problem.isEmpty()) << s_problem.toStdString(); }

    static QString installed(const QString& path) { return s_root + path; }

    static inline std::unique_ptr<QTemporaryDir> s_scratch;
    static inline QString s_deb;
    static inline QString s_root;
    static inline QString s_problem;
};

TEST_F(PackageTest, HoldsTheProgramItsMenuEntryIconsManualAndLicenceAndPassesDebiansCheckers)
{
    const Outcome contents = run(QStringLiteral("dpkg-deb"), QStringLiteral("dpkg"), {QStringLiteral("-c"), s_deb});
    std::set<QString> files;
    for (const QString& line : contents.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (!line.startsWith(QLatin1Char('d')))
            files.insert(line.section(QLatin1Char(' '), -1));
    }
    EXPECT_EQ(files, expectedFiles()) << contents.out.toStdString();

    const Outcome fields = run(QStringLiteral("dpkg-deb"), QStringLiteral("dpkg"), {QStringLiteral("-f"), s_deb});
    const Outcome arch = run(QStringLiteral("dpkg"), QStringLiteral("dpkg"), {QStringLiteral("--print-architecture")});
    for (const QString& field : {QStringLiteral("Package: parqueta"), QStringLiteral("Version: " PARQUETA_VERSION),
             QStringLiteral("Architecture: ") + arch.out.trimmed(), QStringLiteral("Section: x11"),
             QStringLiteral("Priority: optional"), QStringLiteral("Maintainer: The Parqueta developers <")})
        EXPECT_TRUE(fields.out.contains(field)) << field.toStdString() << " in\n" << fields.out.toStdString();
    // Read off the linked libraries, so the X11 backend's and Qt's are all there.
    const QString depends = fields.out.section(QStringLiteral("Depends: "), 1).section(QLatin1Char('\n'), 0, 0);
    for (const QString& library : {QStringLiteral("libc6"), QStringLiteral("libqt6widgets6"),
             QStringLiteral("libqt6network6"), QStringLiteral("libxcb-xinput0"), QStringLiteral("libxcb-randr0")})
        EXPECT_TRUE(depends.contains(library + QLatin1Char(' '))) << library.toStdString() << " in " << depends.toStdString();

    const Outcome lintian = run(QStringLiteral("lintian"), QStringLiteral("lintian"),
        {QStringLiteral("--fail-on"), QStringLiteral("error,warning"), s_deb});
    EXPECT_EQ(lintian.exitCode, 0) << lintian.out.toStdString() << lintian.err.toStdString();

    const QString desktopFile = installed(QStringLiteral("/usr/share/applications/%1.desktop").arg(kAppId));
    const Outcome desktop = run(QStringLiteral("desktop-file-validate"), QStringLiteral("desktop-file-utils"), {desktopFile});
    EXPECT_TRUE(desktop.exitCode == 0 && desktop.out.isEmpty()) << desktop.out.toStdString() << desktop.err.toStdString();
    // The metainfo alone, then against the desktop entry and the icons beside it.
    for (const QStringList& arguments :
        {QStringList {QStringLiteral("validate"), QStringLiteral("--no-net"),
             installed(QStringLiteral("/usr/share/metainfo/%1.metainfo.xml").arg(kAppId))},
            QStringList {QStringLiteral("validate-tree"), QStringLiteral("--no-net"), s_root}}) {
        const Outcome appstream = run(QStringLiteral("appstreamcli"), QStringLiteral("appstream"), arguments);
        EXPECT_EQ(appstream.exitCode, 0) << appstream.out.toStdString() << appstream.err.toStdString();
    }

    QFile entry(desktopFile);
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(entry.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("\nIcon=%1\n").arg(kAppId))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("\nExec=parqueta\n"))) << text.toStdString();
    EXPECT_FALSE(QFile::exists(installed(QStringLiteral("/etc/xdg/autostart")))) << "installing must not turn on start at login";

    const QString program = installed(QStringLiteral("/usr/bin/parqueta"));
    const Outcome version = run(program, QStringLiteral("parqueta"), {QStringLiteral("--version")});
    EXPECT_EQ(version.out.trimmed(), QStringLiteral("Parqueta " PARQUETA_VERSION));
    // The update checks' helper, where the installed program looks for it, runs.
    const Outcome helper = run(installed(QStringLiteral("/usr/libexec/parqueta/parqueta-feed")), QStringLiteral("parqueta"), {});
    EXPECT_EQ(helper.exitCode, 2) << helper.err.toStdString();
    EXPECT_TRUE(helper.err.startsWith(QStringLiteral("failure: usage: parqueta-feed"))) << helper.err.toStdString();
    const Outcome help = run(program, QStringLiteral("parqueta"), {QStringLiteral("--help")});
    const Outcome manual = run(QStringLiteral("gzip"), QStringLiteral("gzip"),
        {QStringLiteral("-dc"), installed(QStringLiteral("/usr/share/man/man1/parqueta.1.gz"))});
    EXPECT_GE(longOptions(help.out).count(QLatin1Char(' ')), 5) << help.out.toStdString();
    EXPECT_EQ(longOptions(manual.out).toStdString(), longOptions(help.out).toStdString())
        << "the manual page and --help must list the same options";
}

TEST_F(PackageTest, TheInstalledProgramSitsInTheTrayDrawnInThePanelsColourAndCanStartAtLogin)
{
    VirtualDesktop& desktop = VirtualDesktop::shared();
    // xfce4-panel's tray publishes the colour of its own icons.
    ASSERT_TRUE(desktop.startWindowManager(WindowManagerKind::Xfce));
    SettingsFile().remove();
    qputenv("PARQUETA_EXECUTABLE", installed(QStringLiteral("/usr/bin/parqueta")).toLocal8Bit());
    ParquetaProcess parqueta(desktop);
    ASSERT_TRUE(parqueta.start()) << parqueta.lastError().toStdString();
    qunsetenv("PARQUETA_EXECUTABLE");

    OverlayProbe probe(desktop, parqueta.pid());
    std::optional<QRect> icon;
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return (icon = probe.trayIcon()).has_value(); }, 10000))
        << "no tray icon\n" << parqueta.logText().toStdString();
    // The monochrome glyph in the panel's light foreground, not the blue of the colour icon.
    int glyph = 0, blue = 0;
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        // Read again each time: the panel moves its tray icons while it lays them out.
        icon = probe.trayIcon();
        if (!icon)
            return false;
        const QImage shot = RootScreenshot::take().copy(*icon);
        glyph = blue = 0;
        for (int y = 0; y < shot.height(); ++y) {
            for (int x = 0; x < shot.width(); ++x) {
                const QColor c = shot.pixelColor(x, y);
                // Light grey, edges blended into the dark panel included.
                glyph += c.red() > 0x90 && std::abs(c.red() - c.blue()) < 0x18;
                blue += c.blue() - c.red() > 0x40;
            }
        }
        // The screen's outline alone covers more than this at the smallest tray size.
        return glyph > 40;
    }, 10000)) << glyph << " light pixels in the tray icon " << (icon ? icon->width() : 0) << "x"
              << (icon ? icon->height() : 0)
              << (RootScreenshot::save(QDir::temp().filePath(QStringLiteral("parqueta-package-tray.png"))) ? "; the desktop: " : "")
              << QDir::temp().filePath(QStringLiteral("parqueta-package-tray.png")).toStdString();
    EXPECT_EQ(blue, 0);

    const QString autostart = qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/autostart/%1.desktop").arg(kAppId);
    EXPECT_FALSE(QFile::exists(autostart));
    ASSERT_TRUE(SettingsFile().edit([](Settings& settings) { settings.setValue(Keys::launchAtLogin, true); }));
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return QFile::exists(autostart); }, 5000)) << parqueta.logText().toStdString();
    QFile entry(autostart);
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(entry.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("\nExec=%1 --login-item\n").arg(installed(QStringLiteral("/usr/bin/parqueta")))))
        << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("\nIcon=%1\n").arg(kAppId))) << text.toStdString();
    const Outcome valid = run(QStringLiteral("desktop-file-validate"), QStringLiteral("desktop-file-utils"), {autostart});
    EXPECT_TRUE(valid.exitCode == 0 && valid.out.isEmpty()) << valid.out.toStdString();
    ASSERT_TRUE(SettingsFile().edit([](Settings& settings) { settings.setValue(Keys::launchAtLogin, false); }));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !QFile::exists(autostart); }, 5000));

    EXPECT_EQ(parqueta.terminate(), std::optional<int>(0)) << parqueta.logText().toStdString();
    desktop.startWindowManager(WindowManagerKind::Openbox);
}

} // namespace
