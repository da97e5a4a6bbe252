#pragma once

#include "platform/macos/AccessibilityApi.h"

#include <QDebug>
#include <QStringList>

#include <map>

// Scripted accessibility: elements are named sets of attribute readings, and an unset
// attribute answers "unsupported" as on a real element. Writes, actions and activations
// are logged in order as "<element> <attribute> <value>".
class FakeAccessibilityApi final : public AccessibilityApi
{
public:
    struct Element final : AxElement
    {
        QString name;
        std::optional<qint64> pid;
        AxWindowNumber number;
        AxError raise = AxError::Success;
        mutable std::map<QString, AxReading> attributes;

        void set(const QString& attribute, AxValue value, AxError error = AxError::Success)
        {
            attributes[attribute] = {error, std::move(value)};
        }
    };
    using Ref = std::shared_ptr<Element>;

    static Ref add(const QString& name, std::optional<qint64> pid = std::nullopt)
    {
        auto element = std::make_shared<Element>();
        element->name = name;
        element->pid = pid;
        return element;
    }
    // A standard window with a window number and a readable frame.
    static Ref addWindow(const QString& name, qint64 pid, quint32 number, const QRectF& frame)
    {
        Ref window = add(name, pid);
        window->number = {AxError::Success, number};
        window->set("AXRole", QStringLiteral("AXWindow"));
        window->set("AXSubrole", QStringLiteral("AXStandardWindow"));
        window->set("AXPosition", frame.topLeft());
        window->set("AXSize", frame.size());
        return window;
    }
    // The application element of pid, "app<pid>": one per pid.
    Ref app(qint64 pid)
    {
        Ref& element = m_apps[pid];
        if (!element)
            element = add(QStringLiteral("app%1").arg(pid), pid);
        return element;
    }

    Ref systemWideElement = add("systemWide");
    Ref hit; // what the hit test finds at the pointer
    std::optional<QPointF> pointer = QPointF(10, 10);
    std::optional<std::vector<WindowListEntry>> windows;
    quint32 windowListOptions = 0;
    std::map<qint64, RunningApplication> running;
    QStringList log;

    AxElementRef systemWide() override { return systemWideElement; }
    AxElementRef application(qint64 pid) override { return app(pid); }
    AxReading copyAttribute(const AxElement& element, const QString& attribute) override
    {
        const auto found = own(element).attributes.find(attribute);
        return found == own(element).attributes.end() ? AxReading {AxError::AttributeUnsupported, {}} : found->second;
    }
    AxError setAttribute(
        const AxElement& element, const QString& attribute, const std::variant<QPointF, QSizeF, bool>& value) override
    {
        const AxValue stored = std::visit([](auto v) { return AxValue(v); }, value);
        QString text;
        std::visit([&text](auto v) { QDebug(&text).nospace() << v; }, value);
        log << own(element).name + " " + attribute + " " + text;
        own(element).attributes[attribute] = {AxError::Success, stored};
        return AxError::Success;
    }
    AxError performAction(const AxElement& element, const QString& action) override
    {
        log << own(element).name + " " + action;
        return own(element).raise;
    }
    AxElementRef elementAtPosition(const AxElement&, const QPointF& point) override
    {
        return point == pointer ? hit : nullptr;
    }
    std::optional<qint64> pid(const AxElement& element) override { return own(element).pid; }
    AxWindowNumber windowNumber(const AxElement& element) override { return own(element).number; }
    std::optional<QPointF> pointerLocation() override { return pointer; }
    std::optional<std::vector<WindowListEntry>> windowList(quint32 options) override
    {
        windowListOptions = options;
        return windows;
    }
    std::optional<RunningApplication> runningApplication(qint64 pid) override
    {
        return running.contains(pid) ? std::optional(running[pid]) : std::nullopt;
    }
    void activate(qint64 pid) override { log << QStringLiteral("activate %1").arg(pid); }

private:
    static const Element& own(const AxElement& element) { return static_cast<const Element&>(element); }

    std::map<qint64, Ref> m_apps;
};
