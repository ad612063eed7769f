#pragma once
// Writer of Kik's chat store, kik.sqlite, with the schema of the app version
// whose Core Data model numbers KikChat 3, KikMessage 5 and KikUser 6 (so the
// join tables are Z_3MESSAGES and Z_6MEMBERS), and of the files beside it:
// attachment descriptors, full attachment files and profile pictures.
#include "samples/backupfixture.h"

#include <QPair>

namespace fixture {

struct KikUserRow {
  qint64 pk = 0;
  QString displayName;
  QString jid;
  int flags = 256; // 258 marks the owner's row, 9 a group
};

struct KikMessageRow {
  qint64 pk = 0;
  int type = 1; // 1 received, 2 sent, 3 and 4 system lines
  int state = 16;
  int flags = 0; // 0 text, 4 attachment
  qint64 user = 0;
  double timestamp = 0; // seconds since 2001-01-01 UTC
  QString body;         // empty: NULL
};

struct KikAttachmentRow {
  qint64 pk = 0;
  int type = 6; // 6 picture, 7 video
  qint64 message = 0;
  QString content; // the content id
};

struct KikStore {
  QList<KikUserRow> users;
  QList<QPair<qint64, qint64>> chats;        // chat key, user key
  QList<QPair<qint64, qint64>> chatMessages; // chat key, message key
  QList<QPair<qint64, qint64>> members;      // group's user key, member's user key
  QList<KikAttachmentRow> attachments;
  QList<KikMessageRow> messages;
};

// The statements that create and fill kik.sqlite.
QStringList kikStatements(const KikStore& store);

// The group container's files: kik.sqlite in WAL mode (its rows in the -wal
// record, as on the phone) under cores/private/<account>/, plus the extra
// files given by their paths relative to that folder.
QList<StoredFile> kikFiles(const KikStore& store, const QString& account,
                           const QList<QPair<QString, QByteArray>>& extraFiles);

// What the sample backup holds: a one-to-one chat with a picture, a group chat
// with a video and system lines, and a chat of the Kik Team bot.
QList<StoredFile> sampleKikFiles();

// A database of `chats` one-to-one chats and `messages` messages spread
// evenly over them, written straight to path (benchmarks).
bool writeKikDatabase(const QString& path, int chats, int messages, QString* error);

} // namespace fixture
