// Appending to OxData: n items in random, ascending and descending order,
// beside a baseline in the same run: one stable sort of the same items by the
// same order. Both are O(n log n); the ratio shows the cost of keeping the
// list sorted at every moment, and the growth from 100k to 200k items shows
// that no quadratic term hides in the inserts.
#include "model/oxabstractitem.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {
enum Pattern { Random = 0, Ascending = 1, Descending = 2, Titles = 3 };

std::vector<OxAbstractItem*> makeItems(int n, Pattern pattern) {
  std::mt19937 rng(12345);
  std::vector<OxAbstractItem*> items;
  items.reserve(size_t(n));
  for (int i = 0; i < n; ++i) {
    if (pattern == Titles) {
      // Bookmarks and other text-ordered kinds compare column 0.
      auto* item = new OxAbstractItem(3);
      item->setValue(QStringLiteral("Page %1 of site %2").arg(rng() % 100000).arg(rng() % 977), 0);
      items.push_back(item);
      continue;
    }
    qint64 secs = i;
    if (pattern == Random)
      secs = qint64(rng() % 400000000);
    else if (pattern == Descending)
      secs = n - i;
    OxWhatsappItem* item = OxWhatsappItem::createItem();
    item->setSortValue(CCommonUtils::buildDateTimeBase2001(secs), 6);
    items.push_back(item);
  }
  return items;
}

bool defaultOrder(const OxAbstractItem* a, const OxAbstractItem* b) {
  const bool da = a->flag(OxAbstractItem::ItemDeleted), db = b->flag(OxAbstractItem::ItemDeleted);
  if (da != db)
    return da;
  if (dynamic_cast<const OxWhatsappItem*>(a))
    return CCommonUtils::itemValueLessThan(b->sortValue(6), a->sortValue(6));
  return QString::localeAwareCompare(a->value(0), b->value(0)) < 0;
}

void BM_Append(benchmark::State& state) {
  const int n = int(state.range(0));
  const Pattern pattern = Pattern(state.range(1));
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<OxAbstractItem*> items = makeItems(n, pattern);
    auto* data = new OxData(pattern == Titles ? 9 : 0);
    state.ResumeTiming();
    for (OxAbstractItem* item : items)
      data->append(item);
    benchmark::DoNotOptimize(data->at(n / 2, true));
    state.PauseTiming();
    delete data;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void BM_StableSortBaseline(benchmark::State& state) {
  const int n = int(state.range(0));
  const Pattern pattern = Pattern(state.range(1));
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<OxAbstractItem*> items = makeItems(n, pattern);
    state.ResumeTiming();
    std::stable_sort(items.begin(), items.end(), defaultOrder);
    benchmark::DoNotOptimize(items[size_t(n / 2)]);
    state.PauseTiming();
    for (OxAbstractItem* item : items)
      delete item;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void args(benchmark::internal::Benchmark* b) {
  b->ArgNames({"n", "pattern"});
  for (int pattern : {Random, Ascending, Descending, Titles})
    for (int n : {100000, 200000})
      b->Args({n, pattern});
  b->Unit(benchmark::kMillisecond)->Iterations(3);
}
} // namespace

BENCHMARK(BM_Append)->Apply(args);
BENCHMARK(BM_StableSortBaseline)->Apply(args);
BENCHMARK_MAIN();
