// The sherd program as a person meets it: how a backup is named, what each
// refusal says first and with which exit code, and that passwords stay out of
// every line and file it writes.
#include "tests/apps/cli/clirun.h"

#include "samples/apps/whatsapp.h"
#include "samples/backupfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using clitest::Outcome;
using clitest::sherd;

namespace {
const QString kPassword = QStringLiteral("Backup-Pa55word");

// A tiny backup: one WhatsApp database with one chat and one message.
bool writeTinyBackup(const QString& folder, const QString& password = QString(), const QString& device = QString()) {
  fixture::WhatsappDb rows;
  fixture::WaSession chat;
  chat.pk = 1;
  chat.jid = QStringLiteral("4915100000@s.whatsapp.net");
  chat.partnerName = QStringLiteral("Tiny Tim");
  chat.lastMessageDate = 670000000;
  rows.sessions << chat;
  rows.messages << fixture::waMessage(1, 1, 1, 670000000, QStringLiteral("tiny hello"));
  fixture::BackupPlan plan;
  plan.password = password;
  if (!device.isEmpty())
    plan.deviceName = device;
  QString error;
  return fixture::writeBackup(
      folder, plan, fixture::whatsappDbFilesFrom(fixture::whatsappSchema() + fixture::whatsappInserts(rows)), &error);
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
      {"list of a missing root", {QStringLiteral("list"), QStringLiteral("nowhere")}, 2,
       "sherd list: no folder 'nowhere' here"},
      {"list of a file", {QStringLiteral("list"), QStringLiteral("a-file")}, 2,
       "sherd list: 'a-file' is a file, not a folder"},
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

namespace {
// Every byte of every file under the folder.
QByteArray allBytes(const QString& folder) {
  QByteArray bytes;
  QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
  while (it.hasNext()) {
    QFile f(it.next());
    if (f.open(QIODevice::ReadOnly))
      bytes += f.readAll();
  }
  return bytes;
}
} // namespace

// A password given on the command line, right or wrong, shows in no log line,
// no dump and no exported file, even with every log line on.
TEST(CommandLine, PasswordsAppearInNoLineAndNoFile) {
  QTemporaryDir work;
  const QDir w(work.path());
  ASSERT_TRUE(writeTinyBackup(w.filePath(QStringLiteral("locked")), kPassword));
  const QString noteSecret = QStringLiteral("Note-Secret-7");
  const QString out = w.filePath(QStringLiteral("out"));
  const QString files = w.filePath(QStringLiteral("files"));
  const struct {
    const char* name;
    QStringList args;
    int exitCode;
  } rows[] = {
      {"scan", {QStringLiteral("scan"), QStringLiteral("--details")}, 0},
      {"dump", {QStringLiteral("dump")}, 0},
      {"export", {QStringLiteral("export"), QStringLiteral("--out"), out}, 0},
      {"extract", {QStringLiteral("extract"), QStringLiteral("--out"), files}, 0},
      {"files", {QStringLiteral("files")}, 0},
      {"info", {QStringLiteral("info")}, 0},
  };
  for (const auto& r : rows) {
    for (const QString& password : {QStringLiteral("Wrong-Guess-9"), kPassword}) {
      SCOPED_TRACE(std::string(r.name) + " with " + password.toStdString());
      QStringList args = r.args;
      args.insert(1, QStringLiteral("locked"));
      args << QStringLiteral("--verbose") << QStringLiteral("--password") << password;
      if (r.args.first() != QLatin1String("files") && r.args.first() != QLatin1String("info") &&
          r.args.first() != QLatin1String("extract"))
        args << QStringLiteral("--note-password") << noteSecret;
      const Outcome o = sherd(args, work.path());
      EXPECT_EQ(o.exitCode, password == kPassword ? r.exitCode : 3) << o.err.constData();
      EXPECT_FALSE(o.err.isEmpty()) << "--verbose logs nothing";
      for (const QString& secret : {kPassword, noteSecret, QStringLiteral("Wrong-Guess-9")}) {
        EXPECT_FALSE(o.out.contains(secret.toUtf8())) << qPrintable(secret);
        EXPECT_FALSE(o.err.contains(secret.toUtf8())) << qPrintable(secret);
        EXPECT_FALSE(allBytes(out).contains(secret.toUtf8())) << qPrintable(secret);
        EXPECT_FALSE(allBytes(files).contains(secret.toUtf8())) << qPrintable(secret);
      }
    }
  }
  EXPECT_TRUE(QFileInfo::exists(out + QStringLiteral("/index.html")));
  // Every command's help recommends the file or the prompt over --password,
  // and "sherd help <command>" shows the same help.
  for (const char* command : {"info", "scan", "dump", "export", "files", "extract"}) {
    const Outcome help = sherd({QLatin1String(command), QStringLiteral("--help")});
    EXPECT_EQ(sherd({QStringLiteral("help"), QLatin1String(command)}).out, help.out) << command;
    EXPECT_TRUE(help.out.startsWith("Usage: sherd " + QByteArray(command) + " [options]")) << help.out.constData();
    EXPECT_TRUE(help.out.contains("prefer\n") || help.out.contains("prefer ")) << command;
    EXPECT_TRUE(help.out.contains("--password-file")) << command;
  }
}

// An app the phone lacks is no error; a database that cannot be read is, and
// a run that read nothing because of errors says so last, exit code 0.
TEST(CommandLine, NothingToReadIsNoErrorNothingReadIsSaid) {
  QTemporaryDir work;
  const QDir w(work.path());
  ASSERT_TRUE(writeTinyBackup(w.filePath(QStringLiteral("tiny"))));
  QByteArray db;
  QString error;
  ASSERT_TRUE(fixture::makeSqliteDb({QStringLiteral("CREATE TABLE ZUNRELATED (Z_PK INTEGER PRIMARY KEY)")}, false, &db,
                                    nullptr, &error));
  ASSERT_TRUE(fixture::writeBackup(w.filePath(QStringLiteral("damaged")), fixture::BackupPlan(),
                                   {fixture::file(QStringLiteral("AppDomainGroup-group.net.whatsapp.WhatsApp.shared"),
                                                  QStringLiteral("ChatStorage.sqlite"), db)},
                                   &error));
  const QByteArray unreadable = "sherd scan: ChatStorage.sqlite: no such table: zwachatsession; its rows are not read\n"
                                 "sherd scan: ChatStorage.sqlite: no such table: zwagroupmember; its rows are not read\n"
                                 "sherd scan: ChatStorage.sqlite: no such table: zwamediaitem; its rows are not read\n"
                                 "sherd scan: ChatStorage.sqlite: no such table: zwamessage; its rows are not read\n"
                                 "sherd scan: ChatStorage.sqlite: no such table: zwaprofilepictureitem; its rows are "
                                 "not read\n";
  const struct {
    const char* name;
    QStringList args;
    QByteArray err;     // stderr, or its lines that hold `filter`
    const char* filter; // null: every line
  } rows[] = {
      {"apps the phone lacks", {QStringLiteral("scan"), QStringLiteral("tiny"), QStringLiteral("--type"),
                                QStringLiteral("kik,line,viber,qq,notes,calendar")}, "", nullptr},
      {"lacking apps, verbose", {QStringLiteral("dump"), QStringLiteral("tiny"), QStringLiteral("--type"),
                                 QStringLiteral("kik,calendar"), QStringLiteral("--verbose")},
       "sherd dump: info: Kik: nothing to read in this backup\n"
       "sherd dump: info: Calendar: nothing to read in this backup\n",
       "nothing to read"},
      {"unreadable database", {QStringLiteral("scan"), QStringLiteral("damaged"), QStringLiteral("--type"),
                               QStringLiteral("whatsapp")},
       unreadable + "sherd scan: nothing was read: 5 errors (see the lines above)\n", nullptr},
      {"unreadable database, quiet", {QStringLiteral("scan"), QStringLiteral("damaged"), QStringLiteral("--quiet"),
                                      QStringLiteral("--type"), QStringLiteral("whatsapp")},
       "sherd scan: nothing was read: 5 errors (run without --quiet to see them)\n", nullptr},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    const Outcome o = sherd(r.args, work.path());
    EXPECT_EQ(o.exitCode, 0);
    // The database is named by the path of its copy under the temporary root.
    static const QRegularExpression copyFolder(QStringLiteral(" /\\S*/(?=ChatStorage)"));
    QByteArray err;
    for (const QByteArray& line : o.err.split('\n'))
      if (!line.isEmpty() && (!r.filter || line.contains(r.filter)))
        err += QString::fromUtf8(line).replace(copyFolder, QStringLiteral(" ")).toUtf8() + '\n';
    EXPECT_EQ(err.toStdString(), r.err.toStdString()) << o.err.constData();
  }
}

// scan --details prints each loaded list's items, a chat with its messages.
TEST(CommandLine, ScanDetailsShowsTheItems) {
  QTemporaryDir work;
  ASSERT_TRUE(writeTinyBackup(work.filePath(QStringLiteral("tiny"))));
  const Outcome plain = sherd({QStringLiteral("scan"), QStringLiteral("tiny"), QStringLiteral("--type"),
                               QStringLiteral("whatsapp")},
                              work.path());
  const Outcome detailed = sherd({QStringLiteral("scan"), QStringLiteral("tiny"), QStringLiteral("--details"),
                                  QStringLiteral("--type"), QStringLiteral("whatsapp")},
                                 work.path());
  EXPECT_EQ(detailed.exitCode, 0) << detailed.err.constData();
  ASSERT_TRUE(detailed.out.startsWith(plain.out));
  const QList<QByteArray> lines = detailed.out.mid(plain.out.size()).split('\n');
  ASSERT_GE(lines.size(), 4);
  EXPECT_EQ(lines.at(1), "WhatsApp:");
  EXPECT_TRUE(lines.at(2).startsWith("  Tiny Tim")) << lines.at(2).constData();
  EXPECT_TRUE(lines.at(3).trimmed().endsWith("tiny hello")) << lines.at(3).constData();
}

// The demo names a folder to scan only when it keeps it, and says the
// password of the encrypted sample.
TEST(CommandLine, TheDemoNeverPointsAtAFolderItDeleted) {
  QTemporaryDir work;
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(QStringLiteral("SHERD_TEMP"), work.path());
  const QString kept = work.filePath(QStringLiteral("kept"));
  const struct {
    const char* name;
    QStringList args;
    QByteArray mustSay;
  } rows[] = {
      {"temporary", {QStringLiteral("demo")}, "run 'sherd demo --keep DIR'"},
      {"kept", {QStringLiteral("demo"), QStringLiteral("--keep"), kept}, kept.toUtf8() + " (kept"},
      {"encrypted", {QStringLiteral("demo"), QStringLiteral("--encrypt"), QStringLiteral("demo-pw")},
       "encrypted with the password 'demo-pw'"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    const Outcome o = sherd(r.args, work.path(), env);
    EXPECT_EQ(o.exitCode, 0) << o.err.constData();
    EXPECT_TRUE(o.out.contains(r.mustSay)) << o.out.left(400).constData();
    for (const QByteArray& line : o.out.split('\n')) {
      if (!line.startsWith("$ sherd"))
        continue;
      for (const QByteArray& word : line.split(' '))
        if (word.startsWith('/'))
          EXPECT_TRUE(QFileInfo::exists(QString::fromUtf8(word))) << line.constData();
    }
  }
}

namespace {
// What bash completes for the words typed so far (the last one being
// completed), with the sherd completion loaded.
QStringList bashCompletes(const QStringList& words, const QProcessEnvironment& env) {
  QStringList quoted;
  for (const QString& w : words)
    quoted << QLatin1Char('\'') + w + QLatin1Char('\'');
  const QString script =
      QStringLiteral("source '%1/sherd.bash'; COMP_WORDS=(%2); COMP_CWORD=%3; _sherd; printf '%s\\n' \"${COMPREPLY[@]}\"")
          .arg(QLatin1String(SHERD_COMPLETION_DIR), quoted.join(QLatin1Char(' ')))
          .arg(words.size() - 1);
  QProcess bash;
  bash.setProcessEnvironment(env);
  bash.start(QStringLiteral("bash"), {QStringLiteral("-c"), script});
  bash.waitForFinished(60000);
  QStringList out = QString::fromUtf8(bash.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
  out.sort();
  return out;
}

// The long options a command's --help lists.
QStringList helpOptions(const QString& command) {
  QStringList options;
  for (const QByteArray& line : sherd({command, QStringLiteral("--help")}).out.split('\n')) {
    const QByteArray t = line.trimmed();
    if (!line.startsWith("  -"))
      continue;
    for (const QByteArray& word : t.split(' '))
      if (word.startsWith("--"))
        options << QString::fromUtf8(word).remove(QLatin1Char(','));
  }
  options.sort();
  return options;
}
} // namespace

// The shell completions offer every command and each command's options as
// its --help lists them, and the names --type and --format take.
TEST(CommandLine, ShellCompletionKnowsEveryCommandAndOption) {
  QTemporaryDir work;
  QDir().mkpath(work.filePath(QStringLiteral("root/00008030ABCD")));
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(QStringLiteral("SHERD_BACKUP_ROOT"), work.filePath(QStringLiteral("root")));
  QStringList commands;
  for (const QByteArray& line : sherd({QStringLiteral("--help")}).out.split('\n'))
    if (line.startsWith("  ") && !line.trimmed().isEmpty())
      commands << QString::fromUtf8(line.trimmed().split(' ').first());
  ASSERT_EQ(commands.size(), 8);
  QFile zshFile(QStringLiteral(SHERD_COMPLETION_DIR "/_sherd"));
  ASSERT_TRUE(zshFile.open(QIODevice::ReadOnly));
  const QByteArray zsh = zshFile.readAll();
  for (const QString& command : commands) {
    SCOPED_TRACE(qPrintable(command));
    EXPECT_EQ(bashCompletes({QStringLiteral("sherd"), command.left(3)}, env).value(0), command);
    EXPECT_EQ(bashCompletes({QStringLiteral("sherd"), command, QStringLiteral("--")}, env), helpOptions(command));
    EXPECT_TRUE(zsh.contains("\n    " + command.toUtf8() + ')')) << "zsh lacks the command";
  }
  const struct {
    const char* name;
    QStringList words;
    QStringList offered;
  } rows[] = {
      {"type names", {"sherd", "dump", "x", "--type", "c"}, {"calendar", "calls"}},
      {"the last of a list", {"sherd", "scan", "x", "--type", "whatsapp,k"}, {"whatsapp,kik"}},
      {"formats", {"sherd", "export", "x", "--format", "i"}, {"ics"}},
      {"an identifier in the backup folder", {"sherd", "info", "00008"}, {"00008030ABCD"}},
      {"nothing after --password", {"sherd", "info", "--password", ""}, {}},
      {"help for a command", {"sherd", "help", "ex"}, {"export", "extract"}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    EXPECT_EQ(bashCompletes(r.words, env), r.offered);
  }
  QProcess check;
  check.start(QStringLiteral("zsh"), {QStringLiteral("-n"), zshFile.fileName()});
  if (!check.waitForStarted())
    GTEST_SKIP() << "no zsh to check the zsh completion's syntax";
  check.waitForFinished();
  EXPECT_EQ(check.exitCode(), 0) << check.readAllStandardError().constData();
}

// Each command line of the README's usage section runs a command that exists
// with options that command has.
TEST(CommandLine, TheReadmeUsageMatchesTheProgram) {
  QFile readme(QStringLiteral(SHERD_README));
  ASSERT_TRUE(readme.open(QIODevice::ReadOnly));
  const QByteArray text = readme.readAll();
  const int from = text.indexOf("## Using sherd");
  ASSERT_GE(from, 0);
  const QByteArray block = text.mid(from).split('`').value(3); // the first ```sh block
  int lines = 0;
  for (const QByteArray& line : block.split('\n')) {
    if (!line.startsWith("sherd "))
      continue;
    ++lines;
    const QList<QByteArray> words = line.split('#').first().simplified().split(' ');
    const QString command = QString::fromUtf8(words.value(1));
    const QStringList options = helpOptions(command);
    EXPECT_FALSE(options.isEmpty()) << "no command " << qPrintable(command);
    for (const QByteArray& word : words)
      if (word.startsWith("--"))
        EXPECT_TRUE(options.contains(QString::fromUtf8(word))) << line.constData();
  }
  EXPECT_GE(lines, 8);
}
