#pragma once

#include "argument.h"
#include "signature.h"
#include "tolvexexport.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <span>

namespace Tolvex {

class Class;
class Constructor;
class Method;

// One constructor of a class: its parameters are `argumentCount` entries of
// the argument list table, starting at `firstArgument`.
struct ConstructorDescriptor
{
    std::int32_t firstArgument;
    std::int32_t argumentCount;
};

// One method of a class.
struct MethodDescriptor
{
    // Index in the ArgumentDescriptor table; negative for a method that
    // returns nothing.
    std::int32_t returnArgument;
    // Offset of the method's name in the string table.
    std::int32_t name;
    std::int32_t argumentCount;
    // Start of the parameters in the argument list table.
    std::int32_t firstArgument;
    // Only the low byte counts: a non-zero byte makes the method static.
    std::uint32_t flags;
};

// One parameter or return type.
struct ArgumentDescriptor
{
    enum TypeKind : std::uint32_t {
        // `type` is a class id for Inspector::type(int).
        TypeById = 0,
        // `type` is the offset of a type name for Inspector::type(QString).
        TypeByName = 1,
        // `type` is the offset of a name that the owning Class completes with
        // Class::realType before it is looked up.
        TypeByClassName = 2,
    };

    // Offset of the parameter's name in the string table; negative: no name.
    std::int32_t name;
    // TypeKind in the low byte; the other bytes are free for the generator.
    std::uint32_t kind;
    std::int32_t type;
    // ObjectAttribute flags and array length, handed to Argument unchanged.
    std::uint32_t attributeFlags;
    std::int32_t arrayLength;
    // Offset of the enumeration's name in the string table; negative: none.
    // A name without "::" is looked for in the owning class (and its
    // superclasses) first, then through Inspector::enumerator.
    std::int32_t enumName;
};

// Builds Constructor and Method descriptors from the static tables a
// toolkit's class generator emits, so that a Class subclass can forward its
// createConstructor/createMethod to one of these.
//
// The tables are views, never copied; they must outlive the creator (static
// data in practice):
//  - strings: one block of NUL-terminated names, addressed by byte offset.
//    A string must end inside the block.
//  - constructors, methods: one descriptor per member of the owning class
//    itself, in the order of the class's own member table.
//  - argumentList: the parameter lists. A descriptor's firstArgument and
//    argumentCount select a run of this table; each entry is an index in
//    the arguments table, so that identical parameters are described once.
//  - arguments: the ArgumentDescriptors.
//
// Every index and offset is checked against its table. A bad one, an
// unknown type kind or a kind 2 name without an owning class makes the whole
// member fail: the result is null and the reason is a warning of "tolvex.wrapper". A class
// id or type name that the Inspector does not know is no table fault: the
// parameter gets the "undefined" class, as Argument does for a null type,
// and a warning says which one. An enumeration that cannot be found leaves
// the parameter without an enumerator, also with a warning.
//
// Ownership: the results are new objects for the caller. A Class's create
// operations hand them to its member tables, which delete them with the
// class.
class TOLVEX_EXPORT WrapperCreator
{
public:
    WrapperCreator(const Class *owner, std::span<const char> strings,
                   std::span<const ConstructorDescriptor> constructors,
                   std::span<const MethodDescriptor> methods,
                   std::span<const std::int32_t> argumentList,
                   std::span<const ArgumentDescriptor> arguments);

    // index: the constructor's place in the class's table, which is also
    // its id.
    Constructor *createConstructor(int index) const;
    // id: the global method id as Class::createMethod receives it; the
    // descriptor is the one at id minus the owning class's method offset.
    Method *createMethod(int id) const;

private:
    std::optional<Argument> argumentFromDescriptor(int index) const;
    std::optional<Signature> signatureFromData(int first, int count) const;
    // The string at `offset`, or nothing if it does not start and end
    // inside the string table.
    std::optional<QString> stringAt(std::int64_t offset) const;
    const Class *typeOf(const ArgumentDescriptor &descriptor, int index, bool *ok) const;
    void warn(const QString &text) const;

    const Class *m_owner;
    std::span<const char> m_strings;
    std::span<const ConstructorDescriptor> m_constructors;
    std::span<const MethodDescriptor> m_methods;
    std::span<const std::int32_t> m_argumentList;
    std::span<const ArgumentDescriptor> m_arguments;
};

} // namespace Tolvex
