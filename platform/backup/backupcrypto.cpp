#include "platform/backup/backupcrypto.h"

#include <QFile>

#include <openssl/evp.h>

#include <memory>

namespace BackupCrypto {
namespace {
using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

CipherCtx newCtx() { return CipherCtx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free); }

const EVP_CIPHER* wrapCipher(int kekLength) {
  switch (kekLength) {
  case 16:
    return EVP_aes_128_wrap();
  case 24:
    return EVP_aes_192_wrap();
  case 32:
    return EVP_aes_256_wrap();
  default:
    return nullptr;
  }
}

bool runWrap(bool encrypt, const QByteArray& kek, const QByteArray& in, QByteArray* out) {
  const EVP_CIPHER* cipher = wrapCipher(kek.size());
  if (!cipher || !out || in.size() < 16 || in.size() % 8 != 0)
    return false;
  CipherCtx ctx = newCtx();
  if (!ctx)
    return false;
  EVP_CIPHER_CTX_set_flags(ctx.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
  const auto* k = reinterpret_cast<const unsigned char*>(kek.constData());
  if (EVP_CipherInit_ex(ctx.get(), cipher, nullptr, k, nullptr, encrypt ? 1 : 0) != 1)
    return false;
  QByteArray buf(in.size() + 16, '\0');
  int len = 0;
  if (EVP_CipherUpdate(ctx.get(), reinterpret_cast<unsigned char*>(buf.data()), &len,
                       reinterpret_cast<const unsigned char*>(in.constData()), in.size()) != 1 ||
      len <= 0)
    return false;
  int fin = 0;
  if (EVP_CipherFinal_ex(ctx.get(), reinterpret_cast<unsigned char*>(buf.data()) + len, &fin) != 1)
    return false;
  buf.truncate(len + fin);
  *out = buf;
  return true;
}

bool runCbc(bool encrypt, const QByteArray& key, const QByteArray& in, QByteArray* out) {
  if (key.size() != 32 || !out)
    return false;
  CipherCtx ctx = newCtx();
  static const unsigned char zeroIv[16] = {};
  if (!ctx || EVP_CipherInit_ex(ctx.get(), EVP_aes_256_cbc(), nullptr,
                                reinterpret_cast<const unsigned char*>(key.constData()), zeroIv, encrypt ? 1 : 0) != 1)
    return false;
  QByteArray buf(in.size() + 32, '\0');
  int len = 0;
  if (EVP_CipherUpdate(ctx.get(), reinterpret_cast<unsigned char*>(buf.data()), &len,
                       reinterpret_cast<const unsigned char*>(in.constData()), in.size()) != 1)
    return false;
  int fin = 0;
  if (EVP_CipherFinal_ex(ctx.get(), reinterpret_cast<unsigned char*>(buf.data()) + len, &fin) != 1)
    return false;
  buf.truncate(len + fin);
  *out = buf;
  return true;
}
} // namespace

bool pbkdf2(Digest digest, const QByteArray& password, const QByteArray& salt, int iterations, int keyLength,
            QByteArray* key) {
  if (!key || iterations < 1 || keyLength < 1)
    return false;
  QByteArray out(keyLength, '\0');
  const EVP_MD* md = digest == Digest::Sha1 ? EVP_sha1() : EVP_sha256();
  if (PKCS5_PBKDF2_HMAC(password.constData(), password.size(), reinterpret_cast<const unsigned char*>(salt.constData()),
                        salt.size(), iterations, md, keyLength, reinterpret_cast<unsigned char*>(out.data())) != 1)
    return false;
  *key = out;
  return true;
}

bool aesUnwrap(const QByteArray& kek, const QByteArray& wrapped, QByteArray* key) {
  return runWrap(false, kek, wrapped, key);
}

bool aesWrap(const QByteArray& kek, const QByteArray& key, QByteArray* wrapped) {
  return runWrap(true, kek, key, wrapped);
}

bool encryptCbc(const QByteArray& key, const QByteArray& plain, QByteArray* cipher) {
  return runCbc(true, key, plain, cipher);
}

bool decryptCbc(const QByteArray& key, const QByteArray& cipher, QByteArray* plain) {
  return runCbc(false, key, cipher, plain);
}

int paddingLength(const QByteArray& lastBlock) {
  if (lastBlock.size() != 16)
    return 0;
  const int pad = static_cast<unsigned char>(lastBlock.at(15));
  if (pad < 1 || pad > 16)
    return 0;
  for (int i = 16 - pad; i < 16; ++i) {
    if (static_cast<unsigned char>(lastBlock.at(i)) != pad)
      return 0;
  }
  return pad;
}

bool decryptFile(const QString& src, const QString& dst, const QByteArray& key, Padding padding, qint64* plainLength,
                 QString* error) {
  auto fail = [&](const QString& why) {
    if (error)
      *error = why;
    QFile::remove(dst);
    return false;
  };
  if (key.size() != 32)
    return fail(QStringLiteral("the file key is not 32 bytes"));
  QFile in(src);
  if (!in.open(QIODevice::ReadOnly))
    return fail(QStringLiteral("cannot read %1: %2").arg(src, in.errorString()));
  QFile out(dst);
  if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
    return fail(QStringLiteral("cannot write %1: %2").arg(dst, out.errorString()));
  const qint64 total = in.size();
  if (total == 0) {
    if (plainLength)
      *plainLength = 0;
    return true;
  }
  if (total % 16 != 0)
    return fail(QStringLiteral("%1 is %2 bytes long, not a whole number of AES blocks").arg(src).arg(total));

  CipherCtx ctx = newCtx();
  static const unsigned char zeroIv[16] = {};
  if (!ctx || EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_cbc(), nullptr,
                                 reinterpret_cast<const unsigned char*>(key.constData()), zeroIv) != 1)
    return fail(QStringLiteral("the cipher cannot be set up"));
  // The padding is checked by hand: OpenSSL would only say "bad decrypt", and
  // the last block has to be held back until the end of the file anyway.
  EVP_CIPHER_CTX_set_padding(ctx.get(), 0);

  constexpr qint64 kChunk = 1 << 20;
  QByteArray inBuf(int(kChunk), '\0');
  QByteArray outBuf(int(kChunk) + 16, '\0');
  QByteArray held; // the last decrypted block, written once the next chunk proves it is not the last
  qint64 written = 0;
  qint64 done = 0;
  while (done < total) {
    const qint64 n = in.read(inBuf.data(), qMin(kChunk, total - done));
    if (n <= 0)
      return fail(QStringLiteral("cannot read %1: %2").arg(src, in.errorString()));
    done += n;
    int len = 0;
    if (EVP_DecryptUpdate(ctx.get(), reinterpret_cast<unsigned char*>(outBuf.data()), &len,
                          reinterpret_cast<const unsigned char*>(inBuf.constData()), int(n)) != 1)
      return fail(QStringLiteral("decryption of %1 failed").arg(src));
    if (len < 16)
      return fail(QStringLiteral("decryption of %1 failed").arg(src));
    if (!held.isEmpty()) {
      if (out.write(held) != held.size())
        return fail(QStringLiteral("cannot write %1: %2").arg(dst, out.errorString()));
      written += held.size();
    }
    if (out.write(outBuf.constData(), len - 16) != len - 16)
      return fail(QStringLiteral("cannot write %1: %2").arg(dst, out.errorString()));
    written += len - 16;
    held = QByteArray(outBuf.constData() + len - 16, 16);
  }
  int pad = 0;
  if (padding == Padding::Strip) {
    pad = paddingLength(held);
    if (pad == 0)
      return fail(QStringLiteral("%1 has no valid padding (wrong key or damaged file)").arg(src));
  }
  if (out.write(held.constData(), 16 - pad) != 16 - pad)
    return fail(QStringLiteral("cannot write %1: %2").arg(dst, out.errorString()));
  written += 16 - pad;
  if (!out.flush())
    return fail(QStringLiteral("cannot write %1: %2").arg(dst, out.errorString()));
  if (plainLength)
    *plainLength = written;
  return true;
}
} // namespace BackupCrypto
