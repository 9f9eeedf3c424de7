#include "testtoolkit.h"

#include "propertydeclaration.h"

#include <gtest/gtest.h>

using namespace TestToolkit;

namespace {

Argument param(int classId, unsigned int flags = 0)
{
    return Argument(primitive(classId), flags, 0);
}

// f(int), f(double), g(), s() static, h(char *)
TestClass *calcClass()
{
    static TestClass *c =
        new TestClass("Calc", nullptr,
                      {{QStringLiteral("f"), {param(IntClassId)}, primitive(IntClassId)},
                       {QStringLiteral("f"), {param(DoubleClassId)}, primitive(IntClassId)},
                       {QStringLiteral("g"), {}, nullptr},
                       {QStringLiteral("s"), {}, primitive(IntClassId), true},
                       {QStringLiteral("h"),
                        {param(CharClassId, ObjectAttribute::PointerFlag)},
                        primitive(IntClassId)}},
                      {{QStringLiteral("level"), primitive(IntClassId)},
                       {QStringLiteral("shared"), primitive(IntClassId),
                        Property::Readable | Property::Writable | Property::Static}});
    return c;
}

TestClass *calcDerivedClass()
{
    static TestClass *c =
        new TestClass("CalcDerived", calcClass(),
                      {{QStringLiteral("f"), {param(BoolClassId)}, primitive(IntClassId)}});
    return c;
}

QString resultText(const SharedPtr<Object> &o)
{
    return o ? o->toString() : QStringLiteral("<none>");
}

} // namespace

TEST(Overloads, ListOrderDecidesAndArgumentsAreConverted)
{
    Inspector *in = Inspector::self();
    Native native;
    SharedPtr<Object> self = calcClass()->newObject(&native);
    const MethodList f = calcClass()->methods(QStringLiteral("f"));

    bool found = false;
    // A double is-a double only, but converts to int: f(int) stands first.
    EXPECT_EQ(resultText(f.invoke(self, ObjectList{in->createPrimitive(2.75)}, &found)),
              QStringLiteral("Calc#0"));
    EXPECT_TRUE(found);
    ASSERT_EQ(native.lastArgs.size(), 1u);
    EXPECT_EQ(native.lastArgs[0], QStringLiteral("2")) << "the converted value is passed";

    // The derived overload f(bool) comes first for a derived object.
    SharedPtr<Object> derived = calcDerivedClass()->newObject(&native);
    const MethodList df = calcDerivedClass()->methods(QStringLiteral("f"));
    EXPECT_EQ(resultText(df.invoke(derived, ObjectList{in->createPrimitive(7)}, &found)),
              QStringLiteral("CalcDerived#5"));
    EXPECT_EQ(native.lastArgs[0], QStringLiteral("true"));

    // Nothing converts a wrapper object to a number.
    in->lastError();
    EXPECT_FALSE(f.invoke(self, ObjectList{self}, &found));
    EXPECT_FALSE(found);
    EXPECT_EQ(in->lastError(), QStringLiteral("Found no matching overload"));

    // A method without parameters is matched by an empty list at once.
    EXPECT_EQ(resultText(calcClass()->methods(QStringLiteral("g")).invoke(self, ObjectList())),
              QStringLiteral("Calc#2"));

    // An empty list leaves *found alone.
    found = true;
    EXPECT_FALSE(MethodList().invoke(self, ObjectList(), &found));
    EXPECT_TRUE(found);
    EXPECT_EQ(in->lastError(), QStringLiteral("Function not available"));
}

TEST(Overloads, ExactFormNeverConvertsAndReportsFoundOverloads)
{
    Inspector *in = Inspector::self();
    Native native;
    SharedPtr<Object> self = calcClass()->newObject(&native);
    const MethodList f = calcClass()->methods(QStringLiteral("f"));

    SharedPtr<Object> result;
    EXPECT_TRUE(f.invoke(self, ObjectList{in->createPrimitive(2.5)}, &result));
    EXPECT_EQ(resultText(result), QStringLiteral("Calc#1"));
    EXPECT_EQ(f.methodForArguments(ObjectList{in->createPrimitive(true)}), nullptr);
    EXPECT_EQ(f.methodForArguments(ObjectList{SharedPtr<Object>()}), nullptr);
    EXPECT_FALSE(f.invoke(self, ObjectList{in->createPrimitive(true)}, &result));
    EXPECT_EQ(in->lastError(), QStringLiteral("Found no matching overload"));

    // Found, but refused: a non-static method without an object.
    result = nullptr;
    EXPECT_TRUE(f.invoke(SharedPtr<Object>(), ObjectList{in->createPrimitive(1)}, &result));
    EXPECT_FALSE(result);
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot invoke non-static function f() without a object reference"));
}

TEST(Invocation, ReceiverChecksComeInTheirOrder)
{
    Inspector *in = Inspector::self();
    const Method *g = calcClass()->methods(QStringLiteral("g")).first();
    const Method *s = calcClass()->methods(QStringLiteral("s")).first();

    SharedPtr<Object> nullData = calcClass()->newObject(nullptr);
    EXPECT_FALSE(g->invoke(nullData, ObjectList()));
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot invoke member function g() on null object reference"));
    EXPECT_EQ(in->lastError(), QString()) << "reading consumes the error";

    Native native;
    SharedPtr<Object> dead = calcClass()->newObject(&native);
    dead->invalidate();
    EXPECT_FALSE(g->invoke(dead, ObjectList()));
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot invoke member function g() on null object reference"));
    EXPECT_FALSE(s->invoke(dead, ObjectList()));
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot invoke member function s() on invalidated object reference"));

    // A static method needs no object.
    EXPECT_EQ(resultText(s->invoke(SharedPtr<Object>(), ObjectList())), QStringLiteral("Calc#3"));
    EXPECT_EQ(resultText(s->invoke(nullData, ObjectList())), QStringLiteral("Calc#3"));

    // The count check of the class's dispatch.
    SharedPtr<Object> self = calcClass()->newObject(&native);
    EXPECT_FALSE(calcClass()->method(0)->invoke(self, ObjectList()));
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Class::invoke Calc::0: 1 arguments expected, 0 given"));
}

TEST(Properties, AccessChecksAndRoundTrip)
{
    Inspector *in = Inspector::self();
    const Property *level = calcClass()->property(QStringLiteral("level"));
    const Property *shared = calcClass()->property(QStringLiteral("shared"));
    ASSERT_NE(level, nullptr);
    ASSERT_NE(shared, nullptr);
    Native native;
    SharedPtr<Object> self = calcClass()->newObject(&native);

    EXPECT_TRUE(level->set(self, in->createPrimitive(41)));
    EXPECT_EQ(native.properties[0], 41);
    // A double converts to the property's int on the way in.
    EXPECT_TRUE(level->set(self, in->createPrimitive(42.9)));
    EXPECT_EQ(level->get(self)->toInteger(), 42);

    SharedPtr<Object> nullData = calcClass()->newObject(nullptr);
    EXPECT_FALSE(shared->get(nullData)) << "null data fails even for a static property";
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot access property shared on null object reference"));
    EXPECT_FALSE(level->get(SharedPtr<Object>()));
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot access non-static property level without object reference"));
    // A null SharedPtr passes the check for a static property; the class
    // then has no data to read from.
    in->lastError();
    shared->get(SharedPtr<Object>());
    EXPECT_EQ(in->lastError(), QString());
    Native dying;
    SharedPtr<Object> dead = calcClass()->newObject(&dying);
    dead->invalidate();
    EXPECT_FALSE(level->set(dead, in->createPrimitive(1)));
    EXPECT_EQ(in->lastError(),
              QStringLiteral("Cannot access property level on null object reference"));
}

TEST(Properties, DeclarationsByNameResolveLateThroughMethods)
{
    Inspector *in = Inspector::self();
    auto *c = new TestClass("Gauge", nullptr,
                            {{QStringLiteral("size"), {}, primitive(IntClassId)},
                             {QStringLiteral("setSize"), {param(DoubleClassId)}, nullptr},
                             {QStringLiteral("setSize"), {param(IntClassId)}, nullptr}},
                            {{QStringLiteral("own"), primitive(IntClassId)}});
    in->addPropertyDelegate(QStringLiteral("Gauge"),
                            {QStringLiteral("int,size,size,setSize,0,1"),
                             QStringLiteral("Mystery,odd,size,,1,0"), QStringLiteral("malformed")});
    in->addPropertyDelegate(QStringLiteral("NoSuchClass"), {QStringLiteral("int,x,x,x,0,0")});
    EXPECT_EQ(c->numProperties(), 3);
    EXPECT_EQ(c->numPropertiesInternal(), 1);

    const Property *size = c->property(QStringLiteral("size"));
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(size->id(), 1);
    EXPECT_EQ(size->propertyClass(), c);
    EXPECT_TRUE(size->isReadable());
    EXPECT_TRUE(size->isWritable());
    EXPECT_TRUE(size->stored());
    EXPECT_FALSE(size->isStatic());
    // The setter that fits the declared int is the second overload, and
    // its parameter class becomes the property's.
    EXPECT_EQ(size->declaration()->writeMethod()->id(), 2);
    EXPECT_EQ(size->type().type(), primitive(IntClassId));

    Native native;
    SharedPtr<Object> gauge = c->newObject(&native);
    EXPECT_EQ(resultText(size->get(gauge)), QStringLiteral("Gauge#0"));
    EXPECT_TRUE(size->set(gauge, in->createPrimitive(3.0)));
    EXPECT_EQ(native.lastMethod, 2);
    EXPECT_EQ(native.lastArgs[0], QStringLiteral("3"));

    const Property *odd = c->property(QStringLiteral("odd"));
    ASSERT_NE(odd, nullptr);
    EXPECT_EQ(odd->type().type(), primitive(UndefinedClassId))
        << "an unknown type reads as undefined";
    EXPECT_TRUE(odd->isStatic());
    EXPECT_FALSE(odd->isReadable());
    EXPECT_FALSE(odd->isWritable());
    EXPECT_FALSE(odd->set(gauge, in->createPrimitive(1)));
    EXPECT_FALSE(odd->get(gauge));
}

TEST(Printing, SignaturesMethodsPropertiesAndConstructors)
{
    auto *text = new TestClass("QString", nullptr);
    EXPECT_EQ(Signature(Argument(QStringLiteral("text"), text, 5, 0)).toString(),
              QStringLiteral("(const QString & text)"));
    EXPECT_EQ(Signature(Argument(primitive(IntClassId), ObjectAttribute::Array(3))).toString(),
              QStringLiteral("(int [3])"));
    EXPECT_EQ(Signature(Argument(primitive(IntClassId), ObjectAttribute::Array(0))).toString(),
              QStringLiteral("(int [])"));
    EXPECT_EQ(
        Signature(Argument(primitive(CharClassId), 2 | 8, 0), param(DoubleClassId)).toString(),
        QStringLiteral("(char * const, double)"));

    static const Enum::Item items[] = {{"A", 1}, {"B", 2}, {nullptr, 0}};
    const Enum mode(text, QStringLiteral("Mode"), items, 0);
    EXPECT_EQ(
        Signature(Argument(QStringLiteral("m"), primitive(IntClassId), &mode, 0, 0)).toString(),
        QStringLiteral("(QString::Mode m)"));

    const Method noReturn(text, Argument(), QStringLiteral("clear"), Signature(), 0);
    EXPECT_EQ(noReturn.toString(), QStringLiteral(" clear()"));
    const Method constRef(text, Argument(text, 1 | 4 | 8, 0), QStringLiteral("self"),
                          Signature(param(IntClassId), param(CharClassId, 2)), 1);
    EXPECT_EQ(constRef.toString(), QStringLiteral("const QString& const self(int, char *)"));
    const Method array(text, Argument(primitive(IntClassId), 2 | 16, 4), QStringLiteral("a"),
                       Signature(), 2);
    EXPECT_EQ(array.toString(), QStringLiteral("int* [4] a()"));

    const Property prop(text, Argument(text, &mode, 2, 0), QStringLiteral("p"), 1, 0);
    EXPECT_EQ(prop.toString(), QStringLiteral("QString* p")) << "no enumerator for properties";
    const Constructor ctor(text, Signature(param(IntClassId)), 0);
    EXPECT_EQ(ctor.toString(), QStringLiteral("QString(int)"));
    EXPECT_EQ(calcClass()->constructor(0), nullptr);
}

TEST(Enum, MasksKeysAndValues)
{
    static const Enum::Item mask[] = {{"A", 1}, {"B", 2}, {"C", 4}, {nullptr, 0}};
    static const Enum::Item plain[] = {{"A", 1}, {"B", 2}, {"C", 3}, {nullptr, 0}};
    static const Enum::Item zeroOne[] = {{"Off", 0}, {"On", 1}, {nullptr, 0}};
    static const Enum::Item none[] = {{nullptr, 0}};
    EXPECT_TRUE(Enum(nullptr, QStringLiteral("m"), mask, 0).isMask());
    EXPECT_FALSE(Enum(nullptr, QStringLiteral("p"), plain, 0).isMask());
    EXPECT_TRUE(Enum(nullptr, QStringLiteral("z"), zeroOne, 0).isMask());
    EXPECT_TRUE(Enum(nullptr, QStringLiteral("e"), none, 0).isMask());

    Enum e(nullptr, QStringLiteral("p"), plain, 0);
    EXPECT_EQ(e.count(), 3);
    EXPECT_EQ(e.key(2), QStringLiteral("C"));
    EXPECT_EQ(e.key(3), QString());
    EXPECT_EQ(e.value(0), 1);
    EXPECT_EQ(e.value(-1), -1);
    bool ok = true;
    EXPECT_EQ(e.value(QStringLiteral("Z"), &ok), -1);
    EXPECT_FALSE(ok);
    EXPECT_EQ(e.value(QStringLiteral("B"), &ok), 2);
    EXPECT_TRUE(ok);
    EXPECT_EQ(e.valueToKey(3, &ok), QStringLiteral("C"));
    EXPECT_EQ(e.valueToKey(9, &ok), QString());
    EXPECT_FALSE(ok);

    auto *owner = new TestClass("EnumOwner", nullptr);
    const Enum shared(owner, &e);
    EXPECT_EQ(shared.enumClass(), owner);
    EXPECT_EQ(shared.key(0), QStringLiteral("A"));
    EXPECT_FALSE(shared.isMask());
}
