#include "windowfunctions_p.h"

#include "delegate.h"
#include "delegatefactory.h"
#include "globalclass.h"
#include "hook.h"
#include "inspector.h"
#include "object.h"
#include "objectlist.h"
#include "primitiveclassid.h"
#include "screen.h"
#include "screenrectangle.h"
#include "signature.h"

#include <utility>

namespace Tolvex {

namespace {

using WindowResult = FunctionCallResult<void>;
using WindowRun = WindowResult (*)(const WindowInteractionDelegate &, SharedPtr<Object>,
                                   const ObjectList &);

SharedPtr<Object> fail(const QString &error)
{
    Inspector::self()->setError(error);
    return nullptr;
}

bool isNullObject(const SharedPtr<Object> &object)
{
    return !object || object->isNull();
}

const WindowInteractionDelegate *windowDelegate(const SharedPtr<Object> &object)
{
    return static_cast<const WindowInteractionDelegate *>(
        DelegateFactory::self()->delegate(object->type(), Delegate::WindowInteraction));
}

int intArgument(const ObjectList &args, size_t index)
{
    return index < args.size() && args[index] ? int(args[index]->toInteger()) : 0;
}

SharedPtr<Object> screenRectangle(const Rect<2> &rect)
{
    ScreenRectangle value;
    value.x = rect.x;
    value.y = rect.y;
    value.width = rect.width;
    value.height = rect.height;
    return wrapScreenRectangle(value);
}

// One of the window actions: the object, its delegate, then the work. The
// word names the action in the errors.
class WindowAction final : public GlobalMethodInvoker
{
public:
    WindowAction(const char *word, WindowRun run) : m_word(QString::fromLatin1(word)), m_run(run) {}

    SharedPtr<Object> invoke(const GlobalMethod *, const ObjectList &args, const Class *) override
    {
        const SharedPtr<Object> object = args.empty() ? nullptr : args[0];
        if (isNullObject(object))
            return fail(QStringLiteral("Can't %1 null object.").arg(m_word));
        const WindowInteractionDelegate *delegate = windowDelegate(object);
        if (!delegate)
            return fail(QStringLiteral("Don't know how to %1 object of type %2")
                            .arg(m_word, object->className()));
        const WindowResult done = m_run(*delegate, object, args);
        if (done.isError())
            return fail(done.error);
        return Inspector::self()->voidObject();
    }

private:
    QString m_word;
    WindowRun m_run;
};

SharedPtr<Object> windowGeometry(const ObjectList &args, const Class *)
{
    const SharedPtr<Object> object = args.empty() ? nullptr : args[0];
    if (isNullObject(object))
        return fail(QStringLiteral("Can't fetch geometry for null object."));
    const WindowInteractionDelegate *delegate = windowDelegate(object);
    if (!delegate)
        return fail(QStringLiteral("Don't know how to fetch geometry for object of type %1")
                        .arg(object->className()));
    const FunctionCallResult<Rect<2>> geometry = delegate->windowGeometry(object);
    if (geometry.isError())
        return fail(geometry.error);
    return screenRectangle(geometry.value);
}

SharedPtr<Object> focusedWindow(const ObjectList &, const Class *)
{
    for (const Delegate *d :
         DelegateFactory::self()->delegatesForType(Delegate::WindowInteraction)) {
        const FunctionCallResult<SharedPtr<Object>> focused =
            static_cast<const WindowInteractionDelegate *>(d)->focusedWindow();
        if (focused.isError())
            return fail(focused.error);
        if (!isNullObject(focused.value))
            return focused.value;
    }
    return fail(QStringLiteral("No focused window found"));
}

SharedPtr<Screen> currentScreen()
{
    if (Hook *hook = Hook::instance())
        return hook->screen();
    return SharedPtr<Screen>(new StandardScreen);
}

SharedPtr<Object> screenCount(const ObjectList &, const Class *)
{
    const FunctionCallResult<int> count = currentScreen()->count();
    if (count.isError())
        return fail(count.error);
    return Inspector::self()->createPrimitive(count.value);
}

SharedPtr<Object> screenGeometry(const ObjectList &args, const Class *)
{
    const FunctionCallResult<Rect<2>> geometry = currentScreen()->geometry(intArgument(args, 0));
    if (geometry.isError())
        return fail(geometry.error);
    return screenRectangle(geometry.value);
}

SharedPtr<Object> screenOrientation(const ObjectList &args, const Class *)
{
    const FunctionCallResult<int> orientation = currentScreen()->orientation(intArgument(args, 0));
    if (orientation.isError())
        return fail(orientation.error);
    return Inspector::self()->createPrimitive(orientation.value);
}

SharedPtr<Object> setScreenOrientation(const ObjectList &args, const Class *)
{
    const FunctionCallResult<void> set =
        currentScreen()->setOrientation(intArgument(args, 0), intArgument(args, 1));
    if (set.isError())
        return fail(set.error);
    return Inspector::self()->voidObject();
}

} // namespace

void registerWindowAndScreenFunctions()
{
    static bool done = false;
    if (std::exchange(done, true))
        return;

    Inspector *inspector = Inspector::self();
    auto *global = static_cast<GlobalClass *>(const_cast<Class *>(inspector->globalClass()));
    const Class *voidClass = inspector->type(VoidClassId);
    const Class *intClass = inspector->type(IntClassId);
    const Argument nothing(voidClass, ObjectAttribute::Value());
    const Argument anyObject(voidClass, ObjectAttribute::Pointer());
    const Argument integer(intClass, ObjectAttribute::Value());
    const Argument rectangle(objectModelScreenRectangleClass(), ObjectAttribute::Value());
    const Argument object(QStringLiteral("object"), voidClass, ObjectAttribute::Pointer());
    const auto intNamed = [&](const char *name) {
        return Argument(QString::fromLatin1(name), intClass, ObjectAttribute::Value());
    };

    const auto action = [&](const char *name, const Signature &signature, const char *word,
                            WindowRun run) {
        global->addMethod(new GlobalMethod(QString::fromLatin1(name), nothing, signature,
                                           new WindowAction(word, run)));
    };
    action("_tolvex_window_close", Signature(object), "close",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &) {
               return d.closeWindow(o);
           });
    action("_tolvex_window_maximize", Signature(object), "maximize",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &) {
               return d.maximizeWindow(o);
           });
    action("_tolvex_window_minimize", Signature(object), "minimize",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &) {
               return d.minimizeWindow(o);
           });
    action("_tolvex_window_moveto", Signature(object, intNamed("x"), intNamed("y")), "move",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &a) {
               return d.moveWindow(o, intArgument(a, 1), intArgument(a, 2));
           });
    action("_tolvex_window_resizeto", Signature(object, intNamed("width"), intNamed("height")),
           "resize",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &a) {
               return d.resizeWindow(o, intArgument(a, 1), intArgument(a, 2));
           });
    action("_tolvex_window_restore", Signature(object), "restore",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &) {
               return d.restoreWindow(o);
           });
    action("_tolvex_window_fullscreen_set",
           Signature(object, Argument(QStringLiteral("fullscreen"), inspector->type(BoolClassId),
                                      ObjectAttribute::Value())),
           "change the full-screen state of",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &a) {
               return d.setFullscreenWindow(o, intArgument(a, 1) != 0);
           });
    action("_tolvex_window_foreground_set", Signature(object), "bring to the foreground",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &) {
               return d.setForegroundWindow(o);
           });
    action("_tolvex_window_focus_set", Signature(object), "focus",
           [](const WindowInteractionDelegate &d, SharedPtr<Object> o, const ObjectList &) {
               return d.setFocusedWindow(o);
           });

    global->addMethod(new GlobalMethod(QStringLiteral("_tolvex_window_geometry_get"), rectangle,
                                       Signature(object), &windowGeometry));
    global->addMethod(new GlobalMethod(QStringLiteral("_tolvex_window_focused"), anyObject,
                                       Signature(), &focusedWindow));
    global->addMethod(new GlobalMethod(QStringLiteral("_tolvex_screen_count_get"), integer,
                                       Signature(), &screenCount));
    global->addMethod(new GlobalMethod(QStringLiteral("_tolvex_screen_geometry_get"), rectangle,
                                       Signature(intNamed("screenIndex")), &screenGeometry));
    global->addMethod(new GlobalMethod(QStringLiteral("_tolvex_screen_orientation_get"), integer,
                                       Signature(intNamed("screenIndex")), &screenOrientation));
    global->addMethod(new GlobalMethod(QStringLiteral("_tolvex_screen_orientation_set"), nothing,
                                       Signature(intNamed("screenIndex"), intNamed("orientation")),
                                       &setScreenOrientation));
}

} // namespace Tolvex
