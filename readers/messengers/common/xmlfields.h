#pragma once
// XmlFields: the texts and attributes of a small XML document by path.
//
// Several messengers keep their structured messages (links, locations, files,
// transfers, system lines) as XML in the message's text column. A reader
// wants a handful of values out of each; this reads the document once and
// answers them by path: "msg/appmsg/title" is the text of that element,
// "msg/location@label" an attribute of it. The first occurrence of a path
// wins. A document that is not well-formed keeps what was read before the
// damage; a text that is not XML at all gives no fields.
#include <QHash>
#include <QString>

class XmlFields {
public:
  explicit XmlFields(const QString& xml);

  // The element's text (trimmed) or the attribute's value; empty when absent.
  QString value(const QString& path) const { return m_fields.value(path); }
  bool isEmpty() const { return m_fields.isEmpty(); }
  // The name of the document's first element.
  const QString& root() const { return m_root; }

private:
  QHash<QString, QString> m_fields;
  QString m_root;
};
