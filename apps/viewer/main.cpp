// sherd-viewer: the desktop face of sherd. Opens an iPhone or iPad backup,
// shows its chats, notes, events, bookmarks and calls, and recovers the
// checked items into a folder.
//
//   sherd-viewer                      the start page: backups found, "Open folder..."
//   sherd-viewer BACKUP               opens one backup directly
//   sherd-viewer --screenshot FILE    pictures the start page once the backups' sizes are in
//   sherd-viewer BACKUP --screenshot FILE [--type NAME] [--select ROW]
//                                     loads, shows the list (and the row's detail),
//                                     saves the window as PNG and exits
//   ... --screenshot FILE --recover DIR  recovers the checked items into DIR and
//                                     saves the recovery's summary instead
#include "apps/viewer/datatypes.h"
#include "apps/viewer/mainwindow.h"
#include "apps/viewer/startpage.h"

#include "platform/common/log.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QPixmap>
#include <QTimer>

#include <cstdio>

namespace {
enum ExitCode { ExitOk = 0, ExitUsage = 1, ExitBackupNotFound = 2, ExitScreenshot = 4 };

void savePicture(QWidget* widget, const QString& file) {
  const bool saved = widget && widget->grab().save(file, "PNG");
  if (!saved)
    std::fprintf(stderr, "sherd-viewer: cannot write %s\n", qPrintable(file));
  QApplication::exit(saved ? ExitOk : ExitScreenshot);
}

// Once the backup is shown: picks the list and the row, recovers when asked
// to, saves the picture, quits.
void takeScreenshot(MainWindow& window, int type, int row, const QString& file, const QString& recoverDir) {
  if (type >= 0 && !window.showType(type)) {
    std::fprintf(stderr, "sherd-viewer: no list of type %d\n", type);
    QApplication::exit(ExitUsage);
    return;
  }
  if (row >= 0 && !window.selectRow(row)) {
    std::fprintf(stderr, "sherd-viewer: the list has no row %d\n", row);
    QApplication::exit(ExitUsage);
    return;
  }
  if (!recoverDir.isEmpty()) {
    QObject::connect(&window, &MainWindow::recoveryFinished, &window, [&window, file] {
      QWidget* summary = window.recoverySummary();
      if (summary)
        summary->adjustSize();
      savePicture(summary, file);
    });
    if (!window.recoverTo(recoverDir)) {
      std::fprintf(stderr, "sherd-viewer: nothing to recover\n");
      QApplication::exit(ExitUsage);
    }
    return;
  }
  // Let the layout settle before the picture is taken.
  QTimer::singleShot(0, &window, [&window, file] { savePicture(&window, file); });
}
} // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("sherd-viewer"));
  QApplication::setApplicationVersion(QStringLiteral("0.1.0"));
  SherdLog::setMaxLevel(SherdLog::Error);

  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("Browse an iPhone or iPad backup and recover what it holds."));
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument(QStringLiteral("BACKUP"), QStringLiteral("Backup folder to open."),
                               QStringLiteral("[BACKUP]"));
  parser.addOption({QStringLiteral("password"), QStringLiteral("Password of an encrypted backup."),
                    QStringLiteral("P")});
  parser.addOption({QStringLiteral("note-password"),
                    QStringLiteral("A password to try on password-protected notes (repeatable)."), QStringLiteral("P")});
  parser.addOption({QStringLiteral("screenshot"),
                    QStringLiteral("Load BACKUP, save the window as a PNG picture in FILE and exit."),
                    QStringLiteral("FILE")});
  parser.addOption({QStringLiteral("type"),
                    QStringLiteral("With --screenshot: the list to show: ") + dataTypeKeys().join(QLatin1Char(',')),
                    QStringLiteral("NAME")});
  parser.addOption({QStringLiteral("select"), QStringLiteral("With --screenshot: the row to select (from 0)."),
                    QStringLiteral("ROW")});
  parser.addOption({QStringLiteral("recover"),
                    QStringLiteral("With --screenshot: recover the checked items into DIR and picture the summary."),
                    QStringLiteral("DIR")});
  parser.process(app);

  const QStringList positional = parser.positionalArguments();
  const QString screenshot = parser.value(QStringLiteral("screenshot"));
  if (positional.size() > 1) {
    std::fprintf(stderr, "sherd-viewer: at most one BACKUP argument\n");
    return ExitUsage;
  }
  int type = -1;
  if (parser.isSet(QStringLiteral("type"))) {
    type = dataTypeFromKey(parser.value(QStringLiteral("type")));
    if (type < 0) {
      std::fprintf(stderr, "sherd-viewer: unknown type '%s' (known: %s)\n",
                   qPrintable(parser.value(QStringLiteral("type"))), qPrintable(dataTypeKeys().join(QLatin1Char(','))));
      return ExitUsage;
    }
  }
  int row = -1;
  if (parser.isSet(QStringLiteral("select"))) {
    bool ok = false;
    row = parser.value(QStringLiteral("select")).toInt(&ok);
    if (!ok || row < 0) {
      std::fprintf(stderr, "sherd-viewer: --select wants a row number from 0\n");
      return ExitUsage;
    }
  }

  MainWindow window;
  const QString password = parser.value(QStringLiteral("password"));
  const QStringList notePasswords = parser.values(QStringLiteral("note-password"));
  if (!screenshot.isEmpty()) {
    window.setInteractive(false);
    QObject::connect(&window, &MainWindow::loadFinished, &window, [&](bool ok) {
      if (!ok) {
        std::fprintf(stderr, "sherd-viewer: cannot open %s\n", qPrintable(positional.first()));
        QApplication::exit(ExitBackupNotFound);
        return;
      }
      takeScreenshot(window, type, row, screenshot, parser.value(QStringLiteral("recover")));
    });
  }
  window.show();
  if (positional.isEmpty() && !screenshot.isEmpty()) {
    window.setInteractive(false);
    QObject::connect(window.startPage(), &StartPage::sizesCounted, &window,
                     [&] { QTimer::singleShot(0, &window, [&] { savePicture(&window, screenshot); }); });
  }
  if (positional.isEmpty())
    window.showStartPage();
  else
    window.openBackup(positional.first(), password, notePasswords);
  return app.exec();
}
