#include "apps/viewer/progressrelay.h"

#include <QtGlobal>

#include <cmath>

void ProgressRelay::initRange(int range) {
  m_range = range > 0 ? range : 1;
  m_done = 0;
}

bool ProgressRelay::progress(double amount) {
  m_done = qBound(0.0, m_done + amount, double(m_range));
  const int percent = int(std::floor(m_done * 100.0 / m_range + 1e-9));
  if (percent != m_percent) {
    m_percent = percent;
    m_report(percent);
  }
  return !m_stop.load();
}

void ProgressRelay::repeat() { m_report(qMax(m_percent, 0)); }
