// Cost of the Viber and Messenger loads: a generated Contacts.data and
// Lightspeed store of 500,000 messages in 1,000 chats, read and built into chat
// items by the readers' collections, beside a bare SQLite scan of the readers'
// SELECTs on the same file.
#include "bench/chatbench.h"
#include "platform/common/log.h"
#include "platform/common/utils.h"
#include "readers/messengers/messenger/messengercollection.h"
#include "readers/messengers/viber/vibercollection.h"
#include "samples/apps/messenger.h"
#include "samples/apps/viber.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

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
  if (app == Viber)
    bench::runChatLoad(state, {"viber 500k messages", db, kViberSelects, OxBackup::Viber, [db](OxBackup& registry) {
                                 CViberCollection viber;
                                 viber.readDatabase(&registry, nullptr, db);
                               }});
  else
    bench::runChatLoad(state, {"messenger 500k messages", db, kMessengerSelects, OxBackup::Messenger,
                               [db](OxBackup& registry) {
                                 CMessengerCollection messenger;
                                 messenger.readDatabase(&registry, nullptr, db);
                               }});
}
} // namespace

BENCHMARK_CAPTURE(BM_Load, viber, Viber)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(BM_Load, messenger, Messenger)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
