#pragma once
// CExporter: the recovery run. It gives a person their data back: for each
// chosen data type it walks the list's recover selection, copies every file an
// item refers to out of the backup (decrypted when the backup is encrypted)
// and writes documents that ordinary programs open: HTML and plain-text chat
// transcripts, an iCalendar file, a vCard file, CSV tables, a browser
// bookmark file, one page per note, and sherd.json (the dump's schema, every
// path relative to the output folder). DIR/index.html links everything.
//
// Layout of the output folder:
//   index.html, sherd.json
//   <type folder>/           one per data type: "WhatsApp", ..., "Notes",
//                            "Calendar", "Safari", "Call history"
//     <chat>.html, <chat>.txt   one transcript per chat (long chats in pages)
//     media/                 the files the items refer to, stored once
//   Calendar/calendar.ics, Safari/bookmarks.html, Safari/history.csv,
//   Call history/calls.csv, Call history/contacts.vcf, Call history/voicemail/
//
// Traps worth knowing:
//  - The output folder must be absent or empty; run() refuses any other and
//    writes nothing. Nothing is ever written outside it, and every file name
//    made from backup text is sanitised (no separators, "..", control or
//    direction characters; capped in length; unique in its folder).
//  - The run reads the registry and the opened backup that a finished load
//    left behind; it may run on a worker thread, but no load may run on the
//    same service meanwhile (MobileBackup is not thread-safe, and a load
//    empties the lists).
//  - The selection marks items: CheckedItems first sets each chosen list's
//    recover marks from the checked items of its view; RecoverMarks takes the
//    marks as the host left them. Either way the items are walked in the order
//    of the list's view (OxData::recoverFileList).
//  - Cancelling (cancel() from any thread, or a progress sink answering
//    false) stops between two items: every file written so far is complete,
//    index.html and sherd.json list what was written, and the summary says
//    cancelled.
//  - The registry's recovery statistics grow by the items written and the
//    duplicate files found (OxBackup::increaseRecoverStat); they are not reset.
#include "platform/common/sherdglobal.h"

#include <QList>
#include <QString>

#include <atomic>

class CIProgressCallback;
class MobileBackup;
class OxBackup;

struct SHERD_EXPORT ExportOptions {
  enum Format {
    FormatHtml = 0x01,     // index, transcripts, bookmark file, note pages
    FormatText = 0x02,     // plain-text transcripts
    FormatJson = 0x04,     // sherd.json
    FormatCsv = 0x08,      // history.csv, calls.csv
    FormatCalendar = 0x10, // calendar.ics
    FormatVCard = 0x20,    // contacts.vcf
    FormatMedia = 0x40,    // the files items refer to
    AllFormats = 0x7f
  };
  enum Selection {
    CheckedItems, // the checked items of each list's view (the command line checks every item)
    RecoverMarks  // the items the host marked with OxData::setRecover
  };

  QString outputFolder;
  QList<int> types; // data-type numbers (OxBackup::DataType); empty: every type
  int formats = AllFormats;
  Selection selection = CheckedItems;
  int messagesPerPage = 5000; // a longer chat is split into linked pages
  QString backupName;         // shown in index.html and sherd.json; default: the backup folder's name
};

// A thing that could not be given back, and why.
struct SHERD_EXPORT ExportSkip {
  QString what;   // an item's name or a file's name
  QString reason; // e.g. "missing from the backup"
};

struct SHERD_EXPORT ExportTypeSummary {
  int type = -1;
  QString name;       // the folder name of the type
  int items = 0;      // items written
  int files = 0;      // files copied out of the backup
  int duplicates = 0; // files whose bytes were already written (stored once)
  QList<ExportSkip> skipped;
};

struct SHERD_EXPORT ExportSummary {
  enum Outcome { Finished, Cancelled, Failed };
  Outcome outcome = Finished;
  QString error;     // why the run failed (Failed only)
  QString indexPath; // DIR/index.html, when written
  QList<ExportTypeSummary> types;

  int items() const;
  int files() const;
  int duplicates() const;
  int skipped() const;
  // One line for a person: "WhatsApp 3 items, 5 files; Notes 2 items; ... 1
  // duplicate; 1 skipped (missing from the backup)", with "cancelled" or the
  // error when the run did not finish.
  QString line() const;
};

class SHERD_EXPORT CExporter {
public:
  // Neither is owned; both must outlive run(). backup may be null (then no
  // file of the backup can be copied, and each is listed as skipped).
  CExporter(OxBackup* registry, MobileBackup* backup);
  ~CExporter();
  CExporter(const CExporter&) = delete;
  CExporter& operator=(const CExporter&) = delete;

  // Runs the export. Progress counts one step per item chosen; a sink that
  // answers false cancels. Never throws.
  ExportSummary run(const ExportOptions& options, CIProgressCallback* progress = nullptr);
  // Asks a running (or the next) run to stop after its current item; safe
  // from any thread.
  void cancel() { m_cancel.store(true); }

  // Empty when the folder can take an export (absent, or an empty folder);
  // else why not.
  static QString checkOutputFolder(const QString& folder);
  // The folder name of a data type ("WhatsApp", ..., "Call history").
  static QString typeFolderName(int type);

private:
  OxBackup* m_registry;
  MobileBackup* m_backup;
  std::atomic<bool> m_cancel{false};
};
