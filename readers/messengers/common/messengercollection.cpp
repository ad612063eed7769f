#include "readers/messengers/common/messengercollection.h"

CMessengerCollection::CMessengerCollection() = default;
CMessengerCollection::~CMessengerCollection() = default;

QString CMessengerCollection::dbFilePath(const QString&) { return QString(); }
QString CMessengerCollection::mediaFilePath(const QString&) { return QString(); }
QString CMessengerCollection::mediaFileName(const QString&, int) { return QString(); }

void CMessengerCollection::setSwitches(bool buildChats, bool mediaOnly) {
  m_buildChats = buildChats;
  m_mediaOnly = mediaOnly;
}
