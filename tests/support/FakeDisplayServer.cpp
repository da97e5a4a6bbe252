#include "FakeDisplayServer.h"

void FakeDisplayServer::changeDisplays(const QList<DisplayInfo>& displays, quint32 flags)
{
    m_displays = displays;
    Q_EMIT displaysChanged(flags);
}

DisplayInfo FakeDisplayServer::display(
    const QString& uuid, const QString& name, const QRectF& frame, const QRectF& visibleFrame)
{
    return DisplayInfo {uuid, name, frame, visibleFrame.isNull() ? frame : visibleFrame};
}
