#include "readers/messengers/viber/vibercollection.h"

#include "model/oxbackup.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/common/sqlschema.h"
#include "readers/messengers/viber/viberqueries.h"
#include "service/progress.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {
const char kModule[] = "Viber";
const QString kDatabase = QStringLiteral("database/Contacts.data");

QString tr(const char* text) { return QCoreApplication::translate("iTunesBackup", text); }

// The text a link preview or rich message carries in the JSON metadata.
QString metadataText(const QString& metadata) {
  if (metadata.isEmpty())
    return QString();
  const QJsonObject o = QJsonDocument::fromJson(metadata.toUtf8()).object();
  for (const char* key : {"Text", "Title", "URL"}) {
    const QString value = o.value(QLatin1String(key)).toString().trimmed();
    if (!value.isEmpty())
      return value;
  }
  return o.value(QLatin1String("URLMessage")).toObject().value(QLatin1String("receivedUrl")).toString().trimmed();
}

QString contactLabel(const ViberContact& c) { return c.name.isEmpty() ? c.phone : c.name; }
} // namespace

struct CViberCollection::Queries {
  explicit Queries(const SqlSchema& schema)
      : contacts(schema), phones(schema), conversations(schema), attachments(schema), locations(schema),
        messages(schema) {}
  CViberContactQuery contacts;
  CViberPhoneQuery phones;
  CViberConversationQuery conversations;
  CViberGroupMemberQuery members;
  CViberAttachmentQuery attachments;
  CViberLocationQuery locations;
  CViberMessageQuery messages;

  QString label(qint64 contact) const {
    const auto it = contacts.contacts().constFind(contact);
    return it == contacts.contacts().constEnd() ? QString() : contactLabel(*it);
  }
};

CViberCollection::CViberCollection() = default;
CViberCollection::~CViberCollection() = default;

void CViberCollection::readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath) {
  const QString path = dbPath.trimmed().isEmpty() ? dbFilePath(kDatabase) : dbPath;
  const int queryShare = progress ? int(progress->range() * 0.5 / 7.0) : 100;
  const int buildShare = progress ? int(progress->range() * 0.5) : 100;
  CSubProgress queryStage(progress, queryShare);
  CSubProgress buildStage(progress, buildShare);

  SqlSchema schema;
  if (!path.isEmpty() && !schema.load(path))
    Log(kModule, 0, "Not a readable database: %s", path.toUtf8().constData());
  Queries q(schema);
  const QStringList files{path};
  for (CISQLiteQuery* query : std::initializer_list<CISQLiteQuery*>{
           &q.contacts, &q.conversations, &q.members, &q.attachments, &q.locations, &q.messages}) {
    queryStage.initRange(100);
    query->query(files, &queryStage);
    if (!queryStage.finish())
      return;
  }
  if (q.contacts.isMemberGeneration()) {
    queryStage.initRange(100);
    q.phones.query(files, &queryStage);
    if (!queryStage.finish())
      return;
    q.contacts.addPhones(q.phones.phones());
  }
  if (isBuildingChats() && registry)
    buildChats(&buildStage, registry->getViberMsg(), q);
}

void CViberCollection::buildChats(CIProgressCallback* sub, OxData* list, const Queries& q) {
  sub->initRange(100);
  const int total = q.messages.messageCount();
  const double step = total > 0 ? double(sub->range()) / double(total) : 0.0;

  for (const ViberConversation& conversation : q.conversations.conversations()) {
    const auto own = q.messages.byConversation().constFind(conversation.key);
    if (own == q.messages.byConversation().constEnd() || own->isEmpty())
      continue; // nothing was said: nothing to recover
    const auto partner = q.contacts.contacts().constFind(conversation.partner);
    const bool known = partner != q.contacts.contacts().constEnd();

    ChatItemColumns columns;
    columns.name = !conversation.name.isEmpty() ? conversation.name : known ? contactLabel(*partner) : QString();
    QStringList members;
    for (qint64 member : q.members.links().value(conversation.key)) {
      const QString label = q.label(member);
      if (!label.isEmpty() && !members.contains(label))
        members << label;
    }
    const bool group = !conversation.name.isEmpty() || conversation.partner == 0;
    columns.title = group && !members.isEmpty() ? members.join(QStringLiteral(", ")) : columns.name;
    if (known && !group)
      columns.numbers = partner->phone;
    if (known && !partner->icon.isEmpty())
      columns.avatar = mediaFilePath(baseFolder() + QStringLiteral("ViberIcons/") + partner->icon);
    columns.showLastMessage = true;

    auto* live = new OxWhatsappChat;
    auto* removed = new OxWhatsappChat;
    for (const ViberMessage& record : *own) {
      if (!sub->progress(step)) {
        delete live;
        delete removed;
        return;
      }
      OxWhatsappMsg* msg = createMsg(record, conversation, q);
      (record.deleted && !conversation.deleted ? removed : live)->addMessage(msg);
    }
    for (OxWhatsappChat* chat : {live, removed}) {
      if (chat == removed && chat->messages().isEmpty()) {
        delete chat;
        continue;
      }
      const bool deleted = conversation.deleted || chat == removed;
      chat->setDeleted(deleted);
      OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns);
      if (!item)
        continue;
      if (deleted)
        item->setFlag(true, OxAbstractItem::ItemDeleted);
      list->append(item);
    }
  }
}

bool CViberCollection::isOutgoing(const QString& state, bool hasSender) {
  static const QStringList sending{QStringLiteral("send"),    QStringLiteral("sent"),   QStringLiteral("sending"),
                                   QStringLiteral("delivered"), QStringLiteral("seen"), QStringLiteral("pending"),
                                   QStringLiteral("failed"),  QStringLiteral("not_delivered")};
  const QString s = state.trimmed().toLower();
  if (s == QLatin1String("received"))
    return false;
  if (sending.contains(s))
    return true;
  return !hasSender;
}

bool CViberCollection::isSendDone(const QString& state) {
  const QString s = state.trimmed().toLower();
  return s != QLatin1String("pending") && s != QLatin1String("failed") && s != QLatin1String("sending");
}

QString CViberCollection::readableSystemType(const QString& systemType) {
  // "group_created", "GroupCreated" and "group created" read alike.
  QString words;
  const QString t = systemType.trimmed();
  for (int i = 0; i < t.size(); ++i) {
    const QChar c = t.at(i);
    if (c == QLatin1Char('_') || c == QLatin1Char('-') || c == QLatin1Char(' ')) {
      if (!words.endsWith(QLatin1Char(' ')) && !words.isEmpty())
        words += QLatin1Char(' ');
    } else if (c.isUpper() && i > 0 && t.at(i - 1).isLower()) {
      words += QLatin1Char(' ');
      words += c.toLower();
    } else {
      words += words.isEmpty() ? c.toUpper() : c.toLower();
    }
  }
  return words.trimmed();
}

int CViberCollection::attachmentType(const QString& type, const QString& fileName) {
  const QString t = type.toLower();
  auto has = [&t](const char* word) { return t.contains(QLatin1String(word)); };
  if (has("sticker"))
    return OxWhatsappMsg::MsgText;
  if (has("picture") || has("image") || has("photo") || has("gif"))
    return OxWhatsappMsg::MsgImage;
  if (has("video"))
    return OxWhatsappMsg::MsgVideo;
  if (has("voice") || has("sound") || has("audio") || has("ptt"))
    return OxWhatsappMsg::MsgAudio;
  if (has("location"))
    return OxWhatsappMsg::MsgLocation;
  if (!t.isEmpty() && !has("file"))
    return OxWhatsappMsg::MsgDocument;
  // A file, or no type at all: the name tells.
  return MessengerFiles::typeOfFileName(fileName);
}

QString CViberCollection::callLineText(const QString& callType, qint64 duration) {
  const QString t = callType.toLower();
  const bool video = t.contains(QLatin1String("video"));
  QString text;
  if (t.startsWith(QLatin1String("missed")))
    return video ? tr("Missed video call") : tr("Missed call");
  if (t.startsWith(QLatin1String("outgoing")))
    text = video ? tr("Outgoing video call") : tr("Outgoing call");
  else
    text = video ? tr("Incoming video call") : tr("Incoming call");
  if (duration > 0)
    text += QStringLiteral(" (%1)").arg(CCommonUtils::durationToString(duration, false));
  return text;
}

OxWhatsappMsg* CViberCollection::createMsg(const ViberMessage& record, const ViberConversation& chat,
                                           const Queries& q) {
  auto* msg = new OxWhatsappMsg;
  msg->setMsgDate(CCommonUtils::buildDateTimeBase2001(record.date));
  const bool outgoing = isOutgoing(record.state, record.sender != 0);
  msg->setFromMe(outgoing);
  msg->setSentDone(!outgoing || isSendDone(record.state));
  if (!outgoing)
    msg->setMember(q.label(record.sender ? record.sender : chat.partner));

  if (!record.systemType.trimmed().isEmpty()) {
    const QString text = record.text.trimmed();
    msg->setContent(text.isEmpty() ? readableSystemType(record.systemType) : text);
    msg->setType(OxWhatsappMsg::MsgGroupEvent);
    return msg;
  }
  if (!record.callType.trimmed().isEmpty()) {
    msg->setContent(callLineText(record.callType, record.callDuration));
    msg->setType(OxWhatsappMsg::MsgGroupEvent);
    return msg;
  }
  if (record.location) {
    const auto it = q.locations.locations().constFind(record.location);
    if (it != q.locations.locations().constEnd()) {
      msg->setContent(CChatItemBuilder::locationText(it->latitude, it->longitude, it->address));
      msg->setType(OxWhatsappMsg::MsgLocation);
      return msg;
    }
  }
  QString content = record.text;
  if (record.attachment) {
    const auto it = q.attachments.attachments().constFind(record.attachment);
    if (it != q.attachments.attachments().constEnd()) {
      const int type = attachmentType(it->type, it->name);
      if (it->type.contains(QLatin1String("sticker"))) {
        msg->setContent(tr("[Sticker]"));
        msg->setType(OxWhatsappMsg::MsgText);
        return msg;
      }
      attachMedia(msg, it->name);
      if (content.trimmed().isEmpty() && type == OxWhatsappMsg::MsgDocument)
        content = it->name;
      msg->setContent(content);
      msg->setType(type);
      return msg;
    }
  }
  if (content.trimmed().isEmpty())
    content = metadataText(record.metadata);
  msg->setContent(content);
  msg->setType(OxWhatsappMsg::MsgText);
  return msg;
}

void CViberCollection::attachMedia(OxWhatsappMsg* msg, const QString& fileName) {
  if (fileName.isEmpty())
    return;
  QString media = mediaFilePath(QStringLiteral("Documents/Attachments/") + fileName);
  if (media.isEmpty()) {
    // The thumbnail: the same name, or the name's stem as a JPEG picture.
    media = mediaFilePath(QStringLiteral("Documents/Thumbnails/") + fileName);
    if (media.isEmpty())
      media = mediaFilePath(QStringLiteral("Documents/Thumbnails/%1.jpg").arg(QFileInfo(fileName).completeBaseName()));
  }
  if (media.isEmpty())
    Log(kModule, 2, "No file for attachment %s", fileName.toUtf8().constData());
  msg->setMedia(media);
}

// ---- calls ----

void CViberCollection::readCalls(OxData* calls, const QString& dbPath) {
  if (!calls)
    return;
  const QString path = dbPath.trimmed().isEmpty() ? dbFilePath(kDatabase) : dbPath;
  SqlSchema schema;
  schema.load(path);
  CViberContactQuery contacts(schema);
  CViberPhoneQuery phones(schema);
  CViberCallQuery recents(schema);
  CViberRecentsLineQuery lines(schema);
  CViberCallPartnerQuery partners;
  const QStringList files{path};
  recents.query(files, nullptr);
  if (recents.calls().isEmpty())
    return;
  for (CISQLiteQuery* query : std::initializer_list<CISQLiteQuery*>{&contacts, &lines, &partners})
    query->query(files, nullptr);
  if (contacts.isMemberGeneration()) {
    phones.query(files, nullptr);
    contacts.addPhones(phones.phones());
  }
  // Names of numbers, for lines that carry a number and no contact.
  QHash<QString, QString> byNumber;
  for (const ViberContact& c : contacts.contacts())
    if (!c.phone.isEmpty() && !c.name.isEmpty())
      byNumber.insert(c.phone, c.name);

  for (const ViberCall& call : recents.calls()) {
    const ViberRecentsLine line = lines.lines().value(call.line);
    qint64 contact = line.contact ? line.contact : partners.partners().value(call.message);
    const ViberContact person = contacts.contacts().value(contact);
    const QString number = !line.number.isEmpty() ? line.number : person.phone;
    QString name = person.name;
    if (name.isEmpty())
      name = byNumber.value(number);
    if (name.isEmpty() && number.startsWith(QLatin1Char('+')))
      name = byNumber.value(number.mid(1));
    if (name.isEmpty() && !number.startsWith(QLatin1Char('+')))
      name = byNumber.value(QLatin1Char('+') + number);

    OxCallHistoryItem* item = OxCallHistoryItem::createItem();
    if (!item)
      continue;
    item->setValue(name.isEmpty() ? number : name, OxCallHistoryItem::ColName);
    item->setValue(number, OxCallHistoryItem::ColPhone);
    const QDateTime date = CCommonUtils::buildDateTimeBase2001(call.date);
    item->setValue(CCommonUtils::datetimeToMinute(date, true), OxCallHistoryItem::ColDate);
    item->setSortValue(date, OxCallHistoryItem::ColDate);
    item->setTreeFirstLayerName(QStringLiteral("Viber Call History"));

    const bool video = call.callType.contains(QLatin1String("video"));
    const bool outgoing = call.callType.startsWith(QLatin1String("outgoing"));
    const bool missed = call.callType.startsWith(QLatin1String("missed"));
    item->setValue(outgoing ? (video ? tr("Outgoing Video Calls") : tr("Outgoing Calls"))
                            : (video ? tr("Incoming Video Calls") : tr("Incoming Calls")),
                   OxCallHistoryItem::ColType);
    const int seconds = call.duration > 0 && call.duration < 2147483647 ? int(call.duration) : 0;
    if (missed) {
      item->setValue(tr("Missed"), OxCallHistoryItem::ColDuration);
      item->setSortValue(0, OxCallHistoryItem::ColDuration);
    } else if (outgoing && seconds < 1) {
      item->setValue(tr("Canceled"), OxCallHistoryItem::ColDuration);
      item->setSortValue(-1, OxCallHistoryItem::ColDuration);
    } else {
      item->setValue(CCommonUtils::durationToString(seconds, true), OxCallHistoryItem::ColDuration);
      item->setSortValue(seconds, OxCallHistoryItem::ColDuration);
    }
    item->setSize(0);
    calls->append(item);
  }
}
