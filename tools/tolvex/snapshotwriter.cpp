#include "snapshotwriter.h"

#include "uielement.h"

#include <QBuffer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace Tolvex {

using UIAbstraction::UIElement;

namespace {

QJsonObject tableOf(const QHash<QString, QString> &table)
{
    QJsonObject json;
    for (auto it = table.cbegin(); it != table.cend(); ++it)
        json.insert(it.key(), it.value());
    return json;
}

QString dataUrl(const QImage &image)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64());
}

// The page: the snapshot's JSON goes where the marker is. Everything it
// shows is made with DOM calls from that data, never parsed as markup, so
// texts of the application cannot change the page.
const char PageTemplate[] = R"PAGE(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>@TITLE@</title>
<style>
body{font:13px sans-serif;margin:0;display:flex;height:100vh}
#left{width:45%;overflow:auto;border-right:1px solid #ccc;padding:8px}
#right{flex:1;overflow:auto;padding:8px}
ul{list-style:none;padding-left:16px;margin:0}
.node{cursor:pointer;white-space:nowrap}
.node.selected{background:#cde}
.node.hidden{display:none}
.type{color:#06c}.text{color:#080}.concrete{color:#888}
#picture{position:relative;display:inline-block}
#outline{position:absolute;border:2px solid red;display:none;pointer-events:none}
table{border-collapse:collapse;margin-top:8px}td{border:1px solid #ddd;padding:2px 6px}
</style></head><body>
<div id="left"><input id="search" placeholder="Search types, texts, names" size="40">
<div id="tree"></div></div>
<div id="right"><div id="picture"><img id="image"><div id="outline"></div></div>
<div id="details"></div></div>
<script id="snapshot" type="application/json">@DATA@</script>
<script>
const root = JSON.parse(document.getElementById('snapshot').textContent);
const rows = [];
function label(e) {
  const span = document.createElement('span');
  const type = document.createElement('span'); type.className = 'type';
  type.textContent = e.standardType || e.simplifiedType || e.concreteType;
  const concrete = document.createElement('span'); concrete.className = 'concrete';
  concrete.textContent = ' ' + e.concreteType;
  const text = document.createElement('span'); text.className = 'text';
  text.textContent = e.text ? ' "' + e.text + '"' : '';
  span.append(type, concrete, text);
  return span;
}
function build(e, parentUl, windowElement) {
  const win = e.image ? e : windowElement;
  const li = document.createElement('li');
  const node = document.createElement('div'); node.className = 'node';
  node.appendChild(label(e));
  node.dataset.search = [e.standardType, e.concreteType, e.text, e.realName, e.symbolicName]
      .join(' ').toLowerCase();
  node.addEventListener('click', () => select(e, node, win));
  li.appendChild(node);
  rows.push(node);
  if (e.children && e.children.length) {
    const ul = document.createElement('ul');
    e.children.forEach(c => build(c, ul, win));
    li.appendChild(ul);
  }
  parentUl.appendChild(li);
}
function select(e, node, win) {
  rows.forEach(r => r.classList.remove('selected'));
  node.classList.add('selected');
  const image = document.getElementById('image');
  const outline = document.getElementById('outline');
  outline.style.display = 'none';
  if (win) {
    image.src = win.image;
    if (e.geometry && win.geometry) {
      outline.style.left = (e.geometry.x - win.geometry.x) + 'px';
      outline.style.top = (e.geometry.y - win.geometry.y) + 'px';
      outline.style.width = Math.max(e.geometry.width - 4, 0) + 'px';
      outline.style.height = Math.max(e.geometry.height - 4, 0) + 'px';
      outline.style.display = 'block';
    }
  }
  const table = document.createElement('table');
  const add = (k, v) => { const tr = table.insertRow(); tr.insertCell().textContent = k;
                          tr.insertCell().textContent = v; };
  add('standard type', e.standardType || 'unknown');
  add('concrete type', e.concreteType);
  add('text', e.text || '');
  if (e.geometry) add('geometry', e.geometry.x + ',' + e.geometry.y + ' ' +
                      e.geometry.width + 'x' + e.geometry.height);
  add('real name', e.realName || '');
  add('symbolic name', e.symbolicName || '');
  for (const [k, v] of Object.entries(e.identifyingProperties || {})) add(k + ' (identifying)', v);
  for (const [k, v] of Object.entries(e.properties || {})) add(k, v);
  const details = document.getElementById('details');
  details.replaceChildren(table);
}
const treeRoot = document.createElement('ul'); treeRoot.style.paddingLeft = '0';
build(root, treeRoot, null);
document.getElementById('tree').appendChild(treeRoot);
document.getElementById('search').addEventListener('input', ev => {
  const q = ev.target.value.toLowerCase();
  rows.forEach(r => r.classList.toggle('hidden', q !== '' && !r.dataset.search.includes(q)));
});
rows[0].click();
</script></body></html>
)PAGE";

} // namespace

QJsonObject SnapshotWriter::toJson(const UIElement &e)
{
    QJsonObject json{{QStringLiteral("id"), e.id()},
                     {QStringLiteral("concreteType"), e.concreteType()},
                     {QStringLiteral("text"), e.text()}};
    if (e.standardType().isKnown())
        json.insert(QStringLiteral("standardType"), e.standardType().toString());
    if (!e.simplifiedType().isEmpty())
        json.insert(QStringLiteral("simplifiedType"), e.simplifiedType());
    if (!e.superTypes().isEmpty())
        json.insert(QStringLiteral("superTypes"), QJsonArray::fromStringList(e.superTypes()));
    const QRect r = e.geometry().rect();
    if (r.isValid())
        json.insert(QStringLiteral("geometry"),
                    QJsonObject{{QStringLiteral("x"), r.x()},
                                {QStringLiteral("y"), r.y()},
                                {QStringLiteral("width"), r.width()},
                                {QStringLiteral("height"), r.height()}});
    if (e.isTransparentNode())
        json.insert(QStringLiteral("transparent"), true);
    if (!e.realName().isEmpty())
        json.insert(QStringLiteral("realName"), e.realName());
    if (!e.symbolicName().isEmpty())
        json.insert(QStringLiteral("symbolicName"), e.symbolicName());
    if (!e.identifyingProperties().isEmpty())
        json.insert(QStringLiteral("identifyingProperties"), tableOf(e.identifyingProperties()));
    if (!e.concreteProperties().isEmpty())
        json.insert(QStringLiteral("properties"), tableOf(e.concreteProperties()));
    if (e.isImageSet())
        json.insert(QStringLiteral("image"), dataUrl(e.image()));
    QJsonArray children;
    for (const UIElement *child : e.children())
        children.append(toJson(*child));
    if (!children.isEmpty())
        json.insert(QStringLiteral("children"), children);
    return json;
}

QByteArray SnapshotWriter::toHtml(const UIElement &root, const QString &title)
{
    QByteArray data = QJsonDocument(toJson(root)).toJson(QJsonDocument::Compact);
    // Inside a script element only "</" could end it early.
    data.replace("</", "<\\/");
    // No marker can come in with the title.
    const QString escapedTitle =
        title.toHtmlEscaped().replace(QLatin1Char('@'), QLatin1String("&#64;"));
    QByteArray page(PageTemplate);
    page.replace("@TITLE@", escapedTitle.toUtf8());
    page.replace("@DATA@", data);
    return page;
}

bool SnapshotWriter::write(const UIElement &root, const QString &path, QString *error)
{
    const bool html = path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive) ||
                      path.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive);
    const QByteArray bytes =
        html ? toHtml(root, QStringLiteral("Snapshot of %1").arg(root.concreteType()))
             : QJsonDocument(toJson(root)).toJson(QJsonDocument::Indented);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        *error = QStringLiteral("Cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace Tolvex
