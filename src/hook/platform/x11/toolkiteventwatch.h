#pragma once

#include <QAbstractNativeEventFilter>

#include <array>
#include <atomic>

namespace Tolvex {

// Watches the X events that this process's Qt reads, for two things:
//
// Keys: a keycode bound for a moment keeps its meaning until the events
// sent on it have been read. Qt translates a key event with the keymap it
// holds when it reads the event, and it fetches the keymap anew on every
// mapping change: a binding changed before Qt read the key would turn the
// key into another character, or into none.
//
// Time: Qt stamps its clipboard requests with the time of the last event it
// read. A property change on one of its windows, once read, hands it the
// server's present time.
class ToolkitEventWatch : public QAbstractNativeEventFilter
{
public:
    // The watch of this process once it watches; null where no Qt reads X
    // events (no QGuiApplication, or another platform than xcb), and until
    // the GUI thread has installed it.
    static ToolkitEventWatch *instance();

    // A press or release on the keycode is on its way to this process.
    void expectKey(int keycode);
    // Events on the keycode on their way and not yet read.
    int pendingKeys(int keycode) const;

    // The property change events of this atom read so far.
    void setTimeAtom(unsigned atom) { m_timeAtom = atom; }
    int timeEventsRead() const { return m_timeEventsRead.load(); }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    ToolkitEventWatch() = default;

    std::atomic<bool> m_installed = false;
    std::array<std::atomic<int>, 256> m_pendingKeys{};
    std::atomic<unsigned> m_timeAtom = 0;
    std::atomic<int> m_timeEventsRead = 0;
};

} // namespace Tolvex
