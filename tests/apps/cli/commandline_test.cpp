// The sherd program as a person meets it: how a backup is named, what each
// refusal says first and with which exit code, and that passwords stay out of
// every line and file it writes.
#include "tests/apps/cli/clirun.h"

#include "samples/backupfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using clitest::Outcome;
using clitest::sherd;

namespace {
const QString kPassword = QStringLiteral("Backup-Pa55word");

// A tiny backup: one WhatsApp database with one chat and one message.
bool writeTinyBackup(const QString& folder, const QString& password = QString(), const QString& device = QString()) {
  QByteArray db;
  QString error;
  if (!fixture::makeSqliteDb(
          {QStringLiteral("CREATE TABLE ZWACHATSESSION (Z_PK INTEGER PRIMARY KEY, ZCONTACTJID TEXT, ZPARTNERNAME TEXT, "
                          "ZSESSIONTYPE INTEGER, ZLASTMESSAGEDATE REAL, ZREMOVED INTEGER, ZHIDDEN INTEGER)"),
           QStringLiteral("INSERT INTO ZWACHATSESSION VALUES (1, '4915100000@s.whatsapp.net', 'Tiny Tim', 0, "
                          "670000000, 0, 0)"),
           QStringLiteral("CREATE TABLE ZWAMESSAGE (Z_PK INTEGER PRIMARY KEY, ZCHATSESSION INTEGER, ZISFROMME INTEGER, "
                          "ZMESSAGEDATE REAL, ZTEXT TEXT, ZMESSAGETYPE INTEGER, ZFROMJID TEXT, ZGROUPMEMBER INTEGER, "
                          "ZMEDIAITEM INTEGER, ZMESSAGESTATUS INTEGER)"),
           QStringLiteral("INSERT INTO ZWAMESSAGE VALUES (1, 1, 0, 670000000, 'tiny hello', 0, "
                          "'4915100000@s.whatsapp.net', NULL, NULL, 0)")},
          false, &db, nullptr, &error))
    return false;
  fixture::BackupPlan plan;
  plan.password = password;
  if (!device.isEmpty())
    plan.deviceName = device;
  return fixture::writeBackup(
      folder, plan,
      {fixture::file(QStringLiteral("AppDomainGroup-group.net.whatsapp.WhatsApp.shared"),
                     QStringLiteral("ChatStorage.sqlite"), db)},
      &error);
}

QString canonical(const QString& path) { return QFileInfo(path).canonicalFilePath(); }
} // namespace

// Every argument form reaches the same folder through `sherd info`, whose
// first line is the folder it opened; a local folder wins over an identifier.
TEST(CommandLine, BackupArgumentFormsResolveToOneFolder) {
  QTemporaryDir work;
  const QDir w(work.path());
  const QString home = w.filePath(QStringLiteral("home"));
  const QString root1 = home + QStringLiteral("/.local/share/MobileSync/Backup");
  const QString root2 = home + QStringLiteral("/MobileSync/Backup");
  const QString here = w.filePath(QStringLiteral("here"));
  ASSERT_TRUE(writeTinyBackup(here + QStringLiteral("/sample")));
  ASSERT_TRUE(writeTinyBackup(here + QStringLiteral("/a/b/x")));
  ASSERT_TRUE(writeTinyBackup(w.filePath(QStringLiteral("x"))));
  ASSERT_TRUE(writeTinyBackup(here + QStringLiteral("/dev1"), QString(), QStringLiteral("local")));
  ASSERT_TRUE(writeTinyBackup(root2 + QStringLiteral("/dev1"), QString(), QStringLiteral("root")));
  ASSERT_TRUE(writeTinyBackup(root2 + QStringLiteral("/00008030001A")));
  ASSERT_TRUE(writeTinyBackup(root1 + QStringLiteral("/second")));
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.remove(QStringLiteral("SHERD_BACKUP_ROOT"));
  env.insert(QStringLiteral("HOME"), home);

  struct Row {
    const char* name;
    QString argument;
    QString folder; // empty: refused with `error` as the first line
    QByteArray error;
  } rows[] = {
      {"relative name", QStringLiteral("sample"), here + QStringLiteral("/sample"), {}},
      {"relative with dot", QStringLiteral("./sample"), here + QStringLiteral("/sample"), {}},
      {"parent folder", QStringLiteral("../x"), w.filePath(QStringLiteral("x")), {}},
      {"nested relative", QStringLiteral("a/b/x"), here + QStringLiteral("/a/b/x"), {}},
      {"absolute", here + QStringLiteral("/a/b/x"), here + QStringLiteral("/a/b/x"), {}},
      {"trailing slash", QStringLiteral("sample/"), here + QStringLiteral("/sample"), {}},
      {"local folder wins", QStringLiteral("dev1"), here + QStringLiteral("/dev1"), {}},
      {"identifier in the first root", QStringLiteral("second"), root1 + QStringLiteral("/second"), {}},
      {"identifier in the second root", QStringLiteral("00008030001A"), root2 + QStringLiteral("/00008030001A"), {}},
      {"identifier without its hyphen", QStringLiteral("00008030-001A"), root2 + QStringLiteral("/00008030001A"), {}},
      {"missing name", QStringLiteral("nothere"), {},
       QStringLiteral("sherd info: no folder 'nothere' here, and no backup 'nothere' in %1, %2")
           .arg(root1, root2)
           .toUtf8()},
      {"missing path", QStringLiteral("a/b/nothere"), {}, "sherd info: no folder 'a/b/nothere' here"},
      {"missing relative parent", QStringLiteral("../nothere"), {}, "sherd info: no folder '../nothere' here"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    const Outcome o = sherd({QStringLiteral("info"), r.argument}, here, env);
    ASSERT_FALSE(o.crashed);
    if (r.folder.isEmpty()) {
      EXPECT_EQ(o.exitCode, 2);
      EXPECT_EQ(o.firstErrorLine(), r.error);
    } else {
      EXPECT_EQ(o.exitCode, 0) << o.err.constData();
      EXPECT_EQ(QString::fromUtf8(o.out.split('\n').value(0)), canonical(r.folder));
    }
  }
}

// Every command that reads a backup names it the same way and refuses a
// missing one with the same line.
TEST(CommandLine, EveryCommandSharesTheResolverAndItsError) {
  QTemporaryDir work;
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(QStringLiteral("SHERD_BACKUP_ROOT"), work.filePath(QStringLiteral("root")));
  const QString out = work.filePath(QStringLiteral("out"));
  const struct {
    const char* command;
    QStringList extra;
  } rows[] = {
      {"info", {}},   {"scan", {}},
      {"dump", {}},   {"files", {}},
      {"export", {QStringLiteral("--out"), out}},
      {"extract", {QStringLiteral("--out"), out}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.command);
    const QString command = QLatin1String(r.command);
    const Outcome o = sherd(QStringList{command, QStringLiteral("gone")} + r.extra, work.path(), env);
    EXPECT_EQ(o.exitCode, 2);
    EXPECT_EQ(o.err, QStringLiteral("sherd %1: no folder 'gone' here, and no backup 'gone' in %2\n")
                         .arg(command, work.filePath(QStringLiteral("root")))
                         .toUtf8());
    EXPECT_FALSE(QFileInfo::exists(out)) << "refused, yet wrote its output folder";
  }
}

// Each refusal: its exit code and the exact first line a person reads.
TEST(CommandLine, RefusalsSayWhyFirstWithTheirExitCode) {
  QTemporaryDir work;
  const QDir w(work.path());
  ASSERT_TRUE(writeTinyBackup(w.filePath(QStringLiteral("plain"))));
  ASSERT_TRUE(writeTinyBackup(w.filePath(QStringLiteral("locked")), kPassword));
  QDir().mkpath(w.filePath(QStringLiteral("empty-folder")));
  QFile file(w.filePath(QStringLiteral("a-file")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("not a backup");
  file.close();
  QFile wrong(w.filePath(QStringLiteral("wrong.txt")));
  ASSERT_TRUE(wrong.open(QIODevice::WriteOnly));
  wrong.write("not-it\n");
  wrong.close();
  const QString locked = canonical(w.filePath(QStringLiteral("locked")));

  const struct {
    const char* name;
    QStringList args;
    int exitCode;
    QByteArray firstLine;
  } rows[] = {
      {"encrypted, no password, no terminal",
       {QStringLiteral("scan"), QStringLiteral("locked")},
       3,
       QStringLiteral("sherd scan: %1 is encrypted: give its password with --password-file FILE, or run sherd in a "
                      "terminal to be asked for it")
           .arg(locked)
           .toUtf8()},
      {"wrong password",
       {QStringLiteral("info"), QStringLiteral("locked"), QStringLiteral("--password"), QStringLiteral("nope")},
       3,
       "sherd info: deriving the backup's key from the password (this takes a few seconds)"},
      {"wrong password, quiet",
       {QStringLiteral("info"), QStringLiteral("locked"), QStringLiteral("--quiet"), QStringLiteral("--password"),
        QStringLiteral("nope")},
       3,
       "sherd info: wrong password"},
      {"wrong password from a file",
       {QStringLiteral("dump"), QStringLiteral("locked"), QStringLiteral("--quiet"), QStringLiteral("--password-file"),
        QStringLiteral("wrong.txt")},
       3,
       "sherd dump: wrong password"},
      {"missing password file",
       {QStringLiteral("scan"), QStringLiteral("locked"), QStringLiteral("--password-file"), QStringLiteral("nofile")},
       1,
       "sherd scan: cannot read the password file nofile: No such file or directory"},
      {"a file", {QStringLiteral("files"), QStringLiteral("a-file")}, 2, "sherd files: 'a-file' is a file, not a folder"},
      {"not a backup",
       {QStringLiteral("scan"), QStringLiteral("empty-folder")},
       2,
       "sherd scan: 'empty-folder' is not a backup (no Manifest.db or Manifest.mbdb)"},
      {"quiet and verbose",
       {QStringLiteral("info"), QStringLiteral("plain"), QStringLiteral("--quiet"), QStringLiteral("--verbose")},
       1,
       "sherd info: give --quiet or --verbose, not both"},
      {"unknown type",
       {QStringLiteral("dump"), QStringLiteral("plain"), QStringLiteral("--type"), QStringLiteral("sms")},
       1,
       "sherd dump: unknown type 'sms' (known: whatsapp,kik,line,viber,messenger,wechat,qq,notes,calendar,safari,"
       "calls)"},
      {"two backups", {QStringLiteral("scan"), QStringLiteral("plain"), QStringLiteral("plain")}, 1,
       "sherd scan: expected one BACKUP argument (see --help)"},
      {"unknown command", {QStringLiteral("scna")}, 1, "sherd: unknown command 'scna'"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    const Outcome o = sherd(r.args, work.path());
    EXPECT_FALSE(o.crashed);
    EXPECT_EQ(o.exitCode, r.exitCode) << o.err.constData();
    EXPECT_EQ(o.firstErrorLine(), r.firstLine);
    // Each fatal error is said once.
    const QByteArray last = o.err.trimmed().split('\n').last();
    EXPECT_EQ(o.err.count(last), 1) << o.err.constData();
  }
}

// A folder that cannot be listed says so rather than "not a backup" (root
// reads every folder, so the row cannot be made there).
TEST(CommandLine, AnUnreadableFolderSaysPermissionDenied) {
  QTemporaryDir work;
  const QString folder = work.filePath(QStringLiteral("closed"));
  ASSERT_TRUE(writeTinyBackup(folder));
  ASSERT_TRUE(QFile::setPermissions(folder, QFileDevice::WriteOwner));
  QDir probe(folder);
  if (!probe.entryList(QDir::Files).isEmpty()) {
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    GTEST_SKIP() << "this user reads folders without read permission";
  }
  const Outcome o = sherd({QStringLiteral("info"), QStringLiteral("closed")}, work.path());
  QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
  EXPECT_EQ(o.exitCode, 2);
  EXPECT_EQ(o.firstErrorLine(), "sherd info: cannot read 'closed': permission denied");
}
