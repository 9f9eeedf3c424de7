// Classes from meta objects, and values between Qt and the object model.

#include "qtwrappertest.h"

#include "class.h"
#include "enum.h"
#include "event.h"
#include "inspector.h"
#include "method.h"
#include "objectlist.h"
#include "primitiveclassid.h"
#include "property.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QColor>
#include <QDataStream>
#include <QDateTime>
#include <QFont>
#include <QLineEdit>
#include <QPoint>
#include <QPushButton>
#include <QRect>
#include <QSize>

#include <memory>

using namespace Tolvex;
using namespace QtWrapperTest;

namespace {

// A QObject with a property of each kind of value the wrapper converts.
class Sample : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString text MEMBER m_text)
    Q_PROPERTY(int number MEMBER m_number)
    Q_PROPERTY(double ratio MEMBER m_ratio)
    Q_PROPERTY(bool flag MEMBER m_flag)
    Q_PROPERTY(qlonglong big MEMBER m_big)
    Q_PROPERTY(QPoint point MEMBER m_point)
    Q_PROPERTY(QRect rect MEMBER m_rect)
    Q_PROPERTY(QSize size MEMBER m_size)
    Q_PROPERTY(QColor color MEMBER m_color)
    Q_PROPERTY(QFont font MEMBER m_font)
    Q_PROPERTY(QDateTime when MEMBER m_when)
    Q_PROPERTY(QVariantList list MEMBER m_list)
    Q_PROPERTY(QVariantMap map MEMBER m_map)
    Q_PROPERTY(QStringList strings MEMBER m_strings)
    Q_PROPERTY(Mode mode MEMBER m_mode)
    Q_PROPERTY(Options options READ options WRITE setOptions)
    Q_PROPERTY(Qt::Alignment alignment MEMBER m_alignment)
    Q_PROPERTY(QObject *buddy MEMBER m_buddy)
    Q_PROPERTY(QPushButton *button MEMBER m_button)
    Q_PROPERTY(int fixed READ fixed)
public:
    enum Mode { Off, On, Auto };
    Q_ENUM(Mode)
    enum Option { Bold = 1, Italic = 2, Underline = 4 };
    Q_DECLARE_FLAGS(Options, Option)
    Q_FLAG(Options)

    int fixed() const { return 42; }
    Options options() const { return m_options; }
    void setOptions(Options options) { m_options = options; }

    Q_INVOKABLE QString describe(int n, const QString &s) const { return s + QString::number(n); }
    Q_INVOKABLE QPoint shifted(QPoint p, int dx) const { return p + QPoint(dx, 0); }
    Q_INVOKABLE Mode next(Mode m) const { return Mode((int(m) + 1) % 3); }
    Q_INVOKABLE QObject *partner() const { return m_buddy; }

    QString lastAdd;

public Q_SLOTS:
    void add(int value) { lastAdd = QStringLiteral("int %1").arg(value); }
    void add(const QString &value) { lastAdd = QStringLiteral("text %1").arg(value); }
    void announce() { Q_EMIT changed(m_number, QStringLiteral("announced")); }

Q_SIGNALS:
    void changed(int value, const QString &why);

protected Q_SLOTS:
    void hidden() {}

public:
    QString m_text = QStringLiteral("hello");
    int m_number = 7;
    double m_ratio = 0.25;
    bool m_flag = true;
    qlonglong m_big = 1LL << 40;
    QPoint m_point{3, 4};
    QRect m_rect{1, 2, 30, 40};
    QSize m_size{640, 480};
    QColor m_color{10, 20, 30};
    QFont m_font{QStringLiteral("Sans"), 11};
    QDateTime m_when{QDate(2024, 1, 5), QTime(9, 7, 3)};
    QVariantList m_list{1, QStringLiteral("two"), 3.5};
    QVariantMap m_map{{QStringLiteral("a"), 1}, {QStringLiteral("b"), QStringLiteral("x")}};
    QStringList m_strings{QStringLiteral("a"), QStringLiteral("b")};
    Mode m_mode = On;
    Options m_options = Options(Bold | Underline);
    Qt::Alignment m_alignment = Qt::AlignLeft | Qt::AlignVCenter;
    QObject *m_buddy = nullptr;
    QPushButton *m_button = nullptr;
};

QString className(const SharedPtr<Object> &o)
{
    return o ? o->className() : QStringLiteral("<null>");
}

QString textOf(const SharedPtr<Object> &o)
{
    return o ? o->toString() : QStringLiteral("<null>");
}

bool setFrom(Sample *s, const char *name, const SharedPtr<Object> &value)
{
    return setProperty(s, QString::fromLatin1(name), value);
}

} // namespace

TEST(QtClasses, ComeFromTheMetaObjectWithTheirSuperclassesAndMembers)
{
    QPushButton button(QStringLiteral("&Go"));
    SharedPtr<Object> o = objectFor(&button);
    ASSERT_TRUE(o);
    const Class *c = o->type();
    EXPECT_EQ(c->className(), QStringLiteral("QPushButton"));
    QStringList chain;
    for (const Class *k = c; k; k = k->super())
        chain << k->className();
    EXPECT_EQ(chain, QStringList({"QPushButton", "QAbstractButton", "QWidget", "QObject"}));
    EXPECT_TRUE(c->isSubClassOf(Inspector::self()->type(QStringLiteral("QWidget"))));

    // The same QObject is always the same object of the model.
    EXPECT_EQ(objectFor(&button).get(), o.get());

    // Members of superclasses are reached through the subclass.
    ASSERT_NE(c->property(QStringLiteral("text")), nullptr);
    ASSERT_NE(c->property(QStringLiteral("objectName")), nullptr);
    EXPECT_TRUE(c->property(QStringLiteral("text"))->isWritable());
    EXPECT_FALSE(c->methods(QStringLiteral("click")).isEmpty());
    EXPECT_NE(c->event(QStringLiteral("clicked")), nullptr);
    EXPECT_NE(c->event(QStringLiteral("destroyed")), nullptr);

    // Enumerators of the class, and of scopes its members use.
    QLineEdit edit;
    const Class *lineEdit = objectFor(&edit)->type();
    const Enum *echo = lineEdit->enumerator(QStringLiteral("EchoMode"));
    ASSERT_NE(echo, nullptr);
    bool ok = false;
    EXPECT_EQ(echo->value(QStringLiteral("Password"), &ok), int(QLineEdit::Password));
    EXPECT_TRUE(ok);
    const Property *alignment = lineEdit->property(QStringLiteral("alignment"));
    ASSERT_NE(alignment, nullptr);
    ASSERT_NE(alignment->type().enumerator(), nullptr);
    EXPECT_EQ(alignment->type().enumerator()->name(), QStringLiteral("Alignment"));
    EXPECT_TRUE(alignment->type().enumerator()->isMask());
    EXPECT_EQ(alignment->type().enumerator()->enumClass()->className(), QStringLiteral("Qt"));
}

TEST(QtClasses, MembersAreSlotsInvokablesSignalsAndEnumerators)
{
    Sample s;
    const Class *c = objectFor(&s)->type();
    EXPECT_EQ(c->className(), QStringLiteral("Sample"));
    // Public slots and invokables are methods; protected slots are not.
    for (const char *name : {"describe", "shifted", "next", "partner", "add", "announce"})
        EXPECT_FALSE(c->methods(QString::fromLatin1(name)).isEmpty()) << name;
    EXPECT_TRUE(c->methods(QStringLiteral("hidden")).isEmpty());
    EXPECT_EQ(c->methods(QStringLiteral("add")).count(), 2);

    const Event *changed = c->event(QStringLiteral("changed"));
    ASSERT_NE(changed, nullptr);
    EXPECT_EQ(changed->signature().toString(), QStringLiteral("(int value, char * why)"));

    const Enum *mode = c->enumerator(QStringLiteral("Mode"));
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(mode->count(), 3);
    EXPECT_EQ(mode->key(2), QStringLiteral("Auto"));
    const Enum *options = c->enumerator(QStringLiteral("Options"));
    ASSERT_NE(options, nullptr);
    EXPECT_TRUE(options->isMask());

    // The metadata travels: every class serialises, and what a class
    // refers to was registered before it.
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_2_1);
    Inspector *inspector = Inspector::self();
    for (int i = 0; i < inspector->numClasses(); ++i) {
        const Class *k = inspector->type(i);
        ASSERT_NE(k, nullptr);
        k->writeObject(out);
        if (k->super()) {
            EXPECT_LT(k->super()->id(), k->id()) << k->className();
        }
        for (int m = 0; m < k->numMethods(); ++m) {
            const Method *method = k->method(m);
            if (!method)
                continue;
            for (const Argument &a : method->signature()) {
                if (!a.type())
                    continue;
                // The global class gains functions as wrappers start. Their
                // later arguments are of the value classes every Inspector
                // makes at its start, which a reader finds by name.
                if (k->id() == GlobalClassId && a.type()->id() > GlobalClassId) {
                    EXPECT_TRUE(
                        a.type()->fullyQualifiedClassName().startsWith(QLatin1String("UiTypes")))
                        << a.type()->fullyQualifiedClassName().toStdString() << " in "
                        << method->name().toStdString();
                    continue;
                }
                EXPECT_LE(a.type()->id(), qMax(k->id(), method->type()->id()))
                    << k->className() << "::" << method->name();
            }
        }
    }
    EXPECT_GT(bytes.size(), 1000);
}

TEST(QtClasses, PropertiesReadAsPrimitivesAndValueClasses)
{
    Sample s;
    QPushButton buddy(QStringLiteral("Buddy"));
    s.m_buddy = &buddy;
    SharedPtr<Object> o = objectFor(&s);

    EXPECT_EQ(textOf(property(o, QStringLiteral("text"))), QStringLiteral("hello"));
    EXPECT_EQ(property(o, QStringLiteral("number"))->toInteger(), 7);
    EXPECT_DOUBLE_EQ(property(o, QStringLiteral("ratio"))->toDouble(), 0.25);
    EXPECT_TRUE(property(o, QStringLiteral("flag"))->toBoolean());
    EXPECT_EQ(property(o, QStringLiteral("big"))->toInt64(), 1LL << 40);
    EXPECT_EQ(className(property(o, QStringLiteral("point"))), QStringLiteral("ScreenPoint"));
    EXPECT_EQ(property(property(o, QStringLiteral("point")), QStringLiteral("y"))->toInteger(), 4);
    EXPECT_EQ(className(property(o, QStringLiteral("rect"))), QStringLiteral("ScreenRectangle"));
    EXPECT_EQ(property(property(o, QStringLiteral("rect")), QStringLiteral("width"))->toInteger(),
              30);
    EXPECT_EQ(className(property(o, QStringLiteral("size"))), QStringLiteral("QSize"));
    EXPECT_EQ(textOf(property(o, QStringLiteral("size"))), QStringLiteral("640x480"));
    EXPECT_EQ(textOf(property(o, QStringLiteral("color"))), QStringLiteral("#0a141e"));
    EXPECT_EQ(property(property(o, QStringLiteral("color")), QStringLiteral("green"))->toInteger(),
              20);
    EXPECT_EQ(textOf(property(property(o, QStringLiteral("font")), QStringLiteral("family"))),
              QStringLiteral("Sans"));
    EXPECT_EQ(className(property(o, QStringLiteral("when"))), QStringLiteral("DateTime"));
    EXPECT_EQ(textOf(property(o, QStringLiteral("when"))), QStringLiteral("2024/01/05 09:07:03"));
    EXPECT_EQ(className(property(o, QStringLiteral("list"))), QStringLiteral("Tolvex_Array"));
    EXPECT_EQ(property(property(o, QStringLiteral("list")), QStringLiteral("length"))->toInt64(),
              3);
    EXPECT_EQ(className(property(o, QStringLiteral("map"))), QStringLiteral("Tolvex_Map"));
    EXPECT_EQ(textOf(property(o, QStringLiteral("strings"))), QStringLiteral("[a, b]"));
    // Enumerators and flags read as the names of their keys.
    EXPECT_EQ(textOf(property(o, QStringLiteral("mode"))), QStringLiteral("On"));
    EXPECT_EQ(textOf(property(o, QStringLiteral("options"))), QStringLiteral("Bold|Underline"));
    EXPECT_EQ(textOf(property(o, QStringLiteral("alignment"))),
              QStringLiteral("AlignLeft|AlignVCenter"));
    // A QObject is the object of the model for it.
    SharedPtr<Object> partner = property(o, QStringLiteral("buddy"));
    EXPECT_EQ(partner.get(), objectFor(&buddy).get());
    EXPECT_EQ(property(o, QStringLiteral("fixed"))->toInteger(), 42);
}

TEST(QtClasses, ValuesRoundTripAndConvertFromTextAndNumbers)
{
    Sample from;
    Sample to;
    to.m_text.clear();
    to.m_number = 0;
    to.m_point = QPoint();
    to.m_rect = QRect();
    to.m_size = QSize();
    to.m_color = Qt::white;
    to.m_font = QFont();
    to.m_when = QDateTime();
    to.m_list.clear();
    to.m_map.clear();
    to.m_strings.clear();
    to.m_mode = Sample::Off;
    to.m_options = {};
    to.m_alignment = Qt::AlignRight;
    // Each value read from one object and written to another arrives as it
    // was.
    for (const char *name :
         {"text", "number", "ratio", "flag", "big", "point", "rect", "size", "color", "font",
          "when", "list", "map", "strings", "mode", "options", "alignment"}) {
        SharedPtr<Object> value = property(objectFor(&from), QString::fromLatin1(name));
        ASSERT_TRUE(value) << name;
        EXPECT_TRUE(setFrom(&to, name, value)) << name << ": " << lastError().toStdString();
        EXPECT_EQ(to.property(name), from.property(name)) << name;
    }

    // Texts and numbers where values of other types are wanted.
    EXPECT_TRUE(setFrom(&to, "color", text(QStringLiteral("#ff0000"))));
    EXPECT_EQ(to.m_color, QColor(Qt::red));
    EXPECT_TRUE(setFrom(&to, "size", text(QStringLiteral("20x10"))));
    EXPECT_EQ(to.m_size, QSize(20, 10));
    EXPECT_TRUE(setFrom(&to, "mode", text(QStringLiteral("Auto"))));
    EXPECT_EQ(to.m_mode, Sample::Auto);
    EXPECT_TRUE(setFrom(&to, "mode", number(0)));
    EXPECT_EQ(to.m_mode, Sample::Off);
    EXPECT_TRUE(setFrom(&to, "options", text(QStringLiteral("Italic | Sample::Bold"))));
    EXPECT_EQ(to.m_options, Sample::Options(Sample::Italic | Sample::Bold));
    EXPECT_TRUE(setFrom(&to, "alignment", text(QStringLiteral("Qt::AlignHCenter|AlignTop"))));
    EXPECT_EQ(to.m_alignment, Qt::AlignHCenter | Qt::AlignTop);
    EXPECT_TRUE(setFrom(&to, "text", number(12)));
    EXPECT_EQ(to.m_text, QStringLiteral("12"));
    EXPECT_TRUE(setFrom(&to, "number", text(QStringLiteral("13"))));
    EXPECT_EQ(to.m_number, 13);

    // What cannot be converted is refused with a reason, and nothing changes.
    EXPECT_FALSE(setFrom(&to, "mode", text(QStringLiteral("Sideways"))));
    EXPECT_TRUE(lastError().contains(QStringLiteral("names no value")));
    EXPECT_FALSE(setFrom(&to, "number", text(QStringLiteral("many"))));
    EXPECT_EQ(to.m_number, 13);
    EXPECT_FALSE(setFrom(&to, "fixed", number(1)));
    EXPECT_TRUE(lastError().contains(QStringLiteral("read-only")));
    QPushButton button;
    EXPECT_TRUE(setFrom(&to, "buddy", objectFor(&button)));
    EXPECT_EQ(to.m_buddy, &button);
    // An object of another class, or no object at all, where a button is
    // wanted.
    QLineEdit edit;
    EXPECT_FALSE(setFrom(&to, "button", objectFor(&edit)));
    EXPECT_EQ(lastError(),
              QStringLiteral("Cannot set property button: a QPushButton* is needed, not the "
                             "QLineEdit given"));
    EXPECT_FALSE(setFrom(&to, "button", number(3)));
    EXPECT_TRUE(
        lastError().contains(QStringLiteral("a QPushButton* is needed, not the int given")));
    EXPECT_TRUE(setFrom(&to, "button", objectFor(&button)));
    EXPECT_EQ(to.m_button, &button);
    EXPECT_EQ(to.m_buddy, &button);
}

TEST(QtClasses, MethodsAreCalledWithConvertedArgumentsAndResults)
{
    Sample s;
    EXPECT_EQ(textOf(call(&s, QStringLiteral("describe"), {number(3), text(QStringLiteral("x"))})),
              QStringLiteral("x3"));
    SharedPtr<Object> point = call(&s, QStringLiteral("shifted"),
                                   {property(objectFor(&s), QStringLiteral("point")), number(10)});
    ASSERT_TRUE(point);
    EXPECT_EQ(property(point, QStringLiteral("x"))->toInteger(), 13);
    EXPECT_EQ(textOf(call(&s, QStringLiteral("next"), {text(QStringLiteral("Auto"))})),
              QStringLiteral("Off"));
    // Overloads are told apart by the classes of the arguments.
    call(&s, QStringLiteral("add"), {number(5)});
    EXPECT_EQ(s.lastAdd, QStringLiteral("int 5"));
    call(&s, QStringLiteral("add"), {text(QStringLiteral("five"))});
    EXPECT_EQ(s.lastAdd, QStringLiteral("text five"));
    // A slot without a result answers the void object; its effect happens.
    int emitted = 0;
    QObject::connect(&s, &Sample::changed,
                     [&emitted](int value, const QString &) { emitted = value; });
    SharedPtr<Object> none = call(&s, QStringLiteral("announce"), {});
    ASSERT_TRUE(none);
    EXPECT_EQ(none->type()->id(), int(VoidClassId));
    EXPECT_EQ(emitted, 7);
    // A null object pointer comes back as no object, without harm.
    EXPECT_FALSE(call(&s, QStringLiteral("partner"), {}));
}

TEST(QtClasses, ObjectsOfDestroyedQObjectsAreDeadAndHarmless)
{
    auto s = std::make_unique<Sample>();
    SharedPtr<Object> o = objectFor(s.get());
    const Property *text = o->type()->property(QStringLiteral("text"));
    const MethodList describe = o->type()->methods(QStringLiteral("describe"));
    s.reset();
    EXPECT_FALSE(o->isValid());
    EXPECT_TRUE(o->isNull());
    EXPECT_EQ(o->className(), QStringLiteral("Dead"));
    EXPECT_FALSE(text->get(o));
    EXPECT_FALSE(describe.invoke(o, {number(1), QtWrapperTest::text(QStringLiteral("a"))}));
    EXPECT_FALSE(o->parent());
    EXPECT_TRUE(o->children().empty());
}

#include "classes_test.moc"
