#include "remotefunction.h"

#include "hook.h"
#include "hookdata_p.h"
#include "platformplugin.h"

#include <QHash>

#include <array>

namespace Tolvex::Remote {

ObjectHandles &Context::objects() const
{
    return d.objects;
}

QVariant Context::wire(const SharedPtr<Object> &object) const
{
    return d.objects.objectToVariant(object);
}

const QString Context::NoPlugin = PlatformPlugin::notSetMessage();

NativeInterface *Context::native() const
{
    return hook.nativeInterface();
}

namespace {

QString symbolOf(const char *name)
{
    QString upper = QString::fromLatin1(name);
    if (!upper.isEmpty())
        upper[0] = upper[0].toUpper();
    return QStringLiteral("F_") + upper;
}

// A new area joins here; a new function only in its area's file.
const std::array<std::span<const RemoteFunction>, 10> &areas()
{
    static const std::array<std::span<const RemoteFunction>, 10> list{
        objectFunctions(),  lookupFunctions(),   recordingFunctions(),  testDataFunctions(),
        processFunctions(), spyFunctions(),      screenshotFunctions(), nativeInputFunctions(),
        streamFunctions(),  snapshotFunctions(),
    };
    return list;
}

const QHash<QString, const RemoteFunction *> &byName()
{
    // Built on first use and kept for the life of the process.
    static const QHash<QString, const RemoteFunction *> table = [] {
        QHash<QString, const RemoteFunction *> t;
        // A name declared twice keeps its first declaration; a test makes
        // sure there is none.
        for (const std::span<const RemoteFunction> area : areas())
            for (const RemoteFunction &f : area)
                if (!t.contains(QString::fromLatin1(f.name)))
                    t.insert(QString::fromLatin1(f.name), &f);
        return t;
    }();
    return table;
}

} // namespace

QString RemoteFunction::symbol() const
{
    return symbolOf(name);
}

QString RemoteFunction::wrongCountWords(const char *servingHandler) const
{
    const char *where = wrongCount.handler ? wrongCount.handler : servingHandler;
    const QString symbol = symbolOf(wrongCount.wordedAs ? wrongCount.wordedAs : name);
    const QString tail = wrongCount.tail ? QString::fromLatin1(wrongCount.tail)
                                         : QStringLiteral(": wrong number of arguments");
    return QStringLiteral("Hook::") + QString::fromLatin1(where) + QStringLiteral(": ") + symbol +
           tail;
}

const RemoteFunction *RemoteFunctions::find(const QString &name)
{
    return byName().value(name, nullptr);
}

QList<const RemoteFunction *> RemoteFunctions::all()
{
    QList<const RemoteFunction *> list;
    for (const std::span<const RemoteFunction> area : areas())
        for (const RemoteFunction &f : area)
            list.append(&f);
    return list;
}

} // namespace Tolvex::Remote
