#pragma once
// The sherd program's subcommands. Each takes the arguments after its name and
// returns the process's exit code.
#include <QStringList>

namespace cli {
enum ExitCode {
  ExitOk = 0,
  ExitUsage = 1,          // bad arguments
  ExitBackupNotFound = 2, // backup missing or not openable
  ExitPassword = 3,       // wrong or missing password
};

struct Command {
  const char* name;
  const char* summary;
  int (*run)(const QStringList& args);
};

int runDemo(const QStringList& args);
int runInfo(const QStringList& args);
int runList(const QStringList& args);
int runScan(const QStringList& args);
int runDump(const QStringList& args);
int runExport(const QStringList& args);
int runFiles(const QStringList& args);
int runExtract(const QStringList& args);
} // namespace cli
