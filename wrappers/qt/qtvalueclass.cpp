#include "qtvalueclass.h"

#include "constructor.h"
#include "inspector.h"
#include "object.h"
#include "primitiveclassid.h"
#include "property.h"

#include <QColor>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QPointF>
#include <QRectF>
#include <QRegularExpression>
#include <QSize>
#include <QSizeF>
#include <QTime>

namespace Tolvex {

namespace {

using Field = QtValueClass::Field;

QHash<int, const QtValueClass *> &classesByType()
{
    static QHash<int, const QtValueClass *> classes;
    return classes;
}

const QtValueClass *&opaque()
{
    static const QtValueClass *c = nullptr;
    return c;
}

// A field of T read and written through a getter and a setter.
template <typename T, typename V>
Field field(const char *name, int classId, V (T::*get)() const, void (T::*set)(V) = nullptr)
{
    Field f{name, classId, [get](const QVariant &v) { return QVariant((v.value<T>().*get)()); },
            nullptr};
    if (set)
        f.set = [set](QVariant *v, const QVariant &x) {
            T value = v->value<T>();
            (value.*set)(x.value<V>());
            *v = QVariant::fromValue(value);
        };
    return f;
}

QVariant nativeValue(int classId, void *data)
{
    if (!data)
        return QVariant();
    switch (classId) {
    case IntClassId:
        return *static_cast<int *>(data);
    case DoubleClassId:
        return *static_cast<double *>(data);
    case BoolClassId:
        return *static_cast<bool *>(data);
    case CharClassId:
        return QString::fromUtf8(static_cast<const char *>(data));
    }
    return QVariant();
}

SharedPtr<Object> primitive(int classId, const QVariant &value)
{
    Inspector *inspector = Inspector::self();
    switch (classId) {
    case IntClassId:
        return inspector->createPrimitive(value.toInt());
    case DoubleClassId:
        return inspector->createPrimitive(value.toDouble());
    case BoolClassId:
        return inspector->createPrimitive(value.toBool());
    }
    return inspector->createPrimitive(value.toString());
}

// "100x30", also "100,30" and "100 30".
QSizeF parseSize(const QString &text, bool *ok)
{
    const QStringList parts =
        text.split(QRegularExpression(QStringLiteral("[x,\\s]+")), Qt::SkipEmptyParts);
    bool okW = false;
    bool okH = false;
    const QSizeF size =
        parts.size() == 2 ? QSizeF(parts[0].toDouble(&okW), parts[1].toDouble(&okH)) : QSizeF();
    *ok = okW && okH;
    return size;
}

QList<double> parseNumbers(const QString &text)
{
    QList<double> numbers;
    for (const QString &part :
         text.split(QRegularExpression(QStringLiteral("[,\\s]+")), Qt::SkipEmptyParts)) {
        bool ok = false;
        numbers.append(part.toDouble(&ok));
        if (!ok)
            return {};
    }
    return numbers;
}

QString number(double value)
{
    return QString::number(value, 'g', 10);
}

void registerGeometryClasses()
{
    new QtValueClass(
        "QSize", QMetaType::fromType<QSize>(),
        {field<QSize, int>("width", IntClassId, &QSize::width, &QSize::setWidth),
         field<QSize, int>("height", IntClassId, &QSize::height, &QSize::setHeight)},
        2,
        [](const QVariant &v) {
            return QStringLiteral("%1x%2").arg(v.toSize().width()).arg(v.toSize().height());
        },
        [](const QString &t) {
            bool ok = false;
            const QSizeF s = parseSize(t, &ok);
            return ok ? QVariant(s.toSize()) : QVariant();
        });
    new QtValueClass(
        "QSizeF", QMetaType::fromType<QSizeF>(),
        {field<QSizeF, qreal>("width", DoubleClassId, &QSizeF::width, &QSizeF::setWidth),
         field<QSizeF, qreal>("height", DoubleClassId, &QSizeF::height, &QSizeF::setHeight)},
        2,
        [](const QVariant &v) {
            return number(v.toSizeF().width()) + QLatin1Char('x') + number(v.toSizeF().height());
        },
        [](const QString &t) {
            bool ok = false;
            const QSizeF s = parseSize(t, &ok);
            return ok ? QVariant(s) : QVariant();
        });
    new QtValueClass(
        "QPointF", QMetaType::fromType<QPointF>(),
        {field<QPointF, qreal>("x", DoubleClassId, &QPointF::x, &QPointF::setX),
         field<QPointF, qreal>("y", DoubleClassId, &QPointF::y, &QPointF::setY)},
        2,
        [](const QVariant &v) {
            return number(v.toPointF().x()) + QLatin1Char(',') + number(v.toPointF().y());
        },
        [](const QString &t) {
            const QList<double> n = parseNumbers(t);
            return n.size() == 2 ? QVariant(QPointF(n[0], n[1])) : QVariant();
        });
    new QtValueClass(
        "QRectF", QMetaType::fromType<QRectF>(),
        {field<QRectF, qreal>("x", DoubleClassId, &QRectF::x, &QRectF::moveLeft),
         field<QRectF, qreal>("y", DoubleClassId, &QRectF::y, &QRectF::moveTop),
         field<QRectF, qreal>("width", DoubleClassId, &QRectF::width, &QRectF::setWidth),
         field<QRectF, qreal>("height", DoubleClassId, &QRectF::height, &QRectF::setHeight)},
        4,
        [](const QVariant &v) {
            const QRectF r = v.toRectF();
            return QStringList{number(r.x()), number(r.y()), number(r.width()), number(r.height())}
                .join(QLatin1Char(','));
        },
        [](const QString &t) {
            const QList<double> n = parseNumbers(t);
            return n.size() == 4 ? QVariant(QRectF(n[0], n[1], n[2], n[3])) : QVariant();
        });
}

QString colorText(const QColor &c)
{
    return c.name(c.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
}

void registerGuiClasses()
{
    Field name{"name", CharClassId,
               [](const QVariant &v) { return QVariant(colorText(v.value<QColor>())); },
               [](QVariant *v, const QVariant &x) {
                   const QColor c = QColor::fromString(x.toString());
                   if (c.isValid())
                       *v = QVariant::fromValue(c);
               }};
    new QtValueClass(
        "QColor", QMetaType::fromType<QColor>(),
        {field<QColor, int>("red", IntClassId, &QColor::red, &QColor::setRed),
         field<QColor, int>("green", IntClassId, &QColor::green, &QColor::setGreen),
         field<QColor, int>("blue", IntClassId, &QColor::blue, &QColor::setBlue),
         field<QColor, int>("alpha", IntClassId, &QColor::alpha, &QColor::setAlpha), name},
        4, [](const QVariant &v) { return colorText(v.value<QColor>()); },
        [](const QString &t) {
            const QColor c = QColor::fromString(t);
            return c.isValid() ? QVariant::fromValue(c) : QVariant();
        });

    Field family{"family", CharClassId,
                 [](const QVariant &v) { return QVariant(v.value<QFont>().family()); },
                 [](QVariant *v, const QVariant &x) {
                     QFont f = v->value<QFont>();
                     f.setFamily(x.toString());
                     *v = QVariant::fromValue(f);
                 }};
    new QtValueClass(
        "QFont", QMetaType::fromType<QFont>(),
        {family,
         field<QFont, int>("pointSize", IntClassId, &QFont::pointSize, &QFont::setPointSize),
         field<QFont, int>("pixelSize", IntClassId, &QFont::pixelSize, &QFont::setPixelSize),
         field<QFont, bool>("bold", BoolClassId, &QFont::bold, &QFont::setBold),
         field<QFont, bool>("italic", BoolClassId, &QFont::italic, &QFont::setItalic),
         field<QFont, bool>("underline", BoolClassId, &QFont::underline, &QFont::setUnderline),
         field<QFont, bool>("strikeOut", BoolClassId, &QFont::strikeOut, &QFont::setStrikeOut)},
        2, [](const QVariant &v) { return v.value<QFont>().toString(); },
        [](const QString &t) {
            QFont f;
            return f.fromString(t) ? QVariant::fromValue(f) : QVariant();
        });

    new QtValueClass(
        "QTime", QMetaType::fromType<QTime>(),
        {field<QTime, int>("hour", IntClassId, &QTime::hour),
         field<QTime, int>("minute", IntClassId, &QTime::minute),
         field<QTime, int>("second", IntClassId, &QTime::second),
         field<QTime, int>("msec", IntClassId, &QTime::msec)},
        4, [](const QVariant &v) { return v.toTime().toString(Qt::ISODateWithMs); },
        [](const QString &t) {
            const QTime time = QTime::fromString(t, Qt::ISODateWithMs);
            return time.isValid() ? QVariant(time) : QVariant();
        });

    new QtValueClass(
        "QImage", QMetaType::fromType<QImage>(),
        {field<QImage, int>("width", IntClassId, &QImage::width),
         field<QImage, int>("height", IntClassId, &QImage::height),
         field<QImage, bool>("isNull", BoolClassId, &QImage::isNull)},
        0,
        [](const QVariant &v) {
            const QImage i = v.value<QImage>();
            return QStringLiteral("QImage(%1x%2)").arg(i.width()).arg(i.height());
        },
        nullptr, QtValueClass::Storage::Native);
    new QtValueClass(
        "QPixmap", QMetaType::fromType<QPixmap>(),
        {field<QPixmap, int>("width", IntClassId, &QPixmap::width),
         field<QPixmap, int>("height", IntClassId, &QPixmap::height),
         field<QPixmap, bool>("isNull", BoolClassId, &QPixmap::isNull)},
        0,
        [](const QVariant &v) {
            const QPixmap p = v.value<QPixmap>();
            return QStringLiteral("QPixmap(%1x%2)").arg(p.width()).arg(p.height());
        },
        nullptr, QtValueClass::Storage::Native);
}

QString opaqueText(const QVariant &v)
{
    if (v.canConvert<QString>())
        return v.toString();
    return QStringLiteral("<%1>").arg(QString::fromLatin1(v.typeName()));
}

} // namespace

void QtValueClass::registerAll()
{
    if (opaque())
        return;
    registerGeometryClasses();
    registerGuiClasses();
    Field typeName{"typeName", CharClassId,
                   [](const QVariant &v) { return QVariant(QString::fromLatin1(v.typeName())); },
                   nullptr};
    Field text{"text", CharClassId, [](const QVariant &v) { return QVariant(opaqueText(v)); },
               nullptr};
    opaque() = new QtValueClass("QVariant", QMetaType(), {typeName, text}, 0, opaqueText,
                                [](const QString &t) { return QVariant(t); });
}

const QtValueClass *QtValueClass::forType(QMetaType type)
{
    return classesByType().value(type.id());
}

const QtValueClass *QtValueClass::opaqueClass()
{
    return opaque();
}

bool QtValueClass::valueOf(const SharedPtr<Object> &object, QVariant *value)
{
    const auto *c = object ? dynamic_cast<const QtValueClass *>(object->type()) : nullptr;
    if (!c || object->isNull())
        return false;
    *value = c->read(object->data());
    return true;
}

QtValueClass::QtValueClass(const char *name, QMetaType type, std::vector<Field> fields, int arity,
                           std::function<QString(const QVariant &)> toText,
                           std::function<QVariant(const QString &)> fromText, Storage storage)
    : Class(name, Inspector::self()->globalNamespace(), true), m_type(type),
      m_fields(std::move(fields)), m_arity(arity), m_toText(std::move(toText)),
      m_fromText(std::move(fromText)), m_storage(storage)
{
    setNumConstructors((m_arity > 0 ? 1 : 0) + (m_fromText ? 1 : 0));
    setNumMethods(0);
    setNumProperties(int(m_fields.size()));
    setNumEvents(0);
    setNumEnums(0);
    if (type.isValid())
        classesByType().insert(type.id(), this);
}

void QtValueClass::initSuperClass()
{
    setSuperClass(nullptr);
}

QVariant QtValueClass::read(const void *data) const
{
    if (!data)
        return QVariant();
    if (m_storage == Storage::Native)
        return QVariant(m_type, data);
    return *static_cast<const QVariant *>(data);
}

void QtValueClass::write(void *data, const QVariant &value) const
{
    if (m_storage == Storage::Native) {
        QVariant copy = value;
        if (copy.metaType() != m_type && !copy.convert(m_type))
            return;
        m_type.destruct(data);
        m_type.construct(data, copy.constData());
    } else {
        *static_cast<QVariant *>(data) = value;
    }
}

SharedPtr<Object> QtValueClass::wrapValue(const QVariant &value) const
{
    void *data = nullptr;
    if (m_storage == Storage::Native) {
        QVariant copy = value;
        if (copy.metaType() != m_type && !copy.convert(m_type))
            copy = QVariant(m_type);
        data = m_type.create(copy.constData());
    } else {
        data = new QVariant(value);
    }
    SharedPtr<Object> object = wrap(data, ObjectAttribute::Pointer());
    object->setAutoDelete(true);
    return object;
}

SharedPtr<Object> QtValueClass::wrap(void *data, const ObjectAttribute &attribute) const
{
    return SharedPtr<Object>(new Object(this, data, attribute));
}

void QtValueClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    if (!data)
        return;
    if (m_storage == Storage::Native)
        m_type.destroy(data);
    else
        delete static_cast<QVariant *>(data);
}

Constructor *QtValueClass::createConstructor(int id) const
{
    Signature signature;
    if (id == 0 && m_arity > 0) {
        for (int k = 0; k < m_arity; ++k)
            signature.append(Argument(QString::fromLatin1(m_fields[size_t(k)].name),
                                      Inspector::self()->type(m_fields[size_t(k)].classId),
                                      ObjectAttribute::Value()));
    } else if (m_fromText) {
        signature.append(Argument(QStringLiteral("text"), Inspector::self()->type(CharClassId),
                                  ObjectAttribute::Pointer()));
    } else {
        return nullptr;
    }
    return new Constructor(this, signature, id);
}

SharedPtr<Object> QtValueClass::construct(int id, void **args) const
{
    const Constructor *c = constructor(id);
    if (!c)
        return nullptr;
    QVariant value;
    if (id == 0 && m_arity > 0) {
        value = QVariant(m_type);
        for (int k = 0; k < m_arity; ++k)
            if (m_fields[size_t(k)].set)
                m_fields[size_t(k)].set(&value, nativeValue(m_fields[size_t(k)].classId, args[k]));
    } else {
        value = m_fromText(nativeValue(CharClassId, args[0]).toString());
        if (!value.isValid()) {
            Inspector::self()->setError(
                QStringLiteral("Cannot make a %1 of the text '%2'")
                    .arg(className(), nativeValue(CharClassId, args[0]).toString()));
            return nullptr;
        }
    }
    return wrapValue(value);
}

Property *QtValueClass::createProperty(int id) const
{
    if (id < 0 || id >= int(m_fields.size()))
        return nullptr;
    const Field &f = m_fields[size_t(id)];
    const ObjectAttribute attribute =
        f.classId == CharClassId ? ObjectAttribute::Pointer() : ObjectAttribute::Value();
    const unsigned int flags = Property::Readable | (f.set ? Property::Writable : 0u);
    return new Property(this, Argument(Inspector::self()->type(f.classId), attribute),
                        QString::fromLatin1(f.name), flags, id);
}

SharedPtr<Object> QtValueClass::getProperty(int id, void *data, const Class *) const
{
    if (!data || id < 0 || id >= int(m_fields.size()))
        return nullptr;
    const Field &f = m_fields[size_t(id)];
    return primitive(f.classId, f.get(read(data)));
}

bool QtValueClass::setProperty(int id, void *data, void *value) const
{
    if (!data || id < 0 || id >= int(m_fields.size()) || !m_fields[size_t(id)].set)
        return false;
    const Field &f = m_fields[size_t(id)];
    QVariant v = read(data);
    f.set(&v, nativeValue(f.classId, value));
    write(data, v);
    return true;
}

bool QtValueClass::compare(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    QVariant va;
    QVariant vb;
    if (valueOf(a, &va) && valueOf(b, &vb) && a->type() == b->type())
        return va == vb;
    return Class::compare(a, b);
}

bool QtValueClass::canConvertToInternal(const Class *target, bool, bool targetIsPointer) const
{
    return target && target->id() == CharClassId && targetIsPointer;
}

SharedPtr<Object> QtValueClass::convertToInternal(SharedPtr<Object> obj, const Class *target,
                                                  bool targetIsPointer) const
{
    if (!canConvertToInternal(target, true, targetIsPointer) || !obj || obj->isNull())
        return nullptr;
    return Inspector::self()->createPrimitive(m_toText(read(obj->data())));
}

} // namespace Tolvex
