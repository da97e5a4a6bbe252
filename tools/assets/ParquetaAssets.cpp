// Writes the files an installation needs that are made from the program itself: the
// hicolor icons from the drawn app icon, and the manual page from the option table; on
// macOS, the icon set that iconutil turns into the bundle's Parqueta.icns.
// Usage: parqueta_assets OUTPUT_DIR MANUAL_TEMPLATE VERSION DATE
//        parqueta_assets --iconset ICONSET_DIR
#include "app/CommandLine.h"
#include "views/AppIcon.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStringList>

#include <cstdio>

namespace {

const QString kIconName = QStringLiteral("io.github.parqueta.Parqueta");

bool write(const QString& path, const QByteArray& data)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        std::fprintf(stderr, "parqueta_assets: cannot create the folder of %s\n", qPrintable(path));
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        std::fprintf(stderr, "parqueta_assets: cannot write %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return false;
    }
    return true;
}

bool writeImage(const QString& path, const QImage& image)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()) || !image.save(path, "PNG")) {
        std::fprintf(stderr, "parqueta_assets: cannot write %s\n", qPrintable(path));
        return false;
    }
    return true;
}

// The names iconutil expects in an .iconset folder: each size in points, once at 1x and
// once at 2x. Every image is drawn at its own size rather than scaled from another.
bool writeIconset(const QString& dir)
{
    bool ok = true;
    for (int points : {16, 32, 128, 256, 512}) {
        const QString base = dir + QStringLiteral("/icon_%1x%1").arg(points);
        ok = writeImage(base + QStringLiteral(".png"), AppIcon::image(points)) && ok;
        ok = writeImage(base + QStringLiteral("@2x.png"), AppIcon::image(2 * points)) && ok;
    }
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--iconset") == 0)
        return writeIconset(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
    if (argc != 5) {
        std::fprintf(stderr,
            "usage: parqueta_assets OUTPUT_DIR MANUAL_TEMPLATE VERSION DATE\n"
            "       parqueta_assets --iconset ICONSET_DIR\n");
        return 64;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    QFile pageTemplate(QString::fromLocal8Bit(argv[2]));
    if (!pageTemplate.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "parqueta_assets: cannot read %s\n", argv[2]);
        return 1;
    }
    const QString page = CommandLine::manualPage(QString::fromUtf8(pageTemplate.readAll()),
        QString::fromLocal8Bit(argv[3]), QString::fromLocal8Bit(argv[4]));

    bool ok = write(out + QStringLiteral("/parqueta.1"), page.toUtf8());
    const QString icons = out + QStringLiteral("/icons/hicolor/");
    for (int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        ok = writeImage(icons + QStringLiteral("%1x%1/apps/%2.png").arg(size).arg(kIconName), AppIcon::image(size))
            && ok;
    }
    ok = write(icons + QStringLiteral("scalable/apps/%1.svg").arg(kIconName), AppIcon::svg()) && ok;
    ok = write(icons + QStringLiteral("symbolic/apps/%1-symbolic.svg").arg(kIconName), AppIcon::symbolicSvg()) && ok;
    return ok ? 0 : 1;
}
