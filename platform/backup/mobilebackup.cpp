#include "platform/backup/mobilebackup.h"

#include "platform/backup/backupcrypto.h"
#include "platform/backup/backupinfo_p.h"
#include "platform/backup/keybag.h"
#include "platform/backup/manifest.h"
#include "platform/backup/plistutil.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTemporaryDir>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <vector>

namespace {
const char kModule[] = "iTunesBackup";

thread_local QString t_lastError;
thread_local MobileBackup::Error t_lastErrorCode = MobileBackup::Error::None;

void setLoadError(MobileBackup::Error code, const QString& text) {
  t_lastErrorCode = code;
  t_lastError = text;
  Log(kModule, 0, "%s", qPrintable(text));
}

// A file of the backup as opening found it: 40 bytes. Its texts live in the
// backup's shared tables (one copy of each domain; the relative path and the
// wrapped key back to back in one block), so that a manifest of hundreds of
// thousands of records costs little more than its paths, and opening it
// writes little memory.
struct Entry {
  quint32 textOffset = 0; // relative path (UTF-8), then the wrapped key
  quint16 pathLength = 0;
  quint16 domain = 0;
  quint32 modified = 0;
  quint32 sizeLow = 0;
  qint16 sizeHigh = 0; // the size is 48 bits, signed: up to 128 TiB
  quint8 protectionClass = 0;
  quint8 keyLength = 0; // encrypted backups only
  unsigned char fileId[20] = {};

  static constexpr qint64 kMaxSize = (qint64(1) << 47) - 1;
  qint64 size() const { return qint64(sizeHigh) * (qint64(1) << 32) + qint64(sizeLow); }
  // A size beyond 128 TiB is no real file's: it is kept at the bound.
  void setSize(qint64 v) {
    v = qBound(-kMaxSize - 1, v, kMaxSize);
    sizeLow = quint32(quint64(v) & 0xffffffffu);
    sizeHigh = qint16(v >> 32);
  }
};

static_assert(sizeof(Entry) == 40, "a record's entry is meant to stay small");

// Limits of the packed fields; a record beyond them is no real backup's.
constexpr int kMaxPathLength = 0xffff;
constexpr int kMaxDomains = 0xffff;
constexpr int kMaxKeyLength = 0xff;

// Domain names (UTF-8) to their index, found without building a key per
// record. Records usually come grouped by domain, so the last one found is
// tried first. What it buys: no QString per record; with the packed records
// and the one-pass metadata reader it took bench_backup's BM_OpenAndIterate
// from 1.53-1.65x to 1.40-1.49x of BM_BareSqliteScan (300,000 records).
class DomainTable {
public:
  // The index of the domain, or -1 when it is not in the table.
  int find(const char* p, int n) {
    if (m_last >= 0 && equals(m_last, p, n))
      return m_last;
    if (m_slots.empty())
      return -1;
    const size_t mask = m_slots.size() - 1;
    for (size_t i = qHashBits(p, size_t(n)) & mask;; i = (i + 1) & mask) {
      const int id = m_slots[i];
      if (id < 0)
        return -1;
      if (equals(id, p, n))
        return m_last = id;
    }
  }
  int add(const char* p, int n) {
    const int id = int(m_names.size());
    m_names.emplace_back(p, n);
    if (m_names.size() * 2 > m_slots.size())
      rehash(qMax<size_t>(16, m_slots.size() * 2));
    else
      place(id);
    return m_last = id;
  }
  void clear() {
    std::vector<QByteArray>().swap(m_names);
    std::vector<int>().swap(m_slots);
    m_last = -1;
  }

private:
  bool equals(int id, const char* p, int n) const {
    const QByteArray& s = m_names[size_t(id)];
    return s.size() == n && std::memcmp(s.constData(), p, size_t(n)) == 0;
  }
  void place(int id) {
    const QByteArray& s = m_names[size_t(id)];
    const size_t mask = m_slots.size() - 1;
    size_t i = qHashBits(s.constData(), size_t(s.size())) & mask;
    while (m_slots[i] >= 0)
      i = (i + 1) & mask;
    m_slots[i] = id;
  }
  void rehash(size_t size) {
    m_slots.assign(size, -1);
    for (int id = 0; id < int(m_names.size()); ++id)
      place(id);
  }
  std::vector<QByteArray> m_names;
  std::vector<int> m_slots; // open addressing; -1 is an empty slot
  int m_last = -1;
};

// Whether a relative path would lead out of the folder it is put under.
bool isUnsafeRelativePath(const QString& rel) {
  if (rel.startsWith(QLatin1Char('/')) || rel.startsWith(QLatin1Char('\\')) ||
      (rel.size() > 1 && rel.at(1) == QLatin1Char(':')))
    return true;
  const QStringList parts = QString(rel).replace(QLatin1Char('\\'), QLatin1Char('/')).split(QLatin1Char('/'));
  return parts.contains(QStringLiteral(".."));
}

QString lastComponent(const QString& rel) {
  const int slash = rel.lastIndexOf(QLatin1Char('/'));
  return slash < 0 ? rel : rel.mid(slash + 1);
}

// Copies a stored file into the temporary root. A plain copy, never synced to
// disk: these copies live only as long as the process, and a forced sync per
// file (what QFile::copy does) made a load with thousands of attachments
// wait on the disk for most of its time.
bool copyReplacing(const QString& from, const QString& to, QString* error) {
  if (QFileInfo::exists(to) && !QFile::remove(to)) {
    *error = QStringLiteral("cannot replace %1").arg(to);
    return false;
  }
  QFile src(from);
  if (!src.open(QIODevice::ReadOnly)) {
    *error = QStringLiteral("cannot copy %1 to %2: %3").arg(from, to, src.errorString());
    return false;
  }
  QFile dst(to);
  if (!dst.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
    *error = QStringLiteral("cannot copy %1 to %2: %3").arg(from, to, dst.errorString());
    return false;
  }
  static const qint64 kBlock = 1 << 18;
  QByteArray buffer(int(kBlock), Qt::Uninitialized);
  for (;;) {
    const qint64 got = src.read(buffer.data(), kBlock);
    if (got < 0) {
      *error = QStringLiteral("cannot copy %1 to %2: %3").arg(from, to, src.errorString());
      dst.close();
      QFile::remove(to);
      return false;
    }
    if (got == 0)
      break;
    if (dst.write(buffer.constData(), got) != got) {
      *error = QStringLiteral("cannot copy %1 to %2: %3").arg(from, to, dst.errorString());
      dst.close();
      QFile::remove(to);
      return false;
    }
  }
  if (!dst.flush()) {
    *error = QStringLiteral("cannot copy %1 to %2: %3").arg(from, to, dst.errorString());
    dst.close();
    QFile::remove(to);
    return false;
  }
  dst.close();
  // Copies of read-only stored files must stay writable for SQLite's
  // companions and for clearing the folder later.
  QFile::setPermissions(to, src.permissions() | QFileDevice::WriteOwner | QFileDevice::ReadOwner);
  return true;
}

void fillFromInfo(plist_t dict, BackupInfo* i) {
  using PlistUtil::string;
  i->deviceName = string(dict, "Device Name");
  i->displayName = string(dict, "Display Name");
  i->productType = string(dict, "Product Type");
  i->productName = string(dict, "Product Name");
  i->productVersion = string(dict, "Product Version");
  i->buildVersion = string(dict, "Build Version");
  i->serialNumber = string(dict, "Serial Number");
  i->imei = string(dict, "IMEI");
  i->imei2 = string(dict, "IMEI 2");
  i->meid = string(dict, "MEID");
  i->phoneNumber = string(dict, "Phone Number");
  i->iccid = string(dict, "ICCID");
  i->uniqueIdentifier = string(dict, "Unique Identifier");
  i->lastBackupDate = PlistUtil::date(dict, "Last Backup Date");
}

void fillGap(QString* field, const QString& value) {
  if (field->isEmpty())
    *field = value;
}
} // namespace

BackupProperties readBackupProperties(const QString& folder) {
  BackupProperties p;
  const QDir dir(folder);
  QString err;
  if (PlistPtr info = PlistUtil::fromFile(dir.filePath(QStringLiteral("Info.plist")), &err)) {
    p.hasInfo = true;
    fillFromInfo(info.get(), &p.info);
  } else {
    Log(kModule, 1, "%s", qPrintable(err));
  }
  if (PlistPtr man = PlistUtil::fromFile(dir.filePath(QStringLiteral("Manifest.plist")), &err)) {
    p.hasManifest = true;
    plist_t m = man.get();
    p.info.encrypted = PlistUtil::boolean(m, "IsEncrypted");
    p.info.passcodeSet = PlistUtil::boolean(m, "WasPasscodeSet");
    p.info.manifestVersion = PlistUtil::string(m, "Version");
    p.keybag = PlistUtil::data(m, "BackupKeyBag");
    p.manifestKey = PlistUtil::data(m, "ManifestKey");
    plist_t lock = plist_get_node_type(m) == PLIST_DICT ? plist_dict_get_item(m, "Lockdown") : nullptr;
    if (lock) {
      fillGap(&p.info.deviceName, PlistUtil::string(lock, "DeviceName"));
      fillGap(&p.info.productType, PlistUtil::string(lock, "ProductType"));
      fillGap(&p.info.productVersion, PlistUtil::string(lock, "ProductVersion"));
      fillGap(&p.info.buildVersion, PlistUtil::string(lock, "BuildVersion"));
      fillGap(&p.info.serialNumber, PlistUtil::string(lock, "SerialNumber"));
      fillGap(&p.info.uniqueIdentifier, PlistUtil::string(lock, "UniqueDeviceID"));
    }
    if (!p.info.lastBackupDate.isValid())
      p.info.lastBackupDate = PlistUtil::date(m, "Date");
  } else {
    Log(kModule, 1, "%s", qPrintable(err));
  }
  if (PlistPtr st = PlistUtil::fromFile(dir.filePath(QStringLiteral("Status.plist")), &err)) {
    p.info.snapshotState = PlistUtil::string(st.get(), "SnapshotState");
    if (!p.info.lastBackupDate.isValid())
      p.info.lastBackupDate = PlistUtil::date(st.get(), "Date");
  }
  fillGap(&p.info.displayName, p.info.deviceName);
  return p;
}

QString BackupFileRecord::fileName() const { return lastComponent(relativePath); }

struct MobileBackup::Private {
  QString path;
  BackupInfo info;
  Generation generation = Generation::ManifestDb;
  Keybag keybag;
  std::vector<Entry> entries;
  std::vector<Entry> emptyEntries; // while reading the manifest
  std::vector<QString> domains;
  DomainTable domainIds; // while reading the manifest
  QByteArray texts;      // every relative path (UTF-8) and wrapped key, back to back
  int directories = 0, links = 0, others = 0;
  mutable QHash<QByteArray, int> index; // domain '\0' relative path (UTF-8) -> entry, built on first lookup
  QHash<int, QString> decrypted;        // entry -> its decrypted copy
  mutable QHash<QString, int> byFileId; // file ID (hex) -> entry, built on first reverse lookup
  std::unique_ptr<QTemporaryDir> scratch;

  QString relativePath(const Entry& e) const {
    return QString::fromUtf8(texts.constData() + e.textOffset, int(e.pathLength));
  }
  QByteArray indexKey(const Entry& e) const {
    QByteArray k = domains[e.domain].toUtf8();
    k += '\0';
    k.append(texts.constData() + e.textOffset, int(e.pathLength));
    return k;
  }
  QByteArray encryptionKey(const Entry& e) const {
    return QByteArray(texts.constData() + e.textOffset + e.pathLength, int(e.keyLength));
  }
  QString describe(const Entry& e) const { return domains[e.domain] + QLatin1Char('-') + relativePath(e); }

  QString scratchPath() {
    if (!scratch) {
      const QString root = Utils::tempPath();
      if (root.isEmpty())
        return QString();
      scratch = std::make_unique<QTemporaryDir>(root + QStringLiteral("backup-XXXXXX"));
      if (!scratch->isValid()) {
        Log(kModule, 0, "cannot create a scratch folder under %s", qPrintable(root));
        scratch.reset();
        return QString();
      }
    }
    return scratch->path();
  }

  QString storedPath(const Entry& e) const {
    const QString id = Manifest::fileIdText(e.fileId);
    if (generation == Generation::ManifestDb)
      return path + QLatin1Char('/') + id.left(2) + QLatin1Char('/') + id;
    return path + QLatin1Char('/') + id;
  }

  // Reading the manifest, in its steps: the generation at hand, its records
  // one by one, then the tables compacted.
  bool readManifest(const BackupProperties& props);
  bool readManifestDb(const QString& dbPath, const QByteArray& manifestKey, QString* err, bool* truncated);
  bool decryptManifestDb(const QString& dbPath, const QByteArray& manifestKey, QString* openPath);
  bool copyManifestDbWithLog(const QString& dbPath, QString* openPath);
  bool readMbdb(const QString& mbdbPath, QString* err, bool* truncated);
  void addRecord(ManifestEntry& m);
  void finishRecords();
};

MobileBackup::MobileBackup() : d(new Private) {}
MobileBackup::~MobileBackup() = default;

QString MobileBackup::lastError() { return t_lastError; }
MobileBackup::Error MobileBackup::lastErrorCode() { return t_lastErrorCode; }

MobileBackup* MobileBackup::loadFromPath(const QString& path, const QString& password) {
  t_lastError.clear();
  t_lastErrorCode = Error::None;
  const QFileInfo fi(path);
  if (path.isEmpty() || !fi.isDir()) {
    setLoadError(Error::NotFound, QStringLiteral("no backup folder at %1").arg(path));
    return nullptr;
  }
  std::unique_ptr<MobileBackup> b(new MobileBackup);
  Private* d = b->d.get();
  d->path = fi.canonicalFilePath();
  const BackupProperties props = readBackupProperties(d->path);
  d->info = props.info;

  if (d->info.encrypted) {
    if (password.isEmpty()) {
      setLoadError(Error::PasswordRequired, QStringLiteral("backup %1 is encrypted: a password is needed").arg(path));
      return nullptr;
    }
    QString err;
    if (!d->keybag.parse(props.keybag, &err)) {
      setLoadError(Error::Damaged, QStringLiteral("backup %1: %2").arg(path, err));
      return nullptr;
    }
    if (!d->keybag.unknownTags().isEmpty())
      Log(kModule, 1, "backup %s: keybag tags skipped: %s", qPrintable(path),
          qPrintable(d->keybag.unknownTags().join(QLatin1Char(' '))));
    if (!d->keybag.unlock(password.toUtf8(), &err)) {
      setLoadError(Error::WrongPassword, QStringLiteral("backup %1: %2").arg(path, err));
      return nullptr;
    }
  }
  if (!d->readManifest(props))
    return nullptr;
  Log(kModule, 1, "opened backup %s: %d files, %d folders, %d links", qPrintable(path), int(d->entries.size()),
      d->directories, d->links);
  return b.release();
}

// One record of either manifest generation, into the compact tables.
void MobileBackup::Private::addRecord(ManifestEntry& m) {
  switch (m.kind) {
  case ManifestEntry::Directory:
    ++directories;
    return;
  case ManifestEntry::Link:
    ++links;
    return;
  case ManifestEntry::Other:
    ++others;
    return;
  case ManifestEntry::File:
    break;
  }
  if (!m.hasFileId) {
    ++others; // its name could lead anywhere: not a usable record
    return;
  }
  // Empty files go last: a reader that stops at the first empty record must
  // still see every file with content.
  int domain = domainIds.find(m.domain, m.domainLength);
  if (domain < 0 && int(domains.size()) < kMaxDomains) {
    domains.push_back(QString::fromUtf8(m.domain, m.domainLength));
    domain = domainIds.add(m.domain, m.domainLength);
  }
  const int keyLength = m.encryptionKey.size();
  if (domain < 0 || m.relativePathLength > kMaxPathLength || keyLength > kMaxKeyLength ||
      quint64(texts.size()) + quint64(m.relativePathLength) + quint64(keyLength) > quint64(INT_MAX) / 2 ||
      m.protectionClass > 0xff) {
    ++others; // beyond any real manifest; keep the memory bounded
    return;
  }
  std::vector<Entry>& list = m.size > 0 ? entries : emptyEntries;
  list.emplace_back();
  Entry& e = list.back();
  e.domain = quint16(domain);
  e.textOffset = quint32(texts.size());
  e.pathLength = quint16(m.relativePathLength);
  e.keyLength = quint8(keyLength);
  texts.append(m.relativePath, m.relativePathLength);
  if (keyLength > 0)
    texts.append(m.encryptionKey.constData(), keyLength);
  std::memcpy(e.fileId, m.fileId, sizeof e.fileId);
  e.setSize(m.size);
  e.modified = m.modified;
  e.protectionClass = quint8(m.protectionClass);
}

// An encrypted backup's Manifest.db, decrypted into the scratch folder.
bool MobileBackup::Private::decryptManifestDb(const QString& dbPath, const QByteArray& manifestKey,
                                              QString* openPath) {
  QString err;
  QByteArray key;
  const QString work = scratchPath();
  if (work.isEmpty() || !keybag.unwrapKey(manifestKey, 0, &key, &err)) {
    setLoadError(MobileBackup::Error::Damaged,
                 QStringLiteral("backup %1: the manifest key cannot be used: %2").arg(path, err));
    return false;
  }
  *openPath = work + QStringLiteral("/Manifest.db");
  if (!Manifest::decryptManifestDb(dbPath, *openPath, key, &err)) {
    setLoadError(MobileBackup::Error::Damaged,
                 QStringLiteral("backup %1: Manifest.db does not decrypt: %2").arg(path, err));
    return false;
  }
  return true;
}

// A Manifest.db whose committed rows may still sit in its log, copied with
// its companions into the scratch folder, so that SQLite replays the log into
// the copy and never touches the backup.
bool MobileBackup::Private::copyManifestDbWithLog(const QString& dbPath, QString* openPath) {
  const QString work = scratchPath();
  if (work.isEmpty()) {
    setLoadError(MobileBackup::Error::NotABackup, QStringLiteral("backup %1: no scratch folder").arg(path));
    return false;
  }
  *openPath = work + QStringLiteral("/Manifest.db");
  QString err;
  bool ok = copyReplacing(dbPath, *openPath, &err);
  for (const char* suffix : {"-wal", "-shm"}) {
    const QString c = dbPath + QLatin1String(suffix);
    if (ok && QFileInfo::exists(c))
      ok = copyReplacing(c, *openPath + QLatin1String(suffix), &err);
  }
  if (!ok)
    setLoadError(MobileBackup::Error::NotABackup, QStringLiteral("backup %1: %2").arg(path, err));
  return ok;
}

bool MobileBackup::Private::readManifestDb(const QString& dbPath, const QByteArray& manifestKey, QString* err,
                                           bool* truncated) {
  generation = Generation::ManifestDb;
  QString openPath = dbPath;
  bool copied = false;   // openPath is our own copy under the scratch folder
  bool immutable = true; // nothing needs writing to read it
  if (info.encrypted && !manifestKey.isEmpty()) {
    if (!decryptManifestDb(dbPath, manifestKey, &openPath))
      return false;
    copied = true;
  } else if (QFileInfo(dbPath + QStringLiteral("-wal")).size() > 0) {
    if (!copyManifestDbWithLog(dbPath, &openPath))
      return false;
    copied = true;
    immutable = false; // SQLite replays the log into the copy
  }
  // Reserve for the records up front, bounded by what the file can hold (a
  // record takes well over 64 bytes of the database) so that a damaged
  // row number cannot make us reserve more than the file justifies.
  qint64 hint = -1;
  const qint64 fileBound = QFileInfo(openPath).size() / 64;
  ManifestSink reserving = [&](ManifestEntry& e) {
    if (hint >= 0) {
      const qint64 n = qBound<qint64>(0, hint, fileBound);
      entries.reserve(size_t(n));
      texts.reserve(int(qMin<qint64>(n * 48, 256 << 20)));
      hint = -1;
    }
    addRecord(e);
  };
  if (!Manifest::readManifestDb(openPath, immutable, reserving, err, truncated, &hint)) {
    setLoadError(MobileBackup::Error::NotABackup, QStringLiteral("backup %1: %2").arg(path, *err));
    return false;
  }
  if (copied)
    QFile::remove(openPath); // the records are in memory now; keep no plaintext index around
  return true;
}

bool MobileBackup::Private::readMbdb(const QString& mbdbPath, QString* err, bool* truncated) {
  generation = Generation::Mbdb;
  QFile f(mbdbPath);
  if (!f.open(QIODevice::ReadOnly)) {
    setLoadError(MobileBackup::Error::NotABackup,
                 QStringLiteral("backup %1: cannot read Manifest.mbdb: %2").arg(path, f.errorString()));
    return false;
  }
  // Read, not mapped: a file that shrinks under a mapping (a backup on a
  // drive that goes away) would kill the process instead of failing a read.
  const QByteArray bytes = f.readAll();
  if (!Manifest::readMbdb(bytes, [this](ManifestEntry& m) { addRecord(m); }, err, truncated)) {
    setLoadError(MobileBackup::Error::NotABackup, QStringLiteral("backup %1: %2").arg(path, *err));
    return false;
  }
  return true;
}

// Empty files after the others, the build-time tables freed, the memory trimmed.
void MobileBackup::Private::finishRecords() {
  entries.reserve(entries.size() + emptyEntries.size());
  std::move(emptyEntries.begin(), emptyEntries.end(), std::back_inserter(entries));
  std::vector<Entry>().swap(emptyEntries);
  domainIds.clear();
  texts.squeeze();
  if (entries.capacity() > 2 * entries.size() + 1024)
    entries.shrink_to_fit();
}

bool MobileBackup::Private::readManifest(const BackupProperties& props) {
  const QDir dir(path);
  const QString dbPath = dir.filePath(QStringLiteral("Manifest.db"));
  const QString mbdbPath = dir.filePath(QStringLiteral("Manifest.mbdb"));
  QString err;
  bool truncated = false;
  if (QFileInfo(dbPath).isFile()) {
    if (!readManifestDb(dbPath, props.manifestKey, &err, &truncated))
      return false;
  } else if (QFileInfo(mbdbPath).isFile()) {
    if (!readMbdb(mbdbPath, &err, &truncated))
      return false;
  } else {
    setLoadError(MobileBackup::Error::NotABackup,
                 QStringLiteral("%1 is not a backup: it has neither Manifest.db nor Manifest.mbdb").arg(path));
    return false;
  }
  if (truncated)
    Log(kModule, 0, "backup %s: %s; %d records read before that", qPrintable(path), qPrintable(err),
        int(entries.size() + emptyEntries.size()) + directories + links + others);
  if (others > 0)
    Log(kModule, 1, "backup %s: %d records of unknown kind or unreadable metadata skipped", qPrintable(path), others);
  finishRecords();
  return true;
}

QString MobileBackup::path() const { return d->path; }
MobileBackup::Generation MobileBackup::generation() const { return d->generation; }
bool MobileBackup::isEncrypted() const { return d->info.encrypted; }
const BackupInfo& MobileBackup::backupInfo() const { return d->info; }
int MobileBackup::fileCount() const { return int(d->entries.size()); }
int MobileBackup::directoryCount() const { return d->directories; }
int MobileBackup::linkCount() const { return d->links; }
int MobileBackup::otherCount() const { return d->others; }

BackupFileRecord MobileBackup::fileAt(int index) const {
  BackupFileRecord r;
  if (index < 0 || index >= fileCount())
    return r;
  const Entry& e = d->entries.at(index);
  r.domain = d->domains[e.domain];
  r.relativePath = d->relativePath(e);
  r.modified = e.modified;
  r.size = e.size();
  r.fileId = Manifest::fileIdText(e.fileId);
  r.protectionClass = e.protectionClass;
  return r;
}

int MobileBackup::findFile(const QString& domain, const QString& relativePath) const {
  if (d->index.isEmpty() && !d->entries.empty()) {
    d->index.reserve(fileCount());
    for (int i = 0; i < fileCount(); ++i) {
      const Entry& e = d->entries.at(i);
      d->index.insert(d->indexKey(e), i); // a later record wins
    }
  }
  QByteArray key = domain.toUtf8();
  key += '\0';
  key += relativePath.toUtf8();
  return d->index.value(key, -1);
}

int MobileBackup::indexOfLocalPath(const QString& localPath) const {
  // Stored files and decrypted copies are both named by the record's file ID.
  const QFileInfo info(localPath);
  const QString id = info.fileName();
  if (id.size() != 40)
    return -1;
  if (d->byFileId.isEmpty()) {
    d->byFileId.reserve(int(d->entries.size()));
    for (int i = 0; i < int(d->entries.size()); ++i)
      d->byFileId.insert(Manifest::fileIdText(d->entries[size_t(i)].fileId), i);
  }
  const int index = d->byFileId.value(id, -1);
  if (index < 0)
    return -1;
  const QString copy = d->decrypted.value(index);
  if (localPath == d->storedPath(d->entries[size_t(index)]) || (!copy.isEmpty() && localPath == copy))
    return index;
  return -1;
}

QString MobileBackup::filePath(int index) {
  if (index < 0 || index >= fileCount()) {
    Log(kModule, 0, "backup %s: no file record %d", qPrintable(d->path), index);
    return QString();
  }
  Entry& e = d->entries[index];
  const QString stored = d->storedPath(e);
  if (!QFileInfo(stored).isFile()) {
    Log(kModule, 1, "backup %s: %s is not on disk (%s)", qPrintable(d->path), qPrintable(d->describe(e)),
        qPrintable(Manifest::fileIdText(e.fileId)));
    return QString();
  }
  if (!d->info.encrypted)
    return stored;
  const QString made = d->decrypted.value(index);
  if (!made.isEmpty() && QFileInfo::exists(made))
    return made;
  QString err;
  QByteArray key;
  if (!d->keybag.unwrapKey(d->encryptionKey(e), d->generation == Generation::Mbdb ? e.protectionClass : 0, &key,
                           &err)) {
    Log(kModule, 0, "backup %s: %s: %s", qPrintable(d->path), qPrintable(d->describe(e)), qPrintable(err));
    return QString();
  }
  const QString work = d->scratchPath();
  if (work.isEmpty())
    return QString();
  const QString out = work + QLatin1Char('/') + Manifest::fileIdText(e.fileId);
  qint64 len = 0;
  if (!BackupCrypto::decryptFile(stored, out, key, BackupCrypto::Padding::Strip, &len, &err)) {
    Log(kModule, 0, "backup %s: %s: %s", qPrintable(d->path), qPrintable(d->describe(e)), qPrintable(err));
    return QString();
  }
  if (len != e.size()) {
    Log(kModule, 1, "backup %s: %s: the manifest says %lld bytes, the decrypted file has %lld", qPrintable(d->path),
        qPrintable(d->describe(e)), static_cast<long long>(e.size()), static_cast<long long>(len));
    e.setSize(len);
  }
  d->decrypted.insert(index, out);
  return out;
}

QString MobileBackup::extractFile(int index, const QString& destFolder) {
  if (index < 0 || index >= fileCount())
    return QString();
  const Entry& e = d->entries.at(index);
  const QString rel = d->relativePath(e);
  if (isUnsafeRelativePath(rel)) {
    Log(kModule, 0, "backup %s: refusing to extract %s: the path leads out of its folder", qPrintable(d->path),
        qPrintable(d->describe(e)));
    return QString();
  }
  const QString name = lastComponent(rel);
  if (name.isEmpty() || name == QLatin1String(".")) {
    Log(kModule, 0, "backup %s: record %d has no file name", qPrintable(d->path), index);
    return QString();
  }
  if (!Utils::isInsideTempPath(destFolder)) {
    Log(kModule, 0, "refusing to extract into %s: outside the temporary root", qPrintable(destFolder));
    return QString();
  }
  const QString source = filePath(index);
  if (source.isEmpty())
    return QString();
  if (!QDir().mkpath(destFolder)) {
    Log(kModule, 0, "cannot create %s", qPrintable(destFolder));
    return QString();
  }
  const QString target = QDir(destFolder).absoluteFilePath(name);
  QString err;
  if (!copyReplacing(source, target, &err)) {
    Log(kModule, 0, "%s", qPrintable(err));
    return QString();
  }
  return target;
}

QString MobileBackup::generalSqlDbFile(const QString& destPrefix, const QString& domain, const QString& relativePath) {
  const int idx = findFile(domain, relativePath);
  if (idx < 0) {
    Log(kModule, 1, "backup %s has no %s-%s", qPrintable(d->path), qPrintable(domain), qPrintable(relativePath));
    return QString();
  }
  const QString name = lastComponent(relativePath);
  // Companions left by an earlier copy of another backup would be replayed
  // into this one: remove the ones this backup does not supply.
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    const QString stale = QDir(destPrefix).absoluteFilePath(name + QLatin1String(suffix));
    if (QFileInfo::exists(stale) && Utils::isInsideTempPath(stale))
      QFile::remove(stale);
  }
  const QString db = extractFile(idx, destPrefix);
  if (db.isEmpty())
    return QString();
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    const int c = findFile(domain, relativePath + QLatin1String(suffix));
    if (c >= 0 && d->entries.at(c).size() >= 0 && extractFile(c, destPrefix).isEmpty())
      Log(kModule, 1, "backup %s: the companion %s%s could not be copied", qPrintable(d->path),
          qPrintable(relativePath), suffix);
  }
  return db;
}
