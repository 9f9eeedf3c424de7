// Images of objects and of the desktop; served with screen capture.

#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

constexpr RemoteFunction Functions[] = {
    call("desktopScreenshot", unchecked),
    call("getPixmapAsImage", exactly(1)),
    call("grabObjectScreenshot", exactly(3)),
    asyncCall("rawScreenshot", exactly(1)),
};

} // namespace

std::span<const RemoteFunction> screenshotFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
