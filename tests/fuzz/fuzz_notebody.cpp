// libFuzzer target: note bodies and table data of the modern notes store,
// compressed or not, through the decoder that the notes library uses.
#include "platform/notes/notebody.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray blob = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
  NoteBody::Decoded decoded;
  QString error;
  if (NoteBody::decodeBody(blob, &decoded, &error))
    (void)decoded.readableText();
  QString table;
  NoteBody::decodeTable(blob, &table, &error);
  return 0;
}
