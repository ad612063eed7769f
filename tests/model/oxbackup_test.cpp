#include "model/oxbackup.h"

#include "model/oxabstractitem.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"

#include <gtest/gtest.h>

namespace {
TEST(OxBackup, ListsByTypeNumber) {
  OxBackup b;
  OxData* typed[] = {b.getWhatsappMsg(),  b.getKikMsg(),  b.getLineMsg(),    b.getViberMsg(),
                     b.getMessengerMsg(), b.getWeChart(), b.getQQMsg(),      b.getNote(),
                     b.getCalendar(),     b.getSafari(),  b.getCallHistory()};
  for (int type = 0; type <= 10; ++type) {
    ASSERT_NE(typed[type], nullptr) << type;
    EXPECT_EQ(typed[type], b.getOxData(type)) << type;
    EXPECT_EQ(typed[type]->dataType(), type);
  }
  EXPECT_EQ(b.getOxData(11), nullptr);
  EXPECT_EQ(b.getOxData(-1), nullptr);
}

TEST(OxBackup, ListNamesCarryTheCount) {
  OxBackup b;
  b.getWhatsappMsg()->append(OxWhatsappItem::createItem());
  b.getWhatsappMsg()->append(OxWhatsappItem::createItem());
  b.getNote()->append(new OxAbstractItem(2));
  struct Row {
    int type;
    const char* listName;
  } rows[] = {{0, "WhatsApp (2)"}, {6, "QQ (0)"}, {7, " (1)"}, {10, " (0)"}, {11, ""}, {-1, ""}};
  for (const auto& r : rows)
    EXPECT_EQ(b.listName(r.type), QString::fromLatin1(r.listName)) << r.type;
}

TEST(OxBackup, CountsAndSizesRawOrFilteredChecked) {
  OxBackup b;
  OxData* list = b.getKikMsg();
  for (int i = 0; i < 3; ++i) {
    auto* item = OxWhatsappItem::createItem();
    item->setSize(quint64(10 * (i + 1)));
    list->append(item);
  }
  list->setChecked(list->at(0, true), false);
  EXPECT_EQ(b.listCount(1, false), 3);
  EXPECT_EQ(b.listCount(1, true), 2);
  EXPECT_EQ(b.listSize(1, false), 60u);
  EXPECT_EQ(b.listSize(1, true), 60u - list->at(0, true)->size());
  EXPECT_EQ(b.listCount(11, false), 0);
  EXPECT_EQ(b.listSize(-3, true), 0u);
  EXPECT_EQ(b.getMsgSessionCount(), 3u);
  EXPECT_EQ(b.getOtherSessionCount(), 0u);

  b.initRecoverCount();
  EXPECT_EQ(list->recoverCount(), 2);
  EXPECT_EQ(b.recoverItemSize(), b.listSize(1, true));
  b.clearAllData();
  EXPECT_EQ(b.listCount(1, false), 0);
}

TEST(OxBackup, PropertiesAndRecoverStatistics) {
  OxBackup b;
  struct Row {
    int index;
    const char* shown;
  } fresh[] = {{0, "Unknown"}, {3, "N/A"}, {6, "N/A"}, {7, ""}, {-1, ""}};
  for (const auto& r : fresh)
    EXPECT_EQ(b.backupProperty(r.index), QString::fromLatin1(r.shown)) << r.index;
  b.setBackupProperty(QStringLiteral("  Anna's iPhone  "), 0);
  b.setBackupProperty(QStringLiteral("x"), 7);
  b.setBackupProperty(QStringLiteral("x"), -1);
  EXPECT_EQ(b.backupProperty(0), QStringLiteral("Anna's iPhone"));
  EXPECT_EQ(b.backupPropertyOriginal(3), QString());
  EXPECT_EQ(b.backupProperty(7), QString());

  b.increaseRecoverStat(2, 1);
  b.increaseRecoverStat(2, 1);
  EXPECT_EQ(b.recoveredCount(), 4);
  EXPECT_EQ(b.dupplicatedCount(), 2);
  b.resetRecoverStat();
  EXPECT_EQ(b.recoveredCount(), 0);
}
} // namespace
