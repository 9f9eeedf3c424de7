#pragma once

#include "fvector.h"
#include "inspectorinterface.h"

#include <QHash>

#include <memory>

namespace Tolvex {

class GlobalClass;
class ObjectHierarchyDelegate;

// The one root of the object model: classes and namespaces by id and name,
// top-level objects, primitives, the last error and the recorder's settings.
class Inspector : public InspectorInterface
{
public:
    static Inspector *self();
    ~Inspector() override;

    void setInspectorInterfaceImpl(InspectorInterface *impl);
    InspectorInterface *inspectorInterfaceImpl() const { return m_impl; }

    int numObjects() const override;
    SharedPtr<Object> object(const QString &name) const override;
    SharedPtr<Object> object(const QString &name,
                             const ObjectHierarchyDelegate **delegateOut) const;
    SharedPtr<Object> object(int index) const override;
    ObjectList objects() const override;
    SharedPtr<Object> findObject(const QString &name) override;
    int numClasses() const override;
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

    const Class *globalClass() const { return type(globalClassId()); }
    Namespace *globalNamespace() const { return nameSpace(globalNamespaceId()); }

    void setupPropertyDelegate() const;
    void addTopLevelHierarchyDelegate(const ObjectHierarchyDelegate *delegate);

    void addUnmatchedProperty(const QString &name, const QString &property);
    void setUnmatchedProperties(const QString &name, const QList<QString> &properties);
    void removeUnmatchedProperties(const QString &name);

    QString uniqueProperty(const QString &className) const;
    QList<QString> uniquePropertyClasses() const { return m_uniquePropertyClasses; }
    bool hasMouseTracking(const QString &className) const;
    bool hasRecordMouseDrag(const QString &className) const;
    int isKeyEventCompressionAllowed(const QString &className) const;
    QString extensionCode() const { return m_extensionCode; }
    QString extensionLanguage() const { return m_extensionLanguage; }
    bool matchRecordFilter(const QString &key, const QString &value) const;

    void enableObjectCache(bool on) { m_objectCacheEnabled = on; }
    bool isObjectCacheEnabled() const { return m_objectCacheEnabled; }
    void invalidateObjectCache(void *data);
    void setCachedObject(const QString &name, SharedPtr<Object> obj);
    SharedPtr<Object> cachedObject(const QString &name) const;

    bool mightHaveEventHandler(const QString &eventName) const;
    QString eventHandler(SharedPtr<Object> obj, const QString &eventName) const;
    QString eventHandler(const Class *c, const QString &eventName) const;
    QString eventHandler(const QString &eventName) const;
    void clearEventHandlers();

    void setSpyingEnabled(bool on) { m_spyingEnabled = on; }
    bool isSpyingEnabled() const { return m_spyingEnabled; }

private:
    struct Data;
    Inspector();
    // Null until setupPropertyDelegate has found the wrappers' hierarchy delegates.
    const FList<const ObjectHierarchyDelegate *> *topLevelDelegates() const;
    SharedPtr<Object> searchObject(const QString &callerName);
    SharedPtr<Object> findByPath(const QString &name, QStringList *visited, QString *lastPart);
    void setLookupError(const QString &callerName, const QString &name, bool multiProperty,
                        const QStringList &visited, const QString &lastPart);
    void createBuiltinClasses();

    std::unique_ptr<Data> d;
    InspectorInterface *m_impl = nullptr;
    SharedPtr<Object> m_voidObject;
    QMap<QString, QString> m_uniqueProperties;
    QMap<QString, bool> m_mouseTracking;
    QMap<QString, bool> m_recordMouseDrag;
    QMap<QString, bool> m_allowKeyEventCompression;
    QMap<QString, QList<QString>> m_recorderFilters;
    mutable QString m_lastError;
    bool m_objectCacheEnabled = true;
    QList<QString> m_uniquePropertyClasses;
    mutable QMap<QString, QList<QString>> m_unmatchedProperties;
    QString m_extensionCode;
    QString m_extensionLanguage;
    bool m_spyingEnabled = false;
};

} // namespace Tolvex
