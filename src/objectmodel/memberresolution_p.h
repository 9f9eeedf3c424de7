#pragma once

namespace Tolvex {

class ObjectList;
class Signature;

// Matches arguments against a signature in order. A parameter takes an
// argument that is-a its class (class void takes any object); with convert
// set, an argument whose class converts is replaced by the conversion, and a
// null conversion is left out, so the list comes out shorter.
bool matchArguments(const Signature &signature, const ObjectList &args, ObjectList *out,
                    bool convert);

} // namespace Tolvex

#include <QString>

namespace Tolvex {

class Argument;

// The type part of Method::toString and Property::toString.
QString returnTypeText(const Argument &type, bool withEnumerator);

} // namespace Tolvex
