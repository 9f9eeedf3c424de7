#include "delegatefactory.h"

#include "class.h"

namespace Tolvex {

DelegateFactory *DelegateFactory::self()
{
    // Never torn down: delegates are static objects of wrappers whose
    // destruction order against ours is unknown.
    static DelegateFactory *factory = new DelegateFactory;
    return factory;
}

void DelegateFactory::addDelegate(Delegate *delegate)
{
    m_delegates.insert({int(delegate->type()), delegate->className()}, delegate);
}

void DelegateFactory::removeDelegate(const Delegate *delegate)
{
    const std::pair<int, QString> key{int(delegate->type()), delegate->className()};
    if (m_delegates.value(key, nullptr) == delegate)
        m_delegates.remove(key);
}

const Delegate *DelegateFactory::delegate(const QString &className, Delegate::Type type) const
{
    return m_delegates.value({int(type), className}, nullptr);
}

const Delegate *DelegateFactory::delegate(const Class *c, Delegate::Type type) const
{
    if (m_delegates.isEmpty())
        return nullptr;
    for (; c; c = c->super())
        if (const Delegate *d = delegate(c->className(), type))
            return d;
    return nullptr;
}

std::vector<const Delegate *> DelegateFactory::delegatesForType(Delegate::Type type) const
{
    std::vector<const Delegate *> result;
    for (auto it = m_delegates.cbegin(); it != m_delegates.cend(); ++it)
        if (it.key().first == int(type))
            result.push_back(it.value());
    return result;
}

} // namespace Tolvex
