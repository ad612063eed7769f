#include "readers/messengers/line/lineitunescollection.h"

#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "tests/readers/messengers/common/chattest.h"
#include "samples/apps/line.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

#include <memory>

namespace {
using chattest::itemNamed;
using fixture::LineStore;

class FolderLine : public CLineCollection {
public:
  explicit FolderLine(const QString& folder) : m_folder(folder) {}
  QString mediaFilePath(const QString& path) override { return chattest::fileIn(m_folder, path); }

private:
  QString m_folder;
};

using LineChats = testdata::ErrorLogTest;

TEST_F(LineChats, TimeStampsInMillisecondsLoseBit61AndStickerPaths) {
  for (const qint64 stamp : {1500000000123LL, 1500000000123LL | (qint64(1) << 61)})
    EXPECT_EQ(CLineCollection::dateOf(stamp).toSecsSinceEpoch(), 1500000000) << stamp;
  const struct {
    qint64 sticker;
    const char* path;
  } cases[] = {
      {47975, ""}, // below the first package
      {47976, "5ac1bfd5040ab15980c9b435_3/001"},
      {48634, "5ac1bfd5040ab15980c9b435_3/659"},
      {48635, "5ac21542031a6752fb806d55_1/001"},
      {693108 + 1234, "5ac2216f040ab15980c9b448_1/235"}, // the three last digits
  };
  for (const auto& c : cases) {
    const QString expected =
        *c.path ? QStringLiteral("Owned Sticons/packages/%1_key.png").arg(QLatin1String(c.path)) : QString();
    EXPECT_EQ(CLineCollection::stickerPath(c.sticker), expected) << c.sticker;
  }
}

TEST_F(LineChats, MessagesAndTitles) {
  LineStore s;
  s.users = {{1, QStringLiteral("u01"), QStringLiteral("Ann")}, {2, QStringLiteral("u02"), QStringLiteral("Ben")}};
  s.groups = {{QStringLiteral("c01"), QStringLiteral("Family")},
              {QStringLiteral("u02"), QStringLiteral("Group over Ben")}};
  s.chats = {
      {1, QStringLiteral("u01")}, {2, QStringLiteral("c01")}, {3, QStringLiteral("u02")}, {4, QStringLiteral("r99")}};
  s.members = {{2, 1}, {2, 2}, {2, 7}}; // user 7 is unknown
  // The content is the text in every case.
  struct Row {
    qint64 chat, sender;
    int contentType, sendStatus;
    double sticker;
    const char* text;
    int type;
    const char* media; // relative to the folder; "" none
  } const rows[] = {
      {1, 1, 0, 1, 0, "hello", 0, ""},
      {1, 0, 6, 1, 0, "call 0:42", 0, ""},                              // a call line shows its text
      {1, 0, 2, 2, 0, nullptr, 2, "P/Message Thumbnails/u01/4.thumb"},  // thumbnail there: used
      {1, 0, 3, 3, 0, nullptr, 3, "P/Message Attachments/u01/S_5.jpg"}, // not done, no thumbnail
      {1, 1, 7, 1, 47980, nullptr, 1, "P/Owned Sticons/packages/5ac1bfd5040ab15980c9b435_3/005_key.png"},
      {1, 1, 7, 1, 100, nullptr, 1, ""}, // sticker of no known package
      {1, 1, 1, 1, 0, nullptr, 1, ""},   // picture whose files are missing
      {2, 0, 18, 0, 0, "Ann joined", 6, ""},
      {2, 2, 13, 1, 0, "Ben's card", 4, ""},
      {2, 1, 14, 1, 0, "menu.pdf", 8, ""},
      {2, 1, 100, 1, 0, "here", 5, ""},
      {2, 1, 22, 1, 0, "flex", 0, ""}, // a kept type beyond the model's numbers
  };
  qint64 pk = 1;
  for (const Row& r : rows) {
    // Message ids 4 and 5 name the thumbnail and the attachment written below.
    s.messages << fixture::LineMessageRow{pk,        QString::number(pk + 1),     r.chat,        r.sender,
                                          1000 * pk, QString::fromLatin1(r.text), r.contentType, r.sendStatus,
                                          r.sticker};
    ++pk;
  }
  for (const char* file : {"Message Thumbnails/u01/4.thumb", "Message Attachments/u01/S_5.jpg",
                           "Owned Sticons/packages/5ac1bfd5040ab15980c9b435_3/005_key.png"})
    testdata::writeFile(dir.filePath(QStringLiteral("P/") + QLatin1String(file)), "x");

  FolderLine line(dir.path());
  line.setBaseFolder(QStringLiteral("P/"));
  OxBackup registry;
  line.readDatabase(&registry, nullptr,
                    testdata::writeSqliteDb(dir.filePath(QStringLiteral("Line.sqlite")), fixture::lineStatements(s)));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();

  OxData* list = registry.getLineMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 4);
  OxWhatsappItem* ann = itemNamed(list, QStringLiteral("Ann"));
  OxWhatsappItem* family = itemNamed(list, QStringLiteral("Family"));
  OxWhatsappItem* ben = itemNamed(list, QStringLiteral("Group over Ben")); // a group name wins over a user name
  OxWhatsappItem* room = itemNamed(list, QString());                       // a mid nobody names
  ASSERT_TRUE(ann && family && ben && room);
  EXPECT_EQ(ann->value(1), QStringLiteral("Ann")); // no members listed: the chat's name
  EXPECT_EQ(family->value(1), QStringLiteral("Ann, Ben"));
  EXPECT_TRUE(ben->detailContent()->messages().isEmpty());
  EXPECT_TRUE(room->value(1).isEmpty());
  EXPECT_EQ(family->value(4), QStringLiteral("flex"));

  QList<OxWhatsappMsg*> msgs = ann->detailContent()->messages() + family->detailContent()->messages();
  ASSERT_EQ(msgs.size(), int(sizeof(rows) / sizeof(rows[0])));
  const char* const names[] = {"", "Ann", "Ben"};
  for (int i = 0; i < msgs.size(); ++i) {
    const Row& r = rows[i];
    const OxWhatsappMsg& m = *msgs[i];
    EXPECT_EQ(testdata::fields(int(m.type()), m.content(), m.media(), m.isFromMe(), m.isSentDone(), m.member()),
              testdata::fields(r.type, QString::fromLatin1(r.text),
                               *r.media ? dir.filePath(QString::fromLatin1(r.media)) : QString(), r.sender == 0,
                               r.sendStatus < 2, QString::fromLatin1(names[r.sender])))
        << i;
  }
}

TEST_F(LineChats, MissingTablesLeaveTheListEmpty) {
  FolderLine line(dir.path());
  OxBackup registry;
  line.readDatabase(&registry, nullptr,
                    testdata::writeSqliteDb(dir.filePath(QStringLiteral("empty.sqlite")),
                                            {QStringLiteral("create table zother(z_pk integer)")}));
  EXPECT_EQ(registry.getLineMsg()->count(OxData::CountRaw), 0);
  EXPECT_EQ(errors.size(), 5); // one per query
}

TEST_F(LineChats, FileScan) {
  const QString group = QStringLiteral("AppDomainGroup-group.com.linecorp.line");
  const QString app = QStringLiteral("AppDomain-jp.naver.line");
  const QString p = QStringLiteral("Library/Application Support/PrivateStore/P_u1/");
  const struct {
    bool app;
    const char* path; // under the account folder
    qint64 size;
    int kept; // 0 not kept, 1 under its path, 2 under "/" and its path
  } recs[] = {
      {false, "Messages/Line.sqlite", 10, 1},
      {false, "Messages/UnifiedGroup.sqlite", 10, 0},
      {false, "Message Thumbnails/u2/1.thumb", 10, 2},
      {false, "Message Attachments/u2/1", 10, 0}, // originals are looked for in the app's container
      {true, "Message Attachments/u2/S_1.jpg", 10, 2},
      {true, "Owned Sticons/packages/x_1/001_key.png", 10, 2},
      {true, "Message Attachments/u2/S_2.jpg", 0, 0}, // empty: passed over
      {true, "Other/x", 10, 0},
      {true, "Message Attachments/u2/S_3.jpg", 10, 2},
  };
  CLineiTunesCollection line(nullptr);
  QStringList kept;
  int i = 0;
  for (const auto& r : recs) {
    BackupFileRecord rec;
    rec.domain = r.app ? app : group;
    rec.relativePath = p + QLatin1String(r.path);
    rec.size = r.size;
    line.scanRecord(i++, rec);
    if (r.kept)
      kept << (r.kept == 2 ? QStringLiteral("/") : QString()) + rec.relativePath;
  }
  kept.sort();
  EXPECT_EQ(line.fileMap().keys(), kept);
  EXPECT_EQ(line.baseFolder(), p);
}

TEST_F(LineChats, SampleBackup) {
  const QString folder = dir.filePath(QStringLiteral("backup"));
  QString error;
  ASSERT_TRUE(fixture::writeBackup(folder, fixture::BackupPlan(), fixture::sampleLineFiles(), &error))
      << qPrintable(error);
  const QByteArray before = fixture::folderChecksum(folder);
  std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder));
  ASSERT_TRUE(backup);
  OxBackup registry;
  {
    CLineiTunesCollection line(&registry);
    line.setSwitches(true, false);
    line.load(backup.get());
  }
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  EXPECT_EQ(fixture::folderChecksum(folder), before);

  OxData* list = registry.getLineMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 2);
  OxWhatsappItem* ann = itemNamed(list, QStringLiteral("Ann Lee"));
  ASSERT_NE(ann, nullptr);
  const QList<OxWhatsappMsg*>& msgs = ann->detailContent()->messages();
  ASSERT_EQ(msgs.size(), 5);
  EXPECT_TRUE(QFile::exists(msgs[2]->media())); // the thumbnail
  EXPECT_TRUE(QFile::exists(msgs[3]->media())); // the sticker
}
} // namespace
