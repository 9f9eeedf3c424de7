// The toolkit-neutral tree of the user interface; served with the snapshot.

#include "hook.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

// One byte in front says the dump went well; on failure one byte and the
// reason follow what there is of it.
QByteArray dumpObject(Context &c, const ArgumentList &args)
{
    QString error;
    const QByteArray dump = c.hook.dumpObject(args, &error);
    if (error.isEmpty())
        return QByteArray(1, char(0xC5)) + dump;
    return dump + char(0xC4) + error.toUtf8();
}

constexpr RemoteFunction Functions[] = {
    call("dumpObject", unchecked, served<&dumpObject>),
};

} // namespace

std::span<const RemoteFunction> snapshotFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
