#include "models/LayoutPresets.h"

std::shared_ptr<Layout> defaultLayout(DefaultLayoutType type, const Screen& screen, const ScreenGeometry& screens)
{
    const QRectF frame = screens.visibleFrameOf(screen).value_or(QRectF());
    const SplitNode::Ptr root = SplitNode::create(0, 0, frame.width(), frame.height());
    switch (type) {
    case DefaultLayoutType::vertical:
        root->splitAtRatio(SplitType::vertical, 0.5);
        break;
    case DefaultLayoutType::rightT:
        root->splitAtRatio(SplitType::vertical, 0.667);
        root->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
        break;
    case DefaultLayoutType::doubleRightT: {
        root->splitAtRatio(SplitType::vertical, 0.4);
        const SplitNode::Ptr rest = root->children()[1];
        rest->splitAtRatio(SplitType::vertical, 0.6);
        rest->children()[1]->splitAtRatio(SplitType::horizontal, 0.5);
        break;
    }
    }
    return Layout::create(root, QUuid::createUuid(), screen);
}
