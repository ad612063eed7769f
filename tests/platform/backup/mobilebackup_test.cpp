#include "platform/backup/mobilebackup.h"

#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "tests/support/backupfixture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <functional>
#include <memory>

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

void overwrite(const QString& path, const QByteArray& bytes) {
  QFile f(path);
  ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
  f.write(bytes);
}

void sqlOn(const QString& db, const char* sql) {
  sqlite3* h = nullptr;
  ASSERT_EQ(sqlite3_open(db.toUtf8().constData(), &h), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(h, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(h);
  sqlite3_close(h);
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

  // Writes a fresh backup in place of any earlier one.
  void write(const BackupPlan& plan, const QList<StoredFile>& files) {
    QDir(m_folder).removeRecursively();
    m_errors.clear();
    QString err;
    ASSERT_TRUE(fixture::writeBackup(m_folder, plan, files, &err)) << qPrintable(err);
  }
  QString manifest(const char* name) const { return QDir(m_folder).filePath(QLatin1String(name)); }

  QTemporaryDir m_dir;
  QString m_folder;
  QStringList m_errors;
};

// Both generations, plain and encrypted: device properties, regular files in
// manifest order with empty ones last, and every file's content. The files sit
// around the AES block and chunk sizes; one is a folder and one a link.
TEST_F(BackupTest, RoundTripOfBothGenerations) {
  QList<StoredFile> files = {
      fixture::directory(kHome, QStringLiteral("Library")),
      fixture::file(kHome, QStringLiteral("Library/empty.txt"), QByteArray()),
      fixture::file(kHome, QStringLiteral("Library/SMS/sms.db"), pattern(32, 'a')),
      fixture::file(kApp, QStringLiteral("Documents/one.bin"), pattern(1, 'x')),
      fixture::link(kHome, QStringLiteral("Library/link"), QStringLiteral("/var/mobile")),
      fixture::file(kApp, QStringLiteral("Library/Caches/big.dat"), pattern((1 << 20) + 4099, 'q')),
      fixture::file(kApp, QStringLiteral("Library/Prefs/\u00e9t\u00e9.plist"), pattern(17, 'p'))};
  files[3].modified = 1234567890;
  files[3].protectionClass = 4;
  const QStringList order = {QStringLiteral("Library/SMS/sms.db"), QStringLiteral("Documents/one.bin"),
                             QStringLiteral("Library/Caches/big.dat"),
                             QStringLiteral("Library/Prefs/\u00e9t\u00e9.plist"), QStringLiteral("Library/empty.txt")};
  struct Row {
    const char* name;
    BackupPlan::Generation generation;
    const char* password;
    int sha256Iterations;
    bool encryptManifestDb; // false: iOS 10.0 to 10.1, SHA-1 derivation only
  } rows[] = {{"Manifest.db plain", BackupPlan::ManifestDb, "", 0, true},
              {"Manifest.db encrypted", BackupPlan::ManifestDb, "s3cret \u00fc", 50, true},
              {"Manifest.db encrypted, plain index", BackupPlan::ManifestDb, "pw", 0, false},
              {"Manifest.mbdb plain", BackupPlan::Mbdb, "", 0, true},
              {"Manifest.mbdb encrypted", BackupPlan::Mbdb, "pw", 0, true}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    BackupPlan plan;
    plan.generation = r.generation;
    plan.password = QString::fromUtf8(r.password);
    plan.sha256Iterations = r.sha256Iterations;
    plan.encryptManifestDb = r.encryptManifestDb;
    write(plan, files);
    const QByteArray before = fixture::folderChecksum(m_folder);

    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, plan.password));
    ASSERT_TRUE(b) << qPrintable(MobileBackup::lastError());
    EXPECT_EQ(b->generation() == MobileBackup::Generation::Mbdb, r.generation == BackupPlan::Mbdb);
    const BackupInfo& info = b->backupInfo();
    EXPECT_EQ(info.deviceName, plan.deviceName);
    EXPECT_EQ(info.productType, plan.productType);
    EXPECT_EQ(info.productVersion, r.generation == BackupPlan::Mbdb ? "9.3.5" : "15.4.1");
    EXPECT_EQ(info.serialNumber, plan.serialNumber);
    EXPECT_EQ(info.imei, plan.imei);
    EXPECT_EQ(info.phoneNumber, plan.phoneNumber);
    EXPECT_EQ(info.lastBackupDate, plan.date);
    EXPECT_EQ(info.encrypted, !plan.password.isEmpty());
    EXPECT_EQ(b->isEncrypted(), !plan.password.isEmpty());
    EXPECT_TRUE(info.isComplete());

    ASSERT_EQ(b->fileCount(), order.size());
    EXPECT_EQ(b->directoryCount(), 1);
    EXPECT_EQ(b->linkCount(), 1);
    for (int i = 0; i < b->fileCount(); ++i) {
      const BackupFileRecord rec = b->fileAt(i);
      ASSERT_EQ(rec.relativePath, order.at(i));
      const StoredFile& src = *std::find_if(files.begin(), files.end(),
                                            [&](const StoredFile& f) { return f.relativePath == rec.relativePath; });
      EXPECT_EQ(rec.domain, src.domain);
      EXPECT_EQ(rec.modified, src.modified);
      EXPECT_EQ(rec.size, src.data.size());
      EXPECT_EQ(rec.fileId, fixture::fileIdOf(src.domain, src.relativePath));
      const QString local = b->filePath(i);
      EXPECT_EQ(readFile(local), src.data) << qPrintable(rec.relativePath);
      EXPECT_EQ(b->filePath(i), local); // made once, then reused
      EXPECT_EQ(Utils::isInsideTempPath(local), b->isEncrypted());
    }
    EXPECT_TRUE(b->fileAt(-1).isNull());
    EXPECT_TRUE(b->fileAt(b->fileCount()).isNull());
    EXPECT_TRUE(b->filePath(b->fileCount()).isEmpty());
    EXPECT_EQ(b->findFile(kApp, QStringLiteral("Documents/one.bin")), 1);
    EXPECT_EQ(b->findFile(kHome, QStringLiteral("Documents/one.bin")), -1);
    b.reset();
    EXPECT_EQ(fixture::folderChecksum(m_folder), before);
  }
}

// Bad input: each row builds a backup of three files, damages it and opens it.
// A row that does not open names its error; one that opens has its check, and
// extracting every record writes nothing outside the temporary root. The
// backup folder never changes.
TEST_F(BackupTest, BadInputIsLoggedAndNeverCrashes) {
  using E = MobileBackup::Error;
  using Files = QList<StoredFile>;
  const auto kDb = BackupPlan::ManifestDb;
  const auto kMbdb = BackupPlan::Mbdb;
  const QString out = Utils::tempPath() + QStringLiteral("extract-test/a");
  struct Row {
    const char* name;
    BackupPlan::Generation generation;
    bool encrypted;
    E error;                                                    // None: it opens
    std::function<void()> damage = nullptr;                     // after writing
    std::function<void(MobileBackup*)> check = nullptr;         // when it opens
    std::function<void(Files*, BackupPlan*)> prepare = nullptr; // before writing
    const char* password = nullptr;                             // nullptr: the backup's own
  };
  const auto remove = [this](const char* name) { return [=] { QFile::remove(manifest(name)); }; };
  const auto cut = [this](const char* name, qint64 size) {
    return [=] {
      const QString path = manifest(name);
      ASSERT_TRUE(QFile::resize(path, size >= 0 ? size : QFileInfo(path).size() + size));
    };
  };
  const auto replace = [this](const char* name, const QByteArray& bytes) {
    return [=] { overwrite(manifest(name), bytes); };
  };
  const auto sql = [this](const char* stmt) { return [=] { sqlOn(manifest("Manifest.db"), stmt); }; };
  const auto count = [](int n) { return [n](MobileBackup* b) { EXPECT_EQ(b->fileCount(), n); }; };
  const Row rows[] = {
      {"Manifest.db missing", kDb, false, E::NotABackup, remove("Manifest.db")},
      {"Manifest.mbdb missing", kMbdb, false, E::NotABackup, remove("Manifest.mbdb")},
      {"Manifest.db truncated in its header", kDb, false, E::NotABackup, cut("Manifest.db", 60)},
      {"Manifest.db empty", kDb, false, E::NotABackup, cut("Manifest.db", 0)},
      {"manifest not a database", kDb, false, E::NotABackup, replace("Manifest.db", QByteArray(5000, 'z'))},
      {"Manifest.db without Files table", kDb, false, E::NotABackup, sql("drop table Files")},
      {"Manifest.mbdb bad header", kMbdb, false, E::NotABackup,
       replace("Manifest.mbdb", QByteArray("mbdX\x05\x00garbage", 13))},
      // A record cut short ends the list; the records before it stay.
      {"Manifest.mbdb truncated in a record", kMbdb, false, E::None, cut("Manifest.mbdb", -10), count(2)},
      // A record whose metadata is not a keyed archive is skipped, not fatal.
      {"record metadata not a plist", kDb, false, E::None,
       sql("update Files set file = x'00112233' where relativePath = 'Library/b.db'"),
       [](MobileBackup* b) {
         EXPECT_EQ(b->fileCount(), 2);
         EXPECT_EQ(b->otherCount(), 1);
       }},
      // A file ID that is not a hash could name any file: the record is skipped.
      {"file ID escapes the folder", kDb, false, E::None,
       sql("update Files set fileID = '../../../../etc/passwd' where relativePath = 'Library/a.db'"), count(2)},
      {"keybag with unknown tags", kDb, true, E::None, nullptr,
       [](MobileBackup* b) { EXPECT_EQ(readFile(b->filePath(0)), pattern(100, 'a')); },
       [](Files*, BackupPlan* p) {
         p->extraKeybagItems = {fixture::keybagItem("ZZZZ", QByteArray(7, 'x')), fixture::keybagInt("QQQQ", 5)};
       }},
      {"keybag item longer than the keybag", kDb, true, E::Damaged, nullptr, nullptr,
       [](Files*, BackupPlan* p) {
         QByteArray item = fixture::keybagItem("ABCD", QByteArray(4, 'x'));
         item[7] = char(0x7f);
         p->extraKeybagItems = {item};
       }},
      {"relative path with ..", kDb, false, E::None, nullptr,
       [&](MobileBackup* b) {
         ASSERT_EQ(b->fileCount(), 5);
         EXPECT_TRUE(b->extractFile(3, out).isEmpty());
         EXPECT_TRUE(b->generalSqlDbFile(out, kHome, QStringLiteral("../../../escape.db")).isEmpty());
       },
       [](Files* f, BackupPlan*) {
         f->append(fixture::file(kHome, QStringLiteral("../../../escape.db"), "x"));
         f->append(fixture::file(kHome, QStringLiteral("a/../../up.db"), "y"));
       }},
      {"absolute relative path", kMbdb, false, E::None, nullptr,
       [&](MobileBackup* b) {
         ASSERT_EQ(b->fileAt(3).relativePath, QStringLiteral("/etc/x"));
         EXPECT_TRUE(b->extractFile(3, out).isEmpty());
       },
       [](Files* f, BackupPlan*) { f->append(fixture::file(kHome, QStringLiteral("/etc/x"), "x")); }},
      {"file absent on disk", kDb, true, E::None, nullptr,
       [&](MobileBackup* b) {
         EXPECT_TRUE(b->filePath(1).isEmpty());
         EXPECT_TRUE(b->generalSqlDbFile(out, kHome, QStringLiteral("Library/b.db")).isEmpty());
         EXPECT_FALSE(b->filePath(2).isEmpty());
       },
       [](Files* f, BackupPlan*) { (*f)[1].omitContent = true; }},
      {"zero-length files, stored and absent", kMbdb, true, E::None, nullptr,
       [](MobileBackup* b) {
         ASSERT_EQ(b->fileCount(), 5);
         EXPECT_EQ(b->fileAt(0).relativePath, QStringLiteral("Library/a.db"));
         EXPECT_EQ(b->fileAt(3).relativePath, QStringLiteral("Library/zero-absent"));
         EXPECT_TRUE(b->filePath(3).isEmpty());
         ASSERT_FALSE(b->filePath(4).isEmpty());
         EXPECT_EQ(QFileInfo(b->filePath(4)).size(), 0);
       },
       [](Files* f, BackupPlan*) {
         f->prepend(fixture::file(kHome, QStringLiteral("Library/zero-stored"), QByteArray()));
         f->prepend(fixture::file(kHome, QStringLiteral("Library/zero-absent"), QByteArray()));
         f->first().omitContent = true;
       }},
      // Stored content that is not a whole number of blocks cannot be decrypted.
      {"encrypted content damaged", kDb, true, E::None,
       [&] { QFile::resize(fixture::storedPath(m_folder, BackupPlan(), kHome, QStringLiteral("Library/a.db")), 50); },
       [](MobileBackup* b) { EXPECT_TRUE(b->filePath(0).isEmpty()); }},
      {"wrong password, Manifest.db", kDb, true, E::WrongPassword, nullptr, nullptr, nullptr, "wrong"},
      {"wrong password, Manifest.mbdb", kMbdb, true, E::WrongPassword, nullptr, nullptr, nullptr, "wrong"},
      {"encrypted, opened without a password", kDb, true, E::PasswordRequired, nullptr, nullptr, nullptr, ""},
      {"encrypted Manifest.db truncated", kDb, true, E::Damaged, cut("Manifest.db", 4001)},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    BackupPlan plan;
    plan.generation = r.generation;
    plan.password = r.encrypted ? QStringLiteral("pw") : QString();
    Files files = {fixture::file(kHome, QStringLiteral("Library/a.db"), pattern(100, 'a')),
                   fixture::file(kHome, QStringLiteral("Library/b.db"), pattern(200, 'b')),
                   fixture::file(kHome, QStringLiteral("Library/c.db"), pattern(300, 'c'))};
    if (r.prepare)
      r.prepare(&files, &plan);
    write(plan, files);
    if (r.damage)
      r.damage();
    const QByteArray before = fixture::folderChecksum(m_folder);

    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder, r.password ? r.password : plan.password));
    if (r.error == E::None) {
      ASSERT_TRUE(b) << qPrintable(MobileBackup::lastError());
      if (r.check)
        r.check(b.get());
      for (int i = 0; i < b->fileCount(); ++i) {
        const QString x = b->extractFile(i, out);
        const QString db = b->generalSqlDbFile(out, b->fileAt(i).domain, b->fileAt(i).relativePath);
        EXPECT_TRUE(x.isEmpty() || Utils::isInsideTempPath(x)) << qPrintable(x);
        EXPECT_TRUE(db.isEmpty() || Utils::isInsideTempPath(db)) << qPrintable(db);
      }
    } else {
      EXPECT_FALSE(b);
      EXPECT_EQ(MobileBackup::lastErrorCode(), r.error);
      EXPECT_TRUE(MobileBackup::lastError().contains(m_folder)) << qPrintable(MobileBackup::lastError());
      EXPECT_FALSE(m_errors.isEmpty());
    }
    b.reset();
    EXPECT_EQ(fixture::folderChecksum(m_folder), before);
  }
}

TEST_F(BackupTest, NotAFolderOrEmptyFolder) {
  overwrite(m_dir.filePath(QStringLiteral("file")), "x");
  QDir().mkpath(m_folder);
  struct Row {
    QString path;
    MobileBackup::Error error;
  } rows[] = {{QString(), MobileBackup::Error::NotFound},
              {m_dir.filePath(QStringLiteral("nothing-here")), MobileBackup::Error::NotFound},
              {m_dir.filePath(QStringLiteral("file")), MobileBackup::Error::NotFound},
              {m_folder, MobileBackup::Error::NotABackup}};
  for (const Row& r : rows) {
    EXPECT_FALSE(std::unique_ptr<MobileBackup>(MobileBackup::loadFromPath(r.path))) << qPrintable(r.path);
    EXPECT_EQ(MobileBackup::lastErrorCode(), r.error) << qPrintable(r.path);
  }
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
  const QString scratch = QFileInfo(b->filePath(7)).path();
  EXPECT_EQ(QDir(scratch).entryList(QDir::Files).size(), 1); // not even the decrypted index is kept
  b.reset();
  EXPECT_FALSE(QFileInfo::exists(scratch));
}

TEST_F(BackupTest, DatabaseCopyReplaysWriteAheadLog) {
  QByteArray db, wal, journalDb;
  QString err;
  ASSERT_TRUE(fixture::makeSqliteDb({QStringLiteral("create table t(x)"), QStringLiteral("insert into t values (1)"),
                                     QStringLiteral("insert into t values (2)")},
                                    true, &db, &wal, &err))
      << qPrintable(err);
  ASSERT_FALSE(wal.isEmpty());
  ASSERT_TRUE(fixture::makeSqliteDb({QStringLiteral("create table j(y)")}, false, &journalDb, nullptr, &err));

  for (const char* password : {"", "pw"}) {
    SCOPED_TRACE(password);
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
    EXPECT_TRUE(!old.isEmpty() && QFileInfo::exists(old + QStringLiteral("-journal")));
    EXPECT_TRUE(b->generalSqlDbFile(prefix, kApp, QStringLiteral("Documents/None.sqlite")).isEmpty());
    // Destinations outside the temporary root are refused.
    const QString outside = m_dir.filePath(QStringLiteral("out"));
    EXPECT_TRUE(b->generalSqlDbFile(outside, kApp, QStringLiteral("Documents/Chat.sqlite")).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(outside));
    b.reset();
    EXPECT_EQ(fixture::folderChecksum(m_folder), before);
  }
}

TEST_F(BackupTest, ManifestDbWriteAheadLogIsRead) {
  write(BackupPlan(), {fixture::file(kHome, QStringLiteral("a"), "1")});
  // Add a record through a log that is left beside the manifest.
  const QString db = manifest("Manifest.db");
  sqlite3* h = nullptr;
  ASSERT_EQ(sqlite3_open(db.toUtf8().constData(), &h), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(h,
                         "pragma journal_mode=wal; pragma wal_autocheckpoint=0;"
                         "insert into Files select '0000000000000000000000000000000000000000', domain, 'b', flags, "
                         "file from Files",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  QTemporaryDir keep;
  for (const char* s : {"", "-wal", "-shm"})
    QFile::copy(db + s, keep.filePath(QStringLiteral("m")) + s);
  sqlite3_close(h); // checkpoints and removes the log: put the saved state back
  for (const char* s : {"", "-wal", "-shm"}) {
    QFile::remove(db + s);
    QFile::copy(keep.filePath(QStringLiteral("m")) + s, db + s);
  }
  const QByteArray before = fixture::folderChecksum(m_folder);
  std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(m_folder));
  ASSERT_TRUE(b);
  EXPECT_EQ(b->fileCount(), 2);
  b.reset();
  EXPECT_EQ(fixture::folderChecksum(m_folder), before);
}
} // namespace
