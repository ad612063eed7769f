#include "backup/cidatacollection.h"

#include "service/progress.h"

CIDataCollection::CIDataCollection() : m_progress(nullptr) {}

CIDataCollection::~CIDataCollection() = default;

void CIDataCollection::setProgress(CIProgressCallback* progress) { m_progress = progress; }

bool CIDataCollection::reportProgress(double amount) {
  if (!m_progress)
    return true;
  return m_progress->progress(amount);
}
