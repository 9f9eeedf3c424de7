#include "xshmbaseline.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace TolvexBench {

struct BareShmGrab::Private
{
    Display *display = nullptr;
    XImage *image = nullptr;
    XShmSegmentInfo info{};
    bool attached = false;
};

BareShmGrab::BareShmGrab() : d(std::make_unique<Private>())
{
    d->display = XOpenDisplay(nullptr);
    if (!d->display || !XShmQueryExtension(d->display))
        return;
    const int screen = DefaultScreen(d->display);
    d->image = XShmCreateImage(d->display, DefaultVisual(d->display, screen),
                               unsigned(DefaultDepth(d->display, screen)), ZPixmap, nullptr,
                               &d->info, unsigned(DisplayWidth(d->display, screen)),
                               unsigned(DisplayHeight(d->display, screen)));
    if (!d->image)
        return;
    d->info.shmid = shmget(IPC_PRIVATE, std::size_t(d->image->bytes_per_line) * d->image->height,
                           IPC_CREAT | 0600);
    if (d->info.shmid < 0)
        return;
    d->info.shmaddr = d->image->data = static_cast<char *>(shmat(d->info.shmid, nullptr, 0));
    d->info.readOnly = False;
    d->attached = XShmAttach(d->display, &d->info);
    XSync(d->display, False);
    shmctl(d->info.shmid, IPC_RMID, nullptr);
}

BareShmGrab::~BareShmGrab()
{
    if (d->attached) {
        XShmDetach(d->display, &d->info);
        XSync(d->display, False);
    }
    if (d->info.shmaddr)
        shmdt(d->info.shmaddr);
    if (d->image) {
        d->image->data = nullptr;
        XFree(d->image);
    }
    if (d->display)
        XCloseDisplay(d->display);
}

bool BareShmGrab::isOpen() const
{
    return d->attached;
}

int BareShmGrab::width() const
{
    return d->image ? d->image->width : 0;
}

int BareShmGrab::height() const
{
    return d->image ? d->image->height : 0;
}

bool BareShmGrab::grab()
{
    return XShmGetImage(d->display, DefaultRootWindow(d->display), d->image, 0, 0, AllPlanes);
}

unsigned BareShmGrab::firstPixel() const
{
    return *reinterpret_cast<const unsigned *>(d->info.shmaddr);
}

const unsigned char *BareShmGrab::pixels() const
{
    return reinterpret_cast<const unsigned char *>(d->info.shmaddr);
}

int BareShmGrab::bytesPerLine() const
{
    return d->image ? d->image->bytes_per_line : 0;
}

} // namespace TolvexBench
