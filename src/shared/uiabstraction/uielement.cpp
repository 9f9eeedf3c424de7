#include "uielement.h"

#include <QDataStream>
#include <QIODevice>
#include <QUuid>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace Tolvex::UIAbstraction {

// --- StandardType ---------------------------------------------------------

#define TOLVEX_STANDARD_TYPE(function, text)                                                       \
    const StandardType &StandardType::function()                                                   \
    {                                                                                              \
        static const StandardType type(QStringLiteral(text));                                      \
        return type;                                                                               \
    }

TOLVEX_STANDARD_TYPE(Button, "Button")
TOLVEX_STANDARD_TYPE(CheckBox, "CheckBox")
TOLVEX_STANDARD_TYPE(Dialog, "Dialog")
TOLVEX_STANDARD_TYPE(Menu, "Menu")
TOLVEX_STANDARD_TYPE(MenuBar, "MenuBar")
TOLVEX_STANDARD_TYPE(MenuItem, "MenuItem")
TOLVEX_STANDARD_TYPE(Table, "Table")
TOLVEX_STANDARD_TYPE(TextInput, "TextInput")
TOLVEX_STANDARD_TYPE(ToolBar, "ToolBar")
TOLVEX_STANDARD_TYPE(Window, "Window")

#undef TOLVEX_STANDARD_TYPE

QString StandardType::toString() const
{
    return m_name.isNull() ? QStringLiteral("unknown") : m_name;
}

void StandardType::serialize(QDataStream *stream) const
{
    *stream << m_name;
}

StandardType StandardType::deserialize(QDataStream *stream)
{
    QString name;
    *stream >> name;
    return StandardType(name);
}

// --- ElementGeometry ------------------------------------------------------

ElementGeometry ElementGeometry::relativeTo(const ElementGeometry &base) const
{
    if (m_relative)
        return *this;
    if (!base.m_rect.isValid())
        return ElementGeometry(QRect(QPoint(0, 0), m_rect.size()), true);
    return ElementGeometry(QRect(m_rect.topLeft() - base.m_rect.topLeft(), m_rect.size()), true);
}

// --- UIElement ------------------------------------------------------------

UIElement::UIElement(const QString &concreteType, const StandardType &standardType,
                     const QString &id)
    : m_id(id.isEmpty() ? QUuid::createUuid().toString() : id), m_standardType(standardType),
      m_concreteType(concreteType)
{}

UIElement::~UIElement()
{
    // The element owns the children it is the parent of.
    for (UIElement *child : std::as_const(m_children))
        if (child->m_parent == this) {
            child->m_parent = nullptr;
            delete child;
        }
}

void UIElement::addChild(UIElement *child)
{
    if (!child || child == this || m_children.contains(child))
        return;
    m_children.append(child);
    if (!child->m_parent)
        child->m_parent = this;
    Q_EMIT childAdded(child);
}

UIElement *UIElement::takeFirstChild()
{
    if (m_children.isEmpty())
        return nullptr;
    UIElement *child = m_children.takeFirst();
    if (child->m_parent == this)
        child->m_parent = nullptr;
    return child;
}

QString UIElement::parentId() const
{
    return m_parent ? m_parent->m_id : QString();
}

UIElement *UIElement::siblingElement(int offset) const
{
    if (!m_parent)
        return nullptr;
    const qsizetype at = m_parent->m_children.indexOf(const_cast<UIElement *>(this)) + offset;
    return at >= 0 && at < m_parent->m_children.size() ? m_parent->m_children.at(at) : nullptr;
}

UIElement *UIElement::childByText(const QString &text, const StandardType &type) const
{
    for (UIElement *child : m_children)
        if (child->m_text == text && (!type.isKnown() || child->m_standardType == type))
            return child;
    return nullptr;
}

void UIElement::setStandardType(const StandardType &type)
{
    if (type == m_standardType)
        return;
    m_standardType = type;
    Q_EMIT standardTypeChanged();
}

void UIElement::setTransparentNode(bool transparent)
{
    if (transparent == m_transparentNode)
        return;
    m_transparentNode = transparent;
    Q_EMIT transparentNodeChanged();
}

void UIElement::setSubgraphTransparent(bool transparent)
{
    if (transparent == m_subgraphTransparent)
        return;
    m_subgraphTransparent = transparent;
    Q_EMIT subgraphTransparentChanged();
}

void UIElement::setWindowNode(bool window)
{
    if (window == m_windowNode)
        return;
    m_windowNode = window;
    Q_EMIT windowNodeChanged();
}

void UIElement::setText(const QString &text)
{
    // An empty text differs from none on the wire.
    if (text == m_text && text.isNull() == m_text.isNull())
        return;
    m_text = text;
    Q_EMIT textChanged();
}

void UIElement::setGeometry(const ElementGeometry &geometry)
{
    if (geometry == m_geometry)
        return;
    m_geometry = geometry;
    Q_EMIT geometryChanged();
}

void UIElement::setImage(const QImage &image)
{
    m_image = image;
    Q_EMIT imageChanged();
}

void UIElement::setConcreteProperty(const QString &key, const QString &value)
{
    m_concreteProperties.insert(key, value);
}

void UIElement::setIdentifyingProperty(const QString &key, const QString &value)
{
    m_identifyingProperties.insert(key, value);
}

void UIElement::registerEvent(const UIEvent &event)
{
    if (m_usage.contains(event))
        return;
    m_usage.insert(event, 0);
    Q_EMIT eventRegistered(event);
}

void UIElement::setUsage(const UIEvent &event, int count)
{
    const int before = m_usage.value(event, -1);
    if (before < 0)
        std::fprintf(stderr,
                     "Unregistered event occured on { standardType='%s', concreteType='%s', "
                     "text='%s' }: '%s'\n",
                     qUtf8Printable(m_standardType.toString()), qUtf8Printable(m_concreteType),
                     qUtf8Printable(m_text), qUtf8Printable(event.name()));
    m_usage.insert(event, count);
    if (count > before)
        Q_EMIT usageIncreased(event);
}

void UIElement::addUsage(const UIEvent &event)
{
    setUsage(event, std::max(usage(event), 0) + 1);
}

void UIElement::addUsageForChildAt(const UIEvent &event, const QPoint &point)
{
    if (m_geometry.rect().contains(point))
        addUsage(event);
    for (UIElement *child : std::as_const(m_children))
        child->addUsageForChildAt(event, point);
}

void UIElement::addUsageForChildElements(const UIEvent &event)
{
    for (UIElement *child : std::as_const(m_children)) {
        child->addUsage(event);
        child->addUsageForChildElements(event);
    }
}

namespace {

void writeHash(QDataStream &out, const QHash<QString, QString> &hash)
{
    out << qint32(hash.size());
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        out << it.key() << it.value();
}

// A count read from the stream: false for a negative one or a stream that
// has failed. Counts are not trusted for allocation: the loops that use them
// stop as soon as the stream runs dry.
bool readCount(QDataStream &in, qint32 *count)
{
    in >> *count;
    return in.status() == QDataStream::Ok && *count >= 0;
}

bool readHash(QDataStream &in, QHash<QString, QString> *hash)
{
    qint32 count = 0;
    if (!readCount(in, &count))
        return false;
    for (qint32 i = 0; i < count; ++i) {
        QString key;
        QString value;
        in >> key >> value;
        if (in.status() != QDataStream::Ok)
            return false;
        hash->insert(key, value);
    }
    return true;
}

} // namespace

void UIElement::serialize(QDataStream *stream) const
{
    QDataStream &out = *stream;
    out << m_id;
    m_standardType.serialize(stream);
    out << m_concreteType << m_simplifiedType << m_nameSpace;
    out << qint32(m_superTypes.size());
    for (const QString &type : m_superTypes)
        out << type;
    out << m_transparentNode << m_subgraphTransparent << m_windowNode;
    out << m_text;
    out << m_geometry.rect() << m_geometry.isRelative();
    out << m_image;
    out << m_realName << m_symbolicName;
    writeHash(out, m_concreteProperties);
    writeHash(out, m_identifyingProperties);
    out << qint32(m_usage.size());
    for (auto it = m_usage.cbegin(); it != m_usage.cend(); ++it)
        out << it.key().name() << qint32(it.value());
    out << qint32(m_children.size());
    for (const UIElement *child : m_children)
        child->serialize(stream);
}

UIElement *UIElement::deserialize(QDataStream *stream)
{
    return deserialize(stream, 0);
}

UIElement *UIElement::deserialize(QDataStream *stream, int depth)
{
    QDataStream &in = *stream;
    if (depth > MaxDepth || in.status() != QDataStream::Ok)
        return nullptr;
    QString id;
    in >> id;
    auto element = std::make_unique<UIElement>(QString(), StandardType(), QString());
    // No signals while the element is filled: nobody has seen it yet.
    const QSignalBlocker quiet(element.get());
    element->m_id = id;
    element->m_standardType = StandardType::deserialize(stream);
    in >> element->m_concreteType >> element->m_simplifiedType >> element->m_nameSpace;
    qint32 count = 0;
    if (!readCount(in, &count))
        return nullptr;
    for (qint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        QString type;
        in >> type;
        element->m_superTypes.append(type);
    }
    in >> element->m_transparentNode >> element->m_subgraphTransparent >> element->m_windowNode;
    in >> element->m_text;
    QRect rect;
    bool relative = false;
    in >> rect >> relative;
    element->m_geometry = ElementGeometry(rect, relative);
    in >> element->m_image;
    in >> element->m_realName >> element->m_symbolicName;
    if (!readHash(in, &element->m_concreteProperties) ||
        !readHash(in, &element->m_identifyingProperties) || !readCount(in, &count))
        return nullptr;
    for (qint32 i = 0; i < count; ++i) {
        QString event;
        qint32 used = 0;
        in >> event >> used;
        if (in.status() != QDataStream::Ok)
            return nullptr;
        element->m_usage.insert(UIEvent(event), used);
    }
    if (!readCount(in, &count))
        return nullptr;
    for (qint32 i = 0; i < count; ++i) {
        UIElement *child = deserialize(stream, depth + 1);
        if (!child)
            return nullptr;
        element->addChild(child);
    }
    return element.release();
}

QList<UIElement *> UIElement::elementsFromByteArray(const QByteArray &bytes)
{
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_4_6);
    qint32 count = 0;
    in >> count;
    QList<UIElement *> elements;
    for (qint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        UIElement *element = deserialize(&in);
        if (!element)
            break;
        elements.append(element);
    }
    return elements;
}

QByteArray UIElement::toByteArray(const QList<const UIElement *> &elements)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_4_6);
    out << qint32(elements.size());
    for (const UIElement *element : elements)
        element->serialize(&out);
    return bytes;
}

bool UIElement::isSimilarTo(const UIElement *other, bool recursive) const
{
    if (other == this)
        return true;
    if (!other || m_standardType != other->m_standardType ||
        m_concreteType != other->m_concreteType || m_simplifiedType != other->m_simplifiedType ||
        m_nameSpace != other->m_nameSpace || m_transparentNode != other->m_transparentNode ||
        m_subgraphTransparent != other->m_subgraphTransparent ||
        m_windowNode != other->m_windowNode || m_text != other->m_text ||
        m_geometry != other->m_geometry)
        return false;
    if (!recursive)
        return true;
    if (m_children.size() != other->m_children.size())
        return false;
    for (qsizetype i = 0; i < m_children.size(); ++i)
        if (!m_children.at(i)->isSimilarTo(other->m_children.at(i), true))
            return false;
    return true;
}

} // namespace Tolvex::UIAbstraction
