#include "signature.h"

#include "streamlimits_p.h"

namespace Tolvex {

Signature::Signature(const Argument &a1)
{
    append(a1);
}

Signature::Signature(const Argument &a1, const Argument &a2)
{
    append(a1);
    append(a2);
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
                     const Argument &a5, const Argument &a6, const Argument &a7, const Argument &a8,
                     const Argument &a9, const Argument &a10, const Argument &a11,
                     const Argument &a12, const Argument &a13, const Argument &a14,
                     const Argument &a15, const Argument &a16)
{
    for (const Argument *a :
         {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9, &a10, &a11, &a12, &a13, &a14, &a15, &a16})
        if (a->isValid())
            append(*a);
}

Signature::Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
                     const Argument &a5, const Argument &a6, const Argument &a7, const Argument &a8,
                     const Argument &a9, const Argument &a10, const Argument &a11,
                     const Argument &a12, const Argument &a13, const Argument &a14,
                     const Argument &a15, const Argument &a16, const Argument &a17,
                     const Argument &a18, const Argument &a19, const Argument &a20,
                     const Argument &a21, const Argument &a22, const Argument &a23,
                     const Argument &a24, const Argument &a25, const Argument &a26,
                     const Argument &a27, const Argument &a28, const Argument &a29,
                     const Argument &a30, const Argument &a31, const Argument &a32)
{
    for (const Argument *a : {&a1,  &a2,  &a3,  &a4,  &a5,  &a6,  &a7,  &a8,  &a9,  &a10, &a11,
                              &a12, &a13, &a14, &a15, &a16, &a17, &a18, &a19, &a20, &a21, &a22,
                              &a23, &a24, &a25, &a26, &a27, &a28, &a29, &a30, &a31, &a32})
        if (a->isValid())
            append(*a);
}

QString Signature::toString() const
{
    QString text = QStringLiteral("(");
    bool first = true;
    for (const Argument &a : *this) {
        if (!first)
            text += QLatin1String(", ");
        text += a.toString();
        first = false;
    }
    return text + QLatin1Char(')');
}

void Signature::writeObject(QDataStream &stream) const
{
    stream << qint32(count());
    for (const Argument &a : *this)
        a.writeObject(stream);
}

void Signature::readObject(QDataStream &stream)
{
    const qint32 n = readInt(stream);
    for (qint32 i = 0; i < n && streamCanContinue(stream); ++i) {
        Argument a;
        a.readObject(stream);
        append(a);
    }
}

} // namespace Tolvex
