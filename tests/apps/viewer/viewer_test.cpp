// The viewer on the sample backup: the loader thread, the window's lists,
// filters, ticks and transcript.
#include "apps/viewer/backuploader.h"
#include "apps/viewer/chattranscriptview.h"
#include "apps/viewer/datatypes.h"
#include "apps/viewer/detailpane.h"
#include "apps/viewer/mainwindow.h"
#include "apps/viewer/recoveryrun.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "samples/samplebackup.h"
#include "widgets/checkboxheaderview.h"

#include <QDir>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <memory>

namespace {
const int kLoadTimeout = 120000;

// The sample backup, written once per run: plain, and encrypted with "secret".
const QString& sample(bool encrypted) {
  static QTemporaryDir dir;
  static QString paths[2];
  QString& path = paths[encrypted ? 1 : 0];
  if (path.isEmpty()) {
    path = dir.filePath(encrypted ? QStringLiteral("encrypted") : QStringLiteral("plain"));
    QString error;
    if (!fixture::writeSampleBackup(path, encrypted ? QStringLiteral("secret") : QString(), &error))
      ADD_FAILURE() << qPrintable(error);
  }
  return path;
}

struct LoadRecord {
  QList<int> percents;
  QList<int> types;
  QList<int> counts;
  QList<BackupLoader::Outcome> outcomes;
};

void record(BackupLoader& loader, LoadRecord& r) {
  QObject::connect(&loader, &BackupLoader::progressChanged, [&r](int p, const QString&) { r.percents << p; });
  QObject::connect(&loader, &BackupLoader::typeLoaded, [&r](int type, int count) {
    r.types << type;
    r.counts << count;
  });
  QObject::connect(&loader, &BackupLoader::finished,
                   [&r](BackupLoader::Outcome outcome, const QString&) { r.outcomes << outcome; });
}

bool waitFinished(BackupLoader& loader) {
  QSignalSpy done(&loader, &BackupLoader::finished);
  return !loader.isRunning() ? false : done.wait(kLoadTimeout);
}

TEST(BackupLoader, LoadsEveryTypeWithRisingProgressAndTheListsCounts) {
  BackupLoader loader;
  LoadRecord r;
  record(loader, r);
  ASSERT_TRUE(loader.start({sample(false), {}, {}, {}}));
  EXPECT_FALSE(loader.start({sample(false), {}, {}, {}})) << "one load at a time";
  ASSERT_TRUE(waitFinished(loader));
  ASSERT_EQ(r.outcomes, QList<BackupLoader::Outcome>{BackupLoader::Loaded});
  EXPECT_EQ(r.types, QList<int>({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  ASSERT_FALSE(r.percents.isEmpty());
  EXPECT_EQ(r.percents.last(), 100);
  for (int i = 1; i < r.percents.size(); ++i)
    EXPECT_LE(r.percents.at(i - 1), r.percents.at(i)) << "at report " << i;
  for (int i = 0; i < r.types.size(); ++i)
    EXPECT_EQ(r.counts.at(i), loader.registry()->getOxData(r.types.at(i))->count(OxData::CountRaw));
  EXPECT_EQ(r.counts.at(OxBackup::WhatsApp), 5); // one of them recovered deleted
  EXPECT_EQ(loader.registry()->backupPropertyOriginal(1).isEmpty(), false) << "the iOS version is filled";
}

TEST(BackupLoader, EncryptedBackupsSayWhatIsWrongWithThePassword) {
  struct Row {
    const char* name;
    QString password;
    BackupLoader::Outcome outcome;
  } rows[] = {
      {"no password", QString(), BackupLoader::PasswordRequired},
      {"wrong password", QStringLiteral("guess"), BackupLoader::WrongPassword},
      {"right password", QStringLiteral("secret"), BackupLoader::Loaded},
  };
  for (const Row& row : rows) {
    BackupLoader loader;
    LoadRecord r;
    record(loader, r);
    ASSERT_TRUE(loader.start({sample(true), row.password, {}, {OxBackup::WhatsApp}}));
    ASSERT_TRUE(waitFinished(loader)) << row.name;
    EXPECT_EQ(r.outcomes, QList<BackupLoader::Outcome>{row.outcome}) << row.name;
    EXPECT_EQ(r.types.size(), row.outcome == BackupLoader::Loaded ? 1 : 0) << row.name;
  }
}

TEST(BackupLoader, MissingFolderFailsWithAReason) {
  BackupLoader loader;
  QSignalSpy done(&loader, &BackupLoader::finished);
  ASSERT_TRUE(loader.start({sample(false) + QStringLiteral("-missing"), {}, {}, {}}));
  ASSERT_TRUE(done.wait(kLoadTimeout));
  EXPECT_EQ(done.at(0).at(0).value<BackupLoader::Outcome>(), BackupLoader::OpenFailed);
  EXPECT_FALSE(done.at(0).at(1).toString().isEmpty());
}

// Holds a load before the reader of one type until the load is cancelled.
struct HeldLoad {
  CancelFlag reached;
  void hold(BackupLoader& loader, int atType) {
    loader.setTypeHook([this, &loader, atType](int type) {
      if (type != atType)
        return;
      reached.set();
      loader.cancelFlag().wait();
    });
  }
};

TEST(MainWindow, CancelStopsTheLoadBetweenReadersAndShowsWhatWasRead) {
  MainWindow window;
  window.setInteractive(false);
  HeldLoad held;
  held.hold(*window.loader(), OxBackup::Notes);
  QSignalSpy finished(&window, &MainWindow::loadFinished);
  window.openBackup(sample(false));
  held.reached.wait();
  QPushButton* cancel = nullptr;
  for (QPushButton* b : window.findChildren<QPushButton*>())
    if (b->text() == QLatin1String("Cancel"))
      cancel = b;
  ASSERT_TRUE(cancel);
  cancel->click();
  ASSERT_TRUE(finished.wait(kLoadTimeout));
  EXPECT_TRUE(finished.at(0).at(0).toBool());
  const OxBackup* registry = window.loader()->registry();
  EXPECT_EQ(registry->getOxData(OxBackup::WhatsApp)->count(OxData::CountRaw), 5) << "read before the cancel";
  EXPECT_EQ(registry->getOxData(OxBackup::Notes)->count(OxData::CountRaw), 0) << "never read";
  EXPECT_EQ(registry->getOxData(OxBackup::CallHistory)->count(OxData::CountRaw), 0) << "never read";
  EXPECT_TRUE(window.statusText().contains(QStringLiteral("7 of 11"))) << qPrintable(window.statusText());
}

TEST(MainWindow, ClosingDuringALoadWaitsForIt) {
  auto window = std::make_unique<MainWindow>();
  window->setInteractive(false);
  HeldLoad held;
  held.hold(*window->loader(), OxBackup::Kik);
  window->openBackup(sample(false));
  held.reached.wait();
  window.reset(); // cancels, waits for the reader thread, then frees the lists
  SUCCEED();
}

// A window showing the loaded sample.
struct LoadedWindow {
  MainWindow window;
  LoadedWindow() {
    window.setInteractive(false);
    QSignalSpy finished(&window, &MainWindow::loadFinished);
    window.openBackup(sample(false));
    if (!finished.wait(kLoadTimeout) || !finished.at(0).at(0).toBool())
      ADD_FAILURE() << "the sample did not load";
  }
  QStringList names(int c = 0) const {
    QStringList texts;
    const ItemTableModel* model = window.tableModel();
    for (int row = 0; row < model->rowCount(); ++row)
      texts << model->data(model->index(row, c)).toString();
    return texts;
  }
};

TEST(MainWindow, SidebarListsEveryTypeWithItsCountAndCategories) {
  LoadedWindow w;
  const QTreeWidget* sidebar = w.window.sidebar();
  ASSERT_EQ(sidebar->topLevelItemCount(), OxBackup::DataTypeCount);
  EXPECT_EQ(sidebar->topLevelItem(OxBackup::WhatsApp)->text(0), QStringLiteral("WhatsApp (5)"));
  EXPECT_EQ(sidebar->topLevelItem(OxBackup::Notes)->text(0), QStringLiteral("Notes (7)"));
  // Every chat app of the sample has chats now: none of them is greyed.
  EXPECT_EQ(sidebar->topLevelItem(OxBackup::Viber)->foreground(0), sidebar->topLevelItem(OxBackup::Kik)->foreground(0));
  const QTreeWidgetItem* calls = sidebar->topLevelItem(OxBackup::CallHistory);
  ASSERT_GE(calls->childCount(), 2);
  EXPECT_TRUE(calls->child(1)->text(0).startsWith(QStringLiteral("Voice Mail (")));
  EXPECT_EQ(w.window.currentType(), OxBackup::WhatsApp) << "the first type with items shows first";

  // A category in the sidebar filters the list.
  w.window.sidebar()->setCurrentItem(calls->child(1));
  EXPECT_EQ(w.window.currentType(), OxBackup::CallHistory);
  EXPECT_EQ(w.window.tableModel()->rowCount(),
            w.window.loader()->registry()->getCallHistory()->categoryItemCount(QStringLiteral("Voice Mail")));
}

TEST(MainWindow, FiltersTicksAndCountsOfTheShownList) {
  LoadedWindow w;
  ASSERT_TRUE(w.window.showType(OxBackup::Notes));
  EXPECT_EQ(w.window.tableModel()->rowCount(), 7);
  CheckBoxHeaderView* header = w.window.header();
  EXPECT_EQ(header->checkState(), Qt::Checked) << "everything starts ticked";

  w.window.tableModel()->setData(w.window.tableModel()->index(0, 0), Qt::Unchecked, Qt::CheckStateRole);
  EXPECT_EQ(header->checkState(), Qt::PartiallyChecked);
  EXPECT_TRUE(w.window.statusText().startsWith(QStringLiteral("7 items"))) << qPrintable(w.window.statusText());
  EXPECT_TRUE(w.window.statusText().contains(QStringLiteral("6 checked"))) << qPrintable(w.window.statusText());

  w.window.setTextFilter(QStringLiteral("BUDGET"));
  EXPECT_EQ(w.names(), QStringList{QStringLiteral("Trip budget")});
  EXPECT_TRUE(w.window.statusText().contains(QStringLiteral("1 shown"))) << qPrintable(w.window.statusText());
  EXPECT_EQ(header->checkState(), Qt::Checked) << "the box follows the shown items";

  header->setCheckState(Qt::Unchecked); // as a click on the box does
  w.window.setTextFilter(QString());
  EXPECT_EQ(w.window.loader()->registry()->getNote()->count(OxData::CountFilteredChecked), 5)
      << "the box unticked the one shown note only";
  EXPECT_EQ(header->checkState(), Qt::PartiallyChecked);

  w.window.setStateFilter(OxData::FilterDeletedOnly);
  // The sample's one deleted note, the first row, unticked above.
  EXPECT_EQ(w.names(), QStringList{QStringLiteral("Surprise party guests")});
  EXPECT_EQ(header->checkState(), Qt::Unchecked);
}

TEST(MainWindow, ChatOpensAsATranscriptOldestFirst) {
  LoadedWindow w;
  ASSERT_TRUE(w.window.showType(OxBackup::WhatsApp));
  const int row = w.names().indexOf(QStringLiteral("Anna Berg"));
  ASSERT_GE(row, 0);
  ASSERT_TRUE(w.window.selectRow(row));
  const ChatTranscriptView* transcript = w.window.detail()->transcript();
  ASSERT_EQ(transcript->messageCount(), 10); // two of them recovered deleted
  EXPECT_EQ(transcript->messageAt(0)->content(), QStringLiteral("Hi Anna, are we still on for Saturday?"));
  EXPECT_EQ(transcript->messageAt(8)->content(), QStringLiteral("One more thing: bring water"));
  EXPECT_EQ(transcript->messageAt(9)->content(), QStringLiteral("Forget what I said about Saturday"));
  for (int i = 1; i < transcript->messageCount(); ++i)
    EXPECT_LE(transcript->messageAt(i - 1)->msgDate(), transcript->messageAt(i)->msgDate());

  // Another type shows its own detail.
  ASSERT_TRUE(w.window.showType(OxBackup::Calendar));
  ASSERT_TRUE(w.window.selectRow(0));
  EXPECT_EQ(w.window.detail()->transcript()->messageCount(), 0);
  EXPECT_FALSE(w.window.detail()->item() == nullptr);
}

TEST(MainWindow, RecoverWritesExactlyTheCheckedItemsOfTheViews) {
  LoadedWindow w;
  ItemTableModel* model = w.window.tableModel();
  // WhatsApp: one chat unticked.
  ASSERT_TRUE(w.window.showType(OxBackup::WhatsApp));
  const int carl = w.names().indexOf(QStringLiteral("Carl Diaz"));
  ASSERT_GE(carl, 0);
  model->setData(model->index(carl, 0), Qt::Unchecked, Qt::CheckStateRole);
  // Kik: all unticked through the header box.
  ASSERT_TRUE(w.window.showType(OxBackup::Kik));
  w.window.header()->setCheckState(Qt::Unchecked);
  // Line: only the chats the search shows count.
  ASSERT_TRUE(w.window.showType(OxBackup::Line));
  const QStringList lineChats = w.names();
  ASSERT_GE(lineChats.size(), 2);
  w.window.setTextFilter(lineChats.first());
  ASSERT_EQ(model->rowCount(), 1);

  QTemporaryDir out;
  const QString folder = out.filePath(QStringLiteral("recovered"));
  QSignalSpy finished(&w.window, &MainWindow::recoveryFinished);
  ASSERT_TRUE(w.window.recoverTo(folder));
  ASSERT_TRUE(finished.wait(kLoadTimeout));
  const ExportSummary& summary = w.window.recovery()->summary();
  EXPECT_EQ(summary.outcome, ExportSummary::Finished);
  QMap<int, int> written;
  for (const ExportTypeSummary& t : summary.types)
    written[t.type] = t.items;
  EXPECT_EQ(written.value(OxBackup::WhatsApp), 4);
  EXPECT_FALSE(written.contains(OxBackup::Kik)) << "nothing of Kik was checked";
  EXPECT_EQ(written.value(OxBackup::Line), 1);
  EXPECT_EQ(written.value(OxBackup::Notes), 7) << "untouched lists give all their items";

  const QStringList chats = QDir(folder + QStringLiteral("/WhatsApp")).entryList({QStringLiteral("*.html")});
  EXPECT_EQ(chats.size(), 4);
  EXPECT_FALSE(chats.contains(QStringLiteral("Carl Diaz.html")));
  EXPECT_TRUE(chats.contains(QStringLiteral("Anna Berg.html")));
  EXPECT_EQ(QDir(folder + QStringLiteral("/Line")).entryList({QStringLiteral("*.html")}),
            QStringList{lineChats.first() + QStringLiteral(".html")});

  // A second recovery into the now full folder goes into a new folder inside it.
  ASSERT_TRUE(w.window.recoverTo(folder));
  ASSERT_TRUE(finished.wait(kLoadTimeout));
  EXPECT_TRUE(w.window.recovery()->options().outputFolder.startsWith(folder + QLatin1Char('/')));
  EXPECT_EQ(w.window.recovery()->summary().outcome, ExportSummary::Finished);
}
} // namespace
