#include "objecthandles.h"

#include "testtoolkit.h"

#include <gtest/gtest.h>

using namespace Tolvex;
using namespace TestToolkit;

namespace {

const TestClass &counterClass()
{
    static const TestClass c("HandleCounter", nullptr,
                             {{QStringLiteral("bump"),
                               {Argument(primitive(1), ObjectAttribute::Value())},
                               primitive(1)}},
                             {{QStringLiteral("value"), primitive(1)}});
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
