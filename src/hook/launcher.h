#pragma once

#include "tolvexexport.h"

#include <QString>
#include <QVariant>
#include <QVariantMap>

namespace Tolvex {

// An application that starts other applications on the test's behalf hands
// one of these to Hook::setLauncher; the server's "launcherInit" reaches it.
class TOLVEX_EXPORT Launcher
{
public:
    // Called with the server's settings; what it answers goes back as it is.
    virtual QVariant init(const QVariantMap &settings) = 0;
    virtual ~Launcher();

    // The answer that reports a failure: a map whose "error" entry says why.
    static QVariant errorResult(const QString &text);
};

} // namespace Tolvex
