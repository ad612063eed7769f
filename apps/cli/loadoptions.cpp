#include "apps/cli/loadoptions.h"

#include "apps/cli/backupresolver.h"
#include "apps/cli/commands.h"
#include "apps/cli/console.h"
#include "apps/cli/progressbar.h"
#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/backup/nzbackup.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

namespace cli {
namespace {
constexpr int kPromptTries = 3;

int openFailure(MobileBackup::Error code, const QString& why) {
  switch (code) {
  case MobileBackup::Error::WrongPassword:
    console::error(QStringLiteral("wrong password"));
    return ExitPassword;
  case MobileBackup::Error::PasswordRequired:
    console::error(why);
    return ExitPassword;
  default:
    console::error(why);
    return ExitBackupNotFound;
  }
}

// One try, with the library's lines held so that the failure is told once.
bool tryOpen(const OpenAttempt& attempt, const QString& password, MobileBackup::Error* code, QString* why) {
  console::holdLines();
  *code = MobileBackup::Error::None;
  why->clear();
  const bool opened = attempt(password, code, why);
  console::releaseLines(opened ? QString() : *why);
  return opened;
}
} // namespace

const QStringList& typeNames() {
  static const QStringList names = {
      QStringLiteral("whatsapp"), QStringLiteral("kik"),      QStringLiteral("line"),   QStringLiteral("viber"),
      QStringLiteral("messenger"), QStringLiteral("wechat"),  QStringLiteral("qq"),     QStringLiteral("notes"),
      QStringLiteral("calendar"), QStringLiteral("safari"),   QStringLiteral("calls")};
  return names;
}

QString displayName(int type) {
  switch (type) {
  case OxBackup::Notes: return QStringLiteral("Notes");
  case OxBackup::Calendar: return QStringLiteral("Calendar");
  case OxBackup::Safari: return QStringLiteral("Safari");
  case OxBackup::CallHistory: return QStringLiteral("Call history");
  default: return OxBackup::dataTypeName(type);
  }
}

QString listTitle(const OxBackup& registry, int type) {
  const QString name = registry.listName(type);
  return name.startsWith(QLatin1Char(' ')) ? displayName(type) + name : name;
}

void addCommonOptions(QCommandLineParser& parser) {
  parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
  parser.addOption({QStringLiteral("quiet"),
                    QStringLiteral("Nothing on stderr but fatal errors: no log lines, no progress, no notes.")});
  parser.addOption({QStringLiteral("verbose"), QStringLiteral("Log information and debug detail, not only errors.")});
}

int parseCommonOptions(QCommandLineParser& parser, const QStringList& args, const char* command) {
  console::begin(command, console::Verbosity::Normal);
  if (!parser.parse(args)) {
    console::error(parser.errorText());
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("help"))) {
    // Qt names the program by its path; a person types "sherd <command>".
    QString help = parser.helpText();
    const QString program = QCoreApplication::arguments().value(0);
    const int at = program.isEmpty() ? -1 : help.indexOf(program);
    if (at >= 0)
      help.replace(at, program.size(), QStringLiteral("sherd ") + QLatin1String(command));
    std::printf("%s", qPrintable(help));
    return ExitOk;
  }
  if (parser.isSet(QStringLiteral("quiet")) && parser.isSet(QStringLiteral("verbose"))) {
    console::error(QStringLiteral("give --quiet or --verbose, not both"));
    return ExitUsage;
  }
  console::begin(command, parser.isSet(QStringLiteral("quiet"))     ? console::Verbosity::Quiet
                          : parser.isSet(QStringLiteral("verbose")) ? console::Verbosity::Verbose
                                                                     : console::Verbosity::Normal);
  return -1;
}

void addLoadOptions(QCommandLineParser& parser, bool withData) {
  addCommonOptions(parser);
  parser.addPositionalArgument(
      QStringLiteral("BACKUP"),
      QStringLiteral("Backup folder (relative or absolute), or a backup's identifier in the default backup folders."));
  parser.addOption({QStringLiteral("password-file"),
                    QStringLiteral("Read the password of an encrypted backup from the first line of F (recommended; "
                                   "on a terminal sherd asks for it when it is not given)."),
                    QStringLiteral("F")});
  parser.addOption({QStringLiteral("password"),
                    QStringLiteral("Password of an encrypted backup. Other users see it in 'ps': prefer "
                                   "--password-file, or let sherd ask."),
                    QStringLiteral("P")});
  if (!withData)
    return;
  parser.addOption({QStringLiteral("note-password"),
                    QStringLiteral("A password to try on password-protected notes (repeatable)."), QStringLiteral("P")});
  parser.addOption({QStringLiteral("no-deleted"),
                    QStringLiteral("Leave out the rows the apps deleted that the databases still hold.")});
  parser.addOption({QStringLiteral("type"),
                      QStringLiteral("Data types to load, comma-separated (default: all): ") +
                          typeNames().join(QLatin1Char(',')),
                      QStringLiteral("NAME,...")});
}

int parseLoadOptions(QCommandLineParser& parser, const QStringList& args, const char* command, bool withData,
                     LoadOptions* out) {
  const int early = parseCommonOptions(parser, args, command);
  if (early >= 0)
    return early;
  // Secrets first: no later line, not even an error about them, shows them.
  if (withData)
    out->notePasswords = parser.values(QStringLiteral("note-password"));
  for (const QString& p : qAsConst(out->notePasswords))
    console::addSecret(p);
  console::addSecret(parser.value(QStringLiteral("password")));
  const QStringList positional = parser.positionalArguments();
  if (positional.size() != 1) {
    console::error(QStringLiteral("expected one BACKUP argument (see --help)"));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("password")) && parser.isSet(QStringLiteral("password-file"))) {
    console::error(QStringLiteral("give --password or --password-file, not both"));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("password"))) {
    out->password = parser.value(QStringLiteral("password"));
  } else if (parser.isSet(QStringLiteral("password-file"))) {
    const QString path = parser.value(QStringLiteral("password-file"));
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
      console::error(QStringLiteral("cannot read the password file %1: %2").arg(path, f.errorString()));
      return ExitUsage;
    }
    QByteArray line = f.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
      line.chop(1);
    out->password = QString::fromUtf8(line);
    console::addSecret(out->password);
  }
  out->recoverDeleted = !withData || !parser.isSet(QStringLiteral("no-deleted"));
  out->types.clear();
  if (withData && parser.isSet(QStringLiteral("type"))) {
    for (const QString& name : parser.value(QStringLiteral("type")).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
      const int type = typeNames().indexOf(name.trimmed().toLower());
      if (type < 0) {
        console::error(QStringLiteral("unknown type '%1' (known: %2)").arg(name, typeNames().join(QLatin1Char(','))));
        return ExitUsage;
      }
      if (!out->types.contains(type))
        out->types.append(type);
    }
    std::sort(out->types.begin(), out->types.end());
  } else {
    for (int type = 0; type < typeNames().size(); ++type)
      out->types.append(type);
  }
  const ResolvedBackup resolved = resolveBackup(positional.first(), NzBackup::backupRoots());
  if (!resolved.ok()) {
    console::error(resolved.error);
    return ExitBackupNotFound;
  }
  out->backup = resolved.folder;
  return -1;
}

int unlockBackup(const LoadOptions& options, const OpenAttempt& attempt) {
  MobileBackup::Error code = MobileBackup::Error::None;
  QString why;
  if (tryOpen(attempt, QString(), &code, &why))
    return -1;
  if (code != MobileBackup::Error::PasswordRequired)
    return openFailure(code, why);
  const bool ask = options.password.isEmpty();
  if (ask && !console::stdinIsTerminal()) {
    console::error(QStringLiteral("%1 is encrypted: give its password with --password-file FILE, or run sherd in a "
                                  "terminal to be asked for it")
                       .arg(options.backup));
    return ExitPassword;
  }
  QString password = options.password;
  for (int attemptNo = 1; attemptNo <= (ask ? kPromptTries : 1); ++attemptNo) {
    if (ask) {
      if (!console::readSecret(QStringLiteral("Password for %1: ").arg(options.backup), &password) ||
          password.isEmpty()) {
        console::error(QStringLiteral("no password given"));
        return ExitPassword;
      }
      console::addSecret(password);
    }
    console::note(QStringLiteral("deriving the backup's key from the password (this takes a few seconds)"));
    if (tryOpen(attempt, password, &code, &why))
      return -1;
    if (code != MobileBackup::Error::WrongPassword)
      return openFailure(code, why);
    if (ask && attemptNo < kPromptTries)
      console::error(QStringLiteral("wrong password, try again"));
  }
  return openFailure(code, why);
}

int beginLoad(WhatsappService& service, const LoadOptions& options) {
  service.setNotePasswords(options.notePasswords);
  service.setRecoverDeleted(options.recoverDeleted);
  const int failed = unlockBackup(options, [&service](const QString& password, MobileBackup::Error* code,
                                                      QString* why) {
    service.setBackupPassword(password);
    if (service.onBeginLoadWhatsappOnly())
      return true;
    service.onEndLoadWhatsappOnly();
    *code = service.lastOpenErrorCode();
    *why = service.lastOpenError();
    return false;
  });
  if (failed >= 0)
    return failed;
  service.fillBackupProperties();
  return -1;
}

void loadTypes(WhatsappService& service, const LoadOptions& options) {
  const int errorsBefore = console::loggedErrors();
  const int total = options.types.size();
  const bool terminal = console::stderrIsTerminal();
  // One bar per type, driven by the type's reader.
  constexpr int kRange = 1000;
  for (int i = 0; i < total; ++i) {
    const int type = options.types.at(i);
    ProgressBar bar(QStringLiteral("Reading %1/%2 %3").arg(i + 1).arg(total).arg(displayName(type), -12));
    bar.initRange(kRange);
    service.setProgress(&bar);
    const int errorsOfType = console::loggedErrors();
    service.loadWhatsappOnly(type);
    service.setProgress(nullptr);
    bar.finish();
    bar.clear();
    if (terminal)
      console::note(QStringLiteral("%1 read").arg(listTitle(*service.backupRegistry(), type)));
    // An app the phone does not have is no error: there is just nothing to read.
    if (console::verbosity() == console::Verbosity::Verbose && console::loggedErrors() == errorsOfType &&
        service.backupRegistry()->getOxData(type)->count(OxData::CountRaw) == 0)
      console::note(QStringLiteral("info: %1: nothing to read in this backup").arg(displayName(type)));
  }
  console::clearStatus();
  const int errors = console::loggedErrors() - errorsBefore;
  if (errors > 0) {
    int items = 0;
    for (int type : options.types)
      items += service.backupRegistry()->getOxData(type)->count(OxData::CountRaw);
    const QString seeThem = console::verbosity() == console::Verbosity::Quiet
                                ? QStringLiteral("run without --quiet to see them")
                                : QStringLiteral("see the lines above");
    console::error(items == 0 ? QStringLiteral("nothing was read: %1 errors (%2)").arg(errors).arg(seeThem)
                              : QStringLiteral("%1 errors while reading: some data may be missing (%2)")
                                    .arg(errors)
                                    .arg(seeThem));
  }
}
} // namespace cli
