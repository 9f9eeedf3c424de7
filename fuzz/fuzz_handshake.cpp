// Handshake messages from an untrusted peer.

#include "ipchandshake.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray message(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto result = Tolvex::IPCHandshake::processHanshake(message);
    // Touch the result so that a bad string would show under the sanitizers.
    return result.error.size() + result.value.clientName.size() >= 0 ? 0 : 1;
}
