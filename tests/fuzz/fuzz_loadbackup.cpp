// libFuzzer target: a whole load of the sample backup in which one app
// database is the fuzzer's input. The first byte picks the database (in the
// sample's file order); the rest replaces its stored bytes. Every reader, the
// copy-out of the database and the dispatcher run as in a real load.
#include "samples/backupfixture.h"
#include "samples/samplebackup.h"
#include "service/whatsappservice.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace {
struct Sample {
  QTemporaryDir dir;
  QString folder;
  QStringList databases; // stored paths of the app databases
  Sample() {
    folder = QDir(dir.path()).filePath(QStringLiteral("00008030-001A2B3C4D5E802E"));
    QString error;
    if (!fixture::writeSampleBackup(folder, QString(), &error))
      return;
    const fixture::BackupPlan plan;
    for (const fixture::StoredFile& f : fixture::sampleFiles()) {
      if (f.kind != fixture::StoredFile::File || !f.data.startsWith("SQLite format 3"))
        continue;
      databases << fixture::storedPath(folder, plan, f.domain, f.relativePath);
    }
  }
};

Sample& sample() {
  static Sample s;
  return s;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  static QCoreApplication app(*argc, *argv); // QImage and friends want one
  sample();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Sample& s = sample();
  if (size < 1 || s.databases.isEmpty())
    return 0;
  const QString target = s.databases.at(data[0] % s.databases.size());
  QFile f(target);
  if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
    return 0;
  f.write(reinterpret_cast<const char*>(data) + 1, qint64(size - 1));
  f.close();
  WhatsappService service(s.folder, false);
  service.loadWhatsappOnly();
  return 0;
}
