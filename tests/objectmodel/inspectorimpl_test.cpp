#include "testtoolkit.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace TestToolkit;

namespace {

// Stands behind the Inspector as a replaced implementation would, and
// notes which operations reached it.
class Recording : public InspectorInterface
{
public:
    mutable QStringList calls;
    SharedPtr<Object> answer = Inspector::self()->voidObject();

    SharedPtr<Object> note(const char *what) const
    {
        calls << QLatin1String(what);
        return answer;
    }

    int numObjects() const override { return note("numObjects"), 3; }
    SharedPtr<Object> object(const QString &) const override { return note("objectByName"); }
    SharedPtr<Object> object(int) const override { return note("objectByIndex"); }
    ObjectList objects() const override { return note("objects"), ObjectList(); }
    SharedPtr<Object> findObject(const QString &) override { return note("findObject"); }
    int numClasses() const override { return note("numClasses"), 1000; }
    const Class *type(const QString &name) const override
    {
        calls << QStringLiteral("type:") + name;
        return nullptr;
    }
    const Class *type(int) const override { return note("typeById"), nullptr; }
    int registerClass(const Class *) const override { return note("registerClass"), 4242; }
    int numNamespaces() const override { return note("numNamespaces"), 0; }
    Namespace *nameSpace(const QString &) const override { return note("nsByName"), nullptr; }
    Namespace *nameSpace(int) const override { return note("nsById"), nullptr; }
    Namespace *nameSpaceFromFullyQualifiedName(const QString &) const override
    {
        return note("nsQualified"), nullptr;
    }
    int registerNamespace(Namespace *) const override { return note("registerNamespace"), 77; }
    SharedPtr<Object> createPrimitive(const QList<QString> &) override { return note("list"); }
    SharedPtr<Object> createPrimitive(const char *) override { return note("string"); }
    SharedPtr<Object> createPrimitive(double) override { return note("double"); }
    SharedPtr<Object> createPrimitive(bool) override { return note("bool"); }
    SharedPtr<Object> createPrimitive(long) override { return note("long"); }
    SharedPtr<Object> createPrimitive(long long) override { return note("int64"); }
    SharedPtr<Object> createPrimitive(int) override { return note("int"); }
    SharedPtr<Object> createNull(const Class *) const override { return note("createNull"); }
    SharedPtr<Object> voidObject() const override { return note("voidObject"); }
    void addPropertyDelegate(const QString &, const QList<QString> &) override
    {
        note("addPropertyDelegate");
    }
    void setUniqueProperty(const QString &, const QString &) override { note("unique"); }
    void setExtensionCode(const QString &, const QString &) override { note("extension"); }
    void setMouseTracking(const QString &, bool) override { note("mouseTracking"); }
    void setRecordMouseDrag(const QString &, bool) override { note("mouseDrag"); }
    void setAllowKeyEventCompression(const QString &, bool) override { note("keyCompression"); }
    void enableEventCompression(const QString &, bool) override { note("eventCompression"); }
    void setRecorderFilter(const QString &, const QString &) override { note("filter"); }
    void setError(const QString &text) override { calls << QStringLiteral("setError:") + text; }
    QString lastError() const override { return note("lastError"), QStringLiteral("remote"); }
    bool installObjectEventHandler(SharedPtr<Object>, const QString &, const QString &) override
    {
        return note("installObject"), false;
    }
    bool uninstallObjectEventHandler(SharedPtr<Object>, const QString &, const QString &) override
    {
        return note("uninstallObject"), false;
    }
    bool installClassEventHandler(const QString &, const QString &, const QString &) override
    {
        return note("installClass"), false;
    }
    bool uninstallClassEventHandler(const QString &, const QString &, const QString &) override
    {
        return note("uninstallClass"), false;
    }
    bool installGlobalEventHandler(const QString &, const QString &) override
    {
        return note("installGlobal"), false;
    }
    bool uninstallGlobalEventHandler(const QString &, const QString &) override
    {
        return note("uninstallGlobal"), false;
    }
    QVariant call(const QString &name, const FList<QVariant> &) override
    {
        calls << QStringLiteral("call:") + name;
        return QVariant(1);
    }
    QMap<QString, QList<QString>> unmatchedProperties() const override
    {
        note("unmatched");
        return {};
    }
};

// Runs in a child process: setting an implementation empties the local
// tables for good.
int forwardingChecks()
{
    Inspector *in = Inspector::self();
    in->numClasses(); // the built-in classes exist before
    Recording impl;
    in->setInspectorInterfaceImpl(&impl);
    int failures = 0;
    const auto check = [&](bool ok) { failures += ok ? 0 : 1; };

    check(in->numClasses() == 1000);
    check(in->type(QStringLiteral("Widget*")) == nullptr);
    check(impl.calls.contains(QStringLiteral("type:Widget")));
    check(in->createPrimitive(5).get() == impl.answer.get());
    check(in->createPrimitive(QStringLiteral("text")).get() == impl.answer.get());
    check(impl.calls.contains(QStringLiteral("string")));
    in->setError(QStringLiteral("oops"));
    check(impl.calls.contains(QStringLiteral("setError:oops")));
    check(in->lastError() == QStringLiteral("remote"));
    check(in->call(QStringLiteral("ping"), FList<QVariant>()) == QVariant(1));
    check(in->findObject(QStringLiteral(":a")).get() == impl.answer.get());
    check(in->numObjects() == 3);
    auto *late = new TestClass("RegisteredRemotely", nullptr);
    check(late->id() == 4242);
    in->enableEventCompression(QStringLiteral("X"), true);
    check(impl.calls.contains(QStringLiteral("eventCompression")));
    in->setInspectorInterfaceImpl(nullptr);
    // The local tables were emptied and stay so.
    check(in->numClasses() == 0);
    check(in->type(IntClassId) == nullptr);
    return failures;
}

} // namespace

TEST(InspectorDeathTest, ReplacedImplementationReceivesEveryOperation)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // _Exit: the classes that the emptied tables held are unreachable now
    // by design, and a leak check at exit would count them.
    EXPECT_EXIT(std::_Exit(forwardingChecks()), testing::ExitedWithCode(0), "");
}
