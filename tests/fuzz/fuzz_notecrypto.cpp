// libFuzzer target: the decryption of password-protected notes: the unwrap of
// a note's key and AES-GCM over its body or file. The first byte picks the
// step; the rest is split into key, nonce, tag and cipher text.
#include "platform/notes/notecrypto.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1)
    return 0;
  const QByteArray in = QByteArray::fromRawData(reinterpret_cast<const char*>(data) + 1, int(size - 1));
  const int keyLength = (data[0] & 1) ? 32 : 16;
  const QByteArray key = in.left(keyLength);
  const QByteArray nonce = in.mid(keyLength, 16);
  const QByteArray tag = in.mid(keyLength + 16, 16);
  const QByteArray cipher = in.mid(keyLength + 32);
  QByteArray out;
  switch ((data[0] >> 1) % 3) {
  case 0:
    NoteCrypto::unwrapKey(key, in.mid(keyLength), &out);
    break;
  case 1:
    NoteCrypto::gcmDecrypt(key, nonce, tag, cipher, &out);
    break;
  default: {
    static QTemporaryDir dir;
    const QString src = QDir(dir.path()).filePath(QStringLiteral("in"));
    QFile f(src);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
      return 0;
    f.write(cipher);
    f.close();
    QString error;
    NoteCrypto::gcmDecryptFile(key, nonce, tag, src, QDir(dir.path()).filePath(QStringLiteral("out")), &error);
    break;
  }
  }
  return 0;
}
