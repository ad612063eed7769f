#include "model/oxcalendaritem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxfileitem.h"
#include "model/oxnoteitem.h"
#include "model/oxsafaribookmarkitem.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace {
TEST(OtherItems, ColumnHeadersAndShownColumns) {
  OxCalendarItem cal;
  OxCallHistoryItem call;
  OxNoteItem note;
  OxSafariBookmarkItem bookmark;
  OxFileItem file;
  struct Row {
    const char* name;
    const OxAbstractItem* item;
    int column;
    const char* header;
  } rows[] = {
      {"calendar first", &cal, 0, "Title"},      {"calendar alert", &cal, 8, "Alert"},
      {"calendar last", &cal, 10, "Notes"},      {"calendar past end", &cal, 11, ""},
      {"call last", &call, 5, "Duration"},       {"call past end", &call, 6, ""},
      {"call negative", &call, -1, ""},          {"note folder", &note, 3, "Folder"},
      {"note past end", &note, 5, ""},           {"bookmark date", &bookmark, 2, "Date"},
      {"bookmark past end", &bookmark, 3, ""},   {"file borrows call headers", &file, 1, "Phone"},
      {"file past end", &file, 4, ""},
  };
  for (const auto& r : rows)
    EXPECT_EQ(r.item->columnName(r.column), QString::fromLatin1(r.header)) << r.name;

  bookmark.setColumn(1);
  note.setColumn(2);
  cal.setColumn(4);
  call.setColumn(3);
  struct Shown {
    const char* name;
    const OxAbstractItem* item;
    int dataColumn;
    int columnCount;
  } shown[] = {
      {"calendar fixed", &cal, 11, 11}, {"note fixed", &note, 5, 5},      {"bookmark fixed", &bookmark, 3, 3},
      {"call base rule", &call, 3, 6},  {"file base rule", &file, 4, 4},
  };
  for (const auto& s : shown) {
    EXPECT_EQ(s.item->dataColumn(), s.dataColumn) << s.name;
    EXPECT_EQ(s.item->columnCount(), s.columnCount) << s.name;
  }
}

TEST(OtherItems, TreeLayersAndIconTypes) {
  OxCalendarItem cal;
  cal.setValue(QStringLiteral("iCloud"), OxCalendarItem::ColStore);
  cal.setValue(QStringLiteral("Work"), OxCalendarItem::ColCalendar);
  EXPECT_EQ(cal.getTreeFirstLayerName(), QStringLiteral("iCloud"));
  EXPECT_EQ(cal.getTreeSecondLayerName(), QStringLiteral("Work"));
  EXPECT_EQ(cal.getFirstLayerIconType(), -1);
  cal.setFirstLayerIconType(1);
  cal.setSecondLayerIconType(13);
  EXPECT_EQ(cal.getFirstLayerIconType(), 1);
  EXPECT_EQ(cal.getSecondLayerIconType(), 13);

  struct Row {
    const char* account;
    int firstIcon;
  } rows[] = {{"iCloud", 1}, {"On My iPhone", 0}, {"icloud", 0}, {"", 0}};
  for (const auto& r : rows) {
    OxNoteItem note;
    note.setValue(QString::fromLatin1(r.account), OxNoteItem::ColLocation);
    EXPECT_EQ(note.getFirstLayerIconType(), r.firstIcon) << r.account;
    EXPECT_EQ(note.getSecondLayerIconType(), 2) << r.account;
  }

  OxSafariBookmarkItem b;
  EXPECT_EQ(b.getFirstLayerIconType(), -1);
  EXPECT_EQ(b.getSecondLayerIconType(), -1);
  b.setTreeFirstLayerName(QStringLiteral("Bookmarks"));
  b.setTreeSecondLayerName(QStringLiteral("Favorites"));
  b.setFirstLayerIconType(5);
  b.setSecondLayerIconType(6);
  const OxSafariBookmarkItem copy(b);
  EXPECT_EQ(copy.getTreeSecondLayerName(), QStringLiteral("Favorites"));
  EXPECT_EQ(copy.getSecondLayerIconType(), 6);
}

TEST(OtherItems, NoteAttachmentSummary) {
  struct Row {
    const char* name;
    std::vector<const char*> types;
    const char* expected;
  } rows[] = {
      {"none", {}, "No additional text"},
      {"one photo", {"public.jpeg"}, "1 photo"},
      {"two photos", {"public.jpeg", "public.jpeg"}, "2 photos"},
      {"sketch", {"com.apple.notes.sketch"}, "Handwritten note"},
      {"drawings of both generations", {"com.apple.drawing", "com.apple.drawing.2"}, "Handwritten note"},
      {"one video", {"com.apple.quicktime-movie"}, "1 video"},
      {"three scans", {"com.apple.notes.gallery", "com.apple.notes.gallery", "com.apple.notes.gallery"},
       "3 scanned documents"},
      {"one scan", {"com.apple.notes.gallery"}, "1 scanned document"},
      {"unknown kind", {"public.pdf"}, "1 attachment"},
      {"mixed kinds count all", {"public.jpeg", "com.apple.quicktime-movie"}, "2 attachments"},
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
    const char* device;
    const char* expected;
  } rows[] = {
      {"iPhone 12", "On My iPhone"},       {"IPAD Pro", "On My iPad"},      {"iPod touch", "On My iPod touch"},
      {"iPod with iPad", "On My iPod touch"}, {"", "On My iPhone"},
  };
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
  EXPECT_EQ(full.value(OxNoteItem::ColNotes), QStringLiteral("body"));
  EXPECT_EQ(full.notePieces().size(), 2);
  full.copyFull(&full); // self and null are ignored
  full.copyFull(nullptr);
  EXPECT_EQ(full.notePieces().size(), 2);

  OxNoteItem locked;
  locked.setValue(QStringLiteral("Locked title"), OxNoteItem::ColTitle);
  locked.onChangeDetailContent(&note);
  EXPECT_EQ(locked.value(OxNoteItem::ColTitle), QStringLiteral("Locked title"));
  EXPECT_EQ(locked.value(OxNoteItem::ColNotes), QStringLiteral("body"));
  EXPECT_EQ(locked.notePieces().size(), 2);
  EXPECT_EQ(locked.attachmentCount(), 1);
}

TEST(OtherItems, FileKindsAndThumbnails) {
  struct Row {
    int type;
    bool image, video, audio, folder;
  } rows[] = {
      {0, true, false, false, false}, {1, false, true, false, false}, {2, false, false, true, false},
      {4, false, false, false, true}, {3, false, false, false, false},
  };
  for (const auto& r : rows) {
    std::unique_ptr<OxFileItem> f(OxFileItem::createItem(r.type));
    EXPECT_EQ(f->isImage(), r.image) << r.type;
    EXPECT_EQ(f->isVideo(), r.video) << r.type;
    EXPECT_EQ(f->isAudio(), r.audio) << r.type;
    EXPECT_EQ(f->isFolder(), r.folder) << r.type;
  }

  OxFileItem folder(OxFileItem::FileFolder);
  OxFileItem file;
  file.setParentItem(&folder);
  file.setFilePath(QStringLiteral("/tmp/x.m4a"));
  OxAbstractItem* base = &file;
  EXPECT_EQ(base->parentItem(), &folder);
  EXPECT_EQ(base->filePath(), QStringLiteral("/tmp/x.m4a"));

  const QImage fallback(4, 4, QImage::Format_RGB32);
  file.setThumbnailDefault(&fallback);
  EXPECT_FALSE(file.thumbnailLoaded());
  EXPECT_EQ(file.thumbnail().size(), QSize(4, 4));
  const QImage own(8, 2, QImage::Format_RGB32);
  file.setThumbnail(&own);
  EXPECT_TRUE(file.thumbnailLoaded());
  EXPECT_EQ(file.thumbnail().size(), QSize(8, 2));
  file.setThumbnail(nullptr);
  EXPECT_EQ(file.thumbnail().size(), QSize(4, 4));

  file.detailInfoToUpdate().dateTime = QDateTime::fromSecsSinceEpoch(1000, Qt::UTC);
  EXPECT_EQ(file.getDetailInfoDateTime().toSecsSinceEpoch(), 1000);
}

// The default order of each kind: calls by column 2, notes and events by
// column 1 (newest first), bookmarks and files by the text of column 0.
TEST(OtherItems, DefaultOrderPerKind) {
  const QDateTime t0 = QDateTime::fromSecsSinceEpoch(1000000, Qt::UTC);
  auto dated = [&](OxAbstractItem* item, int column, int days, const char* title) {
    item->setValue(QString::fromLatin1(title), 0);
    item->setSortValue(t0.addDays(days), column);
    return item;
  };
  struct Row {
    const char* name;
    int type;
    std::function<OxAbstractItem*(int, const char*)> make;
  } rows[] = {
      {"calls", 10, [&](int d, const char* t) { return dated(new OxCallHistoryItem, 2, d, t); }},
      {"notes", 7, [&](int d, const char* t) { return dated(new OxNoteItem, 1, d, t); }},
      {"events", 8, [&](int d, const char* t) { return dated(new OxCalendarItem, 1, d, t); }},
  };
  for (const auto& r : rows) {
    OxData list(r.type);
    list.append(r.make(1, "a"));
    list.append(r.make(3, "b"));
    list.append(r.make(2, "c"));
    EXPECT_EQ(list.at(0, false)->value(0), QStringLiteral("b")) << r.name;
    EXPECT_EQ(list.at(1, false)->value(0), QStringLiteral("c")) << r.name;
    EXPECT_EQ(list.at(2, false)->value(0), QStringLiteral("a")) << r.name;
  }

  OxData safari(9);
  for (const char* t : {"mango", "apple", "kiwi"}) {
    auto* b = new OxSafariBookmarkItem;
    b->setValue(QString::fromLatin1(t), 0);
    b->setSortValue(t0.addDays(safari.count(0)), 2); // dates do not matter
    safari.append(b);
  }
  EXPECT_EQ(safari.at(0, false)->value(0), QStringLiteral("apple"));
  EXPECT_EQ(safari.at(2, false)->value(0), QStringLiteral("mango"));
}
} // namespace

namespace {
OxCalendarItem* event(const char* title, int trigger, const char* store = "", const char* calendar = "") {
  auto* e = new OxCalendarItem;
  e->setValue(QString::fromLatin1(title), OxCalendarItem::ColTitle);
  e->setValue(QString::fromLatin1(store), OxCalendarItem::ColStore);
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
  } rows[] = {{7, first}, {0, nullptr}, {9, late}, {12345, nullptr}};
  for (const auto& r : rows)
    EXPECT_EQ(list.getSameTriggerItem(r.id), r.expected) << r.id;
  list.clear();
  EXPECT_EQ(list.getSameTriggerItem(7), nullptr);
}

TEST(OxDataCalendar, ColoursByCalendarName) {
  OxData list(8);
  OxCalendarItem* work = event("a", 0, "iCloud", "Work");
  OxCalendarItem* noName = event("b", 0, "iCloud", "");
  list.addCalendarColorMap(work, QStringLiteral("#FF0000"));
  list.addCalendarColorMap(work, QStringLiteral("#00FF00")); // the later colour wins
  list.addCalendarColorMap(noName, QStringLiteral("#0000FF"));
  list.addCalendarColorMap(nullptr, QStringLiteral("#0000FF"));
  list.addCalendarColorMap(work, QString());
  EXPECT_EQ(list.getCalendarColorMap().size(), 1);
  EXPECT_EQ(list.getCalendarColorMap().value(QStringLiteral("Work")), QStringLiteral("#00FF00"));
  list.append(work);
  list.append(noName);
  list.clear();
  EXPECT_TRUE(list.getCalendarColorMap().isEmpty());
}

OxSafariBookmarkItem* mark(const char* title, const char* first, const char* second) {
  auto* b = new OxSafariBookmarkItem;
  b->setValue(QString::fromLatin1(title), 0);
  b->setTreeFirstLayerName(QString::fromLatin1(first));
  b->setTreeSecondLayerName(QString::fromLatin1(second));
  return b;
}

TEST(OxDataCategories, RegisteredFirstLayersAndPerCategoryCounts) {
  OxData list(9);
  list.onInsertFirstLayers({QStringLiteral("Bookmarks"), QStringLiteral("Reading List"), QStringLiteral("History"),
                            QString(), QStringLiteral("Bookmarks")});
  EXPECT_EQ(list.firstLayerOrder(),
            (QStringList{QStringLiteral("Bookmarks"), QStringLiteral("Reading List"), QStringLiteral("History")}));
  EXPECT_EQ(list.categoryItemCount(QStringLiteral("History")), 0);
  EXPECT_TRUE(list.getCategoryItemsMap().contains(QStringLiteral("History")));

  list.append(mark("a", "Reading List", "Reading List"));
  list.append(mark("b", "Reading List", "Reading List"));
  list.append(mark("c", "Bookmarks", "Favorites"));
  list.append(mark("d", "Downloads", ""));
  struct Row {
    const char* first;
    const char* second;
    int count;
  } rows[] = {
      {"Reading List", "", 2}, {"Reading List", "Reading List", 2}, {"Bookmarks", "", 1},
      {"Bookmarks", "Favorites", 1}, {"History", "", 0}, {"Downloads", "", 1}, {"Favorites", "", 0},
  };
  for (const auto& r : rows)
    EXPECT_EQ(list.categoryItemCount(QString::fromLatin1(r.first), QString::fromLatin1(r.second)), r.count)
        << r.first << "/" << r.second;
  EXPECT_EQ(list.firstLayerOrder().last(), QStringLiteral("Downloads"));
  list.clear();
  EXPECT_TRUE(list.firstLayerOrder().isEmpty());
  EXPECT_TRUE(list.getCategoryTree().isEmpty());
}
} // namespace
