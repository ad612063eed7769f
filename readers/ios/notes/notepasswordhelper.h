#pragma once
// NotePasswordHelper: the passwords a host offers for locked notes. The two
// virtual operations are hooks for a host that can decrypt files or name the
// device by other means; this class answers them with empty strings.
#include "platform/common/sherdglobal.h"

#include <QString>
#include <QStringList>

class SHERD_EXPORT NotePasswordHelper {
public:
  NotePasswordHelper() = default;
  NotePasswordHelper(const NotePasswordHelper&) = default;
  NotePasswordHelper& operator=(const NotePasswordHelper&) = default;
  virtual ~NotePasswordHelper() = default;

  virtual QString getDecryptedFile(const QString& path, const QString& destination);
  virtual QString udid();

  void setNotePasswords(const QStringList& passwords) { m_passwords = passwords; }
  const QStringList& notePasswords() const { return m_passwords; }

private:
  QStringList m_passwords;
};
