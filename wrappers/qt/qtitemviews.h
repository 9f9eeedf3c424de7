#pragma once

// The items of item views, as a test asks for them: by their text or by
// their row and column, brought into view so they can be clicked, and
// handed out only when ready. Widget views (QAbstractItemView) give objects
// of the class "ItemViewItem"; QML views (ListView, GridView, PathView,
// TableView, Repeater) give their delegate items. Item names of the form
// {type='ItemViewItem' container=<view> row='r' column='c'} (or text='...')
// are looked up here too.

#include "propertyvalue.h"
#include "shared.h"

#include <QMap>
#include <QString>

class QObject;

namespace Tolvex {

class Object;

class QtItemViews
{
public:
    static bool isView(const QObject *object);

    // The ready item, or null with the reason in error.
    static SharedPtr<Object> readyItem(QObject *view, const QString &text, QString *error);
    static SharedPtr<Object> readyItem(QObject *view, int row, int column, QString *error);

    // Why an item object is not ready, empty when it is.
    static QString notReadyReason(const SharedPtr<Object> &item);

    // The item a multi-property name of an item stands for, or null.
    static SharedPtr<Object> findByName(const QMap<QString, PropertyValue> &properties);
    static QString realName(const SharedPtr<Object> &item);
};

} // namespace Tolvex
