// Screen stream coding on a 1920x1080 desktop: the rectangle update coder on
// an unchanged frame against a memcmp of the same frames, on a typical GUI
// change (a line of typed text), and H.264 coding of a changing desktop.

#include "binarystream.h"
#include "compressor.h"
#include "ratioreporter.h"
#include "rlerectupdatecompressor.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <cstring>

using namespace Tolvex;

namespace {

constexpr int Width = 1920;
constexpr int Height = 1080;

// Segments go nowhere.
class Sink : public BinaryStream
{
public:
    FunctionCallResult<void> configure(const QMap<QString, QVariant> &) override { return {}; }
    void pause() override {}
    void resume() override {}
    void stop() override {}
    void sendNextSegment(const QByteArray &segment) override { bytes += segment.size(); }
    qint64 bytes = 0;
};

// A desktop with a window of widgets on it; text is the line being typed.
QImage desktop(const QString &text)
{
    QImage image(Width, Height, QImage::Format_RGB32);
    image.fill(QColor(40, 60, 90));
    QPainter painter(&image);
    painter.fillRect(QRect(200, 100, 1200, 800), QColor(239, 239, 239));
    for (int row = 0; row < 20; ++row) {
        painter.fillRect(QRect(220, 140 + row * 36, 1160, 28), Qt::white);
        painter.drawText(QRect(230, 140 + row * 36, 400, 28), Qt::AlignVCenter,
                         QStringLiteral("Label of row %1").arg(row));
    }
    painter.drawText(QRect(230, 860, 800, 28), Qt::AlignVCenter, text);
    return image;
}

const QImage &frameA()
{
    static const QImage image = desktop(QStringLiteral("Hello, wor"));
    return image;
}

const QImage &frameB()
{
    static const QImage image = desktop(QStringLiteral("Hello, world"));
    return image;
}

const uint32_t *pixels(const QImage &image)
{
    return reinterpret_cast<const uint32_t *>(image.constBits());
}

void code(RLERectUpdateCompressor &coder, const QImage &image, const QRect &rect)
{
    coder.startUpdate(0, {}, {rect});
    coder.updateChunk(rect, pixels(image) + rect.y() * Width + rect.x(), Width);
    coder.updateDone();
}

void BM_MemcmpOfTheFrames(benchmark::State &state)
{
    const QImage copy = frameA().copy();
    for (auto _ : state) {
        int same = std::memcmp(frameA().constBits(), copy.constBits(), size_t(Width) * Height * 4);
        benchmark::DoNotOptimize(same);
    }
}
BENCHMARK(BM_MemcmpOfTheFrames)->Unit(benchmark::kMicrosecond);

void BM_RleUnchangedFrame(benchmark::State &state)
{
    Sink sink;
    RLERectUpdateCompressor coder(&sink);
    coder.boundsChanged(QRect(0, 0, Width, Height), 1.0f, 1.0f);
    const QRect all(0, 0, Width, Height);
    code(coder, frameA(), all);
    for (auto _ : state)
        code(coder, frameA(), all);
}
BENCHMARK(BM_RleUnchangedFrame)->Unit(benchmark::kMicrosecond);

void BM_RleTypedCharacters(benchmark::State &state)
{
    Sink sink;
    RLERectUpdateCompressor coder(&sink);
    coder.boundsChanged(QRect(0, 0, Width, Height), 1.0f, 1.0f);
    code(coder, frameA(), QRect(0, 0, Width, Height));
    // The line the characters appear in, as the server reports it.
    const QRect line(230, 860, 800, 28);
    bool b = false;
    const qint64 before = sink.bytes;
    for (auto _ : state) {
        code(coder, (b = !b) ? frameB() : frameA(), line);
    }
    state.counters["bytes/update"] = double(sink.bytes - before) / double(state.iterations());
}
BENCHMARK(BM_RleTypedCharacters)->Unit(benchmark::kMicrosecond);

// The coder alone on a desktop where a line changes each frame.
void BM_H264ChangingDesktop(benchmark::State &state)
{
    Video::RGBCompressor compressor(QSize(Width, Height));
    struct Count : Video::Compressor::PacketConsumer
    {
        void appendPacket(AVPacket *) override { ++packets; }
        int packets = 0;
    } count;
    compressor.start(&count);
    qint64 time = 0;
    bool b = false;
    for (auto _ : state) {
        const QImage &image = (b = !b) ? frameB() : frameA();
        compressor.appendFrame(image.constBits(), int(image.bytesPerLine()), time += 33);
    }
    compressor.finish();
    state.counters["fps"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_H264ChangingDesktop)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int result =
        TolvexBench::runWithRatios(argc, argv,
                                   {{"BM_RleUnchangedFrame", "BM_MemcmpOfTheFrames", 1.5},
                                    {"BM_RleTypedCharacters", "BM_MemcmpOfTheFrames", 0}});
    std::printf("target: coding an unchanged 1920x1080 frame at most 1.5 times a memcmp of "
                "the same frames\n");
    return result;
}
