#include "launcher.h"

namespace Tolvex {

Launcher::~Launcher() = default;

QVariant Launcher::errorResult(const QString &text)
{
    return QVariantMap{{QStringLiteral("error"), text}};
}

} // namespace Tolvex
