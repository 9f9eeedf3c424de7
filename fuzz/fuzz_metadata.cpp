// Reads every metadata form of the object model from untrusted bytes: the
// first byte picks the form, the rest is the stream. Nothing may crash,
// leak, or allocate more than the input can justify.

#include "argument.h"
#include "arrayclass.h"
#include "class.h"
#include "classdescription.h"
#include "constructor.h"
#include "datetime.h"
#include "enum.h"
#include "event.h"
#include "eventdata.h"
#include "inspector.h"
#include "method.h"
#include "namespace.h"
#include "object.h"
#include "objectattribute.h"
#include "property.h"
#include "screenrectangle.h"
#include "signature.h"

#include <QByteArray>
#include <QDataStream>

#include <cstddef>
#include <cstdint>

using namespace Tolvex;

namespace {

template <typename T> void readAndUse(QDataStream &stream)
{
    T value;
    value.readObject(stream);
    if constexpr (requires { value.toString(); })
        (void)value.toString();
}

void readInto(QDataStream &stream, const SharedPtr<Object> &obj)
{
    obj->readObject(stream);
    (void)obj->toString();
    (void)obj->toDebugString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    Inspector *in = Inspector::self();
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    QDataStream stream(bytes);
    stream.setVersion(3);
    switch (data[0] % 18) {
    case 0:
        readAndUse<ObjectAttribute>(stream);
        break;
    case 1:
        readAndUse<Argument>(stream);
        break;
    case 2:
        readAndUse<Signature>(stream);
        break;
    case 3:
        readAndUse<Method>(stream);
        break;
    case 4:
        readAndUse<Constructor>(stream);
        break;
    case 5:
        readAndUse<Property>(stream);
        break;
    case 6:
        readAndUse<Event>(stream);
        break;
    case 7: {
        Enum e;
        e.readObject(stream);
        for (int i = 0; i < e.count(); ++i)
            (void)e.key(i);
        (void)e.detectIsMask();
        break;
    }
    case 8: {
        Namespace ns(Namespace::Detached, QString());
        ns.readObject(stream);
        (void)ns.fullyQualifiedName();
        break;
    }
    case 9: {
        ClassDescription c;
        c.readObject(stream);
        for (const auto &m : c.methods)
            (void)m->toString();
        break;
    }
    case 10:
        readAndUse<EventDataArg>(stream);
        break;
    case 11: {
        EventData e;
        e.readObject(stream);
        (void)e.toDebugString();
        break;
    }
    case 12:
        readInto(stream,
                 in->createPrimitive(QList<QString>{QStringLiteral("a"), QStringLiteral("b")}));
        break;
    case 13:
        readInto(stream, in->createPrimitive("text"));
        break;
    case 14: {
        double values[3] = {0, 0, 0};
        readInto(stream, in->type(DoubleClassId)->wrap(values, ObjectAttribute::Array(3)));
        break;
    }
    // Objects whose stream form is made of their properties.
    case 15:
        readInto(stream, wrapDateTime(DateTime(2024, 1, 5)));
        break;
    case 16:
        readInto(stream, wrapScreenRectangle(ScreenRectangle()));
        break;
    case 17:
        readInto(stream, ArrayClass::wrapObject({in->createPrimitive(1)}));
        break;
    }
    return 0;
}
