#pragma once

// What the wrapper's tests on a real X server share: the agent of this
// process, with the wrapper and the X11 plug-in of the build, and readiness
// as the Hook answers it.

#include "qtwrappertest.h"

#include "x11testsupport.h"

class QWidget;

namespace Tolvex {
class Hook;
}

namespace QtX11Test {

using Tolvex::Object;
using Tolvex::SharedPtr;

// A Hook without a server, made once, with the wrapper and the plug-in.
Tolvex::Hook *hook();

// The Hook's answer on readiness: the object if ready; else null and the
// error text.
SharedPtr<Object> ifReady(QObject *object, QString *error = nullptr);
// Polls readiness as a server does, until ready or the time is up.
bool becomesReady(QObject *object, int timeoutMs = 3000);

} // namespace QtX11Test
