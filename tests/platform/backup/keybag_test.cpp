#include "platform/backup/backupcrypto.h"
#include "platform/backup/keybag.h"

#include "samples/backupfixture.h"

#include <gtest/gtest.h>

namespace {
QByteArray hex(const char* s) { return QByteArray::fromHex(s); }

// Public known-answer values (hashcat's self-tests for encrypted backups).
struct Vector {
  const char* name;
  const char* dpsl; // empty: SHA-1 derivation only
  quint32 dpic;
  const char* salt;
  quint32 iter;
  const char* wpky;
  const char* classKey;
};

const Vector kVectors[] = {
    {"ios10_2", "99fafc983e732998adb9fadc162a2e382143f115", 1000, "2721336781705041205314422175267631184867", 10000,
     "17a3b858e79bc273be43a9f113b71efe7ec8e7e401396b350180b4592ef45db67ffef7b2d64329a5",
     "2ed7042e87b50000fa6ba698661c000013194470a1f70000c35bd72ce0360000"},
    {"ios9", "", 0, "2202015774208421818002001652122401871832", 10000,
     "ebd7f9b33293b2511f0a4139d5b213feff51476968863cef60ec38d720497b6ff39a0bb63fa9f84e",
     "d684b4867dd1000012ddecf958080000d3c202a1ab73000070ef26e352020000"},
};

QByteArray keybagOf(const Vector& v, const QByteArray& extra = QByteArray()) {
  using fixture::keybagInt;
  using fixture::keybagItem;
  QByteArray kb = keybagInt("VERS", 3) + keybagInt("TYPE", 1) + keybagItem("UUID", QByteArray(16, '\1')) +
                  keybagInt("WRAP", 0) + keybagItem("SALT", hex(v.salt)) + keybagInt("ITER", v.iter);
  if (*v.dpsl)
    kb += keybagInt("DPIC", v.dpic) + keybagItem("DPSL", hex(v.dpsl));
  kb += extra;
  kb += keybagItem("UUID", QByteArray(16, '\2')) + keybagInt("CLAS", 3) + keybagInt("WRAP", 2) + keybagInt("KTYP", 0) +
        keybagItem("WPKY", hex(v.wpky));
  return kb;
}

TEST(KeybagTest, KnownAnswers) {
  for (const Vector& v : kVectors) {
    SCOPED_TRACE(v.name);
    Keybag kb;
    QString err;
    ASSERT_TRUE(kb.parse(keybagOf(v), &err)) << qPrintable(err);
    EXPECT_EQ(kb.hasSha256Round(), *v.dpsl != 0);
    ASSERT_TRUE(kb.unlock("hashcat", &err)) << qPrintable(err);

    // The unwrapped class key unwraps what it wrapped: check it through a file key.
    const QByteArray fileKey(32, '\x5a');
    QByteArray wrapped, out;
    ASSERT_TRUE(BackupCrypto::aesWrap(hex(v.classKey), fileKey, &wrapped));
    QByteArray record("\x03\x00\x00\x00", 4);
    ASSERT_TRUE(kb.unwrapKey(record + wrapped, 0, &out, &err)) << qPrintable(err);
    EXPECT_EQ(out, fileKey);
    EXPECT_FALSE(kb.unlock("wrong", &err));
    EXPECT_FALSE(kb.isUnlocked()); // a failed attempt drops the keys of an earlier one
  }
}

// Damaged keybags: one row per way to break one. Key-derivation counts past
// their bounds are refused before any derivation runs; counts at the bounds
// are accepted.
TEST(KeybagTest, Damaged) {
  using fixture::keybagInt;
  const QByteArray good = keybagOf(kVectors[1]);
  const struct {
    const char* name;
    QByteArray data;
    const char* error; // nullptr: parses
  } rows[] = {
      {"cut inside a value", good.left(good.size() - 3), "ends inside an item"},
      {"length past the end", good + QByteArray("ABCD\xff\xff\xff\xf0", 8), "ends inside an item"},
      {"no class keys", good.left(good.indexOf("UUID", 10)), "no class keys"},
      {"ITER near 2^31", keybagOf(kVectors[1], keybagInt("ITER", 0x7fffffff)), "ITER asks for 2147483647"},
      {"DPIC near 2^32", keybagOf(kVectors[0], keybagInt("DPIC", 0xfffffff0)), "DPIC asks for 4294967280"},
      {"ITER at its bound", keybagOf(kVectors[1], keybagInt("ITER", Keybag::MaxSha1Iterations)), nullptr},
      {"DPIC at its bound", keybagOf(kVectors[0], keybagInt("DPIC", Keybag::MaxSha256Iterations)), nullptr},
  };
  for (const auto& r : rows) {
    Keybag kb;
    QString err;
    EXPECT_EQ(kb.parse(r.data, &err), r.error == nullptr) << r.name;
    EXPECT_TRUE(!r.error || err.contains(QLatin1String(r.error))) << r.name << ": " << qPrintable(err);
  }
}
} // namespace
