#include "objecthandles.h"

#include "delegatefactory.h"
#include "nodetoolkit.h"
#include "screenrectangle.h"
#include "testtoolkit.h"

#include <gtest/gtest.h>

using namespace Tolvex;
using namespace TestToolkit;

namespace {

const TestClass &counterClass()
{
    static const TestClass c("HandleCounter", nullptr,
                             {{QStringLiteral("bump"),
                               {Argument(primitive(IntClassId), ObjectAttribute::Value())},
                               primitive(IntClassId)}},
                             {{QStringLiteral("value"), primitive(IntClassId)}});
    return c;
}

int propertyId(const char *name)
{
    const Property *p = counterClass().property(QString::fromLatin1(name));
    return p ? p->id() : -1;
}

} // namespace

TEST(ObjectHandles, HandlesAreCountedAndReleasedWithTheLastOne)
{
    ObjectHandles handles;
    Native native;
    SharedPtr<Object> object = counterClass().newObject(&native);
    const int id = object->index();
    const QVariant wire = handles.objectToVariant(object);
    EXPECT_EQ(wire.toString(), QStringLiteral("%1,%2").arg(id).arg(counterClass().id()));
    handles.objectToVariant(object);
    handles.objectToVariant(object);
    EXPECT_EQ(handles.handleCount(id), 3);
    EXPECT_FALSE(handles.objectToVariant(nullptr).isValid());

    // The dictionary keeps the object alive on its own.
    Object *raw = object.get();
    object = nullptr;
    EXPECT_EQ(handles.objectById(id).get(), raw);

    handles.remoteObjectDestroyed(id);
    handles.remoteObjectDestroyed(id);
    EXPECT_EQ(handles.handleCount(id), 1);
    handles.remoteObjectDestroyed(id);
    EXPECT_FALSE(handles.objectById(id));
    handles.remoteObjectDestroyed(id); // a fourth is ignored
    handles.remoteObjectDestroyed(-77);
    EXPECT_EQ(handles.size(), 0);

    // Unknown ids come back as null entries, in order.
    SharedPtr<Object> other = counterClass().newObject(&native);
    handles.objectToVariant(other);
    const ObjectList list =
        handles.idsToObjects(FList<int>{other->index(), 999999, other->index()});
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].get(), other.get());
    EXPECT_FALSE(list[1]);
    handles.clearObjectDict();
    EXPECT_EQ(handles.size(), 0);
}

TEST(ObjectHandles, MemberAccessOnObjectsAndClassesWithItsMessages)
{
    ObjectHandles handles;
    Native native;
    SharedPtr<Object> object = counterClass().newObject(&native);
    handles.objectToVariant(object);
    const int id = object->index();
    const int value = propertyId("value");
    ASSERT_GE(value, 0);

    SharedPtr<Object> five = Inspector::self()->createPrimitive(5);
    handles.objectToVariant(five);
    EXPECT_TRUE(handles.setProperty(id, value, five->index()));
    bool ok = false;
    const SharedPtr<Object> read = handles.getProperty(id, value);
    ASSERT_TRUE(read);
    handles.objectToVariant(read);
    EXPECT_EQ(handles.objectToInteger(read->index(), &ok), 5);
    EXPECT_TRUE(ok);

    const SharedPtr<Object> result =
        handles.invoke(id, counterClass().numMethods() - 1, FList<int>{five->index()});
    ASSERT_TRUE(result);
    EXPECT_EQ(native.lastArgs, std::vector<QString>{QStringLiteral("5")});

    testing::internal::CaptureStderr();
    EXPECT_FALSE(handles.getProperty(424242, value));
    EXPECT_FALSE(handles.getProperty(id, 9999));
    EXPECT_FALSE(handles.setProperty(-1000000, value, five->index()));
    EXPECT_FALSE(handles.invoke(id, 9999, {}));
    // A class by negative id: the member is found on the class, and a
    // missing one names the class.
    EXPECT_FALSE(handles.getProperty(-counterClass().id(), 9999));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("Hook::getProperty: invalid object id424242"), std::string::npos) << log;
    EXPECT_NE(log.find("Hook::getProperty: invalid property id 9999 for class HandleCounter"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("Hook::setProperty: invalid class id-1000000"), std::string::npos) << log;
    EXPECT_NE(log.find("Hook::invoke: invalid property id 9999 for class HandleCounter"),
              std::string::npos)
        << log;

    // Conversions of unknown ids say so and are not zero by accident.
    testing::internal::CaptureStderr();
    ok = true;
    handles.objectToInteger(123456, &ok);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(handles.objectToDebugString(123456).isEmpty());
    EXPECT_FALSE(handles.objectCompare(id, 123456));
    EXPECT_TRUE(handles.getObjectAttribute(123456).isEmpty());
    const std::string log2 = testing::internal::GetCapturedStderr();
    EXPECT_NE(log2.find("Hook::objectToInteger: invalid object id 123456"), std::string::npos);
    EXPECT_NE(log2.find("Hook::objectCompare: invalid 2nd object id 123456"), std::string::npos);

    // Primitives made, changed in place and compared.
    SharedPtr<Object> text =
        handles.createPrimitive(QStringLiteral("char*"), QStringLiteral("abc"));
    ASSERT_TRUE(text);
    handles.objectToVariant(text);
    handles.objectFromString(text->index(), QStringLiteral("xyz"));
    EXPECT_EQ(handles.objectToString(text->index(), &ok), QStringLiteral("xyz"));
    SharedPtr<Object> big = handles.createPrimitive(QStringLiteral("int64"), qlonglong(1) << 40);
    handles.objectToVariant(big);
    EXPECT_EQ(handles.objectToInt64(big->index(), &ok), 1LL << 40);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(handles.createPrimitive(QStringLiteral("widget"), 1));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("F_CreatePrimitive: widget"),
              std::string::npos);
    EXPECT_FALSE(handles.getObjectAttribute(id).isEmpty());
    EXPECT_FALSE(ObjectHandles::allClasses().isEmpty());
}

TEST(ObjectHandles, ConversionThroughClassesAndGlobalBounds)
{
    ObjectHandles handles;
    SharedPtr<Object> seven = Inspector::self()->createPrimitive(7);
    handles.objectToVariant(seven);
    const int intClass = IntClassId, doubleClass = DoubleClassId;
    ASSERT_TRUE(handles.canConvertTo(intClass, doubleClass, false, false));
    EXPECT_FALSE(handles.canConvertTo(intClass, 987654, false, false));
    const SharedPtr<Object> asDouble =
        handles.convertTo(intClass, seven->index(), doubleClass, false);
    ASSERT_TRUE(asDouble);
    EXPECT_EQ(asDouble->type()->id(), doubleClass);
    EXPECT_DOUBLE_EQ(asDouble->toDouble(), 7.0);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(handles.convertTo(987654, seven->index(), doubleClass, false));
    EXPECT_FALSE(handles.convertToInterface(intClass, 123456, QStringLiteral("X")));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("Hook::convertTo: invalid fromClassId 987654"), std::string::npos);
    EXPECT_NE(log.find("Hook::convertToInterface: invalid object id 123456"), std::string::npos);

    // Bounds come from the class's geometry delegate, as a screen rectangle.
    struct Geometry : GeometryDelegate
    {
        Geometry() : GeometryDelegate(QStringLiteral("HandleCounter")) {}
        Rect<2> globalBounds(SharedPtr<Object>) const override { return Rect<2>(10, 20, 30, 40); }
        bool isVisible(SharedPtr<Object>) const override { return true; }
        SharedPtr<Object> window(SharedPtr<Object>) const override { return nullptr; }
    };
    Native native;
    SharedPtr<Object> counter = counterClass().newObject(&native);
    Inspector::self()->lastError();
    EXPECT_FALSE(ObjectHandles::objectGlobalBounds(counter));
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("Cannot fetch geometry for object of type HandleCounter."));
    EXPECT_FALSE(ObjectHandles::objectGlobalBounds(nullptr));
    EXPECT_EQ(Inspector::self()->lastError(),
              QStringLiteral("Cannot fetch geometry for invalid object."));
    DelegateFactory::self()->addDelegate(new Geometry);
    counter = counterClass().newObject(&native); // delegates are looked up once per object
    ScreenRectangle r;
    ASSERT_TRUE(unwrapScreenRectangle(ObjectHandles::objectGlobalBounds(counter), &r));
    EXPECT_EQ(r.x, 10);
    EXPECT_EQ(r.y, 20);
    EXPECT_EQ(r.width, 30);
    EXPECT_EQ(r.height, 40);
}

TEST(ObjectHandles, TreeAccessHandsOutCountedHandles)
{
    static NodeToolkit::Node root;
    static bool built = false;
    if (!built) {
        built = true;
        NodeToolkit::Node *top = root.add(QStringLiteral("top"));
        top->add(QStringLiteral("left"));
        top->add(QStringLiteral("right"));
        root.add(QStringLiteral("other"));
        DelegateFactory::self()->addDelegate(
            new NodeToolkit::NodeHierarchy(QStringLiteral("Tolvex::ToplevelQt"), &root));
        DelegateFactory::self()->addDelegate(
            new NodeToolkit::NodeHierarchy(QStringLiteral("LookupNode"), &root));
    }
    ObjectHandles handles;
    EXPECT_EQ(handles.numObjects(0), 2);
    // Listing the top level hands out one handle for each object.
    const QStringList wire = handles.objects(0);
    ASSERT_EQ(wire.size(), 2);
    const int topId = wire[0].section(QLatin1Char(','), 0, 0).toInt();
    EXPECT_EQ(handles.handleCount(topId), 1);
    EXPECT_EQ(handles.handleCount(wire[1].section(QLatin1Char(','), 0, 0).toInt()), 1);
    EXPECT_EQ(handles.size(), 2);

    EXPECT_EQ(handles.numObjects(topId), 2);
    EXPECT_EQ(handles.objectName(topId), QStringLiteral("top"));
    const SharedPtr<Object> right = handles.objectByName(topId, QStringLiteral("right"));
    ASSERT_TRUE(right);
    EXPECT_EQ(right->name(), QStringLiteral("right"));
    EXPECT_EQ(handles.objectByIndex(topId, 0)->name(), QStringLiteral("left"));
    EXPECT_EQ(handles.objectByIndex(0, 1)->name(), QStringLiteral("other"));
    handles.objectToVariant(right);
    const SharedPtr<Object> parent = handles.parent(right->index());
    ASSERT_TRUE(parent);
    EXPECT_EQ(parent->name(), QStringLiteral("top"));

    testing::internal::CaptureStderr();
    EXPECT_EQ(handles.numObjects(555555), -1);
    EXPECT_FALSE(handles.objectByIndex(0, 2));
    EXPECT_FALSE(handles.objectByIndex(555555, 0));
    EXPECT_TRUE(handles.objects(555555).isEmpty());
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("Hook::numObjects: invalid object id 555555"), std::string::npos);
    EXPECT_NE(log.find("Hook::objectByIndex: index out of range!"), std::string::npos);
    EXPECT_NE(log.find("Hook::objectByIndex: invalid parent object id 555555"), std::string::npos);
    EXPECT_NE(log.find("Hook::objects: invalid parent object id 555555"), std::string::npos);
}
