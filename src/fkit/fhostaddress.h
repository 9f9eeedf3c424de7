#pragma once

#include <QString>

// One IPv4 address, held in host byte order.
class FHostAddress
{
public:
    FHostAddress() = default;
    explicit FHostAddress(unsigned address) : m_address(address) {}

    void setAddress(unsigned address) { m_address = address; }
    unsigned ip4Addr() const { return m_address; }

    // Dotted quad, most significant byte first.
    QString toString() const;

    // Resolves a name to its first IPv4 address. Only an AF_INET answer counts.
    static bool getHostByName(const QString &name, FHostAddress *address);

    friend bool operator==(const FHostAddress &, const FHostAddress &) = default;

private:
    unsigned m_address = 0;
};
