// Key strings from a test script: the notation's parser and the commands a
// combination becomes, run against an interface that does nothing.
#include "command.h"
#include "keysequences.h"
#include "nativeinterface.h"

#include <QString>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto parsed = Tolvex::parseKeyEvents(text);
    // Every entry holds its key last; nothing comes back empty-handed.
    if (parsed.isSuccess())
        for (const QList<QString> &entry : parsed.value)
            if (entry.isEmpty())
                __builtin_trap();
    Tolvex::NullNativeInterface native(QStringLiteral("fuzz"));
    Tolvex::TypeText(text, true).executeWith(&native);
    Tolvex::TypeText(text, false).executeWith(&native);
    Tolvex::specialKeyVirtualKey(text);
    return 0;
}
