#pragma once

#include "flist.h"
#include "objectlist.h"
#include "primitiveclassid.h"
#include "shared.h"
#include "tolvexexport.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

namespace Tolvex {

class Class;
class Enum;
class Event;
class EventData;
class EventNotifyDelegate;
class Namespace;
class Object;
class SendEventDelegate;

// The abstract face of the model's registry. Inspector implements it locally;
// a wrapper may put another implementation behind it.
class TOLVEX_EXPORT InspectorInterface
{
public:
    InspectorInterface();
    virtual ~InspectorInterface();

    virtual int numObjects() const = 0;
    virtual SharedPtr<Object> object(const QString &name) const = 0;
    virtual SharedPtr<Object> object(int index) const = 0;
    virtual ObjectList objects() const = 0;
    virtual SharedPtr<Object> findObject(const QString &name) = 0;
    virtual int numClasses() const = 0;
    virtual const Class *type(const QString &name) const = 0;
    virtual const Class *type(int id) const = 0;
    virtual int registerClass(const Class *c) const = 0;
    virtual int numNamespaces() const = 0;
    virtual Namespace *nameSpace(const QString &name) const = 0;
    virtual Namespace *nameSpace(int id) const = 0;
    virtual Namespace *nameSpaceFromFullyQualifiedName(const QString &name) const = 0;
    virtual int registerNamespace(Namespace *n) const = 0;
    virtual SharedPtr<Object> createPrimitive(const QList<QString> &strings) = 0;
    virtual SharedPtr<Object> createPrimitive(const char *string) = 0;
    virtual SharedPtr<Object> createPrimitive(double value) = 0;
    virtual SharedPtr<Object> createPrimitive(bool value) = 0;
    virtual SharedPtr<Object> createPrimitive(long value) = 0;
    virtual SharedPtr<Object> createPrimitive(long long value) = 0;
    virtual SharedPtr<Object> createPrimitive(int value) = 0;
    virtual SharedPtr<Object> createNull(const Class *c) const = 0;
    virtual SharedPtr<Object> voidObject() const = 0;
    virtual void sendEvent(const Event *event, SharedPtr<Object> obj, const ObjectList &args) const;
    virtual void addPropertyDelegate(const QString &className,
                                     const QList<QString> &descriptions) = 0;
    virtual void setUniqueProperty(const QString &className, const QString &propertyName) = 0;
    virtual void setExtensionCode(const QString &code, const QString &language) = 0;
    virtual void setMouseTracking(const QString &className, bool on) = 0;
    virtual void setRecordMouseDrag(const QString &className, bool on) = 0;
    virtual void setAllowKeyEventCompression(const QString &className, bool on) = 0;
    virtual void enableEventCompression(const QString &className, bool on) = 0;
    virtual void setRecorderFilter(const QString &key, const QString &filter) = 0;
    virtual void setError(const QString &text) = 0;
    virtual QString lastError() const = 0;
    virtual bool installObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                           const QString &handler) = 0;
    virtual bool uninstallObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                             const QString &handler) = 0;
    virtual bool installClassEventHandler(const QString &className, const QString &eventName,
                                          const QString &handler) = 0;
    virtual bool uninstallClassEventHandler(const QString &className, const QString &eventName,
                                            const QString &handler) = 0;
    virtual bool installGlobalEventHandler(const QString &eventName, const QString &handler) = 0;
    virtual bool uninstallGlobalEventHandler(const QString &eventName, const QString &handler) = 0;
    virtual QVariant call(const QString &name, const FList<QVariant> &args) = 0;
    virtual QMap<QString, QList<QString>> unmatchedProperties() const = 0;

    SharedPtr<Object> createPrimitive(const QString &string);
    const Enum *enumerator(const QString &name) const;
    void addSendEventDelegate(SendEventDelegate *delegate);
    void removeSendEventDelegate(SendEventDelegate *delegate);
    void setEventNotifyDelegate(EventNotifyDelegate *delegate);
    EventNotifyDelegate *eventNotifyDelegate() const { return m_eventNotifyDelegate; }
    void recordEvent(const EventData &data) const;
    bool isEventRecordingEnabled() const;
    void setEventRecordingEnabled(bool on) { m_eventRecordingEnabled = on; }
    int globalClassId() const { return m_globalClassId; }
    int globalNamespaceId() const { return m_globalNamespaceId; }

private:
    FList<SendEventDelegate *> *m_sendEventDelegates = nullptr;
    EventNotifyDelegate *m_eventNotifyDelegate = nullptr;
    bool m_eventRecordingEnabled = false;
    int m_globalClassId = GlobalClassId;
    int m_globalNamespaceId = 0;
};

} // namespace Tolvex
