#pragma once

#include "argument.h"
#include "flist.h"
#include "tolvexexport.h"

namespace Tolvex {

class TOLVEX_EXPORT Signature : public FList<Argument>, public Serializable
{
public:
    Signature() = default;
    explicit Signature(const Argument &a1);
    Signature(const Argument &a1, const Argument &a2);
    // Unused trailing parameters are default Arguments and are left out.
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4 = {},
              const Argument &a5 = {}, const Argument &a6 = {}, const Argument &a7 = {},
              const Argument &a8 = {}, const Argument &a9 = {}, const Argument &a10 = {},
              const Argument &a11 = {}, const Argument &a12 = {}, const Argument &a13 = {},
              const Argument &a14 = {}, const Argument &a15 = {}, const Argument &a16 = {});

    // The long form for wrappers that describe up to 32 parameters.
    Signature(const Argument &a1, const Argument &a2, const Argument &a3, const Argument &a4,
              const Argument &a5, const Argument &a6, const Argument &a7, const Argument &a8,
              const Argument &a9, const Argument &a10, const Argument &a11, const Argument &a12,
              const Argument &a13, const Argument &a14, const Argument &a15, const Argument &a16,
              const Argument &a17, const Argument &a18 = {}, const Argument &a19 = {},
              const Argument &a20 = {}, const Argument &a21 = {}, const Argument &a22 = {},
              const Argument &a23 = {}, const Argument &a24 = {}, const Argument &a25 = {},
              const Argument &a26 = {}, const Argument &a27 = {}, const Argument &a28 = {},
              const Argument &a29 = {}, const Argument &a30 = {}, const Argument &a31 = {},
              const Argument &a32 = {});

    QString toString() const;

    void writeObject(QDataStream &stream) const override;
    void readObject(QDataStream &stream) override;
};

} // namespace Tolvex
