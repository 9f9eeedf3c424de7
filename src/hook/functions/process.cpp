// The application as a process: its facts, the hook-up and exit protocol the
// server drives, and the launcher of applications that start others.

#include "autprocess.h"
#include "hook.h"
#include "hookdata_p.h"
#include "launcher.h"
#include "logging.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

// A fact of the process, or none without an AUTProcess.
template <typename F> QVariant fact(Context &c, F read)
{
    return c.d.autProcess ? QVariant::fromValue(read(*c.d.autProcess)) : QVariant();
}

QVariant autInfo(Context &c, const QString &key, const QString &name)
{
    if (!c.d.autProcess)
        return QVariant();
    if (key == QLatin1String("environmentVariable"))
        return c.d.autProcess->environmentVariable(name);
    if (key == QLatin1String("arguments"))
        return c.d.autProcess->arguments();
    if (key == QLatin1String("startTime"))
        return qulonglong(c.d.autProcess->startTime());
    logLine(QStringLiteral("Hook::autInfo: Unknown autInfo type ") + key);
    return QVariant();
}

QVariant launcherInit(Context &, const QVariantMap &settings)
{
    if (Launcher *launcher = Hook::launcher())
        return launcher->init(settings);
    return Launcher::errorResult(QStringLiteral("The application is not a launcher"));
}

constexpr RemoteFunction Functions[] = {
    call("getUsedMemory", unchecked, served<[](Context &c) {
             return fact(c, [](AUTProcess &p) { return qlonglong(p.usedMemory()); });
         }>),
    call("getTotalTime", unchecked, served<[](Context &c) {
             return fact(c, [](AUTProcess &p) { return qlonglong(p.totalTime()); });
         }>),
    call("getPID", unchecked,
         served<[](Context &c) { return fact(c, [](AUTProcess &p) { return p.processId(); }); }>),
    call("getCWD", unchecked, served<[](Context &c) {
             return fact(c, [](AUTProcess &p) { return p.workingDirectory(); });
         }>),
    call("readStdout", unchecked,
         served<[](Context &c) { return fact(c, [](AUTProcess &p) { return p.readStdout(); }); }>),
    call("readStderr", unchecked,
         served<[](Context &c) { return fact(c, [](AUTProcess &p) { return p.readStderr(); }); }>),
    call("getOSName", unchecked,
         served<[](Context &c) { return fact(c, [](AUTProcess &p) { return p.osName(); }); }>),
    // The key, and for "environmentVariable" the variable's name.
    call("autInfo", unchecked, served<&autInfo>),

    send("initDone", unchecked, served<[](Context &c) {
             c.d.initDone = true;
             Q_EMIT c.hook.initDoneReceived();
         }>),
    send("exitDone", unchecked, served<[](Context &c) {
             if (!c.d.attached)
                 c.hook.exitWaitTimeout();
             Q_EMIT c.hook.exitDoneReceived();
         }>),
    send("kill", unchecked, served<[](Context &c) { c.hook.kill(); }>),
    send("close", unchecked, served<[](Context &c) { c.hook.close(); }>),
    send("endRecordAndExit", unchecked, served<[](Context &c) { c.hook.endRecordAndExit(); }>),
    send("requestAnswer", unchecked,
         served<[](Context &c) { c.hook.send(QStringLiteral("answer"), {}); }>),
    // Only a hook in a process started by another answers to another runner.
    send("setRunnerId", exactly(1), served<[](Context &c, int id) {
             if (c.d.subProcess)
                 c.d.runnerId = id;
         }>),
    send("testSuiteVersion", unchecked,
         served<[](Context &c, int version) { c.d.testSuiteVersion = version; }>),
    neither("ping"),

    call("launcherInit", exactly(1), served<&launcherInit>,
         {.answer =
              [](const QString &) {
                  return Launcher::errorResult(QStringLiteral("Wrong number of arguments"));
              }}),
};

} // namespace

std::span<const RemoteFunction> processFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
