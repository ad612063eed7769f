#include "readers/messengers/common/chatappcollection.h"

CChatAppCollection::CChatAppCollection() = default;
CChatAppCollection::~CChatAppCollection() = default;

QString CChatAppCollection::dbFilePath(const QString&) { return QString(); }
QString CChatAppCollection::mediaFilePath(const QString&) { return QString(); }
QString CChatAppCollection::mediaFileName(const QString&, int) { return QString(); }

void CChatAppCollection::setSwitches(bool buildChats, bool mediaOnly) {
  m_buildChats = buildChats;
  m_mediaOnly = mediaOnly;
}
