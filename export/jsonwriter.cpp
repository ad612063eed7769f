#include "export/jsonwriter.h"

#include <QDateTime>

#include <cstring>
#include <ctime>

namespace {
// Appends the UTF-8 bytes as the inside of a JSON string: quotes, backslashes
// and control characters escaped, runs of plain bytes copied at once.
void appendEscaped(QByteArray& out, const char* bytes, int size) {
  int run = 0;
  for (int i = 0; i < size; ++i) {
    const unsigned char c = static_cast<unsigned char>(bytes[i]);
    if (c >= 0x20 && c != '"' && c != '\\')
      continue;
    out.append(bytes + run, i - run);
    run = i + 1;
    switch (c) {
    case '"': out.append("\\\"", 2); break;
    case '\\': out.append("\\\\", 2); break;
    case '\n': out.append("\\n", 2); break;
    case '\r': out.append("\\r", 2); break;
    case '\t': out.append("\\t", 2); break;
    case '\b': out.append("\\b", 2); break;
    case '\f': out.append("\\f", 2); break;
    default: {
      static const char hex[] = "0123456789abcdef";
      const char esc[6] = {'\\', 'u', '0', '0', hex[c >> 4], hex[c & 15]};
      out.append(esc, 6);
    }
    }
  }
  out.append(bytes + run, size - run);
}

// Appends the text as a quoted JSON string. Texts of ASCII alone (most keys,
// dates, numbers, paths) are written without an intermediate UTF-8 copy.
void appendQuoted(QByteArray& out, const QString& text) {
  out.append('"');
  const QChar* chars = text.constData();
  const int n = text.size();
  bool ascii = true;
  for (int i = 0; i < n && ascii; ++i)
    ascii = chars[i].unicode() < 0x80;
  if (ascii) {
    char block[256];
    for (int i = 0; i < n;) {
      const int take = qMin(n - i, int(sizeof block));
      for (int k = 0; k < take; ++k)
        block[k] = char(chars[i + k].unicode());
      appendEscaped(out, block, take);
      i += take;
    }
  } else {
    const QByteArray utf8 = text.toUtf8();
    appendEscaped(out, utf8.constData(), utf8.size());
  }
  out.append('"');
}

// Decimal digits of a number, written into the end of buf; returns the first.
template <typename Unsigned> char* digits(char* end, Unsigned v) {
  do {
    *--end = char('0' + v % 10);
    v /= 10;
  } while (v != 0);
  return end;
}

// A date as Qt::ISODateWithMs writes a UTC date ("yyyy-MM-ddTHH:mm:ss.zzzZ"),
// for the years 1970 to 9999; false leaves the other years to Qt.
bool isoUtc(qint64 ms, char (&out)[24]) {
  if (ms < 0)
    return false;
  const time_t seconds = time_t(ms / 1000);
  struct tm t;
  if (!gmtime_r(&seconds, &t) || t.tm_year + 1900 > 9999)
    return false;
  auto put = [&out](int at, int v, int width) {
    for (int k = width - 1; k >= 0; --k, v /= 10)
      out[at + k] = char('0' + v % 10);
  };
  put(0, t.tm_year + 1900, 4);
  out[4] = '-';
  put(5, t.tm_mon + 1, 2);
  out[7] = '-';
  put(8, t.tm_mday, 2);
  out[10] = 'T';
  put(11, t.tm_hour, 2);
  out[13] = ':';
  put(14, t.tm_min, 2);
  out[16] = ':';
  put(17, t.tm_sec, 2);
  out[19] = '.';
  put(20, int(ms % 1000), 3);
  out[23] = 'Z';
  return true;
}
} // namespace

QByteArray JsonWriter::quote(const QString& text) {
  QByteArray out;
  out.reserve(text.size() + 2);
  appendQuoted(out, text);
  return out;
}

void JsonWriter::raw(const QByteArray& bytes) {
  m_buffer.append(bytes);
  spill();
}

void JsonWriter::spill() {
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
  m_buffer.append(c);
  m_first.push_back(true);
}

void JsonWriter::close(char c) {
  if (!m_first.empty())
    m_first.pop_back();
  m_buffer.append(c);
  if (m_first.empty())
    m_buffer.append('\n');
  spill();
}

void JsonWriter::key(const char* name) {
  separator();
  m_buffer.append('"');
  appendEscaped(m_buffer, name, int(std::strlen(name)));
  m_buffer.append("\":", 2);
  m_afterKey = true;
}

void JsonWriter::value(const QString& text) {
  separator();
  appendQuoted(m_buffer, text);
  spill();
}

void JsonWriter::pathValue(const QString& path) {
  value(m_pathNamer && path.startsWith(QLatin1Char('/')) ? m_pathNamer(path) : path);
}

void JsonWriter::value(qint64 number) {
  separator();
  char buf[24];
  char* end = buf + sizeof buf;
  // The magnitude as unsigned, so that the smallest number has one too.
  char* first = digits(end, number < 0 ? quint64(0) - quint64(number) : quint64(number));
  if (number < 0)
    *--first = '-';
  m_buffer.append(first, int(end - first));
}

void JsonWriter::value(quint64 number) {
  separator();
  char buf[24];
  char* end = buf + sizeof buf;
  char* first = digits(end, number);
  m_buffer.append(first, int(end - first));
}

void JsonWriter::value(bool flag) {
  separator();
  if (flag)
    m_buffer.append("true", 4);
  else
    m_buffer.append("false", 5);
}

void JsonWriter::null() {
  separator();
  m_buffer.append("null", 4);
}

void JsonWriter::variant(const QVariant& v) {
  if (!v.isValid() || v.isNull()) {
    null();
    return;
  }
  switch (v.userType()) {
  case QMetaType::QDateTime: {
    const QDateTime date = v.toDateTime();
    char iso[24];
    if (date.isValid() && isoUtc(date.toMSecsSinceEpoch(), iso)) {
      separator();
      m_buffer.append('"');
      m_buffer.append(iso, int(sizeof iso));
      m_buffer.append('"');
      return;
    }
    value(date.toUTC().toString(Qt::ISODateWithMs));
    return;
  }
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
