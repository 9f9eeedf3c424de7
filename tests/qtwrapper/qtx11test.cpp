#include "qtx11test.h"

#include "autprocess.h"
#include "hook.h"
#include "inspector.h"

namespace QtX11Test {

using namespace Tolvex;

Hook *hook()
{
    static Hook *h = [] {
        qunsetenv("TOLVEX_RUNNERID");
        return Hook::connectAndCreateHook(QtWrapperTest::wrapper(), new AUTProcess,
                                          X11Test::plugin(), 0);
    }();
    return h;
}

SharedPtr<Object> ifReady(QObject *object, QString *error)
{
    Inspector::self()->lastError();
    SharedPtr<Object> ready = hook()->getObjectIfReady(QtWrapperTest::objectFor(object));
    const QString text = Inspector::self()->lastError();
    if (error)
        *error = text;
    return ready;
}

bool becomesReady(QObject *object, int timeoutMs)
{
    return TestSupport::waitUntil([object] { return bool(ifReady(object)); }, timeoutMs, 50);
}

} // namespace QtX11Test
