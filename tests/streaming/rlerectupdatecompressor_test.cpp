// The rectangle update coder to the word, its segments, and its reader:
// frames coded and read back, in segments cut anywhere.
#include "binarystream.h"
#include "rlerectupdatecompressor.h"
#include "rleupdatedecoder.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <gtest/gtest.h>

#include <vector>

using namespace Tolvex;

namespace {

class CapturingStream : public BinaryStream
{
public:
    QList<QByteArray> segments;
    void sendNextSegment(const QByteArray &segment) override { segments.append(segment); }
    FunctionCallResult<void> configure(const QMap<QString, QVariant> &) override { return {}; }
    void pause() override {}
    void resume() override {}
    void stop() override {}

    std::vector<quint32> words() const
    {
        std::vector<quint32> all;
        for (const QByteArray &segment : segments)
            for (qsizetype i = 0; i + 4 <= segment.size(); i += 4)
                all.push_back(qFromBigEndian<quint32>(segment.constData() + i));
        return all;
    }
};

// A frame of the desktop as the capture gives it: 32-bit pixels, the top
// byte anything.
struct Frame
{
    int width;
    int height;
    std::vector<uint32_t> pixels;
    Frame(int w, int h, uint32_t fill) : width(w), height(h), pixels(size_t(w) * h, fill) {}
    uint32_t &at(int x, int y) { return pixels[size_t(y) * width + x]; }
    void fill(const QRect &r, uint32_t colour)
    {
        for (int y = r.top(); y <= r.bottom(); ++y)
            for (int x = r.left(); x <= r.right(); ++x)
                at(x, y) = colour;
    }
};

// Codes the whole frame as one changed rectangle.
void codeFrame(RLERectUpdateCompressor &coder, Frame &frame, uint timeMs = 40)
{
    const QRect all(0, 0, frame.width, frame.height);
    coder.startUpdate(timeMs, {}, {all});
    coder.updateChunk(all, frame.pixels.data(), uint(frame.width));
    coder.updateDone();
}

bool sameColours(const QImage &image, Frame &frame)
{
    for (int y = 0; y < frame.height; ++y)
        for (int x = 0; x < frame.width; ++x)
            if ((image.pixel(x, y) & 0xFFFFFF) != (frame.at(x, y) & 0xFFFFFF))
                return false;
    return true;
}

} // namespace

TEST(RleCoder, RunsAreCodedAsTheWordsSay)
{
    CapturingStream stream;
    RLERectUpdateCompressor coder(&stream);
    coder.boundsChanged(QRect(0, 0, 20, 20), 1.0f, 1.5f);
    EXPECT_EQ(stream.words(), std::vector<quint32>());
    coder.updateDone();
    EXPECT_EQ(stream.words(), (std::vector<quint32>{1, 0, 0, 20, 20, 0x10000, 0x18000}));
    stream.segments.clear();

    // 300 pixels of one new colour over rows of 20: 255, then 45; the top
    // byte of a pixel does not count. Then an unchanged rectangle: one skip.
    Frame frame(20, 20, 0xAA000000);
    frame.fill(QRect(0, 0, 20, 15), 0x77123456);
    coder.startUpdate(33, {{QRect(1, 2, 3, 4), QPoint(9, 9)}},
                      {QRect(0, 0, 20, 15), QRect(0, 15, 20, 5)});
    coder.updateChunk(QRect(0, 0, 20, 15), frame.pixels.data(), 20);
    coder.updateChunk(QRect(0, 15, 20, 5), &frame.at(0, 15), 20);
    coder.updateDone();
    EXPECT_EQ(stream.words(), (std::vector<quint32>{2, 1, 2, 33, 1, 2, 4, 6, 0, 0, 20, 15, 0, 15,
                                                    20, 20, 0xFF123456, 0x2D123456, 100}));
    ASSERT_EQ(stream.segments.size(), 1);

    // The same again changes nothing: one skip word of the whole area.
    stream.segments.clear();
    coder.startUpdate(1, {}, {QRect(0, 0, 20, 15)});
    coder.updateChunk(QRect(0, 0, 20, 15), frame.pixels.data(), 20);
    coder.updateDone();
    EXPECT_EQ(stream.words().back(), 300u);

    // Changed and unchanged pixels alternate; a colour run goes on into the
    // next row.
    stream.segments.clear();
    frame.at(19, 3) = 0x00FF0000;
    frame.at(0, 4) = 0x00FF0000;
    frame.at(5, 4) = 0x0000FF00;
    coder.startUpdate(1, {}, {QRect(0, 3, 20, 2)});
    coder.updateChunk(QRect(0, 3, 20, 2), &frame.at(0, 3), 20);
    coder.updateDone();
    const std::vector<quint32> words = stream.words();
    EXPECT_EQ(std::vector<quint32>(words.begin() + 8, words.end()),
              (std::vector<quint32>{19, 0x02FF0000, 4, 0x0100FF00, 14}));

    // Nothing written, nothing sent.
    stream.segments.clear();
    coder.updateDone();
    EXPECT_TRUE(stream.segments.isEmpty());
}

TEST(RleCoder, LongUpdatesGoOutInWholeSegmentsAndReadBackFromAnyCut)
{
    CapturingStream stream;
    RLERectUpdateCompressor coder(&stream);
    coder.boundsChanged(QRect(0, 0, 160, 120), 1.0f, 1.0f);
    Frame frame(160, 120, 0);
    QRandomGenerator random(7);
    // Noise: nearly every pixel a run of its own, 19,200 words.
    for (uint32_t &p : frame.pixels)
        p = random.generate() & 0xFFFFFF;
    codeFrame(coder, frame);
    ASSERT_GE(stream.segments.size(), 2);
    for (qsizetype i = 0; i + 1 < stream.segments.size(); ++i)
        EXPECT_EQ(stream.segments.at(i).size(), RLERectUpdateCompressor::SegmentWords * 4);

    // Then a few blocks change and a moved rectangle goes by.
    frame.fill(QRect(10, 10, 50, 30), 0x00336699);
    frame.fill(QRect(100, 80, 60, 40), 0x00FFFFFF);
    coder.startUpdate(80, {{QRect(0, 0, 10, 10), QPoint(5, 5)}},
                      {QRect(0, 0, 160, 60), QRect(100, 80, 60, 40)});
    coder.updateChunk(QRect(0, 0, 160, 60), frame.pixels.data(), 160);
    coder.updateChunk(QRect(100, 80, 60, 40), &frame.at(100, 80), 160);
    coder.updateDone();

    // The reader gets the bytes cut at odd places.
    QByteArray all;
    for (const QByteArray &segment : stream.segments)
        all += segment;
    RleUpdateDecoder decoder;
    for (qsizetype at = 0; at < all.size(); at += 4097)
        ASSERT_TRUE(decoder.addSegment(all.mid(at, 4097))) << qPrintable(decoder.error());
    EXPECT_EQ(decoder.bounds(), QRect(0, 0, 160, 120));
    EXPECT_EQ(decoder.updatesCompleted(), 2);
    EXPECT_EQ(decoder.lastUpdateTimeMs(), 80u);
    EXPECT_TRUE(sameColours(decoder.frame(), frame));
}

TEST(RleCoder, NewBoundsKeepWhatBothCoverOnBothEnds)
{
    CapturingStream stream;
    RLERectUpdateCompressor coder(&stream);
    coder.boundsChanged(QRect(0, 0, 40, 30), 1.0f, 1.0f);
    Frame frame(40, 30, 0);
    frame.fill(QRect(0, 0, 40, 30), 0x00102030);
    codeFrame(coder, frame);

    // Wider and shorter: the kept part is still known, the new part black.
    coder.boundsChanged(QRect(0, 0, 60, 20), 2.0f, 1.0f);
    Frame wider(60, 20, 0);
    wider.fill(QRect(0, 0, 40, 20), 0x00102030);
    stream.segments.clear();
    codeFrame(coder, wider);
    // Unchanged everywhere: the kept colour and the new black.
    EXPECT_EQ(stream.words().back(), 1200u);

    RleUpdateDecoder decoder;
    CapturingStream replay;
    RLERectUpdateCompressor again(&replay);
    again.boundsChanged(QRect(0, 0, 40, 30), 1.0f, 1.0f);
    codeFrame(again, frame);
    again.boundsChanged(QRect(0, 0, 60, 20), 2.0f, 1.0f);
    again.updateDone();
    for (const QByteArray &segment : replay.segments)
        ASSERT_TRUE(decoder.addSegment(segment));
    EXPECT_EQ(decoder.scale(), 2.0);
    EXPECT_TRUE(sameColours(decoder.frame(), wider));
}

TEST(RleCoder, TheReaderRefusesStreamsThatAreNotOne)
{
    const auto words = [](std::initializer_list<quint32> list) {
        QByteArray bytes;
        for (quint32 w : list) {
            char b[4];
            qToBigEndian(w, b);
            bytes.append(b, 4);
        }
        return bytes;
    };
    RleUpdateDecoder unknown;
    EXPECT_FALSE(unknown.addSegment(words({7})));
    EXPECT_EQ(unknown.error(), QStringLiteral("Unknown record 7 in the stream"));
    EXPECT_FALSE(unknown.addSegment(words({1, 0, 0, 2, 2, 0, 0})));

    RleUpdateDecoder overrun;
    EXPECT_TRUE(overrun.addSegment(words({1, 0, 0, 4, 4, 65536, 65536, 2, 0, 1, 0, 0, 0, 2, 2})));
    EXPECT_FALSE(overrun.addSegment(words({0x05FF0000})));
    EXPECT_TRUE(overrun.error().contains(QStringLiteral("does not fit")))
        << qPrintable(overrun.error());

    RleUpdateDecoder outside;
    EXPECT_FALSE(outside.addSegment(words({1, 0, 0, 4, 4, 0, 0, 2, 0, 1, 0, 0, 0, 9, 9})));
    RleUpdateDecoder huge;
    EXPECT_FALSE(huge.addSegment(words({1, 0, 0, 100000, 100000, 0, 0})));
    RleUpdateDecoder inverted;
    EXPECT_FALSE(inverted.addSegment(words({1, 5, 5, 1, 1, 0, 0})));
    // A record cut short waits for the rest.
    RleUpdateDecoder waiting;
    EXPECT_TRUE(waiting.addSegment(words({1, 0, 0}).left(10)));
    EXPECT_EQ(waiting.bounds(), QRect());
}
