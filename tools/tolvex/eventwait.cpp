#include "eventwait.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace Tolvex {

bool waitUntil(const std::function<bool()> &done, int timeoutMs, int pollMs)
{
    if (done())
        return true;
    const QDeadlineTimer deadline(timeoutMs);
    // processEvents with a time limit drops WaitForMoreEvents and would spin;
    // the blocking form returns after the first events, the timer bounds it.
    // The last sleep may pass the deadline by up to pollMs.
    QTimer wake;
    wake.start(qMax(1, pollMs));
    for (;;) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (done())
            return true;
        if (deadline.hasExpired())
            return false;
    }
}

void runEventsFor(int ms)
{
    waitUntil([] { return false; }, ms, qMin(ms, 50));
}

} // namespace Tolvex
