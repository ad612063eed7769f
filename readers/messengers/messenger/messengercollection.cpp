#include "readers/messengers/messenger/messengercollection.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "readers/messengers/common/chatitembuilder.h"
#include "readers/messengers/common/messengerfiles.h"
#include "readers/messengers/common/sqlschema.h"
#include "readers/messengers/messenger/messengerqueries.h"
#include "service/progress.h"

#include <QCoreApplication>
#include <QStringList>

namespace {
const char kModule[] = "Messenger";

QString tr(const char* text) { return QCoreApplication::translate("iTunesBackup", text); }

bool isCallTitle(const QString& title) {
  const QString t = title.toLower();
  return t.endsWith(QLatin1String(" call")) || t == QLatin1String("video chat") ||
         (t.startsWith(QLatin1String("missed ")) && t.contains(QLatin1String("call")));
}

// Runs the queries in order on the first stage's share each; false when the sink stopped the load.
bool runQueries(std::initializer_list<CISQLiteQuery*> queries, const QString& path, CSubProgress* stage) {
  for (CISQLiteQuery* q : queries) {
    stage->initRange(100);
    q->query(QStringList{path}, stage);
    if (!stage->finish())
      return false;
  }
  return true;
}
} // namespace

CMessengerCollection::CMessengerCollection() = default;
CMessengerCollection::~CMessengerCollection() = default;

QString CMessengerCollection::cachedMediaPath(const QString&) { return QString(); }

void CMessengerCollection::readDatabase(OxBackup* registry, CIProgressCallback* progress, const QString& dbPath) {
  SqlSchema schema;
  if (!schema.load(dbPath)) {
    Log(kModule, 0, "Not a readable database: %s", dbPath.toUtf8().constData());
    return;
  }
  if (schema.hasTable(QStringLiteral("threads")) && schema.hasColumn(QStringLiteral("threads"), QStringLiteral("thread_type")))
    readLightspeed(registry, progress, dbPath, schema);
  else if (schema.hasColumn(QStringLiteral("messages"), QStringLiteral("msg_id")))
    readOrca(registry, progress, dbPath, schema);
  else
    Log(kModule, 0, "No Messenger chat tables in %s", dbPath.toUtf8().constData());
}

void CMessengerCollection::readLightspeed(OxBackup* registry, CIProgressCallback* progress, const QString& path,
                                          const SqlSchema& schema) {
  CSubProgress queryStage(progress, progress ? int(progress->range() * 0.5 / 7.0) : 100);
  CSubProgress buildStage(progress, progress ? int(progress->range() * 0.5) : 100);
  CFbOwnerQuery owner;
  CFbContactQuery contacts(schema);
  CFbThreadQuery threads(schema);
  CFbParticipantQuery participants(schema);
  CFbMessageQuery messages(schema);
  CFbAttachmentQuery attachments(schema, QStringLiteral("attachments"));
  CFbAttachmentQuery items(schema, QStringLiteral("attachment_items"));
  if (!runQueries({&owner, &contacts, &threads, &participants, &messages, &attachments, &items}, path, &queryStage))
    return;
  if (!owner.owner())
    Log(kModule, 0, "No owner in %s: every message shows as received", path.toUtf8().constData());
  // A message's attachments: the files first, then the link and call titles.
  QHash<QString, QVector<FbAttachment>> merged = attachments.byMessage();
  for (auto it = items.byMessage().constBegin(); it != items.byMessage().constEnd(); ++it)
    merged[it.key()] += it.value();

  Store store;
  store.owner = owner.owner();
  store.threads = &threads.threads();
  store.participants = &participants.byThread();
  store.names = &contacts.names();
  store.nicknames = &participants.nicknames();
  store.messages = &messages.byThread();
  store.attachments = &merged;
  store.messageCount = messages.messageCount();
  if (isBuildingChats() && registry)
    buildChats(&buildStage, registry->getMessengerMsg(), store);
}

qint64 CMessengerCollection::orcaOwner(const QHash<qint64, int>& oneToOneIds, int oneToOneThreads) {
  if (oneToOneThreads <= 0)
    return 0;
  qint64 owner = 0;
  for (auto it = oneToOneIds.constBegin(); it != oneToOneIds.constEnd(); ++it) {
    if (it.value() < oneToOneThreads)
      continue;
    if (owner)
      return 0; // two ids in every key: a single chat cannot tell who is the owner
    owner = it.key();
  }
  return owner;
}

void CMessengerCollection::readOrca(OxBackup* registry, CIProgressCallback* progress, const QString& path,
                                    const SqlSchema& schema) {
  CSubProgress queryStage(progress, progress ? int(progress->range() * 0.5 / 3.0) : 100);
  CSubProgress buildStage(progress, progress ? int(progress->range() * 0.5) : 100);
  COrcaThreadQuery threads(schema);
  COrcaUserQuery users(schema);
  COrcaMessageQuery messages(schema, &threads);
  if (!runQueries({&threads, &users, &messages}, path, &queryStage))
    return;
  int oneToOne = 0;
  for (const FbThread& t : threads.threads())
    oneToOne += t.group ? 0 : 1;
  QHash<qint64, QString> names = threads.names();
  for (auto it = users.names().constBegin(); it != users.names().constEnd(); ++it)
    if (!it.value().isEmpty())
      names.insert(it.key(), it.value());

  Store store;
  store.owner = orcaOwner(threads.oneToOneIds(), oneToOne);
  store.threads = &threads.threads();
  store.participants = &threads.participants();
  store.names = &names;
  store.messages = &messages.byThread();
  store.messageCount = messages.messageCount();
  if (isBuildingChats() && registry)
    buildChats(&buildStage, registry->getMessengerMsg(), store);
}

void CMessengerCollection::buildChats(CIProgressCallback* sub, OxData* list, const Store& store) {
  sub->initRange(100);
  const double step = store.messageCount > 0 ? double(sub->range()) / double(store.messageCount) : 0.0;
  auto nameOf = [&store](qint64 id, const QString& carried) {
    QString name = store.names->value(id);
    if (name.isEmpty() && store.nicknames)
      name = store.nicknames->value(id);
    if (name.isEmpty())
      name = carried;
    return name.isEmpty() && id ? QString::number(id) : name;
  };

  for (const FbThread& thread : *store.threads) {
    const auto own = store.messages->constFind(thread.key);
    if (own == store.messages->constEnd() || own->isEmpty())
      continue;
    QStringList people;
    QStringList ids;
    QVector<qint64> others = store.participants->value(thread.key);
    // A one-to-one thread is keyed by the other person's id.
    if (others.isEmpty() && !thread.group && thread.key != store.owner)
      others.append(thread.key);
    for (qint64 id : others) {
      if (id == store.owner || ids.contains(QString::number(id)))
        continue;
      ids << QString::number(id);
      people << nameOf(id, QString());
    }

    auto* chat = new OxWhatsappChat;
    for (const FbMessage& record : *own) {
      if (!sub->progress(step)) {
        delete chat;
        return;
      }
      const bool mine = store.owner && record.sender == store.owner;
      chat->addMessage(createMsg(record, store, mine ? QString() : nameOf(record.sender, record.senderName)));
    }
    ChatItemColumns columns;
    columns.name = !thread.name.isEmpty() ? thread.name : people.join(QStringLiteral(", "));
    columns.title = people.isEmpty() ? columns.name : people.join(QStringLiteral(", "));
    columns.numbers = ids.join(QStringLiteral(", "));
    columns.showLastMessage = true;
    if (OxWhatsappItem* item = CChatItemBuilder::createChatItem(chat, columns))
      list->append(item);
  }
}

OxWhatsappMsg* CMessengerCollection::createMsg(const FbMessage& record, const Store& store, const QString& member) {
  auto* msg = new OxWhatsappMsg;
  msg->setMsgDate(CCommonUtils::buildDateTimeBaseUnixEx(record.timestampMs / 1000));
  msg->setFromMe(member.isEmpty() && store.owner && record.sender == store.owner);
  msg->setMember(member);
  msg->setType(OxWhatsappMsg::MsgText);
  if (record.unsent) {
    msg->setContent(tr("This message was unsent"));
    return msg;
  }
  if (record.location) {
    msg->setContent(record.attachmentText);
    msg->setType(OxWhatsappMsg::MsgLocation);
    return msg;
  }
  QString content = record.text;
  const QVector<FbAttachment> attachments =
      store.attachments ? store.attachments->value(record.id) : QVector<FbAttachment>();
  for (const FbAttachment& a : attachments) {
    if (!a.fileName.isEmpty() && msg->media().isEmpty() && msg->type() == OxWhatsappMsg::MsgText) {
      const int type = MessengerFiles::typeOfFileName(a.fileName);
      msg->setType(type);
      msg->setMedia(cachedMediaPath(a.fileName));
      if (content.trimmed().isEmpty() && type == OxWhatsappMsg::MsgDocument)
        content = a.fileName;
    } else if (isCallTitle(a.title)) {
      msg->setType(OxWhatsappMsg::MsgGroupEvent);
      content = a.subtitle.isEmpty() ? a.title : QStringLiteral("%1 (%2)").arg(a.title, a.subtitle);
    } else if (!a.title.isEmpty() || !a.subtitle.isEmpty()) {
      QStringList lines{content.trimmed(), a.title, a.subtitle};
      lines.removeAll(QString());
      content = lines.join(QLatin1Char('\n'));
    }
  }
  if (content.trimmed().isEmpty() && !record.attachmentText.isEmpty())
    content = record.attachmentText;
  msg->setContent(content);
  return msg;
}
