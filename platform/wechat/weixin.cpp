#include "platform/wechat/weixin.h"

#include "platform/common/log.h"
#include "platform/common/sqlrow.h"

#include <QCryptographicHash>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>
#include <algorithm>

namespace {
const char kModule[] = "Weixin";
const QString kChatPrefix = QStringLiteral("Chat_");

// The length-delimited fields of a serialised protobuf message, first
// occurrence of each number; what cannot be parsed ends the reading.
QMap<int, QByteArray> protobufFields(const QByteArray& data) {
  namespace pb = google::protobuf;
  QMap<int, QByteArray> fields;
  if (data.isEmpty())
    return fields;
  pb::io::CodedInputStream in(reinterpret_cast<const pb::uint8*>(data.constData()), data.size());
  while (const pb::uint32 tag = in.ReadTag()) {
    const int number = int(pb::internal::WireFormatLite::GetTagFieldNumber(tag));
    if (pb::internal::WireFormatLite::GetTagWireType(tag) == pb::internal::WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
      std::string value;
      pb::uint32 length = 0;
      if (!in.ReadVarint32(&length) || !in.ReadString(&value, int(length)))
        break;
      if (!fields.contains(number))
        fields.insert(number, QByteArray(value.data(), int(value.size())));
    } else if (!pb::internal::WireFormatLite::SkipField(&in, tag)) {
      break;
    }
  }
  return fields;
}

// Chat-room members as the contact's room data lists them:
// <RoomData><Member UserName="..."><DisplayName>...</DisplayName></Member>...
void readRoomMembers(const QByteArray& xml, QMap<QString, QString>* members) {
  QXmlStreamReader reader(xml);
  QString member;
  while (!reader.atEnd()) {
    reader.readNext();
    if (!reader.isStartElement())
      continue;
    if (reader.name() == QLatin1String("Member")) {
      member = reader.attributes().value(QLatin1String("UserName")).toString();
      if (!member.isEmpty() && !members->contains(member))
        members->insert(member, QString());
    } else if (reader.name() == QLatin1String("DisplayName") && !member.isEmpty()) {
      members->insert(member, reader.readElementText());
    }
  }
}

// A column list for the table: the wanted columns it has, NULL for the others
// (logged once per table).
QString columnList(const SqlDatabase& db, const QString& table, const QStringList& wanted) {
  QStringList columns;
  for (const QString& c : wanted) {
    if (db.hasColumn(table, c)) {
      columns << c;
    } else {
      columns << QStringLiteral("NULL");
      Log(kModule, 0, "Table %s of %s has no column %s", qPrintable(table), qPrintable(db.path()), qPrintable(c));
    }
  }
  return columns.join(QStringLiteral(", "));
}

using Db = SqlDatabase;
} // namespace

WxFileSource::~WxFileSource() = default;

QString WxContact::displayName() const {
  if (!remark.isEmpty())
    return remark;
  return nickName.isEmpty() ? userName : nickName;
}

struct Weixin::Private {
  WxFileSource* source = nullptr;
  QStringList files;
  bool filesRead = false;
  QSet<QString> fileSet;

  QString folder; // of the open account
  QMap<QString, WxContact> contacts;
  QList<WxChat> chats;
  QHash<QString, std::shared_ptr<Db>> dbs;    // relative path -> open database (null: cannot be read)
  QHash<QString, QString> attachments;        // "<chat hash>/<local id>" -> relative path under OpenData

  const QStringList& allFiles() {
    if (!filesRead && source) {
      files = source->files();
      fileSet = QSet<QString>(files.begin(), files.end());
      filesRead = true;
    }
    return files;
  }

  // The open database of a file of the container, opened once.
  std::shared_ptr<Db> open(const QString& relativePath) {
    const auto known = dbs.constFind(relativePath);
    if (known != dbs.constEnd())
      return known.value();
    if (!fileSet.contains(relativePath))
      return nullptr;
    dbs.insert(relativePath, nullptr);
    auto db = std::make_shared<Db>();
    const QString local = source->databasePath(relativePath);
    if (local.isEmpty()) {
      Log(kModule, 0, "No readable copy of %s", qPrintable(relativePath));
      return nullptr;
    }
    QString why;
    if (!db->open(local, &why)) {
      Log(kModule, 0, "%s (%s)", qPrintable(why), qPrintable(relativePath));
      return nullptr;
    }
    dbs.insert(relativePath, db);
    return db;
  }

  void readContacts(Db& db, const QString& table);
  void readSessionNames(QSet<QString>* names);
};

void Weixin::Private::readContacts(Db& db, const QString& table) {
  if (!db.hasTable(table))
    return;
  SqlStatement stmt(db, QStringLiteral("select %1 from %2")
                            .arg(columnList(db, table,
                                            {QStringLiteral("userName"), QStringLiteral("type"),
                                             QStringLiteral("dbContactRemark"), QStringLiteral("dbContactHeadImage"),
                                             QStringLiteral("dbContactChatRoom")}),
                                 table));
  if (!stmt.isValid()) {
    Log(kModule, 0, "%s", qPrintable(stmt.errorString()));
    return;
  }
  while (stmt.step()) {
    SqlRow r(stmt);
    WxContact c;
    c.userName = r.text();
    if (c.userName.isEmpty() || contacts.contains(c.userName))
      continue;
    c.type = r.integer();
    const QMap<int, QByteArray> remark = protobufFields(r.blob());
    c.nickName = QString::fromUtf8(remark.value(1));
    c.alias = QString::fromUtf8(remark.value(2));
    c.remark = QString::fromUtf8(remark.value(3));
    const QMap<int, QByteArray> head = protobufFields(r.blob());
    c.avatarUrl = QString::fromUtf8(head.value(3, head.value(2)));
    if (c.isChatRoom()) {
      const QMap<int, QByteArray> room = protobufFields(r.blob());
      readRoomMembers(room.value(6), &c.memberNames);
      // Older rooms list their members as user names separated by ";".
      for (const QString& name : QString::fromUtf8(room.value(1)).split(QLatin1Char(';'), Qt::SkipEmptyParts))
        if (!c.memberNames.contains(name))
          c.memberNames.insert(name, QString());
    }
    contacts.insert(c.userName, c);
  }
}

void Weixin::Private::readSessionNames(QSet<QString>* names) {
  std::shared_ptr<Db> db = open(folder + QStringLiteral("session/session.db"));
  if (!db)
    return;
  SqlStatement stmt(*db, QStringLiteral("select UsrName from SessionAbstract"));
  if (!stmt.isValid())
    Log(kModule, 0, "%s", qPrintable(stmt.errorString()));
  while (stmt.step())
    names->insert(SqlRow(stmt).text());
}

Weixin::Weixin(WxFileSource* source) : d(new Private) { d->source = source; }
Weixin::~Weixin() = default;

QString Weixin::hashOf(const QString& userName) {
  return QString::fromLatin1(QCryptographicHash::hash(userName.toUtf8(), QCryptographicHash::Md5).toHex());
}

QList<WxAccount> Weixin::accounts() {
  static const QRegularExpression folderRe(QStringLiteral("^Documents/([0-9a-f]{32})/"));
  static const QRegularExpression dbRe(QStringLiteral("^DB/(MM|message_[0-9]{1,4})\\.sqlite$"));
  QMap<QString, bool> folders; // hash -> has a message database
  for (const QString& path : d->allFiles()) {
    const QRegularExpressionMatch m = folderRe.match(path);
    if (!m.hasMatch())
      continue;
    const QString hash = m.captured(1);
    // The all-zero folder is the app's own, not an account.
    if (hash == QLatin1String("00000000000000000000000000000000"))
      continue;
    bool& has = folders[hash];
    has = has || dbRe.match(path.mid(m.capturedEnd())).hasMatch();
  }
  QList<WxAccount> accounts;
  for (auto it = folders.constBegin(); it != folders.constEnd(); ++it) {
    if (!it.value()) {
      Log(kModule, 1, "Account folder Documents/%s has no message database", qPrintable(it.key()));
      continue;
    }
    accounts << WxAccount{it.key(), QStringLiteral("Documents/%1/").arg(it.key())};
  }
  return accounts;
}

bool Weixin::openAccount(const WxAccount& account) {
  d->dbs.clear();
  d->contacts.clear();
  d->chats.clear();
  d->attachments.clear();
  d->folder = account.folder;
  d->allFiles();

  // Message databases: MM.sqlite first, then message_<n>.sqlite by number.
  QList<QPair<int, QString>> dbFiles;
  const QRegularExpression dbRe(QStringLiteral("^%1DB/(MM|message_([0-9]{1,4}))\\.sqlite$")
                                    .arg(QRegularExpression::escape(account.folder)));
  const QString attachmentPrefix = account.folder + QStringLiteral("OpenData/");
  for (const QString& path : qAsConst(d->files)) {
    const QRegularExpressionMatch m = dbRe.match(path);
    if (m.hasMatch())
      dbFiles << qMakePair(m.captured(2).isEmpty() ? -1 : m.captured(2).toInt(), path);
    else if (path.startsWith(attachmentPrefix)) {
      // OpenData/<chat hash>/<local id>.<extension>: the file a message shared.
      const QString rest = path.mid(attachmentPrefix.size());
      const int dot = rest.indexOf(QLatin1Char('.'), rest.indexOf(QLatin1Char('/')));
      if (dot > 0 && !rest.endsWith(QLatin1String("_thum")))
        d->attachments.insert(rest.left(dot), path);
    }
  }
  std::sort(dbFiles.begin(), dbFiles.end());

  QMap<QString, WxChat> byHash;
  bool anyRead = false;
  for (const auto& f : qAsConst(dbFiles)) {
    std::shared_ptr<Db> db = d->open(f.second);
    if (!db)
      continue;
    SqlStatement stmt(*db, QStringLiteral(
                               "select name from sqlite_master where type = 'table' and name like 'Chat\\_%' escape '\\'"));
    if (!stmt.isValid()) {
      Log(kModule, 0, "%s", qPrintable(stmt.errorString()));
      continue;
    }
    anyRead = true;
    while (stmt.step()) {
      const QString table = SqlRow(stmt).text();
      const QString hash = table.mid(kChatPrefix.size()).toLower();
      if (hash.size() != 32)
        continue;
      WxChat& chat = byHash[hash];
      chat.hash = hash;
      chat.tables << f.second + QLatin1Char('|') + table;
    }
  }
  if (!anyRead) {
    Log(kModule, 0, "No message database of %s can be read", qPrintable(account.folder));
    return false;
  }

  // Contacts: the contact database of newer versions first, then the older
  // tables inside MM.sqlite; the first row of a user name wins.
  for (const QString& name : {QStringLiteral("DB/WCDB_Contact.sqlite"), QStringLiteral("DB/MM.sqlite")}) {
    std::shared_ptr<Db> db = d->open(account.folder + name);
    if (!db)
      continue;
    d->readContacts(*db, QStringLiteral("Friend"));
    d->readContacts(*db, QStringLiteral("OpenIMContact"));
  }
  if (d->contacts.isEmpty())
    Log(kModule, 1, "No contacts for %s", qPrintable(account.folder));

  // Every user name the account knows, by hash.
  QSet<QString> names;
  for (const WxContact& c : qAsConst(d->contacts)) {
    names.insert(c.userName);
    for (auto m = c.memberNames.constBegin(); m != c.memberNames.constEnd(); ++m)
      names.insert(m.key());
  }
  d->readSessionNames(&names);
  QHash<QString, QString> byNameHash;
  for (const QString& n : qAsConst(names))
    if (!n.isEmpty())
      byNameHash.insert(hashOf(n), n);
  for (WxChat& chat : byHash) {
    chat.userName = byNameHash.value(chat.hash);
    if (chat.userName.isEmpty())
      Log(kModule, 1, "Chat_%s matches no known user name", qPrintable(chat.hash));
    d->chats << chat;
  }
  return true;
}

const QMap<QString, WxContact>& Weixin::contacts() const { return d->contacts; }
const QList<WxChat>& Weixin::chats() const { return d->chats; }

const WxContact* Weixin::contact(const QString& userName) const {
  const auto it = d->contacts.constFind(userName);
  return it == d->contacts.constEnd() ? nullptr : &it.value();
}

QVector<WxMsg> Weixin::messages(const WxChat& chat) {
  static const QStringList wanted = {QStringLiteral("MesLocalID"), QStringLiteral("MesSvrID"),
                                     QStringLiteral("CreateTime"), QStringLiteral("Des"),
                                     QStringLiteral("Type"),       QStringLiteral("Status"),
                                     QStringLiteral("Message")};
  QVector<WxMsg> out;
  const bool room = chat.isChatRoom();
  for (const QString& entry : chat.tables) {
    const int bar = entry.lastIndexOf(QLatin1Char('|'));
    const std::shared_ptr<Db> db = d->dbs.value(entry.left(bar));
    if (!db)
      continue;
    const QString table = entry.mid(bar + 1);
    SqlStatement stmt(*db, QStringLiteral("select %1 from %2").arg(wanted.join(QStringLiteral(", ")), table));
    if (!stmt.isValid()) {
      // A table of another schema version: read what it has.
      stmt.prepare(db->handle(), QStringLiteral("select %1 from %2").arg(columnList(*db, table, wanted), table));
      if (!stmt.isValid()) {
        Log(kModule, 0, "%s", qPrintable(stmt.errorString()));
        continue;
      }
    }
    while (stmt.step()) {
      SqlRow r(stmt);
      WxMsg m;
      m.localId = r.int64();
      m.serverId = r.int64();
      m.createTime = r.int64();
      m.fromMe = r.integer() == 0;
      m.type = r.integer();
      m.status = r.integer();
      m.content = r.text();
      if (room && !m.fromMe) {
        const int colon = m.content.indexOf(QLatin1String(":\n"));
        if (colon > 0) {
          m.sender = m.content.left(colon);
          m.content.remove(0, colon + 2);
        }
      }
      out << std::move(m);
    }
  }
  std::stable_sort(out.begin(), out.end(), [](const WxMsg& a, const WxMsg& b) {
    return a.createTime != b.createTime ? a.createTime < b.createTime : a.localId < b.localId;
  });
  return out;
}

QString Weixin::mediaPath(const WxChat& chat, const WxMsg& msg, Media kind) const {
  const QString id = QString::number(msg.localId);
  QString rel;
  switch (kind) {
  case Picture: rel = QStringLiteral("Img/%1/%2.pic"); break;
  case PictureHd: rel = QStringLiteral("Img/%1/%2.pic_hd"); break;
  case PictureThumb: rel = QStringLiteral("Img/%1/%2.pic_thum"); break;
  case Voice: rel = QStringLiteral("Audio/%1/%2.aud"); break;
  case Video: rel = QStringLiteral("Video/%1/%2.mp4"); break;
  case VideoThumb: rel = QStringLiteral("Video/%1/%2.video_thum"); break;
  case Attachment: {
    const QString path = d->attachments.value(chat.hash + QLatin1Char('/') + id);
    return path.isEmpty() ? QString() : d->source->localPath(path);
  }
  }
  rel = d->folder + rel.arg(chat.hash, id);
  return d->fileSet.contains(rel) ? d->source->localPath(rel) : QString();
}
