#pragma once

#include "objectattribute.h"
#include "serializable.h"
#include "shared.h"
#include "tolvexexport.h"

#include <QString>

#include <memory>
#include <string>

namespace Tolvex {

class ClassPrivate;
class Constructor;
class Enum;
class Event;
class Interface;
class Method;
class MethodList;
class Namespace;
class Object;
class ObjectList;
class Property;

// The run-time type of a wrapped native thing. Toolkit wrappers derive from
// it, set their member counts in the constructor and create member
// descriptors on demand through the create... operations.
class TOLVEX_EXPORT Class : public Serializable
{
public:
    enum OffsetType { Properties = 0, Methods = 1, Events = 3, Enums = 4 };

    Class();
    Class(const char *name, bool registerNow);
    Class(const char *name, Namespace *nameSpace, bool registerNow);
    ~Class() override;
    Class(const Class &) = delete;
    Class &operator=(const Class &) = delete;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

    virtual SharedPtr<Object> convertToInterface(SharedPtr<Object> obj, const QString &name) const;

private:
    virtual SharedPtr<Object> invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                                     const Method *method) const;

public:
    virtual SharedPtr<Object> invoke(SharedPtr<Object> self, const Method *method,
                                     void **args) const;
    virtual SharedPtr<Object> invoke(int id, void *data, void **args,
                                     const Class *returnClass) const;

private:
    virtual bool setProperty(int id, SharedPtr<Object> self, SharedPtr<Object> value,
                             const Property *property) const;

public:
    virtual bool setProperty(SharedPtr<Object> self, const Property *property,
                             SharedPtr<Object> value) const;
    virtual bool setProperty(int id, void *data, void *value) const;

private:
    virtual SharedPtr<Object> getProperty(int id, SharedPtr<Object> self,
                                          const Property *property) const;

public:
    virtual SharedPtr<Object> getProperty(SharedPtr<Object> self, const Property *property) const;
    virtual SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const;

private:
    virtual SharedPtr<Object> construct(int id, const ObjectList &args,
                                        const Constructor *constructor) const;

public:
    virtual SharedPtr<Object> construct(int id, void **args) const;
    virtual SharedPtr<Object> wrap(void *data, const ObjectAttribute &attribute) const;
    virtual void deleteObjectData(void *data, const ObjectAttribute &attribute) const;
    virtual bool canConvertTo(const Class *target, bool sourceIsPointer, bool targetIsPointer,
                              void **constructorOut) const;
    virtual SharedPtr<Object> convertTo(SharedPtr<Object> obj, const Class *target,
                                        bool targetIsPointer) const;
    virtual bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const;
    virtual bool sameObjects(SharedPtr<Object> a, SharedPtr<Object> b) const;
    virtual bool canConvertToTolerant(const Class *target, bool sourceIsPointer,
                                      bool targetIsPointer, void **constructorOut) const;
    virtual SharedPtr<Object> convertToTolerant(SharedPtr<Object> obj, const Class *target,
                                                bool targetIsPointer) const;
    virtual QString realType(const QString &name) const;

private:
    virtual void initSuperClass();
    virtual Constructor *createConstructor(int id) const;
    virtual Method *createMethod(int id) const;
    virtual Property *createProperty(int id) const;
    virtual Event *createEvent(int id) const;
    virtual Enum *createEnum(int id) const;
    virtual bool canCastTo(const Class *target, bool targetIsPointer) const;
    virtual SharedPtr<Object> castTo(SharedPtr<Object> obj, const Class *target,
                                     bool targetIsPointer) const;
    virtual bool canConvertToInternal(const Class *target, bool sourceIsPointer,
                                      bool targetIsPointer) const;
    virtual SharedPtr<Object> convertToInternal(SharedPtr<Object> obj, const Class *target,
                                                bool targetIsPointer) const;

public:
    QString className() const;
    QString fullyQualifiedClassName() const;
    int id() const;
    Namespace *nameSpace() const;
    const Class *super() const;
    bool isSubClassOf(const Class *c) const;
    int inheritanceDepth(const Class *c) const;
    bool hasNature(int nature) const;
    void addNature(int nature);
    unsigned int natures() const;
    void addInterface(const Interface *interface);
    const Interface *interfaceClass(const QString &name) const;

    int numConstructors() const;
    int numMethods() const;
    int numProperties() const;
    int numEvents() const;
    int numEnums() const;
    int numPropertiesInternal() const;
    int superClassOffset(OffsetType type) const;

    const Constructor *constructor(int index) const;
    const Method *method(int id) const;
    MethodList methods(const QString &name) const;
    const Property *property(int id) const;
    const Property *property(const QString &name) const;
    const Event *event(int id) const;
    const Event *event(const QString &name) const;
    const Enum *enumerator(int id) const;
    const Enum *enumerator(const QString &name) const;

    SharedPtr<Object> construct(const ObjectList &args) const;
    bool convert(SharedPtr<Object> obj, void **out) const;
    SharedPtr<Object> createNull() const;
    void registerClass();
    void lateAddMethod(Method *method);

protected:
    void setSuperClass(const Class *superClass);
    void setNumConstructors(int n);
    void setNumMethods(int n);
    void setNumProperties(int n);
    void setNumEvents(int n);
    void setNumEnums(int n);
    void setId(int id);
    // Puts a method in the place of the one with its id, if the method
    // table is built already.
    void replaceMethod(const Method *method);

private:
    friend class Method;
    friend class Constructor;
    friend class Property;
    friend class ClassMembers;

    std::unique_ptr<ClassPrivate> d;
};

} // namespace Tolvex
