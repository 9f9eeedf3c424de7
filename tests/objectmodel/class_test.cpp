#include "testtoolkit.h"

#include "classofthedead_p.h"
#include "interface.h"
#include "userdata.h"

#include <QSet>
#include <QThread>

#include <gtest/gtest.h>

#include <mutex>

using namespace TestToolkit;

namespace {

struct Chain
{
    TestClass *a;
    TestClass *b;
    TestClass *c;
    TestClass *d;
};

// A(3 methods, 2 properties) <- B(2, 1, redefines p0) <- C(0, 3) <- D(4, 0)
Chain makeChain(const char *prefix)
{
    const QByteArray p(prefix);
    Chain chain;
    chain.a = new TestClass(p + "A", nullptr, TestClass::numberedMethods("a", 3),
                            TestClass::numberedProperties("p", 2));
    chain.b = new TestClass(p + "B", chain.a, TestClass::numberedMethods("b", 2),
                            {{QStringLiteral("p0"), primitive(DoubleClassId)}});
    chain.c = new TestClass(p + "C", chain.b, {}, TestClass::numberedProperties("c", 3));
    chain.d = new TestClass(p + "D", chain.c, TestClass::numberedMethods("d", 4));
    return chain;
}

} // namespace

TEST(Class, MemberIdsFollowTheAncestorsAndTablesStayLazy)
{
    Chain ch = makeChain("Ids");
    EXPECT_EQ(ch.d->numMethods(), 9);
    EXPECT_EQ(ch.d->numProperties(), 6);
    EXPECT_EQ(ch.d->superClassOffset(Class::Methods), 5);
    EXPECT_EQ(ch.d->superClassOffset(Class::Properties), 6);
    EXPECT_EQ(ch.c->superClassOffset(Class::Properties), 3);
    EXPECT_EQ(ch.a->superClassOffset(Class::Methods), 0);
    EXPECT_EQ(ch.d->numPropertiesInternal(), 6);

    // Asking the most derived class for an id of the root builds only the
    // root's table.
    const Method *m = ch.d->method(1);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->name(), QStringLiteral("a1"));
    EXPECT_EQ(m->type(), ch.a);
    EXPECT_EQ(ch.a->methodsCreated, 3);
    EXPECT_EQ(ch.b->methodsCreated, 0);
    EXPECT_EQ(ch.d->methodsCreated, 0);

    for (int id = 0; id < ch.d->numMethods(); ++id) {
        const Method *mm = ch.d->method(id);
        ASSERT_NE(mm, nullptr) << id;
        EXPECT_EQ(mm->id(), id);
    }
    EXPECT_EQ(ch.d->method(4)->name(), QStringLiteral("b1"));
    EXPECT_EQ(ch.d->method(5)->name(), QStringLiteral("d0"));
    EXPECT_EQ(ch.d->method(9), nullptr);
    EXPECT_EQ(ch.d->method(-1), nullptr);
    // Tables are made once.
    EXPECT_EQ(ch.a->methodsCreated, 3);
    EXPECT_EQ(ch.d->methodsCreated, 4);

    EXPECT_EQ(ch.d->property(2)->name(), QStringLiteral("p0"));
    EXPECT_EQ(ch.d->property(2)->propertyClass(), ch.b);
    EXPECT_EQ(ch.d->property(5)->name(), QStringLiteral("c2"));
    EXPECT_EQ(ch.d->property(6), nullptr);

    // Events were never counted: 0, and a lookup walks past every class.
    EXPECT_EQ(ch.d->numEvents(), 0);
    EXPECT_EQ(ch.d->event(0), nullptr);
    EXPECT_EQ(ch.d->event(QStringLiteral("x")), nullptr);
    // initSuperClass ran once per class, however often the chain was walked.
    EXPECT_EQ(ch.d->superInitialisations, 1);
    EXPECT_EQ(ch.a->superInitialisations, 1);
}

TEST(Class, NameLookupFindsTheNearestMemberAndCollectsOverloads)
{
    Chain ch = makeChain("Names");
    const Property *p0 = ch.d->property(QStringLiteral("p0"));
    ASSERT_NE(p0, nullptr);
    EXPECT_EQ(p0->propertyClass(), ch.b) << "the derived property hides the base one";
    EXPECT_EQ(ch.a->property(QStringLiteral("p0"))->propertyClass(), ch.a);
    EXPECT_EQ(ch.d->property(QStringLiteral("p1"))->propertyClass(), ch.a);
    EXPECT_EQ(ch.d->property(QStringLiteral("P1")), nullptr) << "case-sensitive";
    EXPECT_EQ(ch.d->property(QStringLiteral("p")), nullptr);

    // Within one class the first member of a name in table order wins.
    auto *twice = new TestClass("TwiceNamed", nullptr, {},
                                {{QStringLiteral("dup"), primitive(IntClassId)},
                                 {QStringLiteral("dup"), primitive(DoubleClassId)}});
    EXPECT_EQ(twice->property(QStringLiteral("dup"))->id(), 0);

    auto *base =
        new TestClass("OverBase", nullptr,
                      {{QStringLiteral("f"), {Argument(primitive(IntClassId), 0, 0)}, nullptr},
                       {QStringLiteral("g"), {}, nullptr},
                       {QStringLiteral("f"), {Argument(primitive(DoubleClassId), 0, 0)}, nullptr}});
    auto *derived =
        new TestClass("OverDerived", base,
                      {{QStringLiteral("f"), {Argument(primitive(CharClassId), 2, 0)}, nullptr}});
    const MethodList overloads = derived->methods(QStringLiteral("f"));
    ASSERT_EQ(overloads.count(), 3);
    EXPECT_EQ(overloads.at(0)->type(), derived) << "derived overloads stand first";
    EXPECT_EQ(overloads.at(1)->id(), 0);
    EXPECT_EQ(overloads.at(2)->id(), 2);
    EXPECT_TRUE(derived->methods(QStringLiteral("nope")).isEmpty());
}

TEST(Class, SuperclassMayBeRegisteredAfterItsSubclass)
{
    struct LateChild : TestClass
    {
        LateChild() : TestClass("LateChild", nullptr, TestClass::numberedMethods("c", 1)) {}
        void initSuperClass() override
        {
            // Looked up only when first needed.
            setSuperClass(Inspector::self()->type(QStringLiteral("LateParent")));
        }
    };
    auto *child = new LateChild;
    auto *parent = new TestClass("LateParent", nullptr, TestClass::numberedMethods("p", 2));
    EXPECT_EQ(child->super(), parent);
    EXPECT_EQ(child->numMethods(), 3);
    EXPECT_EQ(child->method(2)->name(), QStringLiteral("c0"));
    EXPECT_TRUE(child->isSubClassOf(parent));
    EXPECT_TRUE(child->isSubClassOf(child));
    EXPECT_FALSE(parent->isSubClassOf(child));
    EXPECT_EQ(child->inheritanceDepth(child), 0);
    EXPECT_EQ(child->inheritanceDepth(parent), 1);
    EXPECT_EQ(parent->inheritanceDepth(child), -1);
    EXPECT_EQ(child->inheritanceDepth(nullptr), -1);
}

TEST(Class, LateAddedMethodsExtendTheTable)
{
    auto *c = new TestClass("LateAdd", nullptr, TestClass::numberedMethods("m", 2));
    ASSERT_NE(c->method(1), nullptr); // builds the table
    auto *extra = new Method(c, Argument(), QStringLiteral("extra"), Signature(), 2);
    c->lateAddMethod(extra);
    EXPECT_EQ(c->numMethods(), 3);
    EXPECT_EQ(c->method(2), extra);
    EXPECT_EQ(c->methods(QStringLiteral("extra")).count(), 1);
}

TEST(Class, NamesNamespacesAndNatures)
{
    Inspector *in = Inspector::self();
    auto *outer = new Namespace(in->globalNamespace(), QStringLiteral("Outer"));
    auto *inner = new Namespace(outer, QStringLiteral("Inner"));
    auto *c = new TestClass("Deep", nullptr, {}, {}, inner);
    EXPECT_EQ(c->fullyQualifiedClassName(), QStringLiteral("Outer::Inner::Deep"));
    EXPECT_EQ(c->className(), QStringLiteral("Deep"));
    EXPECT_EQ(inner->fullyQualifiedName(), QStringLiteral("Outer::Inner"));
    EXPECT_EQ(in->globalNamespace()->fullyQualifiedName(), QString());
    EXPECT_EQ(in->nameSpaceFromFullyQualifiedName(QStringLiteral("Outer::Inner")), inner);
    EXPECT_EQ(in->nameSpaceFromFullyQualifiedName(QStringLiteral("Outer::Nope")), nullptr);
    EXPECT_EQ(in->nameSpaceFromFullyQualifiedName(QString()), nullptr);
    EXPECT_TRUE(outer->containsIdentifier(QStringLiteral("Inner")));
    EXPECT_TRUE(inner->containsIdentifier(QStringLiteral("Deep")));
    EXPECT_FALSE(outer->containsIdentifier(QStringLiteral("Deep")));
    EXPECT_EQ(in->nameSpace(inner->id()), inner);
    EXPECT_EQ(in->type(c->id()), c);

    c->addNature(33);
    EXPECT_TRUE(c->hasNature(1));
    EXPECT_FALSE(c->hasNature(0));
    EXPECT_EQ(c->natures(), 2u);

    // Unnamed classes stay out of the registry.
    Class anonymous;
    EXPECT_EQ(anonymous.id(), -1);
    EXPECT_EQ(anonymous.className(), QString());
}

TEST(Class, RealTypeNormalisesWrapperTypeNames)
{
    Class c;
    EXPECT_EQ(c.realType(QStringLiteral("QString")), QStringLiteral("QString"));
    EXPECT_EQ(c.realType(QStringLiteral("const QString&")), QStringLiteral("const QString&"));
    EXPECT_EQ(c.realType(QStringLiteral("const QWidget *")), QStringLiteral("const QWidget*"));
    EXPECT_EQ(c.realType(QStringLiteral("QMap<QString, QList<int *> >")),
              QStringLiteral("QMap<QString,QList<int*>>"));
    EXPECT_EQ(c.realType(QStringLiteral("QPair<int,QMap<int, int>>*")),
              QStringLiteral("QPair<int,QMap<int,int>>*"));
}

namespace {

class Clickable : public Interface
{
public:
    Clickable() : Interface("Clickable") {}
    std::string interfaceName() const override { return "Clickable"; }
};

struct Tag : UserData
{
    explicit Tag(int v) : value(v) {}
    UserData *copy() const override { return new Tag(value); }
    int value;
};

} // namespace

TEST(Class, InterfacesAreInheritedAndWrapTheSameData)
{
    auto *base = new TestClass("IfaceBase", nullptr);
    auto *derived = new TestClass("IfaceDerived", base);
    auto *clickable = new Clickable;
    base->addInterface(clickable);
    EXPECT_EQ(derived->interfaceClass(QStringLiteral("Clickable")), clickable);
    EXPECT_EQ(derived->interfaceClass(QStringLiteral("Other")), nullptr);

    Native native;
    SharedPtr<Object> obj = derived->newObject(&native);
    obj->setUserData(new Tag(7));
    SharedPtr<Object> facet = derived->convertToInterface(obj, QStringLiteral("Clickable"));
    ASSERT_TRUE(facet);
    EXPECT_NE(facet.get(), obj.get());
    EXPECT_EQ(facet->type(), clickable);
    EXPECT_EQ(facet->data(), &native);
    ASSERT_NE(facet->userData(), nullptr);
    EXPECT_NE(facet->userData(), obj->userData());
    EXPECT_EQ(static_cast<Tag *>(facet->userData())->value, 7);
    EXPECT_FALSE(derived->convertToInterface(obj, QStringLiteral("Other")));
    EXPECT_FALSE(clickable->convertToInterface(obj, QStringLiteral("Clickable")));
    EXPECT_EQ(clickable->convertToInterface(facet, QStringLiteral("Clickable")).get(), facet.get());
}

TEST(Object, InvalidatedAndZombieObjectsAreSafeAndNull)
{
    auto *c = new TestClass("Mortal", nullptr, TestClass::numberedMethods("m", 1));
    Native native;
    SharedPtr<Object> obj = c->newObject(&native);
    SharedPtr<Object> other = obj;
    obj->invalidate();
    EXPECT_EQ(other->className(), QStringLiteral("Dead"));
    EXPECT_TRUE(other->isNull());
    EXPECT_FALSE(other->isValid());
    EXPECT_EQ(other->toString(), QStringLiteral("<null>"));
    EXPECT_EQ(other->type()->numMethods(), 0);
    EXPECT_EQ(other->type()->id(), -1);
    EXPECT_EQ(other->type(), Object::registerClassOfTheDead());

    SharedPtr<Object> zombie = Object::zombie();
    EXPECT_TRUE(zombie->isValid());
    EXPECT_TRUE(zombie->isNull());
    EXPECT_EQ(zombie->className(), QStringLiteral("Dead"));
    EXPECT_EQ(zombie->name(), QStringLiteral("unnamed"));
    EXPECT_EQ(zombie->numChildren(), 0);
    EXPECT_FALSE(zombie->childByName(QStringLiteral("x")));
}

TEST(Object, ReferenceDereferenceAndCasts)
{
    auto *base = new TestClass("CastBase", nullptr);
    auto *derived = new TestClass("CastDerived", base);
    auto *unrelated = new TestClass("CastUnrelated", nullptr);
    Native native;

    SharedPtr<Object> pointer = derived->newObject(&native);
    EXPECT_EQ(pointer->reference().get(), pointer.get());
    SharedPtr<Object> value = pointer->dereference();
    EXPECT_NE(value.get(), pointer.get());
    EXPECT_TRUE(value->objectAttribute().isValue());
    EXPECT_EQ(value->dereference().get(), value.get());
    SharedPtr<Object> again = value->reference();
    EXPECT_EQ(again->objectAttribute().getFlags(), 2u);
    EXPECT_EQ(again->data(), &native);

    // Up, down, and a refused reinterpretation of unrelated wrapper types.
    EXPECT_EQ(pointer->castTo(base).get(), pointer.get());
    EXPECT_EQ(pointer->type(), base);
    pointer->castTo(derived);
    EXPECT_EQ(pointer->type(), derived);
    EXPECT_EQ(pointer->castTo(unrelated).get(), pointer.get());
    EXPECT_EQ(pointer->type(), derived);

    // Primitives may be reinterpreted among each other.
    SharedPtr<Object> number = Inspector::self()->createPrimitive(5);
    number->castTo(primitive(Int64ClassId));
    EXPECT_EQ(number->type(), primitive(Int64ClassId));
    number->castTo(derived);
    EXPECT_EQ(number->type(), primitive(Int64ClassId));
}

TEST(Object, SerialNumbersAreUniqueAcrossThreads)
{
    constexpr int PerThread = 500;
    auto *c = new TestClass("Serial", nullptr);
    std::vector<SharedPtr<Object>> objects;
    for (int i = 0; i < 4 * PerThread; ++i)
        objects.push_back(c->newObject(nullptr));
    std::mutex mutex;
    QSet<int> seen;
    std::vector<QThread *> threads;
    for (int t = 0; t < 4; ++t) {
        threads.push_back(QThread::create([&, t] {
            std::vector<int> mine;
            for (int i = 0; i < PerThread; ++i)
                mine.push_back(objects[size_t(t * PerThread + i)]->index());
            std::lock_guard<std::mutex> lock(mutex);
            for (int v : mine)
                seen.insert(v);
        }));
        threads.back()->start();
    }
    for (QThread *t : threads) {
        t->wait();
        delete t;
    }
    EXPECT_EQ(seen.size(), 4 * PerThread);
    EXPECT_FALSE(seen.contains(0));
    // Once given, a serial number does not change.
    EXPECT_EQ(objects[0]->index(), objects[0]->index());
}

TEST(Object, AutoDeleteAndPutReleaseTheNativeData)
{
    SharedPtr<Object> s = Inspector::self()->createPrimitive("first");
    ASSERT_TRUE(s->isAutoDelete());
    s->setUserData(new Tag(1));
    // put frees the old string (ASan would report a leak otherwise) and the
    // user data.
    s->put(qstrdup("second"));
    EXPECT_EQ(s->userData(), nullptr);
    EXPECT_EQ(s->toString(), QStringLiteral("second"));
}
