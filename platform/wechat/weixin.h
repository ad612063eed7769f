#pragma once
// Weixin: WeChat's chats as the iOS app keeps them in its container.
//
// The app's container ("AppDomain-com.tencent.xin") holds one folder per
// account that ever logged in on the device, Documents/<md5 of the account's
// user name>/, and in it:
//   DB/MM.sqlite                 messages (and, in older versions, contacts)
//   DB/message_<n>.sqlite        messages of newer versions, split over files
//   DB/WCDB_Contact.sqlite       contacts of newer versions (table Friend)
//   session/session.db           the chat list (table SessionAbstract)
//   Img/, Audio/, Video/, OpenData/ <chat md5>/<MesLocalID>.<kind>   media
// Every conversation has one table Chat_<md5 of the partner's user name> (a
// person, a chat room "<digits>@chatroom", an official account "gh_...") in one
// or several of the message databases. The table name carries only the hash:
// a chat is named by hashing every user name the account knows (contacts,
// chat-room members, the chat list) and matching; a chat whose hash matches
// none keeps the hash as its only name.
//
// Messages: CreateTime is Unix seconds; Des 0 is a message the owner sent, 1
// one received. In a chat room a received message's text starts with the
// sender's user name, a colon and a line break; the library takes it off into
// WxMsg::sender. Texts that are not valid UTF-8 are decoded with replacement
// characters where the bytes are bad.
//
// The library reads; it writes nothing and knows nothing of backups: the files
// come from a WxFileSource. Failures (a missing database, table or column) are
// logged with the file's name; what can still be read is returned.
#include "platform/common/sherdglobal.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

// Where the library finds the app's files, by their path relative to the
// app's container ("Documents/<md5>/DB/MM.sqlite").
class SHERD_EXPORT WxFileSource {
public:
  virtual ~WxFileSource();
  // Every file the container holds.
  virtual QStringList files() = 0;
  // A readable local path of the file, or empty.
  virtual QString localPath(const QString& relativePath) = 0;
  // A local copy of a database that SQLite can open, with the companions
  // (-wal, -shm) the container holds; empty when there is none. Two databases
  // of the same name in different folders must not share a copy.
  virtual QString databasePath(const QString& relativePath) = 0;
};

// A contact, chat room or official account of one account.
struct SHERD_EXPORT WxContact {
  QString userName;  // wxid_..., <digits>@chatroom, gh_..., or a custom id
  QString nickName;
  QString alias;     // the custom WeChat id
  QString remark;    // the name the owner gave the contact
  QString avatarUrl; // the server's picture; the app keeps no local copy
  int type = 0;      // the app's flags
  // Chat rooms: members' user names and the names they use in the room.
  QMap<QString, QString> memberNames;

  // Remark, else nickname, else user name.
  QString displayName() const;
  bool isChatRoom() const { return userName.endsWith(QLatin1String("@chatroom")); }
};

// One account folder.
struct SHERD_EXPORT WxAccount {
  QString hash;   // the folder's name: MD5 (lower-case hex) of the user name
  QString folder; // "Documents/<hash>/"
};

// One conversation: a Chat_<hash> table, in every database that has one.
struct SHERD_EXPORT WxChat {
  QString hash;       // the table's suffix: MD5 of the partner's user name
  QString userName;   // the partner's or room's user name; empty when no known name hashes to it
  QStringList tables; // "<database>|Chat_<hash>" per database holding the table (its container path)
  bool isChatRoom() const { return userName.endsWith(QLatin1String("@chatroom")); }
};

// One message row.
struct SHERD_EXPORT WxMsg {
  qint64 localId = 0;    // MesLocalID; names the media files
  qint64 serverId = 0;   // MesSvrID
  qint64 createTime = 0; // Unix seconds
  int type = 0;          // the app's message type (1 text, 3 picture, 34 voice, 49 app message...)
  int status = 0;        // delivery state
  bool fromMe = false;   // Des is 0
  QString content;       // the text or XML, the sender prefix taken off
  QString sender;        // chat rooms: the sender's user name of a received message

  QDateTime date() const { return QDateTime::fromSecsSinceEpoch(createTime, Qt::UTC); }
};
Q_DECLARE_TYPEINFO(WxMsg, Q_MOVABLE_TYPE);

class SHERD_EXPORT Weixin {
public:
  // The kinds of media file a message may have.
  enum Media { Picture, PictureHd, PictureThumb, Voice, Video, VideoThumb, Attachment };

  explicit Weixin(WxFileSource* source); // not owned
  ~Weixin();
  Weixin(const Weixin&) = delete;
  Weixin& operator=(const Weixin&) = delete;

  // The account folders of the container that hold a message database
  // (Documents/<32 hex digits>/DB/MM.sqlite or message_<n>.sqlite), by hash.
  // A folder without one is logged and left out.
  QList<WxAccount> accounts();

  // Reads an account's contacts, chat list and the list of its chat tables.
  // False (logged) when none of its message databases can be read.
  bool openAccount(const WxAccount& account);

  // Of the account opened last: contacts by user name, and its chats in the
  // order of their hashes.
  const QMap<QString, WxContact>& contacts() const;
  const QList<WxChat>& chats() const;
  // The contact of a user name, or null.
  const WxContact* contact(const QString& userName) const;

  // Every message of the chat from all its tables, oldest first (rows of the
  // same second in the order of their local ids). Tables that cannot be read
  // are logged and passed over.
  QVector<WxMsg> messages(const WxChat& chat);

  // The local path of one of the message's media files, or empty.
  QString mediaPath(const WxChat& chat, const WxMsg& msg, Media kind) const;

  // The lower-case hex MD5 of a user name's UTF-8 bytes.
  static QString hashOf(const QString& userName);

private:
  struct Private;
  std::unique_ptr<Private> d;
};
