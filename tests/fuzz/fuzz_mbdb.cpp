// libFuzzer target: Manifest.mbdb, the older manifest generation's binary list
// of file records.
#include "platform/backup/manifest.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QString error;
  bool truncated = false;
  qint64 total = 0;
  Manifest::readMbdb(QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size)),
                     [&](ManifestEntry& e) { total += e.domainLength + e.relativePathLength; }, &error, &truncated);
  return int(total & 0);
}
