// The object browser: the spy's own traffic, picking and highlighting.
// The listing, picking and highlighting calls are served with the spy.

#include "hook.h"
#include "hookdata_p.h"
#include "remotefunction.h"
#include "serializable.h"
#include "wrapper.h"

#include <QDataStream>
#include <QIODevice>

namespace Tolvex::Remote {

namespace {

// The serialised rows: name, class, a true and whether it can be
// highlighted, each row after the other with no count in front.
QByteArray serialized(const QList<SpyObject> &rows)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(MetadataStreamVersion);
    for (const SpyObject &row : rows)
        out << row.name << row.className << row.shown << row.highlightable;
    return bytes;
}

// The object id in the first entry of a list of strings.
int firstId(const QVariant &list)
{
    return list.toStringList().value(0).toInt();
}

// A string names the object; anything else is its id. Without a time-out
// the highlight stays.
QString highlightObject(Context &c, const ArgumentList &args)
{
    const QVariant target = args.value(0);
    const int timeout = args.count() >= 2 ? args.value(1).toInt() : -1;
    if (target.userType() == QMetaType::QString)
        return c.hook.highlightObject(target.toString(), timeout);
    return c.hook.highlightObject(c.objects().objectById(target.toInt()), timeout);
}

constexpr RemoteFunction Functions[] = {
    send("setSpyId", exactly(1), served<[](Context &c, int id) { c.d.spyId = id; }>),
    send("blockGUI", exactly(1),
         served<[](Context &c, bool blocked) { c.hook.blockGUI(blocked); }>),
    send("inspecting", exactly(1), served<[](Context &c, bool on) { c.hook.setInspecting(on); }>),
    send("startSpying", exactly(1), served<[](Context &c, int id) { c.hook.startSpying(id); }>),
    send("stopSpying", exactly(1), served<[](Context &c, int id) { c.hook.stopSpying(id); }>),
    send("spyGUI", between(1, 2), served<[](Context &c, bool on) { c.hook.spyGUI(on); }>),
    call("spyObjects", exactly(1), served<[](Context &c, const QString &name) {
             QList<SpyObject> rows;
             return c.hook.spyObjects(name, &rows) ? QVariant(serialized(rows)) : QVariant();
         }>),
    call("fetchPropertyValuesAsString", unchecked, served<[](Context &c, const QStringList &pairs) {
             return c.hook.fetchPropertyValuesAsString(pairs);
         }>),
    call("fetchObjectComponents", unchecked, served<[](Context &c, const QVariant &list) {
             return c.hook.fetchObjectComponents(firstId(list));
         }>),
    call("objectHasComponents", unchecked, served<[](Context &c, const QVariant &list) {
             return c.hook.objectHasComponents(firstId(list));
         }>),
    call("supportsHighlight", exactly(1),
         served<[](Context &c, int id) { return c.hook.supportsHighlight(id); }>),
    call("highlightObject", between(1, 2), served<&highlightObject>),
    send("clearHighlight", unchecked, served<[](Context &c) { c.hook.clearHighlight(); }>),
};

} // namespace

std::span<const RemoteFunction> spyFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
