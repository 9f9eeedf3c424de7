#include "wrappercreator.h"

#include "testtoolkit.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <climits>
#include <memory>

using namespace TestToolkit;

namespace {

// clang-format off
const char shapeStrings[] =
    "scale\0"  //  0
    "factor\0" //  6
    "fill\0"   // 13
    "Fill\0"   // 18
    "int\0"    // 23
    "Real\0"   // 27
    "area\0"   // 32
    "label\0"  // 37
    "char\0"   // 43
    "Nope\0"   // 48
    "Gone";    // 53
// clang-format on

constexpr std::uint32_t pointerConst = ObjectAttribute::PointerFlag | ObjectAttribute::Const1Flag;

const ArgumentDescriptor shapeArguments[] = {
    {6, ArgumentDescriptor::TypeByName, 23, 0, 0, -1},             // int factor
    {13, ArgumentDescriptor::TypeById, IntClassId, 0, 0, 18},      // Fill fill (of the owner)
    {-1, ArgumentDescriptor::TypeByClassName, 27, 0, 0, -1},       // "Real", the owner's double
    {37, ArgumentDescriptor::TypeByName, 43, pointerConst, 0, -1}, // const char *label
    {-1, ArgumentDescriptor::TypeById, VoidClassId, 0, 0, -1},     // void
};

const std::int32_t shapeArgumentList[] = {0, 1, 3, 0};

const MethodDescriptor shapeMethods[] = {
    {2, 0, 2, 0, 0},      // double scale(int factor, Fill fill)
    {4, 32, 1, 3, 0x101}, // static void area(int factor); bits above the low byte are ignored
};

const ConstructorDescriptor shapeConstructors[] = {
    {2, 1}, // WcShape(const char *label)
    {0, 0}, // WcShape()
};

TestClass *baseClass()
{
    static TestClass *c =
        new TestClass("WcBase", nullptr, {{QStringLiteral("base"), {}, primitive(IntClassId)}});
    return c;
}

// A wrapper's class as a generator would write it: the member factories
// forward to the creator, the lowest operations record what reached them.
class ShapeClass : public Class
{
public:
    ShapeClass()
        : Class("WcShape", true), m_creator(this, shapeStrings, shapeConstructors, shapeMethods,
                                            shapeArgumentList, shapeArguments)
    {
        setNumConstructors(2);
        setNumMethods(2);
        setNumEnums(1);
    }

    mutable int lastId = -1;
    mutable QStringList lastArgs;

    SharedPtr<Object> invoke(int id, void *, void **args, const Class *) const override
    {
        lastId = id;
        lastArgs.clear();
        const Method *m = method(id);
        for (int i = 0; m && i < m->numArguments(); ++i)
            lastArgs << TestClass::argumentText(m->signature().at(i), args[i]);
        return Inspector::self()->createPrimitive(1.5);
    }

    SharedPtr<Object> construct(int id, void **args) const override
    {
        const Constructor *c = constructor(id);
        QString text = QStringLiteral("new#%1").arg(id);
        for (int i = 0; c && i < c->numArguments(); ++i)
            text += QLatin1Char(' ') + TestClass::argumentText(c->signature().at(i), args[i]);
        return Inspector::self()->createPrimitive(text);
    }

    QString realType(const QString &name) const override
    {
        return name == QLatin1String("Real") ? QStringLiteral("double") : Class::realType(name);
    }

private:
    void initSuperClass() override { setSuperClass(baseClass()); }
    Method *createMethod(int id) const override { return m_creator.createMethod(id); }
    Constructor *createConstructor(int index) const override
    {
        return m_creator.createConstructor(index);
    }
    Enum *createEnum(int id) const override
    {
        static const Enum::Item items[] = {{"Solid", 0}, {"Hatched", 1}, {nullptr, 0}};
        return new Enum(this, QStringLiteral("Fill"), items, id);
    }

    WrapperCreator m_creator;
};

ShapeClass *shapeClass()
{
    static ShapeClass *c = new ShapeClass;
    return c;
}

QStringList warnings;

void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtWarningMsg)
        warnings << text;
}

// Catches what the creator says while it lives.
struct WarningCatcher
{
    WarningCatcher()
    {
        warnings.clear();
        previous = qInstallMessageHandler(collectWarnings);
    }
    ~WarningCatcher() { qInstallMessageHandler(previous); }
    bool saw(const QString &part) const { return !warnings.filter(part).isEmpty(); }
    QtMessageHandler previous;
};

using MethodPtr = std::unique_ptr<Method>;

} // namespace

TEST(WrapperCreator, MethodsFromTablesResolveTypesEnumsAndInvoke)
{
    Inspector *in = Inspector::self();
    const ShapeClass *shape = shapeClass();
    ASSERT_EQ(shape->superClassOffset(Class::Methods), 1);

    // The first own method carries the global id 1, after the base's one.
    const Method *scale = shape->method(1);
    ASSERT_TRUE(scale);
    EXPECT_EQ(scale->name(), QStringLiteral("scale"));
    EXPECT_EQ(scale->id(), 1);
    EXPECT_EQ(scale->type(), shape);
    // Kind 2: the owner completes "Real" to "double" before the lookup.
    EXPECT_EQ(scale->returnType().type(), in->type(QStringLiteral("double")));
    ASSERT_EQ(scale->numArguments(), 2);
    const Argument &factor = scale->signature().at(0);
    EXPECT_EQ(factor.name(), QStringLiteral("factor"));
    EXPECT_EQ(factor.type(), in->type(IntClassId));
    EXPECT_FALSE(factor.enumerator());
    const Argument &fill = scale->signature().at(1);
    EXPECT_EQ(fill.name(), QStringLiteral("fill"));
    EXPECT_EQ(fill.type(), in->type(IntClassId));
    ASSERT_TRUE(fill.enumerator());
    EXPECT_EQ(fill.enumerator(), shape->enumerator(QStringLiteral("Fill")));
    EXPECT_EQ(scale->toString(), QStringLiteral("double scale(int factor, WcShape::Fill fill)"));

    Native native;
    SharedPtr<Object> self(new Object(shape, &native, ObjectAttribute::Pointer()));
    const SharedPtr<Object> result =
        scale->invoke(self, ObjectList{in->createPrimitive(4), in->createPrimitive(1)});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->toString(), QStringLiteral("1.5"));
    EXPECT_EQ(shape->lastId, 1);
    EXPECT_EQ(shape->lastArgs, (QStringList{QStringLiteral("4"), QStringLiteral("1")}));

    // The low byte of the flags makes "area" static, so it runs without a
    // receiver.
    const Method *area = shape->method(2);
    ASSERT_TRUE(area);
    EXPECT_TRUE(area->isStatic());
    EXPECT_EQ(area->returnType().type(), in->type(VoidClassId));
    EXPECT_EQ(area->toString(), QStringLiteral("void area(int factor)"));
    EXPECT_TRUE(area->invoke(nullptr, ObjectList{in->createPrimitive(9)}));
    EXPECT_EQ(shape->lastId, 2);
    EXPECT_EQ(shape->lastArgs, QStringList{QStringLiteral("9")});
}

TEST(WrapperCreator, ConstructorsFromTablesConstruct)
{
    Inspector *in = Inspector::self();
    const ShapeClass *shape = shapeClass();
    ASSERT_EQ(shape->numConstructors(), 2);

    const Constructor *labelled = shape->constructor(0);
    ASSERT_TRUE(labelled);
    EXPECT_EQ(labelled->id(), 0);
    EXPECT_EQ(labelled->type(), shape);
    ASSERT_EQ(labelled->numArguments(), 1);
    const Argument &label = labelled->signature().at(0);
    EXPECT_EQ(label.type(), in->type(QStringLiteral("char")));
    EXPECT_EQ(label.toString(), QStringLiteral("const char * label"));
    EXPECT_EQ(labelled->toString(), QStringLiteral("WcShape(const char * label)"));

    const Constructor *plain = shape->constructor(1);
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->toString(), QStringLiteral("WcShape()"));

    const SharedPtr<Object> made = labelled->construct(ObjectList{in->createPrimitive("box")});
    ASSERT_TRUE(made);
    EXPECT_EQ(made->toString(), QStringLiteral("new#0 box"));
    // Resolution over the created table picks the constructor without
    // parameters for an empty list.
    const SharedPtr<Object> empty = static_cast<const Class *>(shape)->construct(ObjectList());
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->toString(), QStringLiteral("new#1"));
}

TEST(WrapperCreator, BadIndexesAndOffsetsGiveNullWithAWarning)
{
    const ArgumentDescriptor badArguments[] = {
        {0, ArgumentDescriptor::TypeByName, 23, 0, 0, -1},       // 0: fine
        {500, ArgumentDescriptor::TypeByName, 23, 0, 0, -1},     // 1: name outside
        {-1, ArgumentDescriptor::TypeByName, INT_MAX, 0, 0, -1}, // 2: type name outside
        {-1, 7, 1, 0, 0, -1},                                    // 3: no such kind
        {-1, ArgumentDescriptor::TypeByClassName, 27, 0, 0, -1}, // 4: kind 2, no owner
        {-1, ArgumentDescriptor::TypeById, 1, 0, 0, 1000},       // 5: enum name outside
        {-1, ArgumentDescriptor::TypeByName, 53, 0, 0, -1},      // 6: "Gone", see below
        {sizeof(shapeStrings) - 1, ArgumentDescriptor::TypeById, 1, 0, 0, -1}, // 7: empty name
    };
    // Each run of one parameter is one of the arguments above; index 8 of
    // the last entry is outside the argument table.
    const std::int32_t badList[] = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    const MethodDescriptor badMethods[] = {
        {-1, 0, 1, 0, 0},                    // 0: fine, the control
        {-1, -1, 0, 0, 0},                   // 1: negative name offset
        {-1, sizeof(shapeStrings), 0, 0, 0}, // 2: name just past the table
        {12, 0, 0, 0, 0},                    // 3: return argument outside
        {-1, 0, 2, INT_MAX, 0},              // 4: first + count overflows int
        {-1, 0, -1, 0, 0},                   // 5: negative count
        {-1, 0, 1, 1, 0},                    // 6..13: one parameter from badList[k - 5]
        {-1, 0, 1, 2, 0},
        {-1, 0, 1, 3, 0},
        {-1, 0, 1, 4, 0},
        {-1, 0, 1, 5, 0},
        {-1, 0, 1, 6, 0},
        {-1, 0, 1, 7, 0},
        {-1, 0, 1, 8, 0},
    };
    const ConstructorDescriptor badConstructors[] = {{0, 1}, {-5, 1}, {8, 2}};
    const WrapperCreator creator(nullptr, shapeStrings, badConstructors, badMethods, badList,
                                 badArguments);

    {
        WarningCatcher catcher;
        MethodPtr control(creator.createMethod(0));
        ASSERT_TRUE(control);
        // No return argument: the return type stays an empty Argument.
        EXPECT_FALSE(control->returnType().isValid());
        EXPECT_EQ(control->toString(), QStringLiteral(" scale(int scale)"));
        EXPECT_EQ(control->type(), nullptr);
        EXPECT_TRUE(warnings.isEmpty()) << qPrintable(warnings.join(QLatin1Char('\n')));
    }

    const struct
    {
        int id;
        const char *says;
    } failing[] = {
        {-1, "method id -1"},
        {14, "method id 14"},
        {INT_MIN, "outside the class's own methods"},
        {INT_MAX, "outside the class's own methods"},
        {1, "name offset -1"},
        {2, "name offset 58"},
        {3, "argument 12 is outside"},
        {4, "outside the argument list"},
        {5, "outside the argument list"},
        {6, "argument 1: name offset 500"},
        {7, "type name offset 2147483647"},
        {8, "unknown type kind 7"},
        {9, "needs an owning class"},
        {10, "enumeration offset 1000"},
        {13, "argument 8 is outside"},
    };
    for (const auto &f : failing) {
        WarningCatcher catcher;
        MethodPtr m(creator.createMethod(f.id));
        EXPECT_FALSE(m) << "method " << f.id;
        EXPECT_TRUE(catcher.saw(QString::fromLatin1(f.says)))
            << "method " << f.id << ": " << qPrintable(warnings.join(QLatin1Char('\n')));
        EXPECT_TRUE(catcher.saw(QStringLiteral("WrapperCreator for <no class>")));
    }

    // "Gone" is the last bytes of the table: without the NUL of the literal
    // it would run off the end.
    const WrapperCreator cut(nullptr, std::span<const char>(shapeStrings, sizeof(shapeStrings) - 1),
                             badConstructors, badMethods, badList, badArguments);
    {
        WarningCatcher catcher;
        EXPECT_FALSE(MethodPtr(cut.createMethod(11)));
        EXPECT_TRUE(catcher.saw(QStringLiteral("type name offset 53")));
        MethodPtr whole(creator.createMethod(11));
        ASSERT_TRUE(whole);
        EXPECT_EQ(whole->signature().at(0).type(), Inspector::self()->type(UndefinedClassId))
            << "an unknown type name becomes undefined";
        EXPECT_TRUE(catcher.saw(QStringLiteral("type Gone is unknown")));
    }

    // The empty string at the very end is a real string.
    MethodPtr unnamed(creator.createMethod(12));
    ASSERT_TRUE(unnamed);
    EXPECT_TRUE(unnamed->signature().at(0).name().isEmpty());

    std::unique_ptr<Constructor> good(creator.createConstructor(0));
    ASSERT_TRUE(good);
    EXPECT_EQ(good->numArguments(), 1);
    for (int index : {1, 2, 3, -1, INT_MAX}) {
        WarningCatcher catcher;
        EXPECT_FALSE(std::unique_ptr<Constructor>(creator.createConstructor(index)))
            << "constructor " << index;
        EXPECT_TRUE(catcher.saw(QStringLiteral("constructor"))) << index;
    }

    // Empty tables answer every index with null.
    const WrapperCreator empty(nullptr, {}, {}, {}, {}, {});
    WarningCatcher catcher;
    EXPECT_FALSE(MethodPtr(empty.createMethod(0)));
    EXPECT_FALSE(std::unique_ptr<Constructor>(empty.createConstructor(0)));
}

TEST(WrapperCreator, UnknownClassesAndEnumsStillGiveAMember)
{
    const ArgumentDescriptor args[] = {
        {-1, ArgumentDescriptor::TypeById, 99999, 0, 0, -1}, // class id unknown
        {-1, ArgumentDescriptor::TypeById, -3, 0, 0, -1},    // negative class id
        {-1, ArgumentDescriptor::TypeById | 0x4200u, IntClassId, 0, 0,
         48},                                               // enum "Nope"; high bits
        {-1, ArgumentDescriptor::TypeByName, 18, 0, 0, -1}, // "Fill" is no class
        {-1, ArgumentDescriptor::TypeByClassName, 23, ObjectAttribute::ArrayFlag, 3, 18},
    };
    const std::int32_t list[] = {0, 1, 2, 3, 4};
    const MethodDescriptor ms[] = {{-1, 32, 5, 0, 0}};
    const WrapperCreator creator(shapeClass(), shapeStrings, {}, ms, list, args);

    WarningCatcher catcher;
    // The class has two methods after the base's one; only the first
    // descriptor exists here.
    EXPECT_FALSE(MethodPtr(creator.createMethod(2)));
    MethodPtr m(creator.createMethod(1));
    ASSERT_TRUE(m);
    ASSERT_EQ(m->numArguments(), 5);
    const Class *undefined = Inspector::self()->type(UndefinedClassId);
    EXPECT_EQ(m->signature().at(0).type(), undefined);
    EXPECT_EQ(m->signature().at(1).type(), undefined);
    EXPECT_TRUE(catcher.saw(QStringLiteral("class id 99999 is unknown")));
    EXPECT_TRUE(catcher.saw(QStringLiteral("class id -3 is unknown")));
    EXPECT_EQ(m->signature().at(2).type(), Inspector::self()->type(IntClassId));
    EXPECT_FALSE(m->signature().at(2).enumerator());
    EXPECT_TRUE(catcher.saw(QStringLiteral("enumeration Nope not found")));
    EXPECT_EQ(m->signature().at(3).type(), undefined);
    // Kind 2 keeps names the owner does not map, and the enum is the owner's.
    const Argument &array = m->signature().at(4);
    EXPECT_EQ(array.type(), Inspector::self()->type(IntClassId));
    EXPECT_TRUE(array.isArray());
    EXPECT_EQ(array.arrayLength(), 3);
    EXPECT_EQ(array.enumerator(), shapeClass()->enumerator(QStringLiteral("Fill")));
}
