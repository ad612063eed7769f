#pragma once
// The backup keybag of Manifest.plist: a flat list of tag-length-value items
// describing how the password becomes the class keys that unwrap each file's key.
//
// The key derivation runs ITER rounds of PBKDF2-SHA1, after DPIC rounds of
// PBKDF2-SHA256 on backups of iOS 10.2 and later. Real keybags ask for 10,000
// and 10,000,000. A damaged or hostile keybag could ask for up to 2^32 and keep
// the open busy for hours on any password, so counts above MaxSha1Iterations
// (10,000,000) or MaxSha256Iterations (100,000,000) make the keybag damaged:
// both bounds are far above what any backup uses and still derive in well under
// a minute.
#include <QByteArray>
#include <QMap>
#include <QString>

class Keybag {
public:
  struct ClassKey {
    quint32 protectionClass = 0;
    quint32 wrap = 0;
    quint32 keyType = 0;
    QByteArray wrappedKey;
  };

  enum : quint32 { MaxSha1Iterations = 10000000, MaxSha256Iterations = 100000000 };

  // Reads the items; unknown tags are skipped by their length. False, with
  // *error set, when the data ends inside an item, holds no class key, or asks
  // for more key-derivation rounds than the bounds above; what was read before
  // a truncation is kept.
  bool parse(const QByteArray& data, QString* error);

  // Derives the password key and unwraps every password-wrapped class key.
  // False when the password is wrong (the first unwrap fails its check).
  bool unlock(const QByteArray& password, QString* error);
  bool isUnlocked() const { return !m_classKeys.isEmpty(); }

  // A 44-byte per-file (or manifest) key record: 4-byte little-endian class,
  // then the wrapped key. protectionClass, when not 0, overrides the prefix.
  bool unwrapKey(const QByteArray& record, quint32 protectionClass, QByteArray* key, QString* error) const;

  quint32 version() const { return m_version; }
  quint32 type() const { return m_type; }
  quint32 iterations() const { return m_iter; }
  quint32 sha256Iterations() const { return m_dpic; }
  bool hasSha256Round() const { return !m_dpsl.isEmpty() && m_dpic > 0; }
  const QByteArray& salt() const { return m_salt; }
  const QByteArray& sha256Salt() const { return m_dpsl; }
  const QList<ClassKey>& classes() const { return m_classes; }
  QStringList unknownTags() const { return m_unknown; }

private:
  quint32 m_version = 0, m_type = 0, m_iter = 0, m_dpic = 0;
  QByteArray m_salt, m_dpsl;
  QList<ClassKey> m_classes;
  QStringList m_unknown;
  QMap<quint32, QByteArray> m_classKeys; // unwrapped, kept in memory only
};
