#pragma once

#include "views/DebugViewModel.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTextBrowser;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

// The engine's state, live, for whoever wonders what Parqueta sees: refreshed twice a
// second while shown. "Why won't this window snap?" holds the pointer until the next
// click and explains the window clicked.
class DebugWindow final : public QWidget
{
    Q_OBJECT

public:
    explicit DebugWindow(DebugViewModel::Sources sources, QWidget* parent = nullptr);
    ~DebugWindow() override;

    void present();
    // Reads the engine again now.
    void refresh();
    // Starts the pick: the next click anywhere names the window to explain.
    void startInspecting();
    // Explains the window under the pointer (the end of a pick, or a test).
    void inspectUnderPointer();
    bool isInspecting() const { return m_inspecting; }

    DebugViewModel& model() { return m_model; }
    // The diagnosis shown last, as plain text.
    QString diagnosisText() const;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stopInspecting();
    void fill(QTreeWidgetItem* parent, const QList<DebugNode>& nodes, const QString& path, const QSet<QString>& expanded);

    DebugViewModel m_model;
    QTreeWidget* m_tree;
    QPushButton* m_inspect;
    QLabel* m_hint;
    QTextBrowser* m_diagnosis;
    QTimer* m_timer;
    bool m_inspecting = false;
    bool m_filledOnce = false;
};
