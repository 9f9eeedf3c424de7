#include "datetime.h"

#include "intfieldsclass_impl_p.h"
#include "logging.h"
#include "namespace.h"

#include <istream>
#include <ostream>

namespace Tolvex {

template class IntFieldsClass<DateTime>;

int &DateTime::field(int i)
{
    int *fields[] = {&year, &month, &day, &hour, &minute, &second};
    return *fields[i];
}

QString DateTime::toString() const
{
    QString text = QStringLiteral("%1/%2/%3")
                       .arg(year, 4, 10, QLatin1Char('0'))
                       .arg(month, 2, 10, QLatin1Char('0'))
                       .arg(day, 2, 10, QLatin1Char('0'));
    if (hasTime())
        text += QStringLiteral(" %1:%2:%3")
                    .arg(hour, 2, 10, QLatin1Char('0'))
                    .arg(minute, 2, 10, QLatin1Char('0'))
                    .arg(second, 2, 10, QLatin1Char('0'));
    return text;
}

std::ostream &operator<<(std::ostream &out, const DateTime &v)
{
    return out << v.year << '/' << v.month << '/' << v.day << '/' << v.hour << '/' << v.minute
               << '/' << v.second;
}

std::istream &operator>>(std::istream &in, DateTime &v)
{
    char separator = 0;
    in >> v.year >> separator >> v.month >> separator >> v.day >> separator >> v.hour >>
        separator >> v.minute >> separator >> v.second;
    return in;
}

DateTime_class::DateTime_class(Namespace *nameSpace)
    : IntFieldsClass("DateTime", nameSpace,
                     {QStringLiteral("year"), QStringLiteral("month"), QStringLiteral("day"),
                      QStringLiteral("hour"), QStringLiteral("minute"), QStringLiteral("second")},
                     {0, 3, 6})
{}

void DateTime_class::unknownConstructor(int id) const
{
    logLine("Unknown DateTime constructor called:", id);
}

bool DateTime_class::canConvertToInternal(const Class *target, bool, bool) const
{
    return target && target == Inspector::self()->type(CharClassId);
}

SharedPtr<Object> DateTime_class::convertToInternal(SharedPtr<Object> obj, const Class *target,
                                                    bool) const
{
    if (!obj || !obj->data() || target != Inspector::self()->type(CharClassId))
        return nullptr;
    return Inspector::self()->createPrimitive(static_cast<DateTime *>(obj->data())->toString());
}

bool DateTime_class::compare(SharedPtr<Object> a, SharedPtr<Object> b) const
{
    if (!a || !b || a->type() != this || b->type() != this || !a->data() || !b->data())
        return Class::compare(a, b);
    const DateTime &x = *static_cast<const DateTime *>(a->data());
    const DateTime &y = *static_cast<const DateTime *>(b->data());
    const auto dateOnly = [](const DateTime &d) {
        return d.hour == -1 && d.minute == -1 && d.second == -1;
    };
    const auto midnight = [](const DateTime &d) {
        return d.hour == 0 && d.minute == 0 && d.second == 0;
    };
    const bool sameDate = x.year == y.year && x.month == y.month && x.day == y.day;
    // A date without a time stands for the whole day's start.
    if ((dateOnly(x) && (dateOnly(y) || midnight(y))) || (dateOnly(y) && midnight(x)))
        return sameDate;
    return sameDate && x.hour == y.hour && x.minute == y.minute && x.second == y.second;
}

} // namespace Tolvex
