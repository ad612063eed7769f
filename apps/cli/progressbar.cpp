#include "apps/cli/progressbar.h"

#include <cstdio>
#include <unistd.h>

namespace cli {
ProgressBar::ProgressBar(const QString& label) : m_label(label), m_shown(isatty(fileno(stderr)) != 0) {}

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
  if (!m_shown)
    return;
  const int percent = int(100.0 * m_done / m_range);
  if (percent == m_drawnPercent)
    return;
  m_drawnPercent = percent;
  const int width = 30;
  const int filled = percent * width / 100;
  std::fprintf(stderr, "\r%s [%s%s] %3d%%", qPrintable(m_label), QByteArray(filled, '#').constData(),
               QByteArray(width - filled, ' ').constData(), percent);
  std::fflush(stderr);
}

void ProgressBar::clear() {
  if (m_shown && m_drawnPercent >= 0) {
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
    m_drawnPercent = -1;
  }
}
} // namespace cli
