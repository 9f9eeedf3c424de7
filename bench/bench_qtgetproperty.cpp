// A property read of a live Qt widget through the whole stack, against the
// messaging it rides on, in one run:
//  - getProperty of a QLineEdit's text, from the client API into the demo
//    application started unmodified with the agent, through the Qt wrapper
//    and back (the value's handle given back with a send);
//  - the same read as a script sees it, the value converted to a string
//    (a second round trip);
//  - a bare frame ping-pong of a similar size with an echoing thread.

#include "benchsupport.h"
#include "demoapplication.h"
#include "ratioreporter.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Tolvex;

namespace {

void BM_BareFramePingPong(benchmark::State &state)
{
    TolvexBench::bareFramePingPong(state, 4 + 24 + 40);
}
BENCHMARK(BM_BareFramePingPong)->UseRealTime();

// One application for the whole run.
struct Demo
{
    std::unique_ptr<RemoteApplication> application;
    RemoteObject field;
    int textProperty = -1;
    QString error;

    static Demo &instance()
    {
        static Demo demo;
        return demo;
    }

private:
    Demo()
    {
        application = TestSupport::launchDemo(QStringLiteral("offscreen"), &error);
        if (!application)
            return;
        const FunctionCallResult<RemoteObject> found = application->waitForObject(
            QStringLiteral("{objectName='name' type='QLineEdit'}"), 20000);
        if (found.isError()) {
            error = found.error;
            return;
        }
        field = found.value;
        field.setProperty(QStringLiteral("text"), QStringLiteral("Ada Lovelace"));
        const Property *text =
            application->classes().property(field.classId(), QStringLiteral("text"));
        textProperty = text ? text->id() : -1;
    }
};

void BM_GetPropertyOfAWidget(benchmark::State &state)
{
    Demo &demo = Demo::instance();
    if (demo.textProperty < 0) {
        state.SkipWithError(qPrintable(demo.error));
        return;
    }
    for (auto _ : state) {
        const FunctionCallResult<ArgumentList> answer = demo.application->call(
            QStringLiteral("getProperty"), {demo.field.id(), demo.textProperty});
        if (answer.isError()) {
            state.SkipWithError("call failed");
            break;
        }
        demo.application->release(demo.application->objectFromWire(answer.value.value(0)).id());
    }
}
BENCHMARK(BM_GetPropertyOfAWidget)->UseRealTime();

void BM_ReadTextAsAScriptDoes(benchmark::State &state)
{
    Demo &demo = Demo::instance();
    if (demo.textProperty < 0) {
        state.SkipWithError(qPrintable(demo.error));
        return;
    }
    for (auto _ : state) {
        const FunctionCallResult<QVariant> text = demo.field.property(QStringLiteral("text"));
        if (text.isError() || text.value.toString() != QLatin1String("Ada Lovelace")) {
            state.SkipWithError("wrong value");
            break;
        }
    }
}
BENCHMARK(BM_ReadTextAsAScriptDoes)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int result =
        TolvexBench::runWithRatios(argc, argv,
                                   {{"BM_GetPropertyOfAWidget", "BM_BareFramePingPong", 1.5},
                                    {"BM_ReadTextAsAScriptDoes", "BM_BareFramePingPong", 0}});
    if (Demo::instance().application)
        Demo::instance().application->quit();
    return result;
}
