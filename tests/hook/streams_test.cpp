// Screen streams in a Hook without a server: opening through the platform,
// ids, steering by id, closing, and the streams left at the end.
#include "autprocess.h"
#include "binarystream.h"
#include "binarytransmission.h"
#include "eventloop.h"
#include "hook.h"
#include "recordingnative.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

class TestStream : public BinaryStreamProducer
{
public:
    QStringList calls;
    FunctionCallResult<void> configure(const QMap<QString, QVariant> &options) override
    {
        if (options.contains(QStringLiteral("bad")))
            return FunctionCallResult<void>::failure(QStringLiteral("no such option"));
        calls << QStringLiteral("configure");
        return {};
    }
    void pause() override { calls << QStringLiteral("pause"); }
    void resume() override { calls << QStringLiteral("resume"); }
    void stop() override
    {
        calls << QStringLiteral("stop");
        Q_EMIT closed(0, QStringLiteral("Stream stopped"));
    }
    void bytesReceived(uint n) override
    {
        calls << QStringLiteral("received %1").arg(n);
        BinaryStreamProducer::bytesReceived(n);
    }
};

// A platform that streams, or fails to, as the test says.
class StreamingNative : public TestPlatform::RecordingNative
{
public:
    QString error;
    QList<QPointer<TestStream>> made;
    void recordScreen(uint allowed, const QMap<QString, QVariant> &,
                      ResponseListener<BinaryStream *> *listener) override
    {
        if (!error.isEmpty()) {
            listener->error(error);
            return;
        }
        auto *stream = new TestStream;
        stream->setFormat(allowed & RleStream);
        made.append(stream);
        listener->success(stream);
    }
    int shots = 0;
    FunctionCallResult<Screenshot> desktopScreenshot(Rect<1>, int) override
    {
        ++shots;
        Screenshot shot;
        shot.image = QImage(64, 48, QImage::Format_RGB32);
        shot.image.fill(Qt::darkGreen);
        return shot;
    }
};

class StreamingPlugin : public TestPlatform::RecordingPlugin
{
public:
    NativeInterface *nativeInterface() override { return &streaming; }
    StreamingNative streaming;
};

class Streams : public ::testing::Test
{
protected:
    void SetUp() override
    {
        qunsetenv("TOLVEX_RUNNERID");
        hook = Hook::connectAndCreateHook(nullptr, new AUTProcess, &plugin, 0);
        ASSERT_NE(hook, nullptr);
    }
    void TearDown() override
    {
        if (hook)
            hook->deleteHook();
    }

    FunctionCallResult<ArgumentList> record(unsigned allowed)
    {
        struct Catch : ResponseListener<ArgumentList>
        {
            FunctionCallResult<ArgumentList> result;
            void response(FunctionCallResult<ArgumentList> r) override { result = std::move(r); }
        } listener;
        hook->handleCall(0, QStringLiteral("recordScreen"), {7, allowed, QVariantMap()}, &listener);
        return listener.result;
    }
    QVariant call(const char *name, const ArgumentList &args)
    {
        return hook->handleCall(0, QString::fromLatin1(name), args);
    }
    void send(const char *name, const ArgumentList &args)
    {
        hook->handleSend(0, QString::fromLatin1(name), args);
    }

    StreamingPlugin plugin;
    Hook *hook = nullptr;
};

} // namespace

TEST_F(Streams, StreamsGetTheSmallestFreeIdAndAreSteeredByIt)
{
    const FunctionCallResult<ArgumentList> first = record(RleStream | H264Stream);
    ASSERT_TRUE(first.isSuccess()) << qPrintable(first.error);
    EXPECT_EQ(first.value, (ArgumentList{1u, quint32(RleStream)}));
    EXPECT_EQ(record(RleStream).value.value(0), QVariant(2u));
    ASSERT_EQ(plugin.streaming.made.size(), 2);
    TestStream *one = plugin.streaming.made.at(0);
    EXPECT_EQ(hook->binaryTransmission(1)->peer(), 7u);
    EXPECT_EQ(one->parent(), hook->binaryTransmission(1));

    EXPECT_EQ(call("configureBinaryStream", {1u, QVariantMap{{"fpsLimit", 5}}}), QVariant(0));
    EXPECT_EQ(call("configureBinaryStream", {1u, QVariantMap{{"bad", 1}}}),
              QVariant(QStringLiteral("no such option")));
    EXPECT_EQ(call("configureBinaryStream", {9u, QVariantMap()}),
              QVariant(QStringLiteral("Unknown stream id")));
    send("pauseBinaryStream", {1u});
    send("reasumeBinaryStream", {1u});
    send("binaryStreamBytesReceived", {1u, 4096u});
    // Unknown ids and wrong counts reach no stream.
    send("pauseBinaryStream", {9u});
    send("pauseBinaryStream", {1u, 2u});
    EXPECT_EQ(one->calls, (QStringList{"configure", "pause", "resume", "received 4096"}));

    // Stopped, the stream closes; its id is free for the next one, and the
    // stream goes with its transmission.
    send("stopBinaryStream", {1u});
    EXPECT_EQ(hook->binaryTransmission(1), nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(plugin.streaming.made.at(0).isNull());
    EXPECT_EQ(record(RleStream).value.value(0), QVariant(1u));
}

TEST_F(Streams, ThePlatformsErrorIsTheAnswerAndStreamsEndWithTheAgent)
{
    plugin.streaming.error = QStringLiteral("no capture here");
    const FunctionCallResult<ArgumentList> refused = record(RleStream);
    EXPECT_EQ(refused.error, QStringLiteral("no capture here"));
    EXPECT_EQ(hook->binaryTransmission(1), nullptr);

    // Where H.264 is allowed, the platform's screenshots are coded instead.
    const FunctionCallResult<ArgumentList> coded = record(RleStream | H264Stream);
    ASSERT_TRUE(coded.isSuccess()) << qPrintable(coded.error);
    EXPECT_EQ(coded.value, (ArgumentList{1u, quint32(H264Stream)}));
    QList<QByteArray> segments;
    QObject::connect(hook->binaryTransmission(1)->stream(), &BinaryStream::nextSegment,
                     [&](const QByteArray &segment) { segments.append(segment); });
    ASSERT_TRUE(TestSupport::waitUntil([&] { return segments.size() >= 3; }, 5000));
    EXPECT_GE(plugin.streaming.shots, 2);
    // Parameters: kind 0, 20 bytes, then 64x48.
    EXPECT_EQ(segments.at(0).left(12), QByteArray::fromHex("000000000000000000000014"));
    EXPECT_EQ(segments.at(0).right(8), QByteArray::fromHex("0000004000000030"));
    send("stopBinaryStream", {1u});
    EXPECT_EQ(hook->binaryTransmission(1), nullptr);

    plugin.streaming.error.clear();
    ASSERT_TRUE(record(RleStream).isSuccess());
    ASSERT_TRUE(record(RleStream).isSuccess());
    hook->deleteHook();
    hook = nullptr;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const QPointer<TestStream> &stream : plugin.streaming.made)
        EXPECT_TRUE(stream.isNull());
}
