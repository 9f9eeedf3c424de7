// Screen streams to the server: opened by recordScreen, steered by the
// peer, their segments and closing sent as they come.

#include "binarystream.h"
#include "binarytransmission.h"
#include "h264screenshotrecorder.h"
#include "hook.h"
#include "nativeinterface.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

// Waits for the platform's stream, then answers the caller with the new
// stream's id and format, or with the platform's error. A platform without
// streams of its own still gets H.264 when the caller takes it: coded from
// its screenshots.
class StreamListener : public ResponseListener<BinaryStream *>
{
public:
    StreamListener(Hook &hook, ResponseListener<ArgumentList> *caller, unsigned peer,
                   unsigned allowed, ScreenshotSource *screenshots)
        : m_hook(&hook), m_caller(caller), m_peer(peer), m_allowed(allowed),
          m_screenshots(screenshots)
    {}

    void response(FunctionCallResult<BinaryStream *> result) override
    {
        if (Hook::instance() != m_hook) {
            delete result.value;
            m_caller->error(QStringLiteral("The agent went away"));
        } else if (result.isError() && (m_allowed & H264Stream)) {
            open(new Video::TolvexH264ScreenshotRecorder(m_screenshots));
        } else if (result.isError() || !result.value) {
            m_caller->error(result.isError() ? result.error
                                             : QStringLiteral("The platform gave no stream"));
        } else {
            open(result.value);
        }
        delete this;
    }

private:
    void open(BinaryStream *stream)
    {
        const unsigned id = m_hook->openBinaryTransmission(stream, m_peer);
        m_caller->success(ArgumentList{id, stream->format()});
    }

    Hook *m_hook;
    ResponseListener<ArgumentList> *m_caller;
    unsigned m_peer;
    unsigned m_allowed;
    ScreenshotSource *m_screenshots;
};

void recordScreen(Context &c, ResponseListener<ArgumentList> *listener, int peer, unsigned allowed,
                  const QVariantMap &options)
{
    NativeInterface *native = c.native();
    if (!native) {
        listener->error(Context::NoPlugin);
        return;
    }
    native->recordScreen(allowed, options,
                         new StreamListener(c.hook, listener, unsigned(peer), allowed, native));
}

BinaryStream *streamOf(Context &c, unsigned id)
{
    BinaryTransmission *transmission = c.hook.binaryTransmission(id);
    return transmission ? transmission->stream() : nullptr;
}

QVariant configure(Context &c, unsigned id, const QVariantMap &options)
{
    BinaryTransmission *transmission = c.hook.binaryTransmission(id);
    if (!transmission)
        return QStringLiteral("Unknown stream id");
    if (!transmission->stream())
        return QStringLiteral("Transmission stopped");
    const FunctionCallResult<void> done = transmission->stream()->configure(options);
    return done.isError() ? QVariant(done.error) : QVariant(0);
}

void bytesReceived(Context &c, unsigned id, unsigned count)
{
    if (auto *producer = qobject_cast<BinaryStreamProducer *>(streamOf(c, id)))
        producer->bytesReceived(count);
}

constexpr RemoteFunction Functions[] = {
    asyncCall("recordScreen", exactly(3), served<&recordScreen>),
    // A call whose wrong count is answered in the words of a send.
    call("configureBinaryStream", exactly(2), served<&configure>,
         {.handler = "handleSend", .answer = &answerWithWords}),
    send("stopBinaryStream", exactly(1), served<[](Context &c, unsigned id) {
             if (BinaryStream *stream = streamOf(c, id))
                 stream->stop();
         }>),
    send("pauseBinaryStream", exactly(1), served<[](Context &c, unsigned id) {
             if (BinaryStream *stream = streamOf(c, id))
                 stream->pause();
         }>),
    // Spelled so on the wire.
    send("reasumeBinaryStream", exactly(1), served<[](Context &c, unsigned id) {
             if (BinaryStream *stream = streamOf(c, id))
                 stream->resume();
         }>),
    send("binaryStreamBytesReceived", exactly(2), served<&bytesReceived>),
};

} // namespace

std::span<const RemoteFunction> streamFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
