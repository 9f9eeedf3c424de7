#pragma once

#include "shared.h"
#include "signature.h"
#include "tolvexexport.h"

namespace Tolvex {

class Object;
class ObjectList;

class TOLVEX_EXPORT Event : public Serializable
{
public:
    Event() = default;
    Event(const Class *type, const QString &name, const Signature &signature, int id,
          bool isSendable = false);

    const Class *type() const { return m_type; }
    const QString &name() const { return m_name; }
    const Signature &signature() const { return m_signature; }
    bool isSendable() const { return m_isSendable; }
    int id() const { return m_id; }

    void sendEvent(SharedPtr<Object> self, const ObjectList &args) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_type = nullptr;
    QString m_name;
    Signature m_signature;
    bool m_isSendable = false;
    int m_id = -1;
};

} // namespace Tolvex
