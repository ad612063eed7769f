// The sherd program against its promises on whole backups: no command changes
// the backup it reads, and damaged copies of the sample (cut short, bits
// flipped) end in a message and a documented exit code, never a crash, with
// valid JSON when the dump goes through.
#include "tests/apps/cli/clirun.h"

#include "samples/backupfixture.h"
#include "samples/samplebackup.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>

#include <signal.h>

namespace {
const QString kPassword = QStringLiteral("s3cret");

using clitest::Outcome;
using clitest::sherd;

// The plain and the encrypted sample, written once for the whole program.
struct Samples : ::testing::Environment {
  static QTemporaryDir* dir;
  static QString plain, encrypted;
  void SetUp() override {
    dir = new QTemporaryDir;
    plain = QDir(dir->path()).filePath(QStringLiteral("plain"));
    encrypted = QDir(dir->path()).filePath(QStringLiteral("encrypted"));
    QString error;
    ASSERT_TRUE(fixture::writeSampleBackup(plain, QString(), &error)) << qPrintable(error);
    ASSERT_TRUE(fixture::writeSampleBackup(encrypted, kPassword, &error)) << qPrintable(error);
  }
  void TearDown() override { delete dir; }
};
QTemporaryDir* Samples::dir = nullptr;
QString Samples::plain, Samples::encrypted;
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new Samples);

QStringList listedCommands() {
  const Outcome help = sherd({QStringLiteral("--help")});
  QStringList names;
  bool inCommands = false;
  for (const QByteArray& line : help.out.split('\n')) {
    if (line.startsWith("Commands:")) {
      inCommands = true;
      continue;
    }
    if (inCommands && line.startsWith("  ") && line.trimmed().size() > 0)
      names << QString::fromUtf8(line.trimmed().split(' ').first());
    else if (inCommands && !line.trimmed().isEmpty())
      break;
  }
  return names;
}

bool copyTree(const QString& from, const QString& to) {
  QDirIterator it(from, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
  while (it.hasNext()) {
    const QString src = it.next();
    const QString dst = QDir(to).filePath(QDir(from).relativeFilePath(src));
    QDir().mkpath(QFileInfo(dst).path());
    if (!QFile::copy(src, dst))
      return false;
  }
  return true;
}
} // namespace

TEST(Robustness, NoCommandChangesTheBackup) {
  // How each command is run on a backup; OUT stands for a fresh output folder.
  const QMap<QString, QStringList> howToRun = {
      {QStringLiteral("info"), {}},
      {QStringLiteral("scan"), {}},
      {QStringLiteral("dump"), {}},
      {QStringLiteral("files"), {}},
      {QStringLiteral("extract"), {QStringLiteral("--out"), QStringLiteral("OUT")}},
      {QStringLiteral("export"), {QStringLiteral("--out"), QStringLiteral("OUT")}},
  };
  const QStringList noBackupArgument = {QStringLiteral("demo"), QStringLiteral("list")};
  const QStringList commands = listedCommands();
  ASSERT_FALSE(commands.isEmpty());
  QTemporaryDir outs;
  int n = 0;
  for (const QString& command : commands) {
    if (noBackupArgument.contains(command))
      continue;
    ASSERT_TRUE(howToRun.contains(command)) << "add a row for the new command " << qPrintable(command);
    for (const QString& backup : {Samples::plain, Samples::encrypted}) {
      SCOPED_TRACE(qPrintable(command + QLatin1Char(' ') + backup));
      const QByteArray before = fixture::folderChecksum(backup);
      QStringList args{command, backup};
      for (QString a : howToRun.value(command))
        args << (a == QLatin1String("OUT") ? QDir(outs.path()).filePath(QString::number(++n)) : a);
      if (backup == Samples::encrypted)
        args << QStringLiteral("--password") << kPassword;
      const Outcome r = sherd(args);
      EXPECT_FALSE(r.crashed);
      EXPECT_EQ(r.exitCode, 0) << r.err.constData();
      EXPECT_EQ(fixture::folderChecksum(backup), before);
    }
  }
}

TEST(Robustness, DamagedCopiesEndInAMessageNeverACrash) {
  // The files worth damaging: the manifests, the property lists and every
  // stored database (the stored files whose bytes start as SQLite's do).
  QStringList targets{QStringLiteral("Manifest.db"), QStringLiteral("Manifest.plist"), QStringLiteral("Info.plist"),
                      QStringLiteral("Status.plist")};
  QDirIterator it(Samples::plain, QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext()) {
    QFile f(it.next());
    if (f.open(QIODevice::ReadOnly) && f.read(15) == "SQLite format 3")
      targets << QDir(Samples::plain).relativeFilePath(f.fileName());
  }
  std::mt19937 random(20261125); // the same copies on every run
  const int copies = qEnvironmentVariableIntValue("SHERD_SWEEP_COPIES") > 0
                         ? qEnvironmentVariableIntValue("SHERD_SWEEP_COPIES")
                         : 60;
  QTemporaryDir work;
  for (int i = 0; i < copies; ++i) {
    const QString copy = QDir(work.path()).filePath(QStringLiteral("copy%1").arg(i));
    ASSERT_TRUE(copyTree(Samples::plain, copy));
    const QString target = targets.at(int(random() % unsigned(targets.size())));
    QFile f(QDir(copy).filePath(target));
    ASSERT_TRUE(f.open(QIODevice::ReadWrite));
    QByteArray bytes = f.readAll();
    QString damage;
    if (random() % 2 == 0 && !bytes.isEmpty()) {
      const int cut = int(random() % unsigned(bytes.size()));
      bytes.truncate(cut);
      damage = QStringLiteral("cut to %1 bytes").arg(cut);
    } else {
      const int flips = 1 + int(random() % 8);
      for (int k = 0; k < flips && !bytes.isEmpty(); ++k) {
        const int at = int(random() % unsigned(bytes.size()));
        bytes[at] = char(bytes.at(at) ^ (1 << (random() % 8)));
      }
      damage = QStringLiteral("%1 bits flipped").arg(flips);
    }
    f.resize(0);
    f.seek(0);
    f.write(bytes);
    f.close();
    SCOPED_TRACE(qPrintable(QStringLiteral("copy %1: %2 %3").arg(i).arg(target, damage)));
    const QByteArray before = fixture::folderChecksum(copy);
    const Outcome r = sherd({QStringLiteral("dump"), copy, QStringLiteral("--note-password"), QStringLiteral("sherd")});
    EXPECT_FALSE(r.crashed) << r.err.constData();
    EXPECT_TRUE(r.exitCode == 0 || r.exitCode == 2 || r.exitCode == 3) << r.exitCode << r.err.constData();
    if (r.exitCode == 0) {
      QJsonParseError error;
      QJsonDocument::fromJson(r.out, &error);
      EXPECT_EQ(error.error, QJsonParseError::NoError) << qPrintable(error.errorString());
    } else {
      EXPECT_FALSE(r.err.trimmed().isEmpty()) << "an exit without a message";
    }
    EXPECT_EQ(fixture::folderChecksum(copy), before) << "the damaged copy was changed";
    QDir(copy).removeRecursively();
  }
}

TEST(Robustness, AnInterruptedLoadLeavesNoTemporaryFolder) {
  QTemporaryDir temp;
  const QDir tempDir(temp.path());
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    SCOPED_TRACE(sig);
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("SHERD_TEMP"), temp.path());
    p.setProcessEnvironment(env);
    p.setStandardInputFile(QProcess::nullDevice());
    p.start(QStringLiteral(SHERD_EXE), {QStringLiteral("dump"), Samples::encrypted, QStringLiteral("--password"),
                                        kPassword});
    ASSERT_TRUE(p.waitForStarted());
    // The decrypted manifest is the first thing the load writes: wait for it.
    bool decrypting = false;
    for (int i = 0; i < 6000 && !decrypting && p.state() == QProcess::Running; ++i) {
      for (const QString& root : tempDir.entryList({QStringLiteral("sherd-*")}, QDir::Dirs))
        decrypting = decrypting || !QDir(tempDir.filePath(root)).isEmpty();
      if (!decrypting)
        p.waitForFinished(10);
    }
    ASSERT_TRUE(decrypting) << "the load ended before it wrote a temporary file";
    ::kill(pid_t(p.processId()), sig);
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitStatus(), QProcess::CrashExit); // ended by the signal
    EXPECT_TRUE(tempDir.entryList({QStringLiteral("sherd-*")}, QDir::Dirs).isEmpty())
        << qPrintable(tempDir.entryList().join(QLatin1Char(' ')));
  }
}
