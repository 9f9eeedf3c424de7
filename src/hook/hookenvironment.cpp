#include "hookenvironment_p.h"

#include "fenvironmentvariables.h"
#include "logging.h"

namespace Tolvex::HookEnvironment {

namespace {

constexpr quint16 DefaultPort = 4322;

} // namespace

QString environmentValue(const char *name)
{
    return FEnvironmentVariables(true).getValue(QString::fromLatin1(name));
}

int readRunnerId()
{
    bool ok = false;
    const int id = environmentValue("TOLVEX_RUNNERID").toInt(&ok);
    if (ok && id > 0)
        return id;
    logLine(QStringLiteral(
        "TOLVEX_RUNNERID was not set, set to an empty string or is not a positive number"));
    return 0;
}

int readAppId(int fallback)
{
    const QString value = environmentValue("TOLVEX_APPID");
    if (value.isEmpty()) {
        logLine(QStringLiteral("TOLVEX_APPID was not set or set to a null string"));
        return fallback;
    }
    return value.toInt();
}

QString readServerAddress()
{
    const QString host = environmentValue("TOLVEX_SERVERADDRESS");
    return host.isEmpty() ? QStringLiteral("127.0.0.1") : host;
}

quint16 readServerPort()
{
    const quint16 port = environmentValue("TOLVEX_PORT").toUShort();
    return port == 0 ? DefaultPort : port;
}

} // namespace Tolvex::HookEnvironment
