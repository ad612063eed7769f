#include "apps/cli/progressbar.h"

#include "apps/cli/console.h"

#include <algorithm>

namespace cli {
QString progressLine(const QString& label, double fraction) {
  fraction = std::clamp(fraction, 0.0, 1.0);
  const int width = 30;
  const int filled = int(fraction * width);
  return QStringLiteral("%1 [%2%3] %4%").arg(label, QString(filled, QLatin1Char('#')),
                                              QString(width - filled, QLatin1Char('-')))
      .arg(int(fraction * 100), 3);
}

ProgressBar::ProgressBar(const QString& label) : m_label(label) {}

ProgressBar::~ProgressBar() { clear(); }

void ProgressBar::initRange(int range) {
  m_range = range > 0 ? range : 1;
  m_done = 0;
  m_drawnPercent = -1;
  draw();
}

bool ProgressBar::progress(double amount) {
  m_done = std::min(double(m_range), m_done + amount);
  draw();
  return true;
}

bool ProgressBar::finish() {
  m_done = m_range;
  draw();
  return true;
}

void ProgressBar::draw() {
  const int percent = int(100.0 * m_done / m_range);
  if (percent == m_drawnPercent)
    return;
  m_drawnPercent = percent;
  console::setStatus(progressLine(m_label, m_done / m_range));
}

void ProgressBar::clear() {
  if (m_drawnPercent >= 0) {
    console::clearStatus();
    m_drawnPercent = -1;
  }
}
} // namespace cli
