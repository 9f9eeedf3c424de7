// Rectangle update streams as a client reads them: whatever the words, and
// wherever the segments are cut, reading must neither crash nor run away
// with memory.

#include "rleupdatedecoder.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    // The first byte says where the segments are cut.
    const size_t cut = size_t(data[0]) * 4 + 1;
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    Tolvex::RleUpdateDecoder decoder;
    for (qsizetype at = 0; at < bytes.size(); at += qsizetype(cut))
        if (!decoder.addSegment(bytes.mid(at, qsizetype(cut))))
            break;
    (void)decoder.frame();
    return 0;
}
