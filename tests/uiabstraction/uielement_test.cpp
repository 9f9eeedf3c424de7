// The element tree of a snapshot: its stream form to the byte, round trips
// of whole trees, broken streams, and the tree and usage operations.
#include "uielement.h"

#include <QDataStream>
#include <QIODevice>

#include <gtest/gtest.h>

#include <memory>

using namespace Tolvex::UIAbstraction;

namespace {

QByteArray streamOf(const UIElement &element)
{
    return UIElement::toByteArray({&element});
}

std::unique_ptr<UIElement> readOne(const QByteArray &bytes)
{
    const QList<UIElement *> elements = UIElement::elementsFromByteArray(bytes);
    EXPECT_EQ(elements.size(), 1);
    for (qsizetype i = 1; i < elements.size(); ++i)
        delete elements.at(i);
    return std::unique_ptr<UIElement>(elements.value(0));
}

// A window with a button and a field below a transparent container, with
// every field of the model set somewhere.
std::unique_ptr<UIElement> sampleTree()
{
    auto window = std::make_unique<UIElement>(QStringLiteral("QMainWindow"), StandardType::Window(),
                                              QStringLiteral("w1"));
    window->setNameSpace(QStringLiteral("Qt"));
    window->setSuperTypes({QStringLiteral("QWidget"), QStringLiteral("QObject")});
    window->setText(QStringLiteral("Démo"));
    window->setGeometry(ElementGeometry(QRect(10, 20, 300, 200), false));
    QImage picture(4, 3, QImage::Format_RGB32);
    picture.fill(Qt::red);
    window->setImage(picture);
    window->setWindowNode(true);
    window->setRealName(QStringLiteral("{type='QMainWindow'}"));
    window->setSymbolicName(QStringLiteral(":Main"));
    window->setConcreteProperty(QStringLiteral("windowTitle"), QStringLiteral("Démo"));
    window->setIdentifyingProperty(QStringLiteral("type"), QStringLiteral("QMainWindow"));
    window->registerEvent(UIEvent(QStringLiteral("click")));
    window->setUsage(UIEvent(QStringLiteral("click")), 3);

    auto *box = new UIElement(QStringLiteral("QFrame"), StandardType(), QStringLiteral("b1"));
    box->setTransparentNode(true);
    box->setSubgraphTransparent(true);
    auto *button =
        new UIElement(QStringLiteral("QPushButton"), StandardType::Button(), QStringLiteral("p1"));
    button->setText(QStringLiteral("OK"));
    button->setSimplifiedType(QStringLiteral("PushButton"));
    button->setGeometry(ElementGeometry(QRect(5, 5, 60, 20), true));
    auto *field =
        new UIElement(QStringLiteral("QLineEdit"), StandardType::TextInput(), QStringLiteral("f1"));
    box->addChild(button);
    box->addChild(field);
    window->addChild(box);
    return window;
}

void expectSameFields(const UIElement &a, const UIElement &b)
{
    EXPECT_TRUE(a.isSimilarTo(&b, true));
    EXPECT_EQ(a.id(), b.id());
    EXPECT_EQ(a.superTypes(), b.superTypes());
    EXPECT_EQ(a.realName(), b.realName());
    EXPECT_EQ(a.symbolicName(), b.symbolicName());
    EXPECT_EQ(a.concreteProperties(), b.concreteProperties());
    EXPECT_EQ(a.identifyingProperties(), b.identifyingProperties());
    EXPECT_EQ(a.usageMap(), b.usageMap());
    EXPECT_EQ(a.image(), b.image());
    EXPECT_EQ(a.isImageSet(), b.isImageSet());
    ASSERT_EQ(a.children().size(), b.children().size());
    for (qsizetype i = 0; i < a.children().size(); ++i) {
        EXPECT_EQ(b.children().at(i)->parentElement(), &b);
        expectSameFields(*a.children().at(i), *b.children().at(i));
    }
}

} // namespace

TEST(UIElement, StreamFormIsTheFieldsInOrderAtVersion12)
{
    // Null strings and empty ones differ on the wire.
    UIElement element(QString(), StandardType(), QStringLiteral("a"));
    element.setText(QStringLiteral(""));
    const QByteArray bytes = streamOf(element);

    QByteArray expected;
    QDataStream out(&expected, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_4_6);
    out << qint32(1) << QStringLiteral("a");
    expected += QByteArray::fromHex("ffffffff"   // standard type: a null string
                                    "ffffffff"   // concrete type
                                    "ffffffff"   // simplified type
                                    "ffffffff"   // namespace
                                    "00000000"   // no super types
                                    "000000"     // three flags
                                    "00000000"); // text: empty, not null
    QDataStream tail(&expected, QIODevice::WriteOnly | QIODevice::Append);
    tail.setVersion(QDataStream::Qt_4_6);
    tail << QRect() << false << QImage() << QString() << QString() << qint32(0) << qint32(0)
         << qint32(0) << qint32(0);
    EXPECT_EQ(bytes.toHex(), expected.toHex());

    const std::unique_ptr<UIElement> back = readOne(bytes);
    ASSERT_TRUE(back);
    EXPECT_FALSE(back->standardType().isKnown());
    EXPECT_EQ(back->standardType().toString(), QStringLiteral("unknown"));
    EXPECT_TRUE(back->concreteType().isNull());
    EXPECT_FALSE(back->text().isNull());
    EXPECT_FALSE(back->isImageSet());
}

TEST(UIElement, WholeTreesComeBackWithEveryFieldAndTheSameBytes)
{
    const std::unique_ptr<UIElement> tree = sampleTree();
    const QByteArray bytes = streamOf(*tree);
    const std::unique_ptr<UIElement> back = readOne(bytes);
    ASSERT_TRUE(back);
    expectSameFields(*tree, *back);
    EXPECT_EQ(back->standardType(), StandardType::Window());
    EXPECT_TRUE(back->isWindowNode());
    EXPECT_TRUE(back->children().first()->isSubgraphTransparent());
    EXPECT_EQ(back->children().first()->children().first()->geometry(),
              ElementGeometry(QRect(5, 5, 60, 20), true));
    EXPECT_EQ(back->children().first()->children().first()->simplifiedType(),
              QStringLiteral("PushButton"));
    EXPECT_EQ(streamOf(*back), bytes);

    // Reading emits nothing: the signals tell later changes only.
    int signals = 0;
    QObject::connect(back.get(), &UIElement::textChanged, [&] { ++signals; });
    back->setText(back->text());
    EXPECT_EQ(signals, 0);
    back->setText(QStringLiteral("other"));
    EXPECT_EQ(signals, 1);

    // A type this side does not know travels through unchanged.
    QByteArray foreign = bytes;
    const QByteArray window = QByteArray("\0W\0i\0n\0d\0o\0w", 12);
    foreign.replace(foreign.indexOf(window), window.size(), QByteArray("\0S\0l\0i\0d\0e\0r", 12));
    const std::unique_ptr<UIElement> slider = readOne(foreign);
    ASSERT_TRUE(slider);
    EXPECT_EQ(slider->standardType().toString(), QStringLiteral("Slider"));
    EXPECT_EQ(streamOf(*slider), foreign);
}

TEST(UIElement, BrokenStreamsGiveWhatWasWholeAndNoMore)
{
    EXPECT_TRUE(UIElement::elementsFromByteArray(QByteArray::fromHex("00000000")).isEmpty());
    EXPECT_TRUE(UIElement::elementsFromByteArray(QByteArray::fromHex("ffffffff")).isEmpty());
    EXPECT_TRUE(UIElement::elementsFromByteArray(QByteArray()).isEmpty());

    // Two trees, the second cut anywhere: the first one alone comes back.
    const std::unique_ptr<UIElement> tree = sampleTree();
    const UIElement leaf(QStringLiteral("QLabel"), StandardType(), QStringLiteral("l"));
    const QByteArray both = UIElement::toByteArray({&leaf, tree.get()});
    for (qsizetype cut = both.size() - 1; cut > both.size() - 300; cut -= 7) {
        const QList<UIElement *> read = UIElement::elementsFromByteArray(both.left(cut));
        ASSERT_EQ(read.size(), 1) << cut;
        EXPECT_EQ(read.first()->id(), QStringLiteral("l"));
        qDeleteAll(read);
    }

    // A count of children that the stream does not hold, and a nesting deeper
    // than any interface.
    QByteArray lying = UIElement::toByteArray({&leaf});
    lying.chop(4);
    lying += QByteArray::fromHex("7fffffff");
    EXPECT_TRUE(UIElement::elementsFromByteArray(lying).isEmpty());

    auto deep = std::make_unique<UIElement>(QStringLiteral("QWidget"), StandardType(), QString());
    UIElement *bottom = deep.get();
    for (int i = 0; i <= UIElement::MaxDepth; ++i) {
        auto *next = new UIElement(QStringLiteral("QWidget"), StandardType(), QString());
        bottom->addChild(next);
        bottom = next;
    }
    EXPECT_TRUE(UIElement::elementsFromByteArray(streamOf(*deep)).isEmpty());
    delete bottom->parentElement()->takeFirstChild();
    const QList<UIElement *> deepest = UIElement::elementsFromByteArray(streamOf(*deep));
    EXPECT_EQ(deepest.size(), 1);
    qDeleteAll(deepest);
}

TEST(UIElement, TreeOperationsKeepOneParentAndOneEntryPerChild)
{
    const std::unique_ptr<UIElement> tree = sampleTree();
    UIElement *box = tree->children().first();
    UIElement *button = box->children().at(0);
    UIElement *field = box->children().at(1);

    box->addChild(button);
    EXPECT_EQ(box->children().size(), 2);
    EXPECT_EQ(button->parentId(), QStringLiteral("b1"));
    EXPECT_EQ(button->siblingElement(1), field);
    EXPECT_EQ(field->siblingElement(-1), button);
    EXPECT_EQ(field->siblingElement(1), nullptr);
    EXPECT_EQ(tree->siblingElement(1), nullptr);
    EXPECT_TRUE(tree->isTopLevelElement());
    EXPECT_EQ(box->childByText(QStringLiteral("OK")), button);
    EXPECT_EQ(box->childByText(QStringLiteral("OK"), StandardType::TextInput()), nullptr);
    EXPECT_EQ(box->childByText(QStringLiteral("OK"), StandardType::Button()), button);

    EXPECT_EQ(field->takeFirstChild(), nullptr);
    std::unique_ptr<UIElement> taken(box->takeFirstChild());
    EXPECT_EQ(taken.get(), button);
    EXPECT_FALSE(taken->hasParent());
    EXPECT_EQ(box->children(), QList<UIElement *>{field});

    // Geometry relative to another element.
    const ElementGeometry inner(QRect(110, 220, 5, 6), false);
    EXPECT_EQ(inner.relativeTo(ElementGeometry(QRect(100, 200, 50, 50), false)),
              ElementGeometry(QRect(10, 20, 5, 6), true));
    EXPECT_EQ(inner.relativeTo(ElementGeometry()), ElementGeometry(QRect(0, 0, 5, 6), true));
    const ElementGeometry relative(QRect(1, 2, 3, 4), true);
    EXPECT_EQ(relative.relativeTo(ElementGeometry(QRect(100, 200, 5, 5), false)), relative);

    // Similar ignores ids and names, not texts or children.
    const std::unique_ptr<UIElement> other = sampleTree();
    other->setRealName(QStringLiteral("{}"));
    EXPECT_FALSE(tree->isSimilarTo(other.get(), true));
    EXPECT_TRUE(tree->isSimilarTo(other.get(), false));
    delete other->children().first()->takeFirstChild();
    EXPECT_TRUE(tree->isSimilarTo(other.get(), true));
    other->children().first()->children().first()->setText(QStringLiteral("x"));
    EXPECT_FALSE(tree->isSimilarTo(other.get(), true));
}

TEST(UIElement, UsageCountsRegisteredEventsWhereThePointIs)
{
    const std::unique_ptr<UIElement> tree = sampleTree();
    UIElement *box = tree->children().first();
    UIElement *button = box->children().at(0);
    const UIEvent press(QStringLiteral("press"));
    EXPECT_EQ(button->usage(press), -1);

    int increased = 0;
    QObject::connect(button, &UIElement::usageIncreased, [&] { ++increased; });
    button->registerEvent(press);
    EXPECT_EQ(button->usage(press), 0);
    button->registerEvent(press);
    EXPECT_EQ(button->usage(press), 0);

    // The point is in the window and in the button, not in the box, which
    // has no geometry.
    tree->registerEvent(press);
    button->setGeometry(ElementGeometry(QRect(20, 30, 60, 20), false));
    tree->addUsageForChildAt(press, QPoint(25, 35));
    EXPECT_EQ(tree->usage(press), 1);
    EXPECT_EQ(box->usage(press), -1);
    EXPECT_EQ(button->usage(press), 1);
    EXPECT_EQ(increased, 1);

    tree->addUsageForChildElements(press);
    EXPECT_EQ(button->usage(press), 2);
    EXPECT_EQ(box->usage(press), 1);
    EXPECT_EQ(tree->usage(press), 1);
}
