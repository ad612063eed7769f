#pragma once
// A progress bar for long runs, drawn as the console's status line: only a
// terminal sees it, so that logs and pipes stay clean.
#include "service/progress.h"

#include <QString>

namespace cli {
// "label [########------------]  40%"; fraction is cut into [0, 1].
QString progressLine(const QString& label, double fraction);

class ProgressBar : public CIProgressCallback {
public:
  explicit ProgressBar(const QString& label);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void initRange(int range) override;
  int range() override { return m_range; }
  bool progress(double amount) override;
  bool finish() override;
  void download(bool) override {}
  // Clears the bar's line (before a final message).
  void clear();

private:
  void draw();

  QString m_label;
  int m_range = 1;
  double m_done = 0;
  int m_drawnPercent = -1;
};
} // namespace cli
