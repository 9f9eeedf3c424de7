#pragma once

// An X server of a test's own (Xvfb), for what would disturb the shared
// display: other screen sizes, monitors set up by xrandr, a compositing
// manager, a root window painted with noise. It ends with the object.

#include "eventloop.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace TestSupport {

class PrivateXServer
{
public:
    // size as "WxHxDEPTH"; further arguments for Xvfb. False when it did not
    // start or did not say its display in time.
    bool start(const QString &size, const QStringList &arguments = {})
    {
        m_server.start(QStringLiteral("Xvfb"),
                       QStringList{QStringLiteral("-displayfd"), QStringLiteral("1"),
                                   QStringLiteral("-screen"), QStringLiteral("0"), size,
                                   QStringLiteral("-nolisten"), QStringLiteral("tcp")} +
                           arguments);
        if (!m_server.waitForStarted() || !waitUntil([&] { return m_server.canReadLine(); }, 10000))
            return false;
        m_display = QLatin1Char(':') + QString::fromLatin1(m_server.readLine().trimmed());
        return true;
    }

    ~PrivateXServer()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }

    // ":N"
    QString display() const { return m_display; }
    // This process's environment with DISPLAY set to this server.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_display);
        return environment;
    }

private:
    QProcess m_server;
    QString m_display;
};

} // namespace TestSupport
