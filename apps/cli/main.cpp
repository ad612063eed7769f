// sherd: recovers chats, notes, calendars, bookmarks and calls from iPhone and
// iPad backups, read-only. One subcommand per job.
#include "apps/cli/commands.h"

#include "platform/common/log.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>

namespace {
const cli::Command kCommands[] = {
    {"demo", "Scan the bundled sample backup and print what it holds", &cli::runDemo},
    {"list", "List the device backups in the default backup folders", &cli::runList},
    {"info", "Show a backup's device properties and file counts", &cli::runInfo},
    {"scan", "Load a backup and print what each data type holds", &cli::runScan},
    {"dump", "Load a backup and write its lists as JSON", &cli::runDump},
    {"export", "Load a backup and write its data, media included, into a folder", &cli::runExport},
    {"files", "List a backup's files with their domains, sizes and dates", &cli::runFiles},
    {"extract", "Write a backup's files into a folder, decrypted", &cli::runExtract},
};

void printUsage(FILE* out) {
  std::fprintf(out, "Usage: sherd <command> [options]\n\nCommands:\n");
  for (const auto& c : kCommands)
    std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
  std::fprintf(out, "\nRun 'sherd help <command>' or 'sherd <command> --help' for a command's options.\n");
}

// Blanks the values of the password options in the process's own argument
// memory, which is what 'ps' and /proc/<pid>/cmdline show to other users;
// the command reads them from the copy Qt made.
void hidePasswords(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    for (const char* option : {"--password", "--note-password", "-password", "-note-password"}) {
      const size_t n = std::strlen(option);
      if (std::strcmp(argv[i], option) == 0 && i + 1 < argc)
        std::memset(argv[i + 1], 'x', std::strlen(argv[i + 1]));
      else if (std::strncmp(argv[i], option, n) == 0 && argv[i][n] == '=')
        std::memset(argv[i] + n + 1, 'x', std::strlen(argv[i] + n + 1));
    }
  }
}
} // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("sherd"));
  QCoreApplication::setApplicationVersion(QStringLiteral("0.1.0"));
  // A person reading the output wants the errors; --verbose shows the rest.
  SherdLog::setMaxLevel(SherdLog::Error);
  QStringList args = QCoreApplication::arguments();
  hidePasswords(argc, argv);
  if (args.size() < 2) {
    printUsage(stderr);
    return cli::ExitUsage;
  }
  QString name = args.at(1);
  // "sherd help scan" is "sherd scan --help".
  if (name == QLatin1String("help") && args.size() == 3) {
    args = QStringList{args.at(0), args.at(2), QStringLiteral("--help")};
    name = args.at(1);
  }
  if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
    printUsage(stdout);
    return cli::ExitOk;
  }
  if (name == QLatin1String("--version")) {
    std::printf("sherd %s\n", qPrintable(QCoreApplication::applicationVersion()));
    return cli::ExitOk;
  }
  for (const auto& c : kCommands) {
    if (name == QLatin1String(c.name)) {
      args.removeAt(1); // the parser of the command sees "sherd [options]"
      return c.run(args);
    }
  }
  std::fprintf(stderr, "sherd: unknown command '%s'\n\n", qPrintable(name));
  printUsage(stderr);
  return cli::ExitUsage;
}
