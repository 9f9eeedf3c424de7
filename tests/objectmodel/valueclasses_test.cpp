#include "testtoolkit.h"

#include "arrayclass.h"
#include "datetime.h"
#include "eventdata.h"
#include "globalclass.h"
#include "mapclass.h"
#include "mousebuttonclass.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "valuewrapping.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace TestToolkit;

namespace {

SharedPtr<Object> call(const SharedPtr<Object> &self, const char *name, const ObjectList &args)
{
    return self->type()->methods(QString::fromLatin1(name)).invoke(self, args);
}

SharedPtr<Object> get(const SharedPtr<Object> &self, const char *name)
{
    const Property *p = self->type()->property(QString::fromLatin1(name));
    return p ? p->get(self) : nullptr;
}

Inspector *in()
{
    return Inspector::self();
}

} // namespace

TEST(ValueClasses, RegisteredWhereScriptsLookForThem)
{
    EXPECT_EQ(in()->globalClass()->className(), QStringLiteral("Tolvex::Global"));
    EXPECT_EQ(in()->globalClass()->id(), GlobalClassId);
    EXPECT_EQ(ArrayClass::registeredClass()->className(), QStringLiteral("Tolvex_Array"));
    EXPECT_EQ(MapClass::registeredClass()->className(), QStringLiteral("Tolvex_Map"));
    EXPECT_EQ(objectModelDateTimeClass()->fullyQualifiedClassName(),
              QStringLiteral("UiTypes::DateTime"));
    EXPECT_EQ(screenPointClass()->fullyQualifiedClassName(),
              QStringLiteral("UiTypes::ScreenPoint"));
    EXPECT_EQ(objectModelScreenRectangleClass()->numConstructors(), 3);
    EXPECT_EQ(objectModelScreenRectangleClass()->constructor(1)->toString(),
              QStringLiteral("ScreenRectangle(int x, int y, int width, int height)"));
    EXPECT_EQ(objectModelScreenRectangleClass()->constructor(2)->toString(),
              QStringLiteral("ScreenRectangle(ScreenRectangle screenRectangle)"));
    EXPECT_EQ(objectModelDateTimeClass()->numConstructors(), 4);
    EXPECT_EQ(ArrayClass::arrayClassArg("list").toString(), QStringLiteral("Tolvex_Array list"));
}

TEST(ValueClasses, ArrayPushAtAndBounds)
{
    const Class *array = ArrayClass::registeredClass();
    SharedPtr<Object> a = array->construct(ObjectList());
    ASSERT_TRUE(a);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(call(a, "push", ObjectList{in()->createPrimitive(i * 10)}).get(),
                  in()->voidObject().get());
    EXPECT_EQ(get(a, "length")->toInt64(), 3);
    EXPECT_EQ(get(a, "length")->className(), QStringLiteral("int64"));
    // An int argument is converted to the int64 parameter.
    EXPECT_EQ(call(a, "at", ObjectList{in()->createPrimitive(1)})->toInteger(), 20);
    in()->lastError();
    EXPECT_FALSE(call(a, "at", ObjectList{in()->createPrimitive(-1)}));
    EXPECT_EQ(in()->lastError(), QStringLiteral("Negative index not supported"));
    EXPECT_FALSE(call(a, "at", ObjectList{in()->createPrimitive(3)}));
    EXPECT_EQ(in()->lastError(), QStringLiteral("Out of bounds access: index: 3, size: 3"));

    const ArrayClass::Native local = ArrayClass::unwrapObject(a);
    ASSERT_EQ(local.size(), 3u);
    EXPECT_EQ(local[2]->toInteger(), 30);
    const ArrayClass::Native remote =
        ArrayClass::unwrapRemoteObject(ArrayClass::createRemoteObject(local));
    ASSERT_EQ(remote.size(), 3u);
    EXPECT_EQ(remote[0].get(), local[0].get());
    EXPECT_TRUE(ArrayClass::unwrapObject(in()->createPrimitive(1)).empty());
}

TEST(ValueClasses, MapKeepsTheFirstValueOfAKey)
{
    SharedPtr<Object> m = MapClass::registeredClass()->construct(ObjectList());
    ASSERT_TRUE(m);
    call(m, "insert", ObjectList{in()->createPrimitive("b"), in()->createPrimitive(2)});
    call(m, "insert", ObjectList{in()->createPrimitive("a"), in()->createPrimitive(1)});
    call(m, "insert", ObjectList{in()->createPrimitive("a"), in()->createPrimitive(99)});
    EXPECT_EQ(get(m, "length")->toInt64(), 2);
    EXPECT_EQ(call(m, "at", ObjectList{in()->createPrimitive("a")})->toInteger(), 1);
    EXPECT_EQ(get(m, "keys")->toString(), QStringLiteral("[a, b]"));
    in()->lastError();
    EXPECT_FALSE(call(m, "at", ObjectList{in()->createPrimitive("zz")}));
    EXPECT_EQ(in()->lastError(), QStringLiteral("Map key not found"));

    const MapClass::Native remote =
        MapClass::unwrapRemoteObject(MapClass::createRemoteObject(MapClass::unwrapObject(m)));
    ASSERT_EQ(remote.size(), 2u);
    EXPECT_EQ(remote.at(QStringLiteral("b"))->toInteger(), 2);
}

TEST(ValueClasses, DateTimeTextComparisonAndConstructors)
{
    const Class *c = objectModelDateTimeClass();
    SharedPtr<Object> day = c->construct(ObjectList{
        in()->createPrimitive(2024), in()->createPrimitive(1), in()->createPrimitive(5)});
    ASSERT_TRUE(day);
    EXPECT_TRUE(day->isAutoDelete());
    EXPECT_EQ(day->toString(), QStringLiteral("2024/01/05"));
    SharedPtr<Object> withTime = wrapDateTime(DateTime(2024, 1, 5, 9, 7, 3));
    EXPECT_EQ(withTime->toString(), QStringLiteral("2024/01/05 09:07:03"));
    EXPECT_EQ(get(withTime, "minute")->toInteger(), 7);

    EXPECT_TRUE(day->compare(wrapDateTime(DateTime(2024, 1, 5, 0, 0, 0))));
    EXPECT_TRUE(wrapDateTime(DateTime(2024, 1, 5, 0, 0, 0))->compare(day));
    EXPECT_FALSE(day->compare(wrapDateTime(DateTime(2024, 1, 5, 1, 0, 0))));
    EXPECT_FALSE(day->compare(wrapDateTime(DateTime(2024, 1, 6))));
    EXPECT_TRUE(withTime->compare(wrapDateTime(DateTime(2024, 1, 5, 9, 7, 3))));
    EXPECT_FALSE(withTime->compare(wrapDateTime(DateTime(2024, 1, 5, 9, 7, 4))));

    // It converts to text and nothing else.
    EXPECT_TRUE(c->canConvertTo(in()->type(CharClassId), true, true, nullptr));
    EXPECT_FALSE(c->canConvertTo(in()->type(IntClassId), true, false, nullptr));

    const Property *hour = c->property(QStringLiteral("hour"));
    EXPECT_TRUE(hour->set(day, in()->createPrimitive(23)));
    DateTime read;
    ASSERT_TRUE(unwrapDateTime(day, &read));
    EXPECT_EQ(read.hour, 23);
    EXPECT_FALSE(unwrapDateTime(in()->createPrimitive(1), &read));

    SharedPtr<Object> copy = c->construct(ObjectList{withTime});
    ASSERT_TRUE(copy);
    EXPECT_NE(copy->data(), withTime->data());
    EXPECT_EQ(copy->toString(), withTime->toString());
    EXPECT_FALSE(c->construct(9, nullptr));

    std::stringstream text;
    text << DateTime(2024, 2, 29, 23, 59, 58);
    EXPECT_EQ(text.str(), "2024/2/29/23/59/58");
    DateTime parsed;
    text >> parsed;
    EXPECT_EQ(parsed.day, 29);
    EXPECT_EQ(parsed.second, 58);
}

TEST(ValueClasses, GeometryClasses)
{
    ScreenRectangle r;
    r.x = 10;
    r.y = 20;
    r.width = 5;
    r.height = 7;
    SharedPtr<Object> rect = wrapScreenRectangle(r);
    ScreenPoint p;
    ASSERT_TRUE(unwrapScreenPoint(call(rect, "center", ObjectList()), &p));
    EXPECT_EQ(p.x, 12);
    EXPECT_EQ(p.y, 23);
    r.width = -1;
    ASSERT_TRUE(unwrapScreenPoint(call(wrapScreenRectangle(r), "center", ObjectList()), &p));
    EXPECT_EQ(p.x, 0);
    EXPECT_EQ(p.y, 0);

    r.width = 30;
    SharedPtr<Object> remote = createRemoteScreenRectangle(r);
    ASSERT_TRUE(remote);
    EXPECT_EQ(unwrapRemoteScreenRectangleAsQRect(remote), QRect(10, 20, 30, 7));
    EXPECT_EQ(unwrapRemoteScreenRectangleAsQRect(in()->createPrimitive(1)), QRect());

    // Doubles are converted to the int parameters.
    SharedPtr<Object> point = screenPointClass()->construct(
        ObjectList{in()->createPrimitive(1.9), in()->createPrimitive(-2)});
    ASSERT_TRUE(unwrapScreenPoint(point, &p));
    EXPECT_EQ(p.x, 1);
    EXPECT_EQ(p.y, -2);
    EXPECT_EQ(point->toDebugString(),
              QStringLiteral("{ x = 1 : int, y = -2 : int } : ScreenPoint"));
}

namespace {

SharedPtr<Object> twice(const ObjectList &args, const Class *)
{
    return Inspector::self()->createPrimitive(args.at(0)->toInteger() * 2);
}

SharedPtr<Object> thrice(const ObjectList &args, const Class *)
{
    return Inspector::self()->createPrimitive(args.at(0)->toInteger() * 3);
}

SharedPtr<Object> rawNegate(void **args, const Class *)
{
    return Inspector::self()->createPrimitive(-*static_cast<int *>(args[0]));
}

struct Counter : GlobalMethodInvoker
{
    SharedPtr<Object> invoke(const GlobalMethod *method, const ObjectList &args,
                             const Class *) override
    {
        ++calls;
        return Inspector::self()->createPrimitive(method->name() + QString::number(args.size()));
    }
    int calls = 0;
};

int globalValue = 5;
SharedPtr<Object> readGlobal(const Class *)
{
    return Inspector::self()->createPrimitive(globalValue);
}
bool writeGlobal(void *value)
{
    globalValue = *static_cast<int *>(value);
    return true;
}

} // namespace

TEST(ValueClasses, GlobalFunctionsPropertiesAndInjection)
{
    auto *global = static_cast<GlobalClass *>(const_cast<Class *>(in()->globalClass()));
    const Signature oneInt(
        Argument(QStringLiteral("n"), in()->type(IntClassId), ObjectAttribute::Value()));
    const Argument returnsInt(in()->type(IntClassId), ObjectAttribute::Value());
    global->addMethod(new GlobalMethod(QStringLiteral("twice"), returnsInt, oneInt, &twice));
    static Counter counter;
    global->addMethod(new GlobalMethod(QStringLiteral("count"), returnsInt, Signature(), &counter));
    const MethodList twiceList = global->methods(QStringLiteral("twice"));
    ASSERT_EQ(twiceList.count(), 1);
    const int twiceId = twiceList.first()->id();
    EXPECT_EQ(twiceList.invoke(nullptr, ObjectList{in()->createPrimitive(4.0)})->toInteger(), 8);
    EXPECT_EQ(global->methods(QStringLiteral("count")).invoke(nullptr, ObjectList())->toString(),
              QStringLiteral("count0"));
    EXPECT_EQ(counter.calls, 1);

    // Added after the table was built.
    global->addMethod(new GlobalMethod(QStringLiteral("negate"), returnsInt, oneInt, &rawNegate));
    EXPECT_EQ(global->methods(QStringLiteral("negate"))
                  .invoke(nullptr, ObjectList{in()->createPrimitive(6)})
                  ->toInteger(),
              -6);

    auto *replacement = new GlobalMethod(QStringLiteral("twice"), returnsInt, oneInt, &thrice);
    std::unique_ptr<const GlobalMethod> old(global->injectMethod(replacement));
    EXPECT_EQ(old.get(), twiceList.first());
    EXPECT_EQ(replacement->id(), twiceId);
    EXPECT_EQ(global->method(twiceId), replacement);
    EXPECT_EQ(global->methods(QStringLiteral("twice"))
                  .invoke(nullptr, ObjectList{in()->createPrimitive(4)})
                  ->toInteger(),
              12);
    const Signature twoInts(Argument(in()->type(IntClassId), ObjectAttribute::Value()),
                            Argument(in()->type(IntClassId), ObjectAttribute::Value()));
    EXPECT_EQ(global->injectMethod(
                  new GlobalMethod(QStringLiteral("twice"), returnsInt, twoInts, &twice)),
              nullptr);
    EXPECT_EQ(global->methods(QStringLiteral("twice")).count(), 2);

    global->addProperty(new GlobalProperty(
        QStringLiteral("level"), returnsInt,
        Property::Readable | Property::Writable | Property::Static, &readGlobal, &writeGlobal));
    const Property *level = global->property(QStringLiteral("level"));
    ASSERT_NE(level, nullptr);
    EXPECT_EQ(level->get(nullptr)->toInteger(), 5);
    EXPECT_TRUE(level->set(nullptr, in()->createPrimitive(8)));
    EXPECT_EQ(globalValue, 8);
    EXPECT_FALSE(in()->globalClass()->construct(ObjectList()));
}

TEST(ValueClasses, EnumeratorClassesAndRecordedMasks)
{
    static MouseButtonClass *mouse = new MouseButtonClass;
    static KeyboardModifierClass *keys = new KeyboardModifierClass;
    const Enum *buttons = in()->enumerator(QStringLiteral("MouseButton::ButtonValue"));
    ASSERT_NE(buttons, nullptr);
    EXPECT_EQ(buttons->enumClass(), mouse);
    EXPECT_TRUE(buttons->isMask());
    EXPECT_EQ(buttons->count(), 9);
    EXPECT_EQ(mouse->enumerator(1), nullptr);
    const Enum *key = keys->enumerator(QStringLiteral("Key"));
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->valueToKey(512, nullptr), QStringLiteral("Alt"));

    const EventDataArg arg = EventData::createArgument(
        QStringLiteral("button"), in()->type(IntClassId), buttons, in()->createPrimitive(1 | 4));
    EXPECT_EQ(arg.enumKeys(),
              (QList<QString>{QStringLiteral("LeftButton"), QStringLiteral("RightButton")}));
    EXPECT_EQ(arg.enumName(), QStringLiteral("ButtonValue"));
}

TEST(ValueClasses, PlainValuesWrapAndUnwrap)
{
    QList<QString> list;
    EXPECT_TRUE(unwrap(wrap(QList<QString>{QStringLiteral("x"), QStringLiteral("y")}), &list));
    EXPECT_EQ(list, (QList<QString>{QStringLiteral("x"), QStringLiteral("y")}));
    SharedPtr<Object> array =
        ArrayClass::wrapObject({in()->createPrimitive("p"), in()->createPrimitive(7)});
    EXPECT_TRUE(unwrap(array, &list));
    EXPECT_EQ(list, (QList<QString>{QStringLiteral("p"), QStringLiteral("7")}));
    EXPECT_FALSE(unwrap(in()->createPrimitive(1), &list));

    std::string s;
    EXPECT_TRUE(unwrap(wrap(std::string("text")), &s));
    EXPECT_EQ(s, "text");
    int n = 0;
    EXPECT_TRUE(unwrap(in()->createPrimitive("12"), &n));
    EXPECT_EQ(n, 12);
    EXPECT_FALSE(unwrap(in()->type(IntClassId)->createNull(), &n));
    QString q;
    EXPECT_FALSE(unwrap(SharedPtr<Object>(), &q));
}
