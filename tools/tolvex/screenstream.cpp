#include "screenstream.h"

#include "applicationserver.h"
#include "asyncipc.h"
#include "binarystream.h"
#include "remoteapplication.h"

namespace Tolvex {

FunctionCallResult<std::shared_ptr<ScreenStream>>
ScreenStream::open(RemoteApplication &application, uint allowedFormats, const QVariantMap &options)
{
    using Result = FunctionCallResult<std::shared_ptr<ScreenStream>>;
    const FunctionCallResult<ArgumentList> opened =
        application.call(QStringLiteral("recordScreen"),
                         {int(AsyncIPC::ServerAddress), allowedFormats, QVariantMap()});
    if (opened.isError())
        return Result::failure(opened.error);
    bool idOk = false;
    bool formatOk = false;
    const uint id = opened.value.value(0).toUInt(&idOk);
    const uint format = opened.value.value(1).toUInt(&formatOk);
    if (!idOk || !formatOk)
        return Result::failure(QStringLiteral("The application answered recordScreen without a "
                                              "stream id and format"));
    std::shared_ptr<ScreenStream> stream(new ScreenStream(application, id, format));
    if (!(format & allowedFormats) || (format != RleStream && format != H264Stream)) {
        stream->stop();
        return Result::failure(QStringLiteral("The application offered a stream of format %1, "
                                              "which this tool does not read")
                                   .arg(format));
    }
    if (!options.isEmpty()) {
        const FunctionCallResult<void> configured = stream->configure(options);
        if (configured.isError()) {
            stream->stop();
            return Result::failure(configured.error);
        }
    }
    return stream;
}

ScreenStream::ScreenStream(RemoteApplication &application, uint id, uint format)
    : m_application(&application), m_id(id), m_format(format)
{
    if (format == H264Stream)
        m_h264 = std::make_unique<Video::H264StreamReader>();
    connect(&application, &RemoteApplication::messageArrived, this,
            [this](const QString &function, const ArgumentList &args) {
                if (args.size() < 2 || args.at(1).toUInt() != m_id || m_closed)
                    return;
                if (function == QLatin1String("binaryStreamSegment") && args.size() >= 3)
                    segmentArrived(args.at(2).toByteArray());
                else if (function == QLatin1String("binaryStreamClosed") && args.size() >= 4)
                    streamClosed(args.at(2).toUInt(), args.at(3).toString());
            });
}

ScreenStream::~ScreenStream()
{
    if (!m_closed)
        stop();
}

FunctionCallResult<void> ScreenStream::configure(const QVariantMap &options)
{
    const FunctionCallResult<ArgumentList> answer =
        m_application->call(QStringLiteral("configureBinaryStream"), {m_id, options});
    if (answer.isError())
        return FunctionCallResult<void>::failure(answer.error);
    const QVariant result = answer.value.value(0);
    if (result.typeId() == QMetaType::QString)
        return FunctionCallResult<void>::failure(result.toString());
    return {};
}

void ScreenStream::pause()
{
    m_application->send(QStringLiteral("pauseBinaryStream"), {m_id});
}

void ScreenStream::resume()
{
    m_application->send(QStringLiteral("reasumeBinaryStream"), {m_id});
}

void ScreenStream::stop()
{
    m_application->send(QStringLiteral("stopBinaryStream"), {m_id});
}

void ScreenStream::acknowledge(quint32 bytes)
{
    m_acknowledged += bytes;
    m_application->send(QStringLiteral("binaryStreamBytesReceived"), {m_id, bytes});
}

QPoint ScreenStream::origin() const
{
    return m_format == RleStream ? m_rle.bounds().topLeft() : QPoint();
}

void ScreenStream::segmentArrived(const QByteArray &bytes)
{
    m_bytes += quint64(bytes.size());
    ++m_segments;
    if (m_readError.isEmpty()) {
        if (m_format == RleStream) {
            const int before = m_rle.updatesCompleted();
            if (!m_rle.addSegment(bytes))
                m_readError = m_rle.error();
            if (m_rle.updatesCompleted() > before) {
                m_frames += m_rle.updatesCompleted() - before;
                m_timeMs += m_rle.lastUpdateTimeMs();
                m_frame = m_rle.frame();
                Q_EMIT frameReady();
            }
        } else {
            if (!m_h264->addSegment(bytes))
                m_readError = m_h264->error();
            const QList<QImage> decoded = m_h264->takeFrames();
            if (!decoded.isEmpty()) {
                // H.264 segments carry no times: the pictures' arrival is the
                // time line.
                if (!m_clock.isValid())
                    m_clock.start();
                m_timeMs = m_clock.elapsed();
                m_frames += int(decoded.size());
                m_frame = decoded.last();
                Q_EMIT frameReady();
            }
        }
    }
    if (m_autoAcknowledge)
        acknowledge(quint32(bytes.size()));
}

void ScreenStream::streamClosed(uint code, const QString &reason)
{
    m_closed = true;
    m_closeCode = code;
    m_closeReason = reason;
    Q_EMIT closed(code, reason);
}

} // namespace Tolvex
