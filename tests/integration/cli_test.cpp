// The tolvex command line against a real application process: a session
// that outlives each command, a script file, and JSON requests on standard
// input. Each command's answer is a line of output or one line of error
// and a non-zero exit.
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace {

struct CommandRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

class TolvexCommand : public ::testing::Test
{
protected:
    CommandRun tolvex(const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        // Sessions of this test only, whatever else runs on the machine.
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(TOLVEX_PATH), arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(60000))
            process.kill();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    QTemporaryDir m_runtime;
    const QString m_aut = QStringLiteral(TESTAUT_PATH);
    const QString m_counter = QStringLiteral("{name='counter'}");
};

} // namespace

TEST_F(TolvexCommand, ASessionKeepsTheApplicationBetweenCommandsFromAnyShell)
{
    CommandRun run =
        tolvex({QStringLiteral("launch"), QStringLiteral("--session"), QStringLiteral("s1"),
                QStringLiteral("--no-preload"), QStringLiteral("--"), m_aut});
    ASSERT_EQ(run.exitCode, 0) << qPrintable(run.err);
    EXPECT_EQ(tolvex({QStringLiteral("sessions")}).out, QStringLiteral("s1\n"));

    const QStringList session{QStringLiteral("--session"), QStringLiteral("s1")};
    run = tolvex(QStringList{QStringLiteral("get"), m_counter, QStringLiteral("value")} + session);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, QStringLiteral("7\n"));
    EXPECT_EQ(tolvex(QStringList{QStringLiteral("set"), m_counter, QStringLiteral("value"),
                                 QStringLiteral("12")} +
                     session)
                  .exitCode,
              0);
    EXPECT_EQ(
        tolvex(QStringList{QStringLiteral("get"), m_counter, QStringLiteral("value")} + session)
            .out,
        QStringLiteral("12\n"));
    EXPECT_EQ(tolvex(QStringList{QStringLiteral("objects")} + session).out,
              QStringLiteral("{name='counter'}\n{name='stray'}\n"));

    // A failure is one message on standard error and a non-zero exit; a
    // name that finds nothing lists what comes closest.
    run = tolvex(QStringList{QStringLiteral("get"), QStringLiteral("{name='count'}"),
                             QStringLiteral("value"), QStringLiteral("--timeout"),
                             QStringLiteral("0.2")} +
                 session);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_TRUE(run.err.startsWith(QStringLiteral("tolvex get: Object '{name='count'}'")))
        << qPrintable(run.err);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Closest names:\n  {name='counter'}")))
        << qPrintable(run.err);
    run = tolvex(QStringList{QStringLiteral("get"), m_counter} + session);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, QStringLiteral("tolvex get: usage: tolvex get NAME PROPERTY\n"));
    // A time-out that is no number of seconds, or longer than a day, is refused
    // before anything is looked up.
    for (const QString &bad :
         {QStringLiteral("soon"), QStringLiteral("-1"), QStringLiteral("1e12")}) {
        run = tolvex(QStringList{QStringLiteral("get"), m_counter, QStringLiteral("value"),
                                 QStringLiteral("--timeout"), bad} +
                     session);
        EXPECT_EQ(run.exitCode, 1) << qPrintable(bad);
        EXPECT_EQ(run.err, QStringLiteral("tolvex get: get: --timeout needs a number of seconds\n"))
            << qPrintable(bad);
    }

    // A client that goes away while its command waits leaves the session
    // serving the others, the waiting one's and those that came meanwhile.
    {
        QProcess gone;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
        gone.setProcessEnvironment(environment);
        gone.start(QStringLiteral(TOLVEX_PATH),
                   QStringList{QStringLiteral("wait"), QStringLiteral("{name='later'}"),
                               QStringLiteral("--timeout"), QStringLiteral("2")} +
                       session);
        ASSERT_TRUE(gone.waitForStarted());
        QProcess meanwhile;
        meanwhile.setProcessEnvironment(environment);
        QThread::msleep(500);
        meanwhile.start(QStringLiteral(TOLVEX_PATH),
                        QStringList{QStringLiteral("get"), m_counter, QStringLiteral("value")} +
                            session);
        QThread::msleep(300);
        gone.kill();
        gone.waitForFinished();
        ASSERT_TRUE(meanwhile.waitForFinished(30000));
        EXPECT_EQ(meanwhile.exitCode(), 0) << meanwhile.readAllStandardError().constData();
        EXPECT_EQ(meanwhile.readAllStandardOutput(), QByteArray("12\n"));
        EXPECT_EQ(
            tolvex(QStringList{QStringLiteral("get"), m_counter, QStringLiteral("value")} + session)
                .out,
            QStringLiteral("12\n"));
    }

    // A second launch under the same name is refused while the first runs.
    run = tolvex(QStringList{QStringLiteral("launch")} + session +
                 QStringList{QStringLiteral("--no-preload"), QStringLiteral("--"), m_aut});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("is running already"))) << qPrintable(run.err);

    run = tolvex(QStringList{QStringLiteral("quit")} + session);
    EXPECT_EQ(run.exitCode, 0) << qPrintable(run.err);
    EXPECT_EQ(run.out, QStringLiteral("exited with status 0\n"));
    run = tolvex(QStringList{QStringLiteral("get"), m_counter, QStringLiteral("value")} + session);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("No session 's1' is running")))
        << qPrintable(run.err);

    run = tolvex({QStringLiteral("launch"), QStringLiteral("--session"), QStringLiteral("s2"),
                  QStringLiteral("--"), QStringLiteral("/nonexistent/program")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("Cannot find the program /nonexistent/program")))
        << qPrintable(run.err);
    EXPECT_TRUE(tolvex({QStringLiteral("click"), QStringLiteral("--help")})
                    .out.startsWith(QStringLiteral("usage: tolvex click NAME")));
}

TEST_F(TolvexCommand, ScriptsFromAFileStopAtTheFirstFailureAndJsonLinesAnswerEachRequest)
{
    QFile script(m_runtime.filePath(QStringLiteral("steps.tolvex")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("# a comment\n"
                                "launch --no-preload -- %1\n"
                                "get {name='counter'} value\n"
                                "expect {name='counter'} value 7\n"
                                "set {name='counter'} value \"-3\"\n"
                                "wait {name='counter'} --timeout 0.2\n"
                                "get {name='counter'} value\n")
                     .arg(m_aut)
                     .toUtf8());
    script.close();
    CommandRun run = tolvex({QStringLiteral("script"), script.fileName()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.contains(QStringLiteral("hooked up\n7\n"))) << qPrintable(run.out);
    EXPECT_FALSE(run.out.contains(QStringLiteral("-3")));
    EXPECT_TRUE(run.err.startsWith(script.fileName() +
                                   QStringLiteral(":6: Object '{name='counter'}' not ready: the "
                                                  "value is negative\ntolvex script: the "
                                                  "application's output is in ")))
        << qPrintable(run.err);

    // Symbolic names from an object map stand for real names.
    QFile map(m_runtime.filePath(QStringLiteral("names.map")));
    ASSERT_TRUE(map.open(QIODevice::WriteOnly));
    map.write(":Counter\t{name='counter'}\n");
    map.close();
    QFile mapped(m_runtime.filePath(QStringLiteral("mapped.tolvex")));
    ASSERT_TRUE(mapped.open(QIODevice::WriteOnly));
    // ${NAME} stands for an environment variable.
    qputenv("CLI_TEST_AUT", m_aut.toLocal8Bit());
    mapped.write(QStringLiteral("launch --no-preload --object-map %1 -- ${CLI_TEST_AUT}\n"
                                "get :Counter value\n")
                     .arg(map.fileName())
                     .toUtf8());
    mapped.close();
    run = tolvex({QStringLiteral("script"), mapped.fileName()});
    EXPECT_EQ(run.exitCode, 0) << qPrintable(run.err);
    EXPECT_TRUE(run.out.endsWith(QStringLiteral("hooked up\n7\n"))) << qPrintable(run.out);

    // An expectation waits for the value, then says what it found instead.
    QFile expecting(m_runtime.filePath(QStringLiteral("expect.tolvex")));
    ASSERT_TRUE(expecting.open(QIODevice::WriteOnly));
    expecting.write(QStringLiteral("launch --no-preload -- %1\n"
                                   "expect {name='counter'} value 8 --timeout 0.3\n")
                        .arg(m_aut)
                        .toUtf8());
    expecting.close();
    run = tolvex({QStringLiteral("script"), QStringLiteral("--steps"), expecting.fileName()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith(expecting.fileName() +
                                   QStringLiteral(":2: value of {name='counter'} is 7, not 8\n")))
        << qPrintable(run.err);
    EXPECT_TRUE(run.out.contains(QStringLiteral("  2 FAIL"))) << qPrintable(run.out);

    const QByteArray requests =
        QStringLiteral("{\"command\":\"launch\",\"args\":[\"--no-preload\"],\"program\":[\"%1\"]}\n"
                       "{\"command\":\"get\",\"args\":[\"{name='counter'}\",\"value\"]}\n"
                       "{\"command\":\"get\",\"args\":[\"{name='counter'}\"]}\n"
                       "not json {\n"
                       "{\"command\":\"call\",\"args\":[\"{name='counter'}\",\"describe\"]}\n")
            .arg(m_aut)
            .toUtf8();
    run = tolvex({QStringLiteral("script"), QStringLiteral("-")}, requests);
    EXPECT_EQ(run.exitCode, 1);
    const QStringList answers = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(answers.size(), 5) << qPrintable(run.out);
    EXPECT_TRUE(answers.at(0).startsWith(QStringLiteral("{\"ok\":true")))
        << qPrintable(answers.at(0));
    EXPECT_EQ(answers.at(1), QStringLiteral("{\"ok\":true,\"value\":7}"));
    EXPECT_EQ(answers.at(2),
              QStringLiteral("{\"error\":\"usage: tolvex get NAME PROPERTY\",\"ok\":false}"));
    EXPECT_EQ(answers.at(3),
              QStringLiteral("{\"error\":\"A name in braces is not closed: {\",\"ok\":false}"));
    EXPECT_TRUE(answers.at(4).startsWith(QStringLiteral("{\"ok\":true,\"value\":\"Counter#")));
}

TEST_F(TolvexCommand, DoctorSaysWhyAProgramHooksUpOrNot)
{
    // The environment of the run reaches the program: offscreen here.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    CommandRun run = tolvex({QStringLiteral("doctor"), QStringLiteral(PLAINWIDGETS_PATH)});
    EXPECT_EQ(run.exitCode, 0) << qPrintable(run.out);
    EXPECT_TRUE(run.out.contains(QStringLiteral("links Qt 6.\nIt hooked up")))
        << qPrintable(run.out);

    run = tolvex({QStringLiteral("doctor"), QStringLiteral("/bin/true")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("/bin/true does not link Qt")))
        << qPrintable(run.out);

    // A GUI program on X with no display: told before and after the start.
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QByteArray display = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    run = tolvex({QStringLiteral("doctor"), QStringLiteral(PLAINWIDGETS_PATH)});
    qputenv("DISPLAY", display);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.contains(QStringLiteral("No display is set"))) << qPrintable(run.out);
    EXPECT_TRUE(run.out.contains(QStringLiteral("Qt could not open its display")))
        << qPrintable(run.out);
}
