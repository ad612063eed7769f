// sherd demo: writes the bundled sample backup under the temporary root and
// scans it, the way a person would scan their own backup.
#include "apps/cli/commands.h"
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
#include "platform/common/utils.h"
#include "service/whatsappservice.h"
#include "samples/apps/notes.h"
#include "samples/samplebackup.h"

#include <QCommandLineParser>
#include <QDir>

#include <cstdio>

namespace cli {
namespace {
// The sample's notes, one line each: where they come from and what they hold.
void showNotes(const QString& folder, const QString& notePassword) {
  LoadOptions options;
  options.backup = folder;
  options.notePasswords = QStringList{notePassword};
  options.types = {OxBackup::Notes};
  WhatsappService service(folder, false);
  if (beginLoad(service, options, "demo") >= 0)
    return;
  service.loadWhatsappOnly(OxBackup::Notes);
  service.onEndLoadWhatsappOnly();
  OxData* notes = service.backupRegistry()->getNote();
  std::printf("\nNotes:\n");
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

// The sample's call list: calls named from the phone's address book, then the
// voicemail recordings with their callers.
void showCalls(const QString& folder) {
  LoadOptions options;
  options.backup = folder;
  options.types = {OxBackup::CallHistory};
  WhatsappService service(folder, false);
  if (beginLoad(service, options, "demo") >= 0)
    return;
  service.loadWhatsappOnly(OxBackup::CallHistory);
  service.onEndLoadWhatsappOnly();
  OxData* calls = service.backupRegistry()->getCallHistory();
  std::printf("\nCall history:\n");
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

// Loads one type of the sample into a service of its own.
OxData* loadOne(WhatsappService& service, const QString& folder, int type) {
  LoadOptions options;
  options.backup = folder;
  options.types = {type};
  if (beginLoad(service, options, "demo") >= 0)
    return nullptr;
  service.loadWhatsappOnly(type);
  service.onEndLoadWhatsappOnly();
  return service.getOxData(type);
}

// The sample's events, newest first, with their repeat rules and alerts.
void showCalendar(const QString& folder) {
  WhatsappService service(folder, false);
  OxData* events = loadOne(service, folder, 8);
  if (!events)
    return;
  std::printf("\nCalendar:\n");
  for (int row = 0; row < events->count(OxData::CountRaw); ++row) {
    const OxAbstractItem* e = events->at(row, false);
    std::printf("  %-16s %-8s %-10s %-16s repeat %-8s alert %s\n", qPrintable(e->value(OxCalendarItem::ColTitle)),
                qPrintable(e->value(OxCalendarItem::ColStore)), qPrintable(e->value(OxCalendarItem::ColCalendar)),
                qPrintable(e->value(OxCalendarItem::ColStartDate)), qPrintable(e->value(OxCalendarItem::ColRepeat)),
                qPrintable(e->value(OxCalendarItem::ColAlert)));
  }
}

// The sample's bookmarks, reading list and history, by category.
void showSafari(const QString& folder) {
  WhatsappService service(folder, false);
  OxData* safari = loadOne(service, folder, 9);
  if (!safari)
    return;
  std::printf("\nSafari:\n");
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

// The sample's chats of one app, newest first, each with its messages in the
// order the chat holds them.
void showChats(const QString& folder, int type, const char* title) {
  WhatsappService service(folder, false);
  OxData* chats = loadOne(service, folder, type);
  if (!chats)
    return;
  std::printf("\n%s:\n", title);
  for (int row = 0; row < chats->count(OxData::CountRaw); ++row) {
    const auto* chat = static_cast<const OxWhatsappItem*>(chats->at(row, false));
    std::printf("  %-18s %-28s %-19s %s\n", qPrintable(chat->value(OxWhatsappItem::ColName)),
                qPrintable(chat->value(OxWhatsappItem::ColTitle)), qPrintable(chat->value(OxWhatsappItem::ColDate)),
                qPrintable(chat->value(OxWhatsappItem::ColLastContent)));
    if (!chat->detailContent())
      continue;
    for (const OxWhatsappMsg* m : chat->detailContent()->messages()) {
      const QString who = m->member().isEmpty() ? (m->isFromMe() ? QStringLiteral("me") : QString()) : m->member();
      std::printf("      %-16s %-10s %s%s\n", qPrintable(CCommonUtils::datetimeToMinute(m->msgDate(), true)),
                  qPrintable(who), qPrintable(m->content().simplified()),
                  m->media().isEmpty() ? "" : "  [thumbnail]");
    }
  }
}
} // namespace

int runDemo(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(
      QStringLiteral("Write the sample backup (a synthetic iPhone backup) to a temporary folder and scan it."));
  parser.addHelpOption();
  parser.addOption({QStringLiteral("keep"), QStringLiteral("Write the sample backup into DIR and keep it."),
                    QStringLiteral("DIR")});
  parser.addOption({QStringLiteral("export"),
                    QStringLiteral("At the end, export the sample into DIR (absent or empty), as 'sherd export' does."),
                    QStringLiteral("DIR")});
  parser.addOption({QStringLiteral("encrypt"),
                    QStringLiteral("Write the sample as an encrypted backup with password P, and scan it with P."),
                    QStringLiteral("P")});
  if (!parser.parse(args)) {
    std::fprintf(stderr, "sherd demo: %s\n", qPrintable(parser.errorText()));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("help"))) {
    std::printf("%s", qPrintable(parser.helpText()));
    return ExitOk;
  }
  QString folder;
  if (parser.isSet(QStringLiteral("keep"))) {
    folder = QDir(parser.value(QStringLiteral("keep"))).absolutePath();
  } else {
    const QString temp = Utils::tempPath();
    if (temp.isEmpty()) {
      std::fprintf(stderr, "sherd demo: cannot create a temporary folder\n");
      return ExitBackupNotFound;
    }
    folder = temp + QStringLiteral("sample-backup");
  }
  const QString password = parser.value(QStringLiteral("encrypt"));
  QString error;
  if (!fixture::writeSampleBackup(folder, password, &error)) {
    std::fprintf(stderr, "sherd demo: cannot write the sample backup to %s: %s\n", qPrintable(folder),
                 qPrintable(error));
    return ExitBackupNotFound;
  }
  // The sample's password-protected note opens with its password.
  const QString notePassword = fixture::notes::kSamplePassword;
  std::printf("Sample backup written to %s\n\n$ sherd scan --note-password %s %s\n", qPrintable(folder),
              qPrintable(notePassword), qPrintable(folder));
  std::fflush(stdout);
  QStringList scanArgs = {args.value(0, QStringLiteral("sherd")), QStringLiteral("--note-password"), notePassword};
  if (!password.isEmpty())
    scanArgs << QStringLiteral("--password") << password;
  const int rc = runScan(scanArgs << folder);
  if (rc == ExitOk && password.isEmpty()) {
    showChats(folder, 0, "WhatsApp");
    showChats(folder, 3, "Viber");
    showChats(folder, 4, "Messenger");
    showNotes(folder, notePassword);
    showCalls(folder);
    showCalendar(folder);
    showSafari(folder);
  }
  if (rc == ExitOk && parser.isSet(QStringLiteral("export"))) {
    const QString out = QDir(parser.value(QStringLiteral("export"))).absolutePath();
    std::printf("\n$ sherd export --note-password %s %s --out %s\n", qPrintable(notePassword), qPrintable(folder),
                qPrintable(out));
    std::fflush(stdout);
    QStringList exportArgs = {args.value(0, QStringLiteral("sherd")), QStringLiteral("--note-password"), notePassword,
                              QStringLiteral("--out"), out};
    if (!password.isEmpty())
      exportArgs << QStringLiteral("--password") << password;
    const int exported = runExport(exportArgs << folder);
    if (exported == ExitOk)
      std::printf("\nOpen %s/index.html in a browser to read what the sample backup holds.\n", qPrintable(out));
    return exported;
  }
  return rc;
}
} // namespace cli
