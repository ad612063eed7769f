#include "model/rankedtree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {
// Inserting at the upper bound of a value must give what inserting into a
// sorted vector at std::upper_bound gives, for every arrival order.
TEST(RankedTree, MatchesASortedVectorUnderEveryArrivalPattern) {
  struct Row {
    const char* name;
    std::vector<int> values;
  } rows[] = {{"ascending", {}}, {"descending", {}}, {"random with ties", {}}, {"all equal", {}}};
  std::mt19937 rng(7);
  for (int i = 0; i < 5000; ++i) {
    rows[0].values.push_back(i);
    rows[1].values.push_back(5000 - i);
    rows[2].values.push_back(int(rng() % 100));
    rows[3].values.push_back(1);
  }
  for (const auto& r : rows) {
    RankedTree<std::pair<int, int>> tree; // (value, arrival)
    std::vector<std::pair<int, int>> ref;
    for (int i = 0; i < int(r.values.size()); ++i) {
      const std::pair<int, int> v(r.values[size_t(i)], i);
      tree.insert(v, [&](const std::pair<int, int>& e) { return v.first < e.first; });
      ref.insert(
          std::upper_bound(ref.begin(), ref.end(), v, [](const auto& a, const auto& b) { return a.first < b.first; }),
          v);
    }
    ASSERT_EQ(tree.size(), int(ref.size())) << r.name;
    EXPECT_EQ(tree.toVector(), ref) << r.name;
    for (int i = 0; i < tree.size(); i += 97)
      EXPECT_EQ(tree.at(i), ref[size_t(i)]) << r.name;
    // AVL bound: height below 1.45 log2(n + 2).
    EXPECT_LT(tree.height(), 1.45 * std::log2(double(tree.size()) + 2)) << r.name;
  }
}
} // namespace
