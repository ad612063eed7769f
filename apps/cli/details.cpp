#include "apps/cli/details.h"

#include "apps/cli/loadoptions.h"

#include "model/oxbackup.h"
#include "model/oxcalendaritem.h"
#include "model/oxcallhistoryitem.h"
#include "model/oxdata.h"
#include "model/oxfileitem.h"
#include "model/oxnoteitem.h"
#include "model/oxsafaribookmarkitem.h"
#include "model/oxwhatsappitem.h"
#include "platform/common/commonutils.h"

#include <cstdio>

namespace cli {
namespace {
// Notes, one line each: where they come from and what they hold.
void showNotes(OxData* notes) {
  for (int row = 0; row < notes->count(OxData::CountRaw); ++row) {
    const auto* note = dynamic_cast<const OxNoteItem*>(notes->at(row, false));
    if (!note)
      continue;
    const bool locked = note->flag(OxAbstractItem::ItemNoteLocked);
    QString body = note->value(OxNoteItem::ColNotes).simplified();
    if (body.size() > 40)
      body = body.left(39) + QChar(0x2026);
    std::printf("  %-18s %-14s %-10s %s%s\n", qPrintable(note->value(OxNoteItem::ColTitle)),
                qPrintable(note->value(OxNoteItem::ColLocation)), qPrintable(note->value(OxNoteItem::ColFolder)),
                locked ? "[locked] " : "", qPrintable(locked ? QString() : body + QStringLiteral("  (") +
                                                                           note->getATText() + QLatin1Char(')')));
  }
}

// Calls named from the phone's address book, then the voicemail recordings
// with their callers.
void showCalls(OxData* calls) {
  for (int row = 0; row < calls->count(OxData::CountRaw); ++row) {
    const OxAbstractItem* item = calls->at(row, false);
    const bool call = dynamic_cast<const OxCallHistoryItem*>(item) != nullptr;
    std::printf("  %-12s %-22s %-22s %-16s %-24s %s\n", qPrintable(item->getTreeFirstLayerName()),
                qPrintable(item->value(OxCallHistoryItem::ColName)), qPrintable(item->value(OxCallHistoryItem::ColPhone)),
                qPrintable(item->value(OxCallHistoryItem::ColDate)),
                qPrintable(call ? item->value(OxCallHistoryItem::ColType) : item->value(OxFileItem::ColLocation)),
                qPrintable(call ? item->value(OxCallHistoryItem::ColDuration) : QString()));
  }
}

// Events, newest first, with their repeat rules and alerts.
void showCalendar(OxData* events) {
  for (int row = 0; row < events->count(OxData::CountRaw); ++row) {
    const OxAbstractItem* e = events->at(row, false);
    std::printf("  %-16s %-8s %-10s %-16s repeat %-8s alert %s\n", qPrintable(e->value(OxCalendarItem::ColTitle)),
                qPrintable(e->value(OxCalendarItem::ColStore)), qPrintable(e->value(OxCalendarItem::ColCalendar)),
                qPrintable(e->value(OxCalendarItem::ColStartDate)), qPrintable(e->value(OxCalendarItem::ColRepeat)),
                qPrintable(e->value(OxCalendarItem::ColAlert)));
  }
}

// Bookmarks, reading list and history, by category.
void showSafari(OxData* safari) {
  for (const QString& layer : safari->firstLayerOrder()) {
    for (int row = 0; row < safari->count(OxData::CountRaw); ++row) {
      const OxAbstractItem* b = safari->at(row, false);
      if (b->getTreeFirstLayerName() != layer)
        continue;
      std::printf("  %-12s %-14s %-28s %-19s %s\n", qPrintable(layer), qPrintable(b->getTreeSecondLayerName()),
                  qPrintable(b->value(OxSafariBookmarkItem::ColTitle)), qPrintable(b->value(OxSafariBookmarkItem::ColDate)),
                  qPrintable(b->value(OxSafariBookmarkItem::ColUrl)));
    }
  }
}

// Chats, newest first, each with its messages in the order the chat holds them.
void showChats(OxData* chats) {
  for (int row = 0; row < chats->count(OxData::CountRaw); ++row) {
    const auto* chat = dynamic_cast<const OxWhatsappItem*>(chats->at(row, false));
    if (!chat)
      continue;
    std::printf("  %-18s %-28s %-19s %s\n", qPrintable(chat->value(OxWhatsappItem::ColName)),
                qPrintable(chat->value(OxWhatsappItem::ColTitle)), qPrintable(chat->value(OxWhatsappItem::ColDate)),
                qPrintable(chat->value(OxWhatsappItem::ColLastContent)));
    if (!chat->detailContent())
      continue;
    for (const OxWhatsappMsg* m : chat->detailContent()->messages()) {
      if (!m)
        continue;
      const QString who = m->member().isEmpty() ? (m->isFromMe() ? QStringLiteral("me") : QString()) : m->member();
      std::printf("      %-16s %-10s %s%s%s\n", qPrintable(CCommonUtils::datetimeToMinute(m->msgDate(), true)),
                  qPrintable(who), m->isDeleted() ? "[deleted] " : "", qPrintable(m->content().simplified()),
                  m->media().isEmpty() ? "" : "  [thumbnail]");
    }
  }
}
} // namespace

void printDetails(OxBackup& registry, const QList<int>& types) {
  for (int type : types) {
    OxData* list = registry.getOxData(type);
    if (!list || list->count(OxData::CountRaw) == 0)
      continue;
    std::printf("\n%s:\n", qPrintable(displayName(type)));
    switch (type) {
    case OxBackup::Notes: showNotes(list); break;
    case OxBackup::Calendar: showCalendar(list); break;
    case OxBackup::Safari: showSafari(list); break;
    case OxBackup::CallHistory: showCalls(list); break;
    default: showChats(list); break;
    }
  }
}
} // namespace cli
