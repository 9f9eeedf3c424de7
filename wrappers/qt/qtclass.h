#pragma once

// The class of the model for a QMetaObject, made on first need together
// with those of its superclasses: properties from its QMetaProperties,
// methods from its public slots and invokable methods, events from its
// signals, and its enumerators. Members are described only when first
// asked for, and each access goes to the QObject through the meta object.

#include "class.h"
#include "signature.h"

#include <QMetaEnum>
#include <QString>

#include <memory>
#include <vector>

struct QMetaObject;
class QMetaMethod;
class QMetaProperty;
class QObject;

namespace Tolvex {

class QtClass : public Class
{
public:
    // The class of a meta object, made with its superclasses and the
    // classes of the enumerators its members use, in one batch of
    // registrations.
    static const QtClass *forMetaObject(const QMetaObject *metaObject);
    // The class if it was made already, else null.
    static const QtClass *existing(const QMetaObject *metaObject);
    // The class of an object of the model that stands for a QObject.
    static const QtClass *of(const SharedPtr<Object> &object);

    ~QtClass() override;

    const QMetaObject *metaObject() const { return m_metaObject; }
    // The name objects of this class have as their type in object names:
    // the class name without the suffixes QML adds to the types it makes,
    // which depend on the order in which it made them.
    QString typeName() const { return m_typeName; }
    static QString typeName(const QMetaObject *metaObject);

    // The meta property or method behind a member of this class, as the
    // object's own meta object has it.
    QMetaProperty metaProperty(const QObject *object, const Property *property) const;
    QMetaMethod metaMethod(const QObject *object, const Method *method) const;

    SharedPtr<Object> getProperty(SharedPtr<Object> self, const Property *property) const override;
    bool setProperty(SharedPtr<Object> self, const Property *property,
                     SharedPtr<Object> value) const override;

private:
    QtClass(const char *name, const QMetaObject *metaObject);

    SharedPtr<Object> invoke(int id, SharedPtr<Object> self, const ObjectList &args,
                             const Method *method) const override;
    void initSuperClass() override;
    Method *createMethod(int id) const override;
    Property *createProperty(int id) const override;
    Event *createEvent(int id) const override;
    Enum *createEnum(int id) const override;
    bool canConvertToInternal(const Class *target, bool sourceIsPointer,
                              bool targetIsPointer) const override;
    SharedPtr<Object> convertToInternal(SharedPtr<Object> obj, const Class *target,
                                        bool targetIsPointer) const override;

    const Enum *enumeratorOf(const QMetaEnum &metaEnum) const;
    Signature signatureOf(const QMetaMethod &method) const;

    const QMetaObject *m_metaObject;
    QString m_typeName;
    // Absolute indices in the meta object of the own methods and signals.
    std::vector<int> m_methods;
    std::vector<int> m_signals;
    struct EnumItems;
    mutable std::vector<std::unique_ptr<EnumItems>> m_enumItems;
};

} // namespace Tolvex
