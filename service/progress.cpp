#include "service/progress.h"

CSubProgress::CSubProgress(CIProgressCallback* parent, int share)
    : m_parent(parent), m_range(100), m_share(share), m_done(0.0) {}

void CSubProgress::initRange(int range) {
  m_done = 0.0;
  m_range = range == 0 ? 1 : range;
}

int CSubProgress::range() { return m_range; }

bool CSubProgress::progress(double amount) {
  const double remaining = double(m_range) - m_done;
  // Never step past the range; a negative remainder is passed on unchanged.
  const double step = remaining <= amount ? remaining : amount;
  bool goOn = true;
  if (m_parent)
    goOn = m_parent->progress(step / m_range * m_share);
  m_done += step;
  return goOn;
}

bool CSubProgress::finish() { return progress(double(m_range) - m_done); }

void CSubProgress::download(bool) {}
