// Cost of the Kik and Line loads: generated kik.sqlite and Line.sqlite of
// 500,000 messages in 1,000 chats, read and built into chat items by the
// readers' collections, beside a bare SQLite scan of the readers' SELECTs on
// the same file.
#include "bench/chatbench.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/messengers/kik/kikcollection.h"
#include "readers/messengers/line/linecollection.h"
#include "samples/apps/kik.h"
#include "samples/apps/line.h"

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <vector>

namespace {
constexpr int kChats = 1000;
constexpr int kMessages = 500000;

const std::vector<const char*> kKikSelects = {
    "select z_pk, zdisplayname, zjid from zkikuser",
    "select z_3chat, z_5messages from z_3messages order by z_5messages",
    "select z_pk, zuser from zkikchat",
    "select z_6membersinverse, z_6members from z_6members",
    "select ztype, zmessage, zcontent from zkikattachment",
    "select z_pk, ztype, zstate, zflags, zuser, ztimestamp, zbody from zkikmessage order by ztimestamp",
};
const std::vector<const char*> kLineSelects = {
    "select z_pk, zmid, zname from zuser",
    "select zid, zname from zgroup",
    "select z_pk, zmid, zlastmessage from zchat",
    "select zid, zsender, zsendstatus, zcontenttype, zchat, ztimestamp, ztext, zlongitude from zmessage "
    "order by ztimestamp",
    "select z_1chats, z_12members from z_1members",
};

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

enum App { Kik, Line };

void BM_Load(benchmark::State& state, App app) {
  SherdLog::silence();
  const QString db = root().filePath(app == Kik ? QStringLiteral("kik.sqlite") : QStringLiteral("Line.sqlite"));
  QString error;
  const bool written = app == Kik ? fixture::writeKikDatabase(db, kChats, kMessages, &error)
                                  : fixture::writeLineDatabase(db, kChats, kMessages, &error);
  if (!written) {
    state.SkipWithError(qPrintable(error));
    return;
  }
  if (app == Kik)
    bench::runChatLoad(state, {"kik 500k messages", db, kKikSelects, OxBackup::Kik, [db](OxBackup& registry) {
                                 CKikCollection kik;
                                 kik.readDatabase(&registry, nullptr, db);
                               }});
  else
    bench::runChatLoad(state, {"line 500k messages", db, kLineSelects, OxBackup::Line, [db](OxBackup& registry) {
                                 CLineCollection line;
                                 line.readDatabase(&registry, nullptr, db);
                               }});
}
} // namespace

BENCHMARK_CAPTURE(BM_Load, kik, Kik)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Load, line, Line)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
