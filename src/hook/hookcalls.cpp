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
    case 0: {
        const int n = h.numObjects(arg(0).toInt());
        return n < 0 ? QVariant() : QVariant(n);
    }
    case 1:
        return h.objectToVariant(h.objectByName(arg(0).toInt(), arg(1).toString()));
    case 2:
        return h.objectToVariant(h.objectByIndex(arg(0).toInt(), arg(1).toInt()));
    case 3:
        return stringOrNone(h.objectName(arg(0).toInt()));
    case 4:
        return stringOrNone(h.qualifiedObjectName(arg(0).toInt()));
    case 5:
        return Inspector::self()->numClasses();
    case 6:
        return ObjectHandles::allClasses();
    case 7:
        return Inspector::self()->numNamespaces();
    case 8:
        return ObjectHandles::allNamespaces();
    case 9:
        return h.objectToVariant(h.invoke(arg(0).toInt(), arg(1).toInt(), idsFrom(args, 2)));
    case 10:
        return h.setProperty(arg(0).toInt(), arg(1).toInt(), arg(2).toInt());
    case 11:
        return h.objectToVariant(h.getProperty(arg(0).toInt(), arg(1).toInt()));
    case 12: // the constructor index comes first on the wire, the class second
        return h.objectToVariant(h.construct(arg(1).toInt(), arg(0).toInt(), idsFrom(args, 2)));
    case 13:
        return h.objectToDebugString(arg(0).toInt());
    case 14: {
        const int v = h.objectToInteger(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case 15: {
        const qlonglong v = h.objectToInt64(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case 16: {
        const QString v = h.objectToString(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case 17: {
        const double v = h.objectToDouble(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case 18: {
        const bool v = h.objectToBoolean(arg(0).toInt(), &ok);
        return valueIfOk(v, ok);
    }
    case 19:
        h.objectFromInteger(arg(0).toInt(), arg(1).toInt());
        return QVariant();
    case 20:
        h.objectFromInt64(arg(0).toInt(), arg(1).toLongLong());
        return QVariant();
    case 21:
        h.objectFromString(arg(0).toInt(), arg(1).toString());
        return QVariant();
    case 22:
        h.objectFromDouble(arg(0).toInt(), arg(1).toDouble());
        return QVariant();
    case 23:
        h.objectFromBoolean(arg(0).toInt(), arg(1).toBool());
        return QVariant();
    case 24:
        return h.objectCompare(arg(0).toInt(), arg(1).toInt());
    case 25:
        return h.objectIsNull(arg(0).toInt());
    case 26:
        return h.objectToVariant(Inspector::self()->findObject(arg(0).toString()));
    case 31:
        return h.objectCast(arg(0).toInt(), arg(1).toInt());
    case 32:
        return h.objectToVariant(ObjectHandles::objectGlobalBounds(h.objectById(arg(0).toInt())));
    case 33:
        return h.objectToVariant(h.objectReference(arg(0).toInt()));
    case 34:
        return h.objectToVariant(h.objectDereference(arg(0).toInt()));
    case 35:
        return h.objects(arg(0).toInt());
    case 37:
        return h.objectToVariant(h.createPrimitive(arg(0).toString(), arg(1)));
    case 38:
        return h.objectToVariant(h.createNull(arg(0).toString()));
    case 39:
        return h.objectToVariant(h.getVoidObject());
    case 41:
        return h.getObjectAttribute(arg(0).toInt());
    case 42:
        return h.canConvertTo(arg(0).toInt(), arg(1).toInt(), arg(2).toBool(), arg(3).toBool());
    case 43:
        return h.objectToVariant(
            h.convertTo(arg(0).toInt(), arg(1).toInt(), arg(2).toInt(), arg(3).toBool()));
    case 44:
        return h.objectToVariant(
            h.convertToInterface(arg(0).toInt(), arg(1).toInt(), arg(2).toString()));
    case 55: {
        const QString path = testData().put(arg(0).toString(), arg(1).toString(), arg(2).toBool());
        return path.isEmpty() ? QVariant() : QVariant(path);
    }
    case 56: {
        const auto [bytes, error] = testData().get(arg(0).toString());
        if (error.isEmpty())
            return bytes;
        Inspector::self()->setError(error);
        return QVariant();
    }
    case 57:
        testData().remove(arg(0).toString());
        return QVariant();
    case 58:
        return testData().exists(arg(0).toString());
    case 66:
        if (m_objectMap)
            m_objectMap->add(ObjectName(arg(0).toString()), arg(1).toString());
        return QVariant();
    case 69:
        return Inspector::self()->lastError();
    case 77:
        return m_autProcess ? QVariant(qlonglong(m_autProcess->usedMemory())) : QVariant();
    case 78:
        return m_autProcess ? QVariant(qlonglong(m_autProcess->totalTime())) : QVariant();
    case 79:
        return m_autProcess ? QVariant(m_autProcess->processId()) : QVariant();
    case 80:
        return m_autProcess ? QVariant(m_autProcess->workingDirectory()) : QVariant();
    case 81:
        return autInfo(args);
    case 87:
        return m_autProcess ? QVariant(m_autProcess->readStdout()) : QVariant();
    case 88:
        return m_autProcess ? QVariant(m_autProcess->readStderr()) : QVariant();
    case 89:
        return m_autProcess ? QVariant(m_autProcess->osName()) : QVariant();
    case 101: {
        QVariantMap unmatched;
        const QMap<QString, QList<QString>> map = Inspector::self()->unmatchedProperties();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            unmatched.insert(it.key(), QStringList(it.value()));
        return unmatched;
    }
    case 102:
        Inspector::self()->setError(arg(0).toString());
        return QVariant();
    case 110:
        return h.objectToVariant(h.parent(arg(0).toInt()));
    default:
        // Readiness, spying, screenshots, native input and the rest come
        // with their subsystems.
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
