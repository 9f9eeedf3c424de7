#pragma once

// The system's error texts, and the conversions between the wide strings of
// Win32 and the UTF-8 and Latin-1 texts of this layer.

#include <windows.h>

#include <string>
#include <string_view>

namespace Tolvex::Win {

// FormatMessageW's text for a code, in the user's default language, as the
// system words it; "<Failed formatting error message>" when it has none.
std::string errorStringFromCode(DWORD code);
DWORD lastErrorCode();
std::string lastErrorString();

std::string toUtf8(std::wstring_view text);
// Each UTF-16 unit above 0xFF becomes "?".
std::string toLatin1(std::wstring_view text);

} // namespace Tolvex::Win
