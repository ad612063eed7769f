#include "samples/backupfixture.h"

#include "platform/backup/backupcrypto.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>
#include <QtEndian>

#include <openssl/rand.h>
#include <plist/plist.h>
#include <sqlite3.h>

#include <memory>

namespace fixture {
namespace {
// The stored file's name: SHA-1 of "domain-relativePath" in hex.
QString fileIdOf(const QString& domain, const QString& relativePath) {
  return QString::fromLatin1(
      QCryptographicHash::hash((domain + QLatin1Char('-') + relativePath).toUtf8(), QCryptographicHash::Sha1).toHex());
}

struct PlistFree {
  void operator()(void* p) const { plist_free(static_cast<plist_t>(p)); }
};
using Plist = std::unique_ptr<void, PlistFree>;

QByteArray randomBytes(int n) {
  QByteArray b(n, '\0');
  RAND_bytes(reinterpret_cast<unsigned char*>(b.data()), n);
  return b;
}

QByteArray le32(quint32 v) {
  QByteArray b(4, '\0');
  qToLittleEndian<quint32>(v, b.data());
  return b;
}

void setString(plist_t dict, const char* key, const QString& value) {
  if (!value.isNull())
    plist_dict_set_item(dict, key, plist_new_string(value.toUtf8().constData()));
}

plist_t newDate(const QDateTime& dt) {
  const qint64 secs = dt.toSecsSinceEpoch() - 978307200;
  return plist_new_date(int32_t(secs), 0);
}

QByteArray toBinary(plist_t p, bool binary = true) {
  char* out = nullptr;
  uint32_t len = 0;
  if (binary)
    plist_to_bin(p, &out, &len);
  else
    plist_to_xml(p, &out, &len);
  QByteArray b(out, int(len));
  free(out);
  return b;
}

bool writeFile(const QString& path, const QByteArray& data, QString* error) {
  QFile f(path);
  if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(data) != data.size()) {
    *error = QStringLiteral("cannot write %1: %2").arg(path, f.errorString());
    return false;
  }
  return true;
}

quint32 modeOf(const StoredFile& f) {
  switch (f.kind) {
  case StoredFile::Directory:
    return 0x4000 | 0755;
  case StoredFile::Link:
    return 0xA000 | 0755;
  default:
    return 0x8000 | 0644;
  }
}

// The MBFile keyed archive stored in Manifest.db's file column.
QByteArray mbFileArchive(const StoredFile& f, qint64 size, const QByteArray& encKey, quint64 inode) {
  Plist root(plist_new_dict());
  plist_dict_set_item(root.get(), "$version", plist_new_uint(100000));
  plist_dict_set_item(root.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
  plist_t top = plist_new_dict();
  plist_dict_set_item(top, "root", plist_new_uid(1));
  plist_dict_set_item(root.get(), "$top", top);
  plist_t objects = plist_new_array();
  plist_array_append_item(objects, plist_new_string("$null"));
  plist_t mb = plist_new_dict();
  plist_array_append_item(objects, mb);
  plist_array_append_item(objects, plist_new_string(f.relativePath.toUtf8().constData())); // 2
  plist_dict_set_item(mb, "RelativePath", plist_new_uid(2));
  uint64_t next = 3;
  if (!encKey.isEmpty()) {
    plist_t wrapper = plist_new_dict();
    plist_dict_set_item(wrapper, "NS.data", plist_new_data(encKey.constData(), uint64_t(encKey.size())));
    plist_dict_set_item(wrapper, "$class", plist_new_uid(next + 1));
    plist_array_append_item(objects, wrapper);
    plist_t cls = plist_new_dict();
    plist_dict_set_item(cls, "$classname", plist_new_string("NSMutableData"));
    plist_t chain = plist_new_array();
    plist_array_append_item(chain, plist_new_string("NSMutableData"));
    plist_array_append_item(chain, plist_new_string("NSData"));
    plist_array_append_item(chain, plist_new_string("NSObject"));
    plist_dict_set_item(cls, "$classes", chain);
    plist_array_append_item(objects, cls);
    plist_dict_set_item(mb, "EncryptionKey", plist_new_uid(next));
    next += 2;
  }
  if (f.kind == StoredFile::Link) {
    plist_array_append_item(objects, plist_new_string(f.linkTarget.toUtf8().constData()));
    plist_dict_set_item(mb, "Target", plist_new_uid(next));
    ++next;
  }
  plist_t cls = plist_new_dict();
  plist_dict_set_item(cls, "$classname", plist_new_string("MBFile"));
  plist_t chain = plist_new_array();
  plist_array_append_item(chain, plist_new_string("MBFile"));
  plist_array_append_item(chain, plist_new_string("NSObject"));
  plist_dict_set_item(cls, "$classes", chain);
  plist_array_append_item(objects, cls);
  plist_dict_set_item(mb, "$class", plist_new_uid(next));
  plist_dict_set_item(mb, "Size", plist_new_uint(uint64_t(size)));
  plist_dict_set_item(mb, "Mode", plist_new_uint(modeOf(f)));
  plist_dict_set_item(mb, "LastModified", plist_new_uint(f.modified));
  plist_dict_set_item(mb, "LastStatusChange", plist_new_uint(f.modified));
  plist_dict_set_item(mb, "Birth", plist_new_uint(f.modified));
  plist_dict_set_item(mb, "InodeNumber", plist_new_uint(inode));
  plist_dict_set_item(mb, "UserID", plist_new_uint(501));
  plist_dict_set_item(mb, "GroupID", plist_new_uint(501));
  plist_dict_set_item(mb, "ProtectionClass", plist_new_uint(f.kind == StoredFile::File ? f.protectionClass : 0));
  plist_dict_set_item(mb, "Flags", plist_new_uint(0));
  plist_dict_set_item(root.get(), "$objects", objects);
  return toBinary(root.get());
}

void mbdbString(QByteArray* out, const QByteArray& s, bool null = false) {
  char len[2];
  qToBigEndian<quint16>(null ? 0xFFFF : quint16(s.size()), len);
  out->append(len, 2);
  if (!null)
    out->append(s);
}

template <typename T> void mbdbInt(QByteArray* out, T v) {
  char buf[sizeof(T)];
  qToBigEndian<T>(v, buf);
  out->append(buf, int(sizeof(T)));
}

struct Keys {
  QMap<quint32, QByteArray> classKeys;
  QByteArray keybag;
};

bool makeKeybag(const BackupPlan& plan, Keys* keys, QString* error) {
  const QByteArray salt = randomBytes(20);
  const QByteArray dpsl = randomBytes(20);
  QByteArray material = plan.password.toUtf8();
  if (plan.sha256Iterations > 0 &&
      !BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha256, material, dpsl, plan.sha256Iterations, 32, &material)) {
    *error = QStringLiteral("key derivation failed");
    return false;
  }
  QByteArray passcodeKey;
  if (!BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha1, material, salt, plan.sha1Iterations, 32, &passcodeKey)) {
    *error = QStringLiteral("key derivation failed");
    return false;
  }
  QByteArray kb;
  kb += keybagInt("VERS", plan.sha256Iterations > 0 ? 4 : 3);
  kb += keybagInt("TYPE", 1);
  kb += keybagItem("UUID", randomBytes(16));
  kb += keybagItem("HMCK", randomBytes(40));
  kb += keybagInt("WRAP", 0);
  kb += keybagItem("SALT", salt);
  kb += keybagInt("ITER", quint32(plan.sha1Iterations));
  if (plan.sha256Iterations > 0) {
    kb += keybagInt("DPWT", 1);
    kb += keybagInt("DPIC", quint32(plan.sha256Iterations));
    kb += keybagItem("DPSL", dpsl);
  }
  for (const QByteArray& extra : plan.extraKeybagItems)
    kb += extra;
  for (quint32 cls : {1u, 2u, 3u, 4u, 6u, 7u, 8u, 9u, 10u, 11u}) {
    const QByteArray key = randomBytes(32);
    QByteArray wrapped;
    if (!BackupCrypto::aesWrap(passcodeKey, key, &wrapped)) {
      *error = QStringLiteral("key wrap failed");
      return false;
    }
    kb += keybagItem("UUID", randomBytes(16));
    kb += keybagInt("CLAS", cls);
    kb += keybagInt("WRAP", 2);
    kb += keybagInt("KTYP", cls == 2 ? 1 : 0);
    kb += keybagItem("WPKY", wrapped);
    if (cls == 2)
      kb += keybagItem("PBKY", randomBytes(32));
    keys->classKeys.insert(cls, key);
  }
  keys->keybag = kb;
  return true;
}

// Encrypts one file's content; *record gets the 44-byte key record.
bool encryptContent(const Keys& keys, quint32 cls, const QByteArray& plain, QByteArray* cipher, QByteArray* record,
                    QString* error) {
  const QByteArray fileKey = randomBytes(32);
  QByteArray wrapped;
  if (!keys.classKeys.contains(cls) || !BackupCrypto::aesWrap(keys.classKeys.value(cls), fileKey, &wrapped) ||
      !BackupCrypto::encryptCbc(fileKey, plain, cipher)) {
    *error = QStringLiteral("cannot encrypt a file of class %1").arg(cls);
    return false;
  }
  *record = le32(cls) + wrapped;
  return true;
}

bool exec(sqlite3* db, const char* sql, QString* error) {
  char* msg = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &msg) != SQLITE_OK) {
    *error = QStringLiteral("%1: %2").arg(QString::fromUtf8(sql), QString::fromUtf8(msg ? msg : "?"));
    sqlite3_free(msg);
    return false;
  }
  return true;
}

bool writeManifestDb(const QString& path, const QList<StoredFile>& files, const QList<QByteArray>& keyRecords,
                     QString* error) {
  QFile::remove(path);
  sqlite3* db = nullptr;
  if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK) {
    *error = QStringLiteral("cannot create %1").arg(path);
    sqlite3_close(db);
    return false;
  }
  bool ok = exec(db,
                 "pragma journal_mode=off; pragma synchronous=off;"
                 "create table Files (fileID TEXT PRIMARY KEY, domain TEXT, relativePath TEXT, flags INTEGER,"
                 " file BLOB);"
                 "create table Properties (key TEXT PRIMARY KEY, value BLOB);"
                 "create index FilesDomainIdx on Files(domain);"
                 "create index FilesRelativePathIdx on Files(relativePath);"
                 "create index FilesFlagsIdx on Files(flags);"
                 "begin;",
                 error);
  sqlite3_stmt* st = nullptr;
  if (ok && sqlite3_prepare_v2(db, "insert or replace into Files values (?,?,?,?,?)", -1, &st, nullptr) != SQLITE_OK) {
    *error = QString::fromUtf8(sqlite3_errmsg(db));
    ok = false;
  }
  for (int i = 0; ok && i < files.size(); ++i) {
    const StoredFile& f = files.at(i);
    const QByteArray id = fileIdOf(f.domain, f.relativePath).toLatin1();
    const QByteArray dom = f.domain.toUtf8();
    const QByteArray rel = f.relativePath.toUtf8();
    const qint64 size = f.kind != StoredFile::File ? 0 : f.recordedSize >= 0 ? f.recordedSize : f.data.size();
    const QByteArray blob = mbFileArchive(f, size, keyRecords.value(i), quint64(1000 + i));
    const int flags = f.kind == StoredFile::File ? 1 : f.kind == StoredFile::Directory ? 2 : 4;
    sqlite3_bind_text(st, 1, id.constData(), id.size(), SQLITE_TRANSIENT);
    sqlite3_bind_text(st, 2, dom.constData(), dom.size(), SQLITE_TRANSIENT);
    sqlite3_bind_text(st, 3, rel.constData(), rel.size(), SQLITE_TRANSIENT);
    sqlite3_bind_int(st, 4, flags);
    sqlite3_bind_blob(st, 5, blob.constData(), blob.size(), SQLITE_TRANSIENT);
    if (sqlite3_step(st) != SQLITE_DONE) {
      *error = QString::fromUtf8(sqlite3_errmsg(db));
      ok = false;
    }
    sqlite3_reset(st);
  }
  sqlite3_finalize(st);
  ok = ok && exec(db, "commit;", error);
  sqlite3_close(db);
  return ok;
}

QByteArray mbdbBytes(const QList<StoredFile>& files, const QList<QByteArray>& keyRecords) {
  QByteArray out("mbdb\x05\x00", 6);
  for (int i = 0; i < files.size(); ++i) {
    const StoredFile& f = files.at(i);
    const qint64 size = f.kind != StoredFile::File ? 0 : f.recordedSize >= 0 ? f.recordedSize : f.data.size();
    mbdbString(&out, f.domain.toUtf8());
    mbdbString(&out, f.relativePath.toUtf8());
    mbdbString(&out, f.linkTarget.toUtf8(), f.kind != StoredFile::Link);
    mbdbString(&out, QByteArray(), true);
    const QByteArray key = keyRecords.value(i);
    mbdbString(&out, key, key.isEmpty());
    mbdbInt<quint16>(&out, quint16(modeOf(f)));
    mbdbInt<quint64>(&out, quint64(1000 + i));
    mbdbInt<quint32>(&out, 501);
    mbdbInt<quint32>(&out, 501);
    mbdbInt<quint32>(&out, f.modified);
    mbdbInt<quint32>(&out, f.modified);
    mbdbInt<quint32>(&out, f.modified);
    mbdbInt<quint64>(&out, quint64(size));
    out.append(char(f.kind == StoredFile::File ? f.protectionClass : 0));
    out.append(char(1)); // one extended attribute, to exercise the property list
    mbdbString(&out, "com.apple.test");
    mbdbString(&out, QByteArray("\x00\x01\x02", 3));
  }
  return out;
}
} // namespace

StoredFile file(const QString& domain, const QString& relativePath, const QByteArray& data) {
  StoredFile f;
  f.domain = domain;
  f.relativePath = relativePath;
  f.data = data;
  return f;
}

StoredFile directory(const QString& domain, const QString& relativePath) {
  StoredFile f = file(domain, relativePath, QByteArray());
  f.kind = StoredFile::Directory;
  return f;
}

StoredFile link(const QString& domain, const QString& relativePath, const QString& target) {
  StoredFile f = file(domain, relativePath, QByteArray());
  f.kind = StoredFile::Link;
  f.linkTarget = target;
  return f;
}

QByteArray keybagItem(const QByteArray& tag, const QByteArray& value) {
  QByteArray b = tag.left(4);
  char len[4];
  qToBigEndian<quint32>(quint32(value.size()), len);
  b.append(len, 4);
  b.append(value);
  return b;
}

QByteArray keybagInt(const QByteArray& tag, quint32 value) {
  char v[4];
  qToBigEndian<quint32>(value, v);
  return keybagItem(tag, QByteArray(v, 4));
}

QString storedPath(const QString& folder, const BackupPlan& plan, const QString& domain, const QString& relativePath) {
  const QString id = fileIdOf(domain, relativePath);
  if (plan.generation == BackupPlan::ManifestDb)
    return QDir(folder).filePath(id.left(2) + QLatin1Char('/') + id);
  return QDir(folder).filePath(id);
}

bool writeBackup(const QString& folder, const BackupPlan& plan, const QList<StoredFile>& files, QString* error) {
  QString dummy;
  if (!error)
    error = &dummy;
  if (!QDir().mkpath(folder)) {
    *error = QStringLiteral("cannot create %1").arg(folder);
    return false;
  }
  const bool encrypted = !plan.password.isEmpty();
  const bool modern = plan.generation == BackupPlan::ManifestDb;
  BackupPlan s = plan;
  if (s.productVersion.isEmpty())
    s.productVersion = modern ? QStringLiteral("15.4.1") : QStringLiteral("9.3.5");

  Keys keys;
  {
    BackupPlan kbPlan = s;
    if (!encrypted)
      kbPlan.password = QStringLiteral("unused"); // plain backups carry a keybag too
    if (!makeKeybag(kbPlan, &keys, error))
      return false;
  }

  // Stored files (and, when encrypted, their key records).
  QList<QByteArray> keyRecords;
  for (const StoredFile& f : files) {
    QByteArray record;
    if (f.kind == StoredFile::File) {
      QByteArray content = f.data;
      if (encrypted && !encryptContent(keys, f.protectionClass, f.data, &content, &record, error))
        return false;
      if (s.writeContents && !f.omitContent) {
        const QString p = storedPath(folder, s, f.domain, f.relativePath);
        if (modern)
          QDir().mkpath(QFileInfo(p).path());
        if (!writeFile(p, content, error))
          return false;
      }
    }
    keyRecords.append(record);
  }

  QByteArray manifestKey;
  if (modern) {
    const QString dbPath = QDir(folder).filePath(QStringLiteral("Manifest.db"));
    if (encrypted && s.encryptManifestDb) {
      QTemporaryDir tmp;
      const QString plainPath = tmp.filePath(QStringLiteral("Manifest.db"));
      if (!tmp.isValid() || !writeManifestDb(plainPath, files, keyRecords, error))
        return false;
      QFile in(plainPath);
      if (!in.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read back the manifest");
        return false;
      }
      QByteArray cipher;
      if (!encryptContent(keys, 3, in.readAll(), &cipher, &manifestKey, error))
        return false;
      // The database is whole pages, so the last block holds padding only: a
      // writer that does not pad stores the blocks before it.
      if (!s.padManifestDb)
        cipher.chop(16);
      if (!writeFile(dbPath, cipher, error))
        return false;
    } else if (!writeManifestDb(dbPath, files, keyRecords, error)) {
      return false;
    }
  } else if (!writeFile(QDir(folder).filePath(QStringLiteral("Manifest.mbdb")), mbdbBytes(files, keyRecords), error)) {
    return false;
  }

  // Manifest.plist
  {
    Plist m(plist_new_dict());
    plist_dict_set_item(m.get(), "BackupKeyBag", plist_new_data(keys.keybag.constData(), uint64_t(keys.keybag.size())));
    if (!manifestKey.isEmpty())
      plist_dict_set_item(m.get(), "ManifestKey",
                          plist_new_data(manifestKey.constData(), uint64_t(manifestKey.size())));
    plist_dict_set_item(m.get(), "IsEncrypted", plist_new_bool(encrypted));
    plist_dict_set_item(m.get(), "Version", plist_new_string(modern ? "10.0" : "9.1"));
    plist_dict_set_item(m.get(), "Date", newDate(s.date));
    plist_dict_set_item(m.get(), "SystemDomainsVersion", plist_new_string("24.0"));
    plist_dict_set_item(m.get(), "WasPasscodeSet", plist_new_bool(1));
    plist_t lock = plist_new_dict();
    setString(lock, "DeviceName", s.deviceName);
    setString(lock, "ProductType", s.productType);
    setString(lock, "ProductVersion", s.productVersion);
    setString(lock, "BuildVersion", s.buildVersion);
    setString(lock, "SerialNumber", s.serialNumber);
    setString(lock, "UniqueDeviceID", s.uniqueIdentifier);
    plist_dict_set_item(m.get(), "Lockdown", lock);
    plist_dict_set_item(m.get(), "Applications", plist_new_dict());
    if (!writeFile(QDir(folder).filePath(QStringLiteral("Manifest.plist")), toBinary(m.get()), error))
      return false;
  }
  // Info.plist (XML, as the host writes it)
  {
    Plist i(plist_new_dict());
    setString(i.get(), "Device Name", s.deviceName);
    setString(i.get(), "Display Name", s.deviceName);
    setString(i.get(), "Product Type", s.productType);
    setString(i.get(), "Product Version", s.productVersion);
    setString(i.get(), "Build Version", s.buildVersion);
    setString(i.get(), "Serial Number", s.serialNumber);
    if (!s.imei.isEmpty())
      setString(i.get(), "IMEI", s.imei);
    if (!s.phoneNumber.isEmpty())
      setString(i.get(), "Phone Number", s.phoneNumber);
    setString(i.get(), "Unique Identifier", s.uniqueIdentifier);
    setString(i.get(), "Target Identifier", s.uniqueIdentifier);
    setString(i.get(), "Target Type", QStringLiteral("Device"));
    setString(i.get(), "iTunes Version", QStringLiteral("12.12.4.1"));
    plist_dict_set_item(i.get(), "Last Backup Date", newDate(s.date));
    if (!writeFile(QDir(folder).filePath(QStringLiteral("Info.plist")), toBinary(i.get(), false), error))
      return false;
  }
  // Status.plist
  {
    Plist st(plist_new_dict());
    plist_dict_set_item(st.get(), "BackupState", plist_new_string("new"));
    setString(st.get(), "SnapshotState", s.snapshotState);
    plist_dict_set_item(st.get(), "IsFullBackup", plist_new_bool(0));
    plist_dict_set_item(st.get(), "Date", newDate(s.date));
    plist_dict_set_item(st.get(), "UUID", plist_new_string("3E0A2C5B-7F4D-4E8A-9C1B-2D3E4F5A6B7C"));
    plist_dict_set_item(st.get(), "Version", plist_new_string(modern ? "3.3" : "2.4"));
    if (!writeFile(QDir(folder).filePath(QStringLiteral("Status.plist")), toBinary(st.get()), error))
      return false;
  }
  return true;
}

QByteArray folderChecksum(const QString& folder) {
  QStringList names;
  QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                  QDirIterator::Subdirectories);
  while (it.hasNext())
    names << QDir(folder).relativeFilePath(it.next());
  names.sort();
  QCryptographicHash h(QCryptographicHash::Sha256);
  for (const QString& n : names) {
    const QFileInfo fi(QDir(folder).filePath(n));
    h.addData(n.toUtf8());
    h.addData(fi.isDir() ? "/d" : "/f");
    h.addData(QByteArray::number(fi.size()));
    h.addData(QByteArray::number(fi.lastModified().toMSecsSinceEpoch()));
    if (fi.isFile()) {
      QFile f(fi.filePath());
      if (f.open(QIODevice::ReadOnly))
        h.addData(&f);
    }
  }
  return h.result();
}

bool makeSqliteDb(const QStringList& statements, bool wal, QByteArray* db, QByteArray* walBytes, QString* error) {
  QString dummy;
  if (!error)
    error = &dummy;
  QTemporaryDir tmp;
  if (!tmp.isValid()) {
    *error = QStringLiteral("no temporary folder");
    return false;
  }
  const QString path = tmp.filePath(QStringLiteral("db.sqlite"));
  sqlite3* h = nullptr;
  if (sqlite3_open(path.toUtf8().constData(), &h) != SQLITE_OK) {
    sqlite3_close(h);
    *error = QStringLiteral("cannot create a database");
    return false;
  }
  bool ok = !wal || exec(h, "pragma journal_mode=wal; pragma wal_autocheckpoint=0;", error);
  for (const QString& s : statements) {
    if (!ok)
      break;
    ok = exec(h, s.toUtf8().constData(), error);
  }
  auto readAll = [](const QString& p) {
    QFile f(p);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
  };
  if (ok) {
    // Read while the connection is open: closing would checkpoint the log.
    *db = readAll(path);
    if (walBytes)
      *walBytes = wal ? readAll(path + QStringLiteral("-wal")) : QByteArray();
  }
  sqlite3_close(h);
  return ok;
}
} // namespace fixture
