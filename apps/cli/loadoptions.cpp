#include "apps/cli/loadoptions.h"

#include "apps/cli/commands.h"
#include "model/oxbackup.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "service/whatsappservice.h"

#include <QCommandLineParser>
#include <QFile>

#include <cstdio>

namespace cli {
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

void addLoadOptions(QCommandLineParser& parser, bool withTypes) {
  parser.addHelpOption();
  parser.addPositionalArgument(QStringLiteral("BACKUP"),
                               QStringLiteral("Backup folder, or a backup's identifier in the default backup folder."));
  parser.addOption({QStringLiteral("password"), QStringLiteral("Password of an encrypted backup."),
                    QStringLiteral("P")});
  parser.addOption({QStringLiteral("password-file"),
                    QStringLiteral("Read the password of an encrypted backup from the first line of F."),
                    QStringLiteral("F")});
  parser.addOption({QStringLiteral("note-password"),
                    QStringLiteral("A password to try on password-protected notes (repeatable)."), QStringLiteral("P")});
  parser.addOption({QStringLiteral("no-deleted"),
                    QStringLiteral("Leave out the rows the apps deleted that the databases still hold.")});
  if (withTypes)
    parser.addOption({QStringLiteral("type"),
                      QStringLiteral("Data types to load, comma-separated (default: all): ") +
                          typeNames().join(QLatin1Char(',')),
                      QStringLiteral("NAME,...")});
  parser.addOption({QStringLiteral("quiet"), QStringLiteral("No log lines, not even errors (the command's own messages stay).")});
  parser.addOption({QStringLiteral("verbose"), QStringLiteral("Log information and debug detail, not only errors.")});
}

int parseLoadOptions(QCommandLineParser& parser, const QStringList& args, const char* command, bool withTypes,
                     LoadOptions* out) {
  if (!parser.parse(args)) {
    std::fprintf(stderr, "sherd %s: %s\n", command, qPrintable(parser.errorText()));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("help"))) {
    std::printf("%s", qPrintable(parser.helpText()));
    return ExitOk;
  }
  const QStringList positional = parser.positionalArguments();
  if (positional.size() != 1) {
    std::fprintf(stderr, "sherd %s: expected one BACKUP argument (see --help)\n", command);
    return ExitUsage;
  }
  out->backup = positional.first();
  if (parser.isSet(QStringLiteral("password")) && parser.isSet(QStringLiteral("password-file"))) {
    std::fprintf(stderr, "sherd %s: give --password or --password-file, not both\n", command);
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("password"))) {
    out->password = parser.value(QStringLiteral("password"));
  } else if (parser.isSet(QStringLiteral("password-file"))) {
    const QString path = parser.value(QStringLiteral("password-file"));
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
      std::fprintf(stderr, "sherd %s: cannot read the password file %s: %s\n", command, qPrintable(path),
                   qPrintable(f.errorString()));
      return ExitUsage;
    }
    QByteArray line = f.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
      line.chop(1);
    out->password = QString::fromUtf8(line);
  }
  out->notePasswords = parser.values(QStringLiteral("note-password"));
  out->recoverDeleted = !parser.isSet(QStringLiteral("no-deleted"));
  out->types.clear();
  if (withTypes && parser.isSet(QStringLiteral("type"))) {
    for (const QString& name : parser.value(QStringLiteral("type")).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
      const int type = typeNames().indexOf(name.trimmed().toLower());
      if (type < 0) {
        std::fprintf(stderr, "sherd %s: unknown type '%s' (known: %s)\n", command, qPrintable(name),
                     qPrintable(typeNames().join(QLatin1Char(','))));
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
  if (parser.isSet(QStringLiteral("quiet")))
    SherdLog::silence();
  if (parser.isSet(QStringLiteral("verbose")))
    SherdLog::setMaxLevel(SherdLog::Debug);
  return -1;
}

int beginLoad(WhatsappService& service, const LoadOptions& options, const char* command) {
  service.setBackupPassword(options.password);
  service.setNotePasswords(options.notePasswords);
  service.setRecoverDeleted(options.recoverDeleted);
  if (service.onBeginLoadWhatsappOnly()) {
    service.fillBackupProperties();
    return -1;
  }
  service.onEndLoadWhatsappOnly();
  std::fprintf(stderr, "sherd %s: %s\n", command, qPrintable(service.lastOpenError()));
  switch (service.lastOpenErrorCode()) {
  case MobileBackup::Error::PasswordRequired:
  case MobileBackup::Error::WrongPassword:
    return ExitPassword;
  default:
    return ExitBackupNotFound;
  }
}
} // namespace cli
