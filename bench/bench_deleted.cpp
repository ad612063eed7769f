// Recovery of deleted rows on a generated ChatStorage.sqlite of 100,000 and
// 200,000 messages in 2,000 chats, 5% of them deleted with secure_delete off:
// half scattered (every fortieth message: free blocks inside live pages),
// half one run of keys (whole pages: the freelist). Two stores per size:
//  - "rollback": written, then the deletion committed in the database file;
//  - "log": written and deleted in WAL mode, nothing checkpointed, so the
//    deleted rows live only in the log's older frames.
// Reported per store: recall (rows recovered exactly / deleted rows whose
// text is still in the files, found by searching their bytes), split into
// scattered and run rows; false rows (recovered records that are no deleted
// row, exactly); and the time of the WhatsApp reader's load with recovery
// beside the same load without it (the baseline, same run), as a ratio.
#include "bench/benchsupport.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/common/log.h"
#include "platform/sqlitecarve/sqlitecarver.h"
#include "readers/whatsapp/whatsappcollection.h"
#include "samples/apps/whatsapp.h"
#include "samples/sqlitefile.h"

#include <QFile>
#include <QHash>
#include <QSet>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>

namespace {
constexpr int kChats = 2000;

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

QString textOf(int n) { return QStringLiteral("Message %1, a few words as people write them").arg(n); }

bool exec(sqlite3* db, const QString& sql) {
  char* msg = nullptr;
  const bool ok = sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, &msg) == SQLITE_OK;
  if (!ok)
    std::fprintf(stderr, "bench_deleted: %s\n", msg ? msg : "?");
  sqlite3_free(msg);
  return ok;
}

// The deleted keys: every fortieth message, and one run of as many.
QVector<int> deletedKeys(int messages, int* runFrom, int* runTo) {
  const int run = messages / 40;
  *runFrom = messages / 2;
  *runTo = *runFrom + run;
  QVector<int> keys;
  for (int n = 7; n <= messages; n += 40) {
    if (n < *runFrom || n >= *runTo)
      keys << n;
  }
  for (int n = *runFrom; n < *runTo; ++n)
    keys << n;
  return keys;
}

// Writes the store (and, in WAL mode, its log, copied while the connection
// is open so that nothing is checkpointed). Answers the copy's path.
QString writeStore(int messages, bool wal, const QVector<int>& keys) {
  const QString live = root().filePath(QStringLiteral("live-%1-%2.sqlite").arg(messages).arg(wal));
  const QString copy = root().filePath(QStringLiteral("ChatStorage-%1-%2.sqlite").arg(messages).arg(wal));
  QFile::remove(live);
  QFile::remove(live + QStringLiteral("-wal"));
  sqlite3* db = nullptr;
  if (sqlite3_open(live.toUtf8().constData(), &db) != SQLITE_OK)
    return QString();
  bool ok = exec(db, QStringLiteral("PRAGMA secure_delete=off; PRAGMA synchronous=OFF"));
  if (wal)
    ok = ok && exec(db, QStringLiteral("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0"));
  ok = ok && exec(db, QStringLiteral("BEGIN"));
  for (const QString& s : fixture::whatsappSchema(false) + fixture::whatsappGeneratedInserts(messages, kChats, false))
    ok = ok && exec(db, s);
  ok = ok && exec(db, QStringLiteral("COMMIT"));
  // The deletions in a few hundred transactions, as an app deletes chats'
  // messages over time.
  for (int i = 0; ok && i < keys.size(); i += 50) {
    QStringList some;
    for (int k : keys.mid(i, 50))
      some << QString::number(k);
    ok = exec(db, QStringLiteral("DELETE FROM ZWAMESSAGE WHERE Z_PK IN (%1)").arg(some.join(',')));
  }
  for (const char* suffix : {"", "-wal"}) {
    QFile::remove(copy + QLatin1String(suffix));
    if (ok && QFile::exists(live + QLatin1String(suffix)))
      ok = QFile::copy(live + QLatin1String(suffix), copy + QLatin1String(suffix));
  }
  sqlite3_close(db);
  QFile::remove(live);
  QFile::remove(live + QStringLiteral("-wal"));
  return ok ? copy : QString();
}

QByteArray filesOf(const QString& path) {
  QByteArray bytes;
  for (const char* suffix : {"", "-wal"}) {
    QFile f(path + QLatin1String(suffix));
    if (f.open(QIODevice::ReadOnly))
      bytes += f.readAll();
  }
  return bytes;
}

// Seconds of one reader load of the store.
double loadSeconds(const QString& path, bool recover, int* items) {
  OxBackup registry;
  CWhatsappCollection reader;
  reader.setRecoverDeleted(recover);
  const double t0 = bench::cpuNow();
  reader.readDatabase(&registry, nullptr, path);
  const double t = bench::cpuNow() - t0;
  *items = registry.getWhatsappMsg()->count(0);
  return t;
}

void BM_DeletedRecall(benchmark::State& state) {
  SherdLog::silence();
  const int messages = int(state.range(0));
  const bool wal = state.range(1) != 0;
  int runFrom = 0, runTo = 0;
  const QVector<int> keys = deletedKeys(messages, &runFrom, &runTo);
  const QString path = writeStore(messages, wal, keys);
  if (path.isEmpty()) {
    state.SkipWithError("cannot write the store");
    return;
  }
  // Which deleted rows still have their bytes.
  const QByteArray bytes = filesOf(path);
  QHash<QString, int> deleted; // text -> key
  for (int k : keys)
    deleted.insert(textOf(k), k);
  int remainScattered = 0, remainRun = 0;
  for (int k : keys) {
    if (bytes.contains(textOf(k).toUtf8()))
      ++(k >= runFrom && k < runTo ? remainRun : remainScattered);
  }

  for (auto _ : state) {
    // Baseline and load with recovery, alternating, best of three each.
    double off = 1e9, on = 1e9;
    int offItems = 0, onItems = 0;
    for (int i = 0; i < 3; ++i) {
      off = std::min(off, loadSeconds(path, false, &offItems));
      on = std::min(on, loadSeconds(path, true, &onItems));
    }
    sqlitecarve::TableLayout layout;
    QString error;
    const double c0 = bench::cpuNow();
    const QVector<sqlitecarve::CarvedRecord> carved = sqlitecarve::carveTable(
        path, QStringLiteral("ZWAMESSAGE"),
        [&](sqlitecarve::TableLayout& t) {
          sqlitecarve::tuneForCoreData(t, path);
          layout = t;
        },
        &error);
    const double carveSeconds = bench::cpuNow() - c0;
    int exactScattered = 0, exactRun = 0, falseRows = 0;
    QSet<int> found;
    for (const sqlitecarve::CarvedRecord& r : carved) {
      const sqlitecarve::CarvedRow row(layout, r);
      const int k = deleted.value(row.text(QStringLiteral("ZTEXT")), 0);
      const bool exact = k > 0 && !found.contains(k) && (!r.hasRowid || r.rowid == k) &&
                         row.integer(QStringLiteral("ZCHATSESSION")) == (k - 1) % kChats + 1 &&
                         row.integer(QStringLiteral("ZISFROMME")) == k % 2 &&
                         row.real(QStringLiteral("ZMESSAGEDATE")) == 700000000 + k * 0.5 &&
                         row.integer(QStringLiteral("ZSORT")) == (k - 1) / kChats + 1;
      if (!exact) {
        // An older version of a live row is no false row; anything else is.
        if (!r.rowidLive && !(k > 0 && found.contains(k)))
          ++falseRows;
        continue;
      }
      found.insert(k);
      ++(k >= runFrom && k < runTo ? exactRun : exactScattered);
    }
    state.SetIterationTime(on);
    state.counters["deleted"] = keys.size();
    state.counters["remain_scattered"] = remainScattered;
    state.counters["remain_run"] = remainRun;
    state.counters["recall_scattered"] = remainScattered ? double(exactScattered) / remainScattered : 0;
    state.counters["recall_run"] = remainRun ? double(exactRun) / remainRun : 0;
    state.counters["false_rows"] = falseRows;
    state.counters["load_s"] = off;
    state.counters["load_recover_s"] = on;
    state.counters["ratio"] = off > 0 ? on / off : 0;
    state.counters["carve_s_per_MiB"] = carveSeconds / (double(bytes.size()) / 1048576.0);
    state.counters["items_added"] = onItems - offItems;
    std::printf("| %s %d | %d | %d/%d | %d/%d | %d | %.2f s | %.2f s | %.2f | %.3f s/MiB (%.1f MiB) |\n",
                wal ? "log" : "rollback", messages, int(keys.size()), exactScattered, remainScattered, exactRun,
                remainRun, falseRows, off, on, off > 0 ? on / off : 0.0,
                carveSeconds / (double(bytes.size()) / 1048576.0), double(bytes.size()) / 1048576.0);
  }
  QFile::remove(path);
  QFile::remove(path + QStringLiteral("-wal"));
}
} // namespace

BENCHMARK(BM_DeletedRecall)
    ->Args({100000, 0})
    ->Args({200000, 0})
    ->Args({100000, 1})
    ->Args({200000, 1})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

BENCHMARK_MAIN();
