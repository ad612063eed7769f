// Cost of the WeChat and QQ loads: a generated MM.sqlite of 500,000 messages
// over 2,000 Chat_ tables, read through the social-app library and built into
// chat items; a generated QQ.db of 500,000 messages over 1,000 friend tables,
// read by the QQ queries and built into chat items. Each beside a bare SQLite
// scan of the same statements on the same file.
//
// Each load is measured in a child process of its own, so that the peak
// memory (getrusage) is that load's alone.
#include "bench/benchsupport.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/log.h"
#include "platform/common/sqlrow.h"
#include "readers/messengers/qq/qqcollection.h"
#include "readers/messengers/qq/qqqueries.h"
#include "readers/messengers/wechat/weixincollection.h"
#include "samples/apps/qq.h"
#include "samples/apps/wechat.h"

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

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

// values: load CPU s, load wall s, bare CPU s, bare wall s, peak RSS MiB, chats, messages,
// CPU s of reading the rows alone (the library's messages, or the QQ queries).
bool measure(App app, double (&values)[8]) {
  return bench::inChild<8>(
      [app](double* v) {
        const std::vector<std::string> sql = statements(app);
        std::vector<const char*> selects;
        for (const std::string& s : sql)
          selects.push_back(s.c_str());
        const QString db = app == WeChat ? wechatDb() : qqDb();
        bench::bareScanAll(db, selects); // warm the page cache for both runs alike
        double cpu = bench::cpuNow();
        double wall = bench::wallNow();
        benchmark::DoNotOptimize(bench::bareScanAll(db, selects));
        v[2] = bench::cpuNow() - cpu;
        v[3] = bench::wallNow() - wall;

        cpu = bench::cpuNow();
        if (app == WeChat) {
          fixture::WechatFolder folder(wechatRoot());
          Weixin weixin(&folder);
          for (const WxAccount& a : weixin.accounts()) {
            weixin.openAccount(a);
            for (const WxChat& c : weixin.chats())
              benchmark::DoNotOptimize(weixin.messages(c).size());
          }
        } else {
          CQQMessageQuery messages;
          messages.query(QStringList{db}, nullptr);
          benchmark::DoNotOptimize(messages.messageCount());
        }
        v[7] = bench::cpuNow() - cpu;

        OxBackup registry;
        cpu = bench::cpuNow();
        wall = bench::wallNow();
        if (app == WeChat) {
          fixture::WechatFolder folder(wechatRoot());
          CWeixinCollection wechat;
          wechat.readWeixin(&registry, nullptr, &folder);
        } else {
          CQQCollection qq;
          qq.readDatabase(&registry, nullptr, QStringLiteral("10001"), 1, db);
        }
        v[0] = bench::cpuNow() - cpu;
        v[1] = bench::wallNow() - wall;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        v[4] = double(usage.ru_maxrss) / 1024.0;
        OxData* list = registry.getOxData(app == WeChat ? OxBackup::WeChat : OxBackup::QQ);
        v[5] = list->count(OxData::CountRaw);
        double messages = 0;
        for (int i = 0; i < list->count(OxData::CountRaw); ++i)
          messages += static_cast<OxWhatsappItem*>(list->at(i, false))->detailContent()->messages().size();
        v[6] = messages;
        return true;
      },
      values);
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
  double v[8] = {};
  for (auto _ : state) {
    if (!measure(app, v)) {
      state.SkipWithError("the load failed");
      return;
    }
    state.SetIterationTime(v[1]);
  }
  state.counters["load_cpu_s"] = v[0];
  state.counters["bare_scan_cpu_s"] = v[2];
  state.counters["bare_scan_wall_s"] = v[3];
  state.counters["load_over_scan"] = v[2] > 0 ? v[0] / v[2] : 0;
  state.counters["rows_only_cpu_s"] = v[7];
  state.counters["peak_MiB"] = v[4];
  state.counters["chats"] = v[5];
  state.counters["messages"] = v[6];
}
} // namespace

BENCHMARK_CAPTURE(BM_Load, wechat, WeChat)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Load, qq, QQ)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
