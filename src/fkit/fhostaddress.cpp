#include "fhostaddress.h"

#include "fsocketplatform_p.h"

QString FHostAddress::toString() const
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg((m_address >> 24) & 0xff)
        .arg((m_address >> 16) & 0xff)
        .arg((m_address >> 8) & 0xff)
        .arg(m_address & 0xff);
}

bool FHostAddress::getHostByName(const QString &name, FHostAddress *address)
{
    unsigned resolved = 0;
    if (!FSocketPlatform::resolveIPv4(name.toLocal8Bit().constData(), &resolved))
        return false;
    if (address)
        address->setAddress(resolved);
    return true;
}
