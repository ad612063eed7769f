#include "readers/messengers/viber/viberitunescollection.h"

#include "model/oxbackup.h"
#include "model/oxcallhistoryitem.h"
#include "platform/backup/mobilebackup.h"
#include "samples/apps/viber.h"
#include "tests/readers/messengers/common/chattest.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

#include <memory>

namespace {
using chattest::itemNamed;
using fixture::ViberMessageRow;
using fixture::ViberStore;

class FolderViber : public CViberCollection {
public:
  explicit FolderViber(const QString& folder) : m_folder(folder) {}
  QString mediaFilePath(const QString& path) override { return chattest::fileIn(m_folder, path); }

private:
  QString m_folder;
};

using ViberChats = testdata::ErrorLogTest;

ViberMessageRow row(qint64 conversation, qint64 sender, const char* state, const char* text) {
  static qint64 pk = 0;
  ViberMessageRow m;
  m.pk = ++pk;
  m.conversation = conversation;
  m.sender = sender;
  m.date = 700000000 + 60.0 * double(pk);
  m.state = QString::fromLatin1(state);
  m.text = QString::fromUtf8(text);
  return m;
}

TEST_F(ViberChats, MessagesOfBothContactGenerations) {
  for (const bool older : {false, true}) {
    ViberStore s;
    s.olderContacts = older;
    s.contacts = {{1, QStringLiteral("Ana"), QStringLiteral("+3851"), QStringLiteral("ana-icon")},
                  {2, QString(), QStringLiteral("+3852"), QString()}, // no name: shown by number
                  {3, QStringLiteral("Ivo"), QString(), QString()}};
    s.conversations = {{1, QString(), 1, false, {}},
                       {2, QStringLiteral("Crew"), 0, false, {1, 2, 3}},
                       {3, QString(), 3, true, {}},   // a deleted chat
                       {4, QString(), 2, false, {}}}; // no messages: not listed
    s.attachments = {{1, QStringLiteral("p.jpg"), QStringLiteral("picture")},
                     {2, QStringLiteral("v.mp4"), QStringLiteral("video")},
                     {3, QStringLiteral("doc.pdf"), QStringLiteral("file")},
                     {4, QStringLiteral("s1"), QStringLiteral("sticker")},
                     {5, QStringLiteral("gone.m4a"), QStringLiteral("voice")}};
    s.locations = {{1, 45.5, 16.25, QString()}};
    struct Case {
      ViberMessageRow row;
      int type;
      const char* content;
      const char* media; // relative to the folder; "" none
      bool fromMe, sentDone;
      const char* member;
    };
    auto with = [](ViberMessageRow m, void (*set)(ViberMessageRow&)) {
      set(m);
      return m;
    };
    const Case cases[] = {
        {row(1, 1, "received", "hi"), 0, "hi", "", false, true, "Ana"},
        {row(1, 0, "delivered", "yo"), 0, "yo", "", true, true, ""},
        {row(1, 0, "pending", "wait"), 0, "wait", "", true, false, ""},
        {row(1, 0, "odd", "own, state unknown"), 0, "own, state unknown", "", true, true, ""},
        {row(1, 0, "received", "partner's, no sender"), 0, "partner's, no sender", "", false, true, "Ana"},
        {with(row(1, 1, "received", "look"), [](ViberMessageRow& m) { m.attachment = 1; }), 1, "look",
         "Documents/Attachments/p.jpg", false, true, "Ana"},
        {with(row(1, 1, "received", ""), [](ViberMessageRow& m) { m.attachment = 2; }), 2, "",
         "Documents/Thumbnails/v.jpg", false, true, "Ana"},
        {with(row(1, 0, "send", ""), [](ViberMessageRow& m) { m.attachment = 3; }), 8, "doc.pdf", "", true, true, ""},
        {with(row(1, 0, "send", ""), [](ViberMessageRow& m) { m.attachment = 4; }), 0, "[Sticker]", "", true, true, ""},
        {with(row(1, 0, "send", ""), [](ViberMessageRow& m) { m.attachment = 5; }), 3, "", "", true, true, ""},
        {with(row(1, 0, "send", ""), [](ViberMessageRow& m) { m.location = 1; }), 5, "45.500000, 16.250000", "", true,
         true, ""},
        {with(row(1, 1, "received", ""), [](ViberMessageRow& m) { m.metadata = QStringLiteral(R"({"Title":"Link"})"); }),
         0, "Link", "", false, true, "Ana"},
        {with(row(2, 2, "received", ""), [](ViberMessageRow& m) { m.systemType = QStringLiteral("GroupCreated"); }),
         6, "Group created", "", false, true, "+3852"},
        {row(2, 3, "received", "in the group"), 0, "in the group", "", false, true, "Ivo"},
    };
    for (const Case& c : cases)
      s.messages << c.row;
    ViberMessageRow removed = row(1, 1, "received", "taken back");
    removed.deleted = true;
    s.messages << removed << row(3, 3, "received", "in a deleted chat");
    for (const char* file : {"Documents/Attachments/p.jpg", "Documents/Thumbnails/v.jpg", "ViberIcons/ana-icon"})
      testdata::writeFile(dir.filePath(QLatin1String(file)), "x");

    FolderViber viber(dir.path());
    OxBackup registry;
    viber.readDatabase(&registry, nullptr,
                       testdata::writeSqliteDb(dir.filePath(QStringLiteral("Contacts%1.data").arg(older)),
                                               fixture::viberStatements(s)));
    EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

    OxData* list = registry.getViberMsg();
    ASSERT_EQ(list->count(OxData::CountRaw), 4) << older; // Ana, her deleted message, Crew, the deleted chat
    OxWhatsappItem* ana = nullptr;
    OxWhatsappItem* anaDeleted = nullptr;
    for (int i = 0; i < list->count(OxData::CountRaw); ++i) {
      auto* item = static_cast<OxWhatsappItem*>(list->at(i, false));
      if (item->value(0) == QLatin1String("Ana"))
        (item->flag(OxAbstractItem::ItemDeleted) ? anaDeleted : ana) = item;
    }
    OxWhatsappItem* crew = itemNamed(list, QStringLiteral("Crew"));
    OxWhatsappItem* ivo = itemNamed(list, QStringLiteral("Ivo"));
    ASSERT_TRUE(ana && anaDeleted && crew && ivo) << older;
    EXPECT_EQ(testdata::fields(ana->value(1), ana->value(2), ana->value(5)),
              testdata::fields(QStringLiteral("Ana"), QStringLiteral("+3851"), dir.filePath(QStringLiteral("ViberIcons/ana-icon"))));
    EXPECT_EQ(crew->value(1), QStringLiteral("Ana, +3852, Ivo"));
    EXPECT_TRUE(ivo->flag(OxAbstractItem::ItemDeleted) && ivo->detailContent()->deleted());
    EXPECT_FALSE(ana->flag(OxAbstractItem::ItemDeleted));
    ASSERT_EQ(anaDeleted->detailContent()->messages().size(), 1);
    EXPECT_EQ(anaDeleted->detailContent()->messages()[0]->content(), QStringLiteral("taken back"));

    const QList<OxWhatsappMsg*> msgs = ana->detailContent()->messages() + crew->detailContent()->messages();
    ASSERT_EQ(msgs.size(), int(sizeof(cases) / sizeof(cases[0])));
    for (int i = 0; i < msgs.size(); ++i) {
      const Case& c = cases[i];
      const OxWhatsappMsg& m = *msgs[i];
      EXPECT_EQ(testdata::fields(int(m.type()), m.content(), m.media(), m.isFromMe(), m.isSentDone(), m.member()),
                testdata::fields(c.type, QString::fromUtf8(c.content),
                                 *c.media ? dir.filePath(QString::fromLatin1(c.media)) : QString(), c.fromMe,
                                 c.sentDone, QString::fromUtf8(c.member)))
          << older << " " << i;
    }
  }
}

TEST_F(ViberChats, RealStore) {
  const QString db = testdata::copyReal(QStringLiteral(SHERD_REALDATA_DIR "/viber-mvt/Contacts.data"),
                                        dir.filePath(QStringLiteral("Contacts.data")));
  if (db.isEmpty())
    GTEST_SKIP() << "no real Viber store";
  CViberCollection viber;
  OxBackup registry;
  viber.readDatabase(&registry, nullptr, db);
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  OxData* list = registry.getViberMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 1); // the conversation without messages is not listed
  auto* chat = static_cast<OxWhatsappItem*>(list->at(0, false));
  EXPECT_EQ(testdata::fields(chat->value(0), chat->value(2)),
            testdata::fields(QStringLiteral("Donncha"), QStringLiteral("+4915785097580")));
  const QList<OxWhatsappMsg*>& msgs = chat->detailContent()->messages();
  ASSERT_EQ(msgs.size(), 2);
  EXPECT_EQ(msgs[0]->msgDate().toMSecsSinceEpoch(), QDateTime(QDate(2023, 7, 25), QTime(14, 55, 19, 471), Qt::UTC).toMSecsSinceEpoch());
  for (const OxWhatsappMsg* m : msgs)
    EXPECT_EQ(testdata::fields(m->isFromMe(), m->member(), int(m->type())), testdata::fields(false, QStringLiteral("Donncha"), 0));
  EXPECT_TRUE(msgs[1]->content().contains(QStringLiteral("https://tinyurl.com/n2zyywhh")));
}

TEST_F(ViberChats, BadInputsKeepWhatCanBeRead) {
  const struct {
    const char* name;
    QStringList statements; // empty: the file holds garbage
    int chats;
    int errorsAtLeast;
  } cases[] = {
      {"garbage", {}, 0, 1},
      {"no tables", {QStringLiteral("create table zother(z_pk integer)")}, 0, 5},
      // An app version without most optional columns: still one chat, with its text.
      {"few columns",
       {QStringLiteral("create table zconversation(z_pk integer primary key, zinterlocutor integer)"),
        QStringLiteral("create table zvibermessage(z_pk integer primary key, zconversation integer, ztext varchar)"),
        QStringLiteral("insert into zconversation values(1, 0)"),
        QStringLiteral("insert into zvibermessage values(1, 1, 'still here')")},
       1, 1},
  };
  for (const auto& c : cases) {
    errors.clear();
    const QString path = dir.filePath(QLatin1String(c.name));
    if (c.statements.isEmpty())
      testdata::writeFile(path, QByteArray(4096, 'z'));
    else
      testdata::writeSqliteDb(path, c.statements);
    CViberCollection viber;
    OxBackup registry;
    viber.readDatabase(&registry, nullptr, path);
    OxData* list = registry.getViberMsg();
    EXPECT_EQ(list->count(OxData::CountRaw), c.chats) << c.name;
    EXPECT_GE(errors.size(), c.errorsAtLeast) << c.name;
    EXPECT_TRUE(errors.join(QLatin1Char('\n')).contains(path)) << c.name;
    if (c.chats) {
      EXPECT_EQ(static_cast<OxWhatsappItem*>(list->at(0, false))->value(4), QStringLiteral("still here"));
    }
  }
}

TEST_F(ViberChats, CallsUnderTheirLayer) {
  ViberStore s;
  s.contacts = {{1, QStringLiteral("Ana"), QStringLiteral("+3851"), QString()},
                {2, QString(), QStringLiteral("+3852"), QString()}};
  s.conversations = {{1, QString(), 1, false, {}}};
  ViberMessageRow line = row(1, 0, "delivered", "");
  line.callType = QStringLiteral("outgoing_viber");
  s.messages << line;
  const struct {
    const char* type;
    qint64 duration;
    const char* number;
    qint64 contact, message;
    const char* name;
    const char* typeText;
    const char* durationText;
  } cases[] = {
      {"incoming", 65, "+3851", 1, 0, "Ana", "Incoming Calls", "00:01:05"},
      {"missed_with_video", 0, "+3852", 0, 0, "+3852", "Incoming Video Calls", "Missed"},
      {"outgoing_viber", 0, "", 0, line.pk, "Ana", "Outgoing Calls", "Canceled"}, // through its chat line
      {"outgoing_viber_with_video", 30, "3851", 0, 0, "Ana", "Outgoing Video Calls", "00:00:30"},
  };
  qint64 pk = 0;
  for (const auto& c : cases) {
    ++pk;
    s.calls << fixture::ViberCallRow{pk, 700000000.0 - 60 * pk, c.duration, QString::fromLatin1(c.type),
                                     QString::fromLatin1(c.number), c.contact, c.message};
  }
  OxData calls(OxBackup::CallHistory);
  CViberCollection viber;
  viber.readCalls(&calls, testdata::writeSqliteDb(dir.filePath(QStringLiteral("c.data")), fixture::viberStatements(s)));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  ASSERT_EQ(calls.count(OxData::CountRaw), int(sizeof(cases) / sizeof(cases[0])));
  for (int i = 0; i < calls.count(OxData::CountRaw); ++i) {
    const OxAbstractItem* item = calls.at(i, false);
    const auto& c = cases[i];
    EXPECT_EQ(testdata::fields(item->value(OxCallHistoryItem::ColName), item->value(OxCallHistoryItem::ColType),
                               item->value(OxCallHistoryItem::ColDuration), item->getTreeFirstLayerName()),
              testdata::fields(QString::fromLatin1(c.name), QString::fromLatin1(c.typeText),
                               QString::fromLatin1(c.durationText), QStringLiteral("Viber Call History")))
        << i;
  }
}

TEST_F(ViberChats, SampleBackupPlainAndEncrypted) {
  for (const char* password : {"", "viber-pass"}) {
    const QString folder = dir.filePath(QStringLiteral("backup%1").arg(*password ? 1 : 0));
    fixture::BackupPlan plan;
    plan.password = QString::fromLatin1(password);
    QString error;
    ASSERT_TRUE(fixture::writeBackup(folder, plan, fixture::sampleViberFiles(), &error)) << qPrintable(error);
    const QByteArray before = fixture::folderChecksum(folder);
    std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder, plan.password));
    ASSERT_TRUE(backup) << password;
    OxBackup registry;
    {
      CViberiTunesCollection viber(&registry);
      viber.setSwitches(true, false);
      viber.setCallList(registry.getCallHistory());
      viber.load(backup.get());
    }
    EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(fixture::folderChecksum(folder), before);
    OxData* list = registry.getViberMsg();
    ASSERT_EQ(list->count(OxData::CountRaw), 3) << password;
    EXPECT_EQ(registry.getCallHistory()->count(OxData::CountRaw), 2);
    int media = 0;
    for (int i = 0; i < list->count(OxData::CountRaw); ++i) {
      auto* item = static_cast<OxWhatsappItem*>(list->at(i, false));
      media += item->value(5).isEmpty() ? 0 : QFile::exists(item->value(5));
      for (const OxWhatsappMsg* m : item->detailContent()->messages())
        media += m->media().isEmpty() ? 0 : QFile::exists(m->media());
    }
    EXPECT_EQ(media, 3) << password; // the picture and the avatar on both of Dana's items
  }
}
} // namespace
