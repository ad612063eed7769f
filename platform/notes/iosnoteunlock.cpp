// Unlocking phase of the notes store: password-protected notes and the
// attachment files of protected notes.
#include "platform/common/log.h"
#include "platform/notes/iosnote_p.h"
#include "platform/notes/notecrypto.h"

#include <QFile>

namespace notestore {

QList<IosNote::CryptedNote> NoteUnlocker::markLocked() {
  QList<IosNote::CryptedNote> locked;
  int passcode = 0;
  for (NoteRow& r : m_rows.notes) {
    if (!r.isProtected)
      continue;
    r.passcodeScheme = r.data.startsWith("bplist00");
    if (r.passcodeScheme)
      ++passcode;
    IosNote::CryptedNote c;
    c.key = r.pk;
    locked.append(c);
  }
  if (passcode > 0)
    Log(kModule, 1,
        "%d notes are locked under the newer scheme whose key is held by the device's keychain, which a "
        "backup does not carry; they are listed locked with their titles",
        passcode);
  return locked;
}

QByteArray NoteUnlocker::kek(const QString& password, const QByteArray& salt, int iterations) {
  const QString cacheKey = password + QChar(0) + QString::fromLatin1(salt.toHex()) + QChar(0) +
                           QString::number(iterations);
  auto it = m_kekCache.constFind(cacheKey);
  if (it != m_kekCache.constEnd())
    return *it;
  QByteArray k;
  if (!NoteCrypto::deriveKek(password, salt, iterations, &k))
    k.clear();
  m_kekCache.insert(cacheKey, k);
  return k;
}

bool NoteUnlocker::openNote(NoteRow& row, const QString& password) {
  const QByteArray k = kek(password, row.crypto.salt, row.crypto.iterations);
  QByteArray key;
  if (k.isEmpty() || !NoteCrypto::unwrapKey(k, row.crypto.wrapped, &key))
    return false;
  QByteArray plain;
  if (!NoteCrypto::gcmDecrypt(key, row.crypto.iv, row.crypto.tag, row.data, &plain)) {
    Log(kModule, 0, "note %lld: the password opens its key but the body does not decrypt", row.pk);
    return false;
  }
  row.plainBody = plain;
  row.unlocked = true;
  return true;
}

int NoteUnlocker::unlock(const QStringList& passwords, const QList<IosNote::CryptedNote*>& crypted) {
  for (const QString& p : passwords)
    if (!m_passwords.contains(p))
      m_passwords << p;
  int opened = 0;
  QHash<qint64, IosNote::CryptedNote*> byKey;
  for (IosNote::CryptedNote* c : crypted)
    byKey.insert(c->key, c);
  for (NoteRow& r : m_rows.notes) {
    if (!r.isProtected || r.unlocked || r.passcodeScheme)
      continue;
    if (!r.crypto.usable() || !r.hasData) {
      Log(kModule, 1, "note %lld is locked but lacks what it takes to open it", r.pk);
      continue;
    }
    for (const QString& pw : passwords) {
      if (openNote(r, pw)) {
        ++opened;
        if (!m_usefulFirst.contains(pw))
          m_usefulFirst << pw;
        if (IosNote::CryptedNote* c = byKey.value(r.pk))
          c->unlocked = true;
        break;
      }
    }
  }
  return opened;
}

IosNote::AttachResult NoteUnlocker::decryptAttach(qint64 keyId, const QString& src, const QString& dst) {
  auto it = m_rows.keys.constFind(keyId);
  if (it == m_rows.keys.constEnd())
    return IosNote::AttachNotEncrypted;
  if (!QFile::exists(src))
    return IosNote::AttachFileError;
  QStringList order = m_usefulFirst;
  for (const QString& p : m_passwords)
    if (!order.contains(p))
      order << p;
  for (const QString& pw : order) {
    const QByteArray k = kek(pw, it->salt, it->iterations);
    QByteArray key;
    if (k.isEmpty() || !NoteCrypto::unwrapKey(k, it->wrapped, &key))
      continue;
    QString error;
    if (NoteCrypto::gcmDecryptFile(key, it->iv, it->tag, src, dst, &error))
      return IosNote::AttachDecrypted;
    Log(kModule, 0, "attachment %s: %s", qPrintable(src), qPrintable(error));
    return error.startsWith(QLatin1String("cannot")) ? IosNote::AttachFileError : IosNote::AttachUndecryptable;
  }
  return IosNote::AttachNoPassword;
}

} // namespace notestore
