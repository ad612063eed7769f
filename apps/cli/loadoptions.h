#pragma once
// What the commands share: --quiet and --verbose on all of them; for those
// that read a backup, the BACKUP argument (resolved as backupresolver.h says),
// the password options, the data-type selection, and opening the backup with a
// clear message and exit code, asking for the password on a terminal.
#include "platform/backup/mobilebackup.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class OxBackup;
class QCommandLineParser;
class WhatsappService;

namespace cli {
struct LoadOptions {
  QString backup;   // the backup folder, absolute
  QString password; // empty: none given (asked for on a terminal when needed)
  QStringList notePasswords; // tried on password-protected notes
  QList<int> types; // data-type numbers, in load order
  bool recoverDeleted = true; // --no-deleted turns it off
};

// The data-type names of the command line, indexed by type number.
const QStringList& typeNames();

// The name a person reads for a data type: the model's name of the
// messengers, and the host's own for Notes, Calendar, Safari, Call history.
QString displayName(int type);
// The model's list name ("WhatsApp (12)"), with the host's name before the
// count for the types the model leaves unnamed ("Notes (3)").
QString listTitle(const OxBackup& registry, int type);

// Adds --help, --quiet and --verbose.
void addCommonOptions(QCommandLineParser& parser);
// Parses args and sets up the console for the command. Returns -1 when the
// command is to go on, else the exit code (after printing help or the error).
int parseCommonOptions(QCommandLineParser& parser, const QStringList& args, const char* command);

// Adds the common options, BACKUP, --password-file, --password and, with
// withData (the commands that read the apps' data), --note-password
// (repeatable), --no-deleted and --type.
void addLoadOptions(QCommandLineParser& parser, bool withData);

// Parses args as parseCommonOptions does, then the load options, and
// resolves BACKUP to its folder.
int parseLoadOptions(QCommandLineParser& parser, const QStringList& args, const char* command, bool withData,
                     LoadOptions* out);

// One try at opening the backup with a password (empty: none). On failure it
// sets why it failed.
using OpenAttempt = std::function<bool(const QString& password, MobileBackup::Error* code, QString* why)>;

// Opens the backup through attempt: first without a password (a plain backup
// opens at once, an encrypted one says so before any key work), then with the
// one given, or, when none was given and standard input is a terminal, with
// the one typed at a prompt without echo (three tries). Returns -1 once open,
// else the exit code after printing why, once.
int unlockBackup(const LoadOptions& options, const OpenAttempt& attempt);

// Starts a load (the caller ends it with onEndLoadWhatsappOnly). Returns -1 on
// success, else the exit code, after printing why the backup did not open.
// As a host does, it fills the registry's backup properties from the opened
// backup: 0 device name, 1 iOS version, 2 serial number, 3 phone number,
// 4 product type (the notes reader names the on-device account after it),
// 5 IMEI, 6 last backup date (UTC, ISO 8601).
int beginLoad(WhatsappService& service, const LoadOptions& options);

// Loads the chosen types, one after the other, with a progress bar and a
// line per type as it finishes on a terminal. At the end, when the readers
// logged errors, says so (always: a run that read little must not look
// complete).
void loadTypes(WhatsappService& service, const LoadOptions& options);
} // namespace cli
