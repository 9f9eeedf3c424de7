// Object model costs, each beside a baseline measured in the same run:
// member lookup against a plain array index and a hash lookup, overload
// resolution against a direct call, class serialisation against copying
// the same number of bytes.

#include "testtoolkit.h"

#include <QByteArray>
#include <QDataStream>
#include <QHash>
#include <QIODevice>

#include <benchmark/benchmark.h>

#include <vector>

using namespace TestToolkit;

namespace {

constexpr int Depth = 5;
constexpr int MembersPerClass = 500;

struct DeepChain
{
    std::vector<TestClass *> classes;
    TestClass *leaf() const { return classes.back(); }
};

const DeepChain &chain()
{
    static const DeepChain c = [] {
        DeepChain result;
        const Class *super = nullptr;
        for (int level = 0; level < Depth; ++level) {
            const QByteArray name = "BenchLevel" + QByteArray::number(level);
            const QByteArray prefix = "m" + QByteArray::number(level) + "_";
            const QByteArray propPrefix = "p" + QByteArray::number(level) + "_";
            auto *c = new TestClass(
                name.constData(), super,
                TestClass::numberedMethods(prefix.constData(), MembersPerClass),
                TestClass::numberedProperties(propPrefix.constData(), MembersPerClass));
            result.classes.push_back(c);
            super = c;
        }
        // Build every table once: the benchmark measures lookups, not creation.
        for (int i = 0; i < result.leaf()->numMethods(); ++i)
            result.leaf()->method(i);
        for (int i = 0; i < result.leaf()->numProperties(); ++i)
            result.leaf()->property(i);
        return result;
    }();
    return c;
}

void BM_MethodById(benchmark::State &state)
{
    const Class *leaf = chain().leaf();
    const int n = leaf->numMethods();
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(leaf->method(i));
        i = (i + 7919) % n;
    }
    state.SetLabel("5-deep chain, 2500 methods");
}
BENCHMARK(BM_MethodById);

void BM_BaselineArrayIndex(benchmark::State &state)
{
    std::vector<const Method *> flat;
    for (int i = 0; i < chain().leaf()->numMethods(); ++i)
        flat.push_back(chain().leaf()->method(i));
    const int n = int(flat.size());
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(flat[size_t(i)]);
        i = (i + 7919) % n;
    }
    state.SetLabel("baseline: flat array of the same methods");
}
BENCHMARK(BM_BaselineArrayIndex);

std::vector<QString> propertyNames()
{
    std::vector<QString> names;
    for (int level = 0; level < Depth; ++level)
        for (int k = 0; k < MembersPerClass; k += 50)
            names.push_back(QStringLiteral("p%1_%2").arg(level).arg(k));
    return names;
}

void BM_PropertyByName(benchmark::State &state)
{
    const Class *leaf = chain().leaf();
    const std::vector<QString> names = propertyNames();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(leaf->property(names[i]));
        i = (i + 1) % names.size();
    }
    state.SetLabel("5-deep chain, names spread over all levels");
}
BENCHMARK(BM_PropertyByName);

void BM_BaselineHashByName(benchmark::State &state)
{
    QHash<QString, const Property *> hash;
    for (int i = 0; i < chain().leaf()->numProperties(); ++i)
        hash.insert(chain().leaf()->property(i)->name(), chain().leaf()->property(i));
    const std::vector<QString> names = propertyNames();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(hash.value(names[i]));
        i = (i + 1) % names.size();
    }
    state.SetLabel("baseline: QHash of the same properties");
}
BENCHMARK(BM_BaselineHashByName);

// Ten overloads of "f"; only the last takes a char *, so a string argument
// is checked against all ten (and converted for none).
TestClass *overloaded()
{
    static TestClass *c = [] {
        std::vector<MethodInfo> methods;
        for (int i = 0; i < 9; ++i)
            methods.push_back({QStringLiteral("f"),
                               {Argument(primitive(ShortClassId), 0, 0),
                                Argument(primitive(i % 2 ? BoolClassId : DoubleClassId), 0, 0)},
                               primitive(IntClassId)});
        methods.push_back({QStringLiteral("f"),
                           {Argument(primitive(CharClassId), ObjectAttribute::PointerFlag, 0),
                            Argument(primitive(CharClassId), ObjectAttribute::PointerFlag, 0)},
                           primitive(IntClassId)});
        return new TestClass("BenchOverloads", nullptr, methods);
    }();
    return c;
}

void BM_OverloadResolution(benchmark::State &state)
{
    const MethodList overloads = overloaded()->methods(QStringLiteral("f"));
    Native native;
    SharedPtr<Object> self = overloaded()->newObject(&native);
    const ObjectList args{Inspector::self()->createPrimitive("a"),
                          Inspector::self()->createPrimitive("b")};
    for (auto _ : state)
        benchmark::DoNotOptimize(overloads.invoke(self, args));
    state.SetLabel("10 overloads, the last one fits");
}
BENCHMARK(BM_OverloadResolution);

void BM_BaselineDirectInvoke(benchmark::State &state)
{
    const Method *last = overloaded()->methods(QStringLiteral("f")).last();
    Native native;
    SharedPtr<Object> self = overloaded()->newObject(&native);
    const ObjectList args{Inspector::self()->createPrimitive("a"),
                          Inspector::self()->createPrimitive("b")};
    for (auto _ : state)
        benchmark::DoNotOptimize(last->invoke(self, args));
    state.SetLabel("baseline: the same call without resolution");
}
BENCHMARK(BM_BaselineDirectInvoke);

constexpr int SerialisedClasses = 2000;

const std::vector<TestClass *> &manyClasses()
{
    static const std::vector<TestClass *> classes = [] {
        std::vector<TestClass *> result;
        for (int i = 0; i < SerialisedClasses; ++i) {
            const QByteArray name = "BenchSerial" + QByteArray::number(i);
            result.push_back(new TestClass(name.constData(), nullptr,
                                           TestClass::numberedMethods("m", 10),
                                           TestClass::numberedProperties("p", 10)));
        }
        return result;
    }();
    return classes;
}

QByteArray serialiseAll()
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(3);
    for (const TestClass *c : manyClasses())
        c->writeObject(stream);
    return bytes;
}

void BM_SerialiseClasses(benchmark::State &state)
{
    qint64 size = 0;
    for (auto _ : state) {
        const QByteArray bytes = serialiseAll();
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.SetBytesProcessed(state.iterations() * size);
    state.SetLabel("2000 classes with 10 methods and 10 properties each");
}
BENCHMARK(BM_SerialiseClasses)->Unit(benchmark::kMillisecond);

void BM_BaselineCopySameBytes(benchmark::State &state)
{
    const QByteArray source = serialiseAll();
    for (auto _ : state) {
        QByteArray copy(source.constData(), source.size());
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(state.iterations() * source.size());
    state.SetLabel("baseline: copying the same number of bytes");
}
BENCHMARK(BM_BaselineCopySameBytes)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
