// Recorded events from an application as the tool reads them: whatever the
// bytes, reading an event, printing it, making its replay command and
// reading its JSON form back must neither crash nor loop.

#include "recordedaction.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const Tolvex::FunctionCallResult<Tolvex::RecordedAction> action =
        Tolvex::RecordedAction::fromWire(bytes);
    if (action.isError())
        return 0;
    (void)action.value.eventText();
    (void)action.value.commandLine();
    const Tolvex::RecordedAction back = Tolvex::RecordedAction::fromJson(action.value.toJson());
    (void)back.commandLine();
    return 0;
}
