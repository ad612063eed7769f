#include "readers/messengers/wechat/weixinitunescollection.h"

#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "samples/apps/wechat.h"
#include "tests/readers/messengers/common/chattest.h"
#include "tests/support/testdata.h"

#include <gtest/gtest.h>

#include <memory>

namespace {
using chattest::itemNamed;
using fixture::WechatAccount;
using fixture::WechatMessage;

using WeixinChats = testdata::ErrorLogTest;

QStringList texts(const OxWhatsappItem* item) {
  QStringList out;
  for (const OxWhatsappMsg* m : item->detailContent()->messages())
    out << m->member() + QLatin1Char('|') + m->content();
  return out;
}

TEST_F(WeixinChats, TwoAccountSampleBackupPlainAndEncrypted) {
  for (const char* password : {"", "wx-secret"}) {
    const QString folder = dir.filePath(QStringLiteral("backup%1").arg(*password ? 1 : 0));
    fixture::BackupPlan plan;
    plan.password = QString::fromLatin1(password);
    QString error;
    ASSERT_TRUE(fixture::writeBackup(folder, plan, fixture::sampleWechatFiles(), &error)) << qPrintable(error);
    const QByteArray before = fixture::folderChecksum(folder);
    std::unique_ptr<MobileBackup> backup(MobileBackup::loadFromPath(folder, plan.password));
    ASSERT_TRUE(backup) << password;
    OxBackup registry;
    {
      CWeixiniTunesCollection wechat(&registry);
      wechat.setSwitches(true, false);
      wechat.load(backup.get());
    }
    EXPECT_TRUE(errors.isEmpty()) << errors.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(fixture::folderChecksum(folder), before);

    OxData* list = registry.getWeChart();
    ASSERT_EQ(list->count(OxData::CountRaw), 4) << password;
    EXPECT_EQ(list->getHaveAccounts(), 2);
    const QString stranger = fixture::wechatMd5(QStringLiteral("wxid_stranger"));
    OxWhatsappItem* ann = itemNamed(list, QStringLiteral("Ann Lee")); // remark before nickname
    OxWhatsappItem* room = itemNamed(list, QStringLiteral("Hiking club"));
    OxWhatsappItem* carl = itemNamed(list, QStringLiteral("Carl (office)"));
    OxWhatsappItem* unknown = itemNamed(list, stranger);
    ASSERT_TRUE(ann && room && carl && unknown);
    // The two accounts are told apart; the chat of the second one is split
    // over two databases and read whole, in time order.
    EXPECT_EQ(ann->value(7), QStringLiteral("1"));
    EXPECT_EQ(carl->value(7), QStringLiteral("2"));
    EXPECT_EQ(texts(carl), (QStringList{QStringLiteral("Carl (office)|The report is due Friday"),
                                        QStringLiteral("|Transfer: \u00a550.00 lunch"),
                                        QStringLiteral("Carl (office)|\"Carl\" recalled a message")}));
    // Members by the name they use in the room, else their contact's name.
    EXPECT_EQ(room->value(1), QStringLiteral("Annie, Bob Wu"));
    EXPECT_EQ(texts(room).mid(1, 2), (QStringList{QStringLiteral("Annie|Meet at 8?"), QStringLiteral("Bob Wu|route.pdf")}));
    EXPECT_EQ(texts(unknown), QStringList{stranger + QStringLiteral("|Is the bike still for sale?")});

    const QList<OxWhatsappMsg*>& msgs = ann->detailContent()->messages();
    ASSERT_EQ(msgs.size(), 5);
    const QString roomFile = room->detailContent()->messages().at(2)->media();
    for (const QString& media : {msgs[2]->media(), msgs[3]->media(), roomFile}) {
      QFile f(media);
      EXPECT_TRUE(f.open(QIODevice::ReadOnly)) << qPrintable(media);
    }
    EXPECT_EQ(int(msgs[2]->type()), int(OxWhatsappMsg::MsgImage));
    EXPECT_EQ(int(msgs[3]->type()), int(OxWhatsappMsg::MsgAudio));
    EXPECT_TRUE(QFile(msgs[3]->media()).open(QIODevice::ReadOnly));
  }
}

// A store that lacks one thing or another still gives what it holds.
TEST_F(WeixinChats, BadStores) {
  const QString ann = QStringLiteral("wxid_ann");
  const QString room = QStringLiteral("55@chatroom");
  const QString acct = QStringLiteral("Documents/%1/").arg(fixture::wechatMd5(QStringLiteral("wxid_me")));
  const struct {
    const char* name;
    QStringList mm;        // MM.sqlite's statements; empty: the account's own
    QByteArray rawMM;      // or these bytes
    WechatMessage message; // of the account
    int chats;
    const char* chatName;  // of the first chat
    const char* text;      // of its first message
    int errors;
  } rows[] = {
      {"invalid UTF-8 keeps the readable part", {}, {}, {ann, 1, 10, false, 1, "ok \xff\xfe end"}, 1, "Ann",
       "ok \xef\xbf\xbd\xef\xbf\xbd end", 0},
      {"no Friend table: named by hash", {QStringLiteral("CREATE TABLE Chat_%1 (MesLocalID INTEGER, CreateTime INTEGER,"
                                                       " Message TEXT, Type INTEGER, Des INTEGER, MesSvrID INTEGER,"
                                                       " Status INTEGER)")
                                              .arg(fixture::wechatMd5(ann)),
                                          QStringLiteral("INSERT INTO Chat_%1 VALUES(1, 5, 'hi', 1, 1, 0, 0)")
                                              .arg(fixture::wechatMd5(ann))},
       {}, {}, 1, "", "hi", 0},
      {"missing columns read as empty", {QStringLiteral("CREATE TABLE Chat_%1 (MesLocalID INTEGER, Message TEXT)")
                                             .arg(fixture::wechatMd5(ann)),
                                         QStringLiteral("INSERT INTO Chat_%1 VALUES(1, 'bare')").arg(fixture::wechatMd5(ann))},
       {}, {}, 1, "", "bare", 5},
      {"room message without a sender prefix", {}, {}, {room, 1, 10, false, 1, "no prefix"}, 1, "Room", "no prefix", 0},
      {"not a database", {}, QByteArray("this is not SQLite at all, only text"), {}, 0, "", "", 2},
  };
  for (const auto& r : rows) {
    errors.clear();
    const QString root = dir.filePath(QString::fromLatin1(r.name));
    fixture::WechatFolder folder(root);
    WechatAccount a;
    a.userName = QStringLiteral("wxid_me");
    a.contacts = {{ann, QStringLiteral("Ann"), {}, {}, {}}, {room, QStringLiteral("Room"), {}, {}, {}}};
    if (!r.message.chat.isEmpty())
      a.messages = {r.message};
    QList<fixture::StoredFile> files = fixture::wechatFiles(a);
    if (!r.mm.isEmpty() || !r.rawMM.isEmpty()) {
      QByteArray bytes = r.rawMM;
      QString error;
      if (bytes.isEmpty())
        ASSERT_TRUE(fixture::makeSqliteDb(r.mm, false, &bytes, nullptr, &error)) << qPrintable(error);
      files = {fixture::file(QString(), acct + QStringLiteral("DB/MM.sqlite"), bytes)};
    }
    ASSERT_TRUE(folder.write(files)) << r.name;

    OxBackup registry;
    CWeixinCollection wechat;
    wechat.readWeixin(&registry, nullptr, &folder);
    OxData* list = registry.getWeChart();
    ASSERT_EQ(list->count(OxData::CountRaw), r.chats) << r.name;
    EXPECT_EQ(errors.size(), r.errors) << r.name << ": " << errors.join(QLatin1Char('\n')).toStdString();
    if (!r.chats)
      continue;
    const auto* item = static_cast<const OxWhatsappItem*>(list->at(0, false));
    const QString expectedName = *r.chatName ? QString::fromUtf8(r.chatName) : fixture::wechatMd5(ann);
    EXPECT_EQ(item->value(0), expectedName) << r.name;
    ASSERT_FALSE(item->detailContent()->messages().isEmpty()) << r.name;
    EXPECT_EQ(item->detailContent()->messages().first()->content(), QString::fromUtf8(r.text)) << r.name;
  }
}

TEST_F(WeixinChats, AccountFoldersWithoutADatabaseAreLeftOut) {
  fixture::WechatFolder folder(dir.path());
  const QString withDb = fixture::wechatMd5(QStringLiteral("wxid_a"));
  ASSERT_TRUE(folder.write({fixture::file({}, QStringLiteral("Documents/%1/DB/message_12.sqlite").arg(withDb), "x"),
                            fixture::file({}, QStringLiteral("Documents/%1/mmsetting.archive")
                                                  .arg(fixture::wechatMd5(QStringLiteral("wxid_b"))),
                                          "x"),
                            fixture::file({}, QStringLiteral("Documents/00000000000000000000000000000000/DB/MM.sqlite"), "x"),
                            fixture::file({}, QStringLiteral("Documents/NOTAHASH/DB/MM.sqlite"), "x")}));
  Weixin weixin(&folder);
  const QList<WxAccount> accounts = weixin.accounts();
  ASSERT_EQ(accounts.size(), 1);
  EXPECT_EQ(accounts.first().hash, withDb);
}
} // namespace
