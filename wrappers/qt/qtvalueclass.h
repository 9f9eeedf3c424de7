#pragma once

// The Qt value types that the object model has no class of its own for
// (QSize, QColor, QFont, ...) as classes of the model: each field a property
// of a primitive type, a constructor from the fields and one from the text
// form, conversion to a string, and comparison by value. An object of such
// a class owns a copy of the value.

#include "class.h"

#include <QMetaType>
#include <QString>
#include <QVariant>

#include <functional>
#include <vector>

namespace Tolvex {

class QtValueClass : public Class
{
public:
    struct Field
    {
        const char *name;
        int classId; // of a primitive: int, double, bool, or char for a string
        std::function<QVariant(const QVariant &)> get;
        // Null for a field that cannot be written.
        std::function<void(QVariant *, const QVariant &)> set;
    };
    // How an object keeps its value: as a QVariant, or, for the image
    // types, as the image itself, so that code that knows the image
    // classes by name can take the image from the object's data.
    enum class Storage { Variant, Native };

    // A class of the values of type whose constructor of fields takes the
    // first arity fields; registers itself with the Inspector.
    QtValueClass(const char *name, QMetaType type, std::vector<Field> fields, int arity,
                 std::function<QString(const QVariant &)> toText,
                 std::function<QVariant(const QString &)> fromText,
                 Storage storage = Storage::Variant);

    // Creates the classes, once; they live to the end of the process.
    static void registerAll();
    // The class of a value type, or null.
    static const QtValueClass *forType(QMetaType type);
    // The catch-all class of values no class describes: their type name and
    // their text.
    static const QtValueClass *opaqueClass();
    // Whether the object is of one of these classes; its value then.
    static bool valueOf(const SharedPtr<Object> &object, QVariant *value);

    SharedPtr<Object> wrapValue(const QVariant &value) const;
    QMetaType valueType() const { return m_type; }
    // The text form of a value, and the value of a text (invalid when the
    // text names none).
    QString textOf(const QVariant &value) const { return m_toText(value); }
    QVariant fromText(const QString &text) const
    {
        return m_fromText ? m_fromText(text) : QVariant();
    }

    SharedPtr<Object> construct(int id, void **args) const override;
    SharedPtr<Object> wrap(void *data, const ObjectAttribute &attribute) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attribute) const override;
    SharedPtr<Object> getProperty(int id, void *data, const Class *valueClass) const override;
    bool setProperty(int id, void *data, void *value) const override;
    bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const override;

private:
    QVariant read(const void *data) const;
    void write(void *data, const QVariant &value) const;
    void initSuperClass() override;
    Constructor *createConstructor(int id) const override;
    Property *createProperty(int id) const override;
    bool canConvertToInternal(const Class *target, bool sourceIsPointer,
                              bool targetIsPointer) const override;
    SharedPtr<Object> convertToInternal(SharedPtr<Object> obj, const Class *target,
                                        bool targetIsPointer) const override;

    QMetaType m_type;
    std::vector<Field> m_fields;
    // The fields the constructor of fields takes: the first so many.
    int m_arity;
    std::function<QString(const QVariant &)> m_toText;
    std::function<QVariant(const QString &)> m_fromText;
    Storage m_storage;
};

} // namespace Tolvex
