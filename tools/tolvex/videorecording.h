#pragma once

// Films the application's screen to an MP4 file: the application streams
// its desktop, the tool reads the stream into pictures and codes them at a
// steady rate, so the file plays at the speed things happened.

#include "functioncallresult.h"

#include <QJsonObject>
#include <QRect>
#include <QString>

#include <functional>

namespace Tolvex {

class RemoteApplication;

struct VideoRequest
{
    QString output;
    // Screen pixels to keep; a null rectangle keeps the whole desktop.
    QRect area;
    int durationMs = 10000;
    double fps = 20;
    // Called about once a second with the time filmed and the frames coded.
    std::function<void(int elapsedMs, int frames)> progress;
};

// The file's facts once it is written: "file", "frames", "seconds", "width"
// and "height".
FunctionCallResult<QJsonObject> recordVideo(RemoteApplication &application,
                                            const VideoRequest &request);

} // namespace Tolvex
