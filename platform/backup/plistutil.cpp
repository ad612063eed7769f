#include "platform/backup/plistutil.h"

#include <QFile>

namespace PlistUtil {
PlistPtr fromMemory(const QByteArray& bytes) {
  if (bytes.isEmpty())
    return nullptr;
  plist_t root = nullptr;
  plist_from_memory(bytes.constData(), uint32_t(bytes.size()), &root);
  return PlistPtr(root);
}

PlistPtr fromFile(const QString& path, QString* error) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly)) {
    if (error)
      *error = QStringLiteral("cannot read %1: %2").arg(path, f.errorString());
    return nullptr;
  }
  constexpr qint64 kLimit = 256LL << 20; // property lists of a backup are far smaller
  if (f.size() > kLimit) {
    if (error)
      *error = QStringLiteral("%1 is too large for a property list").arg(path);
    return nullptr;
  }
  PlistPtr p = fromMemory(f.readAll());
  if (!p && error)
    *error = QStringLiteral("%1 is not a property list").arg(path);
  return p;
}

QString string(plist_t dict, const char* key) {
  if (!dict || plist_get_node_type(dict) != PLIST_DICT)
    return QString();
  plist_t n = plist_dict_get_item(dict, key);
  if (!n || plist_get_node_type(n) != PLIST_STRING)
    return QString();
  uint64_t len = 0;
  const char* p = plist_get_string_ptr(n, &len);
  return p ? QString::fromUtf8(p, int(len)) : QString();
}

bool boolean(plist_t dict, const char* key, bool fallback) {
  if (!dict || plist_get_node_type(dict) != PLIST_DICT)
    return fallback;
  plist_t n = plist_dict_get_item(dict, key);
  if (!n)
    return fallback;
  if (plist_get_node_type(n) == PLIST_BOOLEAN) {
    uint8_t v = 0;
    plist_get_bool_val(n, &v);
    return v != 0;
  }
  if (plist_get_node_type(n) == PLIST_UINT)
    return uinteger(n) != 0;
  return fallback;
}

QByteArray data(plist_t dict, const char* key) {
  if (!dict || plist_get_node_type(dict) != PLIST_DICT)
    return QByteArray();
  plist_t n = plist_dict_get_item(dict, key);
  if (!n || plist_get_node_type(n) != PLIST_DATA)
    return QByteArray();
  uint64_t len = 0;
  const char* p = plist_get_data_ptr(n, &len);
  return p ? QByteArray(p, int(len)) : QByteArray();
}

QDateTime date(plist_t dict, const char* key) {
  if (!dict || plist_get_node_type(dict) != PLIST_DICT)
    return QDateTime();
  plist_t n = plist_dict_get_item(dict, key);
  if (!n || plist_get_node_type(n) != PLIST_DATE)
    return QDateTime();
  int32_t sec = 0, usec = 0;
  plist_get_date_val(n, &sec, &usec);
  // libplist counts from 2001-01-01 UTC, as the property-list format does.
  constexpr qint64 k2001 = 978307200;
  return QDateTime::fromMSecsSinceEpoch((k2001 + sec) * 1000 + usec / 1000, Qt::UTC);
}

quint64 uinteger(plist_t node, bool* ok) {
  if (ok)
    *ok = false;
  if (!node)
    return 0;
  if (plist_get_node_type(node) == PLIST_UINT) {
    uint64_t v = 0;
    plist_get_uint_val(node, &v);
    if (ok)
      *ok = true;
    return v;
  }
  if (plist_get_node_type(node) == PLIST_UID) {
    uint64_t v = 0;
    plist_get_uid_val(node, &v);
    if (ok)
      *ok = true;
    return v;
  }
  return 0;
}
} // namespace PlistUtil
