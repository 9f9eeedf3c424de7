#include "appidhandshaker.h"

namespace Tolvex {

AppIdHandshaker::AppIdHandshaker(QObject *parent) : IPCHandshaker(parent, HandshakeTimeoutMs) {}

FunctionCallResult<ClientData> AppIdHandshaker::acceptClient(const ClientData &client)
{
    if (!m_refusal.isEmpty())
        return FunctionCallResult<ClientData>::failure(m_refusal);
    if (m_admittedAppId != 0 && client.appId != m_admittedAppId)
        return FunctionCallResult<ClientData>::failure(
            QStringLiteral("This server admits only the application it started"));
    ClientData accepted = client;
    accepted.appId = m_nextAppId++;
    // Address 0xFFFFFFFF is the broadcast address; wrap before reaching it.
    if (m_nextAppId == -1)
        m_nextAppId = 2;
    return FunctionCallResult<ClientData>(accepted);
}

} // namespace Tolvex
