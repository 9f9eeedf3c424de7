#pragma once

#include "delegate.h"
#include "tolvexexport.h"

#include <QMap>
#include <QString>

#include <utility>
#include <vector>

namespace Tolvex {

// Process-wide registry of delegates, keyed by (type, class name). It stores
// only names, so a delegate may be registered before its class exists.
class TOLVEX_EXPORT DelegateFactory
{
public:
    static DelegateFactory *self();

    void addDelegate(Delegate *delegate);
    // Forgets the delegate if it is the one registered under its key.
    void removeDelegate(const Delegate *delegate);
    const Delegate *delegate(const QString &className, Delegate::Type type) const;
    // The nearest delegate up the class chain.
    const Delegate *delegate(const Class *c, Delegate::Type type) const;
    std::vector<const Delegate *> delegatesForType(Delegate::Type type) const;

private:
    DelegateFactory() = default;
    QMap<std::pair<int, QString>, Delegate *> m_delegates;
};

} // namespace Tolvex
