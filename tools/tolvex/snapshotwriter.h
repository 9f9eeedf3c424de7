#pragma once

// A snapshot of an application's object tree as a person or a program reads
// it: JSON, or one self-contained HTML page with the tree, a search box and
// the windows' pictures, on which a click outlines an element.

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace Tolvex {

namespace UIAbstraction {
class UIElement;
}

class SnapshotWriter
{
public:
    // The element and its subtree. Pictures are PNG data URLs.
    static QJsonObject toJson(const UIAbstraction::UIElement &root);
    static QByteArray toHtml(const UIAbstraction::UIElement &root, const QString &title);
    // By the file's extension: ".html" or ".htm" for the page, JSON
    // otherwise. False, with the reason, when the file cannot be written.
    static bool write(const UIAbstraction::UIElement &root, const QString &path, QString *error);
};

} // namespace Tolvex
