#include "service/progress.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {
// A parent sink that records every amount it receives and answers `accept`.
class RecordingSink : public CIProgressCallback {
public:
  explicit RecordingSink(bool accept = true) : m_accept(accept) {}
  void initRange(int r) override { m_range = r; }
  int range() override { return m_range; }
  bool progress(double amount) override {
    amounts.push_back(amount);
    return m_accept;
  }
  bool finish() override { return m_accept; }
  void download(bool) override {}
  double total() const { return std::accumulate(amounts.begin(), amounts.end(), 0.0); }
  std::vector<double> amounts;

private:
  bool m_accept;
  int m_range = 100;
};

// One call on the stage: 'i' initRange(value), 's' progress(value), 'f' finish().
struct Op {
  char kind;
  double value;
};

TEST(SubProgress, HandsTheParentItsShare) {
  const Op F = {'f', 0};
  struct Row {
    const char* name;
    int share;
    std::vector<Op> ops;
    std::vector<double> toParent; // amounts the parent receives, in order
    int rangeAfter;
  } rows[] = {
      {"steps are rescaled and cut at the range", 40, {{'s', 30}, {'s', 90}, F}, {12, 28, 0}, 100},
      {"finish tops up a stage that ended early", 40, {{'s', 25}, F}, {10, 30}, 100},
      {"own range rescales into the share", 50, {{'i', 4}, {'s', 1}, {'s', 1}, {'s', 2}}, {12.5, 12.5, 25}, 4},
      {"range 0 is taken as 1", 30, {{'i', 0}, {'s', 5}}, {30}, 1},
      {"initRange restarts and hands a further share",
       20,
       {{'i', 10}, {'s', 10}, {'i', 10}, {'s', 4}, F},
       {20, 8, 12},
       10},
      {"negative remainder after a negative range is passed as it is", 10, {{'i', -10}, {'s', 3}}, {10}, -10},
  };
  for (const auto& r : rows) {
    RecordingSink parent;
    CSubProgress sub(&parent, r.share);
    for (const Op& op : r.ops) {
      if (op.kind == 'i')
        sub.initRange(int(op.value));
      else
        EXPECT_TRUE(op.kind == 's' ? sub.progress(op.value) : sub.finish()) << r.name;
    }
    ASSERT_EQ(parent.amounts.size(), r.toParent.size()) << r.name;
    for (size_t i = 0; i < r.toParent.size(); ++i)
      EXPECT_DOUBLE_EQ(parent.amounts[i], r.toParent[i]) << r.name << ", call " << i;
    EXPECT_EQ(sub.range(), r.rangeAfter) << r.name;
  }
}

TEST(SubProgress, NestedStagesMultiplyTheirShares) {
  RecordingSink root;
  CSubProgress outer(&root, 40);  // 40 of the root's range
  CSubProgress inner(&outer, 50); // half of the outer stage
  inner.initRange(3);
  for (int i = 0; i < 3; ++i)
    inner.progress(1);
  outer.finish();
  EXPECT_NEAR(root.total(), 40.0, 1e-9);
  ASSERT_EQ(root.amounts.size(), 4u);
  EXPECT_NEAR(root.amounts[3], 20.0, 1e-9); // finish hands the untouched half
}

TEST(SubProgress, StopAnswerIsPassedOnButTheAmountStillCounts) {
  RecordingSink refusing(false);
  CSubProgress sub(&refusing, 50);
  EXPECT_FALSE(sub.progress(60));
  EXPECT_FALSE(sub.finish());
  EXPECT_EQ(refusing.amounts, (std::vector<double>{30, 20})); // only the rest, so 60 was counted as done
}

} // namespace
