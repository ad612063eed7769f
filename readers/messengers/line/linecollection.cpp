#include "readers/messengers/line/linecollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/line/linequeries.h"
#include "service/progress.h"

#include <QFile>
#include <QMap>
#include <QStringList>

namespace {
// The owned sticker packages: the first sticker number of each package and
// the package's folder. Built once, on first use.
const QMap<qint64, QString>& stickerPackages() {
  static const QMap<qint64, QString> packages{
      {47976, QStringLiteral("5ac1bfd5040ab15980c9b435_3")}, {48635, QStringLiteral("5ac21542031a6752fb806d55_1")},
      {153300, QStringLiteral("5ac21c46040ab15980c9b442_1")}, {691038, QStringLiteral("5ac220c2031a6752fb806d60_1")},
      {692858, QStringLiteral("5ac2211e031a6752fb806d61_1")}, {693108, QStringLiteral("5ac2216f040ab15980c9b448_1")},
  };
  return packages;
}
} // namespace

CLineCollection::CLineCollection() = default;
CLineCollection::~CLineCollection() = default;

void CLineCollection::readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath) {
  const QStringList files{dbPath.trimmed().isEmpty() ? dbFilePath(QStringLiteral("Line.sqlite")) : dbPath};
  const int queryShare = progress ? int(progress->range() * 0.5 / 5.0) : 100;
  const int buildShare = progress ? int(progress->range() * 0.5) : 100;
  CSubProgress queryStage(progress, queryShare);
  CSubProgress buildStage(progress, buildShare);

  CLineUserQuery users;
  CLineGroupQuery groups;
  CLineChatSessionQuery chats;
  CLineMessageQuery messages;
  CLineChatMembersQuery members;
  for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&users, &groups, &chats, &messages, &members}) {
    queryStage.initRange(100);
    q->query(files, &queryStage);
    if (!queryStage.finish())
      return;
  }
  if (isBuildingChats() && registry)
    buildChats(&buildStage, registry->getLineMsg(), users, groups, chats, messages, members);
}

void CLineCollection::buildChats(CIProgressCallback* sub, OxData* list, const CLineUserQuery& users,
                                 const CLineGroupQuery& groups, const CLineChatSessionQuery& chats,
                                 const CLineMessageQuery& messages, const CLineChatMembersQuery& members) {
  stickerPackages();
  sub->initRange(100);
  const int total = messages.messageCount();
  const double step = total > 0 ? double(sub->range()) / double(total) : 0.0;

  // Chat names by mid: users, and groups over them.
  QMap<QString, QString> names = users.namesByMid();
  for (auto it = groups.names().constBegin(); it != groups.names().constEnd(); ++it)
    names.insert(it.key(), it.value());

  for (const LineChat* record : chats.chats()) {
    auto* chat = new OxWhatsappChat;
    QStringList memberNames;
    for (qint64 key : members.links().value(record->key)) {
      const auto name = users.namesByKey().constFind(key);
      if (name != users.namesByKey().constEnd())
        memberNames << *name;
    }
    const QString chatName = names.value(record->mid);

    const auto own = messages.messagesByChat().constFind(record->key);
    if (own != messages.messagesByChat().constEnd()) {
      for (const LineMessage* m : *own) {
        chat->addMessage(createMsg(*m, record->mid, users));
        if (!sub->progress(step)) {
          delete chat;
          return;
        }
      }
    }

    ChatItemColumns columns;
    columns.name = chatName;
    columns.title = memberNames.isEmpty() ? chatName : memberNames.join(QStringLiteral(", "));
    columns.showLastMessage = true;
    if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns))
      list->append(item);
  }
}

QDateTime CLineCollection::dateOf(qint64 timestamp) {
  // Some rows carry bit 61 as a flag on top of the time.
  const qint64 ms = timestamp & ~(qint64(1) << 61);
  return CCommonUtils::buildDateTimeBaseUnixEx(ms / 1000);
}

QString CLineCollection::stickerPath(qint64 sticker) {
  const QMap<qint64, QString>& packages = stickerPackages();
  auto it = packages.upperBound(sticker); // the first package starting above it
  if (it == packages.constBegin())
    return QString();
  --it;
  const qint64 index = sticker - it.key() + 1;
  return QStringLiteral("Owned Sticons/packages/%1/%2%3%4_key.png")
      .arg(it.value())
      .arg(index / 100 % 10)
      .arg(index / 10 % 10)
      .arg(index % 10);
}

OxWhatsappMsg* CLineCollection::createMsg(const LineMessage& record, const QString& chatMid,
                                          const CLineUserQuery& users) {
  auto* msg = new OxWhatsappMsg;
  msg->setMsgDate(dateOf(record.timestamp));
  const bool sentDone = record.sendStatus < 2;
  msg->setFromMe(record.outgoing);
  msg->setSentDone(sentDone);
  msg->setMember(users.namesByKey().value(record.sender));

  int type = record.type;
  switch (type) {
  case 1:
  case 2:
  case 3: {
    QString media =
        mediaFilePath(baseFolder() + QStringLiteral("Message Thumbnails/%1/%2.thumb").arg(chatMid, record.id));
    if (!sentDone && !QFile::exists(media))
      media = mediaFilePath(baseFolder() + QStringLiteral("Message Attachments/%1/S_%2.jpg").arg(chatMid, record.id));
    msg->setMedia(media);
    break;
  }
  case 7: {
    type = OxWhatsappMsg::MsgImage;
    const QString sticker = stickerPath(record.sticker);
    if (!sticker.isEmpty())
      msg->setMedia(mediaFilePath(baseFolder() + sticker));
    break;
  }
  default:
    msg->setContent(record.text);
    break;
  }
  msg->setType(type);
  return msg;
}
