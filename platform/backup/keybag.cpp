#include "platform/backup/keybag.h"

#include "platform/backup/backupcrypto.h"

#include <QStringList>

#include <QtEndian>

namespace {
quint32 beInt(const QByteArray& v) {
  if (v.size() != 4)
    return 0;
  return qFromBigEndian<quint32>(v.constData());
}
} // namespace

bool Keybag::parse(const QByteArray& data, QString* error) {
  *this = Keybag();
  int pos = 0;
  int uuids = 0;
  ClassKey* current = nullptr;
  bool truncated = false;
  while (pos < data.size()) {
    if (data.size() - pos < 8) {
      truncated = true;
      break;
    }
    const QByteArray tag = data.mid(pos, 4);
    const quint32 len = qFromBigEndian<quint32>(data.constData() + pos + 4);
    if (len > quint32(data.size() - pos - 8)) {
      truncated = true;
      break;
    }
    const QByteArray value = data.mid(pos + 8, int(len));
    pos += 8 + int(len);

    if (tag == "UUID") {
      if (++uuids > 1) {
        m_classes.append(ClassKey());
        current = &m_classes.last();
      }
    } else if (tag == "CLAS" && current) {
      current->protectionClass = beInt(value);
    } else if (tag == "WRAP") {
      if (current)
        current->wrap = beInt(value);
    } else if (tag == "KTYP" && current) {
      current->keyType = beInt(value);
    } else if (tag == "WPKY" && current) {
      current->wrappedKey = value;
    } else if (tag == "VERS") {
      m_version = beInt(value);
    } else if (tag == "TYPE") {
      m_type = beInt(value);
    } else if (tag == "SALT") {
      m_salt = value;
    } else if (tag == "ITER") {
      m_iter = beInt(value);
    } else if (tag == "DPSL") {
      m_dpsl = value;
    } else if (tag == "DPIC") {
      m_dpic = beInt(value);
    } else if (tag == "HMCK" || tag == "DPWT" || tag == "PBKY" || tag == "SIGN" || tag == "UUID") {
      // known, not needed for reading
    } else {
      m_unknown << QString::fromLatin1(tag.toHex());
    }
  }
  if (truncated) {
    if (error)
      *error = QStringLiteral("the keybag ends inside an item at byte %1").arg(pos);
    return false;
  }
  if (m_classes.isEmpty() || m_salt.isEmpty() || m_iter == 0) {
    if (error)
      *error = QStringLiteral("the keybag has no class keys or no salt and iteration count");
    return false;
  }
  const auto tooMany = [error](const char* tag, quint32 count, quint32 bound) {
    if (error)
      *error = QStringLiteral("the keybag is damaged: %1 asks for %2 key-derivation rounds, more than the %3 any "
                              "backup uses")
                   .arg(QLatin1String(tag))
                   .arg(count)
                   .arg(bound);
    return false;
  };
  if (m_iter > MaxSha1Iterations)
    return tooMany("ITER", m_iter, MaxSha1Iterations);
  if (!m_dpsl.isEmpty() && m_dpic > MaxSha256Iterations)
    return tooMany("DPIC", m_dpic, MaxSha256Iterations);
  return true;
}

bool Keybag::unlock(const QByteArray& password, QString* error) {
  m_classKeys.clear();
  QByteArray key = password;
  if (hasSha256Round()) {
    if (!BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha256, password, m_dpsl, int(m_dpic), 32,
                              &key)) {
      if (error)
        *error = QStringLiteral("key derivation failed");
      return false;
    }
  }
  QByteArray passcodeKey;
  if (!BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha1, key, m_salt, int(m_iter), 32,
                            &passcodeKey)) {
    if (error)
      *error = QStringLiteral("key derivation failed");
    return false;
  }
  QMap<quint32, QByteArray> keys;
  for (const ClassKey& c : m_classes) {
    if (!(c.wrap & 2))
      continue; // bound to the device: cannot be opened from a backup
    QByteArray k;
    if (!BackupCrypto::aesUnwrap(passcodeKey, c.wrappedKey, &k)) {
      if (error)
        *error = QStringLiteral("the password is wrong (class key %1 does not unwrap)").arg(c.protectionClass);
      return false;
    }
    keys.insert(c.protectionClass, k);
  }
  if (keys.isEmpty()) {
    if (error)
      *error = QStringLiteral("the keybag holds no password-protected class key");
    return false;
  }
  m_classKeys = keys;
  return true;
}

bool Keybag::unwrapKey(const QByteArray& record, quint32 protectionClass, QByteArray* key, QString* error) const {
  if (record.size() < 4 + 24) {
    if (error)
      *error = QStringLiteral("the key record is %1 bytes long").arg(record.size());
    return false;
  }
  quint32 cls = protectionClass ? protectionClass : qFromLittleEndian<quint32>(record.constData());
  auto it = m_classKeys.constFind(cls);
  if (it == m_classKeys.constEnd()) {
    // The prefix is the authority in the Manifest.db generation; try it too.
    cls = qFromLittleEndian<quint32>(record.constData());
    it = m_classKeys.constFind(cls);
  }
  if (it == m_classKeys.constEnd()) {
    if (error)
      *error = QStringLiteral("no key of protection class %1").arg(cls);
    return false;
  }
  if (!BackupCrypto::aesUnwrap(it.value(), record.mid(4), key)) {
    if (error)
      *error = QStringLiteral("the wrapped key does not unwrap (damaged record)");
    return false;
  }
  return true;
}
