#pragma once

#include "ipchandshaker.h"

namespace Tolvex {

// The server's admission policy: every client with a compatible protocol is
// let in and gets the next free address, starting behind the server's own.
class AppIdHandshaker : public IPCHandshaker
{
    Q_OBJECT
public:
    explicit AppIdHandshaker(QObject *parent = nullptr);

    FunctionCallResult<ClientData> acceptClient(const ClientData &client) override;

    // With a text set, every client is refused with it.
    void setRefusal(const QString &text) { m_refusal = text; }
    // With an id set, only a client that announces it is let in: the
    // application this server started, not another one that happens to
    // connect to the port.
    void setAdmittedAppId(qint32 appId) { m_admittedAppId = appId; }

private:
    qint32 m_nextAppId = 2;
    QString m_refusal;
    qint32 m_admittedAppId = 0;
};

} // namespace Tolvex
