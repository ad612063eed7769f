#include "platform/backup/bplistscan.h"

#include <cstring>

namespace {
quint64 readBE(const unsigned char* p, unsigned n) {
  quint64 v = 0;
  for (unsigned i = 0; i < n; ++i)
    v = (v << 8) | p[i];
  return v;
}
} // namespace

BplistScan::BplistScan(const char* data, int length) {
  if (!data || length < 8 + 32 || std::memcmp(data, "bplist00", 8) != 0)
    return;
  m_d = reinterpret_cast<const unsigned char*>(data);
  m_n = size_t(length);
  const unsigned char* t = m_d + m_n - 32;
  m_offSize = t[6];
  m_refSize = t[7];
  m_count = readBE(t + 8, 8);
  m_top = readBE(t + 16, 8);
  m_table = readBE(t + 24, 8);
  if (m_offSize < 1 || m_offSize > 8 || m_refSize < 1 || m_refSize > 8 || m_top >= m_count || m_table < 8 ||
      m_table > m_n - 32 || m_count > (m_n - 32 - m_table) / m_offSize)
    return;
  m_valid = true;
}

bool BplistScan::objectOffset(quint64 ref, size_t* off) const {
  if (!m_valid || ref >= m_count)
    return false;
  const quint64 o = readBE(m_d + m_table + ref * m_offSize, m_offSize);
  if (o < 8 || o >= m_table)
    return false; // objects lie between the header and the offset table
  *off = size_t(o);
  return true;
}

bool BplistScan::readRef(size_t at, quint64* ref) const {
  if (at + m_refSize > m_table)
    return false;
  *ref = readBE(m_d + at, m_refSize);
  return true;
}

// A collection (dictionary 0xD, array 0xA) or a sized object: where its
// content starts and how many items it has.
bool BplistScan::collection(quint64 ref, unsigned type, size_t* start, quint64* count) const {
  size_t off = 0;
  if (!objectOffset(ref, &off))
    return false;
  const unsigned marker = m_d[off];
  if ((marker >> 4) != type)
    return false;
  quint64 n = marker & 0xF;
  size_t s = off + 1;
  if (n == 0xF) {
    if (s >= m_table || (m_d[s] >> 4) != 0x1)
      return false;
    const unsigned bytes = 1u << (m_d[s] & 0xF);
    if (bytes > 8 || s + 1 + bytes > m_table)
      return false;
    n = readBE(m_d + s + 1, bytes);
    s += 1 + bytes;
  }
  *start = s;
  *count = n;
  return true;
}

bool BplistScan::keyEquals(quint64 ref, const char* key, size_t keyLen) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(ref, 0x5, &s, &n)) // ASCII string
    return false;
  return n == keyLen && s + n <= m_table && std::memcmp(m_d + s, key, keyLen) == 0;
}

bool BplistScan::dictValue(quint64 dict, const char* key, quint64* value) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(dict, 0xD, &s, &n) || n > (m_table - s) / (2 * m_refSize))
    return false;
  const size_t keyLen = std::strlen(key);
  for (quint64 i = 0; i < n; ++i) {
    quint64 k = 0;
    if (!readRef(s + i * m_refSize, &k))
      return false;
    if (keyEquals(k, key, keyLen))
      return readRef(s + (n + i) * m_refSize, value);
  }
  return false;
}

bool BplistScan::dictSize(quint64 dict, quint64* count) const {
  size_t s = 0;
  return collection(dict, 0xD, &s, count) && *count <= (m_table - s) / (2 * m_refSize);
}

bool BplistScan::dictEntry(quint64 dict, quint64 i, const char** key, size_t* keyLength, quint64* value) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(dict, 0xD, &s, &n) || i >= n || n > (m_table - s) / (2 * m_refSize))
    return false;
  quint64 k = 0;
  size_t ks = 0;
  quint64 kn = 0;
  if (!readRef(s + i * m_refSize, &k) || !collection(k, 0x5, &ks, &kn) || kn > m_table - ks)
    return false;
  *key = reinterpret_cast<const char*>(m_d + ks);
  *keyLength = size_t(kn);
  return readRef(s + (n + i) * m_refSize, value);
}

bool BplistScan::arrayItem(quint64 array, quint64 index, quint64* item) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(array, 0xA, &s, &n) || index >= n || n > (m_table - s) / m_refSize)
    return false;
  return readRef(s + index * m_refSize, item);
}

bool BplistScan::isDict(quint64 ref) const {
  size_t s = 0;
  quint64 n = 0;
  return collection(ref, 0xD, &s, &n);
}

bool BplistScan::integer(quint64 ref, qint64* value) const {
  size_t off = 0;
  if (!objectOffset(ref, &off) || (m_d[off] >> 4) != 0x1)
    return false;
  const unsigned bytes = 1u << (m_d[off] & 0xF);
  if (bytes > 16 || off + 1 + bytes > m_table)
    return false;
  // 16-byte integers carry the value in their low 8 bytes.
  const unsigned skip = bytes == 16 ? 8 : 0;
  *value = qint64(readBE(m_d + off + 1 + skip, bytes - skip));
  return true;
}

bool BplistScan::uid(quint64 ref, quint64* value) const {
  size_t off = 0;
  if (!objectOffset(ref, &off) || (m_d[off] >> 4) != 0x8)
    return false;
  const unsigned bytes = (m_d[off] & 0xF) + 1;
  if (bytes > 8 || off + 1 + bytes > m_table)
    return false;
  *value = readBE(m_d + off + 1, bytes);
  return true;
}

bool BplistScan::data(quint64 ref, QByteArray* value) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(ref, 0x4, &s, &n) || n > m_table - s)
    return false;
  *value = QByteArray(reinterpret_cast<const char*>(m_d + s), int(n));
  return true;
}
