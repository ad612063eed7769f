// WhatsApp end to end: the sample backup, plain and encrypted, loaded through
// the service as a host loads it.
#include "service/whatsappservice.h"

#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"
#include "platform/common/log.h"
#include "tests/support/samplebackup.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
// A local file stands for its content: plain and encrypted backups put the
// same bytes in different places.
QString contentOf(const QString& path) {
  if (path.isEmpty())
    return QString();
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly))
    return QStringLiteral("<unreadable %1>").arg(path);
  return QString::fromLatin1(QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256).toHex());
}

QString dateText(const QDateTime& d) { return d.isValid() ? d.toUTC().toString(Qt::ISODateWithMs) : QString(); }

// Everything a host can read of the WhatsApp list, one line per chat and
// message, with files replaced by their content.
QStringList describe(OxData* list) {
  QStringList out;
  for (int i = 0; i < list->count(OxData::CountRaw); ++i) {
    auto* item = static_cast<OxWhatsappItem*>(list->at(i, false));
    QStringList values;
    for (int c = 0; c < item->columnCount(); ++c)
      values << (c == 5 ? contentOf(item->value(c)) : item->value(c));
    out << QStringLiteral("chat %1 | %2 | size %3 | flags %4")
               .arg(values.join(QLatin1Char('|')), dateText(item->sortValue(6).toDateTime()))
               .arg(item->size())
               .arg(item->flags());
    for (const OxWhatsappMsg* m : item->detailContent()->messages())
      out << QStringLiteral("  %1 %2%3%4 %5 [%6] [%7] %8")
                 .arg(int(m->type()))
                 .arg(int(m->isFromMe()))
                 .arg(int(m->isSentDone()))
                 .arg(int(m->isBroadcast()))
                 .arg(dateText(m->msgDate()), m->content(), m->member(), contentOf(m->media()));
  }
  return out;
}

class WhatsappEndToEnd : public ::testing::Test {
protected:
  void SetUp() override {
    SherdLog::setSink([this](const char*, int level, const QString& text) {
      if (level == 0)
        errors << text;
    });
    ASSERT_TRUE(root.isValid());
    qputenv("SHERD_BACKUP_ROOT", root.path().toUtf8());
  }
  void TearDown() override {
    qunsetenv("SHERD_BACKUP_ROOT");
    SherdLog::toStderr();
  }
  QTemporaryDir root;
  QStringList errors;
};

TEST_F(WhatsappEndToEnd, SampleBackupPlainAndEncryptedGiveTheSameChats) {
  QString error;
  ASSERT_TRUE(fixture::writeSampleBackup(root.filePath(QStringLiteral("plain")), QString(), &error))
      << qPrintable(error);
  ASSERT_TRUE(fixture::writeSampleBackup(root.filePath(QStringLiteral("locked")), QStringLiteral("1234"), &error))
      << qPrintable(error);

  QStringList seen[2];
  const char* names[] = {"plain", "locked"};
  for (int b = 0; b < 2; ++b) {
    WhatsappService service(QString::fromLatin1(names[b]), false);
    if (b == 1)
      service.setBackupPassword(QStringLiteral("1234"));
    ASSERT_TRUE(service.onBeginLoadWhatsappOnly()) << qPrintable(service.lastOpenError());
    EXPECT_TRUE(service.loadWhatsappOnly(0));
    service.onEndLoadWhatsappOnly();
    EXPECT_TRUE(errors.isEmpty()) << qPrintable(errors.join(QLatin1Char('\n')));
    OxData* list = service.getOxData(0);
    seen[b] = describe(list);

    // Four chats: the hidden and the removed one are not shown, the one that
    // exists only in the -wal is.
    ASSERT_EQ(list->count(OxData::CountRaw), 4) << names[b];
    EXPECT_EQ(list->at(0, false)->value(0), QStringLiteral("Carl Diaz")) << "newest first";
    struct Row {
      const char *name, *title, *numbers, *lastContent;
      int messages;
      bool picture;
    } rows[] = {
        {"Carl Diaz", "Carl Diaz(+14155550123)", "+14155550123", "Hello from the other side of the log", 2, false},
        {"Anna Berg", "Anna Berg(+4915112345678)", "+4915112345678", "Hi Anna, are we still on for Saturday?", 8, true},
        {"Climbing Club", "Anna Berg(+4915112345678)", "+4915100000001,+4915112345678,+4917698765432",
         "Ben Ode created \"Climbing\"", 6, false},
        {"\u200e+44 7700 900123", "\u200e+44 7700 900123", "+447700900123", "", 0, false},
    };
    for (const Row& row : rows) {
      int i = 0;
      while (i < list->count(OxData::CountRaw) && list->at(i, false)->value(0) != QString::fromUtf8(row.name))
        ++i;
      ASSERT_LT(i, list->count(OxData::CountRaw)) << row.name;
      auto* item = static_cast<OxWhatsappItem*>(list->at(i, false));
      EXPECT_EQ(item->value(1), QString::fromUtf8(row.title)) << row.name;
      EXPECT_EQ(item->value(2), QString::fromUtf8(row.numbers)) << row.name;
      EXPECT_EQ(item->value(4), QString::fromUtf8(row.lastContent)) << row.name;
      EXPECT_EQ(item->detailContent()->messages().size(), row.messages) << row.name;
      EXPECT_EQ(!contentOf(item->value(5)).isEmpty(), row.picture) << row.name;
    }
  }
  EXPECT_EQ(seen[0], seen[1]);
  EXPECT_EQ(seen[0].size(), 4 + 16); // chats and messages
}
} // namespace
