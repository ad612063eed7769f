// libFuzzer target: a Manifest.db record's metadata, the keyed archive of one
// MBFile. The fast in-place reader and libplist's full parser must agree on
// every input that both accept.
#include "platform/backup/manifest.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* blob = reinterpret_cast<const char*>(data);
  ManifestEntry direct, full, either;
  const bool a = Manifest::decodeMbFileDirect(blob, int(size), &direct);
  const bool b = Manifest::decodeMbFileWithLibplist(blob, int(size), &full);
  Manifest::decodeMbFile(blob, int(size), &either);
  if (a && b) {
    const bool same = direct.kind == full.kind && direct.size == full.size && direct.modified == full.modified &&
                      direct.mode == full.mode && direct.protectionClass == full.protectionClass &&
                      direct.encryptionKey == full.encryptionKey;
    if (!same)
      std::abort(); // the two readers disagree: one of them is wrong
  }
  return 0;
}
