// The floor for Parqueta's resident memory: the least a Qt Widgets program with a tray
// icon and the same overlay windows holds on this desktop. bench_process starts it on its
// virtual desktop, after Parqueta, and samples it from outside as it samples Parqueta.
//
//   bench_floor_tray --frame X,Y,W,H [--frame ...]
//
// It shows its tray icon; shows one window per frame (the overlays' flags, opaque,
// filled) and waits until all are painted; hides them. After each of these it prints
// the stage ("idle", "shown", "hidden") on a line of its own and waits for a line on
// stdin, during which it is sampled.
#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

class PlainWindow final : public QWidget
{
public:
    explicit PlainWindow(const QRect& frame)
        : QWidget(nullptr,
            Qt::FramelessWindowHint | Qt::WindowTransparentForInput | Qt::WindowStaysOnTopHint
                | Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint | Qt::Tool)
    {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setGeometry(frame);
    }
    bool painted = false;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter(this).fillRect(rect(), QColor(40, 80, 200));
        painted = true;
    }
};

// Runs the event loop for ms, or until done() holds when given.
void wait(int ms, const std::function<bool()>& done = {})
{
    QEventLoop loop;
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
    deadline.start(ms);
    QTimer poll;
    if (done) {
        QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
            if (done())
                loop.quit();
        });
        poll.start(5);
    }
    loop.exec();
}

// Announces the stage and holds still until the sampler is done.
void stage(const char* name)
{
    std::printf("%s\n", name);
    std::fflush(stdout);
    std::string line;
    std::getline(std::cin, line);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    std::vector<QRect> frames;
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--frame") != 0)
            continue;
        const QList<QByteArray> n = QByteArray(argv[i + 1]).split(',');
        if (n.size() == 4)
            frames.emplace_back(n[0].toInt(), n[1].toInt(), n[2].toInt(), n[3].toInt());
    }
    if (frames.empty()) {
        std::fprintf(stderr, "usage: bench_floor_tray --frame X,Y,W,H [--frame ...]\n");
        return 2;
    }
    QPixmap pixmap(22, 22);
    pixmap.fill(QColor(40, 80, 200));
    QSystemTrayIcon tray {QIcon(pixmap)};
    tray.show();
    wait(2000);
    stage("idle");

    std::vector<std::unique_ptr<PlainWindow>> windows;
    for (const QRect& frame : frames) {
        windows.push_back(std::make_unique<PlainWindow>(frame));
        windows.back()->show();
    }
    wait(5000, [&] {
        for (const auto& window : windows)
            if (!window->painted)
                return false;
        return true;
    });
    wait(500);
    stage("shown");
    for (const auto& window : windows)
        window->hide();
    wait(500);
    stage("hidden");
    return 0;
}
