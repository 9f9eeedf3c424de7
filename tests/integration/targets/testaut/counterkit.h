#pragma once

// The test application's toolkit: two top-level objects and the wrapper
// that owns one of them.
//
//  - "counter", of class Counter with an int property "value" (7 at start)
//    and the methods "describe" and static "make", owned by the wrapper; it
//    is ready while its value is not negative.
//  - "stray", of class Stray, which no wrapper owns.
//
// Both are found by path ("counter") and by their one-property names
// ("{name='counter'}"), which are also their real names.
//
// Installing a global event handler drives the application the way a user
// would, so that tests can make it record, log and call back:
//   "click"          records a click on the counter and logs it
//   "log:TEXT"       logs a method event named TEXT
//   "class:NAME"     creates a class NAME, as a toolkit meeting a new type
//   "async"          a wrapper call that finishes on the next event loop turn
//   "env"            asks the server for the client environment and says it
// Any other event calls back the handler installed for it on the counter.

#include "classregistrar.h"
#include "delegate.h"
#include "delegatefactory.h"
#include "eventdata.h"
#include "hook.h"
#include "objectname.h"
#include "testtoolkit.h"
#include "wrapper.h"

#include <QTimer>

#include <iostream>

namespace CounterKit {

using namespace Tolvex;

// One line of the application's report on stdout.
inline void say(const QString &text)
{
    std::cout << text.toStdString() << std::endl;
}

inline const TestToolkit::TestClass &counterClass()
{
    // Methods answer "Counter#<method id>"; "make" is static.
    static const TestToolkit::TestClass c(
        "Counter", nullptr,
        {{QStringLiteral("describe"), {}, nullptr}, {QStringLiteral("make"), {}, nullptr, true}},
        {{QStringLiteral("value"), TestToolkit::primitive(IntClassId)}});
    return c;
}

inline const TestToolkit::TestClass &strayClass()
{
    static const TestToolkit::TestClass c("Stray", nullptr);
    return c;
}

// One wrapper object for each native thing, so their ids stay the same.
// They live to the end of the process and are never destroyed, like the
// classes and delegates they belong with.
inline TestToolkit::Native &counterNative()
{
    static auto *native = new TestToolkit::Native{{{0, 7}}, -1, {}};
    return *native;
}

inline SharedPtr<Object> counter()
{
    static auto *object = new SharedPtr<Object>(counterClass().newObject(&counterNative()));
    return *object;
}

inline SharedPtr<Object> stray()
{
    static auto *native = new TestToolkit::Native{};
    static auto *object = new SharedPtr<Object>(strayClass().newObject(native));
    return *object;
}

class TopLevel : public ObjectHierarchyDelegate
{
public:
    // Registered for the toolkit's top level and for both classes, which ask
    // it for their objects' names and children.
    explicit TopLevel(const QString &className) : ObjectHierarchyDelegate(className) {}
    int numChildren(SharedPtr<Object> o) const override { return o ? 0 : 2; }
    SharedPtr<Object> child(SharedPtr<Object> o, int index) const override
    {
        if (o)
            return nullptr;
        return index == 0 ? counter() : index == 1 ? stray() : nullptr;
    }
    SharedPtr<Object> childByName(SharedPtr<Object> o, const QString &name) const override
    {
        if (o)
            return nullptr;
        return name == QLatin1String("counter") ? counter()
               : name == QLatin1String("stray") ? stray()
                                                : nullptr;
    }
    SharedPtr<Object> objectByQualifiedName(SharedPtr<Object> o,
                                            const ObjectName &name) const override
    {
        const QMap<QString, PropertyValue> properties = name.properties();
        if (o || properties.size() != 1 || !properties.contains(QStringLiteral("name")))
            return nullptr;
        const PropertyValue value = properties.value(QStringLiteral("name"));
        for (const SharedPtr<Object> &candidate : {counter(), stray()})
            if (value.matches(this->name(candidate)))
                return candidate;
        return nullptr;
    }
    QString name(SharedPtr<Object> o) const override
    {
        return o && o->sameAs(stray()) ? QStringLiteral("stray") : QStringLiteral("counter");
    }
    QString qualifiedName(SharedPtr<Object> o) const override
    {
        return QStringLiteral("{name='%1'}").arg(name(o));
    }
    int wrapperType(SharedPtr<Object>) const override { return 0; }
};

class KitWrapper : public Wrapper
{
public:
    KitWrapper()
    {
        counterClass();
        strayClass();
        DelegateFactory::self()->addDelegate(new TopLevel(QStringLiteral("Tolvex::ToplevelQt")));
        DelegateFactory::self()->addDelegate(new TopLevel(QStringLiteral("Counter")));
        DelegateFactory::self()->addDelegate(new TopLevel(QStringLiteral("Stray")));
    }

    // Connects the script hooks once the agent exists.
    void attach(Hook *hook)
    {
        QObject::connect(hook, &Hook::eventHandlerRegistered, this,
                         [hook](const QString &event) { scriptHook(hook, event); });
    }

    QString wrapperName() const override { return QStringLiteral("testwrapper"); }
    bool ownsObject(SharedPtr<Object> object) const override
    {
        return object && object->sameAs(counter());
    }
    bool isObjectReady(SharedPtr<Object>) override
    {
        if (counterNative().properties[0] >= 0)
            return true;
        Inspector::self()->setError(QStringLiteral("the value is negative"));
        return false;
    }
    void spyModeChanged(bool) override {}
    void recordingStopped() override { say(QStringLiteral("recording stopped")); }
    void exitAUT(int code) override
    {
        say(QStringLiteral("exitAUT %1").arg(code));
        Wrapper::exitAUT(code);
    }
    void notifyEventRecordingEnabled(bool on) override
    {
        say(QStringLiteral("recording %1").arg(on ? QStringLiteral("on") : QStringLiteral("off")));
    }

private:
    static void scriptHook(Hook *hook, const QString &event)
    {
        if (event == QLatin1String("click")) {
            const EventData click(QStringLiteral("clickCounter"), counter()->qualifiedName(),
                                  ObjectList());
            if (Inspector::self()->isEventRecordingEnabled())
                Inspector::self()->recordEvent(click);
            hook->logEvent(click);
        } else if (event.startsWith(QLatin1String("log:"))) {
            hook->logEvent(EventData(event.mid(4), QString(), ObjectList()));
        } else if (event.startsWith(QLatin1String("class:"))) {
            const ClassRegistrar batch;
            const QByteArray name = event.mid(6).toUtf8();
            // Lives to the end of the process, like every class.
            new TestToolkit::TestClass(name.constData(), nullptr);
        } else if (event == QLatin1String("env")) {
            say(QStringLiteral("environment ") +
                hook->getClientEnvironment().join(QLatin1Char(',')));
        } else if (event == QLatin1String("async")) {
            hook->beginAsyncCall();
            QTimer::singleShot(0, hook, [hook] { hook->finishAsyncCallWithResult(counter()); });
        } else {
            const QString handler = Inspector::self()->eventHandler(counter(), event);
            if (!handler.isEmpty())
                hook->sendCallBack(handler, ObjectList() << counter());
        }
    }
};

} // namespace CounterKit
