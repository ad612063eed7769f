// Cost of an export beside the load it follows: the generated WhatsApp backup
// of 1,000,000 and 2,000,000 messages in 2,000 chats (every tenth message a
// picture whose thumbnail is in the backup), loaded through WhatsappService,
// then exported in every format (HTML pages of 5,000 messages, text
// transcripts, sherd.json, the pictures copied out).
//
// Load and export run in one child process per size: the export's time is set
// beside the load's of the same run (goal: at most twice), and its memory as
// the growth of the peak RSS over the load's peak (goal: at most 100 MB, as
// every document is streamed).
//
// Also the cost of `sherd dump` beside `sherd scan` on 200,000 messages: the
// same load (what scan does), then the dump's JSON document written to a file,
// paths named as the command line names them. Goal: load and dump together at
// most 1.3 times the load alone.
#include "bench/benchsupport.h"
#include "export/dumpwriter.h"
#include "export/exporter.h"
#include "export/jsonwriter.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "samples/apps/whatsapp.h"
#include "samples/backupfixture.h"
#include "service/whatsappservice.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdio>
#include <map>

namespace {
constexpr int kChats = 2000;

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

QString backupName(int messages) { return QStringLiteral("wa%1").arg(messages); }

bool writeGeneratedBackup(int messages) {
  double unused[1];
  return bench::inChild<1>(
      [messages](double*) {
        QList<fixture::StoredFile> files = fixture::whatsappDbFilesFrom(
            fixture::whatsappSchema(false) + fixture::whatsappGeneratedInserts(messages, kChats, true));
        for (int m = 1; m <= messages / 10; ++m) {
          const qint64 partner = 49151000000LL + (qint64(m) * 10 - 1) % kChats + 1;
          files << fixture::whatsappMediaFile(
              QStringLiteral("Media/%1@s.whatsapp.net/%2/%3/%4.thumb").arg(partner).arg(m % 16).arg(m % 7).arg(m));
        }
        QString error;
        return !files.isEmpty() &&
               fixture::writeBackup(root().filePath(backupName(messages)), fixture::BackupPlan(), files, &error);
      },
      unused);
}

double peakMiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_maxrss) / 1024.0;
}

// Opens the generated backup the service names and loads its WhatsApp list,
// as a host does; false when the backup does not open.
bool loadWhatsapp(WhatsappService& service) {
  const bool opened = service.onBeginLoadWhatsappOnly();
  if (opened)
    service.loadWhatsappOnly(OxBackup::WhatsApp);
  service.onEndLoadWhatsappOnly();
  return opened;
}

// values: load CPU s, load wall s, load peak MiB, export CPU s, export wall s, export peak MiB, files, items.
bool measure(int messages, double (&v)[8]) {
  return bench::inChild<8>(
      [messages](double* v) {
        qputenv("SHERD_BACKUP_ROOT", root().path().toUtf8());
        WhatsappService service(backupName(messages), false);
        double cpu = bench::cpuNow();
        double wall = bench::wallNow();
        if (!loadWhatsapp(service))
          return false;
        v[0] = bench::cpuNow() - cpu;
        v[1] = bench::wallNow() - wall;
        v[2] = peakMiB();

        ExportOptions options;
        options.outputFolder = root().filePath(backupName(messages) + QStringLiteral("-export"));
        options.types = {0};
        cpu = bench::cpuNow();
        wall = bench::wallNow();
        const ExportSummary summary = CExporter(service.backupRegistry(), service.openedBackup()).run(options);
        v[3] = bench::cpuNow() - cpu;
        v[4] = bench::wallNow() - wall;
        v[5] = peakMiB();
        v[6] = summary.files() + summary.duplicates();
        v[7] = summary.items();
        QDir(options.outputFolder).removeRecursively();
        return summary.outcome == ExportSummary::Finished;
      },
      v);
}

std::map<int, double>& exportSeconds() {
  static std::map<int, double> s;
  return s;
}

void BM_WhatsappExport(benchmark::State& state) {
  SherdLog::silence();
  if (!root().isValid()) {
    state.SkipWithError("no temporary folder");
    return;
  }
  const int messages = int(state.range(0));
  if (!writeGeneratedBackup(messages)) {
    state.SkipWithError("cannot write the backup");
    return;
  }
  double v[8] = {};
  for (auto _ : state) {
    if (!measure(messages, v)) {
      state.SkipWithError("the load or the export failed");
      return;
    }
    state.SetIterationTime(v[4]);
  }
  exportSeconds()[messages] = v[3];
  state.counters["messages"] = messages;
  state.counters["chats"] = v[7];
  state.counters["media_refs"] = v[6];
  state.counters["load_cpu_s"] = v[0];
  state.counters["export_cpu_s"] = v[3];
  state.counters["export_wall_s"] = v[4];
  state.counters["ratio_to_load"] = v[3] / v[0];
  state.counters["load_peak_MiB"] = v[2];
  state.counters["export_peak_growth_MiB"] = v[5] - v[2];
  if (exportSeconds().count(1000000) && messages == 2000000)
    state.counters["ratio_to_1M"] = v[3] / exportSeconds()[1000000];
  QDir(root().filePath(backupName(messages))).removeRecursively();
}

// values: load CPU s, dump CPU s, dump bytes.
bool measureDump(int messages, double (&v)[3]) {
  return bench::inChild<3>(
      [messages](double* v) {
        qputenv("SHERD_BACKUP_ROOT", root().path().toUtf8());
        WhatsappService service(backupName(messages), false);
        double cpu = bench::cpuNow();
        if (!loadWhatsapp(service))
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
          w.setPathNamer(DumpWriter::sourcePathNamer(backup));
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
  const int messages = int(state.range(0));
  if (!root().isValid() || !writeGeneratedBackup(messages)) {
    state.SkipWithError("cannot write the backup");
    return;
  }
  double v[3] = {};
  for (auto _ : state) {
    if (!measureDump(messages, v)) {
      state.SkipWithError("the load or the dump failed");
      return;
    }
  }
  state.counters["scan_cpu_s"] = v[0];
  state.counters["dump_writer_cpu_s"] = v[1];
  state.counters["dump_MiB"] = v[2] / (1024.0 * 1024.0);
  state.counters["dump_to_scan"] = (v[0] + v[1]) / v[0];
  bench::summary("dump beside scan, WhatsApp 200k", v[0] + v[1], v[0], 0, 0);
  QDir(root().filePath(backupName(messages))).removeRecursively();
}
} // namespace

BENCHMARK(BM_DumpBesideScan)->Arg(200000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_WhatsappExport)->Arg(1000000)->Arg(2000000)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
