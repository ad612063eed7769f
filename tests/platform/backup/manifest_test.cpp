#include "platform/backup/manifest.h"

#include <QByteArray>
#include <QRandomGenerator>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <functional>

namespace {
QByteArray toBin(plist_t p) {
  char* out = nullptr;
  uint32_t len = 0;
  plist_to_bin(p, &out, &len);
  QByteArray b(out, int(len));
  free(out);
  plist_free(p);
  return b;
}

plist_t classDict(const char* name) {
  plist_t c = plist_new_dict();
  plist_dict_set_item(c, "$classname", plist_new_string(name));
  plist_t chain = plist_new_array();
  plist_array_append_item(chain, plist_new_string(name));
  plist_array_append_item(chain, plist_new_string("NSObject"));
  plist_dict_set_item(c, "$classes", chain);
  return c;
}

// A keyed archive whose MBFile dictionary the row's callback fills; objects
// after index 1 are appended by the callback too.
QByteArray archive(const std::function<void(plist_t mb, plist_t objects)>& fill, uint64_t rootIndex = 1) {
  plist_t root = plist_new_dict();
  plist_dict_set_item(root, "$version", plist_new_uint(100000));
  plist_dict_set_item(root, "$archiver", plist_new_string("NSKeyedArchiver"));
  plist_t top = plist_new_dict();
  plist_dict_set_item(top, "root", plist_new_uid(rootIndex));
  plist_dict_set_item(root, "$top", top);
  plist_t objects = plist_new_array();
  plist_array_append_item(objects, plist_new_string("$null"));
  plist_t mb = plist_new_dict();
  plist_array_append_item(objects, mb);
  fill(mb, objects);
  plist_dict_set_item(root, "$objects", objects);
  return toBin(root);
}

void ints(plist_t mb, uint64_t size, uint64_t mtime, uint64_t mode, uint64_t cls) {
  plist_dict_set_item(mb, "Size", plist_new_uint(size));
  plist_dict_set_item(mb, "LastModified", plist_new_uint(mtime));
  plist_dict_set_item(mb, "Mode", plist_new_uint(mode));
  plist_dict_set_item(mb, "ProtectionClass", plist_new_uint(cls));
}

const QByteArray kKey = QByteArray("\x03\x00\x00\x00", 4) + QByteArray(40, '\xab');

// The direct reader and libplist agree on every shape of archive.
TEST(ManifestTest, DirectReaderAgreesWithLibplist) {
  struct Row {
    const char* name;
    QByteArray blob;
    qint64 size;
    quint32 modified;
    quint32 mode;
    bool hasKey;
  } rows[] = {
      {"wide integers", archive([](plist_t mb, plist_t) { ints(mb, 6000000000ULL, 1600000000, 0x81a4, 4); }),
       6000000000LL, 1600000000, 0x81a4, false},
      {"key through NS.data", archive([](plist_t mb, plist_t objects) {
         ints(mb, 44, 1, 0x81a4, 3);
         plist_t wrap = plist_new_dict();
         plist_dict_set_item(wrap, "NS.data", plist_new_data(kKey.constData(), kKey.size()));
         plist_dict_set_item(wrap, "$class", plist_new_uid(3));
         plist_array_append_item(objects, wrap);                // 2
         plist_array_append_item(objects, classDict("NSData")); // 3
         plist_dict_set_item(mb, "EncryptionKey", plist_new_uid(2));
       }),
       44, 1, 0x81a4, true},
      {"root not at index 1",
       archive(
           [](plist_t mb, plist_t objects) {
             plist_t real = plist_new_dict();
             ints(real, 9, 4, 0x81a4, 2);
             plist_array_append_item(objects, real); // 2
             ints(mb, 1, 1, 1, 1);
           },
           2),
       9, 4, 0x81a4, false},
      {"many objects (two-byte references)", archive([](plist_t mb, plist_t objects) {
         for (int i = 0; i < 300; ++i)
           plist_array_append_item(objects, plist_new_string(QByteArray::number(i).constData()));
         ints(mb, 10, 5, 0x41ed, 0);
       }),
       10, 5, 0x41ed, false},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    ManifestEntry fast, slow;
    ASSERT_TRUE(Manifest::decodeMbFileDirect(r.blob.constData(), r.blob.size(), &fast));
    ASSERT_TRUE(Manifest::decodeMbFileWithLibplist(r.blob.constData(), r.blob.size(), &slow));
    for (const ManifestEntry* e : {&fast, &slow}) {
      EXPECT_EQ(e->size, r.size);
      EXPECT_EQ(e->modified, r.modified);
      EXPECT_EQ(e->mode, r.mode);
      EXPECT_EQ(e->encryptionKey, r.hasKey ? kKey : QByteArray());
    }
    EXPECT_EQ(fast.protectionClass, slow.protectionClass);
  }
}

// Damaged archives: never a crash or a read outside the blob (the sanitizer
// build checks), whatever the damage.
TEST(ManifestTest, DamagedArchivesAreSafe) {
  const QByteArray good = archive([](plist_t mb, plist_t objects) {
    ints(mb, 44, 1, 0x81a4, 3);
    plist_array_append_item(objects, plist_new_data(kKey.constData(), kKey.size()));
    plist_dict_set_item(mb, "EncryptionKey", plist_new_uid(2));
  });
  QRandomGenerator rng(12345);
  int accepted = 0;
  for (int round = 0; round < 3000; ++round) {
    QByteArray b = good;
    if (round % 3 == 0) {
      b.truncate(int(rng.bounded(b.size())));
    } else {
      const int flips = 1 + int(rng.bounded(4));
      for (int i = 0; i < flips; ++i)
        b[int(rng.bounded(b.size()))] = char(rng.bounded(256));
    }
    // A copy of exactly its length, so that any read past the end is caught.
    QByteArray exact(b.constData(), b.size());
    ManifestEntry e;
    if (Manifest::decodeMbFileDirect(exact.constData(), exact.size(), &e))
      ++accepted;
    Manifest::decodeMbFile(exact.constData(), exact.size(), &e);
  }
  EXPECT_GT(accepted, 0); // flips in unused bytes still decode
  ManifestEntry e;
  EXPECT_FALSE(Manifest::decodeMbFile(nullptr, 0, &e));
  EXPECT_FALSE(Manifest::decodeMbFile("bplist00", 8, &e));
}
} // namespace
