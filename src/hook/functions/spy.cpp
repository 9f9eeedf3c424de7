// The object browser: the spy's own traffic, picking and highlighting.
// The listing, picking and highlighting calls are served with the spy.

#include "hook.h"
#include "hookdata_p.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

constexpr RemoteFunction Functions[] = {
    send("setSpyId", exactly(1), served<[](Context &c, int id) { c.d.spyId = id; }>),
    send("blockGUI", exactly(1), served<[](Context &c, bool blocked) {
             c.d.guiBlocked = blocked;
             Q_EMIT c.hook.guiBlockedChanged(blocked);
         }>),
    send("inspecting", exactly(1), served<[](Context &c, bool on) {
             c.d.inspecting = on;
             Q_EMIT c.hook.inspectingChanged(on);
         }>),
    send("startSpying", exactly(1)),
    send("stopSpying", exactly(1)),
    send("spyGUI", between(1, 2)),
    call("spyObjects", exactly(1)),
    call("fetchPropertyValuesAsString", unchecked),
    call("fetchObjectComponents", unchecked),
    call("objectHasComponents", unchecked),
    call("supportsHighlight", exactly(1)),
    call("highlightObject", between(1, 2)),
    send("clearHighlight", unchecked),
};

} // namespace

std::span<const RemoteFunction> spyFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
