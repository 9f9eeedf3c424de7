#pragma once

namespace Tolvex {

// The ids of the classes the Inspector creates first, in this order: the
// nine primitive classes and the global class. They are fixed, and other
// parts of the system (and the peers on the wire) use them as numbers.
enum PrimitiveClassId : int {
    ShortClassId = 0,
    IntClassId = 1,
    LongClassId = 2,
    BoolClassId = 3,
    CharClassId = 4,
    DoubleClassId = 5,
    Int64ClassId = 6,
    // A parameter of class void accepts any object unconverted.
    VoidClassId = 7,
    UndefinedClassId = 8,
    GlobalClassId = 9,
};

} // namespace Tolvex
