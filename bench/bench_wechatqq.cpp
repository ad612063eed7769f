// Cost of the WeChat and QQ loads: a generated MM.sqlite of 500,000 messages
// over 2,000 Chat_ tables, read through the social-app library and built into
// chat items; a generated QQ.db of 500,000 messages over 1,000 friend tables,
// read by the QQ queries and built into chat items. Each beside a bare SQLite
// scan of the same statements on the same file.
#include "bench/chatbench.h"
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "readers/messengers/qq/qqcollection.h"
#include "readers/messengers/qq/qqqueries.h"
#include "readers/messengers/wechat/weixincollection.h"
#include "samples/apps/qq.h"
#include "samples/apps/wechat.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {
constexpr int kWechatChats = 2000;
constexpr int kQQChats = 1000;
constexpr int kMessages = 500000;

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

enum App { WeChat, QQ };

QString wechatRoot() { return root().filePath(QStringLiteral("wechat")); }
QString wechatDb() {
  return QDir(wechatRoot()).filePath(
      QStringLiteral("Documents/%1/DB/MM.sqlite").arg(fixture::wechatMd5(QStringLiteral("wxid_bench_owner"))));
}
QString qqDb() { return root().filePath(QStringLiteral("QQ.db")); }

// The statements the reader runs on the file, in its order.
std::vector<std::string> statements(App app) {
  std::vector<std::string> out;
  SqlDatabase db;
  if (!db.open(app == WeChat ? wechatDb() : qqDb()))
    return out;
  if (app == QQ) {
    out = {"select uin, nick, remark from tb_userSummary", "select groupCode, groupName from tb_troop",
           "select GroupCode, MemUin, nick from tb_TroopMem"};
    for (const QString& s : CQQMessageQuery::statementsFor(db.handle(), db.path()))
      out.push_back(s.toStdString());
    return out;
  }
  out = {"select name from sqlite_master where type = 'table' and name like 'Chat\\_%' escape '\\'",
         "select userName, type, dbContactRemark, dbContactHeadImage, dbContactChatRoom from Friend"};
  SqlStatement tables(db, QString::fromStdString(out.front()));
  while (tables.step())
    out.push_back("select MesLocalID, MesSvrID, CreateTime, Des, Type, Status, Message from " +
                  SqlRow(tables).text().toStdString());
  return out;
}

void BM_Load(benchmark::State& state, App app) {
  SherdLog::silence();
  QString error;
  const QString db = app == WeChat ? wechatDb() : qqDb();
  QDir().mkpath(QFileInfo(db).path());
  const bool written = app == WeChat ? fixture::writeWechatDatabase(db, kWechatChats, kMessages, &error)
                                     : fixture::writeQQDatabase(db, kQQChats, kMessages, &error);
  if (!written) {
    state.SkipWithError(qPrintable(error));
    return;
  }
  const std::vector<std::string> sql = statements(app);
  std::vector<const char*> selects;
  for (const std::string& s : sql)
    selects.push_back(s.c_str());
  if (app == WeChat) {
    // The library's own reading of the messages, beside the whole load.
    bench::runChatLoad(state, {"wechat 500k messages", db, selects, OxBackup::WeChat,
                               [](OxBackup& registry) {
                                 fixture::WechatFolder folder(wechatRoot());
                                 CWeixinCollection wechat;
                                 wechat.readWeixin(&registry, nullptr, &folder);
                               },
                               [] {
                                 fixture::WechatFolder folder(wechatRoot());
                                 Weixin weixin(&folder);
                                 for (const WxAccount& a : weixin.accounts()) {
                                   weixin.openAccount(a);
                                   for (const WxChat& c : weixin.chats())
                                     benchmark::DoNotOptimize(weixin.messages(c).size());
                                 }
                               }});
  } else {
    bench::runChatLoad(state, {"qq 500k messages", db, selects, OxBackup::QQ,
                               [db](OxBackup& registry) {
                                 CQQCollection qq;
                                 qq.readDatabase(&registry, nullptr, QStringLiteral("10001"), 1, db);
                               },
                               [db] {
                                 CQQMessageQuery messages;
                                 messages.query(QStringList{db}, nullptr);
                                 benchmark::DoNotOptimize(messages.messageCount());
                               }});
  }
}
} // namespace

BENCHMARK_CAPTURE(BM_Load, wechat, WeChat)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Load, qq, QQ)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
