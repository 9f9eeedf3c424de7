// Pacing of picture updates: the frame delay, the bytes-in-flight limit,
// pause and resume, and closing once, with the event loop's own timers.
#include "eventloop.h"
#include "videostreamproducer.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

using namespace Tolvex;
using TestSupport::runEventsFor;
using TestSupport::waitUntil;

namespace {

class Producer : public Video::VideoStreamProducer
{
public:
    int updates = 0;
    int segmentBytes = 100;
    bool failNext = false;
    QList<std::pair<uint, QString>> closings;

    Producer()
    {
        connect(this, &BinaryStreamControl::closed, [this](uint code, const QString &reason) {
            closings.append({code, reason});
        });
    }
    using VideoStreamProducer::scheduleUpdate;

protected:
    void sendUpdate(int) override
    {
        if (failNext)
            throw std::runtime_error("capture failed");
        ++updates;
        sendNextSegment(QByteArray(segmentBytes, 'x'));
    }
};

} // namespace

TEST(VideoStreamProducer, TheFpsLimitSetsTheFrameDelay)
{
    Producer producer;
    EXPECT_EQ(producer.frameDelayMs(), 50);
    EXPECT_EQ(producer.maxBytesInFlight(), 0xA00000u);
    const auto fps = [&](const QVariant &value) {
        return producer.configure({{QStringLiteral("fpsLimit"), value}}).error;
    };
    EXPECT_EQ(fps(20), QString());
    EXPECT_EQ(producer.frameDelayMs(), 50);
    EXPECT_EQ(fps(3), QString());
    EXPECT_EQ(producer.frameDelayMs(), 333);
    EXPECT_EQ(fps(0), QString());
    EXPECT_EQ(producer.frameDelayMs(), std::numeric_limits<int>::min());
    EXPECT_EQ(fps(QStringLiteral("fast")), QStringLiteral("The fpsLimit must be a number"));
    EXPECT_EQ(fps(-1), QStringLiteral("The fpsLimit must be a positive number"));
    EXPECT_EQ(fps(std::numeric_limits<double>::quiet_NaN()),
              QStringLiteral("The fpsLimit must be a positive number"));
    EXPECT_EQ(producer.frameDelayMs(), std::numeric_limits<int>::min());
    EXPECT_EQ(producer.configure({}).error, QString());
}

TEST(VideoStreamProducer, UpdatesWaitForTheirTimeAndForAcknowledgements)
{
    Producer producer;
    producer.setMaxBytesInFlight(250);
    // At first a frame is due once the delay has passed since the start.
    producer.markDirty();
    EXPECT_TRUE(waitUntil([&] { return producer.updates == 1; }, 2000));
    EXPECT_FALSE(producer.isDirty());

    // Two changes in quick succession: one more update, a delay later.
    producer.markDirty();
    producer.markDirty();
    EXPECT_EQ(producer.updates, 1);
    EXPECT_TRUE(waitUntil([&] { return producer.updates == 2; }, 2000));
    runEventsFor(120);
    EXPECT_EQ(producer.updates, 2);

    // 200 bytes in flight of 250 allowed: one more goes, then none until
    // the peer has read some.
    producer.markDirty();
    EXPECT_TRUE(waitUntil([&] { return producer.updates == 3; }, 2000));
    EXPECT_EQ(producer.bytesSent(), 300u);
    producer.markDirty();
    runEventsFor(150);
    EXPECT_EQ(producer.updates, 3);
    EXPECT_TRUE(producer.isDirty());
    // The acknowledgement wakes the producer, and the frame is long due.
    producer.bytesReceived(100);
    EXPECT_EQ(producer.updates, 4);
    EXPECT_EQ(producer.bytesSent(), 300u);
    // Acknowledging more than was sent does not wrap round.
    producer.bytesReceived(100000);
    EXPECT_EQ(producer.bytesSent(), 0u);
}

TEST(VideoStreamProducer, PauseHoldsThePendingFrameAndResumeSendsIt)
{
    Producer producer;
    producer.configure({{QStringLiteral("fpsLimit"), 5}});
    producer.markDirty();
    EXPECT_TRUE(waitUntil([&] { return producer.updates == 1; }, 2000));
    producer.markDirty();
    producer.pause();
    runEventsFor(300);
    EXPECT_EQ(producer.updates, 1);
    EXPECT_TRUE(producer.isDirty());
    // Its time has come by now: at once.
    producer.resume();
    EXPECT_EQ(producer.updates, 2);
}

TEST(VideoStreamProducer, AStreamClosesOnceAndThenSendsNothing)
{
    Producer producer;
    producer.configure({{QStringLiteral("fpsLimit"), 0}});
    producer.failNext = true;
    producer.markDirty();
    ASSERT_EQ(producer.closings.size(), 1);
    EXPECT_EQ(producer.closings.first(), std::make_pair(3u, QStringLiteral("capture failed")));
    EXPECT_TRUE(producer.isClosed());

    producer.failNext = false;
    producer.markDirty();
    producer.resume();
    producer.bytesReceived(0);
    producer.stop();
    EXPECT_EQ(producer.updates, 0);
    EXPECT_EQ(producer.closings.size(), 1);

    Producer stopped;
    stopped.stop();
    stopped.stop();
    ASSERT_EQ(stopped.closings.size(), 1);
    EXPECT_EQ(stopped.closings.first(), std::make_pair(0u, QStringLiteral("Stream stopped")));
}
