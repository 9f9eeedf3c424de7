#pragma once

#include "shared.h"
#include "signature.h"
#include "tolvexexport.h"

namespace Tolvex {

class Object;
class ObjectList;

class TOLVEX_EXPORT Constructor : public Serializable
{
public:
    Constructor() = default;
    Constructor(const Class *type, const Signature &signature, int id);

    const Class *type() const { return m_type; }
    const Signature &signature() const { return m_signature; }
    int numArguments() const { return m_signature.count(); }
    int id() const { return m_id; }

    SharedPtr<Object> construct(const ObjectList &args) const;
    QString toString() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_type = nullptr;
    Signature m_signature;
    int m_id = -1;
};

} // namespace Tolvex
