#pragma once

namespace Tolvex {

// Adds the scripts' window and screen functions ("_tolvex_window_*",
// "_tolvex_screen_*") to the global class; once per process, later calls do
// nothing. The window work is done by each toolkit's window interaction
// delegate, the screens are the Hook's.
void registerWindowAndScreenFunctions();

} // namespace Tolvex
