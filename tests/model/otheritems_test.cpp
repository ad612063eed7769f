#include "model/oxcalendaritem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxnoteitem.h"
#include "model/oxsafaribookmarkitem.h"
#include "model/oxwhatsappitem.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace {
TEST(OtherItems, NoteAttachmentSummary) {
  const char *jpeg = "public.jpeg", *movie = "com.apple.quicktime-movie", *scan = "com.apple.notes.gallery";
  struct Row {
    const char* name;
    std::vector<const char*> types;
    const char* expected;
  } rows[] = {
      {"none", {}, "No additional text"},
      {"two photos", {jpeg, jpeg}, "2 photos"},
      {"drawings of both generations", {"com.apple.drawing", "com.apple.drawing.2"}, "Handwritten note"},
      {"one scan", {scan}, "1 scanned document"},
      {"unknown kind", {"public.pdf"}, "1 attachment"},
      {"mixed kinds count all", {jpeg, movie}, "2 attachments"},
  };
  for (const auto& r : rows) {
    OxNoteItem note;
    for (const char* t : r.types)
      note.addAttachment(QString::fromLatin1(t));
    EXPECT_EQ(note.getATText(), QString::fromLatin1(r.expected)) << r.name;
  }
}

TEST(OtherItems, NoteLocalStoreNamedAfterDevice) {
  struct Row {
    const char *device, *expected;
  } rows[] = {{"IPAD Pro", "On My iPad"}, {"iPod with iPad", "On My iPod touch"}, {"", "On My iPhone"}};
  for (const auto& r : rows) {
    OxNoteItem note;
    note.updateLocationByDeviceType(QString::fromLatin1(r.device));
    EXPECT_EQ(note.value(OxNoteItem::ColLocation), QString::fromLatin1(r.expected)) << r.device;
  }
}

OxNoteItem::NotePiece* textPiece(const char* text) {
  auto* p = new OxNoteItem::NotePiece;
  p->content = QString::fromLatin1(text);
  return p;
}

// Pieces are owned by their note and copied deeply (the sanitizer build checks each is freed once).
TEST(OtherItems, NotePiecesAreOwnedAndCopiedDeeply) {
  OxNoteItem note;
  note.setValue(QStringLiteral("body"), OxNoteItem::ColNotes);
  OxNoteItem::NotePiece* keep = textPiece("keep");
  note.setNotePieces({textPiece("a"), keep});
  note.setNotePieces({keep, textPiece("b")}); // "a" is deleted, "keep" survives
  note.addAttachment(QStringLiteral("public.jpeg"));
  ASSERT_EQ(note.notePieces().size(), 2);
  EXPECT_EQ(note.notePieces().at(0)->content, QStringLiteral("keep"));

  OxNoteItem copy(note);
  ASSERT_EQ(copy.notePieces().size(), 2);
  EXPECT_NE(copy.notePieces().at(0), note.notePieces().at(0));
  EXPECT_EQ(copy.getATText(), QStringLiteral("1 photo"));

  OxNoteItem full;
  full.copyFull(&note);
  full.copyFull(&full); // self is ignored
  EXPECT_EQ(full.notePieces().size(), 2);

  OxNoteItem locked; // an unlocked note's content replaces all but the locked note's title
  locked.setValue(QStringLiteral("Locked title"), OxNoteItem::ColTitle);
  locked.onChangeDetailContent(&note);
  EXPECT_EQ(locked.value(OxNoteItem::ColTitle), QStringLiteral("Locked title"));
  EXPECT_EQ(locked.value(OxNoteItem::ColNotes), QStringLiteral("body"));
  EXPECT_EQ(locked.notePieces().size(), 2);
}

// Calls are ordered by column 2, notes and events by column 1 (newest first),
// bookmarks by the text of column 0 whatever their dates.
TEST(OtherItems, DefaultOrderPerKind) {
  const QDateTime t0 = QDateTime::fromSecsSinceEpoch(1000000, Qt::UTC);
  struct Row {
    const char* name;
    int type, column;
    std::function<OxAbstractItem*()> make;
    const char* expected;
  } rows[] = {
      {"calls", 10, 2, [] { return new OxCallHistoryItem; }, "b c a"},
      {"events", 8, 1, [] { return new OxCalendarItem; }, "b c a"},
      {"bookmarks", 9, 2, [] { return new OxSafariBookmarkItem; }, "a b c"},
  };
  for (const auto& r : rows) {
    OxData list(r.type);
    const std::pair<const char*, int> items[] = {{"a", 1}, {"b", 3}, {"c", 2}};
    for (const auto& [title, days] : items) {
      OxAbstractItem* item = r.make();
      item->setValue(QString::fromLatin1(title), 0);
      item->setSortValue(t0.addDays(days), r.column);
      list.append(item);
    }
    QString order;
    for (int row = 0; row < 3; ++row)
      order += list.at(row, false)->value(0) + (row < 2 ? QStringLiteral(" ") : QString());
    EXPECT_EQ(order, QString::fromLatin1(r.expected)) << r.name;
  }
}
OxCalendarItem* event(const char* title, int trigger, const char* calendar = "") {
  auto* e = new OxCalendarItem;
  e->setValue(QString::fromLatin1(title), OxCalendarItem::ColTitle);
  e->setValue(QString::fromLatin1(calendar), OxCalendarItem::ColCalendar);
  e->setTriggerid(trigger);
  return e;
}

TEST(OxDataCalendar, SameTriggerItem) {
  OxData list(8);
  OxCalendarItem* first = event("first", 7);
  list.append(first);
  list.append(event("no alarm", 0));
  list.append(event("second with 7", 7));
  OxCalendarItem* late = event("late", 0);
  list.append(late);
  late->setTriggerid(9); // set after appending: found by a scan
  struct Row {
    int id;
    const OxCalendarItem* expected;
  } rows[] = {{7, first}, {0, nullptr}, {9, late}};
  for (const auto& r : rows)
    EXPECT_EQ(list.getSameTriggerItem(r.id), r.expected) << r.id;
  list.clear();
  EXPECT_EQ(list.getSameTriggerItem(7), nullptr);
}
} // namespace
