// Finding objects by name, with and without readiness, and the names
// themselves: the object map, naming schemes and the script's last error.

#include "hook.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "objecthandles.h"
#include "remotefunction.h"

#include <QVariantMap>

namespace Tolvex::Remote {

namespace {

constexpr RemoteFunction Functions[] = {
    call("objectFind", exactly(1),
         served<[](Context &c, const QString &name) { return c.wire(c.hook.objectFind(name)); }>),
    call("objectReady", exactly(1), served<[](Context &c, const QString &name) {
             return c.wire(c.hook.getObjectIfReady(name));
         }>),
    call("objectReady2", exactly(1), served<[](Context &c, int id) {
             return c.wire(c.hook.getObjectIfReady(c.objects().objectById(id)));
         }>,
         {.wordedAs = "objectReady"}),
    call("getObjectItemIfReady", exactly(2),
         served<[](Context &c, const QString &name, const QString &item) {
             return c.wire(c.hook.getObjectItemIfReady(name, item));
         }>),
    call("getObjectItemIfReady2", exactly(2), served<[](Context &c, int id, const QString &item) {
             return c.wire(c.hook.getObjectItemIfReady(c.objects().objectById(id), item));
         }>),
    call("getObjectItemByRowColIfReady", exactly(3),
         served<[](Context &c, const QString &name, int row, int column) {
             return c.wire(c.hook.getObjectItemIfReady(name, row, column));
         }>),
    call("getObjectItemByRowColIfReady2", exactly(3),
         served<[](Context &c, int id, int row, int column) {
             return c.wire(c.hook.getObjectItemIfReady(c.objects().objectById(id), row, column));
         }>),

    send("setObjectMap", unchecked,
         served<[](Context &c, const QString &text) { c.hook.setObjectMap(text); }>),
    call("addToObjectMap", exactly(2),
         served<[](Context &c, const QString &realName, const QString &symbolicName) {
             c.hook.addToObjectMap(realName, symbolicName);
         }>),
    send("namingScheme", exactly(1),
         served<[](Context &c, int scheme) { c.hook.setNamingScheme(scheme); }>),
    // The scheme comes as a string holding a number.
    call("convertName", unchecked,
         served<[](Context &c, const QString &name, const QString &scheme) {
             return c.hook.convertName(name, scheme.toInt());
         }>),
    send("objectDescriptorData", unchecked,
         served<[](Context &c, const QByteArray &data) { c.hook.addObjectDescriptorData(data); }>),

    call("getLastError", exactly(0),
         served<[](Context &) { return Inspector::self()->lastError(); }>),
    call("setError", exactly(1),
         served<[](Context &, const QString &text) { Inspector::self()->setError(text); }>),
    call("getUnmatchedProperties", exactly(0), served<[](Context &) {
             QVariantMap unmatched;
             const QMap<QString, QList<QString>> map = Inspector::self()->unmatchedProperties();
             for (auto it = map.cbegin(); it != map.cend(); ++it)
                 unmatched.insert(it.key(), QStringList(it.value()));
             return unmatched;
         }>),
};

} // namespace

std::span<const RemoteFunction> lookupFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
