#include "testtoolkit.h"

#include "classdescription.h"
#include "eventdata.h"
#include "primitives.h"
#include "remoteclassbase.h"

#include <QBuffer>
#include <QDataStream>

#include <gtest/gtest.h>

using namespace TestToolkit;

namespace {

template <typename T> QByteArray bytesOf(const T &s)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(3);
    s.writeObject(stream);
    return bytes;
}

template <typename T> bool readFrom(const QByteArray &bytes, T *target)
{
    QDataStream stream(bytes);
    stream.setVersion(3);
    target->readObject(stream);
    return stream.status() == QDataStream::Ok && stream.atEnd();
}

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text).replace(' ', ""));
}

// A class whose properties are views on its native values, so that
// reading an object's stream form writes through to the native thing.
class Point3 : public TestClass
{
public:
    Point3()
        : TestClass("Point3", nullptr, {},
                    {{QStringLiteral("x"), primitive(IntClassId)},
                     {QStringLiteral("y"), primitive(IntClassId)},
                     {QStringLiteral("label"), primitive(CharClassId), Property::Readable}})
    {}
    SharedPtr<Object> getProperty(int id, void *data, const Class *) const override
    {
        auto *native = static_cast<Native *>(data);
        if (!native)
            return nullptr;
        if (id == 2)
            return Inspector::self()->createPrimitive("fixed");
        return primitive(IntClassId)->wrap(&native->properties[id], ObjectAttribute::Pointer());
    }
};

Point3 *point3()
{
    static Point3 *c = new Point3;
    return c;
}

const Enum *buttons()
{
    static const Enum::Item items[] = {
        {"None", 0}, {"LeftButton", 1}, {"MiddleButton", 2}, {"RightButton", 4}, {nullptr, 0}};
    static const Enum e(nullptr, QStringLiteral("ButtonValue"), items, 0);
    return &e;
}

} // namespace

TEST(WireForm, PinnedBytesOfSmallForms)
{
    EXPECT_EQ(bytesOf(ObjectAttribute(18, 2)), hex("00000012 00000002"));
    EXPECT_EQ(bytesOf(Argument()),
              hex("00000000 00000000 00000000 00000000 00000000 00000000 00000000"));
    EXPECT_EQ(bytesOf(*Inspector::self()->globalNamespace()), hex("00000000 00000000 ffffffff"));
    EXPECT_EQ(
        bytesOf(Argument(QStringLiteral("x"), primitive(IntClassId), ObjectAttribute::Pointer())),
        hex("00000002 0078  00000006 0069006e0074  00000000  00000002 00000000"
            "00000000 00000000"));

    // Class "int": id 1, no namespace prefix, no superclass, three
    // constructors and no other members.
    const QByteArray ctorValue = hex("0000000a 00760061006c00750065 00000006 0069006e0074 00000000"
                                     "00000000 00000000 00000000 00000000");
    const QByteArray ctorPointer =
        hex("0000000e 0070006f0069006e007400650072 00000006 0069006e0074 00000000"
            "00000002 00000000 00000000 00000000");
    const QByteArray intHead = hex("00000006 0069006e0074");
    EXPECT_EQ(bytesOf(*primitive(IntClassId)),
              hex("00000001") + intHead + hex("00000000 00000000 00000000 00000000") +
                  hex("00000003 00000000 00000000 00000000 00000000") + intHead +
                  hex("00000000 00000000") +                         // constructor 0: ()
                  intHead + hex("00000001 00000001") + ctorValue +   // constructor 1
                  intHead + hex("00000002 00000001") + ctorPointer + // constructor 2
                  hex("00000000"));                                  // no interfaces

    // A comment has no name field.
    EventData comment = EventData::fromComment(QStringLiteral("hi"));
    comment.setTimeStamp(QTime(1, 2, 3, 4));
    EXPECT_EQ(bytesOf(comment), hex("00000002  00000004 00680069  0038cefc  ffffffff"
                                    "00000000  00000000  ffffffff  ffffffff"));

    // An enum mask argument: name, class id 1, kind 2, enum name, value, keys.
    const EventDataArg mask =
        EventData::createArgument(QStringLiteral("b"), primitive(IntClassId), buttons(),
                                  Inspector::self()->createPrimitive(5));
    EXPECT_EQ(bytesOf(mask),
              hex("00000002 0062  00000001  00000002"
                  "00000016 0042007500740074006f006e00560061006c00750065  00000002 0035"
                  "00000002  00000014 004c0065006600740042007500740074006f006e"
                  "00000016 005200690067006800740042007500740074006f006e"));
}

TEST(WireForm, AbsentTextsGoOutAsEmptyStringsNotNullOnes)
{
    // A class without a name, and an enumerator without a class: empty
    // strings where a null one would be ff ff ff ff.
    const RemoteClassBase unnamed(1);
    EXPECT_EQ(bytesOf(Argument(&unnamed, ObjectAttribute::Value())),
              hex("00000000 00000000 00000000 00000000 00000000 00000000 00000000"));
    EXPECT_EQ(bytesOf(Argument(QStringLiteral("b"), primitive(IntClassId), buttons(), 0, 0)),
              hex("00000002 0062  00000006 0069006e0074  00000000  00000000 00000000"
                  "00000000  00000016 0042007500740074006f006e00560061006c00750065"));

    // The global namespace's name is empty, not null, and so is that of a
    // namespace made with a null one.
    EXPECT_FALSE(Inspector::self()->globalNamespace()->name().isNull());
    EXPECT_EQ(bytesOf(Namespace(Namespace::Detached, QString())),
              hex("ffffffff 00000000 ffffffff"));

    // A class of its own with no superclass: an empty superclass name and 0.
    const QByteArray own = bytesOf(*new TestClass("WireNoSuper", nullptr));
    const QByteArray name = hex("00000016 0057006900720065004e006f00530075007000650072");
    EXPECT_EQ(own.mid(4, name.size() + 8 + 8), name + hex("00000000 00000000 00000000 00000000"));
}

TEST(WireForm, EveryRegisteredClassReadsBackToTheSameForm)
{
    point3();
    Inspector *in = Inspector::self();
    ASSERT_GE(in->numClasses(), 10);
    for (int id = 0; id < in->numClasses(); ++id) {
        const Class *c = in->type(id);
        ASSERT_NE(c, nullptr);
        const QByteArray written = bytesOf(*c);
        ClassDescription read;
        ASSERT_TRUE(readFrom(written, &read)) << qPrintable(c->className());
        EXPECT_EQ(read.id, id);
        EXPECT_EQ(read.name, c->className());
        EXPECT_EQ(bytesOf(read), written) << qPrintable(c->className());
    }
}

TEST(WireForm, MembersReadBackWithTheirClassesResolved)
{
    auto *owner = new TestClass("WireOwner", nullptr);
    Signature signature(
        Argument(QStringLiteral("mode"), primitive(IntClassId), buttons(), 4, 0),
        Argument(QStringLiteral("list"), primitive(CharClassId), ObjectAttribute(18, 3)));
    Method method(owner, Argument(primitive(DoubleClassId), ObjectAttribute::Reference()),
                  QStringLiteral("go"), signature, 12, true);
    method.deprecate(QStringLiteral("use run"));
    Method readMethod;
    ASSERT_TRUE(readFrom(bytesOf(method), &readMethod));
    EXPECT_EQ(readMethod.name(), QStringLiteral("go"));
    EXPECT_EQ(readMethod.type(), owner);
    EXPECT_EQ(readMethod.returnType(), method.returnType());
    EXPECT_EQ(readMethod.id(), 12);
    EXPECT_TRUE(readMethod.isStatic());
    EXPECT_EQ(readMethod.deprecationMessage(), QStringLiteral("use run"));
    ASSERT_EQ(readMethod.signature().count(), 2);
    EXPECT_TRUE(readMethod.signature() == signature);
    EXPECT_EQ(readMethod.signature().at(1).name(), QStringLiteral("list"));
    EXPECT_EQ(readMethod.signature().at(1).arrayLength(), 3);
    // The enum's class (none here) can't be resolved: the reader leaves it null.
    EXPECT_EQ(readMethod.signature().at(0).enumerator(), nullptr);

    Property property(owner, Argument(primitive(BoolClassId), 0, 0), QStringLiteral("on"), 1 | 4,
                      7);
    Property readProperty;
    ASSERT_TRUE(readFrom(bytesOf(property), &readProperty));
    EXPECT_EQ(readProperty.name(), QStringLiteral("on"));
    EXPECT_EQ(readProperty.propertyClass(), owner);
    EXPECT_EQ(readProperty.type().type(), primitive(BoolClassId));
    EXPECT_EQ(readProperty.flags(), 5u);
    EXPECT_EQ(readProperty.id(), 7);

    Event event(owner, QStringLiteral("fired"), signature, 3, true);
    Event readEvent;
    ASSERT_TRUE(readFrom(bytesOf(event), &readEvent));
    EXPECT_EQ(readEvent.name(), QStringLiteral("fired"));
    EXPECT_EQ(readEvent.type(), owner);
    EXPECT_TRUE(readEvent.isSendable());
    EXPECT_EQ(readEvent.signature().count(), 2);

    Enum readEnum;
    ASSERT_TRUE(readFrom(bytesOf(*buttons()), &readEnum));
    EXPECT_EQ(readEnum.count(), 4);
    EXPECT_TRUE(readEnum.isMask());
    EXPECT_EQ(readEnum.key(3), QStringLiteral("RightButton"));
    EXPECT_EQ(readEnum.value(3), 4);
    EXPECT_EQ(bytesOf(readEnum), bytesOf(*buttons()));

    Constructor ctor(owner, signature, 0);
    Constructor readCtor;
    ASSERT_TRUE(readFrom(bytesOf(ctor), &readCtor));
    EXPECT_EQ(readCtor.type(), owner);
    EXPECT_TRUE(readCtor.signature() == signature);
}

TEST(WireForm, EventsWithEveryKindOfArgumentReadBack)
{
    Inspector *in = Inspector::self();
    Native native;
    native.properties[0] = 3;
    native.properties[1] = 4;
    SharedPtr<Object> point = point3()->newObject(&native);
    auto *bare = new TestClass("BareValue", nullptr);
    auto *sender = new TestClass("Sender3", nullptr);

    Signature signature(Argument(QStringLiteral("buttons"), primitive(IntClassId), buttons(), 0, 0),
                        Argument(QStringLiteral("where"), point3(), 2, 0));
    const Event moved(sender, QStringLiteral("moved"), signature, 0);
    EventData data(&moved, QStringLiteral("w1"),
                   ObjectList{in->createPrimitive(0), point, in->createPrimitive("extra"),
                              bare->newObject(&native)});
    data.setItemText(QStringLiteral("item"));
    EXPECT_EQ(data.type(), EventData::EventType);
    EXPECT_EQ(data.eventName(), QStringLiteral("moved"));
    EXPECT_EQ(data.methodName(), QString());
    ASSERT_EQ(data.numArguments(), 4);
    EXPECT_EQ(data.argument(0).kind(), EventDataArg::EnumeratorKind);
    EXPECT_EQ(data.argument(0).enumKeys(), QList<QString>{QStringLiteral("None")})
        << "mask value 0 names the item of value 0 only";
    EXPECT_EQ(data.argument(1).kind(), EventDataArg::ObjectKind);
    ASSERT_EQ(data.argument(1).numSubArguments(), 3);
    EXPECT_EQ(data.argument(1).subArgument(1).value(), QStringLiteral("4"));
    EXPECT_EQ(data.argument(1).subArgument(2).value(), QStringLiteral("fixed"));
    EXPECT_EQ(data.argument(2).primitiveClassId(), CharClassId);
    EXPECT_EQ(data.argument(3).kind(), EventDataArg::ObjectKind);
    EXPECT_EQ(data.argument(3).numSubArguments(), 0);

    const QByteArray written = bytesOf(data);
    EventData read;
    ASSERT_TRUE(readFrom(written, &read));
    EXPECT_EQ(bytesOf(read), written);
    EXPECT_EQ(read.objectId(), QStringLiteral("w1"));
    EXPECT_EQ(read.itemText(), QStringLiteral("item"));
    EXPECT_EQ(read.timeStamp(), data.timeStamp());
    EXPECT_EQ(read.argument(1).subArgument(0).name(), QStringLiteral("x"));
    EXPECT_FALSE(read == data) << "identity is the serial, which isn't sent";

    EventData byName(QStringLiteral("click"),
                     QList<QString>{QStringLiteral("a"), QStringLiteral("b")}, QStringLiteral("r"));
    EventData readByName;
    ASSERT_TRUE(readFrom(bytesOf(byName), &readByName));
    EXPECT_EQ(readByName.type(), EventData::FunctionType);
    EXPECT_EQ(readByName.methodName(), QStringLiteral("click"));
    EXPECT_EQ(readByName.argumentNames().size(), 2);
    EXPECT_EQ(readByName.returnVariable(), QStringLiteral("r"));

    EventData started = EventData::applicationStarted();
    EventData readStarted;
    ASSERT_TRUE(readFrom(bytesOf(started), &readStarted));
    EXPECT_EQ(readStarted.type(), EventData::StartedType);
    EXPECT_TRUE(started < EventData()) << "later events sort behind";
}

TEST(WireForm, EventArgumentRules)
{
    Inspector *in = Inspector::self();
    static const Enum::Item plainItems[] = {{"One", 1}, {"Three", 3}, {nullptr, 0}};
    const Enum plain(nullptr, QStringLiteral("Plain"), plainItems, 0);
    EventDataArg unknown =
        EventData::createArgument(QString(), primitive(IntClassId), &plain, in->createPrimitive(2));
    EXPECT_EQ(unknown.enumKeys(), QList<QString>{QStringLiteral("2")});
    EventDataArg both = EventData::createArgument(QString(), primitive(IntClassId), buttons(),
                                                  in->createPrimitive(5));
    EXPECT_EQ(both.enumKeys(),
              (QList<QString>{QStringLiteral("LeftButton"), QStringLiteral("RightButton")}));
    EventDataArg number =
        EventData::createArgument(QString(), nullptr, nullptr, in->createPrimitive(2.5));
    EXPECT_EQ(number.kind(), EventDataArg::PrimitiveKind);
    EXPECT_EQ(number.value(), QStringLiteral("2.5"));
    EXPECT_EQ(number.primitiveClassId(), DoubleClassId);

    // A global method records the object lookup in front of its name.
    const Method global(in->globalClass(), Argument(), QStringLiteral("tap"), Signature(), 0, true);
    EventData call(&global, QStringLiteral("btn"), ObjectList());
    EXPECT_EQ(call.methodName(), QStringLiteral("[findObject \"btn\"] tap"));
    EXPECT_EQ(call.toDebugString(),
              QStringLiteral("Type method/function: methodName: '[findObject \"btn\"] tap' "
                             "objectId: 'btn' numArguments: 0: [ ]"));
}

TEST(WireForm, ObjectsStreamTheirPropertiesAndRefuseOtherTypes)
{
    Native source;
    source.properties[0] = 10;
    source.properties[1] = -2;
    const QByteArray written = bytesOf(*point3()->newObject(&source));
    EXPECT_EQ(written, hex("0000000c 0050006f0069006e00740033  00000000"
                           "0000000a fffffffe  00000006 666978656400"));
    Native target;
    SharedPtr<Object> copy = point3()->newObject(&target);
    ASSERT_TRUE(readFrom(written, copy.get()));
    EXPECT_EQ(target.properties[0], 10);
    EXPECT_EQ(target.properties[1], -2);

    // Another type is refused before anything is read into the object.
    Native untouched;
    SharedPtr<Object> other =
        (new TestClass("NotPoint3", nullptr, {}, {{QStringLiteral("x"), primitive(IntClassId)}}))
            ->newObject(&untouched);
    readFrom(written, other.get());
    EXPECT_TRUE(untouched.properties.empty());

    // Objects without properties or delegates stream their text.
    SharedPtr<Object> text = Inspector::self()->createPrimitive(
        QList<QString>{QStringLiteral("a"), QStringLiteral("bc")});
    const QByteArray strings = bytesOf(*text);
    EXPECT_EQ(strings, hex("00000008 00630068006100720000000000000002 6100 00000003 626300"));
    SharedPtr<Object> into =
        Inspector::self()->createPrimitive(QList<QString>{QString(), QString()});
    ASSERT_TRUE(readFrom(strings, into.get()));
    EXPECT_EQ(into->toString(), QStringLiteral("[a, bc]"));
    double values[] = {1.5, -2.0};
    SharedPtr<Object> doubles = primitive(DoubleClassId)->wrap(values, ObjectAttribute::Array(2));
    double back[] = {0, 0};
    ASSERT_TRUE(readFrom(bytesOf(*doubles),
                         primitive(DoubleClassId)->wrap(back, ObjectAttribute::Array(2)).get()));
    EXPECT_EQ(back[0], 1.5);
    EXPECT_EQ(back[1], -2.0);
}
