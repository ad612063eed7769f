#include "readers/whatsapp/whatsappcollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/whatsapp/whatsappdeleted.h"
#include "readers/whatsapp/whatsappqueries.h"
#include "service/progress.h"

#include <QSet>
#include <QStringList>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

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

namespace {
// Builds the chats while the message rows stream in, so that a row lives only
// as long as its message takes to build: the records of a million messages and
// the chats made of them never exist side by side.
//
// Everything observable stays as a build over stored rows would give it: each
// shown session's messages in row order, the chats appended in the session
// query's order, one progress step per message of a shown chat reported chat by
// chat at the end (so a refusal keeps the chats before it), 0 per chat.
class ChatStream {
public:
  ChatStream(CWhatsappCollection* collection, const CWAChatSessionQuery& sessions, const CWAChatMemberQuery& members,
             const CWAMediaQuery& media)
      : m_collection(collection), m_sessions(sessions), m_members(members), m_media(media) {}

  ~ChatStream() {
    for (const Chat& c : qAsConst(m_chats))
      delete c.chat;
  }

  ChatStream(const ChatStream&) = delete;
  ChatStream& operator=(const ChatStream&) = delete;

  void add(const WAMessage& record) {
    ++m_rows;
    if (record.mediaItem != 0)
      m_mediaOf.push_back({record.pk, record.mediaItem});
    if (!m_prepared)
      prepare();
    const auto shown = m_shown.constFind(record.chatSession);
    if (shown == m_shown.constEnd())
      return; // a hidden or removed chat: its rows are never built
    Chat& chat = m_chats[record.chatSession];
    if (!chat.chat)
      chat.chat = new OxWhatsappChat;
    ++chat.rows;
    if (needsParent(record)) {
      // Its thumbnail may be its parent's, a row that may come later: the
      // message keeps its place and is filled in once every row is read.
      auto* msg = new OxWhatsappMsg;
      chat.chat->addMessage(msg);
      m_deferred.push_back({msg, record});
      return;
    }
    if (OxWhatsappMsg* msg = m_collection->createMsg(record, nullptr, m_members.members(), m_media.mediaItems(),
                                                     &m_membersByJid))
      chat.chat->addMessage(msg);
  }

  // Recovered messages join the chats of the shown sessions, marked deleted.
  void addDeleted(const CWADeletedRecords& deleted) {
    if (!m_prepared)
      prepare();
    for (qint64 session : qAsConst(m_shown)) {
      for (const WAMessage* record : deleted.messagesOf(session)) {
        OxWhatsappMsg* msg = m_collection->createMsg(*record, nullptr, m_members.members(), m_media.mediaItems(),
                                                     &m_membersByJid);
        if (!msg)
          continue;
        msg->setDeleted(true);
        Chat& chat = m_chats[session];
        if (!chat.chat)
          chat.chat = new OxWhatsappChat;
        chat.chat->addMessage(msg);
      }
    }
  }

  // One chat item, flagged deleted, per session the store no longer has.
  void appendDeletedChats(const CWADeletedRecords& deleted, OxData* list) {
    for (qint64 key : deleted.deletedSessions()) {
      std::unique_ptr<OxWhatsappChat> chat(new OxWhatsappChat);
      chat->setDeleted(true);
      QString partnerJid;
      for (const WAMessage* record : deleted.messagesOf(key)) {
        if (record->isFromMe && partnerJid.isEmpty())
          partnerJid = record->toJid;
        if (OxWhatsappMsg* msg = m_collection->createMsg(*record, nullptr, m_members.members(),
                                                         m_media.mediaItems(), &m_membersByJid)) {
          msg->setDeleted(true);
          chat->addMessage(msg);
        }
      }
      ChatItemColumns columns;
      if (const WAChatSession* session = deleted.recoveredSession(key)) {
        partnerJid = session->contactJid;
        columns.name = session->partnerName;
      }
      if (chat->messages().isEmpty() && columns.name.isEmpty())
        continue;
      if (!partnerJid.isEmpty())
        columns.numbers = numberOf(partnerJid);
      if (columns.name.isEmpty())
        columns.name = columns.numbers;
      columns.title = columns.name;
      chat->sortMsg(false);
      if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat.release(), columns)) {
        item->setFlag(true, OxAbstractItem::ItemDeleted);
        list->append(item);
      }
    }
  }

  // Appends the chats to list in the session query's order. False when the
  // sink refused; the chats appended until then stay.
  bool finish(CIProgressCallback* sub, OxData* list, const CWAProfilePicQuery& pictures) {
    fillDeferred();
    if (sub)
      sub->initRange(100);
    const double step = (m_rows == 0 || !sub) ? 0.0 : double(sub->range()) / m_rows;
    const QMap<qint64, QList<WAGroupMember*>>& bySession = m_members.membersBySession();
    const QMap<QString, QString>& pictureMap = pictures.pictures();
    for (const WAChatSession* session : m_sessions.sessions()) {
      if (!session || session->removed != 0)
        continue;
      Chat taken = m_chats.take(session->pk);
      std::unique_ptr<OxWhatsappChat> chat(taken.chat ? taken.chat : new OxWhatsappChat);
      for (int i = 0; i < taken.rows; ++i)
        if (!reportTo(sub, step))
          return false;
      if (!reportTo(sub, 0))
        return false;

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

      // Newest first: the end of the list, which gives the chat its date and
      // last content, holds the oldest messages.
      chat->sortMsg(false);

      ChatItemColumns columns;
      columns.name = session->partnerName;
      columns.title = names.isEmpty() ? session->partnerName : names.join(QLatin1Char(','));
      columns.numbers = numbers.join(QLatin1Char(','));
      // The picture column is the local path of the row's path followed by
      // ".jpg": the suffix goes after the lookup, so a row whose file is
      // missing (or whose path is empty) still reads ".jpg".
      const auto picture = pictureMap.constFind(session->contactJid);
      if (picture != pictureMap.constEnd())
        columns.avatar = m_collection->mediaFilePath(picture.value()) + QStringLiteral(".jpg");
      if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat.release(), columns))
        list->append(item);
    }
    return true;
  }

private:
  struct Chat {
    OxWhatsappChat* chat = nullptr;
    int rows = 0; // rows read for the chat, shown or not
  };
  struct Deferred {
    OxWhatsappMsg* msg; // in its chat already
    WAMessage record;
  };

  // The shown sessions, and the index of group members by jid: the first
  // member in pk order with that jid names the target of a group event.
  void prepare() {
    m_prepared = true;
    for (const WAChatSession* session : m_sessions.sessions())
      if (session && session->removed == 0)
        m_shown.insert(session->pk);
    for (const WAGroupMember* m : m_members.members())
      if (m && !m_membersByJid.contains(m->memberJid))
        m_membersByJid.insert(m->memberJid, m->contactName);
  }

  // A media message without a thumbnail of its own that has a parent: a
  // forwarded copy, which borrows the parent's.
  bool needsParent(const WAMessage& record) const {
    if (record.parentMessage == 0 || record.messageType == OxWhatsappMsg::MsgSystem ||
        record.messageType == OxWhatsappMsg::MsgGroupEvent || record.messageType == OxWhatsappMsg::MsgText ||
        record.messageType == OxWhatsappMsg::MsgContact)
      return false;
    const WAMediaItem* item = m_media.mediaItems().value(record.mediaItem, nullptr);
    return item && item->thumbPath.isEmpty();
  }

  void fillDeferred() {
    if (m_deferred.empty())
      return;
    // By pk; within one statement a pk names one row.
    std::stable_sort(m_mediaOf.begin(), m_mediaOf.end(),
                     [](const std::pair<qint64, qint64>& a, const std::pair<qint64, qint64>& b) { return a.first < b.first; });
    for (const Deferred& d : m_deferred) {
      WAMessage parent;
      const WAMessage* found = nullptr;
      auto it = std::upper_bound(m_mediaOf.begin(), m_mediaOf.end(), d.record.parentMessage,
                                 [](qint64 pk, const std::pair<qint64, qint64>& e) { return pk < e.first; });
      if (it != m_mediaOf.begin() && (it - 1)->first == d.record.parentMessage) {
        parent.pk = d.record.parentMessage;
        parent.mediaItem = (it - 1)->second; // the last row of that pk
        found = &parent;
      }
      std::unique_ptr<OxWhatsappMsg> built(m_collection->createMsg(d.record, found, m_members.members(),
                                                                   m_media.mediaItems(), &m_membersByJid));
      if (built)
        *d.msg = *built;
    }
  }

  CWhatsappCollection* m_collection;
  const CWAChatSessionQuery& m_sessions;
  const CWAChatMemberQuery& m_members;
  const CWAMediaQuery& m_media;
  QSet<qint64> m_shown;
  QHash<QString, QString> m_membersByJid;
  QHash<qint64, Chat> m_chats;
  std::vector<Deferred> m_deferred;
  std::vector<std::pair<qint64, qint64>> m_mediaOf; // (pk, media item) of the rows that have one
  qint64 m_rows = 0;
  bool m_prepared = false;
};
} // namespace

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
  const bool building = m_buildChats && registry;
  ChatStream stream(this, sessions, members, media);
  const bool recovering = building && m_recoverDeleted && !files.first().isEmpty();
  CWADeletedRecords deleted;
  if (building) {
    messages.setSink([&stream, &deleted, recovering](const WAMessage& m) {
      if (recovering)
        deleted.noteLive(m);
      stream.add(m);
    });
  }
  for (CISQLiteQuery* query :
       std::initializer_list<CISQLiteQuery*>{&sessions, &members, &media, &messages, &pictures}) {
    stage.initRange(100);
    query->query(files, &stage);
    if (!stage.finish())
      return;
  }
  if (!building)
    return;
  if (recovering) {
    deleted.read(files.first());
    stream.addDeleted(deleted);
  }
  if (stream.finish(&build, registry->getWhatsappMsg(), pictures) && recovering)
    stream.appendDeletedChats(deleted, registry->getWhatsappMsg());
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
