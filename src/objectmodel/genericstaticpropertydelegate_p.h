#pragma once

#include "delegate.h"
#include "fvector.h"

#include <QList>

namespace Tolvex {

// The property delegate made from the six-field strings of
// Inspector::addPropertyDelegate: type, name, read method, write method,
// static, stored.
class GenericStaticPropertyDelegate : public StaticPropertyDelegate
{
public:
    GenericStaticPropertyDelegate(const QString &className, const QList<QString> &descriptions);
    ~GenericStaticPropertyDelegate() override;

    int numProperties() const override { return m_declarations.count(); }
    const PropertyDeclaration *property(int index) const override;

private:
    FVector<PropertyDeclaration *> m_declarations;
};

} // namespace Tolvex
