#pragma once
// The sample backup that `sherd demo` scans and the end-to-end tests read: one
// device backup holding every app that has a writer in samples/apps/.
#include "samples/backupfixture.h"

namespace fixture {
// The files of the sample: every app writer's files, in a fixed order.
QList<StoredFile> sampleFiles();
// Writes the sample into folder; with a password, encrypted.
bool writeSampleBackup(const QString& folder, const QString& password, QString* error);
} // namespace fixture
