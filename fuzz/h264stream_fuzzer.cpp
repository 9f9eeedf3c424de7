// H.264 streams as a client reads them: segments of any kind and length,
// with packets the decoder may or may not understand, must neither crash
// the reader nor make it keep what it cannot show.

#include "h264streamreader.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // Segments follow each other, each behind a 16-bit length.
    Tolvex::Video::H264StreamReader reader;
    size_t at = 0;
    while (at + 2 <= size) {
        const size_t length = size_t(data[at]) << 8 | data[at + 1];
        at += 2;
        const size_t take = length < size - at ? length : size - at;
        const QByteArray segment(reinterpret_cast<const char *>(data + at), qsizetype(take));
        at += take;
        if (!reader.addSegment(segment))
            break;
        (void)reader.takeFrames();
    }
    return 0;
}
