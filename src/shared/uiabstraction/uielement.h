#pragma once

// The toolkit-neutral tree of a user interface snapshot. Each element holds
// a standard type, its toolkit's concrete type, texts, geometry, an optional
// picture and two property tables; the same classes write a tree to a
// stream and read it back on the other end.

#include "tolvexexport.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QMap>
#include <QObject>
#include <QRect>
#include <QString>

class QDataStream;

namespace Tolvex::UIAbstraction {

// What kind of control an element is, across toolkits. Only the instances
// below exist, and a null one, which is unknown; a text that this side does
// not know still survives a round trip through a stream.
class TOLVEX_EXPORT StandardType
{
public:
    StandardType() = default;

    static const StandardType &Button();
    static const StandardType &CheckBox();
    static const StandardType &Dialog();
    static const StandardType &Menu();
    static const StandardType &MenuBar();
    static const StandardType &MenuItem();
    static const StandardType &Table();
    static const StandardType &TextInput();
    static const StandardType &ToolBar();
    static const StandardType &Window();

    bool isKnown() const { return !m_name.isNull(); }
    // "unknown" for the null type.
    QString toString() const;
    bool operator==(const StandardType &o) const { return m_name == o.m_name; }
    bool operator!=(const StandardType &o) const { return m_name != o.m_name; }

    void serialize(QDataStream *stream) const;
    static StandardType deserialize(QDataStream *stream);

private:
    explicit StandardType(const QString &name) : m_name(name) {}
    QString m_name;
};

class TOLVEX_EXPORT ElementGeometry
{
public:
    ElementGeometry() = default;
    ElementGeometry(const QRect &rect, bool relative) : m_rect(rect), m_relative(relative) {}

    QRect rect() const { return m_rect; }
    bool isRelative() const { return m_relative; }
    void setRelative(bool relative) { m_relative = relative; }
    // The same size with its corner relative to base's; a relative geometry
    // keeps its corner, and an invalid base gives the corner (0, 0).
    ElementGeometry relativeTo(const ElementGeometry &base) const;

    bool operator==(const ElementGeometry &o) const
    {
        return m_rect == o.m_rect && m_relative == o.m_relative;
    }
    bool operator!=(const ElementGeometry &o) const { return !(*this == o); }

private:
    QRect m_rect;
    bool m_relative = false;
};

// The name of an event that happened on an element.
class TOLVEX_EXPORT UIEvent
{
public:
    UIEvent() = default;
    explicit UIEvent(const QString &name) : m_name(name) {}
    QString name() const { return m_name; }
    bool operator==(const UIEvent &o) const { return m_name == o.m_name; }
    bool operator<(const UIEvent &o) const { return m_name < o.m_name; }

private:
    QString m_name;
};

class TOLVEX_EXPORT UIElement : public QObject
{
    Q_OBJECT
public:
    // Streams deeper than this are refused as broken: a tree of a real
    // interface is far shallower, and reading recurses.
    static constexpr int MaxDepth = 512;

    // An empty id gives a new unique one.
    UIElement(const QString &concreteType, const StandardType &standardType, const QString &id);
    ~UIElement() override;

    // Tree. A child already in the list is ignored; the element takes
    // ownership and becomes its parent unless it has one.
    void addChild(UIElement *child);
    QList<UIElement *> children() const { return m_children; }
    // The first child, handed over to the caller with no parent; null for a
    // leaf.
    UIElement *takeFirstChild();
    UIElement *parentElement() const { return m_parent; }
    // Empty without a parent.
    QString parentId() const;
    bool hasParent() const { return m_parent != nullptr; }
    bool isTopLevelElement() const { return m_parent == nullptr; }
    // The child of the parent that many places after this one (before it
    // for a negative offset); null past either end or without a parent.
    UIElement *siblingElement(int offset) const;
    // The first child of that text, and with a known type of that type.
    UIElement *childByText(const QString &text, const StandardType &type = StandardType()) const;

    QString id() const { return m_id; }
    StandardType standardType() const { return m_standardType; }
    void setStandardType(const StandardType &type);
    QString concreteType() const { return m_concreteType; }
    // The concrete type was not known to the side that made the element.
    bool unknownConcreteType() const { return m_concreteType.isEmpty(); }
    QString simplifiedType() const { return m_simplifiedType; }
    void setSimplifiedType(const QString &type) { m_simplifiedType = type; }
    QString nameSpace() const { return m_nameSpace; }
    void setNameSpace(const QString &nameSpace) { m_nameSpace = nameSpace; }
    QList<QString> superTypes() const { return m_superTypes; }
    void setSuperTypes(const QList<QString> &types) { m_superTypes = types; }
    bool isTransparentNode() const { return m_transparentNode; }
    void setTransparentNode(bool transparent);
    bool isSubgraphTransparent() const { return m_subgraphTransparent; }
    void setSubgraphTransparent(bool transparent);
    bool isWindowNode() const { return m_windowNode; }
    void setWindowNode(bool window);
    QString text() const { return m_text; }
    void setText(const QString &text);
    ElementGeometry geometry() const { return m_geometry; }
    void setGeometry(const ElementGeometry &geometry);
    QImage image() const { return m_image; }
    void setImage(const QImage &image);
    bool isImageSet() const { return !m_image.isNull(); }
    QString realName() const { return m_realName; }
    void setRealName(const QString &name) { m_realName = name; }
    QString symbolicName() const { return m_symbolicName; }
    void setSymbolicName(const QString &name) { m_symbolicName = name; }
    QHash<QString, QString> concreteProperties() const { return m_concreteProperties; }
    void setConcreteProperty(const QString &key, const QString &value);
    QHash<QString, QString> identifyingProperties() const { return m_identifyingProperties; }
    void setIdentifyingProperty(const QString &key, const QString &value);

    // How often each event happened on the element. An event is registered
    // with the count 0; usage of an unregistered one is -1.
    void registerEvent(const UIEvent &event);
    bool isEventRegistered(const UIEvent &event) const { return m_usage.contains(event); }
    int usage(const UIEvent &event) const { return m_usage.value(event, -1); }
    void setUsage(const UIEvent &event, int count);
    void addUsage(const UIEvent &event);
    // Adds one to each element of this subtree whose geometry holds the
    // point.
    void addUsageForChildAt(const UIEvent &event, const QPoint &point);
    void addUsageForChildElements(const UIEvent &event);
    QMap<UIEvent, int> usageMap() const { return m_usage; }

    // The stream form, the children depth first. The stream is the caller's,
    // at version 12.
    void serialize(QDataStream *stream) const;
    // A new element and its subtree; null, with nothing left over, when the
    // stream ends early, is broken, or nests deeper than MaxDepth.
    static UIElement *deserialize(QDataStream *stream);
    // A count, then that many elements; empty for a count below 1. Reading
    // stops at the first broken element. The caller owns the elements.
    static QList<UIElement *> elementsFromByteArray(const QByteArray &bytes);
    // A list of trees as elementsFromByteArray reads it.
    static QByteArray toByteArray(const QList<const UIElement *> &elements);

    // The same kind of element in the same place with the same text: ids,
    // names, picture and properties do not count. Recursive compares the
    // children by position as well.
    bool isSimilarTo(const UIElement *other, bool recursive) const;

Q_SIGNALS:
    void childAdded(Tolvex::UIAbstraction::UIElement *child);
    void eventRegistered(const Tolvex::UIAbstraction::UIEvent &event);
    void geometryChanged();
    void imageChanged();
    void standardTypeChanged();
    void subgraphTransparentChanged();
    void textChanged();
    void transparentNodeChanged();
    void usageIncreased(const Tolvex::UIAbstraction::UIEvent &event);
    void windowNodeChanged();

private:
    static UIElement *deserialize(QDataStream *stream, int depth);

    QString m_id;
    StandardType m_standardType;
    QString m_concreteType;
    QString m_simplifiedType;
    QString m_nameSpace;
    QList<QString> m_superTypes;
    bool m_transparentNode = false;
    bool m_subgraphTransparent = false;
    bool m_windowNode = false;
    QString m_text;
    ElementGeometry m_geometry;
    QImage m_image;
    QString m_realName;
    QString m_symbolicName;
    QHash<QString, QString> m_concreteProperties;
    QHash<QString, QString> m_identifyingProperties;
    QMap<UIEvent, int> m_usage;
    QList<UIElement *> m_children;
    UIElement *m_parent = nullptr;
};

} // namespace Tolvex::UIAbstraction
