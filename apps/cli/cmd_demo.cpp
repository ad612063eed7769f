// sherd demo: until the sample backup is bundled, a self-check of the item model.
#include "apps/cli/commands.h"

#include "platform/common/commonutils.h"

#include <QCommandLineParser>

#include <cstdio>

namespace cli {
int runDemo(const QStringList& args) {
  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Scan the bundled sample backup and print what it holds."));
  parser.addHelpOption();
  if (!parser.parse(args)) {
    std::fprintf(stderr, "sherd demo: %s\n", qPrintable(parser.errorText()));
    return ExitUsage;
  }
  if (parser.isSet(QStringLiteral("help"))) {
    std::printf("%s", qPrintable(parser.helpText()));
    return ExitOk;
  }
  std::printf("sherd demo: model self-check\n");
  std::printf("  Core Data epoch: %s\n",
              qPrintable(CCommonUtils::buildDateTimeBase2001(qint64(0)).toString(Qt::ISODate)));
  return ExitOk;
}
} // namespace cli
