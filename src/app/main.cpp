#include "core/Logging.h"

#include <QApplication>

int main(int argc, char** argv)
{
    Logging::install();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Parqueta"));
    QApplication::setApplicationVersion(QStringLiteral(PARQUETA_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    qCInfo(lcApp) << "Parqueta" << QApplication::applicationVersion() << "started";
    return app.exec();
}
