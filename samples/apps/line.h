#pragma once
// Writer of Line's chat store, Line.sqlite, with the tables the app keeps its
// users, groups, chats and messages in (the chat-member join table numbered
// Z_1MEMBERS(Z_1CHATS, Z_12MEMBERS)), and of the files beside it: message
// thumbnails in the shared group container, previews and owned sticker
// packages in the app's own container.
#include "samples/backupfixture.h"

#include <QPair>

namespace fixture {

struct LineUserRow {
  qint64 pk = 0;
  QString mid;
  QString name;
};

struct LineMessageRow {
  qint64 pk = 0;
  QString id; // the server id, decimal digits
  qint64 chat = 0;
  qint64 sender = 0;    // 0: the owner (written as NULL)
  qint64 timestamp = 0; // Unix milliseconds
  QString text;         // empty: NULL
  int contentType = 0;
  int sendStatus = 1;
  double longitude = 0; // the sticker number of a sticker
};

struct LineStore {
  QList<LineUserRow> users;
  QList<QPair<QString, QString>> groups; // group mid, name
  QList<QPair<qint64, QString>> chats;   // chat key, mid
  QList<QPair<qint64, qint64>> members;  // chat key, user key
  QList<LineMessageRow> messages;
};

// The statements that create and fill Line.sqlite.
QStringList lineStatements(const LineStore& store);

// Line.sqlite under the account folder's Messages/ in the group container,
// and the given files: (domain, path relative to the account folder, data).
struct LineExtraFile {
  bool appDomain = false; // the app's own container instead of the group's
  QString path;
  QByteArray data;
};
QList<StoredFile> lineFiles(const LineStore& store, const QList<LineExtraFile>& extraFiles);

// What the sample backup holds: a one-to-one chat with a picture and a
// sticker, a group chat with a system line and a file.
QList<StoredFile> sampleLineFiles();

// A database of `chats` chats and `messages` messages spread evenly over them,
// written straight to path (benchmarks).
bool writeLineDatabase(const QString& path, int chats, int messages, QString* error);

} // namespace fixture
