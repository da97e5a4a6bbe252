#pragma once

#include <QWidget>

// A small window with the icon, name, version, a short description and the licence.
class AboutWindow final : public QWidget
{
    Q_OBJECT

public:
    explicit AboutWindow(QWidget* parent = nullptr);

    // Shows the window, or brings the open one forward.
    void present();
};
