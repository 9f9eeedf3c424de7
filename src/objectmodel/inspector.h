#pragma once

#include "fvector.h"
#include "inspectorinterface.h"
#include "tolvexexport.h"

#include <QHash>

#include <memory>

namespace Tolvex {

class GlobalClass;
class ObjectHierarchyDelegate;

// The one root of the object model: classes and namespaces by id and name,
// top-level objects, primitives, the last error and the recorder's settings.
// The virtual operations go to an implementation: the Inspector's own, on
// this process's tables, or one a wrapper puts in its place. A few do a
// little more on the way (see inspector.cpp).
class TOLVEX_EXPORT Inspector : public InspectorInterface
{
public:
    static Inspector *self();
    ~Inspector() override;

    // From here on the virtual operations go to impl (the local tables are
    // emptied); null puts the Inspector's own behaviour back.
    void setInspectorInterfaceImpl(InspectorInterface *impl);
    InspectorInterface *inspectorInterfaceImpl() const;

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
    QList<QString> uniquePropertyClasses() const;
    bool hasMouseTracking(const QString &className) const;
    bool hasRecordMouseDrag(const QString &className) const;
    int isKeyEventCompressionAllowed(const QString &className) const;
    QString extensionCode() const;
    QString extensionLanguage() const;
    bool matchRecordFilter(const QString &key, const QString &value) const;

    void enableObjectCache(bool on);
    bool isObjectCacheEnabled() const;
    void invalidateObjectCache(void *data);
    void setCachedObject(const QString &name, SharedPtr<Object> obj);
    SharedPtr<Object> cachedObject(const QString &name) const;

    bool mightHaveEventHandler(const QString &eventName) const;
    QString eventHandler(SharedPtr<Object> obj, const QString &eventName) const;
    QString eventHandler(const Class *c, const QString &eventName) const;
    QString eventHandler(const QString &eventName) const;
    void clearEventHandlers();

    void setSpyingEnabled(bool on);
    bool isSpyingEnabled() const;

private:
    struct Data;
    friend class LocalInspector;

    Inspector();
    void createBuiltinClasses();

    std::unique_ptr<Data> d;
};

} // namespace Tolvex
