// Images of objects and of the desktop. The object pictures and the desktop
// call are served with the screenshots; the raw screenshot is the platform's.

#include "hook.h"
#include "nativeinterface.h"
#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

// Hands the picture to the caller in its wire form.
class RawScreenshotListener : public ResponseListener<Screenshot>
{
public:
    explicit RawScreenshotListener(ResponseListener<ArgumentList> *caller) : m_caller(caller) {}
    void response(FunctionCallResult<Screenshot> result) override
    {
        if (result.isError())
            m_caller->error(result.error);
        else
            m_caller->success(ArgumentList{result.value.toVariant()});
        delete this;
    }

private:
    ResponseListener<ArgumentList> *m_caller;
};

// The whole desktop; the screen number is not read.
void rawScreenshot(Context &c, ResponseListener<ArgumentList> *listener, int)
{
    NativeInterface *native = c.native();
    if (!native) {
        listener->error(Context::NoPlugin);
        return;
    }
    native->desktopScreenshot(new RawScreenshotListener(listener), Rect<1>(0, 0, -1, -1), -1);
}

constexpr RemoteFunction Functions[] = {
    call("desktopScreenshot", unchecked,
         served<[](Context &c) { return c.hook.desktopScreenshot(); }>),
    call("getPixmapAsImage", exactly(1),
         served<[](Context &c, int id) { return c.hook.getPixmapAsImage(id); }>),
    call("grabObjectScreenshot", exactly(3), served<[](Context &c, int id, int flags, int delay) {
             return c.hook.grabObjectScreenshot(id, flags, delay);
         }>),
    asyncCall("rawScreenshot", exactly(1), served<&rawScreenshot>),
};

} // namespace

std::span<const RemoteFunction> screenshotFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote
