#pragma once
// Writers of Messenger's chat stores: the Lightspeed database
// (lightspeed-userDatabases/<owner id>.db) and the older orca2.db, with the
// tables and columns public descriptions of the two give them.
#include "samples/backupfixture.h"

namespace fixture {

struct FbContactRow {
  qint64 id = 0;
  QString name;
};

struct FbThreadRow {
  qint64 key = 0;
  int type = 1; // 1 one-to-one, 2 group
  QString name;
  QList<qint64> participants;
};

struct FbMessageRow {
  QString id;
  qint64 thread = 0;
  qint64 sender = 0;
  qint64 timestampMs = 0;
  QString text; // empty: NULL
  bool unsent = false;
};

struct FbAttachmentRow {
  QString message;
  QString fileName;
  QString title;
  QString subtitle;
  bool item = false; // a row of attachment_items rather than attachments
};

struct LightspeedStore {
  qint64 owner = 0; // 0: _user_info stays empty
  QList<FbContactRow> contacts;
  QList<FbThreadRow> threads;
  QList<FbMessageRow> messages;
  QList<FbAttachmentRow> attachments;
  bool messagesAsView = false; // the messages only through the view thread_messages
};

QStringList lightspeedStatements(const LightspeedStore& store);

struct OrcaThreadRow {
  QString key;          // ONE_TO_ONE:<a>:<b> or GROUP:<id>
  QString name;
  QString participants; // JSON
};

struct OrcaMessageRow {
  QString id;
  QString thread;
  QString sender; // JSON
  qint64 timestampMs = 0;
  QString text;
  QString attachments; // JSON
  QString coordinates; // JSON
};

struct OrcaStore {
  QList<OrcaThreadRow> threads;
  QList<QPair<QString, QString>> users; // user key, name
  QList<OrcaMessageRow> messages;
};

QStringList orcaStatements(const OrcaStore& store);

// What the sample backup holds: a Lightspeed store with a one-to-one chat
// (a picture from the media cache, a call line, an unsent message) and a group
// with a shared link.
QList<StoredFile> sampleMessengerFiles();

// A Lightspeed store of `chats` one-to-one threads and `messages` messages
// spread evenly over them, written straight to path (benchmarks).
bool writeMessengerDatabase(const QString& path, int chats, int messages, QString* error);

} // namespace fixture
