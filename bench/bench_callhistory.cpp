// Loading the call list: 100,000 calls named from a contact map of 20,000
// entries (the host's map, or the backup's own address book), beside a bare
// SQLite scan of the same rows. The name of each call is found through the
// index of number endings; the walk over the whole map that the index
// replaces is timed on a slice of the calls for comparison.
#include "bench/benchsupport.h"
#include "model/oxdata.h"
#include "readers/ios/callhistory/calllistcollection.h"
#include "readers/ios/callhistory/contactnameindex.h"
#include "samples/apps/callhistory.h"
#include "samples/sqlitefile.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

#include <random>

namespace {
const int kCalls = 100000;
const int kContacts = 20000;

struct Data {
  QTemporaryDir dir;
  QString store;
  QString book;
  QMap<QString, QString> contacts;
  QStringList numbers; // of the calls
};

QString digits(std::mt19937& rng, int n) {
  QString s;
  for (int i = 0; i < n; ++i)
    s += QChar(ushort('0' + rng() % 10));
  return s;
}

const Data& data() {
  // Destroyed at exit, which removes its temporary folder.
  static const std::unique_ptr<Data> d([] {
    auto* d = new Data;
    std::mt19937 rng(2024);
    QStringList known;
    QList<fixture::Contact> book;
    for (int i = 0; i < kContacts; ++i) {
      const QString national = QStringLiteral("919") + digits(rng, 7);
      known << national;
      // The map holds numbers as cards spell them; calls carry the country code.
      const QString key = i % 2 ? QStringLiteral("%1-%2-%3").arg(national.left(3), national.mid(3, 3), national.mid(6))
                                : QStringLiteral("+1 ") + national;
      d->contacts.insert(key, QStringLiteral("Contact %1").arg(i));
      book << fixture::Contact{
          i + 1,
          QStringLiteral("First%1").arg(i),
          QStringLiteral("Last"),
          QString(),
          {QStringLiteral("(%1) %2-%3").arg(national.left(3), national.mid(3, 3), national.mid(6))},
          {}};
    }
    QList<fixture::StoredCall> calls;
    for (int i = 0; i < kCalls; ++i) {
      fixture::StoredCall c;
      c.pk = i + 1;
      c.date = 600000000 + i * 37;
      c.originated = int(rng() % 2);
      c.answered = int(rng() % 2);
      c.duration = double(rng() % 600);
      // Two calls in three from a contact, the rest from unknown numbers.
      c.address =
          rng() % 3 ? QStringLiteral("+1") + known.at(int(rng() % kContacts)) : QStringLiteral("+1") + digits(rng, 10);
      c.location = QStringLiteral("Raleigh, NC");
      d->numbers << c.address;
      calls << c;
    }
    d->store = d->dir.filePath(QStringLiteral("CallHistory.storedata"));
    fixture::writeSqliteFile(d->store, fixture::callHistoryStatements(calls), nullptr);
    d->book = d->dir.filePath(QStringLiteral("AddressBook.sqlitedb"));
    fixture::writeSqliteFile(d->book, fixture::addressBookStatements(book), nullptr);
    return d;
  }());
  return *d;
}

// The rows and columns the reader reads, with nothing done to them.
qint64 bareScan(const Data& d) {
  return bench::bareScanBytes(d.store, "select zanswered, zcalltype, zface_time_data, zoriginated, zdate, zduration, "
                                       "zaddress, ziso_country_code, zname, z_pk, zservice_provider from zcallrecord "
                                       "order by zdate desc");
}

void BM_BareSqliteScan(benchmark::State& state) {
  const Data& d = data();
  for (auto _ : state)
    benchmark::DoNotOptimize(bareScan(d));
  state.SetItemsProcessed(state.iterations() * kCalls);
}

// The load beside the bare scan of the same rows, both timed here; with the
// argument 0 the deleted calls are not looked for (the bare scan reads only
// the live rows, the recovery also the store's free pages).
void BM_LoadWithHostContactMap(benchmark::State& state) {
  const Data& d = data();
  const bool recover = state.range(0) != 0;
  double load = 0, scan = 0, peak = 0;
  for (auto _ : state) {
    double t = bench::cpuNow();
    benchmark::DoNotOptimize(bareScan(d));
    scan += bench::cpuNow() - t;
    bench::resetPeak();
    const double before = bench::peakBytes();
    t = bench::cpuNow();
    {
      OxData list(10);
      CCalllistCollection collection(&list, d.contacts, {});
      collection.setRecoverDeleted(recover);
      collection.loadStore(d.store);
      if (list.count(0) != kCalls)
        state.SkipWithError("wrong count");
      load += bench::cpuNow() - t;
      peak = bench::peakBytes() - before;
    }
  }
  const double n = double(state.iterations());
  state.counters["load_cpu_s"] = load / n;
  state.counters["bare_scan_cpu_s"] = scan / n;
  state.counters["ratio_to_scan"] = load / scan;
  bench::summary(recover ? "calls 100k" : "calls 100k, live rows only", load / n, scan / n, peak,
                 bench::fileBytes({d.store}));
  state.SetItemsProcessed(state.iterations() * kCalls);
}

void BM_LoadWithAddressBook(benchmark::State& state) {
  const Data& d = data();
  for (auto _ : state) {
    OxData list(10);
    CCalllistCollection collection(&list, {}, {});
    collection.loadAddressBook(d.book);
    collection.loadStore(d.store);
    if (list.count(0) != kCalls)
      state.SkipWithError("wrong count");
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

// Name lookups alone: the index against a walk over every key, per call.
void BM_NameLookupIndex(benchmark::State& state) {
  const Data& d = data();
  const CContactNameIndex index(d.contacts);
  int i = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(index.find(d.numbers.at(i++ % kCalls)));
  state.SetItemsProcessed(state.iterations());
}

void BM_NameLookupWalk(benchmark::State& state) {
  const Data& d = data();
  int i = 0;
  for (auto _ : state) {
    const QString number = CContactNameIndex::prepare(d.numbers.at(i++ % kCalls), false);
    QString name;
    for (auto it = d.contacts.constBegin(); it != d.contacts.constEnd(); ++it) {
      const QString key = CContactNameIndex::prepare(it.key(), false);
      if (key.size() > 5 && number.size() > 5 && (key.endsWith(number) || number.endsWith(key))) {
        name = it.value();
        break;
      }
    }
    benchmark::DoNotOptimize(name);
  }
  state.SetItemsProcessed(state.iterations());
}
} // namespace

BENCHMARK(BM_BareSqliteScan)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadWithHostContactMap)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadWithAddressBook)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NameLookupIndex)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NameLookupWalk)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
