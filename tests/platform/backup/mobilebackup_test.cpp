#include "platform/backup/mobilebackup.h"

#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "tests/support/backupfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <memory>
#include <ostream>

using fixture::BackupPlan;
using fixture::StoredFile;

namespace {
const QString kHome = QStringLiteral("HomeDomain");
const QString kApp = QStringLiteral("AppDomainGroup-group.com.example.app");

QByteArray pattern(int n, char seed) {
  QByteArray b(n, '\0');
  for (int i = 0; i < n; ++i)
    b[i] = char(seed + i * 7 + i / 251);
  return b;
}

QByteArray readFile(const QString& path) {
  QFile f(path);
  return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}

// Files every round trip writes: an empty file first in manifest order, sizes
// around the AES block (a multiple of 16 gets a whole padding block), one file
// larger than the decryption chunk, a folder and a link.
QList<StoredFile> sampleFiles() {
  QList<StoredFile> files;
  files << fixture::directory(kHome, QStringLiteral("Library"));
  StoredFile empty = fixture::file(kHome, QStringLiteral("Library/empty.txt"), QByteArray());
  files << empty;
  files << fixture::file(kHome, QStringLiteral("Library/SMS/sms.db"), pattern(32, 'a'));
  StoredFile one = fixture::file(kApp, QStringLiteral("Documents/one.bin"), pattern(1, 'x'));
  one.modified = 1234567890;
  one.protectionClass = 4;
  files << one;
  files << fixture::link(kHome, QStringLiteral("Library/link"), QStringLiteral("/var/mobile"));
  files << fixture::file(kApp, QStringLiteral("Library/Caches/big.dat"), pattern((1 << 20) + 4099, 'q'));
  files << fixture::file(kApp, QStringLiteral("Library/Prefs/\u00e9t\u00e9.plist"), pattern(17, 'p'));
  return files;
}

class BackupTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(m_dir.isValid());
    m_folder = m_dir.filePath(QStringLiteral("0123456789abcdef0123456789abcdef01234567"));
    SherdLog::setSink([this](const char*, int level, const QString& text) {
      if (level == 0)
        m_errors << text;
    });
  }
  void TearDown() override { SherdLog::toStderr(); }

  void write(const BackupPlan& plan, const QList<StoredFile>& files) {
    QString err;
    ASSERT_TRUE(fixture::writeBackup(m_folder, plan, files, &err)) << qPrintable(err);
  }

  QTemporaryDir m_dir;
  QString m_folder;
  QStringList m_errors;
};

struct RoundTrip {
  const char* name;
  BackupPlan::Generation generation;
  const char* password;
  int sha256Iterations;
  bool encryptManifestDb;
};

void PrintTo(const RoundTrip& r, std::ostream* os) { *os << r.name; }

class RoundTripTest : public BackupTest, public ::testing::WithParamInterface<RoundTrip> {};

TEST_P(RoundTripTest, RecordsContentAndInfo) {
  const RoundTrip& p = GetParam();
  BackupPlan plan;
  plan.generation = p.generation;
  plan.password = QString::fromUtf8(p.password);
  plan.sha256Iterations = p.sha256Iterations;
  plan.encryptManifestDb = p.encryptManifestDb;
  const QList<StoredFile> files = sampleFiles();
  write(plan, files);
  const QByteArray before = fixture::folderChecksum(m_folder);

  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, plan.password));
  ASSERT_TRUE(b) << qPrintable(MobileBackup::lastError());
  EXPECT_EQ(b->isEncrypted(), !plan.password.isEmpty());
  EXPECT_EQ(b->generation() == MobileBackup::Generation::Mbdb, p.generation == BackupPlan::Mbdb);

  const BackupInfo& info = b->backupInfo();
  EXPECT_EQ(info.deviceName, plan.deviceName);
  EXPECT_EQ(info.productType, plan.productType);
  EXPECT_EQ(info.productVersion, p.generation == BackupPlan::Mbdb ? "9.3.5" : "15.4.1");
  EXPECT_EQ(info.serialNumber, plan.serialNumber);
  EXPECT_EQ(info.imei, plan.imei);
  EXPECT_EQ(info.phoneNumber, plan.phoneNumber);
  EXPECT_EQ(info.lastBackupDate, plan.date);
  EXPECT_EQ(info.encrypted, !plan.password.isEmpty());
  EXPECT_TRUE(info.isComplete());

  // Regular files only, manifest order, the empty file moved last.
  const QStringList expected = {QStringLiteral("Library/SMS/sms.db"), QStringLiteral("Documents/one.bin"),
                                QStringLiteral("Library/Caches/big.dat"),
                                QStringLiteral("Library/Prefs/\u00e9t\u00e9.plist"),
                                QStringLiteral("Library/empty.txt")};
  ASSERT_EQ(b->fileCount(), expected.size());
  EXPECT_EQ(b->directoryCount(), 1);
  EXPECT_EQ(b->linkCount(), 1);
  for (int i = 0; i < b->fileCount(); ++i) {
    const BackupFileRecord r = b->fileAt(i);
    ASSERT_EQ(r.relativePath, expected.at(i));
    const StoredFile* src = nullptr;
    for (const StoredFile& f : files)
      if (f.relativePath == r.relativePath)
        src = &f;
    ASSERT_TRUE(src);
    EXPECT_EQ(r.domain, src->domain);
    EXPECT_EQ(r.modified, src->modified);
    EXPECT_EQ(r.size, src->data.size());
    EXPECT_EQ(r.fileId, fixture::fileIdOf(src->domain, src->relativePath));
    const QString local = b->filePath(i);
    ASSERT_FALSE(local.isEmpty()) << qPrintable(r.relativePath);
    EXPECT_EQ(readFile(local), src->data) << qPrintable(r.relativePath);
    EXPECT_EQ(b->filePath(i), local); // made once, then reused
    if (b->isEncrypted()) {
      EXPECT_TRUE(Utils::isInsideTempPath(local));
    }
  }
  EXPECT_TRUE(b->fileAt(-1).isNull());
  EXPECT_TRUE(b->fileAt(b->fileCount()).isNull());
  EXPECT_TRUE(b->filePath(b->fileCount()).isEmpty());
  EXPECT_EQ(b->findFile(kApp, QStringLiteral("Documents/one.bin")), 1);
  EXPECT_EQ(b->findFile(kHome, QStringLiteral("Documents/one.bin")), -1);

  b.reset();
  EXPECT_EQ(fixture::folderChecksum(m_folder), before);
}

INSTANTIATE_TEST_SUITE_P(
    Generations, RoundTripTest,
    ::testing::Values(RoundTrip{"ManifestDbPlain", BackupPlan::ManifestDb, "", 0, true},
                      RoundTrip{"ManifestDbEncrypted", BackupPlan::ManifestDb, "s3cret \u00fc", 50, true},
                      // iOS 10.0 to 10.1: SHA-1 derivation only, Manifest.db not encrypted
                      RoundTrip{"ManifestDbEncryptedPlainIndex", BackupPlan::ManifestDb, "pw", 0, false},
                      RoundTrip{"MbdbPlain", BackupPlan::Mbdb, "", 0, true},
                      RoundTrip{"MbdbEncrypted", BackupPlan::Mbdb, "pw", 0, true}),
    [](const ::testing::TestParamInfo<RoundTrip>& i) { return std::string(i.param.name); });

// Bad input: each row builds a backup, damages it, opens it and checks the
// outcome. The backup folder never changes.
struct BadInput {
  const char* name;
  BackupPlan::Generation generation;
  bool encrypted;
  std::function<void(QList<StoredFile>*, BackupPlan*)> prepare; // before writing
  std::function<void(const QString& folder)> damage;            // after writing
  const char* password;                                         // nullptr: the backup's own
  bool opens;
  MobileBackup::Error error;
  std::function<void(MobileBackup*)> check; // when it opens
};

void PrintTo(const BadInput& b, std::ostream* os) { *os << b.name; }

void truncateFile(const QString& path, qint64 size) {
  QFile f(path);
  ASSERT_TRUE(f.resize(size));
}

void overwrite(const QString& path, const QByteArray& bytes) {
  QFile f(path);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
  f.write(bytes);
}

QString manifestDbOf(const QString& folder) { return QDir(folder).filePath(QStringLiteral("Manifest.db")); }
QString mbdbOf(const QString& folder) { return QDir(folder).filePath(QStringLiteral("Manifest.mbdb")); }

void sqlOn(const QString& db, const char* sql) {
  sqlite3* h = nullptr;
  ASSERT_EQ(sqlite3_open(db.toUtf8().constData(), &h), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(h, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(h);
  sqlite3_close(h);
}

// Extraction of every record writes nothing outside the temporary root.
void extractionStaysInside(MobileBackup* b) {
  const QString dest = Utils::tempPath() + QStringLiteral("extract-test/a");
  for (int i = 0; i < b->fileCount(); ++i) {
    const QString out = b->extractFile(i, dest);
    if (!out.isEmpty()) {
      EXPECT_TRUE(Utils::isInsideTempPath(out)) << qPrintable(out);
    }
    const BackupFileRecord r = b->fileAt(i);
    const QString db = b->generalSqlDbFile(dest, r.domain, r.relativePath);
    if (!db.isEmpty()) {
      EXPECT_TRUE(Utils::isInsideTempPath(db)) << qPrintable(db);
    }
  }
}

class BadInputTest : public BackupTest, public ::testing::WithParamInterface<BadInput> {};

TEST_P(BadInputTest, LogsAndNeverCrashes) {
  const BadInput& p = GetParam();
  BackupPlan plan;
  plan.generation = p.generation;
  if (p.encrypted)
    plan.password = QStringLiteral("pw");
  QList<StoredFile> files = {fixture::file(kHome, QStringLiteral("Library/a.db"), pattern(100, 'a')),
                             fixture::file(kHome, QStringLiteral("Library/b.db"), pattern(200, 'b')),
                             fixture::file(kHome, QStringLiteral("Library/c.db"), pattern(300, 'c'))};
  if (p.prepare)
    p.prepare(&files, &plan);
  write(plan, files);
  if (p.damage)
    p.damage(m_folder);
  const QByteArray before = fixture::folderChecksum(m_folder);

  const QString password = p.password ? QString::fromUtf8(p.password) : plan.password;
  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, password));
  if (p.opens) {
    ASSERT_TRUE(b) << qPrintable(MobileBackup::lastError());
    if (p.check)
      p.check(b.get());
    extractionStaysInside(b.get());
  } else {
    EXPECT_FALSE(b);
    EXPECT_EQ(MobileBackup::lastErrorCode(), p.error);
    EXPECT_TRUE(MobileBackup::lastError().contains(m_folder)) << qPrintable(MobileBackup::lastError());
    EXPECT_FALSE(m_errors.isEmpty());
  }
  b.reset();
  EXPECT_EQ(fixture::folderChecksum(m_folder), before);
}

const auto kPlainDb = BackupPlan::ManifestDb;
const auto kMbdb = BackupPlan::Mbdb;
using E = MobileBackup::Error;

INSTANTIATE_TEST_SUITE_P(
    Cases, BadInputTest,
    ::testing::Values(
        BadInput{"ManifestDbMissing", kPlainDb, false, nullptr,
                 [](const QString& f) { QFile::remove(manifestDbOf(f)); }, nullptr, false, E::NotABackup, nullptr},
        BadInput{"MbdbMissing", kMbdb, false, nullptr, [](const QString& f) { QFile::remove(mbdbOf(f)); }, nullptr,
                 false, E::NotABackup, nullptr},
        BadInput{"ManifestDbTruncatedInHeader", kPlainDb, false, nullptr,
                 [](const QString& f) { truncateFile(manifestDbOf(f), 60); }, nullptr, false, E::NotABackup, nullptr},
        BadInput{"ManifestDbEmpty", kPlainDb, false, nullptr, [](const QString& f) { truncateFile(manifestDbOf(f), 0); },
                 nullptr, false, E::NotABackup, nullptr},
        BadInput{"ManifestNotADatabase", kPlainDb, false, nullptr,
                 [](const QString& f) { overwrite(manifestDbOf(f), QByteArray(5000, 'z')); }, nullptr, false,
                 E::NotABackup, nullptr},
        BadInput{"ManifestDbWithoutFilesTable", kPlainDb, false, nullptr,
                 [](const QString& f) { sqlOn(manifestDbOf(f), "drop table Files"); }, nullptr, false, E::NotABackup,
                 nullptr},
        BadInput{"MbdbBadHeader", kMbdb, false, nullptr,
                 [](const QString& f) { overwrite(mbdbOf(f), QByteArray("mbdX\x05\x00garbage", 13)); }, nullptr,
                 false, E::NotABackup, nullptr},
        // A record cut short ends the list; the records before it stay.
        BadInput{"MbdbTruncatedInRecord", kMbdb, false, nullptr,
                 [](const QString& f) { truncateFile(mbdbOf(f), QFileInfo(mbdbOf(f)).size() - 10); }, nullptr, true,
                 E::None, [](MobileBackup* b) { EXPECT_EQ(b->fileCount(), 2); }},
        // A record whose metadata is not a keyed archive is skipped, not fatal.
        BadInput{"ManifestDbBlobNotAPlist", kPlainDb, false, nullptr,
                 [](const QString& f) {
                   sqlOn(manifestDbOf(f), "update Files set file = x'00112233' where relativePath = 'Library/b.db'");
                 },
                 nullptr, true, E::None,
                 [](MobileBackup* b) {
                   EXPECT_EQ(b->fileCount(), 2);
                   EXPECT_EQ(b->otherCount(), 1);
                 }},
        // A file ID that is not a hash could name any file: the record is skipped.
        BadInput{"ManifestDbFileIdEscapes", kPlainDb, false, nullptr,
                 [](const QString& f) {
                   sqlOn(manifestDbOf(f), "update Files set fileID = '../../../../etc/passwd' where relativePath = "
                                          "'Library/a.db'");
                 },
                 nullptr, true, E::None, [](MobileBackup* b) { EXPECT_EQ(b->fileCount(), 2); }},
        BadInput{"KeybagUnknownTags", kPlainDb, true,
                 [](QList<StoredFile>*, BackupPlan* s) {
                   s->extraKeybagItems = {fixture::keybagItem("ZZZZ", QByteArray(7, 'x')),
                                          fixture::keybagInt("QQQQ", 5)};
                 },
                 nullptr, nullptr, true, E::None,
                 [](MobileBackup* b) {
                   ASSERT_EQ(b->fileCount(), 3);
                   EXPECT_EQ(readFile(b->filePath(0)), pattern(100, 'a'));
                 }},
        BadInput{"KeybagTruncated", kPlainDb, true,
                 [](QList<StoredFile>*, BackupPlan* s) {
                   // an item that claims more bytes than the keybag holds
                   QByteArray item = fixture::keybagItem("ABCD", QByteArray(4, 'x'));
                   item[7] = char(0x7f);
                   s->extraKeybagItems = {item};
                 },
                 nullptr, nullptr, false, E::Damaged, nullptr},
        BadInput{"RelativePathWithDotDot", kPlainDb, false,
                 [](QList<StoredFile>* f, BackupPlan*) {
                   f->append(fixture::file(kHome, QStringLiteral("../../../escape.db"), "x"));
                   f->append(fixture::file(kHome, QStringLiteral("a/../../up.db"), "y"));
                 },
                 nullptr, nullptr, true, E::None,
                 [](MobileBackup* b) {
                   ASSERT_EQ(b->fileCount(), 5);
                   EXPECT_TRUE(b->extractFile(3, Utils::tempPath() + QStringLiteral("x")).isEmpty());
                   EXPECT_TRUE(b->generalSqlDbFile(Utils::tempPath() + QStringLiteral("x"), kHome,
                                                   QStringLiteral("../../../escape.db"))
                                   .isEmpty());
                 }},
        BadInput{"AbsoluteRelativePath", kMbdb, false,
                 [](QList<StoredFile>* f, BackupPlan*) { f->append(fixture::file(kHome, QStringLiteral("/etc/x"), "x")); },
                 nullptr, nullptr, true, E::None,
                 [](MobileBackup* b) {
                   ASSERT_EQ(b->fileCount(), 4);
                   EXPECT_EQ(b->fileAt(3).relativePath, QStringLiteral("/etc/x"));
                   EXPECT_TRUE(b->extractFile(3, Utils::tempPath() + QStringLiteral("x")).isEmpty());
                 }},
        BadInput{"FileAbsentOnDisk", kPlainDb, true,
                 [](QList<StoredFile>* f, BackupPlan*) { (*f)[1].omitContent = true; }, nullptr, nullptr, true, E::None,
                 [](MobileBackup* b) {
                   EXPECT_EQ(b->fileCount(), 3);
                   EXPECT_TRUE(b->filePath(1).isEmpty());
                   EXPECT_TRUE(b->generalSqlDbFile(Utils::tempPath() + QStringLiteral("absent"), kHome,
                                                   QStringLiteral("Library/b.db"))
                                   .isEmpty());
                   EXPECT_FALSE(b->filePath(2).isEmpty());
                 }},
        BadInput{"ZeroLengthFiles", kMbdb, true,
                 [](QList<StoredFile>* f, BackupPlan*) {
                   f->prepend(fixture::file(kHome, QStringLiteral("Library/zero-stored"), QByteArray()));
                   StoredFile none = fixture::file(kHome, QStringLiteral("Library/zero-absent"), QByteArray());
                   none.omitContent = true;
                   f->prepend(none);
                 },
                 nullptr, nullptr, true, E::None,
                 [](MobileBackup* b) {
                   ASSERT_EQ(b->fileCount(), 5);
                   EXPECT_EQ(b->fileAt(0).relativePath, QStringLiteral("Library/a.db"));
                   EXPECT_EQ(b->fileAt(3).relativePath, QStringLiteral("Library/zero-absent"));
                   EXPECT_TRUE(b->filePath(3).isEmpty());
                   const QString stored = b->filePath(4);
                   ASSERT_FALSE(stored.isEmpty());
                   EXPECT_EQ(QFileInfo(stored).size(), 0);
                 }},
        // Stored content that is not a whole number of blocks cannot be decrypted.
        BadInput{"EncryptedContentDamaged", kPlainDb, true, nullptr,
                 [](const QString& f) {
                   truncateFile(fixture::storedPath(f, BackupPlan(), kHome, QStringLiteral("Library/a.db")), 50);
                 },
                 nullptr, true, E::None, [](MobileBackup* b) { EXPECT_TRUE(b->filePath(0).isEmpty()); }},
        BadInput{"WrongPasswordModern", kPlainDb, true, nullptr, nullptr, "wrong", false, E::WrongPassword, nullptr},
        BadInput{"WrongPasswordMbdb", kMbdb, true, nullptr, nullptr, "wrong", false, E::WrongPassword, nullptr},
        BadInput{"NoPassword", kPlainDb, true, nullptr, nullptr, "", false, E::PasswordRequired, nullptr},
        BadInput{"EncryptedManifestTruncated", kPlainDb, true, nullptr,
                 [](const QString& f) { truncateFile(manifestDbOf(f), 4001); }, nullptr, false, E::Damaged, nullptr}),
    [](const ::testing::TestParamInfo<BadInput>& i) { return std::string(i.param.name); });

TEST_F(BackupTest, NotAFolder) {
  for (const QString& path :
       {QString(), m_dir.filePath(QStringLiteral("nothing-here")), m_dir.filePath(QStringLiteral("file"))}) {
    if (path.endsWith(QLatin1String("file")))
      overwrite(path, "x");
    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(path));
    EXPECT_FALSE(b);
    EXPECT_EQ(MobileBackup::lastErrorCode(), MobileBackup::Error::NotFound);
  }
  QDir().mkpath(m_folder);
  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder));
  EXPECT_FALSE(b);
  EXPECT_EQ(MobileBackup::lastErrorCode(), MobileBackup::Error::NotABackup);
}

// The manifest's size of a database is not trusted: the decrypted length wins.
TEST_F(BackupTest, DecryptedLengthReplacesRecordedSize) {
  BackupPlan plan;
  plan.password = QStringLiteral("pw");
  StoredFile f = fixture::file(kHome, QStringLiteral("Library/x.sqlite"), pattern(5000, 's'));
  f.recordedSize = 4096;
  write(plan, {f, fixture::file(kHome, QStringLiteral("Library/y"), "y")});
  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, plan.password));
  ASSERT_TRUE(b);
  EXPECT_EQ(b->fileAt(0).size, 4096);
  EXPECT_EQ(readFile(b->filePath(0)), f.data);
  EXPECT_EQ(b->fileAt(0).size, 5000);
}

// Record sizes beyond 32 bits survive opening in both generations; a size no
// file can have is kept at the largest one a record holds.
TEST_F(BackupTest, LargeRecordedSizes) {
  const qint64 largest = (qint64(1) << 47) - 1;
  struct Row {
    qint64 recorded;
    qint64 reported;
  } rows[] = {{5000000000LL, 5000000000LL}, {largest, largest}, {qint64(1) << 50, largest}};
  for (BackupPlan::Generation generation : {BackupPlan::ManifestDb, BackupPlan::Mbdb}) {
    QList<StoredFile> files;
    for (const Row& r : rows) {
      StoredFile f = fixture::file(kHome, QStringLiteral("Media/%1.mov").arg(r.recorded), "v");
      f.recordedSize = r.recorded;
      files << f;
    }
    BackupPlan plan;
    plan.generation = generation;
    QDir(m_folder).removeRecursively();
    write(plan, files);
    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder));
    ASSERT_TRUE(b);
    ASSERT_EQ(b->fileCount(), int(std::size(rows)));
    for (int i = 0; i < b->fileCount(); ++i)
      EXPECT_EQ(b->fileAt(i).size, rows[i].reported) << generation << " " << rows[i].recorded;
  }
}

// Only what readers ask for is decrypted, and the copies go with the backup.
TEST_F(BackupTest, DecryptsOnlyWhatIsAsked) {
  BackupPlan plan;
  plan.password = QStringLiteral("pw");
  QList<StoredFile> files;
  for (int i = 0; i < 20; ++i)
    files << fixture::file(kHome, QStringLiteral("f%1").arg(i), pattern(100 + i, char('a' + i)));
  write(plan, files);
  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, plan.password));
  ASSERT_TRUE(b);
  const QString one = b->filePath(7);
  ASSERT_FALSE(one.isEmpty());
  const QString scratch = QFileInfo(one).path();
  EXPECT_EQ(QDir(scratch).entryList(QDir::Files).size(), 1); // not even the decrypted index is kept
  b.reset();
  EXPECT_FALSE(QFileInfo::exists(scratch));
}

TEST_F(BackupTest, DatabaseCopyReplaysWriteAheadLog) {
  QByteArray db, wal;
  QString err;
  ASSERT_TRUE(fixture::makeSqliteDb({QStringLiteral("create table t(x)"), QStringLiteral("insert into t values (1)"),
                                     QStringLiteral("insert into t values (2)")},
                                    true, &db, &wal, &err))
      << qPrintable(err);
  ASSERT_FALSE(wal.isEmpty());
  QByteArray journalDb;
  ASSERT_TRUE(fixture::makeSqliteDb({QStringLiteral("create table j(y)")}, false, &journalDb, nullptr, &err));

  for (const char* password : {"", "pw"}) {
    SCOPED_TRACE(password);
    QDir(m_folder).removeRecursively();
    BackupPlan plan;
    plan.password = QString::fromUtf8(password);
    write(plan, {fixture::file(kApp, QStringLiteral("Documents/Chat.sqlite"), db),
                 fixture::file(kApp, QStringLiteral("Documents/Chat.sqlite-wal"), wal),
                 fixture::file(kApp, QStringLiteral("Documents/Old.db"), journalDb),
                 fixture::file(kApp, QStringLiteral("Documents/Old.db-journal"), QByteArray())});
    const QByteArray before = fixture::folderChecksum(m_folder);
    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, plan.password));
    ASSERT_TRUE(b);
    const QString prefix = Utils::tempPath() + QStringLiteral("Chat");
    // A stale companion from an earlier copy must not be replayed.
    QDir().mkpath(prefix);
    overwrite(prefix + QStringLiteral("/Chat.sqlite-shm"), QByteArray(100, '\x7f'));
    const QString copy = b->generalSqlDbFile(prefix, kApp, QStringLiteral("Documents/Chat.sqlite"));
    ASSERT_EQ(copy, prefix + QStringLiteral("/Chat.sqlite"));
    EXPECT_TRUE(QFileInfo::exists(copy + QStringLiteral("-wal")));
    EXPECT_FALSE(QFileInfo::exists(copy + QStringLiteral("-shm")));
    sqlite3* h = nullptr;
    ASSERT_EQ(sqlite3_open_v2(copy.toUtf8().constData(), &h, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(h, "select count(*) from t", -1, &st, nullptr), SQLITE_OK) << sqlite3_errmsg(h);
    ASSERT_EQ(sqlite3_step(st), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(st, 0), 2);
    sqlite3_finalize(st);
    sqlite3_close(h);

    // An empty journal companion is copied along under its real name.
    const QString old = b->generalSqlDbFile(prefix, kApp, QStringLiteral("Documents/Old.db"));
    ASSERT_FALSE(old.isEmpty());
    EXPECT_TRUE(QFileInfo::exists(old + QStringLiteral("-journal")));

    EXPECT_TRUE(b->generalSqlDbFile(prefix, kApp, QStringLiteral("Documents/None.sqlite")).isEmpty());
    // Destinations outside the temporary root are refused.
    EXPECT_TRUE(
        b->generalSqlDbFile(m_dir.filePath(QStringLiteral("out")), kApp, QStringLiteral("Documents/Chat.sqlite"))
            .isEmpty());
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath(QStringLiteral("out"))));
    b.reset();
    EXPECT_EQ(fixture::folderChecksum(m_folder), before);
  }
}

TEST_F(BackupTest, ManifestDbWriteAheadLogIsRead) {
  BackupPlan plan;
  write(plan, {fixture::file(kHome, QStringLiteral("a"), "1")});
  // Add a record through a log that is left beside the manifest.
  sqlite3* h = nullptr;
  ASSERT_EQ(sqlite3_open(manifestDbOf(m_folder).toUtf8().constData(), &h), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(h,
                         "pragma journal_mode=wal; pragma wal_autocheckpoint=0;"
                         "insert into Files select '0000000000000000000000000000000000000000', domain, 'b', flags, "
                         "file from Files",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  QTemporaryDir keep;
  for (const char* s : {"", "-wal", "-shm"})
    QFile::copy(manifestDbOf(m_folder) + s, keep.filePath(QStringLiteral("m")) + s);
  sqlite3_close(h); // checkpoints and removes the log: put the saved state back
  for (const char* s : {"", "-wal", "-shm"}) {
    QFile::remove(manifestDbOf(m_folder) + s);
    QFile::copy(keep.filePath(QStringLiteral("m")) + s, manifestDbOf(m_folder) + s);
  }
  const QByteArray before = fixture::folderChecksum(m_folder);
  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder));
  ASSERT_TRUE(b);
  EXPECT_EQ(b->fileCount(), 2);
  b.reset();
  EXPECT_EQ(fixture::folderChecksum(m_folder), before);
}
} // namespace
