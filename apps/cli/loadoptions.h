#pragma once
// What the commands that load a backup share: the BACKUP argument, the
// password options, the data-type selection, the logger's level, and opening
// the backup through the service with a clear message and exit code.
#include <QList>
#include <QString>
#include <QStringList>

class OxBackup;
class QCommandLineParser;
class WhatsappService;

namespace cli {
struct LoadOptions {
  QString backup;   // folder path or bare identifier
  QString password; // empty: none given
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

// Adds --password, --password-file, --note-password (repeatable), --no-deleted, --quiet,
// --verbose and, with withTypes, --type to the parser.
void addLoadOptions(QCommandLineParser& parser, bool withTypes);

// Parses args (help and errors included). Returns -1 when the command is to
// go on, else the exit code to return (after printing help or the error).
int parseLoadOptions(QCommandLineParser& parser, const QStringList& args, const char* command, bool withTypes,
                     LoadOptions* out);

// Starts a load (the caller ends it with onEndLoadWhatsappOnly). Returns -1 on
// success, else the exit code, after printing why the backup did not open.
// As a host does, it fills the registry's backup properties from the opened
// backup: 0 device name, 1 iOS version, 2 serial number, 3 phone number,
// 4 product type (the notes reader names the on-device account after it),
// 5 IMEI, 6 last backup date (UTC, ISO 8601).
int beginLoad(WhatsappService& service, const LoadOptions& options, const char* command);
} // namespace cli
