// The call list read out of whole synthetic backups: which store is read,
// where names come from, and the voicemail recordings after the calls.
#include "readers/ios/callhistory/calllistcollection.h"
#include "readers/ios/voicemail/voicemailcollection.h"

#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxfileitem.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/whatsappservice.h"
#include "tests/support/apps/callhistory.h"
#include "tests/support/samplebackup.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {
using namespace fixture;

const QString kHome = QStringLiteral("HomeDomain");

class CallBackup : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    SherdLog::setSink([this](const char*, int, const QString& text) { log << text; });
  }
  void TearDown() override { SherdLog::toStderr(); }

  MobileBackup* open(const QList<StoredFile>& files) {
    const QString folder = dir.filePath(QStringLiteral("b%1").arg(++count));
    QString error;
    EXPECT_TRUE(writeBackup(folder, BackupPlan(), files, &error)) << error.toStdString();
    backup.reset(MobileBackup::loadFromPath(folder));
    EXPECT_TRUE(backup);
    return backup.get();
  }
  QStringList names(OxData& list) const {
    QStringList out;
    for (int i = 0; i < list.count(0); ++i)
      out << list.at(i, false)->value(0);
    return out;
  }

  QTemporaryDir dir;
  int count = 0;
  std::unique_ptr<MobileBackup> backup;
  QStringList log;
};

TEST_F(CallBackup, WhichStoreAndWhichNames) {
  const QList<Contact> book{
      {1, QStringLiteral("Anna"), QStringLiteral("Berg"), QString(), {QStringLiteral("(415) 555-0123")}, {}}};
  QList<StoredCall> newer{StoredCall()};
  newer[0].pk = 1;
  newer[0].address = QStringLiteral("+14155550123");
  const QList<OldCall> older{{1, QStringLiteral("4155550123"), 1300000000, 10, 4, -1, QString()},
                             {2, QStringLiteral("5550001111"), 1300000100, 10, 4, -1, QString()}};
  // Very old phones kept the book in AddressBook.db.
  QList<StoredFile> oldBook = addressBookFiles(book);
  for (StoredFile& f : oldBook)
    f.relativePath.replace(QStringLiteral("AddressBook.sqlitedb"), QStringLiteral("AddressBook.db"));
  const QMap<QString, QString> hostMap{{QStringLiteral("+1 555 000 1111"), QStringLiteral("From Host")}};
  const QList<StoredFile> newerStore = callHistoryStoreFiles(newer), olderStore = oldCallHistoryFiles(older),
                          homeStore = oldCallHistoryFiles(older, kHome), newBook = addressBookFiles(book);
  struct Case {
    const char* what;
    QList<StoredFile> files;
    QMap<QString, QString> contacts;
    const char* names; // newest first
    const char* logged;
  } cases[] = {
      {"newer store, names from the backup's book", newerStore + newBook, {}, "Anna Berg", ""},
      {"newer store, the host's map replaces the book", newerStore + newBook, hostMap, "+14155550123", ""},
      {"both stores: only the newer one", newerStore + olderStore, {}, "+14155550123", "both call stores"},
      {"older store with book and host map", olderStore + newBook, hostMap, "From Host|Anna Berg", ""},
      {"older store in HomeDomain, no book", homeStore, {}, "5550001111|4155550123", "No address book"},
      {"older store, book in AddressBook.db", olderStore + oldBook, {}, "5550001111|Anna Berg", ""},
      {"no call store", newBook, {}, "", "No call history"},
  };
  for (const Case& c : cases) {
    log.clear();
    OxData list(10);
    CCalllistCollection collection(&list, c.contacts, {});
    collection.load(open(c.files));
    EXPECT_EQ(names(list).join(QLatin1Char('|')), QString::fromUtf8(c.names)) << c.what;
    if (*c.logged) {
      EXPECT_FALSE(log.filter(QString::fromUtf8(c.logged)).isEmpty()) << c.what << "\n"
                                                                      << log.join(QLatin1Char('\n')).toStdString();
    }
  }
}

TEST_F(CallBackup, VoicemailRecordings) {
  QList<StoredFile> files = voicemailFiles({{1, 1650535200, QStringLiteral("+14155550123"), 2},
                                            {2, 1650621600, QStringLiteral("+442071838750"), 1},
                                            {3, 1650621700, QStringLiteral("+15550001111"), 1}});
  files << file(kHome, QStringLiteral("Library/Voicemail/7.AMR"), amrRecording(5)) // capitals, no row
        << file(kHome, QStringLiteral("Library/Voicemail/old/8.amr"), amrRecording(5))
        << file(kHome, QStringLiteral("Library/Voicemail/9.amr"), QByteArray()) // empty
        << file(kHome, QStringLiteral("Library/Voicemail/1.transcript"), QByteArray("hello"))
        << file(QStringLiteral("MediaDomain"), QStringLiteral("Library/Voicemail/10.amr"), amrRecording(5));
  for (StoredFile& f : files)
    if (f.relativePath.endsWith(QLatin1String("/3.amr")))
      f.omitContent = true; // named in the manifest, missing on disk
  OxData list(10);
  CVoiceMailCollection voicemail(&list);
  voicemail.load(open(files));

  QMap<QString, OxFileItem*> byName;
  for (int i = 0; i < list.count(0); ++i)
    byName.insert(list.at(i, false)->value(0), dynamic_cast<OxFileItem*>(list.at(i, false)));
  EXPECT_EQ(byName.keys(), (QStringList{QStringLiteral("1.amr"), QStringLiteral("2.amr"), QStringLiteral("7.AMR"),
                                        QStringLiteral("8.amr")}));
  const OxFileItem* first = byName.value(QStringLiteral("1.amr"));
  ASSERT_TRUE(first);
  EXPECT_EQ(first->value(1), QStringLiteral("+14155550123")); // the caller of row 1
  EXPECT_EQ(first->sortValue(2).toDateTime(), QDateTime::fromSecsSinceEpoch(1650535200, Qt::UTC));
  EXPECT_EQ(first->getTreeFirstLayerName(), QStringLiteral("Voice Mail"));
  EXPECT_EQ(first->size(), quint64(amrRecording(100).size()));
  EXPECT_TRUE(QFileInfo(first->filePath()).isFile());
  ASSERT_TRUE(byName.value(QStringLiteral("7.AMR")));
  EXPECT_EQ(byName.value(QStringLiteral("7.AMR"))->value(1), QString()); // no row for it
  EXPECT_FALSE(log.filter(QStringLiteral("Library/Voicemail/3.amr of HomeDomain is missing")).isEmpty());
  EXPECT_FALSE(log.filter(QStringLiteral("empty file Library/Voicemail/9.amr")).isEmpty());
  EXPECT_FALSE(log.filter(QStringLiteral("Voicemail 3 from +15550001111 has no recording")).isEmpty())
      << log.join('\n').toStdString();
}

TEST_F(CallBackup, RealVoicemailDbWithoutMessages) {
  QFile real(QStringLiteral(SHERD_REALDATA_DIR "/voicemail-ios16/voicemail.db"));
  if (!real.open(QIODevice::ReadOnly))
    GTEST_SKIP() << "real data not available";
  OxData list(10);
  CVoiceMailCollection voicemail(&list);
  voicemail.load(open({file(kHome, QStringLiteral("Library/Voicemail/voicemail.db"), real.readAll()),
                       file(kHome, QStringLiteral("Library/Voicemail/1.amr"), amrRecording(3))}));
  ASSERT_EQ(list.count(0), 1);
  EXPECT_EQ(list.at(0, false)->value(1), QString());
}

TEST_F(CallBackup, ServiceLoadsCallsThenVoicemail) {
  const QString folder = dir.filePath(QStringLiteral("sample"));
  QString error;
  ASSERT_TRUE(writeSampleBackup(folder, QString(), &error)) << error.toStdString();
  WhatsappService service(folder, false);
  ASSERT_TRUE(service.onBeginLoadWhatsappOnly());
  service.loadWhatsappOnly(10);
  service.onEndLoadWhatsappOnly();
  OxData* list = service.getOxData(10);
  EXPECT_EQ(list->categoryItemCount(QStringLiteral("Call History")), 8);
  EXPECT_EQ(list->categoryItemCount(QStringLiteral("Voice Mail")), 2);
  EXPECT_EQ(list->firstLayerOrder().mid(0, 2),
            (QStringList{QStringLiteral("Call History"), QStringLiteral("Voice Mail")}));
}
} // namespace
