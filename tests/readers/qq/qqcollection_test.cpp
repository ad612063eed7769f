#include "readers/messengers/qq/qqitunescollection.h"

#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "readers/messengers/qq/qqqueries.h"
#include "samples/apps/qq.h"
#include "tests/readers/messengers/common/chattest.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

#include <memory>

namespace {
using chattest::itemNamed;
using fixture::QQAccount;
using fixture::QQMessageRow;

// Media found by name in a folder standing for the container.
class FolderQQ : public CQQCollection {
public:
  explicit FolderQQ(const QString& folder) : m_folder(folder) {}
  QString mediaFilePath(const QString& path) override { return chattest::fileIn(m_folder, path); }
  QString findFile(const QString& folder, const QString& stem) override {
    return chattest::fileIn(m_folder, folder + stem + QStringLiteral(".png"));
  }

private:
  QString m_folder;
};

using QQChats = testdata::ErrorLogTest;

TEST_F(QQChats, MessageKinds) {
  const struct {
    const char* name;
    int qqType;
    const char* content;
    const char* picUrl;
    int type;
    const char* text;
    const char* media; // under the folder; "" none
  } rows[] = {
      {"text", 0, "hi", "", 0, "hi", ""},
      {"picture by md5", 1, "", "[{\"md5\":\"ab12\"}]", 1, "", "Documents/9/ab12.png"},
      {"picture missing", 1, "", "[{\"md5\":\"ffff\"}]", 1, "[Picture]", ""},
      {"video by its md5", 181, "", "[{\"videoMD5\":\"ab12\"}]", 2, "", "Documents/9/ab12.png"},
      {"voice up to the last +", 3, "v_1+2+3", "", 3, "Voice message", "Documents/9/Audio/v_1+2.amr"},
      {"file up to the bars", 4, "plan.doc||||||||77", "", 8, "plan.doc", "Documents/9/FileRecv/plan.doc"},
      {"location JSON", 337, "{\"meta\":{\"Location.Search\":{\"address\":\"Pier 3\",\"lat\":1.25,\"lng\":2.5}}}", "",
       5, "Location: Pier 3 (1.25, 2.5)", ""},
      {"rich link", 141, "<msg brief=\"[Link]\" url=\"https://x.invalid\"><item><title>Story</title></item></msg>", "",
       7, "Story\nhttps://x.invalid", ""},
      {"rich location", 141, "<msg actionData=\"geo?lat=3&amp;lon=4&amp;loc=Quay%20Rd\"/>", "", 5,
       "Location: Quay Rd (3, 4)", ""},
      {"shared card", 7141, "<msg a_actionData=\"x?source=sharecard&amp;uin=555\"><item><title>Zed</title></item></msg>",
       "", 4, "Contact card: Zed (555)", ""},
      {"recalled", 332, "recalled", "", 6, "recalled", ""},
      {"unknown type with a GUID file", 99, "see 0A1B2C3D-0000-1111-2222-333344445555", "", 8,
       "see 0A1B2C3D-0000-1111-2222-333344445555", "Documents/9/0A1B2C3D-0000-1111-2222-333344445555.png"},
  };
  for (const char* f : {"Documents/9/ab12.png", "Documents/9/Audio/v_1+2.amr", "Documents/9/FileRecv/plan.doc",
                        "Documents/9/0A1B2C3D-0000-1111-2222-333344445555.png"})
    testdata::writeFile(dir.filePath(QLatin1String(f)), "x");
  QQAccount a;
  a.uin = QStringLiteral("9");
  for (const auto& r : rows)
    a.messages << QQMessageRow{QStringLiteral("c7"), QStringLiteral("7"), 100,  r.qqType, 1,
                               QByteArray(r.content), QString::fromLatin1(r.picUrl), {}};
  FolderQQ qq(dir.path());
  OxBackup registry;
  ASSERT_TRUE(qq.readDatabase(&registry, nullptr, a.uin, 1,
                              testdata::writeSqliteDb(dir.filePath(QStringLiteral("QQ.db")), fixture::qqStatements(a))));
  const auto* item = static_cast<const OxWhatsappItem*>(registry.getQQMsg()->at(0, false));
  ASSERT_TRUE(item);
  const QList<OxWhatsappMsg*>& msgs = item->detailContent()->messages();
  ASSERT_EQ(msgs.size(), int(sizeof(rows) / sizeof(rows[0])));
  for (int i = 0; i < msgs.size(); ++i) {
    const auto& r = rows[i];
    EXPECT_EQ(testdata::fields(int(msgs[i]->type()), msgs[i]->content(), msgs[i]->media()),
              testdata::fields(r.type, QString::fromUtf8(r.text),
                               *r.media ? dir.filePath(QLatin1String(r.media)) : QString()))
        << r.name;
  }
}

TEST_F(QQChats, NamesDirectionsAndOrder) {
  QQAccount a;
  a.uin = QStringLiteral("100");
  a.friends = {{QStringLiteral("200"), QStringLiteral("nick200"), QStringLiteral("Remark 200")},
               {QStringLiteral("300"), QStringLiteral("Nick 300"), QString()}};
  a.groups = {{QStringLiteral("900"), QStringLiteral("Team")}};
  a.groupMembers = {{QStringLiteral("900"), {QStringLiteral("300"), QStringLiteral("Three in team"), {}}}};
  a.messages = {
      {QStringLiteral("c200"), QStringLiteral("200"), 50, 0, 0, "second, mine", {}, {}},
      {QStringLiteral("c200"), QStringLiteral("200"), 40, 0, 1, "first, theirs", {}, {}},
      {QStringLiteral("c400"), QStringLiteral("400"), 10, 0, 1, "from a stranger", {}, {}},
      {QStringLiteral("g900"), QStringLiteral("300"), 60, 0, 1, "member", {}, QStringLiteral("row nick")},
      {QStringLiteral("g900"), QStringLiteral("500"), 70, 0, 1, "non-member", {}, QStringLiteral("Five")},
      {QStringLiteral("g900"), QStringLiteral("100"), 80, 0, 1, "owner", {}, {}},
  };
  FolderQQ qq(dir.path());
  OxBackup registry;
  qq.readDatabase(&registry, nullptr, a.uin, 2,
                  testdata::writeSqliteDb(dir.filePath(QStringLiteral("QQ.db")), fixture::qqStatements(a)));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  OxData* list = registry.getQQMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 3);
  const struct {
    const char* chat;
    const char* title;
    const char* messages; // member|content|from me, oldest first
  } chats[] = {
      {"Remark 200", "200", "Remark 200|first, theirs|false;|second, mine|true"},
      {"400", "400", "400|from a stranger|false"},
      {"Team", "Three in team", "Three in team|member|false;Five|non-member|false;|owner|true"},
  };
  for (const auto& c : chats) {
    const OxWhatsappItem* item = itemNamed(list, QLatin1String(c.chat));
    ASSERT_TRUE(item) << c.chat;
    EXPECT_EQ(item->value(1), QLatin1String(c.title));
    EXPECT_EQ(item->value(7), QStringLiteral("2"));
    QStringList got;
    for (const OxWhatsappMsg* m : item->detailContent()->messages())
      got << testdata::fields(m->member(), m->content(), m->isFromMe());
    EXPECT_EQ(got.join(QLatin1Char(';')), QLatin1String(c.messages)) << c.chat;
  }
}

TEST_F(QQChats, BadStores) {
  const struct {
    const char* name;
    QStringList statements;
    int chats;
    const char* text; // of the first message
    int errors;
  } rows[] = {
      {"only one friend table, no flag column",
       {QStringLiteral("CREATE TABLE tb_c2cMsg_5 (uin TEXT, time INTEGER, content TEXT, type INTEGER)"),
        QStringLiteral("INSERT INTO tb_c2cMsg_5 VALUES('5', 1, CAST(X'6869ff' AS TEXT), 0)")},
       1, "hi\xef\xbf\xbd", 5}, // three tables and two columns missing
      {"older single table", {QStringLiteral("CREATE TABLE tb_message (uin TEXT, time INTEGER, content TEXT, type "
                                             "INTEGER, flag INTEGER, picUrl TEXT)"),
                              QStringLiteral("INSERT INTO tb_message VALUES('6', 1, 'a', 0, 0, NULL)"),
                              QStringLiteral("INSERT INTO tb_message VALUES('8', 2, 'b', 0, 1, NULL)")},
       2, "a", 3},
      {"no message table", {QStringLiteral("CREATE TABLE tb_userSummary (uin TEXT, nick TEXT, remark TEXT)")}, 0, "", 3},
  };
  for (const auto& r : rows) {
    errors.clear();
    FolderQQ qq(dir.path());
    OxBackup registry;
    qq.readDatabase(&registry, nullptr, QStringLiteral("1"), 1,
                    testdata::writeSqliteDb(dir.filePath(QLatin1String(r.name)), r.statements));
    OxData* list = registry.getQQMsg();
    ASSERT_EQ(list->count(OxData::CountRaw), r.chats) << r.name;
    EXPECT_EQ(errors.size(), r.errors) << r.name << ": " << errors.join(QLatin1Char('\n')).toStdString();
    if (r.chats)
      EXPECT_EQ(static_cast<OxWhatsappItem*>(list->at(list->count(OxData::CountRaw) - 1, false))
                    ->detailContent()->messages().first()->content(),
                QString::fromUtf8(r.text))
          << r.name;
  }
}

TEST_F(QQChats, SampleBackup) {
  const QString folder = dir.filePath(QStringLiteral("backup"));
  QString error;
  QList<fixture::StoredFile> files = fixture::sampleQQFiles();
  QQAccount second;
  second.uin = QStringLiteral("777");
  second.messages = {{QStringLiteral("c20002"), QStringLiteral("20002"), 1, 0, 1, "other account", {}, {}}};
  files += fixture::qqFiles(second);
  ASSERT_TRUE(fixture::writeBackup(folder, fixture::BackupPlan(), files, &error)) << qPrintable(error);
  std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder));
  ASSERT_TRUE(backup);
  OxBackup registry;
  CQQiTunesCollection qq(&registry);
  qq.setSwitches(true, false);
  qq.load(backup.get());
  EXPECT_EQ(qq.accounts(), (QStringList{QStringLiteral("777"), QStringLiteral("10001")}));
  EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
  OxData* list = registry.getQQMsg();
  ASSERT_EQ(list->count(OxData::CountRaw), 3);
  const OxWhatsappItem* ming = itemNamed(list, QStringLiteral("Ming Li"));
  ASSERT_TRUE(ming);
  EXPECT_EQ(ming->value(7), QStringLiteral("2"));
  const QList<OxWhatsappMsg*>& msgs = ming->detailContent()->messages();
  ASSERT_EQ(msgs.size(), 5);
  // The original picture, not its thumbnail; the voice and the received file.
  QFile picture(msgs[2]->media());
  ASSERT_TRUE(picture.open(QIODevice::ReadOnly));
  EXPECT_EQ(picture.size(), 16);
  for (int i : {3, 4})
    EXPECT_TRUE(QFile(msgs[i]->media()).exists()) << i;
}
} // namespace
