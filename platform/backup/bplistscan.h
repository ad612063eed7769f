#pragma once
// A bounds-checked look into a binary property list without building a tree:
// enough to pull the few fields of a Manifest.db record's keyed archive at the
// rate a 300,000-record manifest needs. Anything it does not expect makes it
// give up, and the caller decodes the archive with libplist instead.
#include <QByteArray>

#include <cstddef>

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
  bool dictSize(quint64 dict, quint64* count) const;
  bool dictEntry(quint64 dict, quint64 i, const char** key, size_t* keyLength, quint64* value) const;
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
