// libFuzzer target: the keybag of Manifest.plist ("BackupKeyBag"), a list of
// tag-length-value records. Unlocking is not fuzzed: it costs seconds of key
// derivation by design; the parser decides the counts it would be given.
#include "platform/backup/keybag.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Keybag bag;
  QString error;
  bag.parse(QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size)), &error);
  return 0;
}
