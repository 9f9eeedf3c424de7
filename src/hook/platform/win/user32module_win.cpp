#include "user32module_win.h"

namespace Tolvex {

namespace Library {

namespace {

// GetProcAddress hands out one function type for all; the detour through
// void(*)() is the cast the compiler accepts between function types.
template <typename Fn> Fn entry(HMODULE module, const char *name)
{
    if (!module)
        return nullptr;
    return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

} // namespace

User32Module::User32Module()
    : module(LoadLibraryW(L"User32.dll")),
      setThreadDpiAwarenessContext(
          entry<SetThreadDpiAwarenessContextFn>(module, "SetThreadDpiAwarenessContext")),
      logicalToPhysicalPointForPerMonitorDPI(
          entry<PointConversionFn>(module, "LogicalToPhysicalPointForPerMonitorDPI")),
      physicalToLogicalPointForPerMonitorDPI(
          entry<PointConversionFn>(module, "PhysicalToLogicalPointForPerMonitorDPI")),
      getWindowDpiAwarenessContext(
          entry<GetWindowDpiAwarenessContextFn>(module, "GetWindowDpiAwarenessContext")),
      initializeTouchInjection(
          entry<InitializeTouchInjectionFn>(module, "InitializeTouchInjection")),
      injectTouchInput(entry<InjectTouchInputFn>(module, "InjectTouchInput"))
{}

// Constructed while the agent's DLL is being loaded. User32 is a load-time
// import of this library and so already in the process: LoadLibraryW only
// raises its count, which is safe under the loader lock. The library stays
// loaded to the end of the process.
User32Module User32;

} // namespace Library

namespace Win {

DPIAwarenessOverride::DPIAwarenessOverride()
{
    if (Library::User32.setThreadDpiAwarenessContext)
        m_previous = Library::User32.setThreadDpiAwarenessContext(guardAwarenessContext());
}

DPIAwarenessOverride::DPIAwarenessOverride(HWND window)
{
    if (!Library::User32.setThreadDpiAwarenessContext ||
        !Library::User32.getWindowDpiAwarenessContext)
        return;
    const DPI_AWARENESS_CONTEXT context = Library::User32.getWindowDpiAwarenessContext(window);
    if (context)
        m_previous = Library::User32.setThreadDpiAwarenessContext(context);
}

DPIAwarenessOverride::~DPIAwarenessOverride()
{
    if (m_previous)
        Library::User32.setThreadDpiAwarenessContext(m_previous);
}

} // namespace Win

} // namespace Tolvex
