#include "testtoolkit.h"

#include "delegate.h"
#include "delegatefactory.h"

#include <gtest/gtest.h>

using namespace TestToolkit;

namespace {

// A toolkit tree: nodes with names and children, and a top-level delegate
// under one of the names the Inspector asks for.
struct Node
{
    QString name;
    std::vector<Node *> kids;
};

const Class *nodeClass();

SharedPtr<Object> wrapNode(Node *n)
{
    return n ? nodeClass()->wrap(n, ObjectAttribute::Pointer()) : nullptr;
}

Node *nodeOf(const SharedPtr<Object> &o)
{
    return o ? static_cast<Node *>(o->data()) : nullptr;
}

Node leafA{QStringLiteral("leafA"), {}};
Node leafB{QStringLiteral("leafB"), {}};
Node branch{QStringLiteral("branch"), {&leafA, &leafB}};
Node root1{QStringLiteral("root1"), {&branch}};
Node root2{QStringLiteral("root2"), {}};
std::vector<Node *> roots{&root1, &root2};

class NodeHierarchy : public ObjectHierarchyDelegate
{
public:
    explicit NodeHierarchy(const QString &name) : ObjectHierarchyDelegate(name) {}
    const std::vector<Node *> &kids(const SharedPtr<Object> &o) const
    {
        return o ? nodeOf(o)->kids : roots;
    }
    int numChildren(SharedPtr<Object> o) const override { return int(kids(o).size()); }
    SharedPtr<Object> child(SharedPtr<Object> o, int i) const override
    {
        return i >= 0 && i < numChildren(o) ? wrapNode(kids(o)[size_t(i)]) : nullptr;
    }
    SharedPtr<Object> childByName(SharedPtr<Object> o, const QString &name) const override
    {
        for (Node *n : kids(o))
            if (n->name == name)
                return wrapNode(n);
        return nullptr;
    }
    QString name(SharedPtr<Object> o) const override { return nodeOf(o)->name; }
    QString qualifiedName(SharedPtr<Object> o) const override
    {
        return QStringLiteral("tree.") + nodeOf(o)->name;
    }
    int wrapperType(SharedPtr<Object>) const override { return 42; }
};

// Static, as a wrapper's delegates are: registered before the Inspector
// first looks for top-level delegates.
NodeHierarchy topLevel(QStringLiteral("Tolvex::ToplevelQt"));
NodeHierarchy nodeHierarchy(QStringLiteral("TreeNode"));
NodeHierarchy qobjectHierarchy(QStringLiteral("QObject"));

const Class *nodeClass()
{
    static TestClass *c = new TestClass("TreeNode", nullptr);
    return c;
}

class Mask : public ConversionDelegate
{
public:
    Mask(const QString &name, int mask, QString text)
        : ConversionDelegate(name), m_mask(mask), m_text(std::move(text))
    {}
    int capabilities() const override { return m_mask; }
    QString toString(SharedPtr<Object>) const override { return m_text; }
    int toInteger(SharedPtr<Object>) const override { return 7; }
    void fromInteger(int v, SharedPtr<Object> o) const override
    {
        static_cast<Native *>(o->data())->properties[0] = v;
    }

private:
    int m_mask;
    QString m_text;
};

class Box : public GeometryDelegate
{
public:
    Box(const QString &name, Rect<2> r) : GeometryDelegate(name), rect(r) {}
    Rect<2> globalBounds(SharedPtr<Object>) const override { return rect; }
    bool isVisible(SharedPtr<Object>) const override { return true; }
    SharedPtr<Object> window(SharedPtr<Object>) const override { return nullptr; }
    Rect<2> rect;
};

} // namespace

TEST(Delegates, HierarchyThroughObjectsAndTheInspector)
{
    Inspector *in = Inspector::self();
    EXPECT_EQ(in->numObjects(), 2);
    ASSERT_EQ(in->objects().size(), 2u);
    EXPECT_EQ(in->object(1)->name(), QStringLiteral("root2"));
    EXPECT_FALSE(in->object(2));
    EXPECT_EQ(in->object(QStringLiteral("root1"))->numChildren(), 1);
    EXPECT_FALSE(in->object(QStringLiteral("leafA")));

    SharedPtr<Object> b =
        in->object(QStringLiteral("root1"))->childByName(QStringLiteral("branch"));
    ASSERT_TRUE(b);
    EXPECT_EQ(b->qualifiedName(), QStringLiteral("tree.branch"));
    EXPECT_EQ(b->wrapperType(), 42);
    ASSERT_EQ(b->children().size(), 2u);
    EXPECT_EQ(b->children()[1]->name(), QStringLiteral("leafB"));
    // The generic parent search walks the top-level trees.
    EXPECT_EQ(nodeOf(b->child(0)->parent()), &branch);
    EXPECT_EQ(nodeOf(b->parent()), &root1);
    EXPECT_FALSE(in->object(0)->parent()) << "a top-level object has no parent";
}

TEST(Delegates, NearestClassWinsAndQObjectNamesBorrowTheQObjectDelegate)
{
    static Mask baseMask(QStringLiteral("MaskBase"), ConversionDelegate::CanString,
                         QStringLiteral("base"));
    static Mask overrideMask(QStringLiteral("MaskOverride"),
                             ConversionDelegate::CanString | ConversionDelegate::CanInteger,
                             QStringLiteral("override"));
    auto *base = new TestClass("MaskBase", nullptr);
    auto *derived = new TestClass("MaskDerived", base);
    auto *overriding = new TestClass("MaskOverride", derived);
    Native native;
    EXPECT_EQ(derived->newObject(&native)->toString(), QStringLiteral("base"));
    EXPECT_EQ(derived->newObject(&native)->toInteger(), 0) << "no integer bit in the mask";
    SharedPtr<Object> o = overriding->newObject(&native);
    EXPECT_EQ(o->toString(), QStringLiteral("override"));
    EXPECT_EQ(o->toInteger(), 7);
    o->fromInteger(99);
    EXPECT_EQ(native.properties[0], 99);
    o->fromDouble(1.0); // no bit: nothing happens
    EXPECT_EQ(native.properties[0], 99);
    EXPECT_EQ(overrideMask.super(), &baseMask);
    EXPECT_EQ(baseMask.super(), nullptr);

    // super() is resolved once: a later replacement isn't seen.
    static Mask replacement(QStringLiteral("MaskBase"), 0, QStringLiteral("new"));
    EXPECT_EQ(DelegateFactory::self()->delegate(QStringLiteral("MaskBase"), Delegate::Conversion),
              &replacement);
    EXPECT_EQ(overrideMask.super(), &baseMask);

    {
        Mask shortLived(QStringLiteral("MaskShortLived"), 0, QString());
        EXPECT_EQ(DelegateFactory::self()->delegate(QStringLiteral("MaskShortLived"),
                                                    Delegate::Conversion),
                  &shortLived);
    }
    EXPECT_EQ(
        DelegateFactory::self()->delegate(QStringLiteral("MaskShortLived"), Delegate::Conversion),
        nullptr)
        << "a destroyed delegate leaves no entry";
    // Destroying a replaced delegate leaves its replacement registered.
    {
        Mask replaced(QStringLiteral("MaskKeep"), 0, QString());
        static Mask keeper(QStringLiteral("MaskKeep"), 0, QString());
    }
    EXPECT_NE(DelegateFactory::self()->delegate(QStringLiteral("MaskKeep"), Delegate::Conversion),
              nullptr);

    EXPECT_EQ(DelegateFactory::self()->delegate(static_cast<const Class *>(nullptr),
                                                Delegate::Conversion),
              nullptr);
    EXPECT_TRUE(DelegateFactory::self()->delegatesForType(Delegate::DynamicEvent).empty());
    const auto hierarchies = DelegateFactory::self()->delegatesForType(Delegate::ObjectHierarchy);
    EXPECT_GE(hierarchies.size(), 3u);

    auto *widget = new TestClass("PlainWidget", nullptr);
    Node alone{QStringLiteral("alone"), {}};
    EXPECT_EQ(widget->wrap(&alone, ObjectAttribute::Pointer())->name(), QStringLiteral("unnamed"));
    tolvex_register_qobject_type("PlainWidget");
    EXPECT_EQ(widget->wrap(&alone, ObjectAttribute::Pointer())->name(), QStringLiteral("alone"));
}

TEST(Delegates, StaticPropertiesBelongToOneClassAndAreInherited)
{
    Inspector *in = Inspector::self();
    auto *base = new TestClass("PropBase", nullptr, {}, TestClass::numberedProperties("b", 1));
    auto *derived = new TestClass("PropDerived", base, {}, TestClass::numberedProperties("d", 1));
    in->addPropertyDelegate(QStringLiteral("PropBase"), {QStringLiteral("int,extra,,,0,0")});
    EXPECT_EQ(base->numProperties(), 2);
    EXPECT_EQ(derived->numProperties(), 3) << "the base's added property is inherited once";
    const Property *extra = derived->property(QStringLiteral("extra"));
    ASSERT_NE(extra, nullptr);
    EXPECT_EQ(extra->id(), 1);
    EXPECT_FALSE(extra->isStatic());
    EXPECT_FALSE(extra->stored());
    EXPECT_EQ(derived->property(2)->name(), QStringLiteral("d0"));
}

TEST(Delegates, GeometryDefaults)
{
    static Box valid(QStringLiteral("GeoValid"), Rect<2>(10, 20, 30, 40));
    static Box none(QStringLiteral("GeoNone"), Rect<2>(10, 20, -1, 40));
    EXPECT_EQ(valid.globalToRelative(nullptr, 15, 25), Point<2>(5, 5));
    EXPECT_EQ(valid.relativeToGlobal(nullptr, 1, 2), Point<2>(11, 22));
    EXPECT_EQ(valid.relativeToNative(nullptr, 1, 2), Point<1>(11, 22));
    EXPECT_EQ(valid.nativeGlobalBounds(nullptr), Rect<1>(10, 20, 30, 40));
    EXPECT_FALSE(none.globalToRelative(nullptr, 15, 25).isValid());
    EXPECT_FALSE(none.relativeToGlobal(nullptr, 15, 25).isValid());
}
