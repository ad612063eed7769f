// The recovery run, read back with real parsers: the calendar through
// KCalendarCore, the address cards through KContacts, sherd.json through Qt's
// JSON parser, the CSV tables through a strict RFC 4180 reader; names, escapes
// and the output folder's bounds on hostile input; cancelling.
#include "export/backupfiles.h"
#include "export/exporter.h"
#include "export/outputfolder.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/backup/mobilebackup.h"
#include "samples/apps/notes.h"
#include "samples/samplebackup.h"
#include "service/progress.h"
#include "service/whatsappservice.h"

#include <KCalendarCore/ICalFormat>
#include <KCalendarCore/MemoryCalendar>
#include <KContacts/VCardConverter>

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
QByteArray readAll(const QString& path) {
  QFile f(path);
  return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QStringList filesUnder(const QString& root) {
  QStringList files;
  QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
  while (it.hasNext())
    files << it.next();
  return files;
}

// A strict RFC 4180 reader: fields separated by commas, records by CRLF,
// quoted fields with doubled quotes; anything else (a bare quote inside a
// field, a lone CR or LF outside quotes, text after a closing quote) fails.
bool parseCsv(const QByteArray& bytes, QList<QStringList>* rows) {
  const QString text = QString::fromUtf8(bytes);
  QStringList row;
  QString field;
  int i = 0;
  const int n = text.size();
  while (i < n) {
    if (text.at(i) == QLatin1Char('"')) {
      ++i;
      for (;;) {
        if (i >= n)
          return false;
        if (text.at(i) == QLatin1Char('"')) {
          if (i + 1 < n && text.at(i + 1) == QLatin1Char('"')) {
            field += QLatin1Char('"');
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        field += text.at(i++);
      }
    } else {
      while (i < n && text.at(i) != QLatin1Char(',') && text.at(i) != QLatin1Char('\r')) {
        if (text.at(i) == QLatin1Char('"') || text.at(i) == QLatin1Char('\n'))
          return false;
        field += text.at(i++);
      }
    }
    row << field;
    field.clear();
    if (i < n && text.at(i) == QLatin1Char(',')) {
      ++i;
      continue;
    }
    if (text.mid(i, 2) != QLatin1String("\r\n"))
      return false;
    i += 2;
    rows->append(row);
    row.clear();
  }
  return true;
}

class CancelAfter : public CIProgressCallback {
public:
  explicit CancelAfter(int steps) : m_left(steps) {}
  void initRange(int) override {}
  int range() override { return 1; }
  bool progress(double) override { return --m_left > 0; }
  bool finish() override { return true; }
  void download(bool) override {}

private:
  int m_left;
};

// The sample backup, written once, plain and encrypted, and exported.
class SampleExport : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    s_dir = new QTemporaryDir;
    for (const QString& password : {QString(), QStringLiteral("s3cret")}) {
      // The same folder name in two places: the export names the backup by it.
      const QString backup = s_dir->filePath((password.isEmpty() ? "plain" : "enc") + QStringLiteral("/sample"));
      QString error;
      ASSERT_TRUE(fixture::writeSampleBackup(backup, password, &error)) << error.toStdString();
      WhatsappService service(backup, false);
      service.setBackupPassword(password);
      service.setNotePasswords({fixture::notes::kSamplePassword});
      service.loadWhatsappOnly();
      ASSERT_NE(service.openedBackup(), nullptr);
      ExportOptions options;
      options.outputFolder = s_dir->filePath(password.isEmpty() ? "out-plain" : "out-enc");
      const ExportSummary summary = CExporter(service.backupRegistry(), service.openedBackup()).run(options);
      ASSERT_EQ(summary.outcome, ExportSummary::Finished) << summary.line().toStdString();
      (password.isEmpty() ? s_plain : s_encrypted) = summary;
    }
  }
  static void TearDownTestSuite() {
    delete s_dir;
    s_dir = nullptr;
  }
  static void CalendarReadsBackWithRepeatRulesAndAlarms();
  static void ContactsReadBackWithNumbersAndAddresses();
  static void CsvTablesAreStrictRfc4180WithOneFieldPerHeader();
  static void JsonIsParsedAndEveryPathNamesAFileInTheFolder();
  static void PlainAndEncryptedBackupsGiveTheSameJson();
  static void IndexLinksOnlyToFilesThatExist();
  static QString out(const QString& relative) { return s_dir->filePath(QStringLiteral("out-plain/") + relative); }

  static QTemporaryDir* s_dir;
  static ExportSummary s_plain;
  static ExportSummary s_encrypted;
};
QTemporaryDir* SampleExport::s_dir = nullptr;
ExportSummary SampleExport::s_plain;
ExportSummary SampleExport::s_encrypted;

void SampleExport::CalendarReadsBackWithRepeatRulesAndAlarms() {
  KCalendarCore::MemoryCalendar::Ptr calendar(new KCalendarCore::MemoryCalendar(QTimeZone::utc()));
  KCalendarCore::ICalFormat format;
  ASSERT_TRUE(format.load(calendar, out(QStringLiteral("Calendar/calendar.ics"))));
  const KCalendarCore::Event::List events = calendar->rawEvents();
  ASSERT_EQ(events.size(), s_plain.types.at(OxBackup::Calendar).items);
  int repeating = 0;
  int alarms = 0;
  for (const auto& e : events) {
    EXPECT_TRUE(e->dtStart().isValid()) << e->summary().toStdString();
    repeating += e->recurs() ? 1 : 0;
    alarms += e->alarms().size();
  }
  EXPECT_GE(repeating, 1);
  EXPECT_GE(alarms, 2);
  const auto standUp = std::find_if(events.begin(), events.end(),
                                    [](const auto& e) { return e->summary() == QLatin1String("Team stand-up"); });
  ASSERT_NE(standUp, events.end());
  EXPECT_EQ((*standUp)->recurrence()->recurrenceType(), KCalendarCore::Recurrence::rWeekly);
  // Shown in the zone the phone kept for it, at the same instant.
  EXPECT_EQ((*standUp)->dtStart().timeZone().id(), QByteArray("Europe/Berlin"));
  const auto allDay = std::find_if(events.begin(), events.end(), [](const auto& e) { return e->allDay(); });
  ASSERT_NE(allDay, events.end());
  EXPECT_EQ((*allDay)->dtStart().time(), QTime(0, 0)) << (*allDay)->summary().toStdString();
  ASSERT_EQ((*standUp)->alarms().size(), 1);
  EXPECT_EQ((*standUp)->alarms().first()->startOffset().asSeconds(), -300);
}

void SampleExport::ContactsReadBackWithNumbersAndAddresses() {
  KContacts::VCardConverter converter;
  const KContacts::Addressee::List people = converter.parseVCards(readAll(out(QStringLiteral("Call history/contacts.vcf"))));
  ASSERT_FALSE(people.isEmpty());
  int phones = 0;
  for (const KContacts::Addressee& a : people) {
    EXPECT_FALSE(a.formattedName().isEmpty());
    phones += a.phoneNumbers().size();
  }
  EXPECT_GE(phones, people.size());
}

void SampleExport::CsvTablesAreStrictRfc4180WithOneFieldPerHeader() {
  for (const QString& table : {QStringLiteral("Call history/calls.csv"), QStringLiteral("Safari/history.csv")}) {
    QList<QStringList> rows;
    ASSERT_TRUE(parseCsv(readAll(out(table)), &rows)) << table.toStdString();
    ASSERT_GE(rows.size(), 2) << table.toStdString();
    for (const QStringList& row : rows)
      EXPECT_EQ(row.size(), rows.first().size()) << table.toStdString();
  }
}

void SampleExport::JsonIsParsedAndEveryPathNamesAFileInTheFolder() {
  QJsonParseError error;
  const QJsonDocument doc = QJsonDocument::fromJson(readAll(out(QStringLiteral("sherd.json"))), &error);
  ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
  const QJsonArray lists = doc.object().value(QStringLiteral("lists")).toArray();
  ASSERT_EQ(lists.size(), OxBackup::DataTypeCount);
  int paths = 0;
  for (const QJsonValue& list : lists) {
    EXPECT_FALSE(list.toObject().value(QStringLiteral("columns")).toArray().isEmpty() &&
                 list.toObject().value(QStringLiteral("count")).toInt() > 0);
    for (const QJsonValue& item : list.toObject().value(QStringLiteral("items")).toArray()) {
      QStringList refs = {item.toObject().value(QStringLiteral("filePath")).toString()};
      for (const QJsonValue& m : item.toObject().value(QStringLiteral("chat")).toObject().value(QStringLiteral("messages")).toArray())
        refs << m.toObject().value(QStringLiteral("media")).toString();
      for (const QString& ref : refs) {
        if (ref.isEmpty())
          continue;
        ++paths;
        EXPECT_FALSE(QDir::isAbsolutePath(ref)) << ref.toStdString();
        EXPECT_TRUE(QFileInfo(out(ref)).isFile()) << ref.toStdString();
      }
    }
  }
  EXPECT_GE(paths, 3);
}

void SampleExport::PlainAndEncryptedBackupsGiveTheSameJson() {
  const QByteArray plain = readAll(out(QStringLiteral("sherd.json")));
  ASSERT_FALSE(plain.isEmpty());
  EXPECT_EQ(plain, readAll(s_dir->filePath(QStringLiteral("out-enc/sherd.json"))));
  EXPECT_EQ(s_plain.line(), s_encrypted.line());
}

void SampleExport::IndexLinksOnlyToFilesThatExist() {
  const QString index = QString::fromUtf8(readAll(out(QStringLiteral("index.html"))));
  QRegularExpression href(QStringLiteral("href=\"([^\"#]+)\""));
  int links = 0;
  for (auto it = href.globalMatch(index); it.hasNext();) {
    const QString target = QUrl::fromPercentEncoding(it.next().captured(1).toUtf8());
    ++links;
    EXPECT_TRUE(QFileInfo::exists(out(target))) << target.toStdString();
  }
  EXPECT_GE(links, 15);
}

// One run of the sample (it takes a while to write), read back several ways.
TEST_F(SampleExport, ReadsBackWithRealParsers) {
  {
    SCOPED_TRACE("CalendarReadsBackWithRepeatRulesAndAlarms");
    CalendarReadsBackWithRepeatRulesAndAlarms();
  }
  {
    SCOPED_TRACE("ContactsReadBackWithNumbersAndAddresses");
    ContactsReadBackWithNumbersAndAddresses();
  }
  {
    SCOPED_TRACE("CsvTablesAreStrictRfc4180WithOneFieldPerHeader");
    CsvTablesAreStrictRfc4180WithOneFieldPerHeader();
  }
  {
    SCOPED_TRACE("JsonIsParsedAndEveryPathNamesAFileInTheFolder");
    JsonIsParsedAndEveryPathNamesAFileInTheFolder();
  }
  {
    SCOPED_TRACE("PlainAndEncryptedBackupsGiveTheSameJson");
    PlainAndEncryptedBackupsGiveTheSameJson();
  }
  {
    SCOPED_TRACE("IndexLinksOnlyToFilesThatExist");
    IndexLinksOnlyToFilesThatExist();
  }
}

// A registry built by hand: one chat whose texts are hostile.
class HostileChat : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(dir.isValid());
    QFile photo(dir.filePath(QStringLiteral("photo.jpg")));
    ASSERT_TRUE(photo.open(QIODevice::WriteOnly));
    photo.write("\xff\xd8\xff\xe0 not much of a picture");
    photo.close();
    auto* chat = new OxWhatsappChat;
    const QDateTime t0(QDate(2022, 1, 1), QTime(9, 0), Qt::UTC);
    const QStringList texts = {QStringLiteral("<script>alert(1)</script> & \"quoted\" 'single'"),
                               QStringLiteral("line one\nline two")};
    for (int i = 0; i < 12; ++i) {
      auto* m = new OxWhatsappMsg;
      m->setMsgDate(t0.addSecs(60 * i));
      m->setContent(texts.at(i % 2));
      m->setFromMe(i % 3 == 0);
      m->setMember(QStringLiteral("Eve \u202Egpj.exe"));
      if (i == 4 || i == 7) // the same picture twice: stored once
        m->setMedia(dir.filePath(QStringLiteral("photo.jpg")));
      if (i == 5)
        m->setMedia(dir.filePath(QStringLiteral("gone.jpg")));
      chat->addMessage(m);
    }
    item = OxWhatsappItem::createItem();
    item->setDetailContent(chat);
    item->setValue(QStringLiteral("../../evil/\n") + QString(300, QLatin1Char('x')), 0);
    registry.getWhatsappMsg()->append(item);
    options.outputFolder = dir.filePath(QStringLiteral("out"));
    options.types = {OxBackup::WhatsApp};
    options.messagesPerPage = 5;
  }

  QTemporaryDir dir;
  OxBackup registry;
  OxWhatsappItem* item = nullptr;
  ExportOptions options;
};

TEST_F(HostileChat, TextIsEscapedNamesAreSafeAndNothingLeavesTheFolder) {
  const ExportSummary summary = CExporter(&registry, nullptr).run(options);
  ASSERT_EQ(summary.outcome, ExportSummary::Finished);
  const ExportTypeSummary& chats = summary.types.first();
  EXPECT_EQ(chats.items, 1);
  EXPECT_EQ(chats.files, 1);
  EXPECT_EQ(chats.duplicates, 1);
  ASSERT_EQ(chats.skipped.size(), 1);
  EXPECT_EQ(chats.skipped.first().reason, QStringLiteral("missing from the backup"));
  EXPECT_EQ(registry.recoveredCount(), 1);
  EXPECT_EQ(registry.dupplicatedCount(), 1);

  const QStringList files = filesUnder(options.outputFolder);
  QStringList pages;
  for (const QString& f : files) {
    const QString relative = QDir(options.outputFolder).relativeFilePath(f);
    EXPECT_FALSE(relative.startsWith(QLatin1String(".."))) << relative.toStdString();
    const QString name = QFileInfo(f).fileName();
    EXPECT_LE(name.size(), 100) << name.toStdString();
    EXPECT_FALSE(name.contains(QLatin1Char('\n')) || name.contains(QChar(0x202E))) << name.toStdString();
    if (name.endsWith(QLatin1String(".html")) && name != QLatin1String("index.html"))
      pages << f;
  }
  EXPECT_EQ(filesUnder(dir.path()).size(), files.size() + 1); // the photo beside
  ASSERT_EQ(pages.size(), 3); // 12 messages, 5 a page
  int links = 0;
  for (const QString& page : pages) {
    const QByteArray html = readAll(page);
    EXPECT_FALSE(html.contains("<script>")) << page.toStdString();
    EXPECT_TRUE(html.contains("&lt;script&gt;alert(1)&lt;/script&gt; &amp; &quot;quoted&quot;"));
    links += html.count("later &rarr;") + html.count("&larr; earlier");
  }
  EXPECT_EQ(links, 2 * 2 * 2); // each of two page boundaries linked both ways, above and below
}

TEST_F(HostileChat, ACancelledRunKeepsWhatItWroteAndSaysSo) {
  auto* second = OxWhatsappItem::createItem();
  second->setDetailContent(new OxWhatsappChat);
  second->setValue(QStringLiteral("Second"), 0);
  registry.getWhatsappMsg()->append(second);
  CancelAfter sink(1);
  const ExportSummary summary = CExporter(&registry, nullptr).run(options, &sink);
  EXPECT_EQ(summary.outcome, ExportSummary::Cancelled);
  EXPECT_EQ(summary.items(), 1);
  EXPECT_TRUE(summary.line().endsWith(QLatin1String("cancelled")));
  EXPECT_TRUE(QFileInfo::exists(summary.indexPath));
}

TEST_F(HostileChat, OnlyCheckedItemsAndNoFolderThatHoldsFiles) {
  registry.getWhatsappMsg()->setChecked(item, false);
  ExportSummary summary = CExporter(&registry, nullptr).run(options);
  EXPECT_EQ(summary.items(), 0);
  summary = CExporter(&registry, nullptr).run(options); // the folder is no longer empty
  EXPECT_EQ(summary.outcome, ExportSummary::Failed);
  EXPECT_FALSE(summary.error.isEmpty());
}

TEST(SafeFileName, HostileNames) {
  struct Row {
    const char* name;
    QString text;
    QString expected; // empty: only the general rules are checked
  } const rows[] = {
      {"separators", QStringLiteral("a/b\\c:d"), QStringLiteral("a_b_c_d")},
      {"parent folder", QStringLiteral(".."), QStringLiteral("unnamed")},
      {"leading dots", QStringLiteral("../../etc/passwd"), QStringLiteral("_.._etc_passwd")},
      {"line breaks", QStringLiteral("two\nlines\r"), QStringLiteral("two lines")},
      {"direction override", QStringLiteral("Eve \u202Egpj.exe"), QStringLiteral("Eve gpj.exe")},
      {"device name", QStringLiteral("CON.txt"), QStringLiteral("_CON.txt")},
      {"empty", QString(), QStringLiteral("unnamed")},
      {"long, extension kept", QString(300, QLatin1Char('y')) + QStringLiteral(".jpg"), QString()},
  };
  for (const Row& row : rows) {
    const QString safe = exporting::safeFileName(row.text);
    if (!row.expected.isEmpty())
      EXPECT_EQ(safe, row.expected) << row.name;
    EXPECT_LE(safe.size(), 100) << row.name;
    EXPECT_FALSE(safe.startsWith(QLatin1Char('.')) || safe.contains(QLatin1Char('/'))) << row.name;
  }
  EXPECT_TRUE(exporting::safeFileName(QString(300, QLatin1Char('y')) + QStringLiteral(".jpg")).endsWith(".jpg"));
}

TEST(BackupFileFilter, Patterns) {
  struct Row {
    const char* name;
    QString domain, path;
    bool matches;
  } const rows[] = {
      {"everything", QString(), QString(), true},
      {"star crosses folders", QString(), QStringLiteral("Library/*.sqlitedb"), true},
      {"domain exact", QStringLiteral("HomeDomain"), QString(), true},
      {"other domain", QStringLiteral("MediaDomain"), QString(), false},
      {"question mark is one character", QString(), QStringLiteral("Library/?"), false},
      {"dots are literal", QString(), QStringLiteral("Library.Calendar*"), false},
  };
  BackupFileRecord record;
  record.domain = QStringLiteral("HomeDomain");
  record.relativePath = QStringLiteral("Library/Calendar/Calendar.sqlitedb");
  for (const Row& row : rows)
    EXPECT_EQ(BackupFileFilter(row.domain, row.path).matches(record), row.matches) << row.name;
}
} // namespace
