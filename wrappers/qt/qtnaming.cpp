#include "qtnaming.h"

#include "inspector.h"
#include "objectname.h"
#include "qtclass.h"
#include "qtobjectregistry.h"
#include "qtobjecttree.h"
#include "qtquick.h"
#include "qtvalueconversion.h"

#include <QHash>
#include <QMetaProperty>
#include <QObject>
#include <QStringList>
#include <QWidget>

#include <initializer_list>
#include <vector>

namespace Tolvex {

namespace {

const QString TypeKey = QStringLiteral("type");
const QString WindowKey = QStringLiteral("window");
const QString ContainerKey = QStringLiteral("container");
const QString OccurrenceKey = QStringLiteral("occurrence");
const QString ObjectNameKey = QStringLiteral("objectName");
const QString IdKey = QStringLiteral("id");

// Longer texts (whole paragraphs in a label) make names no tester reads.
constexpr int MaxNameTextLength = 200;
// How many near misses a failed lookup reports.
constexpr int MaxReportedCandidates = 20;

bool inheritsAny(const QObject *object, std::initializer_list<const char *> names)
{
    for (const char *name : names)
        if (object->inherits(name))
            return true;
    return false;
}

// Texts that may carry a mnemonic or a modification mark.
bool isShownText(const QString &key)
{
    return key == QLatin1String("text") || key == QLatin1String("title") ||
           key == QLatin1String("windowTitle") || key == QLatin1String("iconText");
}

// Objects whose text is a label that says what they are, rather than
// content that changes as the user works.
bool textIsLabel(const QObject *object)
{
    return inheritsAny(
        object, {"QAbstractButton", "QLabel", "QAction", "QQuickText", "QQuickAbstractButton"});
}

bool isContainer(const QObject *object)
{
    return inheritsAny(object, {"QDockWidget", "QGroupBox", "QTabWidget", "QToolBox", "QToolBar",
                                "QMdiSubWindow", "QQuickItemView", "QQuickPathView",
                                "QQuickTableView", "QQuickGroupBox", "QQuickPopupItem",
                                "QQuickStackView", "QQuickSwipeView", "QQuickTabBar"});
}

QString stringProperty(const QObject *object, const char *name)
{
    const QVariant value = object->property(name);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

PropertyValue exact(const QString &text)
{
    return PropertyValue(text, PropertyValue::Exact, PropertyValue::String);
}

// Reads one property of many objects, with the index of the property
// looked up once per meta object.
class PropertyReader
{
public:
    explicit PropertyReader(const QString &name) : m_name(name.toLatin1()) {}

    // False when the object has no such property.
    bool read(const QObject *object, QString *text)
    {
        const QMetaObject *mo = object->metaObject();
        auto it = m_index.constFind(mo);
        if (it == m_index.cend())
            it = m_index.insert(mo, mo->indexOfProperty(m_name.constData()));
        QVariant value;
        QMetaEnum enumerator;
        if (*it >= 0) {
            const QMetaProperty p = mo->property(*it);
            value = p.read(object);
            if (p.isEnumType())
                enumerator = p.enumerator();
        } else {
            value = object->property(m_name.constData());
        }
        if (!value.isValid())
            return false;
        *text = QtValueConversion::text(value, enumerator);
        return true;
    }

private:
    QByteArray m_name;
    QHash<const QMetaObject *, int> m_index;
};

// A multi-property name prepared for matching many objects.
class Query
{
public:
    explicit Query(const QMap<QString, PropertyValue> &properties)
    {
        for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
            const QString &key = it.key();
            if (key == TypeKey) {
                m_type = it.value();
                m_hasType = true;
            } else if (key == WindowKey) {
                m_window = it.value();
                m_hasWindow = true;
            } else if (key == ContainerKey) {
                m_container = it.value();
                m_hasContainer = true;
            } else if (key == OccurrenceKey) {
                bool ok = false;
                m_occurrence = it.value().stringValue().toInt(&ok);
                m_valid = ok && m_occurrence >= 1;
            } else {
                m_checks.push_back(Check{key, it.value(), isShownText(key), PropertyReader(key)});
            }
        }
    }

    bool isValid() const { return m_valid; }
    int occurrence() const { return m_occurrence; }
    bool hasType() const { return m_hasType; }

    // Resolves the container and the window the name gives, where they are
    // exact names; the object to search below is then known. False when
    // one of them names no object.
    bool resolveScopes(QObject **root)
    {
        if (m_hasContainer && !resolve(m_container, &m_containerObject, &m_containerResolved))
            return false;
        if (m_hasWindow && !resolve(m_window, &m_windowObject, &m_windowResolved))
            return false;
        *root = m_containerResolved ? m_containerObject : m_windowObject;
        return true;
    }

    bool typeMatches(const QObject *object)
    {
        if (!m_hasType)
            return true;
        const QMetaObject *mo = object->metaObject();
        auto it = m_typeMatches.constFind(mo);
        if (it == m_typeMatches.cend())
            it = m_typeMatches.insert(mo, m_type.matches(QtClass::typeName(mo)) ||
                                              m_type.matches(QString::fromLatin1(mo->className())));
        return *it;
    }

    // Whether every property but the type and the occurrence matches; the
    // keys that do not go to failed, if given, else the first ends the test.
    bool propertiesMatch(QObject *object, QStringList *failed)
    {
        bool all = true;
        for (Check &check : m_checks) {
            if (!checkMatches(check, object)) {
                all = false;
                if (!failed)
                    return false;
                failed->append(check.key);
            }
        }
        if (m_hasWindow && !scopeMatches(m_window, m_windowObject, m_windowResolved,
                                         QtObjectTree::window(object), object)) {
            all = false;
            if (!failed)
                return false;
            failed->append(WindowKey);
        }
        if (m_hasContainer && !m_containerResolved &&
            !scopeMatches(m_container, nullptr, false, QtNaming::container(object), object)) {
            all = false;
            if (failed)
                failed->append(ContainerKey);
        }
        return all;
    }

    bool matches(QObject *object)
    {
        return typeMatches(object) && propertiesMatch(object, nullptr);
    }

private:
    struct Check
    {
        QString key;
        PropertyValue value;
        bool shownText;
        PropertyReader reader;
    };

    bool resolve(const PropertyValue &value, QObject **object, bool *resolved)
    {
        if (!value.isObject() || value.matchingMode() != PropertyValue::Exact)
            return true;
        *resolved = true;
        *object = QtObjectRegistry::qobject(Inspector::self()->findObject(value.stringValue()));
        return *object != nullptr;
    }

    // The window of an object found below a container must be the one the
    // name gives; one given as a pattern is matched against the real name.
    bool scopeMatches(const PropertyValue &value, QObject *resolvedObject, bool resolved,
                      QObject *actual, QObject *object)
    {
        if (resolved)
            return m_containerResolved ? actual == resolvedObject : true;
        if (!actual || actual == object)
            return false;
        return value.matches(QtNaming::realName(actual));
    }

    static bool checkMatches(Check &check, QObject *object)
    {
        QString text;
        if (check.key == ObjectNameKey)
            text = object->objectName();
        else if (check.key == IdKey)
            text = QtQuickSupport::qmlId(object);
        else if (!check.reader.read(object, &text))
            return false;
        if (check.value.matches(text))
            return true;
        // Only a text with a mark in it shows otherwise than it reads.
        return check.shownText &&
               (text.contains(QLatin1Char('&')) || text.contains(QLatin1String("[*]"))) &&
               check.value.matches(QtNaming::displayText(text));
    }

    bool m_valid = true;
    int m_occurrence = 1;
    bool m_hasType = false;
    PropertyValue m_type;
    bool m_hasWindow = false;
    PropertyValue m_window;
    QObject *m_windowObject = nullptr;
    bool m_windowResolved = false;
    bool m_hasContainer = false;
    PropertyValue m_container;
    QObject *m_containerObject = nullptr;
    bool m_containerResolved = false;
    std::vector<Check> m_checks;
    QHash<const QMetaObject *, bool> m_typeMatches;
};

// The object to search below for an object of these properties: its
// container, else its window, unless that is the object itself.
QObject *scopeOf(QObject *object)
{
    if (QObject *c = QtNaming::container(object))
        return c;
    QObject *window = QtObjectTree::window(object);
    return window != object ? window : nullptr;
}

// Why no object matched: per candidate of the right type, the properties
// it lacks, under the name it would have without its occurrence.
void reportNearMisses(Query &query, QObject *root)
{
    Inspector *inspector = Inspector::self();
    int reported = 0;
    int matching = 0;
    QtObjectTree::walk(root, [&](QObject *candidate) {
        if (!query.typeMatches(candidate))
            return true;
        QStringList failed;
        if (query.propertiesMatch(candidate, &failed) && ++matching < query.occurrence())
            return true;
        if (failed.isEmpty())
            failed.append(OccurrenceKey);
        if (query.hasType() || failed.size() < 3) {
            inspector->setUnmatchedProperties(
                qualifiedNameFromProperties(QtNaming::nameProperties(candidate)), failed);
            ++reported;
        }
        return reported < MaxReportedCandidates;
    });
}

} // namespace

QString QtNaming::displayText(const QString &text)
{
    QString shown;
    shown.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('&')) {
            if (i + 1 < text.size() && text[i + 1] == QLatin1Char('&')) {
                shown.append(QLatin1Char('&'));
                ++i;
            }
            continue;
        }
        shown.append(text[i]);
    }
    shown.remove(QLatin1String("[*]"));
    return shown;
}

QString QtNaming::typeName(const QObject *object)
{
    return QtClass::typeName(object->metaObject());
}

QString QtNaming::shortName(QObject *object)
{
    if (!object->objectName().isEmpty())
        return object->objectName();
    const QString id = QtQuickSupport::qmlId(object);
    return id.isEmpty() ? typeName(object) : id;
}

QObject *QtNaming::container(QObject *object)
{
    QObject *window = QtObjectTree::window(object);
    for (QObject *o = QtObjectTree::parent(object); o; o = QtObjectTree::parent(o)) {
        if (isContainer(o))
            return o;
        // What lies beyond the window belongs to another window.
        if (o == window)
            return nullptr;
    }
    return nullptr;
}

QMap<QString, PropertyValue> QtNaming::nameProperties(QObject *object)
{
    QMap<QString, PropertyValue> properties;
    properties.insert(TypeKey, exact(typeName(object)));
    if (!object->objectName().isEmpty())
        properties.insert(ObjectNameKey, exact(object->objectName()));
    const QString id = QtQuickSupport::qmlId(object);
    if (!id.isEmpty())
        properties.insert(IdKey, exact(id));
    const auto addText = [&](const QString &key, const QString &raw) {
        const QString shown = displayText(raw);
        if (!shown.isEmpty() && shown.size() <= MaxNameTextLength)
            properties.insert(key, exact(shown));
    };
    if (textIsLabel(object))
        addText(QStringLiteral("text"), stringProperty(object, "text"));
    addText(QStringLiteral("title"), stringProperty(object, "title"));
    if (object->isWidgetType()) {
        const auto *w = static_cast<const QWidget *>(object);
        if (w->isWindow() || object->inherits("QDockWidget"))
            addText(QStringLiteral("windowTitle"), w->windowTitle());
    }
    if (QObject *c = container(object)) {
        properties.insert(ContainerKey,
                          PropertyValue(realName(c), PropertyValue::Exact, PropertyValue::Object));
    } else {
        QObject *window = QtObjectTree::window(object);
        if (window && window != object)
            properties.insert(WindowKey, PropertyValue(realName(window), PropertyValue::Exact,
                                                       PropertyValue::Object));
    }
    return properties;
}

QString QtNaming::realName(QObject *object)
{
    if (!object)
        return QString();
    QMap<QString, PropertyValue> properties = nameProperties(object);
    // The scope is known here; the query needs only what tells objects
    // apart inside it.
    QMap<QString, PropertyValue> inScope = properties;
    inScope.remove(WindowKey);
    inScope.remove(ContainerKey);
    Query query(inScope);
    int index = 0;
    const bool found = !QtObjectTree::walk(scopeOf(object), [&](QObject *candidate) {
        if (query.matches(candidate))
            ++index;
        return candidate != object;
    });
    if (found && index > 1)
        properties.insert(OccurrenceKey, exact(QString::number(index)));
    return qualifiedNameFromProperties(properties);
}

QObject *QtNaming::find(const QMap<QString, PropertyValue> &properties)
{
    Query query(properties);
    if (!query.isValid()) {
        Inspector::self()->setError(
            QStringLiteral("The occurrence must be a whole number of 1 or more"));
        return nullptr;
    }
    QObject *root = nullptr;
    if (!query.resolveScopes(&root))
        return nullptr;
    QObject *result = nullptr;
    int matching = 0;
    QtObjectTree::walk(root, [&](QObject *candidate) {
        if (query.matches(candidate) && ++matching == query.occurrence())
            result = candidate;
        return result == nullptr;
    });
    if (!result)
        reportNearMisses(query, root);
    return result;
}

} // namespace Tolvex
