// Cost of the Viber and Messenger loads: a generated Contacts.data and
// Lightspeed store of 500,000 messages in 1,000 chats, read and built into chat
// items by the readers' collections, beside a bare SQLite scan of the readers'
// SELECTs on the same file.
//
// Each load is measured in a child process of its own, so that the peak
// memory (getrusage) is that load's alone.
#include "bench/benchsupport.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/messengers/messenger/messengercollection.h"
#include "readers/messengers/viber/vibercollection.h"
#include "samples/apps/messenger.h"
#include "samples/apps/viber.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {
constexpr int kChats = 1000;
constexpr int kMessages = 500000;

// The statements the readers run on these stores (the columns every store has).
const std::vector<const char*> kViberSelects = {
    "select z_pk, zdisplayfullname, zdisplayshortname, zname, ziconid, NULL, NULL from zmember",
    "select z_pk, zname, zinterlocutor, zbeingdeleted from zconversation order by z_pk",
    "select z_5conversations, z_10phonenumindexes from z_5phonenumindexes",
    "select z_pk, zname, ztype, zfilesize from zattachment",
    "select z_pk, zlatitude, zlongitude, zaddress from zviberlocation",
    "select z_pk, zconversation, zphonenumindex, zdate, zstate, ztext, zsystemtype, zattachment, zlocation,"
    " zbeingdeleted, zcalltype, zcallduration, zmetadata from zvibermessage order by zdate, z_pk",
    "select zmember, zcanonizedphonenum, zphone from zphonenumber order by z_pk",
};
const std::vector<const char*> kMessengerSelects = {
    "select facebook_user_id from _user_info",
    "select id, name from contacts",
    "select thread_key, thread_type, thread_name from threads",
    "select thread_key, contact_id, nickname from participants",
    "select message_id, thread_key, sender_id, text, timestamp_ms, is_unsent from messages order by timestamp_ms",
    "select message_id, filename, title_text, subtitle_text from attachments",
    "select message_id, filename, title_text, subtitle_text from attachment_items",
};

QTemporaryDir& root() {
  static QTemporaryDir dir;
  return dir;
}

enum App { Viber, Messenger };

// values: load CPU s, load wall s, bare CPU s, bare wall s, peak RSS MiB, chats, messages.
bool measure(App app, const QString& db, double (&values)[7]) {
  return bench::inChild<7>(
      [app, db](double* v) {
        const std::vector<const char*>& selects = app == Viber ? kViberSelects : kMessengerSelects;
        bench::bareScanAll(db, selects); // warm the page cache for both runs alike
        double cpu = bench::cpuNow();
        double wall = bench::wallNow();
        benchmark::DoNotOptimize(bench::bareScanAll(db, selects));
        v[2] = bench::cpuNow() - cpu;
        v[3] = bench::wallNow() - wall;

        OxBackup registry;
        cpu = bench::cpuNow();
        wall = bench::wallNow();
        if (app == Viber) {
          CViberCollection viber;
          viber.readDatabase(&registry, nullptr, db);
        } else {
          CMessengerCollection messenger;
          messenger.readDatabase(&registry, nullptr, db);
        }
        v[0] = bench::cpuNow() - cpu;
        v[1] = bench::wallNow() - wall;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        v[4] = double(usage.ru_maxrss) / 1024.0;
        OxData* list = app == Viber ? registry.getViberMsg() : registry.getMessengerMsg();
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
  const QString db = root().filePath(app == Viber ? QStringLiteral("Contacts.data") : QStringLiteral("owner.db"));
  QString error;
  const bool written = app == Viber ? fixture::writeViberDatabase(db, kChats, kMessages, &error)
                                    : fixture::writeMessengerDatabase(db, kChats, kMessages, &error);
  if (!written) {
    state.SkipWithError(qPrintable(error));
    return;
  }
  double v[7] = {};
  for (auto _ : state) {
    if (!measure(app, db, v)) {
      state.SkipWithError("the load failed");
      return;
    }
    state.SetIterationTime(v[1]);
  }
  state.counters["load_cpu_s"] = v[0];
  state.counters["bare_scan_cpu_s"] = v[2];
  state.counters["bare_scan_wall_s"] = v[3];
  state.counters["load_over_scan"] = v[2] > 0 ? v[0] / v[2] : 0;
  state.counters["peak_MiB"] = v[4];
  state.counters["db_MiB"] = double(QFileInfo(db).size()) / (1024.0 * 1024.0);
  state.counters["chats"] = v[5];
  state.counters["messages"] = v[6];
}
} // namespace

BENCHMARK_CAPTURE(BM_Load, viber, Viber)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Load, messenger, Messenger)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
