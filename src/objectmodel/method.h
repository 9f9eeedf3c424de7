#pragma once

#include "argument.h"
#include "flist.h"
#include "shared.h"
#include "signature.h"
#include "tolvexexport.h"

namespace Tolvex {

class Object;
class ObjectList;

class TOLVEX_EXPORT Method : public Serializable
{
public:
    Method() = default;
    Method(const Class *type, const Argument &returnType, const QString &name,
           const Signature &signature, int id, bool isStatic = false);

    const Class *type() const { return m_type; }
    const Argument &returnType() const { return m_returnType; }
    const QString &name() const { return m_name; }
    const Signature &signature() const { return m_signature; }
    int numArguments() const { return m_signature.count(); }
    bool isStatic() const { return m_isStatic; }
    int id() const { return m_id; }
    void setId(int id) { m_id = id; }
    // For methods made before their class, such as global functions.
    void setDeclaringClass(const Class *type) { m_type = type; }
    void deprecate(const QString &message) { m_deprecationMessage = message; }
    bool isDeprecated() const { return !m_deprecationMessage.isEmpty(); }
    QString deprecationMessage() const { return m_deprecationMessage; }

    SharedPtr<Object> invoke(SharedPtr<Object> self, const ObjectList &args) const;
    QString toString() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    const Class *m_type = nullptr;
    Argument m_returnType;
    QString m_name;
    Signature m_signature;
    bool m_isStatic = false;
    int m_id = -1;
    QString m_deprecationMessage;
};

// The overloads of one name, most derived first.
class TOLVEX_EXPORT MethodList : public FList<const Method *>
{
public:
    // Resolution with conversion: the first overload whose every parameter
    // either is-a or converts wins; the order of the list decides.
    SharedPtr<Object> invoke(SharedPtr<Object> self, const ObjectList &args,
                             bool *found = nullptr) const;
    // Exact matching only; true once an overload was found, even when the
    // invocation itself was refused.
    bool invoke(SharedPtr<Object> self, const ObjectList &args, SharedPtr<Object> *result) const;
    const Method *methodForArguments(const ObjectList &args) const;
};

TOLVEX_EXPORT bool verifyMethodInvocation(SharedPtr<Object> self, const Method *method);
TOLVEX_EXPORT bool verifyMethodArgumentCount(const QString &className, const Method *method,
                                             const ObjectList &args);

} // namespace Tolvex
