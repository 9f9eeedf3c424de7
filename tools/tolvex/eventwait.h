#pragma once

#include <functional>

namespace Tolvex {

// Runs the event loop until done() holds or timeoutMs pass, and tells which.
// Between checks the thread sleeps in the loop until an event wakes it; a
// timer wakes it every pollMs as well, for conditions that no event of this
// process announces (a file another process writes, a child that ended).
// Deferred deletes are processed on the way.
bool waitUntil(const std::function<bool()> &done, int timeoutMs = 5000, int pollMs = 10);

// Runs the event loop for that long, as a pause between polls that still
// serves what arrives.
void runEventsFor(int ms);

// The pauses of a poll for something another process does: short at first,
// since most things come at once, then longer, so that a long wait does not
// keep both processes busy.
class PollPause
{
public:
    void wait()
    {
        runEventsFor(m_next);
        m_next = m_next * 2 > MaxMs ? MaxMs : m_next * 2;
    }

private:
    static constexpr int MaxMs = 50;
    int m_next = 5;
};

} // namespace Tolvex
