#pragma once
// A bounds-checked look into a binary property list without building a tree:
// enough to pull the few fields of a Manifest.db record's keyed archive at the
// rate a 300,000-record manifest needs. Anything it does not expect makes it
// give up, and the caller decodes the archive with libplist instead.
//
// What it buys (bench_backup, BM_OpenAndIterate against BM_BareSqliteScan,
// 300,000 records): with libplist alone, opening a manifest took about 10x
// the bare SQLite scan; with this reader beside it, together with the packed
// records and the domain table, 1.40-1.49x (from 1.53-1.65x before them).
#include <QByteArray>

#include <cstddef>
#include <cstring>

class BplistScan {
public:
  BplistScan(const char* data, int length);
  bool isValid() const { return m_valid; }

  // Object references (indexes into the object table).
  bool root(quint64* ref) const { return ref && m_valid && (*ref = m_top, true); }
  // Value of key in the dictionary object dict; false when absent or not a dictionary.
  bool dictValue(quint64 dict, const char* key, quint64* value) const;
  // The dictionary's entries, one by one: its size, then each key (ASCII
  // strings only) and value reference.
  // Calls f(key, keyLength, valueRef) for each entry whose key is an ASCII
  // string, in order, until f returns false. False when dict is not a dictionary.
  template <typename F> bool forEachEntry(quint64 dict, F f) const;
  bool arrayItem(quint64 array, quint64 index, quint64* item) const;
  bool integer(quint64 ref, qint64* value) const;
  bool uid(quint64 ref, quint64* value) const;
  bool data(quint64 ref, QByteArray* value) const;
  bool isDict(quint64 ref) const;

private:
  bool objectOffset(quint64 ref, size_t* off) const;
  bool collection(quint64 ref, unsigned type, size_t* start, quint64* count) const;
  bool readRef(size_t at, quint64* ref) const;
  bool keyEquals(quint64 ref, const char* key, size_t keyLen) const;

  const unsigned char* m_d = nullptr;
  size_t m_n = 0;
  unsigned m_offSize = 0, m_refSize = 0;
  quint64 m_count = 0, m_top = 0, m_table = 0;
  bool m_valid = false;
};

// Defined here so that the per-record calls inline into the manifest reader.

namespace bplistscan_detail {
inline quint64 readBE(const unsigned char* p, unsigned n) {
  quint64 v = 0;
  for (unsigned i = 0; i < n; ++i)
    v = (v << 8) | p[i];
  return v;
}
} // namespace bplistscan_detail

inline BplistScan::BplistScan(const char* data, int length) {
  if (!data || length < 8 + 32 || std::memcmp(data, "bplist00", 8) != 0)
    return;
  m_d = reinterpret_cast<const unsigned char*>(data);
  m_n = size_t(length);
  const unsigned char* t = m_d + m_n - 32;
  m_offSize = t[6];
  m_refSize = t[7];
  m_count = bplistscan_detail::readBE(t + 8, 8);
  m_top = bplistscan_detail::readBE(t + 16, 8);
  m_table = bplistscan_detail::readBE(t + 24, 8);
  if (m_offSize < 1 || m_offSize > 8 || m_refSize < 1 || m_refSize > 8 || m_top >= m_count || m_table < 8 ||
      m_table > m_n - 32 || m_count > (m_n - 32 - m_table) / m_offSize)
    return;
  m_valid = true;
}

inline bool BplistScan::objectOffset(quint64 ref, size_t* off) const {
  if (!m_valid || ref >= m_count)
    return false;
  const quint64 o = bplistscan_detail::readBE(m_d + m_table + ref * m_offSize, m_offSize);
  if (o < 8 || o >= m_table)
    return false; // objects lie between the header and the offset table
  *off = size_t(o);
  return true;
}

inline bool BplistScan::readRef(size_t at, quint64* ref) const {
  if (at + m_refSize > m_table)
    return false;
  *ref = bplistscan_detail::readBE(m_d + at, m_refSize);
  return true;
}

// A collection (dictionary 0xD, array 0xA) or a sized object: where its
// content starts and how many items it has.
inline bool BplistScan::collection(quint64 ref, unsigned type, size_t* start, quint64* count) const {
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
    n = bplistscan_detail::readBE(m_d + s + 1, bytes);
    s += 1 + bytes;
  }
  *start = s;
  *count = n;
  return true;
}

inline bool BplistScan::keyEquals(quint64 ref, const char* key, size_t keyLen) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(ref, 0x5, &s, &n)) // ASCII string
    return false;
  return n == keyLen && s + n <= m_table && std::memcmp(m_d + s, key, keyLen) == 0;
}

inline bool BplistScan::dictValue(quint64 dict, const char* key, quint64* value) const {
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

template <typename F> inline bool BplistScan::forEachEntry(quint64 dict, F f) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(dict, 0xD, &s, &n) || n > (m_table - s) / (2 * m_refSize))
    return false;
  for (quint64 i = 0; i < n; ++i) {
    quint64 k = 0, v = 0;
    size_t ks = 0;
    quint64 kn = 0;
    if (!readRef(s + i * m_refSize, &k) || !readRef(s + (n + i) * m_refSize, &v))
      return false;
    if (!collection(k, 0x5, &ks, &kn) || kn > m_table - ks)
      continue; // not an ASCII key: none of the caller's
    if (!f(reinterpret_cast<const char*>(m_d + ks), size_t(kn), v))
      break;
  }
  return true;
}

inline bool BplistScan::arrayItem(quint64 array, quint64 index, quint64* item) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(array, 0xA, &s, &n) || index >= n || n > (m_table - s) / m_refSize)
    return false;
  return readRef(s + index * m_refSize, item);
}

inline bool BplistScan::isDict(quint64 ref) const {
  size_t s = 0;
  quint64 n = 0;
  return collection(ref, 0xD, &s, &n);
}

inline bool BplistScan::integer(quint64 ref, qint64* value) const {
  size_t off = 0;
  if (!objectOffset(ref, &off) || (m_d[off] >> 4) != 0x1)
    return false;
  const unsigned bytes = 1u << (m_d[off] & 0xF);
  if (bytes > 16 || off + 1 + bytes > m_table)
    return false;
  // 16-byte integers carry the value in their low 8 bytes.
  const unsigned skip = bytes == 16 ? 8 : 0;
  *value = qint64(bplistscan_detail::readBE(m_d + off + 1 + skip, bytes - skip));
  return true;
}

inline bool BplistScan::uid(quint64 ref, quint64* value) const {
  size_t off = 0;
  if (!objectOffset(ref, &off) || (m_d[off] >> 4) != 0x8)
    return false;
  const unsigned bytes = (m_d[off] & 0xF) + 1;
  if (bytes > 8 || off + 1 + bytes > m_table)
    return false;
  *value = bplistscan_detail::readBE(m_d + off + 1, bytes);
  return true;
}

inline bool BplistScan::data(quint64 ref, QByteArray* value) const {
  size_t s = 0;
  quint64 n = 0;
  if (!collection(ref, 0x4, &s, &n) || n > m_table - s)
    return false;
  *value = QByteArray(reinterpret_cast<const char*>(m_d + s), int(n));
  return true;
}
