#include "platform/notes/notecrypto.h"

#include "platform/backup/backupcrypto.h"

#include <QFile>
#include <openssl/aes.h>
#include <openssl/evp.h>

#include <memory>

namespace NoteCrypto {

namespace {

using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

const EVP_CIPHER* gcmCipher(int keyLength) {
  switch (keyLength) {
  case 16:
    return EVP_aes_128_gcm();
  case 24:
    return EVP_aes_192_gcm();
  case 32:
    return EVP_aes_256_gcm();
  default:
    return nullptr;
  }
}

// A GCM context keyed and given its nonce, for encryption or decryption.
CipherCtx gcmContext(const QByteArray& key, const QByteArray& nonce, bool encrypt) {
  CipherCtx ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  const EVP_CIPHER* cipher = gcmCipher(key.size());
  if (!ctx || !cipher || nonce.isEmpty())
    return CipherCtx(nullptr, EVP_CIPHER_CTX_free);
  const auto* k = reinterpret_cast<const unsigned char*>(key.constData());
  const auto* iv = reinterpret_cast<const unsigned char*>(nonce.constData());
  int ok = EVP_CipherInit_ex(ctx.get(), cipher, nullptr, nullptr, nullptr, encrypt ? 1 : 0);
  ok = ok && EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_IVLEN, nonce.size(), nullptr);
  ok = ok && EVP_CipherInit_ex(ctx.get(), nullptr, nullptr, k, iv, encrypt ? 1 : 0);
  if (!ok)
    return CipherCtx(nullptr, EVP_CIPHER_CTX_free);
  return ctx;
}

} // namespace

bool deriveKek(const QString& password, const QByteArray& salt, int iterations, QByteArray* kek, int length) {
  if (!kek)
    return false;
  const QByteArray pw = password.normalized(QString::NormalizationForm_C).toUtf8();
  return BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha256, pw, salt, iterations, length, kek);
}

bool unwrapKey(const QByteArray& kek, const QByteArray& wrapped, QByteArray* key) {
  // A wrapped note key holds at least a 128-bit key and its 64-bit check.
  return wrapped.size() >= 24 && BackupCrypto::aesUnwrap(kek, wrapped, key);
}

bool wrapKey(const QByteArray& kek, const QByteArray& key, QByteArray* wrapped) {
  return BackupCrypto::aesWrap(kek, key, wrapped);
}

bool gcmDecrypt(const QByteArray& key, const QByteArray& nonce, const QByteArray& tag, const QByteArray& cipher,
                QByteArray* plain) {
  if (tag.size() != 16)
    return false;
  CipherCtx ctx = gcmContext(key, nonce, false);
  if (!ctx)
    return false;
  QByteArray out(cipher.size() + 16, '\0');
  int len = 0;
  if (!cipher.isEmpty() &&
      EVP_DecryptUpdate(ctx.get(), reinterpret_cast<unsigned char*>(out.data()), &len,
                        reinterpret_cast<const unsigned char*>(cipher.constData()), cipher.size()) <= 0)
    return false;
  QByteArray t = tag;
  if (!EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, t.size(), t.data()))
    return false;
  int fin = 0;
  if (EVP_DecryptFinal_ex(ctx.get(), reinterpret_cast<unsigned char*>(out.data()) + len, &fin) <= 0)
    return false;
  out.resize(len + fin);
  *plain = out;
  return true;
}

bool gcmEncrypt(const QByteArray& key, const QByteArray& nonce, const QByteArray& plain, QByteArray* cipher,
                QByteArray* tag) {
  CipherCtx ctx = gcmContext(key, nonce, true);
  if (!ctx)
    return false;
  QByteArray out(plain.size() + 16, '\0');
  int len = 0;
  if (!plain.isEmpty() &&
      EVP_EncryptUpdate(ctx.get(), reinterpret_cast<unsigned char*>(out.data()), &len,
                        reinterpret_cast<const unsigned char*>(plain.constData()), plain.size()) <= 0)
    return false;
  int fin = 0;
  if (EVP_EncryptFinal_ex(ctx.get(), reinterpret_cast<unsigned char*>(out.data()) + len, &fin) <= 0)
    return false;
  out.resize(len + fin);
  QByteArray t(16, '\0');
  if (!EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, t.size(), t.data()))
    return false;
  *cipher = out;
  *tag = t;
  return true;
}

bool gcmDecryptFile(const QByteArray& key, const QByteArray& nonce, const QByteArray& tag, const QString& src,
                    const QString& dst, QString* error) {
  QFile in(src);
  if (!in.open(QIODevice::ReadOnly)) {
    *error = QStringLiteral("cannot read %1").arg(src);
    return false;
  }
  CipherCtx ctx = gcmContext(key, nonce, false);
  if (!ctx || tag.size() != 16) {
    *error = QStringLiteral("unusable key, nonce or tag");
    return false;
  }
  QFile out(dst);
  if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
    *error = QStringLiteral("cannot write %1").arg(dst);
    return false;
  }
  auto fail = [&](const QString& why) {
    out.close();
    out.remove();
    *error = why;
    return false;
  };
  QByteArray buf(1 << 16, '\0');
  QByteArray plain(buf.size() + 16, '\0');
  for (;;) {
    const qint64 n = in.read(buf.data(), buf.size());
    if (n < 0)
      return fail(QStringLiteral("read error in %1").arg(src));
    if (n == 0)
      break;
    int len = 0;
    if (EVP_DecryptUpdate(ctx.get(), reinterpret_cast<unsigned char*>(plain.data()), &len,
                          reinterpret_cast<const unsigned char*>(buf.constData()), int(n)) <= 0)
      return fail(QStringLiteral("decryption failed"));
    if (out.write(plain.constData(), len) != len)
      return fail(QStringLiteral("write error in %1").arg(dst));
  }
  QByteArray t = tag;
  int fin = 0;
  if (!EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, t.size(), t.data()) ||
      EVP_DecryptFinal_ex(ctx.get(), reinterpret_cast<unsigned char*>(plain.data()), &fin) <= 0)
    return fail(QStringLiteral("the authentication tag does not match"));
  return true;
}

} // namespace NoteCrypto
