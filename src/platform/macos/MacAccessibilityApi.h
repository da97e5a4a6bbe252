#pragma once

#include "platform/macos/AccessibilityApi.h"

// AccessibilityApi over the HIServices accessibility calls, the window server's window
// list and NSRunningApplication. Each method is the one call its name says, with the
// values converted both ways; what a result means is AccessibilityWindowControl's
// business. Elements handed to it must have been made here.
class MacAccessibilityApi final : public AccessibilityApi
{
public:
    AxElementRef systemWide() override;
    AxElementRef application(qint64 pid) override;
    AxReading copyAttribute(const AxElement& element, const QString& attribute) override;
    AxError setAttribute(
        const AxElement& element, const QString& attribute, const std::variant<QPointF, QSizeF, bool>& value) override;
    AxError performAction(const AxElement& element, const QString& action) override;
    AxElementRef elementAtPosition(const AxElement& element, const QPointF& point) override;
    std::optional<qint64> pid(const AxElement& element) override;
    AxWindowNumber windowNumber(const AxElement& element) override;

    std::optional<QPointF> pointerLocation() override;
    std::optional<std::vector<WindowListEntry>> windowList(quint32 options) override;

    std::optional<RunningApplication> runningApplication(qint64 pid) override;
    void activate(qint64 pid) override;
};
