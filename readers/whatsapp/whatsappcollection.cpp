#include "readers/whatsapp/whatsappcollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/whatsapp/whatsappqueries.h"
#include "service/progress.h"

#include <QStringList>
#include <QVector>

#include <utility>

namespace {
// The phone number of a jid: "+" and the part before the first "@".
QString numberOf(const QString& jid) {
  const int at = jid.indexOf(QLatin1Char('@'));
  return QLatin1Char('+') + (at < 0 ? jid : jid.left(at));
}

bool reportTo(CIProgressCallback* sink, double amount) { return !sink || sink->progress(amount); }
} // namespace

CWhatsappCollection::CWhatsappCollection() = default;
CWhatsappCollection::~CWhatsappCollection() = default;

QString CWhatsappCollection::dbFilePath(const QString&) { return QString(); }
QString CWhatsappCollection::mediaFilePath(const QString&) { return QString(); }
QString CWhatsappCollection::mediaFileName(const QString&, const QString&) { return QString(); }

void CWhatsappCollection::setSwitches(bool buildChats, bool mediaOnly) {
  m_buildChats = buildChats;
  m_mediaOnly = mediaOnly;
}

void CWhatsappCollection::addMediaFile(OxBackup*, const QString&, const QString&, qint64) {}

void CWhatsappCollection::readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath) {
  const QStringList files{dbPath.trimmed().isEmpty() ? dbFilePath(QStringLiteral("ChatStorage.sqlite")) : dbPath};

  // Each query stage stands for an eighth of the range and the building for
  // half of it: the run as a whole reports more than the range.
  int stageShare = 100;
  int buildShare = 100;
  if (progress) {
    const int range = progress->range();
    stageShare = int(range * 0.5 * 0.25);
    buildShare = int(range * 0.5);
  }
  CSubProgress stage(progress, stageShare);
  CSubProgress build(progress, buildShare);

  CWAChatSessionQuery sessions;
  CWAChatMemberQuery members;
  CWAMediaQuery media;
  CWAMessageQuery messages;
  CWAProfilePicQuery pictures;
  for (CISQLiteQuery* query :
       std::initializer_list<CISQLiteQuery*>{&sessions, &members, &media, &messages, &pictures}) {
    stage.initRange(100);
    query->query(files, &stage);
    if (!stage.finish())
      return;
  }
  if (m_buildChats && registry)
    buildChats(&build, registry->getWhatsappMsg(), sessions, members, media, messages, pictures);
}

void CWhatsappCollection::buildChats(CIProgressCallback* sub, OxData* list, const CWAChatSessionQuery& sessions,
                                     const CWAChatMemberQuery& members, const CWAMediaQuery& media,
                                     const CWAMessageQuery& messages, const CWAProfilePicQuery& pictures) {
  if (!list)
    return;
  if (sub)
    sub->initRange(100);
  const QList<WAMessage*>& all = messages.messages();
  const double step = (all.isEmpty() || !sub) ? 0.0 : double(sub->range()) / all.size();

  // Messages arrive ordered by session: one pass cuts the list into runs of
  // one session each. A session normally has one run; should the rows come in
  // another order, its runs are visited in list order all the same.
  QHash<qint64, QVector<std::pair<int, int>>> runs;
  for (int begin = 0; begin < all.size();) {
    const qint64 session = all.at(begin)->chatSession;
    int end = begin + 1;
    while (end < all.size() && all.at(end)->chatSession == session)
      ++end;
    runs[session].append({begin, end});
    begin = end;
  }
  // Group events name their target by jid: the first member in pk order with
  // that jid gives the name.
  QHash<QString, QString> membersByJid;
  for (const WAGroupMember* m : members.members())
    if (m && !membersByJid.contains(m->memberJid))
      membersByJid.insert(m->memberJid, m->contactName);

  const QMap<qint64, WAGroupMember*>& memberMap = members.members();
  const QMap<qint64, WAMediaItem*>& mediaMap = media.mediaItems();
  // Parents by pk, gathered on the first message that has one.
  QHash<qint64, const WAMessage*> byPk;
  auto parentOf = [&](qint64 pk) -> const WAMessage* {
    if (byPk.isEmpty()) {
      byPk.reserve(all.size());
      for (const WAMessage* m : all)
        byPk.insert(m->pk, m); // a later row of the same pk wins
    }
    return byPk.value(pk, nullptr);
  };
  const QMap<qint64, QList<WAGroupMember*>>& bySession = members.membersBySession();
  const QMap<QString, QString>& pictureMap = pictures.pictures();

  for (const WAChatSession* session : sessions.sessions()) {
    // Chats the user removed are not shown.
    if (!session || session->removed != 0)
      continue;
    auto* chat = new OxWhatsappChat;

    QStringList names;
    QStringList numbers;
    const auto group = bySession.constFind(session->pk);
    if (group != bySession.constEnd()) {
      for (const WAGroupMember* m : *group) {
        if (m->contactAbId != 0)
          names << m->contactName + QLatin1Char('(') + numberOf(m->memberJid) + QLatin1Char(')');
        numbers << numberOf(m->memberJid);
      }
    } else {
      if (session->contactAbId != 0)
        names << session->partnerName + QLatin1Char('(') + numberOf(session->contactJid) + QLatin1Char(')');
      numbers << numberOf(session->contactJid);
    }

    bool goOn = true;
    for (const auto& run : runs.value(session->pk)) {
      for (int i = run.first; goOn && i < run.second; ++i) {
        if (!reportTo(sub, step)) {
          goOn = false;
          break;
        }
        const WAMessage* record = all.at(i);
        const WAMessage* parent = record->parentMessage != 0 ? parentOf(record->parentMessage) : nullptr;
        if (OxWhatsappMsg* msg = createMsg(*record, parent, memberMap, mediaMap, &membersByJid))
          chat->addMessage(msg);
      }
      if (!goOn)
        break;
    }
    if (!reportTo(sub, 0)) {
      delete chat;
      return;
    }

    // Newest first: the end of the list, which gives the chat its date and
    // last content, holds the oldest messages.
    chat->sortMsg(false);

    ChatItemColumns columns;
    columns.name = session->partnerName;
    columns.title = names.isEmpty() ? session->partnerName : names.join(QLatin1Char(','));
    columns.numbers = numbers.join(QLatin1Char(','));
    // Picture rows name the file without its extension; the backup holds the
    // picture as that name plus ".jpg".
    const auto picture = pictureMap.constFind(session->contactJid);
    if (picture != pictureMap.constEnd())
      columns.avatar = mediaFilePath(picture.value() + QStringLiteral(".jpg"));
    if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns))
      list->append(item);
  }
}

OxWhatsappMsg* CWhatsappCollection::createMsg(const WAMessage& message, const WAMessage* parent,
                                              const QMap<qint64, WAGroupMember*>& members,
                                              const QMap<qint64, WAMediaItem*>& media,
                                              const QHash<QString, QString>* membersByJid) {
  // System notices (encryption notice, security-code change) show nothing.
  if (message.messageType == OxWhatsappMsg::MsgSystem)
    return nullptr;
  auto* msg = new OxWhatsappMsg;
  msg->setType(message.messageType);
  msg->setMsgDate(CCommonUtils::buildDateTimeBase2001(message.messageDate));

  QString member;
  if (const WAGroupMember* m = members.value(message.groupMember, nullptr))
    member = m->contactName;

  if (message.messageType == OxWhatsappMsg::MsgGroupEvent) {
    msg->setMember(member);
    if (membersByJid) {
      msg->setContent(CWAMessageQuery::groupEventText(message.groupEventType, message.text, member,
                                                      membersByJid->value(message.text),
                                                      message.text == message.toJid));
    } else {
      msg->setContent(CWAMessageQuery::groupEventText(message, members));
    }
    return msg;
  }

  msg->setFromMe(message.isFromMe != 0);
  msg->setSentDone(CWAMessageQuery::isSentStatus(message.messageStatus));
  msg->setBroadcast(message.parentMessage != 0);
  msg->setMember(member);
  if (message.messageType == OxWhatsappMsg::MsgText) {
    msg->setContent(message.text);
    return msg;
  }

  const WAMediaItem* item = media.value(message.mediaItem, nullptr);
  if (!item)
    return msg;
  if (message.messageType == OxWhatsappMsg::MsgContact) {
    msg->setContent(item->vcardName);
    return msg;
  }

  // The thumbnail is what the chat shows; a forwarded copy without one of its
  // own borrows its parent's.
  QString thumb = item->thumbPath;
  if (thumb.isEmpty() && parent) {
    if (const WAMediaItem* parentItem = media.value(parent->mediaItem, nullptr))
      thumb = parentItem->thumbPath;
  }
  if (!thumb.isEmpty())
    msg->setMedia(mediaFilePath(thumb));
  if (message.messageType == OxWhatsappMsg::MsgLocation) {
    msg->setContent(item->vcardName);
    return msg;
  }

  const QString file = item->localPath.isEmpty() ? item->mediaUrl : item->localPath;
  if (thumb.isEmpty())
    thumb = file;
  QStringList parts;
  const QString name = mediaFileName(thumb, file);
  if (!name.isEmpty())
    parts << name;
  const QString label = message.messageType == OxWhatsappMsg::MsgDocument ? item->authorName : item->title;
  if (!label.isEmpty())
    parts << label;
  msg->setContent(parts.join(QStringLiteral("\n\n")));
  return msg;
}
