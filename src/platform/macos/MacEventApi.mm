#include "platform/macos/MacEventApi.h"

#import <AppKit/AppKit.h>

#include <map>

struct MacEventApi::Monitors
{
    // Strong: removeMonitor: wants the very object back, exactly once.
    std::map<Token, id> byToken;
    Token nextToken = 1;

    Token keep(id monitor)
    {
        if (!monitor)
            return 0;
        const Token token = nextToken++;
        byToken.emplace(token, monitor);
        return token;
    }
};

namespace {

CocoaEvent cocoaEventOf(NSEvent* event)
{
    return {quint32(event.type), quint64(event.modifierFlags)};
}

} // namespace

MacEventApi::MacEventApi()
    : m_monitors(std::make_unique<Monitors>())
{ }

MacEventApi::~MacEventApi()
{
    for (const auto& [token, monitor] : m_monitors->byToken)
        [NSEvent removeMonitor:monitor];
}

CocoaEventApi::Token MacEventApi::addGlobalMonitor(quint64 mask, Handler handler)
{
    // AppKit calls the handler on the main thread, after the event reached its own
    // application.
    return m_monitors->keep(
        [NSEvent addGlobalMonitorForEventsMatchingMask:NSEventMask(mask)
                                               handler:^(NSEvent* event) { handler(cocoaEventOf(event)); }]);
}

CocoaEventApi::Token MacEventApi::addLocalMonitor(quint64 mask, Handler handler)
{
    return m_monitors->keep([NSEvent addLocalMonitorForEventsMatchingMask:NSEventMask(mask)
                                                                  handler:^NSEvent*(NSEvent* event) {
                                                                      handler(cocoaEventOf(event));
                                                                      return event;
                                                                  }]);
}

void MacEventApi::removeMonitor(Token token)
{
    const auto found = m_monitors->byToken.find(token);
    if (found == m_monitors->byToken.end())
        return;
    [NSEvent removeMonitor:found->second];
    m_monitors->byToken.erase(found);
}

quint64 MacEventApi::modifierFlags()
{
    return quint64(NSEvent.modifierFlags);
}
