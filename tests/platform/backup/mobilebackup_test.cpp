#include "platform/backup/mobilebackup.h"

#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "samples/backupfixture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

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

BackupPlan plan(BackupPlan::Generation generation, const char* password = "") {
  BackupPlan p;
  p.generation = generation;
  p.password = QString::fromUtf8(password);
  return p;
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
  std::unique_ptr<MobileBackup> open(const QString& password = QString()) {
    return std::unique_ptr<MobileBackup>(MobileBackup::loadFromPath(m_folder, password));
  }
  QString manifest(const char* name) const { return QDir(m_folder).filePath(QLatin1String(name)); }

  QTemporaryDir m_dir;
  QString m_folder;
  QStringList m_errors;
};

// Both generations, plain and encrypted: device properties, regular files in
// manifest order with empty ones last, and every file's content. The files sit
// around the AES block and chunk sizes; one is a folder and one a link. Only
// what is asked for is decrypted, and the copies go with the backup.
TEST_F(BackupTest, RoundTripOfBothGenerations) {
  const QList<StoredFile> files = {
      fixture::directory(kHome, QStringLiteral("Library")),
      fixture::file(kHome, QStringLiteral("Library/empty.txt"), QByteArray()),
      fixture::file(kHome, QStringLiteral("Library/SMS/sms.db"), pattern(32, 'a')),
      fixture::file(kApp, QStringLiteral("Documents/one.bin"), pattern(1, 'x')),
      fixture::link(kHome, QStringLiteral("Library/link"), QStringLiteral("/var/mobile")),
      fixture::file(kApp, QStringLiteral("Library/Caches/big.dat"), pattern((1 << 20) + 4099, 'q')),
      fixture::file(kApp, QStringLiteral("Library/Prefs/\u00e9t\u00e9.plist"), pattern(17, 'p'))};
  const int order[] = {2, 3, 5, 6, 1}; // indices into files
  struct Row {
    BackupPlan plan;
    bool encryptManifestDb; // false: the older encrypted layout with a plain index
  } rows[] = {{plan(BackupPlan::ManifestDb), true},
              {plan(BackupPlan::ManifestDb, "s3cret \u00fc"), true},
              {plan(BackupPlan::ManifestDb, "pw"), false},
              {plan(BackupPlan::Mbdb, "pw"), true}};
  for (Row& r : rows) {
    SCOPED_TRACE(qPrintable(r.plan.password + QString::number(r.plan.generation) + r.encryptManifestDb));
    r.plan.encryptManifestDb = r.encryptManifestDb;
    r.plan.sha256Iterations = r.plan.generation == BackupPlan::ManifestDb && r.encryptManifestDb ? 50 : 0;
    write(r.plan, files);
    const QByteArray before = fixture::folderChecksum(m_folder);

    std::unique_ptr<MobileBackup> b = open(r.plan.password);
    ASSERT_TRUE(b) << qPrintable(MobileBackup::lastError());
    const BackupInfo& info = b->backupInfo();
    EXPECT_EQ(info.deviceName, r.plan.deviceName);
    EXPECT_EQ(info.productVersion, r.plan.generation == BackupPlan::Mbdb ? "9.3.5" : "15.4.1");
    EXPECT_EQ(info.lastBackupDate, r.plan.date);
    EXPECT_EQ(b->isEncrypted(), !r.plan.password.isEmpty());
    ASSERT_EQ(b->fileCount(), int(std::size(order)));
    EXPECT_EQ(b->directoryCount(), 1);
    EXPECT_EQ(b->linkCount(), 1);
    const QString scratch = QFileInfo(b->filePath(0)).path();
    if (b->isEncrypted()) {
      EXPECT_EQ(QDir(scratch).entryList(QDir::Files).size(), 1); // not even the decrypted index is kept
    }
    for (int i = 0; i < b->fileCount(); ++i) {
      const StoredFile& src = files[order[i]];
      ASSERT_EQ(b->fileAt(i).relativePath, src.relativePath);
      EXPECT_EQ(b->fileAt(i).domain, src.domain);
      const QString local = b->filePath(i);
      EXPECT_EQ(readFile(local), src.data) << qPrintable(src.relativePath);
      EXPECT_EQ(Utils::isInsideTempPath(local), b->isEncrypted());
    }
    EXPECT_TRUE(b->fileAt(b->fileCount()).isNull());
    EXPECT_EQ(b->findFile(kApp, QStringLiteral("Documents/one.bin")), 1);
    EXPECT_EQ(b->findFile(kHome, QStringLiteral("Documents/one.bin")), -1);
    b.reset();
    EXPECT_EQ(QFileInfo::exists(scratch), r.plan.password.isEmpty());
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
    const char* says = "";                                      // in the error of a row that does not open
  };
  const auto remove = [this](const char* name) { return [=] { QFile::remove(manifest(name)); }; };
  const auto cut = [this](const char* name, qint64 size) {
    return [=] { ASSERT_TRUE(QFile::resize(manifest(name), size)); };
  };
  const Row rows[] = {
      {"Manifest.db missing", kDb, false, E::NotABackup, remove("Manifest.db")},
      {"Manifest.mbdb missing", kMbdb, false, E::NotABackup, remove("Manifest.mbdb")},
      {"Manifest.db truncated", kDb, false, E::NotABackup, cut("Manifest.db", 60)},
      {"manifest not a database", kDb, false, E::NotABackup,
       [this] { overwrite(manifest("Manifest.db"), QByteArray(5000, 'z')); }},
      // A file ID that is not a hash could name any file: the record is skipped.
      {"file ID escapes the folder", kDb, false, E::None,
       [this] {
         sqlOn(manifest("Manifest.db"),
               "update Files set fileID = '../../../../etc/passwd' where relativePath = 'Library/a.db'");
       },
       [](MobileBackup* b) { EXPECT_EQ(b->fileCount(), 2); }},
      {"keybag with unknown tags", kDb, true, E::None, nullptr,
       [](MobileBackup* b) { EXPECT_EQ(readFile(b->filePath(0)), pattern(100, 'a')); },
       [](Files*, BackupPlan* p) {
         p->extraKeybagItems = {fixture::keybagItem("ZZZZ", QByteArray(7, 'x')), fixture::keybagInt("QQQQ", 5)};
       }},
      {"relative path with ..", kDb, false, E::None, nullptr,
       [&](MobileBackup* b) {
         ASSERT_EQ(b->fileCount(), 4);
         EXPECT_TRUE(b->extractFile(3, out).isEmpty());
         EXPECT_TRUE(b->generalSqlDbFile(out, kHome, QStringLiteral("../../../escape.db")).isEmpty());
       },
       [](Files* f, BackupPlan*) { f->append(fixture::file(kHome, QStringLiteral("../../../escape.db"), "x")); }},
      {"absolute relative path", kMbdb, false, E::None, nullptr,
       [&](MobileBackup* b) { EXPECT_TRUE(b->extractFile(3, out).isEmpty()); },
       [](Files* f, BackupPlan*) { f->append(fixture::file(kHome, QStringLiteral("/etc/x"), "x")); }},
      {"file absent on disk", kDb, true, E::None, nullptr,
       [&](MobileBackup* b) {
         EXPECT_TRUE(b->filePath(1).isEmpty());
         EXPECT_FALSE(b->filePath(2).isEmpty());
       },
       [](Files* f, BackupPlan*) { (*f)[1].omitContent = true; }},
      {"zero-length files, stored and absent", kMbdb, true, E::None, nullptr,
       [](MobileBackup* b) {
         ASSERT_EQ(b->fileAt(3).relativePath, QStringLiteral("Library/zero-absent"));
         EXPECT_TRUE(b->filePath(3).isEmpty());
         ASSERT_FALSE(b->filePath(4).isEmpty());
         EXPECT_EQ(QFileInfo(b->filePath(4)).size(), 0);
       },
       [](Files* f, BackupPlan*) {
         f->prepend(fixture::file(kHome, QStringLiteral("Library/zero-stored"), QByteArray()));
         f->prepend(fixture::file(kHome, QStringLiteral("Library/zero-absent"), QByteArray()));
         f->first().omitContent = true;
       }},
      {"wrong password", kMbdb, true, E::WrongPassword, nullptr, nullptr, nullptr, "wrong"},
      {"encrypted, opened without a password", kDb, true, E::PasswordRequired, nullptr, nullptr, nullptr, ""},
      {"encrypted Manifest.db truncated", kDb, true, E::Damaged, cut("Manifest.db", 4001)},
      {"encrypted Manifest.db without padding", kDb, true, E::None, nullptr,
       [](MobileBackup* b) {
         ASSERT_EQ(b->fileCount(), 3);
         EXPECT_EQ(readFile(b->filePath(2)), pattern(300, 'c'));
       },
       [](Files*, BackupPlan* p) { p->padManifestDb = false; }},
      {"encrypted Manifest.db damaged at its start", kDb, true, E::Damaged,
       [this] {
         QFile f(manifest("Manifest.db"));
         ASSERT_TRUE(f.open(QIODevice::ReadWrite));
         f.write(QByteArray(16, '\0'));
       },
       nullptr, nullptr, nullptr, "does not decrypt to a database"},
      {"keybag asking for 2^31 key-derivation rounds", kDb, true, E::Damaged, nullptr, nullptr,
       [](Files*, BackupPlan* p) { p->extraKeybagItems = {fixture::keybagInt("ITER", 0x7fffffff)}; }, nullptr,
       "keybag is damaged: ITER"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    BackupPlan p = plan(r.generation, r.encrypted ? "pw" : "");
    Files files = {fixture::file(kHome, QStringLiteral("Library/a.db"), pattern(100, 'a')),
                   fixture::file(kHome, QStringLiteral("Library/b.db"), pattern(200, 'b')),
                   fixture::file(kHome, QStringLiteral("Library/c.db"), pattern(300, 'c'))};
    if (r.prepare)
      r.prepare(&files, &p);
    write(p, files);
    if (r.damage)
      r.damage();
    const QByteArray before = fixture::folderChecksum(m_folder);

    std::unique_ptr<MobileBackup> b = open(r.password ? r.password : p.password);
    if (r.error == E::None) {
      ASSERT_TRUE(b) << qPrintable(MobileBackup::lastError());
      if (r.check)
        r.check(b.get());
      for (int i = 0; i < b->fileCount(); ++i) {
        const QString x = b->extractFile(i, out);
        EXPECT_TRUE(x.isEmpty() || Utils::isInsideTempPath(x)) << qPrintable(x);
      }
    } else {
      EXPECT_FALSE(b);
      EXPECT_EQ(MobileBackup::lastErrorCode(), r.error);
      EXPECT_FALSE(m_errors.isEmpty());
      EXPECT_TRUE(MobileBackup::lastError().contains(QLatin1String(r.says))) << qPrintable(MobileBackup::lastError());
    }
    b.reset();
    EXPECT_EQ(fixture::folderChecksum(m_folder), before);
  }
}

TEST_F(BackupTest, NotAFolderOrEmptyFolder) {
  QDir().mkpath(m_folder);
  EXPECT_FALSE(MobileBackup::loadFromPath(m_dir.filePath(QStringLiteral("nothing-here"))));
  EXPECT_EQ(MobileBackup::lastErrorCode(), MobileBackup::Error::NotFound);
  EXPECT_FALSE(open());
  EXPECT_EQ(MobileBackup::lastErrorCode(), MobileBackup::Error::NotABackup);
}

// The manifest's size of a database is not trusted: the decrypted length wins.
TEST_F(BackupTest, DecryptedLengthReplacesRecordedSize) {
  StoredFile f = fixture::file(kHome, QStringLiteral("Library/x.sqlite"), pattern(5000, 's'));
  f.recordedSize = 4096;
  write(plan(BackupPlan::ManifestDb, "pw"), {f});
  std::unique_ptr<MobileBackup> b = open(QStringLiteral("pw"));
  ASSERT_TRUE(b);
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
  } rows[] = {{5000000000LL, 5000000000LL}, {qint64(1) << 50, largest}};
  for (BackupPlan::Generation generation : {BackupPlan::ManifestDb, BackupPlan::Mbdb}) {
    QList<StoredFile> files;
    for (const Row& r : rows) {
      files << fixture::file(kHome, QStringLiteral("Media/%1.mov").arg(r.recorded), "v");
      files.last().recordedSize = r.recorded;
    }
    write(plan(generation), files);
    std::unique_ptr<MobileBackup> b = open();
    ASSERT_TRUE(b);
    ASSERT_EQ(b->fileCount(), int(std::size(rows)));
    for (int i = 0; i < b->fileCount(); ++i)
      EXPECT_EQ(b->fileAt(i).size, rows[i].reported) << generation << " " << rows[i].recorded;
  }
}

TEST_F(BackupTest, DatabaseCopyReplaysWriteAheadLog) {
  QByteArray db, wal;
  QString err;
  ASSERT_TRUE(fixture::makeSqliteDb({QStringLiteral("create table t(x)"), QStringLiteral("insert into t values (1)"),
                                     QStringLiteral("insert into t values (2)")},
                                    true, &db, &wal, &err))
      << qPrintable(err);
  ASSERT_FALSE(wal.isEmpty());
  for (const char* password : {"", "pw"}) {
    SCOPED_TRACE(password);
    write(plan(BackupPlan::ManifestDb, password),
          {fixture::file(kApp, QStringLiteral("Documents/Chat.sqlite"), db),
           fixture::file(kApp, QStringLiteral("Documents/Chat.sqlite-wal"), wal)});
    const QByteArray before = fixture::folderChecksum(m_folder);
    std::unique_ptr<MobileBackup> b = open(QString::fromUtf8(password));
    ASSERT_TRUE(b);
    const QString prefix = Utils::tempPath() + QStringLiteral("Chat");
    // A stale companion from an earlier copy must not be replayed.
    QDir().mkpath(prefix);
    overwrite(prefix + QStringLiteral("/Chat.sqlite-shm"), QByteArray(100, '\x7f'));
    const QString copy = b->generalSqlDbFile(prefix, kApp, QStringLiteral("Documents/Chat.sqlite"));
    ASSERT_EQ(copy, prefix + QStringLiteral("/Chat.sqlite"));
    EXPECT_FALSE(QFileInfo::exists(copy + QStringLiteral("-shm")));
    sqlite3* h = nullptr;
    ASSERT_EQ(sqlite3_open_v2(copy.toUtf8().constData(), &h, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(h, "select count(*) from t", -1, &st, nullptr), SQLITE_OK) << sqlite3_errmsg(h);
    ASSERT_EQ(sqlite3_step(st), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(st, 0), 2);
    sqlite3_finalize(st);
    sqlite3_close(h);
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
  std::unique_ptr<MobileBackup> b = open();
  ASSERT_TRUE(b);
  EXPECT_EQ(b->fileCount(), 2);
  b.reset();
  EXPECT_EQ(fixture::folderChecksum(m_folder), before);
}
} // namespace
