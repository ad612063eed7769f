#include "model/oxbackup.h"

#include "model/oxabstractitem.h"
#include "model/oxdata.h"
#include "model/oxwhatsappitem.h"

#include <gtest/gtest.h>

namespace {
TEST(OxBackup, ListNamesCarryTheCount) {
  OxBackup b;
  b.getWhatsappMsg()->append(OxWhatsappItem::createItem());
  b.getWhatsappMsg()->append(OxWhatsappItem::createItem());
  b.getNote()->append(new OxAbstractItem(2));
  struct Row {
    int type;
    const char* listName;
  } rows[] = {{0, "WhatsApp (2)"}, {7, " (1)"}, {11, ""}};
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
  EXPECT_EQ(b.listSize(-3, true), 0u);
  EXPECT_EQ(b.getMsgSessionCount(), 3u);

  b.initRecoverCount();
  EXPECT_EQ(list->recoverCount(), 2);
  EXPECT_EQ(b.recoverItemSize(), b.listSize(1, true));
  b.clearAllData();
  EXPECT_EQ(b.listCount(1, false), 0);
}

TEST(OxBackup, PropertiesAreTrimmedAndShowPlaceholders) {
  OxBackup b;
  struct Row {
    int index;
    const char* shown;
  } fresh[] = {{0, "Unknown"}, {3, "N/A"}, {7, ""}};
  for (const auto& r : fresh)
    EXPECT_EQ(b.backupProperty(r.index), QString::fromLatin1(r.shown)) << r.index;
  b.setBackupProperty(QStringLiteral("  Anna's iPhone  "), 0);
  b.setBackupProperty(QStringLiteral("x"), 7);
  EXPECT_EQ(b.backupProperty(0), QStringLiteral("Anna's iPhone"));
  EXPECT_EQ(b.backupPropertyOriginal(3), QString());
}
} // namespace
