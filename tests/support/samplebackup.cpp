#include "tests/support/samplebackup.h"

#include "tests/support/apps/calendar.h"
#include "tests/support/apps/callhistory.h"
#include "tests/support/apps/kik.h"
#include "tests/support/apps/line.h"
#include "tests/support/apps/notes.h"
#include "tests/support/apps/safari.h"
#include "tests/support/apps/whatsapp.h"

namespace fixture {
QList<StoredFile> sampleFiles() {
  QList<StoredFile> files;
  // Every backup holds some of the phone's own files and empty ones.
  files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Preferences/com.apple.springboard.plist"),
                QByteArray("bplist00"))
        << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Caches/empty.log"), QByteArray());
  return files + sampleWhatsappFiles() + notes::sampleNoteFiles() + sampleCalendarFiles() + sampleSafariFiles() +
         sampleCallHistoryFiles() + sampleKikFiles() + sampleLineFiles();
}

bool writeSampleBackup(const QString& folder, const QString& password, QString* error) {
  BackupPlan plan;
  plan.password = password;
  plan.deviceName = QStringLiteral("Sample iPhone");
  return writeBackup(folder, plan, sampleFiles(), error);
}
} // namespace fixture
