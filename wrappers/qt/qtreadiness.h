#pragma once

// Whether an object is ready for a tester's input, and if not, why, in
// words: it must be visible, enabled, on the screen, not behind a modal
// window, not moving (its geometry the same in two looks, an animation
// frame apart or at the caller's last two polls), and it must be what
// receives a click at the point a click on it uses, its centre.

#include <QRect>
#include <QString>

#include <functional>

class QObject;

namespace Tolvex {

class QtReadiness
{
public:
    // Empty when the object is ready.
    static QString notReadyReason(QObject *object);
    // The same for a part of an object (an item of a view), which object
    // shows at the logical global bounds that partBounds tells.
    static QString notReadyReason(QObject *object, const std::function<QRect()> &partBounds);
};

} // namespace Tolvex
