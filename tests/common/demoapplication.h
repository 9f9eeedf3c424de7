#pragma once

// The demo application of the build tree, started unmodified with the agent,
// for the tests and benchmarks that drive it. The target that includes this
// says where the demo and the build are, with DEMO_APP_PATH and
// TOLVEX_BUILD_PREFIX.

#include "remoteapplication.h"
#include "remoteobject.h"

#include <QRect>

#include <memory>

#if !defined(DEMO_APP_PATH) || !defined(TOLVEX_BUILD_PREFIX)
#error "DEMO_APP_PATH and TOLVEX_BUILD_PREFIX must be defined"
#endif

namespace TestSupport {

// On a Qt platform: "xcb" for the X display, "offscreen" without one; with
// further variables for the demo alone (another DISPLAY, say). Null, with the
// reason, when it does not hook up.
inline std::unique_ptr<Tolvex::RemoteApplication>
launchDemo(const QString &platform, QString *error, const QMap<QString, QString> &environment = {})
{
    Tolvex::LaunchOptions options;
    options.program = QStringLiteral(DEMO_APP_PATH);
    options.prefix = QStringLiteral(TOLVEX_BUILD_PREFIX);
    options.environment = environment;
    options.environment.insert(QStringLiteral("QT_QPA_PLATFORM"), platform);
    return Tolvex::RemoteApplication::launch(options, error);
}

// Where the agent says the object is on the screen.
inline QRect objectBounds(Tolvex::RemoteApplication &, const Tolvex::RemoteObject &o)
{
    return o.screenBounds().value;
}

} // namespace TestSupport
