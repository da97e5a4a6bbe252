#pragma once

#include <QHash>
#include <QPixmap>
#include <QRectF>
#include <QWidget>

#include <functional>
#include <optional>

class Settings;
class ZoneEditorViewModel;
struct SplitBorder;

// The zone editor's canvas over one screen's visible frame. From back to front: the
// backdrop and its outline, the layout's borders, the preview line, each border's drag
// handle and delete control, the size labels of a dragged border, the hint, and the
// close and reset buttons. It draws what the view model holds and turns pointer and key
// events into the view model's operations; it decides nothing itself.
//
// The view model works in layout space (the window manager's pixels); the canvas may be
// scaled by a device-pixel ratio, so every rectangle and point crosses toCanvas() or
// toLayout(). Decorations (handles, labels, buttons) have fixed sizes in canvas pixels.
class ZoneEditorView final : public QWidget
{
    Q_OBJECT

public:
    ZoneEditorView(ZoneEditorViewModel& viewModel, const Settings& settings, QWidget* parent = nullptr);
    ~ZoneEditorView() override;

    // Without a compositor the backdrop is drawn solid.
    void setOpaque(bool opaque);

    QRectF toCanvas(const QRectF& layoutRect) const;
    QPointF toCanvas(QPointF layoutPoint) const;
    QPointF toLayout(QPointF canvasPoint) const;

    // Where the controls are, in canvas pixels.
    QRectF handleRect(const SplitBorder& border) const;
    QRectF deleteRect(const SplitBorder& border) const;
    QRectF closeButtonRect() const;
    QRectF resetButtonRect() const;
    QRectF hintRect() const;
    static QString hintText();

Q_SIGNALS:
    void closeRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    enum class Target { none, zone, handle, deleteControl, closeButton, resetButton };
    struct Hit
    {
        Target target = Target::none;
        int borderId = -1;
    };
    Hit hitAt(QPointF canvasPoint) const;
    void updateHover(QPointF canvasPoint);
    void updateCursor();
    void paintButton(QPainter& painter, const QRectF& rect, bool close) const;
    void paintDeleteControl(QPainter& painter, const QRectF& rect, bool hot) const;
    // Where the preview line is drawn, with a margin for antialiasing.
    QRect lineArea() const;
    void splitLineMoved();
    // Decorations drawn once per look and reused: with 64 zones there are 63 handles and
    // delete controls in every frame of a border drag.
    const QPixmap& sprite(
        const QString& key, QSize size, const std::function<void(QPainter&, const QRectF&)>& draw) const;
    void paintLabels(QPainter& painter) const;

    ZoneEditorViewModel& m_viewModel;
    const Settings& m_settings;
    bool m_opaque = false;
    Hit m_hover;
    Hit m_pressed;
    QPointF m_pressPosition;
    QRect m_lineArea;
    mutable QHash<QString, QPixmap> m_sprites;
};
