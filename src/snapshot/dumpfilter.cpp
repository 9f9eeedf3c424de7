#include "dumpfilter.h"

#include "class.h"

#include <tinyxml2.h>

#include <optional>

namespace Tolvex {

namespace {

// Chains are short; a longer one can only be a loop.
constexpr int MaxChain = 256;

bool isWildcardName(const QString &name)
{
    return name.contains(QLatin1Char('*')) || name.contains(QLatin1Char('?'));
}

} // namespace

// --- FilterObject ---------------------------------------------------------

FilterObject::FilterObject(const QString &className, ExcludeType exclude)
    : m_className(className), m_object(exclude)
{}

void FilterObject::addProperty(PropertyInfo::Type type, const QString &name, ExcludeType exclude)
{
    if (name.isEmpty())
        return;
    if (name == QLatin1String("*")) {
        m_defaultProperty = exclude;
        return;
    }
    if (isWildcardName(name)) {
        for (Pattern &pattern : m_patterns)
            if (pattern.source == name) {
                pattern.exclude = exclude;
                return;
            }
        m_patterns.append(
            {QRegularExpression(QRegularExpression::wildcardToRegularExpression(name)), name,
             exclude});
        return;
    }
    m_properties[name] = PropertyInfo{type, exclude};
}

bool FilterObject::chainSays(ExcludeType FilterObject::*field) const
{
    int steps = 0;
    for (const FilterObject *f = this; f && steps < MaxChain; f = f->m_base, ++steps)
        if (f->*field != NotSet)
            return f->*field == Excluded;
    return false;
}

bool FilterObject::isChildNodesExcluded() const
{
    return chainSays(&FilterObject::m_childNodes);
}

bool FilterObject::isScreenshotExcluded() const
{
    return chainSays(&FilterObject::m_screenshot);
}

bool FilterObject::isScreenshotIfRootExcluded() const
{
    return chainSays(&FilterObject::m_screenshotIfRoot);
}

bool FilterObject::areTransparentNodesExcluded() const
{
    return chainSays(&FilterObject::m_transparentNodes);
}

bool FilterObject::isRealNameExcluded() const
{
    return chainSays(&FilterObject::m_realName);
}

bool FilterObject::isSymbolicNameExcluded() const
{
    return chainSays(&FilterObject::m_symbolicName);
}

bool FilterObject::isMatchedClass(const QString &name) const
{
    if (m_className == QLatin1String("*"))
        return !isObjectExcluded();
    return m_className == name;
}

bool FilterObject::isMatchedProperty(const QString &name, PropertyInfo *info)
{
    // The base filters are asked with a loop in mind; a filter that meets
    // itself again answers "no".
    static thread_local int depth = 0;
    if (isObjectExcluded() || depth >= MaxChain)
        return false;
    const auto known = m_properties.find(name);
    if (known != m_properties.end()) {
        *info = known->second;
        return info->exclude == Included;
    }
    *info = PropertyInfo{PropertyInfo::Concrete, Excluded};
    for (const Pattern &pattern : std::as_const(m_patterns))
        if (pattern.expression.match(name).hasMatch()) {
            const ExcludeType answer = pattern.exclude == Included ? Included : Excluded;
            m_properties[name] = PropertyInfo{PropertyInfo::Concrete, answer};
            info->exclude = answer;
            return answer == Included;
        }
    if (m_defaultProperty != NotSet) {
        m_properties[name] = PropertyInfo{PropertyInfo::Concrete, m_defaultProperty};
        info->exclude = m_defaultProperty;
        return m_defaultProperty == Included;
    }
    if (m_base) {
        ++depth;
        const bool included = m_base->isMatchedProperty(name, info);
        --depth;
        m_properties[name] = PropertyInfo{info->type, included ? Included : Excluded};
        return included;
    }
    m_properties[name] = PropertyInfo{PropertyInfo::Concrete, Excluded};
    return false;
}

void FilterObject::setBaseFilter(FilterObject *base)
{
    m_base = base == this ? nullptr : base;
    m_baseAssigned = true;
}

int FilterObject::depth() const
{
    int n = 0;
    for (const FilterObject *f = this; f && n < MaxChain; f = f->m_base)
        ++n;
    return n;
}

void FilterObject::mergeWith(const FilterObject *other)
{
    if (!other || other == this)
        return;
    m_object = other->m_object;
    for (const auto &[name, info] : other->m_properties)
        addProperty(info.type, name, info.exclude);
    for (const Pattern &pattern : other->m_patterns)
        addProperty(PropertyInfo::Concrete, pattern.source, pattern.exclude);
    const auto take = [](ExcludeType &mine, ExcludeType theirs) {
        if (theirs != NotSet)
            mine = theirs;
    };
    take(m_childNodes, other->m_childNodes);
    take(m_screenshot, other->m_screenshot);
    take(m_screenshotIfRoot, other->m_screenshotIfRoot);
    take(m_transparentNodes, other->m_transparentNodes);
    take(m_realName, other->m_realName);
    take(m_symbolicName, other->m_symbolicName);
    take(m_defaultProperty, other->m_defaultProperty);
}

// --- DumpFilter -----------------------------------------------------------

DumpFilter::~DumpFilter() = default;

void DumpFilter::addFilter(FilterObject *filter)
{
    std::unique_ptr<FilterObject> owned(filter);
    if (!owned)
        return;
    if (owned->className() == QLatin1String("*")) {
        if (!m_default) {
            m_default = std::move(owned);
            m_default->setBaseFilter(nullptr);
        } else {
            m_default->mergeWith(owned.get());
        }
        return;
    }
    auto &entry = m_filters[owned->className()];
    if (!entry)
        entry = std::move(owned);
    else
        entry->mergeWith(owned.get());
}

void DumpFilter::clear()
{
    m_filters.clear();
    m_default.reset();
}

FilterObject *DumpFilter::filterOf(const QString &className) const
{
    const auto found = m_filters.find(className);
    return found == m_filters.end() ? nullptr : found->second.get();
}

FilterObject *DumpFilter::findAndAssembleFilterHierarchy(const Class *c)
{
    int steps = 0;
    // The nearest class up the chain with a filter of its own.
    FilterObject *found = nullptr;
    for (; c && steps < MaxChain; c = c->super(), ++steps)
        if ((found = filterOf(c->className())))
            break;
    if (!found)
        return m_default.get();
    if (!found->hasBaseFilter()) {
        FilterObject *base = findAndAssembleFilterHierarchy(c->super());
        // A base class of the same name finds the same filter; go on past
        // it to the default.
        found->setBaseFilter(base == found ? m_default.get() : base);
    }
    return found;
}

FilterObject *DumpFilter::findFilter(const Class *c)
{
    if (!c)
        return nullptr;
    FilterObject *filter = findAndAssembleFilterHierarchy(c);
    return filter && !filter->isObjectExcluded() ? filter : nullptr;
}

void DumpFilter::forgetBaseFilters()
{
    for (auto &entry : m_filters)
        entry.second->forgetBaseFilter();
}

void DumpFilter::mergeWith(DumpFilter *other)
{
    if (!other || other == this)
        return;
    if (!other->m_wrapperName.empty())
        m_wrapperName = other->m_wrapperName;
    if (other->m_default) {
        if (!m_default) {
            m_default = std::make_unique<FilterObject>(QStringLiteral("*"), Included);
            m_default->setBaseFilter(nullptr);
        }
        m_default->mergeWith(other->m_default.get());
    }
    for (const auto &[name, filter] : other->m_filters) {
        auto &entry = m_filters[name];
        if (!entry)
            entry = std::make_unique<FilterObject>(name, Included);
        entry->mergeWith(filter.get());
    }
    forgetBaseFilters();
}

// --- Parsing --------------------------------------------------------------

namespace {

QString text(const char *utf8)
{
    return utf8 ? QString::fromUtf8(utf8) : QString();
}

// The exclude attribute of an element: absent or empty includes.
std::optional<ExcludeType> excludeOf(const tinyxml2::XMLElement &element, QString *error)
{
    const QString value = text(element.Attribute("exclude"));
    if (value.isEmpty() || value == QLatin1String("false") || value == QLatin1String("no") ||
        value == QLatin1String("0"))
        return Included;
    if (value == QLatin1String("true") || value == QLatin1String("yes") ||
        value == QLatin1String("1"))
        return Excluded;
    *error = QStringLiteral("'%1' is not a valid value for 'exclude' attribute at line %2")
                 .arg(value)
                 .arg(element.GetLineNum() + 1);
    return std::nullopt;
}

std::unique_ptr<FilterObject> filterObjectOf(const tinyxml2::XMLElement &element, QString *error)
{
    const QString name = text(element.Name());
    if (name != QLatin1String("element")) {
        *error = QStringLiteral("Element '%1' is not expected to be found at line %2")
                     .arg(name)
                     .arg(element.GetLineNum() + 1);
        return nullptr;
    }
    const std::optional<ExcludeType> exclude = excludeOf(element, error);
    if (!exclude)
        return nullptr;
    const char *type = element.Attribute("type");
    if (!type) {
        *error = QStringLiteral("Cannot declare filter element without a 'type' attribute at line "
                                "%1")
                     .arg(element.GetLineNum() + 1);
        return nullptr;
    }
    auto filter = std::make_unique<FilterObject>(text(type), *exclude);
    for (const tinyxml2::XMLElement *sub = element.FirstChildElement(); sub;
         sub = sub->NextSiblingElement()) {
        const std::optional<ExcludeType> subExclude = excludeOf(*sub, error);
        if (!subExclude)
            return nullptr;
        const QString subName = text(sub->Name());
        const bool identifying = subName == QLatin1String("identifyingProperties");
        if (identifying || subName == QLatin1String("properties")) {
            for (const tinyxml2::XMLElement *property = sub->FirstChildElement("property");
                 property; property = property->NextSiblingElement("property")) {
                const char *propertyName = property->Attribute("name");
                if (!propertyName) {
                    *error = QStringLiteral("Cannot declare property without a 'name' attribute "
                                            "at line %1")
                                 .arg(property->GetLineNum() + 1);
                    return nullptr;
                }
                const std::optional<ExcludeType> propertyExclude = excludeOf(*property, error);
                if (!propertyExclude)
                    return nullptr;
                filter->addProperty(identifying ? PropertyInfo::Identifying
                                                : PropertyInfo::Concrete,
                                    text(propertyName), *propertyExclude);
            }
        } else if (subName == QLatin1String("children")) {
            filter->setChildNodesExcluded(*subExclude);
        } else if (subName == QLatin1String("screenshot")) {
            filter->setScreenshotExcluded(*subExclude);
        } else if (subName == QLatin1String("screenshotIfRoot")) {
            filter->setScreenshotIfRootExcluded(*subExclude);
        } else if (subName == QLatin1String("transparentNodes")) {
            filter->setTransparentNodesExcluded(*subExclude);
        } else if (subName == QLatin1String("realname")) {
            filter->setRealNameExcluded(*subExclude);
        } else if (subName == QLatin1String("symbolicname")) {
            filter->setSymbolicNameExcluded(*subExclude);
        } else {
            *error = QStringLiteral("Subelement '%1' is not expected to be found at line %2")
                         .arg(subName)
                         .arg(sub->GetLineNum() + 1);
            return nullptr;
        }
    }
    return filter;
}

} // namespace

bool parseDumpFilter(const QByteArray &bytes, DumpFilter *filter, QString *error)
{
    tinyxml2::XMLDocument document;
    if (document.Parse(bytes.constData(), size_t(bytes.size())) != tinyxml2::XML_SUCCESS) {
        *error = QStringLiteral("%1 Row: %2")
                     .arg(text(document.ErrorStr()))
                     .arg(document.ErrorLineNum() + 1);
        return false;
    }
    const tinyxml2::XMLElement *root = document.RootElement();
    if (!root) {
        *error = QStringLiteral("Unable to read root element from snapshot filter");
        return false;
    }
    if (text(root->Name()) != QLatin1String("objectdump")) {
        *error = QStringLiteral("Received snapshot filter has invalid root node");
        return false;
    }
    const char *wrapper = root->Attribute("wrapper");
    if (!wrapper) {
        *error = QStringLiteral("Attribute 'wrapper' for root tag <objectdump> is not specified");
        return false;
    }
    filter->setWrapperName(wrapper);
    for (const tinyxml2::XMLElement *element = root->FirstChildElement(); element;
         element = element->NextSiblingElement()) {
        std::unique_ptr<FilterObject> made = filterObjectOf(*element, error);
        if (!made) {
            filter->clear();
            return false;
        }
        filter->addFilter(made.release());
    }
    return true;
}

} // namespace Tolvex
