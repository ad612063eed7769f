#pragma once
// The host's contact map (number or address -> name), indexed for the name
// lookup of the call list.
//
// A number is looked up by its text with every "-" and space removed; an
// address (it holds "@") as it stands, and only against keys that are
// addresses too. A key matches when both prepared texts are longer than five
// characters and either ends with the other (case-sensitive); the first
// matching key in key order gives the name. Two texts of which one ends with
// the other share their last six characters, so the prepared keys are kept in
// buckets by the hash of those, each bucket in key order, and a lookup only
// tries its own bucket (keys whose endings merely share the hash fail the
// ending test): the same first match as a walk over the whole map, without the
// walk.
#include <QHash>
#include <QMap>
#include <QString>
#include <QVector>

class CContactNameIndex {
public:
  CContactNameIndex() = default;
  explicit CContactNameIndex(const QMap<QString, QString>& contactToName);

  bool isEmpty() const { return m_names.isEmpty(); }
  // The name of the first matching key; empty when none matches (also for an
  // empty or blank text).
  QString find(const QString& numberOrAddress) const;

  // A phone number without "-" and spaces; an address unchanged.
  static QString prepare(const QString& text, bool address);

private:
  enum { KeyChars = 6 };
  struct Bucketed {
    QVector<QString> keys;                // prepared keys, in key order
    QVector<int> names;                   // index into m_names of each key
    QHash<uint, QVector<int>> buckets;    // hash of the last KeyChars characters -> positions in keys
    static uint endingHash(const QString& key) { return qHash(QStringView(key).right(KeyChars)); }
    void add(const QString& key, int name);
    int first(const QString& prepared) const; // position of the first match, or -1
  };

  QVector<QString> m_names;
  Bucketed m_numbers;   // every key, prepared as a number
  Bucketed m_addresses; // the keys that hold "@", as they stand
};
