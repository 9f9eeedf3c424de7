// Snapshot filters as the agent reads them from a request: whatever the
// bytes, parsing, merging and asking the filters must neither crash nor
// leak.

#include "dumpfilter.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

using namespace Tolvex;

namespace {

void ask(FilterObject *filter)
{
    if (!filter)
        return;
    PropertyInfo info;
    for (const char *name : {"text", "objectName", "x", "enabled", "*"}) {
        filter->isMatchedProperty(QString::fromLatin1(name), &info);
        filter->isMatchedProperty(QString::fromLatin1(name), &info);
    }
    (void)filter->isChildNodesExcluded();
    (void)filter->isScreenshotExcluded();
    (void)filter->areTransparentNodesExcluded();
    (void)filter->depth();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    DumpFilter filter;
    QString error;
    if (!parseDumpFilter(bytes, &filter, &error))
        return 0;
    ask(filter.defaultFilter());
    DumpFilter base;
    if (parseDumpFilter("<objectdump wrapper='Qt'><element type='*'><properties>"
                        "<property name='t*'/></properties></element></objectdump>",
                        &base, &error)) {
        base.mergeWith(&filter);
        ask(base.defaultFilter());
    }
    filter.mergeWith(&filter);
    ask(filter.defaultFilter());
    return 0;
}
