// Object names come from test scripts and map files: any text must parse to a result
// or a clear error, and what parses must print back to itself.
#include "objectname.h"
#include "objectname_p.h"
#include "propertyvalue.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

bool sameProperties(const QMap<QString, Tolvex::PropertyValue> &a,
                    const QMap<QString, Tolvex::PropertyValue> &b)
{
    if (a != b)
        return false;
    for (auto it = a.cbegin(); it != a.cend(); ++it) {
        if (it->type() != b.value(it.key()).type())
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace Tolvex;
    const QString name =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QString sample = QStringLiteral("sample {text='a*b'} [x] \\ ");

    QString error;
    const auto properties = parseNameByProperties(name, &error);
    if (!error.isEmpty()) {
        check(properties.isEmpty(), "a failed parse returns properties");
    } else {
        const QString printed = qualifiedNameFromProperties(properties);
        QString again;
        const auto reparsed = parseNameByProperties(printed, &again);
        check(again.isEmpty(), "the printed form does not parse");
        check(sameProperties(reparsed, properties), "the printed form parses differently");
        check(qualifiedNameFromProperties(reparsed) == printed, "printing is not canonical");
        check(qualifiedNamesEqual(name, printed), "a name differs from its printed form");
        for (const PropertyValue &value : properties)
            value.matches(sample);
    }

    qsizetype pos = 0;
    QString rawError;
    parseObjectNameAt(name, pos, rawError);
    check(pos >= 0 && pos <= name.size(), "the parser left the string");

    const ObjectName objectName(name);
    objectName.isValid();
    objectName.isEmpty();
    objectName.occurrenceValue();
    check(objectName.isMultiProperty() == error.isEmpty(),
          "isMultiProperty disagrees with the parser");
    check(objectName == ObjectName(name), "a name differs from itself");
    check(!(objectName < ObjectName(name)), "a name is less than itself");
    check(qualifiedNamesEqual(name, name), "a text differs from itself");

    PropertyValue(name, PropertyValue::Wildcard, PropertyValue::String).matches(sample);
    return 0;
}
