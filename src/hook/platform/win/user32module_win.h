#pragma once

// Entries of User32.dll that older Windows versions lack, looked up at run
// time, and the scope guard that makes a thread's coordinates physical
// pixels while it talks to the system.

#include <windows.h>

namespace Tolvex {

namespace Library {

class User32Module
{
public:
    using SetThreadDpiAwarenessContextFn = DPI_AWARENESS_CONTEXT(WINAPI *)(DPI_AWARENESS_CONTEXT);
    using PointConversionFn = BOOL(WINAPI *)(HWND, LPPOINT);
    using GetWindowDpiAwarenessContextFn = DPI_AWARENESS_CONTEXT(WINAPI *)(HWND);
    using InitializeTouchInjectionFn = BOOL(WINAPI *)(UINT32, DWORD);
    using InjectTouchInputFn = BOOL(WINAPI *)(UINT32, const POINTER_TOUCH_INFO *);

    // Loads User32.dll and fetches the entries in the order of the members
    // below; one the system lacks stays null.
    User32Module();
    User32Module(const User32Module &) = delete;
    User32Module &operator=(const User32Module &) = delete;

    HMODULE module = nullptr;
    SetThreadDpiAwarenessContextFn setThreadDpiAwarenessContext = nullptr;
    // Fetched for completeness; nothing calls the two point conversions.
    PointConversionFn logicalToPhysicalPointForPerMonitorDPI = nullptr;
    PointConversionFn physicalToLogicalPointForPerMonitorDPI = nullptr;
    GetWindowDpiAwarenessContextFn getWindowDpiAwarenessContext = nullptr;
    InitializeTouchInjectionFn initializeTouchInjection = nullptr;
    InjectTouchInputFn injectTouchInput = nullptr;
};

// The one instance; callers test each entry for null.
extern User32Module User32;

} // namespace Library

namespace Win {

// Switches the calling thread's DPI awareness for the life of the guard and
// puts the previous one back. Without the entries it does nothing.
class DPIAwarenessOverride
{
public:
    // Per-monitor aware.
    DPIAwarenessOverride();
    // The awareness of the given window; nothing when it reports none.
    explicit DPIAwarenessOverride(HWND window);
    ~DPIAwarenessOverride();
    DPIAwarenessOverride(const DPIAwarenessOverride &) = delete;
    DPIAwarenessOverride &operator=(const DPIAwarenessOverride &) = delete;

    // The context that was in force before; null when nothing was changed.
    DPI_AWARENESS_CONTEXT previous() const { return m_previous; }

private:
    DPI_AWARENESS_CONTEXT m_previous = nullptr;
};

// The context the default guard sets: DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE.
inline DPI_AWARENESS_CONTEXT guardAwarenessContext()
{
    return reinterpret_cast<DPI_AWARENESS_CONTEXT>(static_cast<INT_PTR>(-3));
}

} // namespace Win

} // namespace Tolvex
