#include "readers/ios/notes/notepasswordhelper.h"

QString NotePasswordHelper::getDecryptedFile(const QString&, const QString&) { return QString(); }

QString NotePasswordHelper::udid() { return QString(); }
