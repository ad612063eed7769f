// The desktop viewer on a generated WhatsApp backup of 1,000,000 messages in
// 2,000 chats (every tenth message a picture with its thumbnail in the
// backup), on Qt's offscreen platform:
//  - load finished to table shown: from the last list read to the browser
//    painted, beside the load itself;
//  - scrolling the chat list from top to bottom, a page at a time, each page
//    painted, beside reading every shown cell straight from the list;
//  - opening the biggest chat in the transcript pane (selected and painted),
//    and the same for a chat of 200,000 messages built in memory;
//  - a text filter typed into the search field and painted, beside the
//    list's own filter run alone;
//  - memory: what the browser adds (resident set after all of the above)
//    beside what the load added.
#include "apps/viewer/backuploader.h"
#include "apps/viewer/chattranscriptview.h"
#include "apps/viewer/detailpane.h"
#include "apps/viewer/mainwindow.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/log.h"
#include "samples/apps/whatsapp.h"
#include "samples/backupfixture.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QScrollBar>
#include <QEventLoop>
#include <QTableView>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {
constexpr int kMessages = 1000000;
constexpr int kChats = 2000;
constexpr int kBigChat = 200000;

// Resident set of the process, MiB (the current size, not the peak).
double residentMiB() {
  QFile f(QStringLiteral("/proc/self/statm"));
  if (!f.open(QIODevice::ReadOnly))
    return 0;
  const QList<QByteArray> fields = f.readAll().split(' ');
  return fields.size() > 1 ? fields.at(1).toDouble() * 4096.0 / (1024.0 * 1024.0) : 0;
}

bool writeBackup(const QString& folder) {
  QList<fixture::StoredFile> files = fixture::whatsappDbFilesFrom(
      fixture::whatsappSchema(false) + fixture::whatsappGeneratedInserts(kMessages, kChats, true));
  for (int m = 1; m <= kMessages / 10; ++m) {
    const qint64 partner = 49151000000LL + (qint64(m) * 10 - 1) % kChats + 1;
    files << fixture::whatsappMediaFile(
        QStringLiteral("Media/%1@s.whatsapp.net/%2/%3/%4.thumb").arg(partner).arg(m % 16).arg(m % 7).arg(m));
  }
  QString error;
  if (!fixture::writeBackup(folder, fixture::BackupPlan(), files, &error)) {
    std::fprintf(stderr, "cannot write the benchmark backup: %s\n", qPrintable(error));
    return false;
  }
  return true;
}

double msSince(const QElapsedTimer& t) { return double(t.nsecsElapsed()) / 1e6; }

void BM_ViewerOnMillionMessages(benchmark::State& state) {
  SherdLog::silence();
  QTemporaryDir dir;
  const QString folder = dir.filePath(QStringLiteral("wa1m"));
  if (!dir.isValid() || !writeBackup(folder)) {
    state.SkipWithError("cannot write the backup");
    return;
  }
  for (auto _ : state) {
    MainWindow window;
    window.setInteractive(false);
    window.show();
    window.repaint();
    const double rssBefore = residentMiB();

    // Load: the last list read, then the browser shown.
    QElapsedTimer lastList;
    QElapsedTimer load;
    QObject::connect(window.loader(), &BackupLoader::typeLoaded, [&](int type, int) {
      if (type == OxBackup::CallHistory)
        lastList.start();
    });
    QEventLoop wait;
    bool loaded = false;
    QObject::connect(&window, &MainWindow::loadFinished, [&](bool ok) {
      loaded = ok;
      wait.quit();
    });
    load.start();
    window.openBackup(folder);
    wait.exec();
    if (!loaded) {
      state.SkipWithError("the load failed");
      return;
    }
    window.repaint();
    const double shownMs = msSince(lastList);
    const double loadMs = msSince(load);
    OxData* chats = window.loader()->registry()->getWhatsappMsg();
    const double rssLoaded = residentMiB();

    // Scrolling the chat list, a page at a time, each page painted.
    QTableView* table = window.table();
    QScrollBar* bar = table->verticalScrollBar();
    QElapsedTimer scroll;
    scroll.start();
    int pages = 0;
    for (bar->setValue(0);; bar->setValue(bar->value() + bar->pageStep())) {
      table->viewport()->repaint();
      ++pages;
      if (bar->value() >= bar->maximum())
        break;
    }
    const double scrollMs = msSince(scroll);
    QElapsedTimer cells;
    cells.start();
    qint64 chars = 0;
    const int rows = chats->count(OxData::CountFiltered);
    for (int row = 0; row < rows; ++row)
      for (int c : {0, 3, 4})
        chars += chats->at(row, true)->value(c).size();
    benchmark::DoNotOptimize(chars);
    const double cellsMs = msSince(cells);

    // The biggest chat, opened in the transcript pane.
    int biggest = 0;
    int biggestSize = -1;
    for (int row = 0; row < window.tableModel()->rowCount(); ++row) {
      const auto* chat = static_cast<const OxWhatsappItem*>(window.tableModel()->itemAt(row));
      const int n = chat->detailContent() ? chat->detailContent()->messages().size() : 0;
      if (n > biggestSize) {
        biggestSize = n;
        biggest = row;
      }
    }
    QElapsedTimer open;
    open.start();
    window.selectRow(biggest);
    window.detail()->repaint();
    const double openMs = msSince(open);

    // The same pane on a chat of 200,000 messages.
    OxWhatsappChat big;
    for (int i = 0; i < kBigChat; ++i) {
      auto* m = new OxWhatsappMsg;
      m->setFromMe(i % 3 == 0);
      m->setMsgDate(QDateTime::fromSecsSinceEpoch(1600000000 + qint64(i) * 60, Qt::UTC));
      m->setContent(QStringLiteral("Message %1, a few words as people write them").arg(i));
      big.addMessage(m);
    }
    ChatTranscriptView* transcript = window.detail()->transcript();
    QElapsedTimer openBig;
    openBig.start();
    transcript->setChat(&big);
    transcript->viewport()->repaint();
    const double openBigMs = msSince(openBig);
    transcript->setChat(nullptr);

    // A text filter, typed and painted, beside the list's filter alone.
    QElapsedTimer filter;
    filter.start();
    window.setTextFilter(QStringLiteral("Contact 12"));
    table->viewport()->repaint();
    const double filterMs = msSince(filter);
    const int shown = window.tableModel()->rowCount();
    QElapsedTimer bare;
    bare.start();
    chats->setFilterText(QStringLiteral("Contact 13"));
    chats->filter();
    const double bareFilterMs = msSince(bare);
    window.setTextFilter(QString());
    const double rssBrowsed = residentMiB();

    state.SetIterationTime(loadMs / 1000.0);
    state.counters["chats"] = rows;
    state.counters["load_s"] = loadMs / 1000.0;
    state.counters["shown_ms"] = shownMs;
    state.counters["shown_per_load"] = shownMs / loadMs;
    state.counters["scroll_pages"] = pages;
    state.counters["scroll_ms"] = scrollMs;
    state.counters["scroll_per_cells"] = scrollMs / cellsMs;
    state.counters["biggest_chat_msgs"] = biggestSize;
    state.counters["open_chat_ms"] = openMs;
    state.counters["open_200k_chat_ms"] = openBigMs;
    state.counters["filter_ms"] = filterMs;
    state.counters["filter_rows"] = shown;
    state.counters["filter_per_bare"] = filterMs / bareFilterMs;
    state.counters["model_MiB"] = rssLoaded - rssBefore;
    state.counters["viewer_MiB"] = rssBrowsed - rssLoaded;
    state.counters["mem_ratio"] = (rssBrowsed - rssBefore) / (rssLoaded - rssBefore);
  }
}
} // namespace

BENCHMARK(BM_ViewerOnMillionMessages)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
