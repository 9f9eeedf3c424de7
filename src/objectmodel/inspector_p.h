#pragma once

#include "fvector.h"
#include "inspector.h"

#include <QHash>
#include <QStringList>

namespace Tolvex {

struct EventHandlerEntry
{
    enum Kind { ObjectKind = 0, ClassKind = 1, GlobalKind = 2 };

    int kind = GlobalKind;
    SharedPtr<Object> object;
    mutable const Class *type = nullptr;
    mutable bool typeResolved = false;
    QString className;
    QString eventName;
    QString handler;
};

// A table indexed by id: a capacity that grows in small steps and a count of
// the slots in use.
template <typename T> struct Registry
{
    static constexpr int InitialCapacity = 64;
    static constexpr int Growth = 8;

    Registry() : table(InitialCapacity) { byName.reserve(1031); }

    int add(T *entry, const QString &name)
    {
        if (count == table.count())
            table.resize(table.count() + Growth);
        table[count] = entry;
        byName.insert(name, entry);
        return count++;
    }
    void reset()
    {
        table = FVector<T *>(InitialCapacity);
        count = 0;
        byName.clear();
    }
    T *at(int id) const { return id >= 0 && id < count ? table[id] : nullptr; }

    FVector<T *> table;
    int count = 0;
    QHash<QString, T *> byName;
};

// The Inspector's own behaviour: every operation of the interface on the
// tables and settings of this process, which the Inspector's private record
// holds. The Inspector sends its calls here unless a wrapper has put another
// implementation in its place. What the recorder's switch and the send-event
// delegates are is the Inspector's own (its interface part), so they are
// asked there.
class LocalInspector final : public InspectorInterface
{
public:
    LocalInspector(Inspector *front, Inspector::Data *data) : q(front), d(data) {}

    int numObjects() const override;
    SharedPtr<Object> object(const QString &name) const override;
    SharedPtr<Object> object(const QString &name,
                             const ObjectHierarchyDelegate **delegateOut) const;
    SharedPtr<Object> object(int index) const override;
    ObjectList objects() const override;
    SharedPtr<Object> findObject(const QString &name) override;
    int numClasses() const override;
    // The name as it is: the Inspector has taken off any "*" or "&".
    const Class *type(const QString &name) const override;
    const Class *type(int id) const override;
    int registerClass(const Class *c) const override;
    int numNamespaces() const override;
    Namespace *nameSpace(const QString &name) const override;
    Namespace *nameSpace(int id) const override;
    Namespace *nameSpaceFromFullyQualifiedName(const QString &name) const override;
    int registerNamespace(Namespace *n) const override;
    using InspectorInterface::createPrimitive;
    SharedPtr<Object> createPrimitive(const QList<QString> &strings) override;
    SharedPtr<Object> createPrimitive(const char *string) override;
    SharedPtr<Object> createPrimitive(double value) override;
    SharedPtr<Object> createPrimitive(bool value) override;
    SharedPtr<Object> createPrimitive(long value) override;
    SharedPtr<Object> createPrimitive(long long value) override;
    SharedPtr<Object> createPrimitive(int value) override;
    SharedPtr<Object> createNull(const Class *c) const override;
    SharedPtr<Object> voidObject() const override;
    void sendEvent(const Event *event, SharedPtr<Object> obj,
                   const ObjectList &args) const override;
    void addPropertyDelegate(const QString &className, const QList<QString> &descriptions) override;
    void setUniqueProperty(const QString &className, const QString &propertyName) override;
    void setExtensionCode(const QString &code, const QString &language) override;
    void setMouseTracking(const QString &className, bool on) override;
    void setRecordMouseDrag(const QString &className, bool on) override;
    void setAllowKeyEventCompression(const QString &className, bool on) override;
    // Has no effect here: it is only for an implementation that is not local.
    void enableEventCompression(const QString &className, bool on) override;
    void setRecorderFilter(const QString &key, const QString &filter) override;
    void setError(const QString &text) override;
    QString lastError() const override;
    bool installObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                   const QString &handler) override;
    bool uninstallObjectEventHandler(SharedPtr<Object> obj, const QString &eventName,
                                     const QString &handler) override;
    bool installClassEventHandler(const QString &className, const QString &eventName,
                                  const QString &handler) override;
    bool uninstallClassEventHandler(const QString &className, const QString &eventName,
                                    const QString &handler) override;
    bool installGlobalEventHandler(const QString &eventName, const QString &handler) override;
    bool uninstallGlobalEventHandler(const QString &eventName, const QString &handler) override;
    QVariant call(const QString &name, const FList<QVariant> &args) override;
    QMap<QString, QList<QString>> unmatchedProperties() const override;

private:
    SharedPtr<Object> searchObject(const QString &callerName);
    SharedPtr<Object> findByPath(const QString &name, QStringList *visited, QString *lastPart);
    void setLookupError(const QString &callerName, const QString &name, bool multiProperty,
                        const QStringList &visited, const QString &lastPart);

    Inspector *q;
    Inspector::Data *d;
};

struct Inspector::Data
{
    explicit Data(Inspector *q) : local(q, this) {}
    ~Data() { delete topLevelDelegates; }
    Data(const Data &) = delete;
    Data &operator=(const Data &) = delete;

    LocalInspector local;
    // What a wrapper set in the place of local, if anything.
    InspectorInterface *impl = nullptr;
    // Where the virtual operations go: impl if set, else local.
    InspectorInterface *target = &local;

    FList<EventHandlerEntry> objectHandlers;
    FList<EventHandlerEntry> classHandlers;
    FList<EventHandlerEntry> globalHandlers;
    Registry<const Class> classes;
    Registry<Namespace> namespaces;
    // Null until setupPropertyDelegate has found the wrappers' hierarchy delegates.
    FList<const ObjectHierarchyDelegate *> *topLevelDelegates = nullptr;
    SharedPtr<Object> voidObject;
    QMap<QString, QString> uniqueProperties;
    QMap<QString, bool> mouseTracking;
    QMap<QString, bool> recordMouseDrag;
    QMap<QString, bool> allowKeyEventCompression;
    QMap<QString, bool> eventsWithHandlers;
    QMap<QString, QList<QString>> recorderFilters;
    SharedPtr<Object> cachedObject;
    QString cachedName;
    QString lastError;
    bool objectCacheEnabled = true;
    QList<QString> uniquePropertyClasses;
    QMap<QString, QList<QString>> unmatchedProperties;
    QString extensionCode;
    QString extensionLanguage;
    bool spyingEnabled = false;
};

} // namespace Tolvex
