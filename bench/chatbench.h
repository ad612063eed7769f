#pragma once
// The measure the chat-app load benches share: a bare SQLite scan of the
// app's SELECTs on its generated database, then the reader's load of the same
// file into a fresh registry, each load in a child process of its own so that
// its peak memory (getrusage) is its alone.
#include "bench/benchsupport.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"

#include <QFileInfo>
#include <QString>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <functional>
#include <vector>

namespace bench {

struct ChatLoadCase {
  const char* summaryName; // the line in make bench's table
  QString db;              // the database the bare scan reads
  std::vector<const char*> selects;
  int type;                                    // the OxBackup list the load fills
  std::function<void(OxBackup&)> load;         // the reader's whole load
  std::function<void()> rowsOnly = nullptr;    // optional: the reading of the rows alone
};

// values: load CPU s, load wall s, bare CPU s, bare wall s, peak RSS MiB,
// chats, messages, CPU s of the rows alone.
inline bool measureChatLoad(const ChatLoadCase& c, double (&values)[8]) {
  return inChild<8>(
      [&c](double* v) {
        bareScanAll(c.db, c.selects); // warm the page cache for both runs alike
        double cpu = cpuNow();
        double wall = wallNow();
        benchmark::DoNotOptimize(bareScanAll(c.db, c.selects));
        v[2] = cpuNow() - cpu;
        v[3] = wallNow() - wall;
        if (c.rowsOnly) {
          cpu = cpuNow();
          c.rowsOnly();
          v[7] = cpuNow() - cpu;
        }
        OxBackup registry;
        cpu = cpuNow();
        wall = wallNow();
        c.load(registry);
        v[0] = cpuNow() - cpu;
        v[1] = wallNow() - wall;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        v[4] = double(usage.ru_maxrss) / 1024.0;
        OxData* list = registry.getOxData(c.type);
        const int chats = list->count(OxData::CountRaw);
        v[5] = chats;
        double messages = 0;
        for (int i = 0; i < chats; ++i)
          messages += static_cast<OxWhatsappItem*>(list->at(i, false))->detailContent()->messages().size();
        v[6] = messages;
        return true;
      },
      values);
}

// The benchmark's loop over measureChatLoad, its counters and its summary line.
inline void runChatLoad(benchmark::State& state, const ChatLoadCase& c) {
  double v[8] = {};
  for (auto _ : state) {
    if (!measureChatLoad(c, v)) {
      state.SkipWithError("the load failed");
      return;
    }
    state.SetIterationTime(v[1]);
  }
  const double dbBytes = double(QFileInfo(c.db).size());
  summary(c.summaryName, v[0], v[2], v[4] * 1024.0 * 1024.0, dbBytes);
  state.counters["load_cpu_s"] = v[0];
  state.counters["bare_scan_cpu_s"] = v[2];
  state.counters["bare_scan_wall_s"] = v[3];
  state.counters["load_over_scan"] = v[2] > 0 ? v[0] / v[2] : 0;
  if (c.rowsOnly)
    state.counters["rows_only_cpu_s"] = v[7];
  state.counters["peak_MiB"] = v[4];
  state.counters["db_MiB"] = dbBytes / (1024.0 * 1024.0);
  state.counters["chats"] = v[5];
  state.counters["messages"] = v[6];
}

} // namespace bench
