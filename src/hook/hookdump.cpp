// Snapshots of the object tree for the tool: the filters from the request,
// the walk, and each element's picture from the wrapper of its object.

#include "hook.h"
#include "hookdata_p.h"
#include "objecttreedump.h"
#include "wrapper.h"

namespace Tolvex {

QByteArray Hook::dumpObject(const ArgumentList &args, QString *error)
{
    if (args.size() < 2) {
        *error = QStringLiteral("Got too low arguments for dump object request");
        return QByteArray();
    }
    const SharedPtr<Object> object = d->objects.objectById(args.at(0).toInt());
    if (!object) {
        *error = QStringLiteral("Requested object not found");
        return QByteArray();
    }
    QList<QByteArray> documents;
    for (qsizetype i = 1; i < args.size(); ++i)
        documents.append(args.at(i).toByteArray());
    DumpFilters filters;
    if (!ObjectTreeDump::parseFilters(documents, &filters, error))
        return QByteArray();
    ObjectTreeDump dump([this](const SharedPtr<Object> &shown) {
        Wrapper *wrapper = wrapperForObject(shown);
        return wrapper ? wrapper->grabObjectScreenshot(shown, 0, 0) : QImage();
    });
    const QByteArray bytes = dump.serialize(object, filters, error);
    ObjectTreeDump::deleteFilters(&filters);
    return bytes;
}

} // namespace Tolvex
