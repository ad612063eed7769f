#include "apps/cli/jsonwriter.h"

#include <QDateTime>

namespace cli {
QByteArray JsonWriter::quote(const QString& text) {
  const QByteArray utf8 = text.toUtf8();
  QByteArray out;
  out.reserve(utf8.size() + 2);
  out.append('"');
  for (const char ch : utf8) {
    const unsigned char c = static_cast<unsigned char>(ch);
    switch (c) {
    case '"': out.append("\\\""); break;
    case '\\': out.append("\\\\"); break;
    case '\n': out.append("\\n"); break;
    case '\r': out.append("\\r"); break;
    case '\t': out.append("\\t"); break;
    case '\b': out.append("\\b"); break;
    case '\f': out.append("\\f"); break;
    default:
      if (c < 0x20) {
        char esc[8];
        std::snprintf(esc, sizeof esc, "\\u%04x", c);
        out.append(esc);
      } else {
        out.append(ch);
      }
    }
  }
  out.append('"');
  return out;
}

void JsonWriter::raw(const QByteArray& bytes) {
  m_buffer.append(bytes);
  if (m_buffer.size() > 64 * 1024)
    flush();
}

void JsonWriter::flush() {
  if (!m_buffer.isEmpty()) {
    fwrite(m_buffer.constData(), 1, size_t(m_buffer.size()), m_out);
    m_buffer.clear();
  }
  fflush(m_out);
}

void JsonWriter::separator() {
  if (m_afterKey) {
    m_afterKey = false;
    return;
  }
  if (!m_first.empty()) {
    if (!m_first.back())
      raw(",");
    m_first.back() = false;
  }
}

void JsonWriter::open(char c) {
  separator();
  raw(QByteArray(1, c));
  m_first.push_back(true);
}

void JsonWriter::close(char c) {
  if (!m_first.empty())
    m_first.pop_back();
  raw(QByteArray(1, c));
  if (m_first.empty())
    raw("\n");
}

void JsonWriter::key(const char* name) {
  separator();
  raw(quote(QString::fromUtf8(name)) + ':');
  m_afterKey = true;
}

void JsonWriter::value(const QString& text) {
  separator();
  raw(quote(text));
}

void JsonWriter::pathValue(const QString& path) {
  value(m_pathNamer && path.startsWith(QLatin1Char('/')) ? m_pathNamer(path) : path);
}

void JsonWriter::value(qint64 number) {
  separator();
  raw(QByteArray::number(number));
}

void JsonWriter::value(quint64 number) {
  separator();
  raw(QByteArray::number(number));
}

void JsonWriter::value(bool flag) {
  separator();
  raw(flag ? "true" : "false");
}

void JsonWriter::null() {
  separator();
  raw("null");
}

void JsonWriter::variant(const QVariant& v) {
  if (!v.isValid() || v.isNull()) {
    null();
    return;
  }
  switch (v.userType()) {
  case QMetaType::QDateTime:
    value(v.toDateTime().toUTC().toString(Qt::ISODateWithMs));
    return;
  case QMetaType::QDate:
    value(v.toDate().toString(Qt::ISODate));
    return;
  case QMetaType::Bool:
    value(qint64(v.toBool() ? 1 : 0));
    return;
  case QMetaType::Int:
  case QMetaType::LongLong:
  case QMetaType::Long:
  case QMetaType::Short:
  case QMetaType::Char:
  case QMetaType::SChar:
    value(v.toLongLong());
    return;
  case QMetaType::UInt:
  case QMetaType::ULongLong:
  case QMetaType::ULong:
  case QMetaType::UShort:
  case QMetaType::UChar:
    value(v.toULongLong());
    return;
  case QMetaType::Double:
  case QMetaType::Float: {
    separator();
    const double d = v.toDouble();
    raw(qIsFinite(d) ? QByteArray::number(d, 'g', 17) : QByteArray("null"));
    return;
  }
  default:
    value(v.toString());
  }
}
} // namespace cli
