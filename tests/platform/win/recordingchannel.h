#pragma once

// Stands in for SendInput and Sleep: keeps what would have been sent and
// how long the operation would have paused, on a clock of its own. A send
// may be made to fail, as the system's does, with a last error set.

#include "wininput_win.h"

#include <cstdint>
#include <vector>

struct ChannelEvent
{
    // Records sent in one call, or a pause when empty.
    std::vector<INPUT> records;
    unsigned pause = 0;

    bool isPause() const { return records.empty(); }
};

class RecordingChannel : public Tolvex::Win::InputChannel
{
public:
    unsigned send(const std::vector<INPUT> &records) override
    {
        events.push_back({records, 0});
        if (sends++ == failingSend) {
            SetLastError(ERROR_ACCESS_DENIED);
            return 0;
        }
        return unsigned(records.size());
    }
    void sleep(unsigned milliseconds) override
    {
        events.push_back({{}, milliseconds});
        clock += milliseconds;
    }
    std::uint64_t milliseconds() override { return clock; }

    // The sends alone, in order.
    std::vector<std::vector<INPUT>> sent() const
    {
        std::vector<std::vector<INPUT>> calls;
        for (const ChannelEvent &event : events)
            if (!event.isPause())
                calls.push_back(event.records);
        return calls;
    }
    unsigned totalPause() const
    {
        unsigned total = 0;
        for (const ChannelEvent &event : events)
            total += event.pause;
        return total;
    }

    std::vector<ChannelEvent> events;
    // The index of the send that fails; -1 for none.
    int failingSend = -1;
    int sends = 0;
    std::uint64_t clock = 1000;
};
