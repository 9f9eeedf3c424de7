#pragma once

// Owners of FFmpeg's objects: each frees its object with the matching call
// when it goes, and gives it by get() or by conversion. FFmpeg's headers
// stay out of this one, so that users of the coders need not see them.

#include "tolvexexport.h"

#include <utility>

extern "C" {
struct AVCodecContext;
struct AVCodecParameters;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct SwsContext;
}

namespace Tolvex::Video {

TOLVEX_EXPORT void freeAvObject(AVCodecContext *object);
TOLVEX_EXPORT void freeAvObject(AVCodecParameters *object);
TOLVEX_EXPORT void freeAvObject(AVFormatContext *object);
TOLVEX_EXPORT void freeAvObject(AVFrame *object);
TOLVEX_EXPORT void freeAvObject(AVPacket *object);
TOLVEX_EXPORT void freeAvObject(SwsContext *object);

template <typename T> class AvOwner
{
public:
    explicit AvOwner(T *object = nullptr) : m_object(object) {}
    ~AvOwner() { reset(); }
    AvOwner(const AvOwner &) = delete;
    AvOwner &operator=(const AvOwner &) = delete;

    void reset(T *object = nullptr)
    {
        if (m_object)
            freeAvObject(m_object);
        m_object = object;
    }
    // Gives the object up without freeing it.
    T *release() { return std::exchange(m_object, nullptr); }
    T *get() const { return m_object; }
    T *operator->() const { return m_object; }
    operator T *() const { return m_object; }

private:
    T *m_object;
};

using CodecContext = AvOwner<AVCodecContext>;
class TOLVEX_EXPORT CodecParameters : public AvOwner<AVCodecParameters>
{
public:
    using AvOwner::AvOwner;
    static void copy(AVCodecParameters *destination, const AVCodecParameters *source);
};
using FormatContext = AvOwner<AVFormatContext>;
using Frame = AvOwner<AVFrame>;
using Packet = AvOwner<AVPacket>;
using Sws = AvOwner<SwsContext>;

// Raises std::runtime_error for a negative FFmpeg result: "Error during ",
// the operation, ": " and FFmpeg's message of the code. Returns the result.
TOLVEX_EXPORT int checkAvResult(int result, const char *operation);

} // namespace Tolvex::Video
