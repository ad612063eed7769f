// libFuzzer target: the property-list wrapper over libplist that reads
// Manifest.plist, Info.plist and Status.plist.
#include "platform/backup/plistutil.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  PlistPtr root = PlistUtil::fromMemory(QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size)));
  if (!root)
    return 0;
  plist_t dict = static_cast<plist_t>(root.get());
  for (const char* key : {"Device Name", "Product Version", "IsEncrypted", "BackupKeyBag", "Date", "Lockdown"}) {
    (void)PlistUtil::string(dict, key);
    (void)PlistUtil::boolean(dict, key);
    (void)PlistUtil::data(dict, key);
    (void)PlistUtil::date(dict, key);
  }
  bool ok = false;
  (void)PlistUtil::uinteger(dict, &ok);
  return 0;
}
