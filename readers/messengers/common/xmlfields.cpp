#include "readers/messengers/common/xmlfields.h"

#include <QStringList>
#include <QXmlStreamReader>

XmlFields::XmlFields(const QString& xml) {
  const int start = xml.indexOf(QLatin1Char('<'));
  if (start < 0)
    return;
  QXmlStreamReader reader(start > 0 ? xml.mid(start) : xml);
  QStringList path;
  QStringList texts; // the text gathered in each open element
  while (!reader.atEnd()) {
    switch (reader.readNext()) {
    case QXmlStreamReader::StartElement: {
      path << reader.name().toString();
      texts << QString();
      if (m_root.isEmpty())
        m_root = path.first();
      const QString here = path.join(QLatin1Char('/'));
      for (const QXmlStreamAttribute& a : reader.attributes()) {
        const QString key = here + QLatin1Char('@') + a.name().toString();
        if (!m_fields.contains(key))
          m_fields.insert(key, a.value().toString());
      }
      break;
    }
    case QXmlStreamReader::Characters:
      if (!texts.isEmpty())
        texts.last() += reader.text();
      break;
    case QXmlStreamReader::EndElement: {
      const QString here = path.join(QLatin1Char('/'));
      const QString t = texts.takeLast().trimmed();
      if (!t.isEmpty() && !m_fields.contains(here))
        m_fields.insert(here, t);
      path.removeLast();
      break;
    }
    default:
      break;
    }
  }
}
