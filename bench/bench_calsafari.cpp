// Loading the calendar and the browser history: a calendar of 50,000 events
// (one in five with two alarms) and a history of 200,000 visits, each beside a
// bare SQLite scan of the same statement, with the heap a load holds.
// Appending 200,000 history items into the Safari list is timed at two sizes
// and in two arrival orders: the list keeps its order in O(n log n).
#include "bench/benchsupport.h"
#include "model/oxdata.h"
#include "model/oxsafaribookmarkitem.h"
#include "platform/common/log.h"
#include "readers/ios/calendar/calendarcollection.h"
#include "readers/ios/safari/bookmarkcollection.h"
#include "samples/apps/calendar.h"
#include "samples/apps/safari.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <malloc.h>
#include <memory>
#include <random>

namespace {
const int kEvents = 50000;
const int kVisits = 200000;

const char* const kCalendarSelect =
    "select ci.summary, location.title as location, ci.description, ci.start_date, ci.end_date, ci.url, "
    "ci.start_tz, ci.all_day, c.title as calendartitle, rc.end_date as rcenddate, rc.frequency as rcfrequency, "
    "rc.interval as rcinterval, se.name as storename, c.color as calendarcolor, alarm.trigger_interval as trigger, "
    "rc.specifier as specifier, alarm.calendaritem_owner_id as triggerid from calendaritem as ci left join location "
    "on ci.location_id = location.rowid left join recurrence as rc on ci.rowid = rc.owner_id left join calendar as "
    "c on ci.calendar_id = c.rowid left join Alarm as alarm on ci.rowid = alarm.calendaritem_owner_id left join "
    "store as se on c.store_id = se.rowid where (4 = c.supported_entity_types) or (0 = c.supported_entity_types "
    "and ci.end_date not null) order by ci.start_date asc";
const char* const kHistorySelect =
    "select title, url, visit_time from history_items as items inner join history_visits as visits on items.id = "
    "visits.history_item order by title desc";

struct Data {
  QTemporaryDir dir;
  QString calendar;
  QString history;
};

// The statements carry their own transactions.
void writeDb(const QString& path, const QStringList& statements) {
  sqlite3* db = nullptr;
  sqlite3_open(path.toUtf8().constData(), &db);
  for (const QString& s : statements)
    sqlite3_exec(db, s.toUtf8().constData(), nullptr, nullptr, nullptr);
  sqlite3_close(db);
}

const Data& data() {
  // Destroyed at exit, which removes its temporary folder.
  static const std::unique_ptr<Data> d([] {
    SherdLog::silence();
    auto* d = new Data;
    std::mt19937 rng(7);
    QList<fixture::CalendarEvent> events;
    for (int i = 0; i < kEvents; ++i) {
      fixture::CalendarEvent e;
      e.summary = QStringLiteral("Event %1").arg(i);
      e.location = i % 3 ? QString() : QStringLiteral("Room %1").arg(i % 40);
      e.description = QStringLiteral("Notes of event %1").arg(i);
      const double start = 600000000.0 + double(rng() % 100000000);
      e.start = QString::number(start, 'f', 0);
      e.end = QString::number(start + 3600, 'f', 0);
      e.calendarId = 1 + i % 3;
      if (i % 5 == 0)
        e.alarms = QStringList{QStringLiteral("-900"), QStringLiteral("-86400")};
      if (i % 7 == 0) {
        e.frequency = 2;
        e.specifier = QStringLiteral("D=0MO");
      }
      events << e;
    }
    d->calendar = d->dir.filePath(QStringLiteral("Calendar.sqlitedb"));
    writeDb(d->calendar, fixture::calendarStatements(
                             {{1, QStringLiteral("Default")}, {2, QStringLiteral("iCloud")}},
                             {{1, 1, QStringLiteral("Calendar"), QStringLiteral("#CC73E1"), 0},
                              {2, 2, QStringLiteral("Home"), QStringLiteral("#34AADC"), 4},
                              {3, 2, QStringLiteral("Work"), QStringLiteral("#FF2968"), 4}},
                             events));
    QList<fixture::SafariVisit> visits;
    visits.reserve(kVisits);
    for (int i = 0; i < kVisits; ++i) {
      const int page = int(rng() % 40000);
      visits.append({QStringLiteral("https://site%1.example/page/%2").arg(page % 3000).arg(page),
                     page % 10 ? QStringLiteral("Page %1 of site %2").arg(page).arg(page % 3000) : QString(),
                     500000000.0 + i * 13.5});
    }
    d->history = d->dir.filePath(QStringLiteral("History.db"));
    writeDb(d->history, fixture::historyStatements(visits));
    return d;
  }());
  return *d;
}

// Heap bytes in use, in MiB. Resident-set figures would hide a load's memory
// here: the heap freed after building the databases is reused.
double heapMiB() {
  const struct mallinfo2 m = mallinfo2();
  return double(m.uordblks + m.hblkhd) / (1024.0 * 1024.0);
}

void BM_CalendarBareScan(benchmark::State& state) {
  const Data& d = data();
  for (auto _ : state)
    benchmark::DoNotOptimize(bench::bareScanBytes(d.calendar, kCalendarSelect));
  state.SetItemsProcessed(state.iterations() * kEvents);
}

void BM_CalendarLoad(benchmark::State& state) {
  const Data& d = data();
  double held = 0, load = 0, scan = 0, peak = 0;
  for (auto _ : state) {
    double t = bench::cpuNow();
    benchmark::DoNotOptimize(bench::bareScanBytes(d.calendar, kCalendarSelect));
    scan += bench::cpuNow() - t;
    bench::resetPeak();
    const double peakBefore = bench::peakBytes();
    const double before = heapMiB();
    t = bench::cpuNow();
    OxData list(8);
    {
      CCalendarQuery query(&list);
      query.query(QStringList{d.calendar}, nullptr);
    }
    load += bench::cpuNow() - t;
    peak = bench::peakBytes() - peakBefore;
    held = heapMiB() - before;
    if (list.count(0) != kEvents)
      state.SkipWithError("wrong count");
  }
  const double n = double(state.iterations());
  state.counters["load_cpu_s"] = load / n;
  state.counters["bare_scan_cpu_s"] = scan / n;
  state.counters["ratio_to_scan"] = load / scan;
  bench::summary("calendar 50k events", load / n, scan / n, peak, bench::fileBytes({d.calendar}));
  state.counters["list_heap_MiB"] = held;
  state.SetItemsProcessed(state.iterations() * kEvents);
}

void BM_HistoryBareScan(benchmark::State& state) {
  const Data& d = data();
  for (auto _ : state)
    benchmark::DoNotOptimize(bench::bareScanBytes(d.history, kHistorySelect));
  state.SetItemsProcessed(state.iterations() * kVisits);
}

void BM_HistoryLoad(benchmark::State& state) {
  const Data& d = data();
  double peak = 0;
  double held = 0, load = 0, scan = 0, rss = 0;
  for (auto _ : state) {
    double t = bench::cpuNow();
    benchmark::DoNotOptimize(bench::bareScanBytes(d.history, kHistorySelect));
    scan += bench::cpuNow() - t;
    bench::resetPeak();
    const double rssBefore = bench::peakBytes();
    const double before = heapMiB();
    t = bench::cpuNow();
    OxData list(9);
    {
      // The visits and the items are both alive at the end of the load: the peak.
      HistoryQuery query;
      query.query(QStringList{d.history}, nullptr);
      query.appendItems(&list);
      peak = heapMiB() - before;
    }
    load += bench::cpuNow() - t;
    rss = bench::peakBytes() - rssBefore;
    held = heapMiB() - before;
    if (list.count(0) != kVisits)
      state.SkipWithError("wrong count");
  }
  const double n = double(state.iterations());
  state.counters["load_cpu_s"] = load / n;
  state.counters["bare_scan_cpu_s"] = scan / n;
  state.counters["ratio_to_scan"] = load / scan;
  bench::summary("safari history 200k visits", load / n, scan / n, rss, bench::fileBytes({d.history}));
  state.counters["peak_heap_MiB"] = peak;
  state.counters["list_heap_MiB"] = held;
  state.SetItemsProcessed(state.iterations() * kVisits);
}

// Appending n history items whose titles arrive ascending, descending or
// shuffled: with an ordered insert each costs O(log n), so doubling n a
// little more than doubles the time.
void BM_SafariAppend(benchmark::State& state) {
  const int n = int(state.range(0));
  const int order = int(state.range(1)); // 0 ascending, 1 descending, 2 shuffled
  QStringList titles;
  titles.reserve(n);
  for (int i = 0; i < n; ++i)
    titles << QStringLiteral("Page %1").arg(i, 7, 10, QLatin1Char('0'));
  if (order == 1)
    std::reverse(titles.begin(), titles.end());
  if (order == 2)
    std::shuffle(titles.begin(), titles.end(), std::mt19937(3));
  for (auto _ : state) {
    OxData list(9);
    for (const QString& t : qAsConst(titles)) {
      auto* item = new OxSafariBookmarkItem;
      item->setValue(t, 0);
      item->setTreeFirstLayerName(QStringLiteral("History"));
      list.append(item);
    }
    benchmark::DoNotOptimize(list.at(n / 2, false));
  }
  state.SetItemsProcessed(state.iterations() * n);
}
} // namespace

BENCHMARK(BM_CalendarBareScan)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CalendarLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HistoryBareScan)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HistoryLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SafariAppend)
    ->Args({100000, 0})
    ->Args({200000, 0})
    ->Args({200000, 1})
    ->Args({200000, 2})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
