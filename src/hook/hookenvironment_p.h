#pragma once

#include <QString>
#include <QtGlobal>

namespace Tolvex::HookEnvironment {

// How the agent reads its environment. A bad value falls back, and where the
// user is to know, says so on the log stream (logLine).

QString environmentValue(const char *name);

// TOLVEX_RUNNERID; 0 stands for "no runner": the value must be above 0.
int readRunnerId();
// TOLVEX_APPID, or the fallback when unset or empty.
int readAppId(int fallback);
// TOLVEX_SERVERADDRESS, "127.0.0.1" when unset or empty.
QString readServerAddress();
// TOLVEX_PORT; anything that is not a port above 0 gives 4322.
quint16 readServerPort();

} // namespace Tolvex::HookEnvironment
