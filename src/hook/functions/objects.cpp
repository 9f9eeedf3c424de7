// Objects by handle: the object tree, members, conversions, creation and the
// metadata the server reads.

#include "hook.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "objecthandles.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

// Null strings travel as "none".
QVariant stringOrNone(const QString &s)
{
    return s.isNull() ? QVariant() : QVariant(s);
}

template <typename T> QVariant valueIfOk(T value, bool ok)
{
    return ok ? QVariant::fromValue(value) : QVariant();
}

constexpr RemoteFunction Functions[] = {
    call("numObjects", exactly(1), served<[](Context &c, int parent) {
             const int n = c.objects().numObjects(parent);
             return n < 0 ? QVariant() : QVariant(n);
         }>),
    call("objectByName", exactly(2), served<[](Context &c, int parent, const QString &name) {
             return c.wire(c.objects().objectByName(parent, name));
         }>),
    call("objectByIndex", exactly(2), served<[](Context &c, int parent, int index) {
             return c.wire(c.objects().objectByIndex(parent, index));
         }>),
    call("objectName", exactly(1),
         served<[](Context &c, int id) { return stringOrNone(c.objects().objectName(id)); }>),
    call("qualifiedObjectName", exactly(1), served<[](Context &c, int id) {
             return stringOrNone(c.objects().qualifiedObjectName(id));
         }>),
    call("objects", exactly(1),
         served<[](Context &c, int parent) { return c.objects().objects(parent); }>),
    call("parent", exactly(1),
         served<[](Context &c, int id) { return c.wire(c.objects().parent(id)); }>),

    call("numClasses", unchecked,
         served<[](Context &) { return Inspector::self()->numClasses(); }>),
    call("allClasses", exactly(0), served<[](Context &c) {
             // From here on classes made later are sent as they come; the
             // first read is what the runner knows, every read what the spy knows.
             const int count = Inspector::self()->numClasses();
             if (!c.d.classesRequested)
                 c.d.runnerClassCount = count;
             c.d.spyClassCount = count;
             c.d.classesRequested = true;
             return ObjectHandles::allClasses();
         }>),
    call("numNamespaces", unchecked,
         served<[](Context &) { return Inspector::self()->numNamespaces(); }>),
    call("allNamespaces", exactly(0),
         served<[](Context &) { return ObjectHandles::allNamespaces(); }>),

    call("invoke", atLeast(2), served<[](Context &c, int target, int method, IdsFrom args) {
             return c.wire(c.objects().invoke(target, method, args.ids));
         }>),
    call("setProperty", exactly(3), served<[](Context &c, int target, int property, int value) {
             return c.objects().setProperty(target, property, value);
         }>),
    call("getProperty", exactly(2), served<[](Context &c, int target, int property) {
             return c.wire(c.objects().getProperty(target, property));
         }>),
    // The constructor index comes first on the wire, the class second.
    call("construct", atLeast(2), served<[](Context &c, int index, int classId, IdsFrom args) {
             return c.wire(c.objects().construct(classId, index, args.ids));
         }>),

    call("objectToDebugString", exactly(1),
         served<[](Context &c, int id) { return c.objects().objectToDebugString(id); }>),
    call("objectToInteger", exactly(1), served<[](Context &c, int id) {
             bool ok = false;
             const int v = c.objects().objectToInteger(id, &ok);
             return valueIfOk(v, ok);
         }>),
    call("objectToInt64", exactly(1), served<[](Context &c, int id) {
             bool ok = false;
             const qlonglong v = c.objects().objectToInt64(id, &ok);
             return valueIfOk(v, ok);
         }>),
    call("objectToString", exactly(1), served<[](Context &c, int id) {
             bool ok = false;
             const QString v = c.objects().objectToString(id, &ok);
             return valueIfOk(v, ok);
         }>),
    call("objectToDouble", exactly(1), served<[](Context &c, int id) {
             bool ok = false;
             const double v = c.objects().objectToDouble(id, &ok);
             return valueIfOk(v, ok);
         }>),
    call("objectToBoolean", exactly(1), served<[](Context &c, int id) {
             bool ok = false;
             const bool v = c.objects().objectToBoolean(id, &ok);
             return valueIfOk(v, ok);
         }>),
    call("objectFromInteger", exactly(2),
         served<[](Context &c, int id, int value) { c.objects().objectFromInteger(id, value); }>),
    call("objectFromInt64", exactly(2), served<[](Context &c, int id, qlonglong value) {
             c.objects().objectFromInt64(id, value);
         }>),
    call("objectFromString", exactly(2), served<[](Context &c, int id, const QString &value) {
             c.objects().objectFromString(id, value);
         }>),
    call("objectFromDouble", exactly(2),
         served<[](Context &c, int id, double value) { c.objects().objectFromDouble(id, value); }>),
    call("objectFromBoolean", exactly(2),
         served<[](Context &c, int id, bool value) { c.objects().objectFromBoolean(id, value); }>),

    call("objectCompare", exactly(2),
         served<[](Context &c, int a, int b) { return c.objects().objectCompare(a, b); }>),
    call("objectIsNull", exactly(1),
         served<[](Context &c, int id) { return c.objects().objectIsNull(id); }>),
    call("objectCastTo", exactly(2), served<[](Context &c, int id, int classId) {
             return c.objects().objectCast(id, classId);
         }>),
    call("objectGlobalBounds", exactly(1), served<[](Context &c, int id) {
             return c.wire(ObjectHandles::objectGlobalBounds(c.objects().objectById(id)));
         }>),
    call("objectReference", exactly(1),
         served<[](Context &c, int id) { return c.wire(c.objects().objectReference(id)); }>),
    call("objectDereference", exactly(1),
         served<[](Context &c, int id) { return c.wire(c.objects().objectDereference(id)); }>),
    call("getObjectAttribute", exactly(1),
         served<[](Context &c, int id) { return c.objects().getObjectAttribute(id); }>),

    call("createPrimitive", exactly(2),
         served<[](Context &c, const QString &type, const QVariant &value) {
             return c.wire(c.objects().createPrimitive(type, value));
         }>),
    call("createNull", exactly(1), served<[](Context &c, const QString &className) {
             return c.wire(c.objects().createNull(className));
         }>),
    call("getVoidObject", exactly(0),
         served<[](Context &c) { return c.wire(c.objects().getVoidObject()); }>),
    send("remoteObjectDestroyed", exactly(1),
         served<[](Context &c, int id) { c.objects().remoteObjectDestroyed(id); }>),

    call("canConvertTo", exactly(4),
         served<[](Context &c, int from, int to, bool sourceIsPointer, bool targetIsPointer) {
             return c.objects().canConvertTo(from, to, sourceIsPointer, targetIsPointer);
         }>),
    call("convertTo", exactly(4),
         served<[](Context &c, int from, int id, int to, bool targetIsPointer) {
             return c.wire(c.objects().convertTo(from, id, to, targetIsPointer));
         }>),
    call("convertToInterface", exactly(3),
         served<[](Context &c, int from, int id, const QString &interfaceName) {
             return c.wire(c.objects().convertToInterface(from, id, interfaceName));
         }>),
};

} // namespace

std::span<const RemoteFunction> objectFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
