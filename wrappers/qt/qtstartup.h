#pragma once

// Starting the agent in a Qt 6 application, whether the start-up shim loaded
// the wrapper into an application that knows nothing of it, or the program
// links the wrapper and asks for the agent itself:
//
//     int main(int argc, char **argv)
//     {
//         QApplication app(argc, argv);
//         Tolvex::startQtAgent();
//         ...
//         return app.exec();
//     }
//
// Either way the agent comes up on the application's GUI thread once the
// event loop runs: the Qt wrapper, the process facts and the platform
// plug-in ("xlib" on X11, none in an application without a GUI), then the
// connection to the tool's server named by the environment, which holds the
// application until the server has prepared the test. On the way out
// (aboutToQuit) the agent tells the server and goes, before the wrapper and
// the plug-in it uses.

#include "tolvexqtexport.h"

namespace Tolvex {

// Asks for the agent in this application, once the application object
// exists. False, said on standard error, when there is none yet. The agent
// starts once per process: further calls, and calls in an application into
// which the start-up shim brought it, change nothing.
TOLVEXQT_EXPORT bool startQtAgent();

} // namespace Tolvex

// What the start-up shim calls from Qt's start-up hook, inside the
// construction of the application object.
extern "C" TOLVEXQT_EXPORT void tolvexQtStartup();
