#pragma once

#include "serializable.h"
#include "tolvexexport.h"

namespace Tolvex {

// How a value is held: by value, by reference, through a pointer, as an array.
class TOLVEX_EXPORT ObjectAttribute : public Serializable
{
public:
    enum Flag : unsigned int {
        ReferenceFlag = 1,
        PointerFlag = 2,
        Const1Flag = 4,
        Const2Flag = 8,
        ArrayFlag = 16,
    };

    ObjectAttribute() = default;
    ObjectAttribute(unsigned int flags, int arrayLength)
        : m_flags(flags), m_arrayLength(arrayLength)
    {}

    static ObjectAttribute Value() { return ObjectAttribute(0, 0); }
    static ObjectAttribute Reference() { return ObjectAttribute(ReferenceFlag, 0); }
    static ObjectAttribute Pointer() { return ObjectAttribute(PointerFlag, 0); }
    static ObjectAttribute Array(int n) { return ObjectAttribute(ArrayFlag, n); }

    bool isReference() const { return m_flags & ReferenceFlag; }
    bool isPointer() const { return m_flags & PointerFlag; }
    bool isArray() const { return m_flags & ArrayFlag; }
    bool isValue() const { return !(m_flags & (ReferenceFlag | PointerFlag)); }
    bool hasConst() const { return m_flags & (Const1Flag | Const2Flag); }
    bool isConst1() const { return m_flags & Const1Flag; }
    bool isConst2() const { return m_flags & Const2Flag; }
    unsigned int getFlags() const { return m_flags; }
    int arrayLength() const { return m_arrayLength; }

    bool operator==(const ObjectAttribute &o) const
    {
        return m_flags == o.m_flags && m_arrayLength == o.m_arrayLength;
    }
    bool operator!=(const ObjectAttribute &o) const { return !(*this == o); }

    // Value and reference are interchangeable for a caller; pointers and
    // arrays only match each other.
    bool tolerantMatch(const ObjectAttribute &other) const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;

private:
    unsigned int m_flags = 0;
    int m_arrayLength = 0;
};

} // namespace Tolvex
