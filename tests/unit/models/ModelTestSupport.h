#pragma once

#include "models/ScreenGeometry.h"
#include "models/SplitNode.h"

#include <QHash>
#include <QLoggingCategory>
#include <QString>

#include <algorithm>
#include <vector>

// Visible frames by screen id; a screen without an entry is not connected.
class FakeScreenGeometry final : public ScreenGeometry
{
public:
    void connect(const Screen& screen, const QRectF& frame) { m_frames.insert(screen.id(), frame); }
    std::optional<QRectF> visibleFrameOf(const Screen& screen) const override
    {
        const auto it = m_frames.constFind(screen.id());
        return it == m_frames.constEnd() ? std::nullopt : std::optional<QRectF>(*it);
    }

private:
    QHash<QString, QRectF> m_frames;
};

inline const Screen kScreen(
    QStringLiteral("37D8832A-2D66-02CA-B9F7-8F30A301B230-1512x982"), QStringLiteral("Built-in"));

// Counts the error-level lines of the model category with a given text while it exists.
class ErrorLog final
{
public:
    ErrorLog()
    {
        messages().clear();
        m_previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            if (type == QtCriticalMsg && qstrcmp(context.category, "parqueta.model") == 0)
                messages().push_back(text);
        });
    }
    ~ErrorLog() { qInstallMessageHandler(m_previous); }
    static long count(const char* text)
    {
        return std::count(messages().begin(), messages().end(), QLatin1String(text));
    }
    static std::vector<QString>& messages()
    {
        static std::vector<QString> captured;
        return captured;
    }

private:
    QtMessageHandler m_previous = nullptr;
};

// Counts the announcements a node makes.
struct ChangeCounter
{
    explicit ChangeCounter(const SplitNode::Ptr& node)
        : subscription(node->subscribe([this](const SplitNode::Ptr& emitter) { emitters.push_back(emitter); }))
    { }
    int count() const { return static_cast<int>(emitters.size()); }

    std::vector<SplitNode::Ptr> emitters;
    SplitNode::Subscription subscription;
};

inline std::vector<double> geometry(const SplitNode::Ptr& node)
{
    return {node->x(), node->y(), node->width(), node->height()};
}

// A node at the origin cut side by side at the given offsets, each into the second child of the previous cut.
inline SplitNode::Ptr columns(double width, std::initializer_list<double> offsets)
{
    const SplitNode::Ptr root = SplitNode::create(0, 0, width, 800);
    SplitNode::Ptr node = root;
    for (const double offset : offsets) {
        node->splitAtOffset(SplitType::vertical, offset);
        node = node->children()[1];
    }
    return root;
}
