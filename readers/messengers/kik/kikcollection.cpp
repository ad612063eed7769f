#include "readers/messengers/kik/kikcollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/kik/kikqueries.h"
#include "service/progress.h"

#include <QFile>
#include <QSet>
#include <QStringList>

namespace {
const char kModule[] = "Kik";
// How much of a descriptor is searched for a video kind.
const qint64 kDescriptorProbe = 500;
} // namespace

CKikCollection::CKikCollection() = default;
CKikCollection::~CKikCollection() = default;

void CKikCollection::registerAttachment(const QString&, const QString&, int) {}

void CKikCollection::readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath) {
  const QStringList files{dbPath.trimmed().isEmpty() ? dbFilePath(QStringLiteral("kik.sqlite")) : dbPath};
  const int queryShare = progress ? int(progress->range() * 0.5 / 6.0) : 100;
  const int buildShare = progress ? int(progress->range() * 0.5) : 100;
  CSubProgress queryStage(progress, queryShare);
  CSubProgress buildStage(progress, buildShare);

  CKikUserQuery users;
  CKikChatMessagesQuery chatMessages;
  CKikChatSessionQuery chats;
  CKikChatMemberQuery members; // read for completeness; titles come from the senders
  CKikMediaQuery media(baseFolder());
  CKikMessageQuery messages;
  for (CISQLiteQuery* q :
       std::initializer_list<CISQLiteQuery*>{&users, &chatMessages, &chats, &members, &media, &messages}) {
    queryStage.initRange(100);
    q->query(files, &queryStage);
    if (!queryStage.finish())
      return;
  }

  if (isBuildingChats()) {
    if (registry)
      buildChats(&buildStage, registry->getKikMsg(), users, chats, chatMessages, media, messages);
  } else if (isMediaOnly()) {
    for (qint64 key : messages.keys()) {
      const KikMessage* record = messages.messages().value(key);
      if (record && record->kind != 0 && record->kind != KikMessage::SystemKind)
        attachMedia(*record, media.attachments().value(key), nullptr);
    }
  }
}

void CKikCollection::buildChats(CIProgressCallback* sub, OxData* list, const CKikUserQuery& users,
                                const CKikChatSessionQuery& chats, const CKikChatMessagesQuery& chatMessages,
                                const CKikMediaQuery& media, const CKikMessageQuery& messages) {
  sub->initRange(100);
  const int total = messages.messages().size();
  const double step = total > 0 ? double(sub->range()) / double(total) : 0.0;

  for (const KikChatPair* pair : chats.chats()) {
    const auto linked = chatMessages.links().constFind(pair->chat);
    if (linked == chatMessages.links().constEnd())
      continue;
    auto* chat = new OxWhatsappChat;
    const QString chatName = users.names().value(pair->user);

    QStringList labels;
    QSet<QString> seen;
    for (const KikMessage* record : messages.inMessageOrder(*linked)) {
      if (!sub->progress(step))
        break;
      OxWhatsappMsg* msg = createMsg(*record, users, media);
      chat->addMessage(msg);
      const QString member = msg->member();
      if (!msg->isFromMe() && !member.isEmpty() && !seen.contains(member)) {
        seen.insert(member);
        const QString jid = users.jids().value(record->user);
        labels << (jid.isEmpty() ? member : member + QLatin1Char('(') + jid + QLatin1Char(')'));
      }
    }
    if (!sub->progress(0)) {
      delete chat;
      return;
    }

    ChatItemColumns columns;
    columns.name = chatName;
    columns.title = labels.isEmpty() ? chatName : labels.join(QStringLiteral(", "));
    const QString jid = users.jids().value(pair->user);
    if (!jid.isEmpty())
      columns.avatar = mediaFilePath(baseFolder() + QStringLiteral("profpix/thumb_") + jid);
    columns.showLastMessage = true;
    OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns);
    if (item && isBuildingChats())
      list->append(item);
    else
      delete item;
  }
}

OxWhatsappMsg* CKikCollection::createMsg(const KikMessage& record, const CKikUserQuery& users,
                                         const CKikMediaQuery& media) {
  auto* msg = new OxWhatsappMsg;
  msg->setMsgDate(CCommonUtils::buildDateTimeBase2001(record.timestamp));
  const QString member = users.names().value(record.user);
  Log("createWhatsappMsg", 2, "nMsgType : %d", record.kind);

  if (record.kind == KikMessage::SystemKind) {
    msg->setMember(member);
    msg->setContent(record.body);
    msg->setType(OxWhatsappMsg::MsgGroupEvent);
    return msg;
  }
  msg->setFromMe(record.outgoing);
  msg->setSentDone(record.state != 2);
  msg->setMember(member);
  Log("createWhatsappMsg", 2, "nMsgId : %lld", static_cast<long long>(record.key));

  if (record.kind == 0) {
    msg->setContent(record.body);
    msg->setType(OxWhatsappMsg::MsgText);
    return msg;
  }
  // Unknown kinds fall back to a text-less message of the fallback type.
  msg->setType(attachMedia(record, media.attachments().value(record.key), msg));
  return msg;
}

int CKikCollection::attachMedia(const KikMessage& record, const KikAttachment* attachment, OxWhatsappMsg* msg) {
  int type = record.kind;
  if (!attachment)
    return type;
  if (attachment->type == 6)
    type = OxWhatsappMsg::MsgImage;
  else if (attachment->type == 7)
    type = OxWhatsappMsg::MsgVideo;

  const bool descriptor = !attachment->attachmentPath.isEmpty();
  const QString thumb = descriptor ? attachment->attachmentPath : attachment->dataCachePath;
  Log(kModule, 2, "strThumb : %s", thumb.toUtf8().constData());
  if (thumb.isEmpty())
    return type;
  const QString media = mediaFilePath(thumb);
  if (media.isEmpty())
    Log(kModule, 2, "strThumbPath : %s", thumb.toUtf8().constData());
  if (msg) {
    msg->setMedia(media);
    if (descriptor)
      msg->setReadThumbFileData(true);
  }
  if (descriptor && !media.isEmpty()) {
    // The descriptor names the kind of content; video kinds say so.
    QFile file(media);
    if (file.open(QIODevice::ReadOnly) && file.read(kDescriptorProbe).toUpper().contains("VIDEO"))
      type = OxWhatsappMsg::MsgVideo;
  }
  registerAttachment(thumb, attachment->dataCachePath, type);
  return type;
}
