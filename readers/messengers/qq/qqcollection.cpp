#include "readers/messengers/qq/qqcollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/common/xmlfields.h"
#include "readers/messengers/qq/qqqueries.h"
#include "service/progress.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUrlQuery>

#include <algorithm>

namespace {
// The md5 a picture's or video's picUrl names: [{"md5": ...}] or [{"videoMD5": ...}].
QString picMd5(const QString& picUrl) {
  const QJsonObject o = QJsonDocument::fromJson(picUrl.toUtf8()).array().at(0).toObject();
  const QString md5 = o.value(QLatin1String("md5")).toString();
  return md5.isEmpty() ? o.value(QLatin1String("videoMD5")).toString() : md5;
}

// The query parameters of a URL-like attribute ("...?lat=..&lon=..").
QUrlQuery queryOf(const QString& action) {
  const int q = action.indexOf(QLatin1Char('?'));
  return QUrlQuery(q < 0 ? action : action.mid(q + 1));
}
} // namespace

CQQCollection::CQQCollection() = default;
CQQCollection::~CQQCollection() = default;

QString CQQCollection::findFile(const QString&, const QString&) { return QString(); }

bool CQQCollection::readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& ownerUin,
                                 int accountNumber, const QString& dbPath) {
  const QStringList files{dbPath.trimmed().isEmpty() ? dbFilePath(QStringLiteral("QQ.db")) : dbPath};
  m_userFolder = QStringLiteral("Documents/%1/").arg(ownerUin);
  const int queryShare = progress ? int(progress->range() * 0.5 / 4.0) : 100;
  const int buildShare = progress ? int(progress->range() * 0.5) : 100;
  CSubProgress queryStage(progress, queryShare);
  CSubProgress buildStage(progress, buildShare);

  CQQFriendQuery friends;
  CQQGroupQuery groups;
  CQQGroupMemberQuery members;
  CQQMessageQuery messages;
  for (CISQLiteQuery* q : std::initializer_list<CISQLiteQuery*>{&friends, &groups, &members, &messages}) {
    queryStage.initRange(100);
    q->query(files, &queryStage);
    if (!queryStage.finish())
      return false;
  }
  if (isBuildingChats() && registry)
    buildChats(&buildStage, registry->getQQMsg(), ownerUin, accountNumber, friends, groups, members, messages);
  return buildStage.finish();
}

void CQQCollection::buildChats(CIProgressCallback* progress, OxData* list, const QString& ownerUin, int accountNumber,
                               const CQQFriendQuery& friends, const CQQGroupQuery& groups,
                               const CQQGroupMemberQuery& members, const CQQMessageQuery& messages) {
  progress->initRange(100);
  const int total = messages.messageCount();
  const double step = total > 0 ? double(progress->range()) / double(total) : 0.0;
  for (auto it = messages.messagesByChat().constBegin(); it != messages.messagesByChat().constEnd(); ++it) {
    const bool group = it.key().startsWith(QLatin1Char('g'));
    const QString id = it.key().mid(1);
    ChatItemColumns columns;
    columns.showLastMessage = true;
    if (group) {
      columns.name = groups.names().value(id, id);
      QStringList names;
      for (const QString& member : members.members().value(id))
        names << members.name(id, member);
      columns.title = names.join(QStringLiteral(", "));
    } else {
      const QString name = friends.names().value(id);
      columns.name = name.isEmpty() ? id : name;
      columns.title = id;
    }

    // Tables are written in time order; a table that is not is sorted here.
    const auto earlier = [](const QQMessage& a, const QQMessage& b) { return a.time < b.time; };
    QVector<QQMessage> sorted;
    const QVector<QQMessage>* rows = &it.value();
    if (!std::is_sorted(rows->begin(), rows->end(), earlier)) {
      sorted = *rows;
      std::stable_sort(sorted.begin(), sorted.end(), earlier);
      rows = &sorted;
    }
    auto* chat = new OxWhatsappChat;
    for (const QQMessage& m : *rows) {
      // A friend's messages are all from the friend (or the owner).
      QString sender = columns.name;
      if (group) {
        sender = members.name(id, m.sender);
        if (sender.isEmpty())
          sender = m.nickName;
        if (sender.isEmpty())
          sender = friends.names().value(m.sender, m.sender);
      }
      chat->addMessage(createMsg(m, group, ownerUin, sender));
      if (!progress->progress(step)) {
        delete chat;
        return;
      }
    }
    if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns)) {
      item->setValue(QString::number(accountNumber), 7);
      list->append(item);
    }
  }
}

OxWhatsappMsg* CQQCollection::createMsg(const QQMessage& m, bool group, const QString& ownerUin,
                                        const QString& senderName) {
  auto* msg = new OxWhatsappMsg;
  msg->setMsgDate(CCommonUtils::buildDateTimeBaseUnixEx(m.time));
  const bool fromMe = group ? m.sender == ownerUin : m.flag == 0;
  msg->setFromMe(fromMe);
  if (!fromMe)
    msg->setMember(senderName);

  int type = OxWhatsappMsg::MsgText;
  QString content = m.content;
  QString media;
  switch (m.type) {
  case 0:
    break;
  case 1:
  case 181: {
    type = m.type == 1 ? OxWhatsappMsg::MsgImage : OxWhatsappMsg::MsgVideo;
    const QString md5 = picMd5(m.picUrl);
    media = md5.isEmpty() ? QString() : findFile(m_userFolder, md5);
    content = media.isEmpty() ? (m.type == 1 ? QStringLiteral("[Picture]") : QStringLiteral("[Video]")) : QString();
    break;
  }
  case 3: {
    type = OxWhatsappMsg::MsgAudio;
    const int plus = m.content.lastIndexOf(QLatin1Char('+'));
    const QString name = plus > 0 ? m.content.left(plus) : m.content;
    if (!name.isEmpty())
      media = mediaFilePath(m_userFolder + QStringLiteral("Audio/%1.amr").arg(name));
    content = QStringLiteral("Voice message");
    break;
  }
  case 4: {
    type = OxWhatsappMsg::MsgDocument;
    const int bars = m.content.indexOf(QLatin1String("||||||||"));
    content = bars >= 0 ? m.content.left(bars) : m.content;
    if (!content.isEmpty())
      media = mediaFilePath(m_userFolder + QStringLiteral("FileRecv/") + content);
    break;
  }
  case 337: {
    const QJsonObject place = QJsonDocument::fromJson(m.content.toUtf8())
                                  .object()
                                  .value(QLatin1String("meta"))
                                  .toObject()
                                  .value(QLatin1String("Location.Search"))
                                  .toObject();
    if (!place.isEmpty()) {
      type = OxWhatsappMsg::MsgLocation;
      content = QStringLiteral("Location: %1 (%2, %3)")
                    .arg(place.value(QLatin1String("address")).toString())
                    .arg(place.value(QLatin1String("lat")).toVariant().toString(),
                         place.value(QLatin1String("lng")).toVariant().toString());
    }
    break;
  }
  case 141:
  case 7141: {
    const XmlFields x(m.content);
    const QUrlQuery action = queryOf(x.value(QStringLiteral("msg@actionData")));
    const QUrlQuery card = queryOf(x.value(QStringLiteral("msg@a_actionData")));
    const QString title = x.value(QStringLiteral("msg/item/title"));
    if (action.hasQueryItem(QStringLiteral("loc"))) {
      type = OxWhatsappMsg::MsgLocation;
      content = QStringLiteral("Location: %1 (%2, %3)")
                    .arg(action.queryItemValue(QStringLiteral("loc"), QUrl::FullyDecoded),
                         action.queryItemValue(QStringLiteral("lat")), action.queryItemValue(QStringLiteral("lon")));
    } else if (card.queryItemValue(QStringLiteral("source")) == QLatin1String("sharecard")) {
      type = OxWhatsappMsg::MsgContact;
      content = QStringLiteral("Contact card: %1 (%2)").arg(title, card.queryItemValue(QStringLiteral("uin")));
    } else {
      type = OxWhatsappMsg::MsgLink;
      const QString text = title.isEmpty() ? x.value(QStringLiteral("msg@brief")) : title;
      const QString url = x.value(QStringLiteral("msg@url"));
      content = url.isEmpty() ? text : text + QLatin1Char('\n') + url;
    }
    break;
  }
  case 332:
    type = OxWhatsappMsg::MsgGroupEvent;
    break;
  default: {
    static const QRegularExpression guid(
        QStringLiteral("[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}"));
    const QRegularExpressionMatch g = guid.match(m.content);
    if (g.hasMatch()) {
      media = findFile(m_userFolder, g.captured());
      if (!media.isEmpty())
        type = OxWhatsappMsg::MsgDocument;
    }
    break;
  }
  }
  if (!media.isEmpty())
    msg->setMedia(media);
  msg->setContent(content);
  msg->setType(type);
  return msg;
}
