#include "platform/backup/manifest.h"

#include "platform/backup/backupcrypto.h"
#include "platform/backup/bplistscan.h"
#include "platform/backup/plistutil.h"
#include "platform/backup/readaheadvfs.h"

#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QUrl>
#include <QtEndian>

#include "platform/common/sqlrow.h"

#include <sqlite3.h>

#include <cstring>
#include <limits>

namespace Manifest {
namespace {
ManifestEntry::Kind kindOfMode(quint32 mode) {
  switch (mode & 0xF000) {
  case 0x8000:
    return ManifestEntry::File;
  case 0x4000:
    return ManifestEntry::Directory;
  case 0xA000:
    return ManifestEntry::Link;
  default:
    return ManifestEntry::Other;
  }
}

// The Files table's flags column.
ManifestEntry::Kind kindOfFlags(int flags) {
  switch (flags) {
  case 1:
    return ManifestEntry::File;
  case 2:
    return ManifestEntry::Directory;
  case 4:
    return ManifestEntry::Link;
  default:
    return ManifestEntry::Other;
  }
}

plist_t objectAt(plist_t objects, plist_t ref) {
  if (!ref)
    return nullptr;
  if (plist_get_node_type(ref) != PLIST_UID)
    return ref; // stored inline
  uint64_t idx = 0;
  plist_get_uid_val(ref, &idx);
  if (idx == 0 || idx >= plist_array_get_size(objects))
    return nullptr; // UID 0 is "$null"
  return plist_array_get_item(objects, uint32_t(idx));
}

QByteArray dataOf(plist_t objects, plist_t ref) {
  plist_t n = objectAt(objects, ref);
  if (!n)
    return QByteArray();
  if (plist_get_node_type(n) == PLIST_DICT)
    n = objectAt(objects, plist_dict_get_item(n, "NS.data"));
  if (!n || plist_get_node_type(n) != PLIST_DATA)
    return QByteArray();
  uint64_t len = 0;
  const char* p = plist_get_data_ptr(n, &len);
  return p ? QByteArray(p, int(len)) : QByteArray();
}

quint64 uintOf(plist_t dict, const char* key) { return PlistUtil::uinteger(plist_dict_get_item(dict, key)); }

} // namespace

bool parseFileId(const char* text, int length, unsigned char out[20]) {
  static const struct Table {
    signed char v[256];
    Table() {
      for (int i = 0; i < 256; ++i)
        v[i] = -1;
      for (int i = 0; i < 10; ++i)
        v['0' + i] = static_cast<signed char>(i);
      for (int i = 0; i < 6; ++i) {
        v['a' + i] = static_cast<signed char>(10 + i);
        v['A' + i] = static_cast<signed char>(10 + i);
      }
    }
  } table;
  if (!text || length != 40)
    return false;
  const auto* t = reinterpret_cast<const unsigned char*>(text);
  for (int i = 0; i < 20; ++i) {
    const int hi = table.v[t[2 * i]], lo = table.v[t[2 * i + 1]];
    if ((hi | lo) < 0)
      return false;
    out[i] = static_cast<unsigned char>(hi * 16 + lo);
  }
  return true;
}

QString fileIdText(const unsigned char id[20]) {
  static const char digits[] = "0123456789abcdef";
  QString s(40, Qt::Uninitialized);
  QChar* p = s.data();
  for (int i = 0; i < 20; ++i) {
    p[2 * i] = QLatin1Char(digits[id[i] >> 4]);
    p[2 * i + 1] = QLatin1Char(digits[id[i] & 0xF]);
  }
  return s;
}

// The common shape of the archive read without building a tree; false sends
// the blob to libplist.
bool decodeMbFileDirect(const char* blob, int length, ManifestEntry* entry) {
  const BplistScan s(blob, length);
  quint64 root = 0, objects = 0, top = 0, rootRef = 0, index = 0, file = 0;
  if (!s.isValid() || !s.root(&root))
    return false;
  // One pass over the archive's top dictionary for both keys (first of each).
  bool hasObjects = false, hasTop = false;
  s.forEachEntry(root, [&](const char* k, size_t kl, quint64 ref) {
    if (!hasObjects && kl == 8 && std::memcmp(k, "$objects", 8) == 0) {
      objects = ref;
      hasObjects = true;
    } else if (!hasTop && kl == 4 && std::memcmp(k, "$top", 4) == 0) {
      top = ref;
      hasTop = true;
    }
    return !(hasObjects && hasTop);
  });
  if (!hasObjects || !hasTop || !s.dictValue(top, "root", &rootRef) || !s.uid(rootRef, &index) ||
      !s.arrayItem(objects, index, &file))
    return false;
  qint64 v[4] = {}; // Size, LastModified, Mode, ProtectionClass
  bool seen[4] = {};
  quint64 keyRef = 0;
  bool hasKey = false, ok = true;
  // Keys are told apart by length first, so that each comparison is against a
  // constant and needs no call.
  const bool isDict = s.forEachEntry(file, [&](const char* k, size_t kl, quint64 ref) {
    int slot = -1;
    switch (kl) {
    case 4:
      slot = std::memcmp(k, "Size", 4) == 0 ? 0 : std::memcmp(k, "Mode", 4) == 0 ? 2 : -1;
      break;
    case 12:
      slot = std::memcmp(k, "LastModified", 12) == 0 ? 1 : -1;
      break;
    case 15:
      slot = std::memcmp(k, "ProtectionClass", 15) == 0 ? 3 : -1;
      break;
    case 13:
      if (std::memcmp(k, "EncryptionKey", 13) == 0) {
        if (hasKey) { // a key named twice: the full parser decides which counts
          ok = false;
          return false;
        }
        keyRef = ref;
        hasKey = true;
      }
      break;
    default:
      break;
    }
    // A key named twice never comes from the phone; the full parser decides
    // which one counts.
    if (slot >= 0 && (seen[slot] || !s.integer(ref, &v[slot]))) {
      ok = false;
      return false;
    }
    if (slot >= 0)
      seen[slot] = true;
    return true;
  });
  if (!isDict || !ok)
    return false;
  QByteArray key;
  if (hasKey) {
    quint64 ref = keyRef;
    // UID -> data, or UID -> { NS.data: data or UID -> data }
    quint64 u = 0;
    if (s.uid(ref, &u) && (u == 0 || !s.arrayItem(objects, u, &ref)))
      return false;
    if (!s.data(ref, &key)) {
      quint64 inner = 0;
      if (!s.isDict(ref) || !s.dictValue(ref, "NS.data", &inner))
        return false;
      if (s.uid(inner, &u) && (u == 0 || !s.arrayItem(objects, u, &inner)))
        return false;
      if (!s.data(inner, &key))
        return false;
    }
  }
  entry->size = v[0];
  entry->modified = quint32(v[1]);
  entry->mode = quint32(v[2]);
  entry->protectionClass = quint32(v[3]);
  entry->encryptionKey = key;
  return true;
}

bool decodeMbFile(const char* blob, int length, ManifestEntry* entry) {
  if (decodeMbFileDirect(blob, length, entry))
    return true;
  return decodeMbFileWithLibplist(blob, length, entry);
}

bool decodeMbFileWithLibplist(const char* blob, int length, ManifestEntry* entry) {
  if (!blob || length < 8 || std::memcmp(blob, "bplist00", 8) != 0)
    return false;
  plist_t root = nullptr;
  plist_from_bin(blob, uint32_t(length), &root);
  PlistPtr guard(root);
  if (!root || plist_get_node_type(root) != PLIST_DICT)
    return false;
  plist_t objects = plist_dict_get_item(root, "$objects");
  if (!objects || plist_get_node_type(objects) != PLIST_ARRAY)
    return false;
  plist_t top = plist_dict_get_item(root, "$top");
  plist_t rootRef = top && plist_get_node_type(top) == PLIST_DICT ? plist_dict_get_item(top, "root") : nullptr;
  plist_t file = rootRef ? objectAt(objects, rootRef) : nullptr;
  if (!file && plist_array_get_size(objects) > 1)
    file = plist_array_get_item(objects, 1);
  if (!file || plist_get_node_type(file) != PLIST_DICT)
    return false;
  entry->size = qint64(uintOf(file, "Size"));
  entry->modified = quint32(uintOf(file, "LastModified"));
  entry->mode = quint32(uintOf(file, "Mode"));
  entry->protectionClass = quint32(uintOf(file, "ProtectionClass"));
  entry->encryptionKey = dataOf(objects, plist_dict_get_item(file, "EncryptionKey"));
  return true;
}

bool readManifestDb(const QString& path, bool immutable, const ManifestSink& sink, QString* error, bool* truncated,
                    qint64* sizeHint) {
  *truncated = false;
  // A database that nothing writes (the one inside the backup folder, or a
  // decrypted copy) is opened immutable: SQLite then neither locks it nor
  // creates anything beside it, and the scan reads it in large chunks.
  const QByteArray uri =
      immutable ? "file:" + QUrl::toPercentEncoding(path, "/") + "?mode=ro&immutable=1" : path.toUtf8();
  SqlDatabase db;
  if (!db.openWithFlags(uri,
                        immutable ? (SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX)
                                  : (SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX),
                        immutable ? ReadAheadVfs::name() : nullptr)) {
    *error = QStringLiteral("cannot open %1: %2").arg(path, db.sqliteMessage());
    return false;
  }
  if (sizeHint) {
    SqlStatement count(db, QStringLiteral("select max(rowid) from Files"));
    *sizeHint = count.step() ? SqlRow(count).int64() : 0;
  }
  SqlStatement stmt(db, QStringLiteral("select fileID, domain, relativePath, flags, file from Files"));
  if (!stmt.isValid()) {
    *error = QStringLiteral("%1 is not a readable manifest database: %2").arg(path, db.sqliteMessage());
    return false;
  }
  ManifestEntry e;
  while (stmt.step()) {
    SqlRow r(stmt);
    e = ManifestEntry();
    int length = 0;
    const char* id = r.rawText(&length);
    e.hasFileId = parseFileId(id, length, e.fileId);
    if (const char* domain = r.rawText(&length)) {
      e.domain = domain;
      e.domainLength = length;
    }
    if (const char* relativePath = r.rawText(&length)) {
      e.relativePath = relativePath;
      e.relativePathLength = length;
    }
    e.kind = kindOfFlags(r.integer());
    if (e.kind == ManifestEntry::File) {
      const char* blob = r.rawBlob(&length);
      if (!decodeMbFile(blob, length, &e))
        e.kind = ManifestEntry::Other; // unreadable metadata: not a usable file record
    }
    sink(e);
  }
  if (stmt.failed()) {
    *error = QStringLiteral("reading %1 stopped early: %2").arg(path, db.sqliteMessage());
    *truncated = true;
  }
  return true;
}

bool readMbdb(const QByteArray& data, const ManifestSink& sink, QString* error, bool* truncated) {
  *truncated = false;
  if (data.size() < 6 || std::memcmp(data.constData(), "mbdb", 4) != 0) {
    *error = QStringLiteral("not a Manifest.mbdb file (bad header)");
    return false;
  }
  const auto* p = reinterpret_cast<const uchar*>(data.constData());
  const qint64 end = data.size();
  qint64 pos = 6;
  // Each reader returns false when the record is cut short.
  auto u8 = [&](quint32* v) {
    if (end - pos < 1)
      return false;
    *v = p[pos++];
    return true;
  };
  auto u16 = [&](quint32* v) {
    if (end - pos < 2)
      return false;
    *v = qFromBigEndian<quint16>(p + pos);
    pos += 2;
    return true;
  };
  auto u32 = [&](quint32* v) {
    if (end - pos < 4)
      return false;
    *v = qFromBigEndian<quint32>(p + pos);
    pos += 4;
    return true;
  };
  auto u64 = [&](quint64* v) {
    if (end - pos < 8)
      return false;
    *v = qFromBigEndian<quint64>(p + pos);
    pos += 8;
    return true;
  };
  // A string: uint16 length then bytes; 0xFFFF is null.
  auto str = [&](qint64* at, int* len) {
    quint32 n = 0;
    if (!u16(&n))
      return false;
    if (n == 0xFFFF) {
      *at = -1;
      *len = 0;
      return true;
    }
    if (end - pos < qint64(n))
      return false;
    *at = pos;
    *len = int(n);
    pos += n;
    return true;
  };

  ManifestEntry e;
  while (pos < end) {
    const qint64 start = pos;
    qint64 domAt, pathAt, linkAt, hashAt, keyAt;
    int domLen, pathLen, linkLen, hashLen, keyLen;
    quint32 mode = 0, uid = 0, gid = 0, mtime = 0, atime = 0, ctime = 0, cls = 0, props = 0;
    quint64 inode = 0, length = 0;
    bool ok = str(&domAt, &domLen) && str(&pathAt, &pathLen) && str(&linkAt, &linkLen) && str(&hashAt, &hashLen) &&
              str(&keyAt, &keyLen) && u16(&mode) && u64(&inode) && u32(&uid) && u32(&gid) && u32(&mtime) &&
              u32(&atime) && u32(&ctime) && u64(&length) && u8(&cls) && u8(&props);
    for (quint32 i = 0; ok && i < props; ++i) {
      qint64 a;
      int n;
      ok = str(&a, &n) && str(&a, &n);
    }
    if (!ok) {
      *error = QStringLiteral("Manifest.mbdb ends inside a record at byte %1").arg(start);
      *truncated = true;
      break;
    }
    e = ManifestEntry();
    const char* base = data.constData();
    const QByteArray dom = domAt >= 0 ? QByteArray::fromRawData(base + domAt, domLen) : QByteArray();
    const QByteArray rel = pathAt >= 0 ? QByteArray::fromRawData(base + pathAt, pathLen) : QByteArray();
    e.domain = dom.constData();
    e.domainLength = dom.size();
    e.relativePath = rel.constData();
    e.relativePathLength = rel.size();
    QCryptographicHash sha(QCryptographicHash::Sha1);
    sha.addData(dom);
    sha.addData("-", 1);
    sha.addData(rel);
    std::memcpy(e.fileId, sha.result().constData(), 20);
    e.hasFileId = true;
    e.mode = mode;
    e.kind = kindOfMode(mode);
    e.modified = mtime;
    e.size = qint64(qMin<quint64>(length, quint64(std::numeric_limits<qint64>::max())));
    e.protectionClass = cls;
    if (keyAt >= 0)
      e.encryptionKey = QByteArray(base + keyAt, keyLen);
    sink(e);
  }
  return true;
}
bool decryptManifestDb(const QString& src, const QString& dst, const QByteArray& key, QString* error) {
  qint64 length = 0;
  if (!BackupCrypto::decryptFile(src, dst, key, BackupCrypto::Padding::Keep, &length, error))
    return false;
  QFile file(dst);
  const QByteArray header = file.open(QIODevice::ReadOnly) ? file.read(100) : QByteArray();
  if (header.size() < 100 || !header.startsWith(QByteArray("SQLite format 3\0", 16))) {
    file.close();
    QFile::remove(dst);
    if (error)
      *error = QStringLiteral("%1 does not decrypt to a database (wrong key or damaged file)").arg(src);
    return false;
  }
  // The page size sits in bytes 16-17 (1 stands for 65536); a database is
  // whole pages, and padding never leaves a length of whole pages.
  const quint32 stored = qFromBigEndian<quint16>(header.constData() + 16);
  const qint64 pageSize = stored == 1 ? 65536 : stored;
  const bool wholePages = pageSize >= 512 && length % pageSize == 0;
  file.seek(length - 16);
  const int pad = wholePages ? 0 : BackupCrypto::paddingLength(file.read(16));
  file.close();
  if (pad > 0 && !QFile::resize(dst, length - pad)) {
    QFile::remove(dst);
    if (error)
      *error = QStringLiteral("cannot write %1").arg(dst);
    return false;
  }
  return true;
}
} // namespace Manifest
