#include "service/progress.h"

#include <gtest/gtest.h>

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
  std::vector<double> amounts;

private:
  bool m_accept;
  int m_range = 100;
};

struct Op {
  enum Kind { Init, Step, Finish } kind;
  double value;
};
Op init(int r) { return {Op::Init, double(r)}; }
Op step(double a) { return {Op::Step, a}; }
Op fin() { return {Op::Finish, 0}; }

struct Case {
  const char* name;
  int share;
  std::vector<Op> ops;
  std::vector<double> toParent; // amounts the parent receives, in order
  int rangeAfter;
};

const Case kCases[] = {
    {"steps are rescaled and cut at the range", 40, {step(30), step(90), fin()}, {12, 28, 0}, 100},
    {"finish on a fresh range hands the whole share", 40, {fin()}, {40}, 100},
    {"finish tops up a stage that ended early", 40, {step(25), fin()}, {10, 30}, 100},
    {"own range rescales into the share", 50, {init(4), step(1), step(1), step(2)}, {12.5, 12.5, 25}, 4},
    {"range 0 is taken as 1", 30, {init(0), step(5)}, {30}, 1},
    {"range 0 then finish", 30, {init(0), fin()}, {30}, 1},
    {"initRange restarts and hands a further share",
     20,
     {init(10), step(10), init(10), step(4), fin()},
     {20, 8, 12},
     10},
    {"steps beyond the range pass nothing more", 10, {step(100), step(5), fin()}, {10, 0, 0}, 100},
    {"negative remainder after a negative range is passed as it is", 10, {init(-10), step(3)}, {10}, -10},
};

class SubProgressRescaling : public ::testing::TestWithParam<Case> {};

TEST_P(SubProgressRescaling, HandsTheParentItsShare) {
  const Case& c = GetParam();
  RecordingSink parent;
  CSubProgress sub(&parent, c.share);
  for (const Op& op : c.ops) {
    switch (op.kind) {
    case Op::Init:
      sub.initRange(int(op.value));
      break;
    case Op::Step:
      EXPECT_TRUE(sub.progress(op.value));
      break;
    case Op::Finish:
      EXPECT_TRUE(sub.finish());
      break;
    }
  }
  ASSERT_EQ(parent.amounts.size(), c.toParent.size());
  for (size_t i = 0; i < c.toParent.size(); ++i)
    EXPECT_DOUBLE_EQ(parent.amounts[i], c.toParent[i]) << "call " << i;
  EXPECT_EQ(sub.range(), c.rangeAfter);
}

INSTANTIATE_TEST_SUITE_P(Cases, SubProgressRescaling, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& info) {
                           return "case" + std::to_string(info.index);
                         });

TEST(SubProgress, ManySmallStepsAddUpToExactlyTheShare) {
  // Row-by-row reporting with a step that is not a round number: the parent
  // still receives the share, and finish adds (almost) nothing.
  RecordingSink parent;
  CSubProgress sub(&parent, 60);
  sub.initRange(100);
  const double stepSize = 100.0 / 7.0;
  for (int i = 0; i < 7; ++i)
    sub.progress(stepSize);
  sub.finish();
  double total = 0;
  for (double a : parent.amounts)
    total += a;
  EXPECT_NEAR(total, 60.0, 1e-9);
}

TEST(SubProgress, NestedStagesMultiplyTheirShares) {
  RecordingSink root;
  CSubProgress outer(&root, 40);  // 40 of the root's range
  CSubProgress inner(&outer, 50); // half of the outer stage
  inner.initRange(3);
  for (int i = 0; i < 3; ++i)
    inner.progress(1);
  outer.finish();
  double total = 0;
  for (double a : root.amounts)
    total += a;
  EXPECT_NEAR(total, 40.0, 1e-9);
  ASSERT_EQ(root.amounts.size(), 4u);
  EXPECT_NEAR(root.amounts[3], 20.0, 1e-9); // finish hands the untouched half
}

TEST(SubProgress, StopAnswerIsPassedOnButTheAmountStillCounts) {
  RecordingSink refusing(false);
  CSubProgress sub(&refusing, 50);
  EXPECT_FALSE(sub.progress(60));
  EXPECT_FALSE(sub.finish());
  ASSERT_EQ(refusing.amounts.size(), 2u);
  EXPECT_DOUBLE_EQ(refusing.amounts[0], 30);
  EXPECT_DOUBLE_EQ(refusing.amounts[1], 20); // only the rest, so 60 was counted as done
}

TEST(SubProgress, WithoutAParentEveryReportSucceeds) {
  CSubProgress sub(nullptr, 40);
  EXPECT_EQ(sub.range(), 100);
  EXPECT_TRUE(sub.progress(30));
  EXPECT_TRUE(sub.progress(1000));
  EXPECT_TRUE(sub.finish());
  sub.download(true);
  sub.initRange(0);
  EXPECT_EQ(sub.range(), 1);
  EXPECT_TRUE(sub.finish());
}

TEST(SubProgress, CopiesCarryTheAmountDone) {
  RecordingSink parent;
  CSubProgress a(&parent, 40);
  a.progress(75);
  CSubProgress b(a);
  CSubProgress c(nullptr, 1);
  c = a;
  b.finish();
  c.finish();
  ASSERT_EQ(parent.amounts.size(), 3u);
  EXPECT_DOUBLE_EQ(parent.amounts[1], 10); // 25 of 100 left, scaled to 40
  EXPECT_DOUBLE_EQ(parent.amounts[2], 10);
}
} // namespace
