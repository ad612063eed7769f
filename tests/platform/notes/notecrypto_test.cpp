#include "platform/notes/notecrypto.h"

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
  EXPECT_FALSE(NoteCrypto::unwrapKey(QByteArray(16, '\x01'),
                                     QByteArray::fromHex("d04b17af7f6b184346aad3efefe8bec0987ee73418291a41"), &key));
}
} // namespace
