// Cost of a WhatsApp load: a generated ChatStorage.sqlite of 1,000,000 and
// 2,000,000 messages in 2,000 chats (every tenth message a picture whose
// thumbnail is in the backup), loaded through WhatsappService::loadWhatsappOnly(0),
// beside a bare SQLite scan of the reader's five SELECTs on the same file.
//
// Each backup is written, and each load measured, in a child process of its
// own, so that the peak memory (getrusage) is the load's alone and the second
// size does not inherit the first one's heap.
#include "bench/benchsupport.h"
#include "model/oxdata.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "service/whatsappservice.h"
#include "samples/apps/whatsapp.h"
#include "samples/backupfixture.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>

namespace {
constexpr int kChats = 2000;

const char* const kSelects[] = {
    "select z_pk, zcontactabid, zsessiontype, zpartnername, zcontactjid, zremoved from zwachatsession "
    "where zhidden = 0 order by zlastmessagedate desc",
    "select z_pk, zcontactabid, zchatsession, zcontactname, zmemberjid from zwagroupmember",
    "select z_pk, zfilesize, zmovieduration, zmessage, zmedialocalpath, zmediaurl, zvcardname, zvcardstring, "
    "zxmppthumbpath, ztitle, zauthorname from zwamediaitem",
    "select z_pk, zgroupeventtype, zisfromme, zmessagestatus, zmessagetype, zchatsession, zgroupmember, zmediaitem, "
    "zparentmessage, zmessagedate, ztext, ztojid from zwamessage order by zchatsession, zsort",
    "select zjid, zpath from zwaprofilepictureitem",
};

// The generated backups, one per size, written once per run.
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
        if (files.isEmpty())
          return false;
        // The thumbnails of the pictures, as the generator names them.
        for (int m = 1; m <= messages / 10; ++m) {
          const qint64 partner = 49151000000LL + (qint64(m) * 10 - 1) % kChats + 1;
          files << fixture::whatsappMediaFile(
              QStringLiteral("Media/%1@s.whatsapp.net/%2/%3/%4.thumb").arg(partner).arg(m % 16).arg(m % 7).arg(m));
        }
        fixture::BackupPlan plan;
        QString error;
        if (!fixture::writeBackup(root().filePath(backupName(messages)), plan, files, &error)) {
          std::fprintf(stderr, "cannot write the benchmark backup: %s\n", qPrintable(error));
          return false;
        }
        return true;
      },
      unused);
}

// values: load CPU s, load wall s, bare scan CPU s, bare scan wall s, peak RSS MiB, chats, messages,
// database bytes.
bool measure(int messages, double (&values)[8]) {
  return bench::inChild<8>(
      [messages](double* v) {
        const QString folder = root().filePath(backupName(messages));
        const QString db = fixture::storedPath(folder, fixture::BackupPlan(), fixture::whatsappGroupDomain(),
                                               QStringLiteral("ChatStorage.sqlite"));
        // Warm the page cache for both runs alike.
        bench::bareScanAll(db, std::vector<const char*>(std::begin(kSelects), std::end(kSelects)));
        double cpu = bench::cpuNow();
        double wall = bench::wallNow();
        benchmark::DoNotOptimize(bench::bareScanAll(db, std::vector<const char*>(std::begin(kSelects), std::end(kSelects))));
        v[2] = bench::cpuNow() - cpu;
        v[3] = bench::wallNow() - wall;
        v[7] = bench::fileBytes({db});

        qputenv("SHERD_BACKUP_ROOT", root().path().toUtf8());
        WhatsappService service(backupName(messages), false);
        cpu = bench::cpuNow();
        wall = bench::wallNow();
        const bool opened = service.onBeginLoadWhatsappOnly();
        if (opened)
          service.loadWhatsappOnly(0);
        service.onEndLoadWhatsappOnly();
        if (!opened)
          return false;
        v[0] = bench::cpuNow() - cpu;
        v[1] = bench::wallNow() - wall;
        // The whole process's peak: it holds nothing but the load.
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        v[4] = double(usage.ru_maxrss) / 1024.0;
        OxData* list = service.getOxData(0);
        v[5] = list->count(OxData::CountRaw);
        v[6] = double(list->size(OxData::CountRaw));
        return true;
      },
      values);
}

std::map<int, double>& loadSeconds() {
  static std::map<int, double> s;
  return s;
}

void BM_WhatsappLoad(benchmark::State& state) {
  SherdLog::silence();
  // Made here, before any fork, so that every child writes into the same one.
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
      state.SkipWithError("the load failed");
      return;
    }
    state.SetIterationTime(v[1]);
  }
  loadSeconds()[messages] = v[0];
  state.counters["messages"] = messages;
  state.counters["chats"] = v[5];
  state.counters["load_cpu_s"] = v[0];
  state.counters["load_wall_s"] = v[1];
  state.counters["bare_scan_cpu_s"] = v[2];
  state.counters["bare_scan_wall_s"] = v[3];
  state.counters["ratio_to_scan"] = v[0] / v[2];
  state.counters["peak_rss_MiB"] = v[4];
  state.counters["db_MiB"] = v[7] / (1024.0 * 1024.0);
  state.counters["peak_over_db"] = v[4] * 1024.0 * 1024.0 / v[7];
  const QByteArray name = QStringLiteral("whatsapp %1M messages").arg(messages / 1000000).toUtf8();
  bench::summary(name.constData(), v[0], v[2], v[4] * 1024.0 * 1024.0, v[7]);
  if (loadSeconds().count(1000000) && messages == 2000000) {
    state.counters["ratio_to_1M"] = v[0] / loadSeconds()[1000000];
    bench::summary("whatsapp 2M against 1M", v[0], loadSeconds()[1000000], 0, 0);
  }
  QDir(root().filePath(backupName(messages))).removeRecursively();
}
} // namespace

BENCHMARK(BM_WhatsappLoad)->Arg(1000000)->Arg(2000000)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
