#pragma once

#include "managers/KeyboardMonitor.h"
#include "managers/MousePositionMonitor.h"
#include "models/Screen.h"
#include "models/SplitBorder.h"
#include "models/SplitLine.h"
#include "models/SplitType.h"

#include <QJsonObject>
#include <QMetaObject>
#include <QObject>
#include <QPointF>
#include <QSizeF>

#include <memory>
#include <optional>
#include <vector>

class Layout;
class ScreenManager;

// The state of one open zone editor and every operation that changes its layout. Edits
// act on the Layout object handed in, so a zone gesture on the same screen already sees
// them; the manager saves the layout when the editor closes.
//
// Coordinates are the screen's layout space (origin at the top-left of its visible frame,
// y down, the window manager's pixels): what the tree, the pointer monitor and the
// clicks handed in by the canvas all use. The canvas scales to its own pixels.
//
// Besides the session itself this holds the canvas's interaction state (hover, border
// drag, preview-line visibility, keyboard focus), so the canvas only draws and routes
// events, and tests drive all of it without pixels.
class ZoneEditorViewModel final : public QObject, public MousePositionObserver, public KeyboardObserver
{
    Q_OBJECT

public:
    // What the keyboard focus ring stands on: a zone (index into layout->zones()) or a
    // border (index into layout->borders()).
    struct FocusItem
    {
        enum class Kind { none, zone, border };
        Kind kind = Kind::none;
        int index = -1;
        friend bool operator==(const FocusItem&, const FocusItem&) = default;
    };

    ZoneEditorViewModel(
        Screen screen, std::shared_ptr<Layout> layout, ScreenManager& screens, QObject* parent = nullptr);
    ~ZoneEditorViewModel() override;

    const Screen& screen() const { return m_screen; }
    const std::shared_ptr<Layout>& layout() const { return m_layout; }
    // Swaps the layout shown (a second request for the same screen). Pointer, flags and
    // interaction state stay; the undo history belongs to the old layout and goes.
    void setLayout(std::shared_ptr<Layout> layout);

    // The extent of the canvas in layout space: the screen's visible frame, or the tree's
    // own size while the screen is not connected.
    QSizeF canvasSize() const;

    QPointF mousePosition() const { return m_mousePosition; }
    const SplitLine& splitLine() const { return m_splitLine; }
    bool splitHorizontal() const { return m_splitHorizontal; }

    void startMonitoring();
    void stopMonitoring();
    bool isMonitoring() const;

    // Splits the zone under the point at the point's distance from the zone's left (or
    // top) edge.
    void handleTap(QPointF point);
    void resetZones();
    void handleDeleteBorderTapped(const SplitBorder& border);

    const Screen& observedScreen() const override { return m_screen; }
    void mousePositionChanged(const MousePositionEvent& event) override;
    void keyboardFlagsChanged(const KeyboardEvent& event) override;

    // --- Canvas interaction ----------------------------------------------------------
    bool showLine() const { return m_showLine; }
    bool isResizing() const { return m_isResizing; }
    std::optional<int> hoveredBorderId() const { return m_hoveredBorderId; }
    bool hoveringHandle() const { return m_hoveringHandle; }
    bool hoveringDelete() const { return m_hoveringDelete; }
    // The border whose handle is being dragged, as it is now.
    std::optional<SplitBorder> resizingBorder() const;

    void setHandleHovered(int borderId, bool hovering);
    void setDeleteHovered(bool hovering);
    // The pointer is over the close or reset button: no preview line there.
    void setButtonHovered(bool hovering);

    // A drag on a border's handle. Every step resizes from the size the first child had
    // when the drag began plus the whole translation so far, so steps never add up drift.
    void beginBorderDrag(int borderId);
    void dragBorder(double translation);
    void endBorderDrag();
    // A click on a border's delete control: merges, and the interaction state starts over.
    void deleteBorder(int borderId);
    // The sizes of the dragged border's two children along the split, as the labels show
    // them ("640px"); empty while no border is dragged.
    std::vector<QString> sizeLabels() const;

    // --- Undo -----------------------------------------------------------------------
    // Every split, merge, border drag and reset is one step.
    bool canUndo() const { return !m_undo.empty(); }
    bool canRedo() const { return !m_redo.empty(); }
    void undo();
    void redo();

    // --- Keyboard editing -----------------------------------------------------------
    const FocusItem& focus() const { return m_focus; }
    // Through the zones, then the borders, wrapping around.
    void focusNext();
    void focusPrevious();
    // The focused zone split evenly at its middle.
    void splitFocusedZone(SplitType type);
    // The focused border moved by delta layout points along its parent's split.
    void moveFocusedBorder(double delta);
    void deleteFocusedBorder();

    static QString sizeLabel(double size);

Q_SIGNALS:
    // Anything the canvas draws changed but the preview line: the tree, hover, focus.
    void changed();
    // The preview line moved (and nothing else).
    void splitLineChanged();

private:
    void recomputeSplitLine();
    std::shared_ptr<class Zone> zoneAt(QPointF point) const;
    std::optional<SplitBorder> borderWithId(int id) const;
    // Keeps the tree as it is now as one undo step; redo history ends here.
    void recordStep();
    void restore(const QJsonObject& tree);
    // One step back (undo) or forward (redo): the tree now goes on the other stack.
    void travel(std::vector<QJsonObject>& from, std::vector<QJsonObject>& to);
    std::optional<QJsonObject> snapshot() const;
    void clampFocus();
    void moveFocus(int step);
    void subscribeToLayout();

    Screen m_screen;
    std::shared_ptr<Layout> m_layout;
    ScreenManager& m_screens;
    MousePositionMonitor m_mousePosMonitor;
    KeyboardMonitor m_keyboardMonitor;
    QMetaObject::Connection m_layoutConnection;

    QPointF m_mousePosition;
    SplitLine m_splitLine;
    bool m_optionHeld = false;
    bool m_shiftHeld = false;
    bool m_splitHorizontal = false;

    bool m_isResizing = false;
    double m_startingSize = 0;
    std::shared_ptr<class SplitNode> m_resizingParent;
    std::optional<int> m_resizingBorderId;
    std::optional<int> m_hoveredBorderId;
    bool m_hoveringHandle = false;
    bool m_hoveringDelete = false;
    bool m_showLine = true;

    std::vector<QJsonObject> m_undo;
    std::vector<QJsonObject> m_redo;
    FocusItem m_focus;
};
