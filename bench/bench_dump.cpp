// Cost of `sherd dump` beside `sherd scan`: the generated WhatsApp backup of
// 200,000 messages in 2,000 chats (every tenth message a picture), loaded
// through WhatsappService (what scan does), then written as the dump's JSON
// document to a file, paths named as the command line names them. Goal: load
// and dump together at most 1.3 times the load alone, that is the writer at
// most 0.3 of the load. Both run in one child process, so the heap and the
// peak memory are the run's own.
#include "bench/benchsupport.h"
#include "export/dumpwriter.h"
#include "export/jsonwriter.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "samples/apps/whatsapp.h"
#include "samples/backupfixture.h"
#include "service/whatsappservice.h"

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {
constexpr int kChats = 2000;
constexpr int kMessages = 200000;

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

const char kName[] = "dumpwa";

bool writeGeneratedBackup() {
  double unused[1];
  return bench::inChild<1>(
      [](double*) {
        QList<fixture::StoredFile> files = fixture::whatsappDbFilesFrom(
            fixture::whatsappSchema(false) + fixture::whatsappGeneratedInserts(kMessages, kChats, true));
        for (int m = 1; m <= kMessages / 10; ++m) {
          const qint64 partner = 49151000000LL + (qint64(m) * 10 - 1) % kChats + 1;
          files << fixture::whatsappMediaFile(
              QStringLiteral("Media/%1@s.whatsapp.net/%2/%3/%4.thumb").arg(partner).arg(m % 16).arg(m % 7).arg(m));
        }
        QString error;
        return !files.isEmpty() &&
               fixture::writeBackup(root().filePath(QString::fromLatin1(kName)), fixture::BackupPlan(), files, &error);
      },
      unused);
}

// values: load CPU s, dump CPU s, dump bytes.
bool measure(double (&v)[3]) {
  return bench::inChild<3>(
      [](double* v) {
        qputenv("SHERD_BACKUP_ROOT", root().path().toUtf8());
        WhatsappService service(QString::fromLatin1(kName), false);
        double cpu = bench::cpuNow();
        const bool opened = service.onBeginLoadWhatsappOnly();
        if (opened)
          service.loadWhatsappOnly(0);
        service.onEndLoadWhatsappOnly();
        if (!opened)
          return false;
        v[0] = bench::cpuNow() - cpu;

        const QString out = root().filePath(QStringLiteral("dump.json"));
        FILE* f = std::fopen(out.toUtf8().constData(), "w");
        if (!f)
          return false;
        cpu = bench::cpuNow();
        {
          JsonWriter w(f);
          MobileBackup* backup = service.openedBackup();
          const QString temp = Utils::tempPath();
          w.setPathNamer([backup, temp](const QString& path) {
            const int index = backup->indexOfLocalPath(path);
            if (index >= 0) {
              const BackupFileRecord record = backup->fileAt(index);
              return QStringLiteral("backup:%1/%2").arg(record.domain, record.relativePath);
            }
            return path.startsWith(temp) ? QStringLiteral("$TEMP/") + path.mid(temp.size()) : path;
          });
          DumpWriter dump(w);
          dump.begin(backup->path(), {});
          OxData* list = service.backupRegistry()->getOxData(0);
          QList<OxAbstractItem*> items;
          for (int row = 0; row < list->count(OxData::CountRaw); ++row)
            items << list->at(row, false);
          dump.writeList(0, QStringLiteral("WhatsApp"), *list, items);
          dump.end();
        }
        v[1] = bench::cpuNow() - cpu;
        v[2] = double(std::ftell(f));
        std::fclose(f);
        QFile::remove(out);
        return true;
      },
      v);
}

void BM_DumpBesideScan(benchmark::State& state) {
  SherdLog::silence();
  if (!root().isValid() || !writeGeneratedBackup()) {
    state.SkipWithError("cannot write the backup");
    return;
  }
  double v[3] = {};
  for (auto _ : state) {
    if (!measure(v)) {
      state.SkipWithError("the load or the dump failed");
      return;
    }
  }
  state.counters["scan_cpu_s"] = v[0];
  state.counters["dump_writer_cpu_s"] = v[1];
  state.counters["dump_MiB"] = v[2] / (1024.0 * 1024.0);
  state.counters["dump_to_scan"] = (v[0] + v[1]) / v[0];
  bench::summary("dump beside scan, WhatsApp 200k", v[0] + v[1], v[0], 0, 0);
  QDir(root().filePath(QString::fromLatin1(kName))).removeRecursively();
}
} // namespace

BENCHMARK(BM_DumpBesideScan)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_MAIN();
