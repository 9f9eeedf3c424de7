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

// A ScreenRectangle of the application as a QRect; a null one for anything
// else.
inline QRect rectangleOf(const QVariant &value)
{
    const Tolvex::RemoteObject r = value.value<Tolvex::RemoteObject>();
    const auto field = [&](const char *name) {
        return r.property(QString::fromLatin1(name)).value.toInt();
    };
    return r.isNull() ? QRect() : QRect(field("x"), field("y"), field("width"), field("height"));
}

// Where the agent says the object is on the screen.
inline QRect objectBounds(Tolvex::RemoteApplication &application, const Tolvex::RemoteObject &o)
{
    const Tolvex::FunctionCallResult<QVariant> rectangle =
        application.value(QStringLiteral("objectGlobalBounds"), {o.id()});
    return rectangleOf(QVariant::fromValue(application.objectFromWire(rectangle.value)));
}

} // namespace TestSupport
