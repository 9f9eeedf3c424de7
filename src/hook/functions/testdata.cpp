// Files a test script puts on the AUT's machine and fetches back.

#include "hook.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

constexpr RemoteFunction Functions[] = {
    call("testDataPut", exactly(3),
         served<[](Context &c, const QString &path, const QString &data, bool append) {
             const QString written = c.d.testData.put(path, data, append);
             return written.isEmpty() ? QVariant() : QVariant(written);
         }>),
    call("testDataGet", exactly(1), served<[](Context &c, const QString &path) {
             const auto [bytes, error] = c.d.testData.get(path);
             if (error.isEmpty())
                 return QVariant(bytes);
             Inspector::self()->setError(error);
             return QVariant();
         }>),
    call("testDataRemove", exactly(1),
         served<[](Context &c, const QString &path) { c.d.testData.remove(path); }>),
    call("testDataExists", exactly(1),
         served<[](Context &c, const QString &path) { return c.d.testData.exists(path); }>),
    send("testDataCleanup", unchecked, served<[](Context &c) { c.hook.cleanupTestData(); }>),
};

} // namespace

std::span<const RemoteFunction> testDataFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
