#pragma once

#include <QList>
#include <QMap>
#include <QString>

namespace Tolvex {

class PlatformPlugin;
class Wrapper;

// The Hook's private record. The object dictionary, the screen (a
// StandardScreen at start) and the binary transmissions by stream id join it
// with the object access calls, the screen globals and the streams.
struct HookData
{
    // In order of addWrapper; not owned.
    QList<Wrapper *> wrappers;
    // Which classes' events may be compressed while recording; "*" is all.
    QMap<QString, bool> eventCompression;
    // Not owned; stored for the native input calls.
    PlatformPlugin *platformPlugin = nullptr;
};

} // namespace Tolvex
