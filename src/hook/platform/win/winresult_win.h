#pragma once

// What the Win32 layer reports: an error text in UTF-8, empty on success,
// and beside it a value where an operation yields one. The Qt adapter turns
// both into FunctionCallResult.

#include <string>

namespace Tolvex::Win {

using Error = std::string;

template <typename T> struct Result
{
    T value{};
    Error error;

    bool ok() const { return error.empty(); }
};

} // namespace Tolvex::Win
