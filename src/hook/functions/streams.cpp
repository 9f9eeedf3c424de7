// Screen streams to the server; served with screen streaming.

#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

constexpr RemoteFunction Functions[] = {
    asyncCall("recordScreen", exactly(3)),
    // A call whose wrong count is answered in the words of a send.
    call("configureBinaryStream", exactly(2), {},
         {.handler = "handleSend", .answer = &answerWithWords}),
    send("stopBinaryStream", exactly(1)),
    send("pauseBinaryStream", exactly(1)),
    // Spelled so on the wire.
    send("reasumeBinaryStream", exactly(1)),
    send("binaryStreamBytesReceived", exactly(2)),
};

} // namespace

std::span<const RemoteFunction> streamFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
