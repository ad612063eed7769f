// Cost of the Kik and Line loads: generated kik.sqlite and Line.sqlite of
// 500,000 messages in 1,000 chats, read and built into chat items by the
// readers' collections, beside a bare SQLite scan of the readers' SELECTs on
// the same file.
//
// Each load is measured in a child process of its own, so that the peak
// memory (getrusage) is that load's alone.
#include "bench/benchsupport.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/messengers/kik/kikcollection.h"
#include "readers/messengers/line/linecollection.h"
#include "samples/apps/kik.h"
#include "samples/apps/line.h"

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
#include <vector>

namespace {
constexpr int kChats = 1000;
constexpr int kMessages = 500000;

const std::vector<const char*> kKikSelects = {
    "select z_pk, zdisplayname, zjid from zkikuser",
    "select z_3chat, z_5messages from z_3messages order by z_5messages",
    "select z_pk, zuser from zkikchat",
    "select z_6membersinverse, z_6members from z_6members",
    "select ztype, zmessage, zcontent from zkikattachment",
    "select z_pk, ztype, zstate, zflags, zuser, ztimestamp, zbody from zkikmessage order by ztimestamp",
};
const std::vector<const char*> kLineSelects = {
    "select z_pk, zmid, zname from zuser",
    "select zid, zname from zgroup",
    "select z_pk, zmid, zlastmessage from zchat",
    "select zid, zsender, zsendstatus, zcontenttype, zchat, ztimestamp, ztext, zlongitude from zmessage "
    "order by ztimestamp",
    "select z_1chats, z_12members from z_1members",
};

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

enum App { Kik, Line };

// values: load CPU s, load wall s, bare CPU s, bare wall s, peak RSS MiB, chats, messages.
bool measure(App app, const QString& db, double (&values)[7]) {
  return bench::inChild<7>(
      [app, db](double* v) {
        const std::vector<const char*>& selects = app == Kik ? kKikSelects : kLineSelects;
        bench::bareScanAll(db, selects); // warm the page cache for both runs alike
        double cpu = bench::cpuNow();
        double wall = bench::wallNow();
        benchmark::DoNotOptimize(bench::bareScanAll(db, selects));
        v[2] = bench::cpuNow() - cpu;
        v[3] = bench::wallNow() - wall;

        OxBackup registry;
        cpu = bench::cpuNow();
        wall = bench::wallNow();
        if (app == Kik) {
          CKikCollection kik;
          kik.readDatabase(&registry, nullptr, db);
        } else {
          CLineCollection line;
          line.readDatabase(&registry, nullptr, db);
        }
        v[0] = bench::cpuNow() - cpu;
        v[1] = bench::wallNow() - wall;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        v[4] = double(usage.ru_maxrss) / 1024.0;
        OxData* list = app == Kik ? registry.getKikMsg() : registry.getLineMsg();
        v[5] = list->count(OxData::CountRaw);
        double messages = 0;
        for (int i = 0; i < list->count(OxData::CountRaw); ++i)
          messages += static_cast<OxWhatsappItem*>(list->at(i, false))->detailContent()->messages().size();
        v[6] = messages;
        return true;
      },
      values);
}

void BM_Load(benchmark::State& state, App app) {
  SherdLog::silence();
  const QString db = root().filePath(app == Kik ? QStringLiteral("kik.sqlite") : QStringLiteral("Line.sqlite"));
  QString error;
  const bool written = app == Kik ? fixture::writeKikDatabase(db, kChats, kMessages, &error)
                                  : fixture::writeLineDatabase(db, kChats, kMessages, &error);
  if (!written) {
    state.SkipWithError(qPrintable(error));
    return;
  }
  double v[7] = {};
  for (auto _ : state) {
    if (!measure(app, db, v)) {
      state.SkipWithError("the load failed");
      return;
    }
    state.SetIterationTime(v[1]);
  }
  bench::summary(app == Kik ? "kik 500k messages" : "line 500k messages", v[0], v[2], v[4] * 1024.0 * 1024.0,
                 bench::fileBytes({db}));
  state.counters["load_cpu_s"] = v[0];
  state.counters["bare_scan_cpu_s"] = v[2];
  state.counters["bare_scan_wall_s"] = v[3];
  state.counters["load_over_scan"] = v[2] > 0 ? v[0] / v[2] : 0;
  state.counters["peak_MiB"] = v[4];
  state.counters["chats"] = v[5];
  state.counters["messages"] = v[6];
}
} // namespace

BENCHMARK_CAPTURE(BM_Load, kik, Kik)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Load, line, Line)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
