// libFuzzer target: the decryption steps of encrypted backups. The first byte
// picks the step; the rest is the key material and the cipher text.
#include "platform/backup/backupcrypto.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1)
    return 0;
  const QByteArray in = QByteArray::fromRawData(reinterpret_cast<const char*>(data) + 1, int(size - 1));
  const QByteArray key = in.left(32);
  const QByteArray rest = in.mid(32);
  QByteArray out;
  switch (data[0] % 3) {
  case 0:
    BackupCrypto::aesUnwrap(key, rest, &out);
    break;
  case 1:
    BackupCrypto::decryptCbc(key, rest, &out);
    break;
  default: {
    static QTemporaryDir dir;
    const QString src = QDir(dir.path()).filePath(QStringLiteral("in"));
    const QString dst = QDir(dir.path()).filePath(QStringLiteral("out"));
    QFile f(src);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
      return 0;
    f.write(rest);
    f.close();
    qint64 length = 0;
    QString error;
    BackupCrypto::decryptFile(src, dst, key, (data[0] & 0x80) ? BackupCrypto::Padding::Keep : BackupCrypto::Padding::Strip,
                              &length, &error);
    break;
  }
  }
  return 0;
}
