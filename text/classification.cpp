#include "text/classification.h"

#include "host/host_calls.h"
#include "text/string_bytes.h"

using velpicture::RawBytes;

bool IsMemoryBlock(REALobjectStruct* object) {
  return REALLoadObjectMethod(object, "Constructor(bytes as Integer)") != nullptr;
}

bool IsFolderItem(REALobjectStruct* object) {
  return REALLoadObjectMethod(object, "TrueItem(Index as integer) as Folderitem") != nullptr;
}

bool REALObjectIsA(REALobjectStruct* object, const char* className) {
  if (object == nullptr) return false;
  REALclassRefStruct* const classRef = REALGetClassRef(className);
  return classRef != nullptr && REALObjectIsA(object, classRef);
}

unsigned long REALGetLowestStringEncoding(REALstringStruct* string) {
  const unsigned long encoding = REALGetStringEncoding(string);
  switch (encoding) {
    case kEncodingMacRoman:
    case kEncodingUtf8:
    case kEncodingUndefined:
    case kEncodingWindowsLatin1:
      break;
    default:
      return encoding;
  }
  const RawBytes text(string);
  for (uint32_t i = 0; i < text.length(); ++i) {
    if (text[i] >= 0x80) return encoding;
  }
  return kEncodingAscii;
}
