#include "samples/samplebackup.h"

#include "samples/apps/calendar.h"
#include "samples/apps/callhistory.h"
#include "samples/apps/kik.h"
#include "samples/apps/line.h"
#include "samples/apps/messenger.h"
#include "samples/apps/notes.h"
#include "samples/apps/qq.h"
#include "samples/apps/safari.h"
#include "samples/apps/wechat.h"
#include "samples/apps/viber.h"
#include "samples/apps/whatsapp.h"

namespace fixture {
QList<StoredFile> sampleFiles() {
  QList<StoredFile> files;
  // Every backup holds some of the phone's own files and empty ones.
  files << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Preferences/com.apple.springboard.plist"),
                QByteArray("bplist00"))
        << file(QStringLiteral("HomeDomain"), QStringLiteral("Library/Caches/empty.log"), QByteArray());
  return files + sampleWhatsappFiles() + notes::sampleNoteFiles() + sampleCalendarFiles() + sampleSafariFiles() +
         sampleCallHistoryFiles() + sampleKikFiles() + sampleLineFiles() + sampleViberFiles() +
         sampleMessengerFiles() + sampleWechatFiles() + sampleQQFiles();
}

bool writeSampleBackup(const QString& folder, const QString& password, QString* error) {
  BackupPlan plan;
  plan.password = password;
  plan.deviceName = QStringLiteral("Sample iPhone");
  return writeBackup(folder, plan, sampleFiles(), error);
}
} // namespace fixture
