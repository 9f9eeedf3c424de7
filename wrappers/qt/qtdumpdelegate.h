#pragma once

// What Qt adds to the generic snapshot of its objects: the standard type of
// each kind of widget and Quick control, the text a person reads on it, and
// a short class name.

#include "delegate.h"

class QObject;

namespace Tolvex {

class QtDumpDelegate : public DumpObjectTreeDelegate
{
public:
    // One for all QObjects, found along the class chain.
    QtDumpDelegate() : DumpObjectTreeDelegate(QStringLiteral("QObject")) {}

    bool enterDump(SharedPtr<Object> obj, const DumpFilters &filters,
                   QString *error) const override;
    bool leaveDump(QString *error) const override;
    bool dumpObject(SharedPtr<Object> obj, bool isRoot, UIAbstraction::UIElement **element,
                    const DumpFilters &filters, QString *error) const override;
    bool simplifiedType(SharedPtr<Object> obj, QString *type) const override;

    // The text shown on the object: a button's or a label's text, a field's
    // contents, a window's title, a menu's title; empty for none.
    static QString displayText(const QObject *object);
};

} // namespace Tolvex
