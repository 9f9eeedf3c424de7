// Map files are edited by hand and shared between testers: any text must load, and the
// map must write back what it read.
#include "objectmap.h"

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

// Keeps each run short: the walk of symbolicName() is linear in the map.
constexpr int MaxNamesExercised = 32;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace Tolvex;
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));

    check(ObjectMap::unescapeFromSerialize(ObjectMap::escapeForSerialize(text)) == text,
          "escaping does not round-trip");

    QString written;
    {
        ObjectMap first;
        first.loadFromString(text);
        written = first.toString();
    }
    ObjectMap map;
    map.loadFromString(written);
    check(map.toString() == written, "the written map reads back differently");

    const QStringList symbols = map.symbolicNames();
    const QStringList reals = map.realNames();
    for (int i = 0; i < reals.size() && i < MaxNamesExercised; ++i) {
        map.printableName(reals[i]);
        map.objectName(symbols[i]).occurrenceValue();
        const QString symbol = map.symbolicName(reals[i], true);
        map.realName(symbol);
        ObjectMap::symbolFromMultiPropName(reals[i]);
        PropertyValue(symbols[i], PropertyValue::Exact, PropertyValue::String).matches(reals[i]);
        PropertyValue(reals[i], PropertyValue::Exact, PropertyValue::Object).matches(symbols[i]);
    }
    // Whatever minting added is written and read back as well.
    const QString grown = map.toString();
    ObjectMap reread;
    reread.loadFromString(grown);
    check(reread.toString() == grown, "the grown map reads back differently");
    return 0;
}
