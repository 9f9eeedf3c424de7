#include "commonwrapperapi.h"

#include "globalclass.h"
#include "hook.h"
#include "inspector.h"
#include "keysequences.h"
#include "mousebuttonclass.h"
#include "nativeinterface.h"
#include "object.h"
#include "objectlist.h"
#include "platformplugin.h"
#include "primitiveclassid.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "signature.h"
#include "valuewrapping.h"

#include <utility>

namespace Tolvex::CommonWrapperAPI {

namespace {

GlobalClass *globalClass()
{
    return static_cast<GlobalClass *>(const_cast<Class *>(Inspector::self()->globalClass()));
}

void add(const char *name, const Argument &returnType, const Signature &signature,
         GlobalMethod::ListFunction function)
{
    auto *method = new GlobalMethod(QString::fromLatin1(name), returnType, signature, function);
    globalClass()->addMethod(method);
    if (Hook *hook = Hook::instance())
        hook->registerGlobalMethod(method);
}

// The Hook's platform, or one that answers every call with the reason there
// is none.
NativeInterface *native()
{
    if (Hook *hook = Hook::instance())
        if (NativeInterface *native = hook->nativeInterface())
            return native;
    static NullNativeInterface none(PlatformPlugin::notSetMessage());
    return &none;
}

// The end of every function here: an error goes to the Inspector and the
// answer is null; success answers the void object.
SharedPtr<Object> finish(const FunctionCallResult<void> &result)
{
    if (result.isError()) {
        Inspector::self()->setError(result.error);
        return nullptr;
    }
    return Inspector::self()->voidObject();
}

QString textArgument(const ObjectList &args, size_t index)
{
    QString text;
    if (index < args.size())
        unwrap(args[index], &text);
    return text;
}

int intArgument(const ObjectList &args, size_t index)
{
    return index < args.size() && args[index] ? int(args[index]->toInteger()) : 0;
}

// Where a geometry argument points: a rectangle's centre, or the point.
FunctionCallResult<Point<1>> positionOf(const SharedPtr<Object> &geometry)
{
    using Result = FunctionCallResult<Point<1>>;
    if (!geometry || geometry->isNull())
        return Result::failure(QStringLiteral("Null geometry specified"));
    const QString kind = geometry->className();
    if (kind == QLatin1String("ScreenRectangle")) {
        ScreenRectangle r;
        if (!unwrapRemoteScreenRectangle(geometry, &r))
            return Result::failure(QStringLiteral("Null geometry specified"));
        if (r.width < 0 || r.height < 0)
            return Result::failure(QStringLiteral("Invalid rectangle"));
        return Point<1>(r.x + r.width / 2, r.y + r.height / 2);
    }
    if (kind == QLatin1String("ScreenPoint")) {
        ScreenPoint p;
        if (!unwrapScreenPoint(geometry, &p))
            return Result::failure(QStringLiteral("Null geometry specified"));
        return Point<1>(p.x, p.y);
    }
    return Result::failure(QStringLiteral("Argument must be a ScreenRectangle or ScreenPoint"));
}

// The geometry and the native form of the optional modifiers.
struct Target
{
    Point<1> position;
    int modifiers = 0;
};

FunctionCallResult<Target> targetOf(const ObjectList &args)
{
    using Result = FunctionCallResult<Target>;
    const FunctionCallResult<Point<1>> position = positionOf(args.empty() ? nullptr : args[0]);
    if (position.isError())
        return Result::failure(position.error);
    Target target{position.value, 0};
    if (args.size() > 1) {
        const FunctionCallResult<int> modifiers = tolvexModifiersToNative(intArgument(args, 1));
        if (modifiers.isError())
            return Result::failure(modifiers.error);
        target.modifiers = modifiers.value;
    }
    return target;
}

MouseButton::Value buttonOf(const ObjectList &args, size_t index)
{
    return index < args.size() ? MouseButton::Value(intArgument(args, index)) : MouseButton::Left;
}

SharedPtr<Object> mouseClick(const ObjectList &args, const Class *)
{
    const FunctionCallResult<Target> target = targetOf(args);
    if (target.isError())
        return finish(FunctionCallResult<void>::failure(target.error));
    return finish(native()->pointerClick(buttonOf(args, 2), target.value.position,
                                         target.value.modifiers, 1));
}

SharedPtr<Object> doubleClick(const ObjectList &args, const Class *)
{
    const FunctionCallResult<Target> target = targetOf(args);
    if (target.isError())
        return finish(FunctionCallResult<void>::failure(target.error));
    return finish(
        native()->doubleClick(buttonOf(args, 2), target.value.position, target.value.modifiers));
}

SharedPtr<Object> tapObject(const ObjectList &args, const Class *)
{
    const FunctionCallResult<Target> target = targetOf(args);
    if (target.isError())
        return finish(FunctionCallResult<void>::failure(target.error));
    return finish(native()->tap(target.value.position, target.value.modifiers));
}

SharedPtr<Object> setClipboardText(const ObjectList &args, const Class *)
{
    return finish(native()->setClipboardText(textArgument(args, 0)));
}

SharedPtr<Object> getClipboardText(const ObjectList &, const Class *)
{
    const FunctionCallResult<QString> text = native()->getClipboardText();
    if (text.isError())
        return finish(FunctionCallResult<void>::failure(text.error));
    return Inspector::self()->createPrimitive(text.value.toUtf8().constData());
}

SharedPtr<Object> nativeType(const ObjectList &args, const Class *)
{
    return finish(native()->sendKeyEventToFocusWindow(textArgument(args, 0)));
}

SharedPtr<Object> sendNativeEvent(const ObjectList &args, const Class *)
{
    return finish(native()->sendTextToWindow(textArgument(args, 0), textArgument(args, 1)));
}

SharedPtr<Object> nativeMouseClick(const ObjectList &args, const Class *)
{
    return finish(native()->pointerClick(buttonOf(args, 2),
                                         Point<1>(intArgument(args, 0), intArgument(args, 1))));
}

Argument nothing()
{
    return Argument(Inspector::self()->type(VoidClassId), ObjectAttribute::Value());
}

Argument text(const char *name)
{
    return Argument(QString::fromLatin1(name), Inspector::self()->type(CharClassId),
                    ObjectAttribute::Pointer());
}

Argument integer(const char *name)
{
    return Argument(QString::fromLatin1(name), Inspector::self()->type(IntClassId),
                    ObjectAttribute::Value());
}

// An int that carries an enumeration of one of the classes registerTypes
// makes, so that scripts see the names of its values; a plain int when the
// class has not been registered.
Argument enumerated(const char *name, const char *className, const char *enumName)
{
    const Class *c = Inspector::self()->type(QString::fromLatin1(className));
    return Argument(QString::fromLatin1(name), Inspector::self()->type(IntClassId),
                    ObjectAttribute::Value(),
                    c ? c->enumerator(QString::fromLatin1(enumName)) : nullptr);
}

} // namespace

void registerTypes()
{
    static bool done = false;
    if (std::exchange(done, true))
        return;
    Inspector *inspector = Inspector::self();
    if (!inspector->type(QStringLiteral("MouseButton")))
        new MouseButtonClass;
    if (!inspector->type(QStringLiteral("KeyboardModifier")))
        new KeyboardModifierClass;
}

void registerConsoleFunctions()
{
    static bool done = false;
    if (std::exchange(done, true))
        return;
    const Argument rectangle(QStringLiteral("rectangle"), objectModelScreenRectangleClass(),
                             ObjectAttribute::Pointer());
    const Argument point(QStringLiteral("point"), screenPointClass(), ObjectAttribute::Pointer());
    const Argument modifiers = enumerated("modifiers", "KeyboardModifier", "Key");
    const Argument button = enumerated("button", "MouseButton", "ButtonValue");
    for (const Argument &geometry : {rectangle, point}) {
        const Signature signatures[] = {Signature(geometry), Signature(geometry, modifiers),
                                        Signature(geometry, modifiers, button)};
        for (const Signature &signature : signatures) {
            add("mouseClick", nothing(), signature, &mouseClick);
            add("doubleClick", nothing(), signature, &doubleClick);
        }
        add("tapObject", nothing(), signatures[0], &tapObject);
        add("tapObject", nothing(), signatures[1], &tapObject);
    }
}

void registerClipboardFunctions()
{
    static bool done = false;
    if (std::exchange(done, true))
        return;
    add("setClipboardText", nothing(), Signature(text("text")), &setClipboardText);
    add("getClipboardText", text(""), Signature(), &getClipboardText);
}

void registerNativeFunctions()
{
    static bool done = false;
    if (std::exchange(done, true))
        return;
    add("nativeType", nothing(), Signature(text("text")), &nativeType);
    add("sendNativeEvent", nothing(), Signature(text("window"), text("event")), &sendNativeEvent);
    add("nativeMouseClick", nothing(),
        Signature(integer("x"), integer("y"), enumerated("button", "MouseButton", "ButtonValue")),
        &nativeMouseClick);
}

} // namespace Tolvex::CommonWrapperAPI
