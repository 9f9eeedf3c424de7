#pragma once

#include <QMetaType>
#include <QString>
#include <QtGlobal>

namespace Tolvex {

// What the two ends of a channel tell each other in the handshake.
struct ClientData
{
    qint32 appId = 0;
    qint32 runnerId = 0;
    qint32 clientKind = 0;
    QString clientName;

    friend bool operator==(const ClientData &, const ClientData &) = default;
};

// Host and port of a server, as given on a command line or in the environment.
struct SocketAddress
{
    QString host;
    quint16 port = 0;
};

} // namespace Tolvex

Q_DECLARE_METATYPE(Tolvex::ClientData)
