// The Hook's open screen streams, by id.

#include "binarystream.h"
#include "binarytransmission.h"
#include "hook.h"
#include "hookdata_p.h"

namespace Tolvex {

unsigned Hook::openBinaryTransmission(BinaryStream *stream, unsigned peer)
{
    unsigned id = 1;
    while (d->transmissions.count(id))
        ++id;
    d->transmissions[id] = new BinaryTransmission(stream, this, peer, id);
    return id;
}

BinaryTransmission *Hook::binaryTransmission(unsigned id) const
{
    const auto found = d->transmissions.find(id);
    return found == d->transmissions.end() ? nullptr : found->second.data();
}

void Hook::binaryStreamClosed(unsigned id)
{
    const auto found = d->transmissions.find(id);
    if (found == d->transmissions.end())
        return;
    if (found->second)
        found->second->deleteLater();
    d->transmissions.erase(found);
}

void Hook::clearBinaryTransmissions()
{
    // The peers hear why their streams end; the streams go with their
    // transmissions.
    std::map<unsigned, QPointer<BinaryTransmission>> open;
    open.swap(d->transmissions);
    for (auto &[id, transmission] : open) {
        if (!transmission)
            continue;
        if (BinaryStream *stream = transmission->stream()) {
            disconnect(stream, nullptr, transmission, nullptr);
            send(transmission->peer(), QStringLiteral("binaryStreamClosed"),
                 {ownId(), id, uint(NormalStop), QStringLiteral("AUT exited")});
        }
        delete transmission.data();
    }
}

} // namespace Tolvex
