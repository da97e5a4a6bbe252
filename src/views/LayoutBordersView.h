#pragma once

#include <QRegion>
#include <QWidget>

#include <memory>

class Layout;
class Settings;

// The flash of a layout's borders: the screen dimmed, outlined in the accent colour, and
// every split border of the layout drawn over it.
class LayoutBordersView final : public QWidget
{
    Q_OBJECT

public:
    LayoutBordersView(std::shared_ptr<Layout> layout, const Settings& settings, QWidget* parent = nullptr);

    void setLayout(std::shared_ptr<Layout> layout);
    // Black at half opacity in a dark appearance, white at half opacity otherwise.
    QColor backgroundColor() const;
    // Without a compositor nothing can be dimmed: only the outline and borders are drawn,
    // and the window is cut down to them.
    void setOpaque(bool opaque) { m_opaque = opaque; }
    QRegion paintedRegion() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF toView(const QRectF& layoutRect) const;

    std::shared_ptr<Layout> m_layout;
    const Settings& m_settings;
    bool m_opaque = false;
};
