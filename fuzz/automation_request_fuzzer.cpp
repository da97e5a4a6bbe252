// A request line as a later launch (or anything else that reaches the socket) sends it,
// and an answer as a launch reads it back.
#include "FuzzSupport.h"
#include "core/AutomationRequest.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::quietLogs();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = Fuzz::bytes(data, size);
    const AutomationRequest::Parsed parsed = AutomationRequest::parse(bytes);
    Fuzz::check(parsed.request.has_value() != !parsed.error.isEmpty(), "a request or a reason, never both");
    if (parsed.request) {
        const QByteArray line = parsed.request->toLine();
        Fuzz::check(line.size() <= AutomationRequest::kMaxLineBytes && line.count('\n') == 1 && line.endsWith('\n'),
            "a parsed request is one bounded line");
        const AutomationRequest::Parsed again = AutomationRequest::parse(line);
        Fuzz::check(again.request == parsed.request, "a request survives the wire");
        if (parsed.request->command() == AutomationRequest::Command::snapFocused)
            Fuzz::check(parsed.request->firstZone() >= 1 && parsed.request->firstZone() <= parsed.request->lastZone()
                    && parsed.request->lastZone() <= AutomationRequest::kMaxNumber,
                "zone ranges run forwards within bounds");
    }

    // The same bytes as an answer, and as the body of one.
    if (const std::optional<AutomationAnswer> answer = AutomationRequest::decodeAnswer(bytes))
        Fuzz::check(answer->status >= 0 && answer->status <= 999, "a status is a small number");
    const AutomationAnswer sent {AutomationRequest::kNotPossibleNow, QString::fromUtf8(bytes)};
    const std::optional<AutomationAnswer> received = AutomationRequest::decodeAnswer(AutomationRequest::encodeAnswer(sent));
    Fuzz::check(received && received->status == sent.status && received->body == sent.body, "an answer survives the wire");
    return 0;
}
