#pragma once
// Writer of WeChat's account folders as the iOS app keeps them in its
// container ("AppDomain-com.tencent.xin"): Documents/<md5 of the user name>/
// with DB/MM.sqlite (messages, and contacts in the older layout),
// DB/message_<n>.sqlite and DB/WCDB_Contact.sqlite (the newer layout),
// session/session.db, and the media under Img/, Audio/, Video/, OpenData/.
// Contacts are Friend rows whose dbContactRemark, dbContactHeadImage and
// dbContactChatRoom columns hold protobuf messages, as the app writes them.
#include "platform/wechat/weixin.h"
#include "samples/backupfixture.h"

namespace fixture {

struct WechatContact {
  QString userName;
  QString nickName;
  QString alias;
  QString remark;
  // Chat rooms: members' user names and the names they use in the room.
  QList<QPair<QString, QString>> members;
};

struct WechatMessage {
  QString chat;         // the partner's or room's user name; names the table
  qint64 localId = 0;   // MesLocalID
  qint64 createTime = 0;
  bool fromMe = false;  // Des 0
  int type = 1;
  QByteArray text;      // stored as it is (any bytes), the sender prefix included
  int database = 0;     // 0 MM.sqlite, n message_<n>.sqlite
};

struct WechatAccount {
  QString userName;              // the folder is the md5 of it
  bool newLayout = false;        // contacts in WCDB_Contact.sqlite rather than MM.sqlite
  QList<WechatContact> contacts;
  QList<WechatMessage> messages;
  QStringList sessions;          // user names of the chat list (session.db)
  QList<QPair<QString, QByteArray>> files; // path under the account folder, data
};

QString wechatMd5(const QString& userName);

// An app container written to a folder and read in place: the file source the
// tests and benchmarks give the social-app library. Databases are opened
// where they lie (read-only).
class WechatFolder : public WxFileSource {
public:
  explicit WechatFolder(const QString& root) : m_root(root) {}
  // Writes the files' data under the root by their relative paths.
  bool write(const QList<StoredFile>& files) const;
  QStringList files() override;
  QString localPath(const QString& relativePath) override;
  QString databasePath(const QString& relativePath) override { return localPath(relativePath); }

private:
  QString m_root;
};

// The databases and files of one account, as stored files of the container.
QList<StoredFile> wechatFiles(const WechatAccount& account);
// The statements of one message database (database 0 holds the contacts in
// the older layout).
QStringList wechatMessageStatements(const WechatAccount& account, int database);
QStringList wechatContactStatements(const QList<WechatContact>& contacts);

// What the sample backup holds: two accounts, one of each layout, and an
// account folder without a database.
QList<StoredFile> sampleWechatFiles();

// An MM.sqlite of `chats` chats (Chat_ tables, with Friend rows) and
// `messages` messages spread evenly over them, written straight to path
// (benchmarks); the user names are "wxid_bench<i>".
bool writeWechatDatabase(const QString& path, int chats, int messages, QString* error);

} // namespace fixture
