#include "backup/cidatacollection.h"

#include "service/progress.h"

#include <gtest/gtest.h>

#include <vector>

namespace {
class Sink : public CIProgressCallback {
public:
  explicit Sink(bool accept) : m_accept(accept) {}
  void initRange(int) override {}
  int range() override { return 100; }
  bool progress(double amount) override {
    amounts.push_back(amount);
    return m_accept;
  }
  bool finish() override { return m_accept; }
  void download(bool) override {}
  std::vector<double> amounts;

private:
  bool m_accept;
};

class Collection : public CIDataCollection {
public:
  void load(MobileBackup*) override {}
};

TEST(DataCollection, ReportsAmountsUnchangedAndPassesTheStopAnswer) {
  Collection c;
  EXPECT_TRUE(c.reportProgress(7.5)); // no sink yet
  Sink accepting(true), refusing(false);
  c.setProgress(&accepting);
  EXPECT_TRUE(c.reportProgress(7.5));
  c.setProgress(&refusing);
  EXPECT_FALSE(c.reportProgress(0.25));
  c.setProgress(nullptr);
  EXPECT_TRUE(c.reportProgress(3));
  EXPECT_EQ(accepting.amounts, std::vector<double>{7.5});
  EXPECT_EQ(refusing.amounts, std::vector<double>{0.25});
}

} // namespace
