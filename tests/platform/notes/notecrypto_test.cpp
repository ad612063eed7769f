#include "platform/notes/notecrypto.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TEST(NoteCrypto, PublicTestVectorUnwraps) {
  QByteArray kek;
  ASSERT_TRUE(NoteCrypto::deriveKek(QStringLiteral("hashcat"), QByteArray::fromHex("80771171105233481004850004085037"),
                                    20000, &kek));
  EXPECT_EQ(kek.toHex(), QByteArray("e9cafdc41997dba0f3990c53e1a062a8"));
  QByteArray key;
  ASSERT_TRUE(
      NoteCrypto::unwrapKey(kek, QByteArray::fromHex("d04b17af7f6b184346aad3efefe8bec0987ee73418291a41"), &key));
  EXPECT_EQ(key, QByteArray(16, '\xff'));
  QByteArray wrong;
  ASSERT_TRUE(NoteCrypto::deriveKek(QStringLiteral("hashcaT"), QByteArray::fromHex("80771171105233481004850004085037"),
                                    20000, &wrong));
  EXPECT_FALSE(
      NoteCrypto::unwrapKey(wrong, QByteArray::fromHex("d04b17af7f6b184346aad3efefe8bec0987ee73418291a41"), &key));
}

TEST(NoteCrypto, GcmWithSixteenByteNonceRoundTripsAndChecksTheTag) {
  const QByteArray key(16, '\x11');
  const QByteArray nonce(16, '\x22');
  QByteArray cipher, tag, plain;
  ASSERT_TRUE(NoteCrypto::gcmEncrypt(key, nonce, "secret body", &cipher, &tag));
  ASSERT_TRUE(NoteCrypto::gcmDecrypt(key, nonce, tag, cipher, &plain));
  EXPECT_EQ(plain, QByteArray("secret body"));
  QByteArray badTag = tag;
  badTag[0] = char(badTag[0] ^ 1);
  EXPECT_FALSE(NoteCrypto::gcmDecrypt(key, nonce, badTag, cipher, &plain));
  EXPECT_FALSE(NoteCrypto::gcmDecrypt(key, nonce, tag.left(8), cipher, &plain));
  EXPECT_FALSE(NoteCrypto::gcmDecrypt(QByteArray(5, 'k'), nonce, tag, cipher, &plain));
}

TEST(NoteCrypto, FileDecryptionLeavesNothingBehindOnAWrongTag) {
  QTemporaryDir dir;
  const QByteArray key(16, '\x33');
  const QByteArray nonce(16, '\x44');
  const QByteArray content(200000, 'x');
  QByteArray cipher, tag;
  ASSERT_TRUE(NoteCrypto::gcmEncrypt(key, nonce, content, &cipher, &tag));
  QFile src(dir.filePath("src"));
  ASSERT_TRUE(src.open(QIODevice::WriteOnly) && src.write(cipher) == cipher.size());
  src.close();
  QString error;
  ASSERT_TRUE(NoteCrypto::gcmDecryptFile(key, nonce, tag, src.fileName(), dir.filePath("ok"), &error));
  QFile ok(dir.filePath("ok"));
  ASSERT_TRUE(ok.open(QIODevice::ReadOnly));
  EXPECT_EQ(ok.readAll(), content);
  tag[3] = char(tag[3] ^ 0x40);
  EXPECT_FALSE(NoteCrypto::gcmDecryptFile(key, nonce, tag, src.fileName(), dir.filePath("bad"), &error));
  EXPECT_FALSE(QFile::exists(dir.filePath("bad")));
}

} // namespace
