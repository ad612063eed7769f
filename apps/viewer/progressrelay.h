#pragma once
// ProgressRelay: the progress sink the viewer hands to long work on a worker
// thread. It turns the amounts reported into a percentage, tells its owner
// each time the percentage changes (on the worker thread: the callback must
// only post), and answers "stop" once the flag is set.
#include "service/progress.h"

#include <atomic>
#include <functional>

class ProgressRelay : public CIProgressCallback {
public:
  using Report = std::function<void(int percent)>;
  ProgressRelay(Report report, const std::atomic<bool>& stop) : m_report(std::move(report)), m_stop(stop) {}
  ~ProgressRelay() = default;

  void initRange(int range) override;
  int range() override { return m_range; }
  bool progress(double amount) override;
  bool finish() override { return progress(m_range - m_done); }
  void download(bool) override {}
  // Reports the current percentage again (after a change of stage).
  void repeat();

private:
  Report m_report;
  const std::atomic<bool>& m_stop;
  int m_range = 1;
  double m_done = 0;
  int m_percent = -1;
};
