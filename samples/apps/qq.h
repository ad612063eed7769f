#pragma once
// Writer of the classic QQ client's per-account data in its container
// ("AppDomain-com.tencent.mqq"): Documents/contents/<QQ number>/QQ.db with the
// friend list (tb_userSummary), groups (tb_troop), group members (tb_TroopMem),
// the index of friend tables (tb_c2cTables), one tb_c2cMsg_<friend> table per
// friend and one tb_TroopMsg_<group> table per group; and the account's
// media under Documents/<QQ number>/.
#include "samples/backupfixture.h"

namespace fixture {

struct QQFriendRow {
  QString uin;
  QString nick;
  QString remark;
};

struct QQMessageRow {
  QString chat;   // "c<friend>" or "g<group>": names the table
  QString sender; // friend tables: the friend; group tables: the sender (the owner's number on own messages)
  qint64 time = 0;
  int type = 0;
  int flag = 1;   // friend tables: 0 sent by the owner
  QByteArray content;
  QString picUrl;
  QString nickName; // group tables
};

struct QQAccount {
  QString uin;
  QList<QQFriendRow> friends;
  QList<QPair<QString, QString>> groups;             // number, name
  QList<QPair<QString, QQFriendRow>> groupMembers;   // group number, member (uin, nick)
  QList<QQMessageRow> messages;
  QList<QPair<QString, QByteArray>> files;           // path under Documents/<uin>/, data
};

QStringList qqStatements(const QQAccount& account);
QList<StoredFile> qqFiles(const QQAccount& account);

// What the sample backup holds: one account with a friend's chat (text,
// picture, voice, file) and a group chat.
QList<StoredFile> sampleQQFiles();

// A QQ.db of `chats` friend tables and `messages` messages spread evenly over
// them, written straight to path (benchmarks); the friends are 100000 + i.
bool writeQQDatabase(const QString& path, int chats, int messages, QString* error);

} // namespace fixture
