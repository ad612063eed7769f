#pragma once
// What `sherd files` and `sherd extract` share: --domain and --path.
#include "export/backupfiles.h"

class QCommandLineParser;

namespace cli {
void addBackupFileOptions(QCommandLineParser& parser);
BackupFileFilter backupFileFilter(const QCommandLineParser& parser);
} // namespace cli
