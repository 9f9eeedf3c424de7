#pragma once

#include "intfieldsclass.h"
#include "tolvexexport.h"

#include <iosfwd>

namespace Tolvex {

// A date with an optional time; a field of -1 is unset.
struct TOLVEX_EXPORT DateTime
{
    static constexpr int FieldCount = 6;

    DateTime() = default;
    DateTime(int y, int mo, int d) : year(y), month(mo), day(d) {}
    DateTime(int y, int mo, int d, int h, int mi, int s)
        : year(y), month(mo), day(d), hour(h), minute(mi), second(s)
    {}

    int &field(int i);
    bool hasTime() const { return hour >= 0 && minute >= 0 && second >= 0; }
    QString toString() const;

    int year = -1;
    int month = -1;
    int day = -1;
    int hour = -1;
    int minute = -1;
    int second = -1;
};

TOLVEX_EXPORT std::ostream &operator<<(std::ostream &out, const DateTime &value);
TOLVEX_EXPORT std::istream &operator>>(std::istream &in, DateTime &value);

class TOLVEX_EXPORT DateTime_class : public IntFieldsClass<DateTime>
{
public:
    explicit DateTime_class(Namespace *nameSpace);

    bool compare(SharedPtr<Object> a, SharedPtr<Object> b) const override;

protected:
    void unknownConstructor(int id) const override;

private:
    bool canConvertToInternal(const Class *target, bool sourceIsPointer,
                              bool targetIsPointer) const override;
    SharedPtr<Object> convertToInternal(SharedPtr<Object> obj, const Class *target,
                                        bool targetIsPointer) const override;
};

// The class, wrap and unwrap of this value type: the shared forms of
// IntFieldsClass under the names scripts and wrappers know.
extern template class IntFieldsClass<DateTime>;

inline constexpr auto &objectModelDateTimeClass = DateTime_class::localClass;
inline constexpr auto &wrapDateTime = DateTime_class::wrapLocal;
inline constexpr auto &unwrapDateTime = DateTime_class::unwrapLocal;

} // namespace Tolvex
