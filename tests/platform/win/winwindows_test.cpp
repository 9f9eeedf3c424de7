#include "wininput_win.h"
#include "wintest.h"

#include <string>

using namespace Tolvex::Win;

namespace {

std::wstring received;

LRESULT CALLBACK receiverProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CHAR) {
        received.push_back(wchar_t(wParam));
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// A top-level window of this test that keeps the characters it is sent.
class Receiver
{
public:
    explicit Receiver(const wchar_t *title)
    {
        static const ATOM registered = [] {
            WNDCLASSW windowClass{};
            windowClass.lpfnWndProc = receiverProcedure;
            windowClass.hInstance = GetModuleHandleW(nullptr);
            windowClass.lpszClassName = L"TolvexTestReceiver";
            return RegisterClassW(&windowClass);
        }();
        (void)registered;
        m_window = CreateWindowExW(0, L"TolvexTestReceiver", title, WS_POPUP, 0, 0, 10, 10, nullptr,
                                   nullptr, GetModuleHandleW(nullptr), nullptr);
    }
    ~Receiver() { DestroyWindow(m_window); }
    HWND window() const { return m_window; }

private:
    HWND m_window;
};

} // namespace

WIN_TEST(textGoesToTheWindowWithThatTitle)
{
    Receiver receiver(L"Tolvex receiver window");
    CHECK(receiver.window() != nullptr);
    CHECK(findTopLevelWindow(L"Tolvex receiver window") == receiver.window());
    received.clear();
    CHECK_EQ(sendTextToWindow(L"Tolvex receiver window", L"hi there!"), std::string());
    CHECK(received == L"hi there!");
}

WIN_TEST(titlesMatchWholeNotByPrefix)
{
    Receiver receiver(L"Tolvex receiver window");
    CHECK(findTopLevelWindow(L"Tolvex receiver") == nullptr);
    CHECK(findTopLevelWindow(L"Tolvex receiver windo") == nullptr);
    CHECK(findTopLevelWindow(L"Tolvex receiver window!") == nullptr);
    CHECK(findTopLevelWindow(L"tolvex receiver window") == nullptr);
}

WIN_TEST(noWindowOfThatTitleIsAnError)
{
    received.clear();
    CHECK_EQ(sendTextToWindow(L"No such window \u2713", L"x"),
             std::string("Could not find a window with the name 'No such window \xe2\x9c\x93'"));
    CHECK(received.empty());
}
