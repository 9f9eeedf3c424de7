#include "testtoolkit.h"

#include "delegate.h"

#include <gtest/gtest.h>

using namespace TestToolkit;

namespace {

// A class whose constructor 1 takes one "Feet" value: the conversion by a
// one-argument constructor.
class Meters : public TestClass
{
public:
    Meters(const Class *feet)
        : TestClass("Meters", nullptr, {}, {{QStringLiteral("value"), primitive(IntClassId)}}),
          m_feet(feet)
    {
        setNumConstructors(2);
    }
    mutable int constructed = 0;

    SharedPtr<Object> construct(int id, void **args) const override
    {
        ++constructed;
        auto *native = new Native;
        if (id == 1)
            native->properties[0] = static_cast<Native *>(args[0])->properties[0] * 3 / 10;
        SharedPtr<Object> result = newObject(native);
        result->setAutoDelete(true);
        return result;
    }
    void deleteObjectData(void *data, const ObjectAttribute &) const override
    {
        delete static_cast<Native *>(data);
    }

private:
    Constructor *createConstructor(int id) const override
    {
        if (id == 0)
            return new Constructor(this, Signature(), 0);
        return new Constructor(this, Signature(Argument(m_feet, ObjectAttribute::Value())), 1);
    }
    const Class *m_feet;
};

struct Fixture
{
    TestClass *feet =
        new TestClass("Feet", nullptr, {}, {{QStringLiteral("value"), primitive(IntClassId)}});
    Meters *meters = new Meters(feet);
};

Fixture &fixture()
{
    static Fixture f;
    return f;
}

class KelvinCast : public CastDelegate
{
public:
    KelvinCast() : CastDelegate(QStringLiteral("Celsius")) {}
    bool canCastTo(const Class *target) const override
    {
        return target->className() == QLatin1String("int");
    }
    bool canCastFrom(const Class *source) const override
    {
        return source->className() == QLatin1String("double");
    }
    SharedPtr<Object> castTo(SharedPtr<Object> obj, const Class *) const override
    {
        return Inspector::self()->createPrimitive(
            static_cast<Native *>(obj->data())->properties[0] + 273);
    }
    SharedPtr<Object> castFrom(SharedPtr<Object> obj, const Class *) const override
    {
        auto *native = new Native;
        native->properties[0] = int(obj->toDouble());
        return Inspector::self()
            ->type(QStringLiteral("Celsius"))
            ->wrap(native, ObjectAttribute::Pointer());
    }
};

} // namespace

TEST(Conversion, OneArgumentConstructorsConvertOnlyToValues)
{
    Fixture &f = fixture();
    void *constructor = reinterpret_cast<void *>(1);
    EXPECT_TRUE(f.feet->canConvertTo(f.meters, false, false, &constructor));
    ASSERT_NE(constructor, nullptr);
    EXPECT_EQ(static_cast<Constructor *>(constructor)->id(), 1);
    EXPECT_FALSE(f.feet->canConvertTo(f.meters, false, true, &constructor));
    EXPECT_EQ(constructor, nullptr) << "cleared before asking";
    EXPECT_FALSE(f.feet->canConvertTo(f.meters, true, false, nullptr))
        << "the constructor takes a value, not a pointer";

    Native native;
    native.properties[0] = 100;
    SharedPtr<Object> length(new Object(f.feet, &native, ObjectAttribute::Value()));
    SharedPtr<Object> converted = f.feet->convertTo(length, f.meters, false);
    ASSERT_TRUE(converted);
    EXPECT_EQ(converted->type(), f.meters);
    EXPECT_EQ(static_cast<Native *>(converted->data())->properties[0], 30);
    EXPECT_FALSE(f.feet->convertTo(length, f.meters, true));
    // The tolerant form tries the other attribute too.
    EXPECT_TRUE(f.feet->canConvertToTolerant(f.meters, true, true, nullptr));
    EXPECT_TRUE(f.feet->convertToTolerant(length, f.meters, true));
}

TEST(Conversion, SuperclassesAndUnrelatedClasses)
{
    auto *base = new TestClass("ConvBase", nullptr);
    auto *derived = new TestClass("ConvDerived", base);
    EXPECT_TRUE(derived->canConvertTo(base, true, true, nullptr));
    EXPECT_FALSE(base->canConvertTo(derived, true, true, nullptr));
    EXPECT_FALSE(derived->canConvertTo(derived, true, true, nullptr))
        << "a class is no proper superclass of itself";
    Native native;
    SharedPtr<Object> obj = derived->newObject(&native);
    EXPECT_EQ(derived->convertTo(obj, base, true).get(), obj.get())
        << "an upcast hands back the object itself";
    EXPECT_FALSE(base->convertTo(base->newObject(&native), derived, true));
    EXPECT_FALSE(derived->canConvertTo(nullptr, false, false, nullptr));

    // Tolerant conversion of a pointer without data cannot dereference.
    Inspector::self()->lastError();
    SharedPtr<Object> empty = base->newObject(nullptr);
    EXPECT_FALSE(base->convertToTolerant(empty, primitive(IntClassId), false));
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("Referencing or dereferencing of object failed."));
}

TEST(Conversion, CastDelegatesComeFirstFromEitherSide)
{
    static KelvinCast cast;
    auto *celsius = new TestClass("Celsius", nullptr);
    Native native;
    native.properties[0] = 20;
    SharedPtr<Object> warm = celsius->newObject(&native);

    EXPECT_TRUE(celsius->canConvertTo(primitive(IntClassId), true, false, nullptr));
    EXPECT_EQ(celsius->convertTo(warm, primitive(IntClassId), false)->toInteger(), 293);
    EXPECT_EQ(warm->toInteger(), 293) << "toInteger converts through class int";
    EXPECT_FALSE(celsius->canConvertTo(primitive(DoubleClassId), true, false, nullptr));

    // The target's delegate may cast from the source.
    EXPECT_TRUE(primitive(DoubleClassId)->canConvertTo(celsius, false, true, nullptr));
    SharedPtr<Object> fromDouble =
        primitive(DoubleClassId)
            ->convertTo(Inspector::self()->createPrimitive(36.6), celsius, true);
    ASSERT_TRUE(fromDouble);
    EXPECT_EQ(fromDouble->type(), celsius);
    std::unique_ptr<Native> owned(static_cast<Native *>(fromDouble->data()));
    EXPECT_EQ(owned->properties[0], 36);
}

TEST(Comparison, SameObjectsPropertiesAndConversionOfOneSide)
{
    Inspector *in = Inspector::self();
    Fixture &f = fixture();
    Native a;
    Native b;
    a.properties[0] = b.properties[0] = 5;
    SharedPtr<Object> oa = f.feet->newObject(&a);
    SharedPtr<Object> ob = f.feet->newObject(&b);
    EXPECT_TRUE(oa->compare(ob)) << "equal by their only property";
    b.properties[0] = 6;
    EXPECT_FALSE(oa->compare(ob));
    EXPECT_TRUE(oa->compare(f.feet->newObject(&a))) << "same data pointer";
    EXPECT_TRUE(oa->sameAs(f.feet->newObject(&a)));
    EXPECT_FALSE(oa->sameAs(ob));
    EXPECT_FALSE(oa->compare(SharedPtr<Object>()));

    // Without properties nothing but identity makes two objects equal.
    auto *bare = new TestClass("Bare", nullptr);
    Native x;
    Native y;
    EXPECT_FALSE(bare->newObject(&x)->compare(bare->newObject(&y)));
    EXPECT_TRUE(bare->newObject(&x)->compare(bare->newObject(&x)));

    // Different classes: one side is converted to the other's class.
    EXPECT_TRUE(in->createPrimitive(2)->compare(in->createPrimitive(2.0)));
    EXPECT_FALSE(in->createPrimitive(3)->compare(in->createPrimitive(2.5)));
    EXPECT_TRUE(in->createPrimitive(true)->compare(in->createPrimitive(1)));
    EXPECT_FALSE(oa->compare(in->createPrimitive(5)));

    // A Feet object compares with Meters through Meters' constructor.
    a.properties[0] = 100;
    Native m;
    m.properties[0] = 30;
    EXPECT_TRUE(f.meters->newObject(&m)->compare(oa));
}

namespace {

// Answers casts itself and counts how often the later steps are asked.
class SelfCasting : public TestClass
{
public:
    SelfCasting() : TestClass("SelfCasting", nullptr) {}
    mutable int internalAsked = 0;

private:
    bool canCastTo(const Class *target, bool) const override
    {
        return target == primitive(IntClassId);
    }
    SharedPtr<Object> castTo(SharedPtr<Object>, const Class *target, bool) const override
    {
        return target == primitive(IntClassId) ? Inspector::self()->createPrimitive(77) : nullptr;
    }
    bool canConvertToInternal(const Class *target, bool, bool) const override
    {
        ++internalAsked;
        return target == primitive(DoubleClassId);
    }
    SharedPtr<Object> convertToInternal(SharedPtr<Object>, const Class *target, bool) const override
    {
        return target == primitive(DoubleClassId) ? Inspector::self()->createPrimitive(0.5)
                                                  : nullptr;
    }
};

} // namespace

TEST(Conversion, CastsComeBeforeInternalConversions)
{
    auto *c = new SelfCasting;
    Native native;
    SharedPtr<Object> obj = c->newObject(&native);
    EXPECT_TRUE(c->canConvertTo(primitive(IntClassId), true, false, nullptr));
    EXPECT_EQ(c->internalAsked, 0) << "a cast answers first";
    EXPECT_EQ(c->convertTo(obj, primitive(IntClassId), false)->toInteger(), 77);
    EXPECT_TRUE(c->canConvertTo(primitive(DoubleClassId), true, false, nullptr));
    EXPECT_EQ(c->internalAsked, 1);
    EXPECT_EQ(c->convertTo(obj, primitive(DoubleClassId), false)->toDouble(), 0.5);
    EXPECT_FALSE(c->canConvertTo(primitive(BoolClassId), true, false, nullptr));
    EXPECT_FALSE(c->convertTo(obj, primitive(BoolClassId), false));
    // The object's own accessors go the same way.
    EXPECT_EQ(obj->toInteger(), 77);
    EXPECT_EQ(obj->toDouble(), 0.5);
    EXPECT_FALSE(obj->toBoolean());
    EXPECT_EQ(obj->toString(), QString()) << "no way to text: empty, not an error";
}
