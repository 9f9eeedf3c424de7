#include "remoteobject.h"

#include "class.h"
#include "primitiveclassid.h"
#include "remoteapplication.h"
#include "screenshot.h"

namespace Tolvex {

namespace {

// The name under which the agent makes a primitive of an argument's type;
// empty for a type that is not a primitive.
QString primitiveTypeName(const Argument &argument)
{
    if (!argument.type())
        return QString();
    switch (argument.type()->id()) {
    case ShortClassId:
        return QStringLiteral("short");
    case IntClassId:
        return QStringLiteral("int");
    case LongClassId:
        return QStringLiteral("long");
    case BoolClassId:
        return QStringLiteral("bool");
    case CharClassId:
        return argument.isPointer() ? QStringLiteral("char*") : QStringLiteral("char");
    case DoubleClassId:
        return QStringLiteral("double");
    case Int64ClassId:
        return QStringLiteral("int64");
    default:
        return QString();
    }
}

// A wire form turned into a value: primitives as themselves, with the
// agent's handle given back; other objects as they are.
FunctionCallResult<QVariant> valueOf(RemoteApplication *application, const QVariant &wire)
{
    using Result = FunctionCallResult<QVariant>;
    if (!wire.isValid())
        return Result(QVariant());
    const RemoteObject object = application->objectFromWire(wire);
    const char *conversion = nullptr;
    switch (object.classId()) {
    case ShortClassId:
    case IntClassId:
    case LongClassId:
        conversion = "objectToInteger";
        break;
    case BoolClassId:
        conversion = "objectToBoolean";
        break;
    case CharClassId:
        conversion = "objectToString";
        break;
    case DoubleClassId:
        conversion = "objectToDouble";
        break;
    case Int64ClassId:
        conversion = "objectToInt64";
        break;
    case VoidClassId:
        application->release(object.id());
        return Result(QVariant());
    default:
        return Result(QVariant::fromValue(object));
    }
    const Result converted = application->value(QString::fromLatin1(conversion), {object.id()});
    application->release(object.id());
    return converted;
}

// The arguments as primitives of the types the signature declares.
FunctionCallResult<QList<int>> primitivesFor(RemoteApplication *application,
                                             const Signature &signature, const QVariantList &values,
                                             const QString &what)
{
    using Result = FunctionCallResult<QList<int>>;
    QList<int> ids;
    for (int i = 0; i < signature.count(); ++i) {
        const QVariant &value = values.at(i);
        if (value.canConvert<RemoteObject>() && value.userType() == qMetaTypeId<RemoteObject>()) {
            ids.append(value.value<RemoteObject>().id());
            continue;
        }
        const QString type = primitiveTypeName(signature.at(i));
        if (type.isEmpty())
            return Result(ids, QStringLiteral("%1: argument %2 is of a type that only an object "
                                              "of the application can give")
                                   .arg(what)
                                   .arg(i + 1));
        const FunctionCallResult<QVariant> made =
            application->value(QStringLiteral("createPrimitive"), {type, value});
        if (made.isError())
            return Result(ids, made.error);
        ids.append(application->objectFromWire(made.value).id());
    }
    return Result(ids);
}

} // namespace

QString RemoteObject::className() const
{
    const ClassDescription *c = m_application ? m_application->classes().byId(m_classId) : nullptr;
    return c ? c->name : QString();
}

FunctionCallResult<QVariant> RemoteObject::property(const QString &name) const
{
    using Result = FunctionCallResult<QVariant>;
    if (isNull())
        return Result(QVariant(), QStringLiteral("The object is null"));
    const Property *p = m_application->classes().property(m_classId, name);
    if (!p)
        return Result(QVariant(), QStringLiteral("%1 has no property '%2'; it has: %3")
                                      .arg(className(), name,
                                           m_application->classes().propertyNames(m_classId).join(
                                               QStringLiteral(", "))));
    const FunctionCallResult<ArgumentList> wire =
        m_application->call(QStringLiteral("getProperty"), {m_id, p->id()});
    if (wire.isError())
        return Result(QVariant(), wire.error);
    return valueOf(m_application, wire.value.value(0));
}

FunctionCallResult<void> RemoteObject::setProperty(const QString &name, const QVariant &value) const
{
    using Result = FunctionCallResult<void>;
    if (isNull())
        return Result::failure(QStringLiteral("The object is null"));
    const Property *p = m_application->classes().property(m_classId, name);
    if (!p)
        return Result::failure(QStringLiteral("%1 has no property '%2'").arg(className(), name));
    if (!(p->flags() & Property::Writable))
        return Result::failure(QStringLiteral("%1.%2 cannot be written").arg(className(), name));
    Signature signature;
    signature.append(p->type());
    const FunctionCallResult<QList<int>> ids =
        primitivesFor(m_application, signature, {value}, className() + QLatin1Char('.') + name);
    if (ids.isError())
        return Result::failure(ids.error);
    const FunctionCallResult<QVariant> set =
        m_application->value(QStringLiteral("setProperty"), {m_id, p->id(), ids.value.first()});
    m_application->release(ids.value.first());
    if (set.isError())
        return Result::failure(set.error);
    if (!set.value.toBool())
        return Result::failure(
            QStringLiteral("%1.%2 was not set to %3").arg(className(), name, value.toString()));
    return {};
}

FunctionCallResult<QVariant> RemoteObject::call(const QString &method,
                                                const QVariantList &arguments) const
{
    using Result = FunctionCallResult<QVariant>;
    if (isNull())
        return Result(QVariant(), QStringLiteral("The object is null"));
    const Method *m = m_application->classes().method(m_classId, method, int(arguments.size()));
    if (!m)
        return Result(QVariant(), QStringLiteral("%1 has no method '%2' that takes %3 arguments")
                                      .arg(className(), method)
                                      .arg(arguments.size()));
    const FunctionCallResult<QList<int>> ids = primitivesFor(
        m_application, m->signature(), arguments, className() + QLatin1Char('.') + method);
    if (ids.isError())
        return Result(QVariant(), ids.error);
    ArgumentList args{m_id, m->id()};
    for (int id : ids.value)
        args.append(id);
    // A method that fails answers null and leaves its reason as the agent's
    // error; one that answers null on success leaves none, so an older
    // error must not be there to be mistaken for it.
    m_application->lastError();
    const FunctionCallResult<ArgumentList> answer =
        m_application->call(QStringLiteral("invoke"), args);
    for (int i = 0; i < ids.value.size(); ++i)
        if (arguments.at(i).userType() != qMetaTypeId<RemoteObject>())
            m_application->release(ids.value.at(i));
    if (answer.isError())
        return Result(QVariant(), answer.error);
    if (!answer.value.value(0).isValid()) {
        const QString error = m_application->lastError();
        if (!error.isEmpty())
            return Result(QVariant(), error);
    }
    return valueOf(m_application, answer.value.value(0));
}

FunctionCallResult<QList<RemoteObject>> RemoteObject::children() const
{
    using Result = FunctionCallResult<QList<RemoteObject>>;
    const FunctionCallResult<ArgumentList> answer =
        m_application->call(QStringLiteral("objects"), {m_id});
    if (answer.isError())
        return Result({}, answer.error);
    QList<RemoteObject> children;
    for (const QString &wire : answer.value.value(0).toStringList())
        children.append(m_application->objectFromWire(wire));
    return Result(children);
}

FunctionCallResult<RemoteObject> RemoteObject::parent() const
{
    using Result = FunctionCallResult<RemoteObject>;
    const FunctionCallResult<ArgumentList> answer =
        m_application->call(QStringLiteral("parent"), {m_id});
    if (answer.isError())
        return Result(RemoteObject(), answer.error);
    return Result(m_application->objectFromWire(answer.value.value(0)));
}

FunctionCallResult<QString> RemoteObject::realName() const
{
    const FunctionCallResult<QVariant> name =
        m_application->value(QStringLiteral("qualifiedObjectName"), {m_id});
    return FunctionCallResult<QString>(name.value.toString(), name.error);
}

FunctionCallResult<RemoteObject> RemoteObject::item(const QString &text) const
{
    const FunctionCallResult<QVariant> found =
        m_application->value(QStringLiteral("getObjectItemIfReady2"), {m_id, text});
    return FunctionCallResult<RemoteObject>(m_application->objectFromWire(found.value),
                                            found.error);
}

FunctionCallResult<RemoteObject> RemoteObject::item(int row, int column) const
{
    const FunctionCallResult<QVariant> found =
        m_application->value(QStringLiteral("getObjectItemByRowColIfReady2"), {m_id, row, column});
    return FunctionCallResult<RemoteObject>(m_application->objectFromWire(found.value),
                                            found.error);
}

FunctionCallResult<void> RemoteObject::press(bool down, const PointerAction &how) const
{
    // Flags: 1 the object is given, 2 the modifiers, 4 the button, 8 the
    // position.
    const int flags = 1 | (how.modifiers ? 2 : 0) | (how.button ? 4 : 0) | (how.at ? 8 : 0);
    const QPoint at = how.at.value_or(QPoint());
    const FunctionCallResult<QVariant> pressed =
        m_application->value(QStringLiteral("mousePress"),
                             {m_id, flags, at.x(), at.y(), how.button, how.modifiers, true, down});
    if (pressed.isError())
        return FunctionCallResult<void>::failure(pressed.error);
    return {};
}

FunctionCallResult<void> RemoteObject::click(const PointerAction &how) const
{
    m_application->settleBeforeClick(m_id);
    const FunctionCallResult<void> clicked = pressAndRelease(how);
    m_application->noteClick(m_id);
    return clicked;
}

FunctionCallResult<void> RemoteObject::pressAndRelease(const PointerAction &how) const
{
    // The release goes out even when the press failed, so that no button
    // stays down; the first error is the one told.
    const FunctionCallResult<void> pressed = press(true, how);
    const FunctionCallResult<void> released = press(false, how);
    return pressed.isError() ? pressed : released;
}

FunctionCallResult<void> RemoteObject::click() const
{
    return click(PointerAction());
}

FunctionCallResult<void> RemoteObject::click(QPoint at) const
{
    return click(PointerAction{at, 0, 0});
}

FunctionCallResult<void> RemoteObject::doubleClick(const PointerAction &how) const
{
    m_application->settleBeforeClick(m_id);
    FunctionCallResult<void> clicked = pressAndRelease(how);
    if (!clicked.isError())
        clicked = pressAndRelease(how);
    m_application->noteClick(m_id);
    return clicked;
}

namespace {

FunctionCallResult<void> keyPress(RemoteApplication *application, const QString &key, bool press)
{
    const FunctionCallResult<QVariant> sent =
        application->value(QStringLiteral("keyPress"), {key, press});
    if (sent.isError())
        return FunctionCallResult<void>::failure(sent.error);
    return {};
}

// One key or one character, down and up again.
FunctionCallResult<void> stroke(RemoteApplication *application, const QString &key)
{
    const FunctionCallResult<void> down = keyPress(application, key, true);
    const FunctionCallResult<void> up = keyPress(application, key, false);
    return down.isError() ? down : up;
}

} // namespace

namespace {

// A printable ASCII character goes by its key, unshifted, as a single key
// press does; those that need Shift on a US keyboard get it held, with the
// character of their key.
QChar unshiftedKey(QChar c)
{
    static const QString shifted = QStringLiteral("~!@#$%^&*()_+{}|:\"<>?");
    static const QString base = QStringLiteral("`1234567890-=[]\\;',./");
    if (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
        return c.toLower();
    const qsizetype at = shifted.indexOf(c);
    return at >= 0 ? base.at(at) : QChar();
}

// One character of a text, with Shift where its key needs it.
FunctionCallResult<void> typeCharacter(RemoteApplication *application, const QString &character)
{
    if (character == QLatin1String(" "))
        return stroke(application, QStringLiteral("<Space>"));
    const QChar key = character.size() == 1 ? unshiftedKey(character.at(0)) : QChar();
    if (key.isNull())
        return stroke(application, character);
    const FunctionCallResult<void> shift = keyPress(application, QStringLiteral("<Shift>"), true);
    if (shift.isError())
        return shift;
    const FunctionCallResult<void> typed = stroke(application, QString(key));
    const FunctionCallResult<void> unshift =
        keyPress(application, QStringLiteral("<Shift>"), false);
    return typed.isError() ? typed : unshift;
}

} // namespace

FunctionCallResult<void> RemoteObject::type(const QString &text) const
{
    const FunctionCallResult<void> focused = click();
    if (focused.isError())
        return focused;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const qsizetype length = text.at(i).isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        const QString character = text.mid(i, length);
        const FunctionCallResult<void> typed = typeCharacter(m_application, character);
        if (typed.isError())
            return typed;
        i += length - 1;
    }
    return {};
}

FunctionCallResult<void> RemoteObject::key(const QString &keys) const
{
    const FunctionCallResult<void> focused = click();
    if (focused.isError())
        return focused;
    for (qsizetype i = 0; i < keys.size();) {
        // The first character inside the brackets may be anything: "<>>".
        const qsizetype end =
            keys.at(i) == QLatin1Char('<') ? keys.indexOf(QLatin1Char('>'), i + 2) : -1;
        if (end < 0) {
            // A character between keys types as it does in a text.
            const FunctionCallResult<void> typed = typeCharacter(m_application, keys.mid(i, 1));
            if (typed.isError())
                return typed;
            ++i;
            continue;
        }
        const QString combination = keys.mid(i + 1, end - i - 1);
        i = end + 1;
        if (combination.size() == 1) {
            // "<<>": the character itself.
            const FunctionCallResult<void> typed = typeCharacter(m_application, combination);
            if (typed.isError())
                return typed;
            continue;
        }
        // "<Ctrl+Shift+A>": the modifiers held in order around the last key,
        // which may be "+" itself ("<Ctrl++>").
        QStringList parts;
        if (combination.endsWith(QLatin1String("++")))
            parts = combination.chopped(2).split(QLatin1Char('+')) << QStringLiteral("+");
        else
            parts = combination.split(QLatin1Char('+'));
        const auto asKey = [](const QString &part) {
            return part.size() == 1 ? part : QLatin1Char('<') + part + QLatin1Char('>');
        };
        QStringList held;
        FunctionCallResult<void> result;
        for (qsizetype p = 0; p + 1 < parts.size() && !result.isError(); ++p) {
            result = keyPress(m_application, asKey(parts.at(p)), true);
            if (!result.isError())
                held.prepend(asKey(parts.at(p)));
        }
        if (!result.isError())
            result = stroke(m_application, asKey(parts.last()));
        for (const QString &modifier : held) {
            const FunctionCallResult<void> released = keyPress(m_application, modifier, false);
            if (!result.isError())
                result = released;
        }
        if (result.isError())
            return result;
    }
    return {};
}

FunctionCallResult<QRect> RemoteObject::screenBounds() const
{
    const FunctionCallResult<QVariant> bounds =
        m_application->value(QStringLiteral("objectGlobalBounds"), {m_id});
    if (bounds.isError())
        return FunctionCallResult<QRect>::failure(bounds.error);
    const FunctionCallResult<QRect> rectangle = m_application->rectangle(bounds.value);
    // The rectangle's handle is of no further use.
    const RemoteObject handle = bounds.value.value<RemoteObject>().isNull()
                                    ? m_application->objectFromWire(bounds.value)
                                    : bounds.value.value<RemoteObject>();
    if (!handle.isNull())
        m_application->release(handle.id());
    return rectangle;
}

FunctionCallResult<QImage> RemoteObject::screenshot() const
{
    using Result = FunctionCallResult<QImage>;
    const FunctionCallResult<QRect> bounds = screenBounds();
    if (bounds.isError())
        return Result(QImage(), bounds.error);
    const FunctionCallResult<ArgumentList> shot =
        m_application->call(QStringLiteral("rawScreenshot"), {0});
    if (shot.isError())
        return Result(QImage(), shot.error);
    const Screenshot desktop = Screenshot::fromVariant(shot.value.value(0));
    if (desktop.image.isNull())
        return Result(QImage(), QStringLiteral("The application sent no picture of the screen"));
    // The picture maps to the screen by its transform; the object's
    // rectangle is in screen pixels.
    const QRect inPicture =
        desktop.transform.inverted().mapRect(bounds.value).intersected(desktop.image.rect());
    if (inPicture.isEmpty())
        return Result(QImage(), QStringLiteral("The object is not on the screen"));
    return Result(desktop.image.copy(inPicture));
}

} // namespace Tolvex
