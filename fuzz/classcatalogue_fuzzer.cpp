// Class lists from an application as the server reads them: whatever the
// bytes, reading and then asking each class for its members along its
// chain of bases must neither crash nor loop.

#include "classcatalogue.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Tolvex::ClassCatalogue catalogue;
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    catalogue.add(bytes);
    for (const int id : catalogue.ids()) {
        (void)catalogue.propertyNames(id);
        (void)catalogue.lineage(id);
        (void)catalogue.property(id, QStringLiteral("value"));
        (void)catalogue.method(id, QStringLiteral("reset"), 1);
    }
    return 0;
}
