// The calls a server makes on the agent, by name, and the sends that set the
// Hook's state: resolved through the remote function table, counted, and
// handed to the object handles, the test data store and the process facts.

#include "hook.h"

#include "autprocess.h"
#include "hookdata_p.h"
#include "hookenvironment_p.h"
#include "inspector.h"
#include "objecthandles.h"
#include "objectmap.h"
#include "objectname.h"
#include "remotefunctiontable.h"
#include "testdatastore.h"
#include "trace.h"

#include <QVariantMap>

namespace Tolvex {

using HookEnvironment::logLine;

namespace {

FList<int> idsFrom(const ArgumentList &args, int first)
{
    FList<int> ids;
    for (int i = first; i < args.count(); ++i)
        ids.append(args.at(i).toInt());
    return ids;
}

// Null strings travel as "none".
QVariant stringOrNone(const QString &s)
{
    return s.isNull() ? QVariant() : QVariant(s);
}

template <typename T> QVariant valueIfOk(T value, bool ok)
{
    return ok ? QVariant::fromValue(value) : QVariant();
}

} // namespace

QVariant Hook::handleCall(unsigned sender, const QString &function, const ArgumentList &args)
{
    TOLVEX_TRACE_HOOK() << "Processing IPC call"
                        << "caller" << sender << "func" << function << "args.size()"
                        << args.count();
    const int id = RemoteFunctionTable::id(function);
    const RemoteFunctionInfo *f = RemoteFunctionTable::info(id);
    if (!f || f->kind != RemoteFunctionInfo::Call) {
        logLine(QStringLiteral("Hook::handleCall: unhandled function ") + function);
        return QVariant();
    }
    if (!f->acceptsArgumentCount(args.count())) {
        logLine(RemoteFunctionTable::wrongCountMessage(id, "handleCall"));
        return QVariant();
    }
    return callFunction(id, args);
}

QVariant Hook::callFunction(int id, const ArgumentList &args)
{
    ObjectHandles &h = objectHandles();
    const auto arg = [&args](int i) { return args.value(i); };
    bool ok = false;
    switch (id) {
    case RemoteFunction::NumObjects: {
        const int n = h.numObjects(arg(0).toInt());
        return n < 0 ? QVariant() : QVariant(n);
    }
    case RemoteFunction::ObjectByName:
        return h.objectToVariant(h.objectByName(arg(0).toInt(), arg(1).toString()));
    case RemoteFunction::ObjectByIndex:
        return h.objectToVariant(h.objectByIndex(arg(0).toInt(), arg(1).toInt()));
    case RemoteFunction::ObjectName:
        return stringOrNone(h.objectName(arg(0).toInt()));
    case RemoteFunction::QualifiedObjectName:
        return stringOrNone(h.qualifiedObjectName(arg(0).toInt()));
    case RemoteFunction::NumClasses:
        return Inspector::self()->numClasses();
    case RemoteFunction::AllClasses: {
        // From here on classes made later are sent as they come; the first
        // read is what the runner knows, every read what the spy knows.
        const int count = Inspector::self()->numClasses();
        if (!d->classesRequested)
            d->runnerClassCount = count;
        d->spyClassCount = count;
        d->classesRequested = true;
        return ObjectHandles::allClasses();
    }
    case RemoteFunction::NumNamespaces:
        return Inspector::self()->numNamespaces();
    case RemoteFunction::AllNamespaces:
        return ObjectHandles::allNamespaces();
    case RemoteFunction::Invoke:
        return h.objectToVariant(h.invoke(arg(0).toInt(), arg(1).toInt(), idsFrom(args, 2)));
    case RemoteFunction::SetProperty:
        return h.setProperty(arg(0).toInt(), arg(1).toInt(), arg(2).toInt());
    case RemoteFunction::GetProperty:
        return h.objectToVariant(h.getProperty(arg(0).toInt(), arg(1).toInt()));
    case RemoteFunction::Construct: // the constructor index comes first on the wire, the class
                                    // second
        return h.objectToVariant(h.construct(arg(1).toInt(), arg(0).toInt(), idsFrom(args, 2)));
    case RemoteFunction::ObjectToDebugString:
        return h.objectToDebugString(arg(0).toInt());
    case RemoteFunction::ObjectToInteger: {
        const int v = h.objectToInteger(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case RemoteFunction::ObjectToInt64: {
        const qlonglong v = h.objectToInt64(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case RemoteFunction::ObjectToString: {
        const QString v = h.objectToString(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case RemoteFunction::ObjectToDouble: {
        const double v = h.objectToDouble(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case RemoteFunction::ObjectToBoolean: {
        const bool v = h.objectToBoolean(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case RemoteFunction::ObjectFromInteger:
        h.objectFromInteger(arg(0).toInt(), arg(1).toInt());
        return QVariant();
    case RemoteFunction::ObjectFromInt64:
        h.objectFromInt64(arg(0).toInt(), arg(1).toLongLong());
        return QVariant();
    case RemoteFunction::ObjectFromString:
        h.objectFromString(arg(0).toInt(), arg(1).toString());
        return QVariant();
    case RemoteFunction::ObjectFromDouble:
        h.objectFromDouble(arg(0).toInt(), arg(1).toDouble());
        return QVariant();
    case RemoteFunction::ObjectFromBoolean:
        h.objectFromBoolean(arg(0).toInt(), arg(1).toBool());
        return QVariant();
    case RemoteFunction::ObjectCompare:
        return h.objectCompare(arg(0).toInt(), arg(1).toInt());
    case RemoteFunction::ObjectIsNull:
        return h.objectIsNull(arg(0).toInt());
    case RemoteFunction::ObjectFind:
        return h.objectToVariant(objectFind(arg(0).toString()));
    case RemoteFunction::ObjectReady:
        return h.objectToVariant(getObjectIfReady(arg(0).toString()));
    case RemoteFunction::ObjectReady2:
        return h.objectToVariant(getObjectIfReady(h.objectById(arg(0).toInt())));
    case RemoteFunction::GetObjectItemIfReady:
        return h.objectToVariant(getObjectItemIfReady(arg(0).toString(), arg(1).toString()));
    case RemoteFunction::GetObjectItemIfReady2:
        return h.objectToVariant(
            getObjectItemIfReady(h.objectById(arg(0).toInt()), arg(1).toString()));
    case RemoteFunction::GetObjectItemByRowColIfReady:
        return h.objectToVariant(
            getObjectItemIfReady(arg(0).toString(), arg(1).toInt(), arg(2).toInt()));
    case RemoteFunction::GetObjectItemByRowColIfReady2:
        return h.objectToVariant(
            getObjectItemIfReady(h.objectById(arg(0).toInt()), arg(1).toInt(), arg(2).toInt()));
    case RemoteFunction::ObjectCastTo:
        return h.objectCast(arg(0).toInt(), arg(1).toInt());
    case RemoteFunction::ObjectGlobalBounds:
        return h.objectToVariant(ObjectHandles::objectGlobalBounds(h.objectById(arg(0).toInt())));
    case RemoteFunction::ObjectReference:
        return h.objectToVariant(h.objectReference(arg(0).toInt()));
    case RemoteFunction::ObjectDereference:
        return h.objectToVariant(h.objectDereference(arg(0).toInt()));
    case RemoteFunction::Objects:
        return h.objects(arg(0).toInt());
    case RemoteFunction::CreatePrimitive:
        return h.objectToVariant(h.createPrimitive(arg(0).toString(), arg(1)));
    case RemoteFunction::CreateNull:
        return h.objectToVariant(h.createNull(arg(0).toString()));
    case RemoteFunction::GetVoidObject:
        return h.objectToVariant(h.getVoidObject());
    case RemoteFunction::GetObjectAttribute:
        return h.getObjectAttribute(arg(0).toInt());
    case RemoteFunction::CanConvertTo:
        return h.canConvertTo(arg(0).toInt(), arg(1).toInt(), arg(2).toBool(), arg(3).toBool());
    case RemoteFunction::ConvertTo:
        return h.objectToVariant(
            h.convertTo(arg(0).toInt(), arg(1).toInt(), arg(2).toInt(), arg(3).toBool()));
    case RemoteFunction::ConvertToInterface:
        return h.objectToVariant(
            h.convertToInterface(arg(0).toInt(), arg(1).toInt(), arg(2).toString()));
    case RemoteFunction::AddPropertyDelegate:
        Inspector::self()->addPropertyDelegate(arg(0).toString(), arg(1).toStringList());
        return QVariant();
    case RemoteFunction::SetUniqueProperty:
        Inspector::self()->setUniqueProperty(arg(0).toString(), arg(1).toString());
        return QVariant();
    case RemoteFunction::SetExtensionCode:
        Inspector::self()->setExtensionCode(arg(0).toString(), arg(1).toString());
        return QVariant();
    case RemoteFunction::SetMouseTracking:
        Inspector::self()->setMouseTracking(arg(0).toString(), arg(1).toBool());
        return QVariant();
    case RemoteFunction::SetRecordMouseDrag:
        Inspector::self()->setRecordMouseDrag(arg(0).toString(), arg(1).toBool());
        return QVariant();
    case RemoteFunction::SetAllowKeyEventCompression:
        Inspector::self()->setAllowKeyEventCompression(arg(0).toString(), arg(1).toBool());
        return QVariant();
    case RemoteFunction::EnableEventCompression:
        enableEventCompression(arg(0).toString(), arg(1).toBool());
        return QVariant();
    case RemoteFunction::TestDataPut: {
        const QString path = testData().put(arg(0).toString(), arg(1).toString(), arg(2).toBool());
        return path.isEmpty() ? QVariant() : QVariant(path);
    }
    case RemoteFunction::TestDataGet: {
        const auto [bytes, error] = testData().get(arg(0).toString());
        if (error.isEmpty())
            return bytes;
        Inspector::self()->setError(error);
        return QVariant();
    }
    case RemoteFunction::TestDataRemove:
        testData().remove(arg(0).toString());
        return QVariant();
    case RemoteFunction::TestDataExists:
        return testData().exists(arg(0).toString());
    case RemoteFunction::AddToObjectMap:
        addToObjectMap(arg(0).toString(), arg(1).toString());
        return QVariant();
    case RemoteFunction::GetLastError:
        return Inspector::self()->lastError();
    case RemoteFunction::InstallEventHandler1:
    case RemoteFunction::UninstallEventHandler1:
    case RemoteFunction::InstallEventHandler2:
    case RemoteFunction::UninstallEventHandler2:
    case RemoteFunction::InstallEventHandler3:
    case RemoteFunction::UninstallEventHandler3:
        return installEventHandler(id, args);
    case RemoteFunction::GetUsedMemory:
        return m_autProcess ? QVariant(qlonglong(m_autProcess->usedMemory())) : QVariant();
    case RemoteFunction::GetTotalTime:
        return m_autProcess ? QVariant(qlonglong(m_autProcess->totalTime())) : QVariant();
    case RemoteFunction::GetPID:
        return m_autProcess ? QVariant(m_autProcess->processId()) : QVariant();
    case RemoteFunction::GetCWD:
        return m_autProcess ? QVariant(m_autProcess->workingDirectory()) : QVariant();
    case RemoteFunction::AutInfo:
        return autInfo(args);
    case RemoteFunction::ReadStdout:
        return m_autProcess ? QVariant(m_autProcess->readStdout()) : QVariant();
    case RemoteFunction::ReadStderr:
        return m_autProcess ? QVariant(m_autProcess->readStderr()) : QVariant();
    case RemoteFunction::GetOSName:
        return m_autProcess ? QVariant(m_autProcess->osName()) : QVariant();
    case RemoteFunction::SetRecorderFilter:
        Inspector::self()->setRecorderFilter(arg(0).toString(), arg(1).toString());
        return QVariant();
    case RemoteFunction::ConvertName:
        return convertName(arg(0).toString(), arg(1).toString().toInt());
    case RemoteFunction::GetUnmatchedProperties: {
        QVariantMap unmatched;
        const QMap<QString, QList<QString>> map = Inspector::self()->unmatchedProperties();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            unmatched.insert(it.key(), QStringList(it.value()));
        return unmatched;
    }
    case RemoteFunction::SetError:
        Inspector::self()->setError(arg(0).toString());
        return QVariant();
    case RemoteFunction::Parent:
        return h.objectToVariant(h.parent(arg(0).toInt()));
    default:
        // Spying, highlighting, screenshots, native input, dumps and
        // streams come with their subsystems.
        logLine(QStringLiteral("Hook::handleCall: unhandled function ") +
                QString::fromLatin1(RemoteFunctionTable::info(id)->name));
        return QVariant();
    }
}

QVariant Hook::autInfo(const ArgumentList &args) const
{
    if (!m_autProcess)
        return QVariant();
    const QString key = args.value(0).toString();
    if (key == QLatin1String("environmentVariable"))
        return m_autProcess->environmentVariable(args.value(1).toString());
    if (key == QLatin1String("arguments"))
        return m_autProcess->arguments();
    if (key == QLatin1String("startTime"))
        return qulonglong(m_autProcess->startTime());
    logLine(QStringLiteral("Hook::autInfo: Unknown autInfo type ") + key);
    return QVariant();
}

} // namespace Tolvex
