#include "testtoolkit.h"

#include "primitives.h"

#include <gtest/gtest.h>

using namespace TestToolkit;

namespace {

SharedPtr<Object> convert(const SharedPtr<Object> &o, int classId, bool pointer = false)
{
    return o->type()->convertTo(o, primitive(classId), pointer);
}

} // namespace

TEST(Primitives, FixedIdsAndNames)
{
    const char *names[] = {"short",  "int",   "long", "bool",     "char",
                           "double", "int64", "void", "undefined"};
    for (int id = ShortClassId; id <= UndefinedClassId; ++id) {
        ASSERT_NE(primitive(id), nullptr);
        EXPECT_EQ(primitive(id)->className(), QLatin1String(names[id]));
        EXPECT_EQ(primitive(id)->id(), id);
        EXPECT_EQ(primitive(id)->super(), nullptr);
    }
    EXPECT_EQ(primitive(IntClassId)->numConstructors(), 3);
    EXPECT_EQ(primitive(IntClassId)->numMethods(), 0);
    EXPECT_EQ(primitive(VoidClassId)->numConstructors(), 0);
    EXPECT_EQ(primitive(UndefinedClassId)->numConstructors(), 0);
    EXPECT_EQ(primitive(IntClassId)->constructor(1)->toString(), QStringLiteral("int(int value)"));
    EXPECT_EQ(Inspector::self()->voidObject()->type(), primitive(VoidClassId));
    EXPECT_EQ(Inspector::self()->voidObject()->toString(), QStringLiteral("<null>"));
}

TEST(Primitives, ConversionMatrix)
{
    Inspector *in = Inspector::self();
    SharedPtr<Object> yes = in->createPrimitive(true);
    EXPECT_EQ(convert(yes, CharClassId, true)->toString(), QStringLiteral("1"));
    EXPECT_EQ(yes->toString(), QStringLiteral("true"));
    EXPECT_TRUE(convert(in->createPrimitive(0.5), BoolClassId)->toBoolean());
    EXPECT_EQ(in->createPrimitive(1234567.0)->toString(), QStringLiteral("1.23457e+06"));
    EXPECT_EQ(convert(in->createPrimitive(1234567.0), CharClassId, true)->toString(),
              QStringLiteral("1.23457e+06"));
    SharedPtr<Object> low = convert(in->createPrimitive(300), CharClassId);
    EXPECT_EQ(low->objectAttribute().getFlags(), 0u);
    EXPECT_EQ(*static_cast<char *>(low->data()), 44);
    EXPECT_EQ(convert(in->createPrimitive(70000), ShortClassId)->toInteger(), short(70000));
    EXPECT_EQ(convert(in->createPrimitive(2.9), Int64ClassId)->toInt64(), 2);
    // Out-of-range doubles saturate rather than overflow.
    EXPECT_EQ(convert(in->createPrimitive(1e300), IntClassId)->toInteger(),
              std::numeric_limits<int>::max());
    EXPECT_EQ(convert(in->createPrimitive(-1e300), Int64ClassId)->toInt64(),
              std::numeric_limits<long long>::min());

    // Pointer sources are never converted internally, and numbers become
    // pointers only as C strings.
    SharedPtr<Object> text = in->createPrimitive("42");
    EXPECT_FALSE(primitive(CharClassId)->canConvertTo(primitive(IntClassId), true, false, nullptr));
    EXPECT_FALSE(convert(text, IntClassId));
    EXPECT_EQ(text->toInteger(), 42);
    EXPECT_FALSE(
        primitive(IntClassId)->canConvertTo(primitive(DoubleClassId), false, true, nullptr));
    EXPECT_TRUE(primitive(IntClassId)->canConvertTo(primitive(CharClassId), false, true, nullptr));
    EXPECT_FALSE(
        primitive(IntClassId)->canConvertTo(primitive(VoidClassId), false, false, nullptr));
    EXPECT_FALSE(
        primitive(VoidClassId)->canConvertTo(primitive(IntClassId), false, false, nullptr));
}

TEST(Primitives, TextAndNumberAccessors)
{
    Inspector *in = Inspector::self();
    EXPECT_EQ(in->createPrimitive(5)->toDebugString(), QStringLiteral("5 : int"));
    EXPECT_EQ(in->createPrimitive(true)->toDebugString(), QStringLiteral("true : bool"));
    EXPECT_EQ(in->createPrimitive(7LL)->toString(), QStringLiteral("7"));
    EXPECT_EQ(in->createPrimitive(-3L)->className(), QStringLiteral("long"));

    int values[] = {1, 2, 3};
    SharedPtr<Object> array = primitive(IntClassId)->wrap(values, ObjectAttribute::Array(3));
    EXPECT_EQ(array->toString(), QStringLiteral("[ 1, 2, 3 ]"));
    EXPECT_EQ(array->toDebugString(), QStringLiteral("[ 1 : int, 2 : int, 3 : int ]"));
    EXPECT_EQ(array->toInteger(), 1);

    SharedPtr<Object> number = in->createPrimitive(0);
    number->fromString(QStringLiteral("12abc"));
    EXPECT_EQ(number->toInteger(), 0) << "not a number gives 0";
    number->fromString(QStringLiteral("-17"));
    EXPECT_EQ(number->toInteger(), -17);
    number->fromDouble(9.99);
    EXPECT_EQ(number->toInteger(), 9);
    SharedPtr<Object> flag = in->createPrimitive(false);
    flag->fromString(QStringLiteral("TRUE"));
    EXPECT_TRUE(flag->toBoolean());
    flag->fromString(QStringLiteral("0"));
    EXPECT_FALSE(flag->toBoolean());
    flag->fromString(QStringLiteral("2"));
    EXPECT_TRUE(flag->toBoolean());
    SharedPtr<Object> wide = in->createPrimitive(0LL);
    wide->fromString(QStringLiteral("9000000000"));
    EXPECT_EQ(wide->toInt64(), 9000000000LL);

    SharedPtr<Object> s = in->createPrimitive(QStringLiteral("größe"));
    EXPECT_EQ(s->toString(), QStringLiteral("größe"));
    EXPECT_EQ(s->toDebugString(), QStringLiteral("größe : char[]"));
    s->fromInteger(15);
    EXPECT_EQ(s->toString(), QStringLiteral("15"));
    EXPECT_EQ(s->toDouble(), 15.0);
    s->fromString(QStringLiteral("True"));
    EXPECT_TRUE(s->toBoolean());
    s->fromBoolean(false);
    EXPECT_EQ(s->toString(), QStringLiteral("0"));

    char c = 'A';
    SharedPtr<Object> single = primitive(CharClassId)->wrap(&c, ObjectAttribute::Value());
    EXPECT_EQ(single->toString(), QStringLiteral("A"));
    EXPECT_EQ(single->toDebugString(), QStringLiteral("65 : char"));
    single->fromString(QStringLiteral("66"));
    EXPECT_EQ(c, 'B');
}

TEST(Primitives, StringArraysAndConstructors)
{
    Inspector *in = Inspector::self();
    SharedPtr<Object> list =
        in->createPrimitive(QList<QString>{QStringLiteral("a"), QStringLiteral("b")});
    EXPECT_EQ(list->objectAttribute().getFlags(), 18u);
    EXPECT_EQ(list->objectAttribute().arrayLength(), 2);
    EXPECT_TRUE(list->isAutoDelete());
    EXPECT_EQ(list->toString(), QStringLiteral("[a, b]"));
    EXPECT_EQ(list->toDebugString(), QStringLiteral("[a, b] : char*[]"));

    SharedPtr<Object> zero = primitive(DoubleClassId)->construct(ObjectList());
    ASSERT_TRUE(zero);
    EXPECT_TRUE(zero->isAutoDelete());
    EXPECT_TRUE(zero->objectAttribute().isPointer());
    EXPECT_EQ(zero->toDouble(), 0.0);
    // Constructor 1 converts its argument first.
    SharedPtr<Object> copy =
        primitive(DoubleClassId)->construct(ObjectList{in->createPrimitive(3)});
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->toDouble(), 3.0);
    double native = 2.5;
    SharedPtr<Object> view =
        primitive(DoubleClassId)
            ->constructor(2)
            ->construct(
                ObjectList{primitive(DoubleClassId)->wrap(&native, ObjectAttribute::Pointer())});
    ASSERT_TRUE(view);
    EXPECT_FALSE(view->isAutoDelete());
    EXPECT_EQ(view->data(), &native);
    EXPECT_FALSE(primitive(DoubleClassId)->constructor(1)->construct(ObjectList()));
    SharedPtr<Object> letter =
        primitive(CharClassId)->construct(ObjectList{in->createPrimitive(0x41)});
    ASSERT_TRUE(letter);
    EXPECT_EQ(letter->toString(), QStringLiteral("A"));
}

TEST(Primitives, CompareWithinAndAcrossClasses)
{
    Inspector *in = Inspector::self();
    EXPECT_TRUE(in->createPrimitive("same")->compare(in->createPrimitive("same")))
        << "equal strings in different buffers";
    EXPECT_FALSE(in->createPrimitive("same")->compare(in->createPrimitive("other")));
    EXPECT_TRUE(in->createPrimitive(4.0)->compare(in->createPrimitive(4.0)));
    EXPECT_TRUE(primitive(IntClassId)->createNull()->compare(primitive(IntClassId)->createNull()));
    EXPECT_FALSE(primitive(IntClassId)->createNull()->compare(in->createPrimitive(0)));

    // A single char and a string disagree on indirection: the base compare
    // has nothing to compare them by.
    char c = 'A';
    SharedPtr<Object> single = primitive(CharClassId)->wrap(&c, ObjectAttribute::Value());
    EXPECT_FALSE(single->compare(in->createPrimitive("A")));
    SharedPtr<Object> a =
        in->createPrimitive(QList<QString>{QStringLiteral("x"), QStringLiteral("y")});
    SharedPtr<Object> b =
        in->createPrimitive(QList<QString>{QStringLiteral("x"), QStringLiteral("y")});
    EXPECT_TRUE(a->compare(b));
}
