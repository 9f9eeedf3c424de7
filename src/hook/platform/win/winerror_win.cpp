#include "winerror_win.h"

namespace Tolvex::Win {

namespace {

// FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM
constexpr DWORD FormatFlags = 4352;
// MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT): the user's default language.
constexpr DWORD DefaultLanguage = 1024;

} // namespace

std::string errorStringFromCode(DWORD code)
{
    LPWSTR buffer = nullptr;
    const DWORD length = FormatMessageW(FormatFlags, nullptr, code, DefaultLanguage,
                                        reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
    if (length == 0 || !buffer)
        return "<Failed formatting error message>";
    std::string text = toUtf8(std::wstring_view(buffer, length));
    LocalFree(buffer);
    return text;
}

DWORD lastErrorCode()
{
    return GetLastError();
}

std::string lastErrorString()
{
    return errorStringFromCode(GetLastError());
}

std::string toUtf8(std::wstring_view text)
{
    if (text.empty())
        return std::string();
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0,
                                         nullptr, nullptr);
    if (size <= 0)
        return std::string();
    std::string out(size_t(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), out.data(), size, nullptr,
                        nullptr);
    return out;
}

std::string toLatin1(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t c : text)
        out.push_back(c > 0xFF ? '?' : char(c));
    return out;
}

} // namespace Tolvex::Win
