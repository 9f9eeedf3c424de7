#include "autprocess.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

using namespace Tolvex;

TEST(AUTProcess, BaseNameDropsOnlyAnExeSuffix)
{
    EXPECT_EQ(AUTProcess::baseName(QStringLiteral("C:/apps/app.exe")), QStringLiteral("app"));
    EXPECT_EQ(AUTProcess::baseName(QStringLiteral("/opt/app.tool")), QStringLiteral("app.tool"));
    EXPECT_EQ(AUTProcess::baseName(QStringLiteral("/usr/bin/designer")),
              QStringLiteral("designer"));
    EXPECT_EQ(AUTProcess::baseName(QStringLiteral("archive.tar.exe")),
              QStringLiteral("archive.tar"));
    EXPECT_EQ(AUTProcess::baseName(QStringLiteral("app.EXE")), QStringLiteral("app.EXE"));
}

TEST(AUTProcess, ReportsThisProcess)
{
    AUTProcess p;
    const QStringList args = p.arguments();
    ASSERT_FALSE(args.isEmpty());
    // The test framework takes its own options out of the application's
    // copy, so only the program itself can be compared.
    EXPECT_EQ(args.first(), QCoreApplication::arguments().first());
    EXPECT_EQ(p.name(), QStringLiteral("hook_tests"));
    EXPECT_EQ(p.processId(), int(getpid()));
    EXPECT_EQ(p.workingDirectory(), QDir::toNativeSeparators(QDir::currentPath()));

    // Started in the past, not long ago (the process started within the hour).
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 started = qint64(p.startTime());
    EXPECT_LE(started, now + 1000);
    EXPECT_GT(started, now - 3600 * 1000);

    // Resident memory grows when pages are touched.
    const qint64 before = p.usedMemory();
    EXPECT_GT(before, 0);
    const size_t size = 64 * 1024 * 1024;
    char *block = static_cast<char *>(std::malloc(size));
    for (size_t i = 0; i < size; i += 4096)
        block[i] = char(i);
    EXPECT_GT(p.usedMemory(), before + qint64(size / 2));
    std::free(block);

    // CPU time counts work done.
    const qint64 cpuBefore = p.totalTime();
    volatile quint64 sink = 0;
    QElapsedTimer spent;
    spent.start();
    while (p.totalTime() < cpuBefore + 30 && spent.elapsed() < 10000)
        for (int i = 0; i < 1000000; ++i)
            sink = sink + quint64(i);
    EXPECT_GE(p.totalTime(), cpuBefore + 30);

    qputenv("TOLVEX_TEST_VARIABLE", "gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(p.environmentVariable(QStringLiteral("TOLVEX_TEST_VARIABLE")),
              QString::fromUtf8("gr\xc3\xbc\xc3\x9f"));
    EXPECT_TRUE(p.environmentVariable(QStringLiteral("TOLVEX_NO_SUCH_VARIABLE")).isEmpty());
    EXPECT_FALSE(p.osName().isEmpty());
}

TEST(AUTProcess, OutputLogsAreReadIncrementally)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString outPath = dir.filePath(QStringLiteral("out.log"));
    {
        QFile out(outPath);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write("first line\nsecond line\n");
    }
    qputenv("TOLVEX_LOG_AUTSTDOUT_FILE", outPath.toLocal8Bit());
    qputenv("TOLVEX_LOG_AUTSTDERR_FILE",
            dir.filePath(QStringLiteral("missing/err.log")).toLocal8Bit());
    AUTProcess p;
    qunsetenv("TOLVEX_LOG_AUTSTDOUT_FILE");
    qunsetenv("TOLVEX_LOG_AUTSTDERR_FILE");

    EXPECT_EQ(p.readStdout(), QStringLiteral("first line\nsecond line\n"));
    EXPECT_EQ(p.readStdout(), QString());
    {
        QFile out(outPath);
        ASSERT_TRUE(out.open(QIODevice::Append));
        out.write(QByteArray(5000, 'x') + "\nthird\n");
    }
    // A line longer than the read buffer arrives whole, and only what is new.
    EXPECT_EQ(p.readStdout(), QString(5000, QLatin1Char('x')) + QStringLiteral("\nthird\n"));
    // A log that could not be opened reads as null.
    EXPECT_TRUE(p.readStderr().isNull());

    AUTProcess noLogs;
    EXPECT_TRUE(noLogs.readStdout().isNull());
}
