// The toolkit-neutral tree of the user interface; served with the snapshot.

#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

constexpr RemoteFunction Functions[] = {
    call("dumpObject", unchecked),
};

} // namespace

std::span<const RemoteFunction> snapshotFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
