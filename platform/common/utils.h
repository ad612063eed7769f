#pragma once
// Where sherd keeps its scratch files: one temporary root per process.
#include "platform/common/sherdglobal.h"

#include <QString>

class SHERD_EXPORT Utils {
public:
  // The process's temporary root, ending with '/': one folder per process under
  // the system temporary folder (or under $SHERD_TEMP when set), created on the
  // first call and removed with everything in it when the process ends. Readers
  // append a word of their own ("Whatsapp", "Notes", ...) directly to it.
  // Empty when the folder cannot be created.
  static QString tempPath();

  // Whether path (existing or not) lies inside the temporary root, or is the
  // root itself. Resolves "..", and links of the part of the path that exists.
  static bool isInsideTempPath(const QString& path);
};
