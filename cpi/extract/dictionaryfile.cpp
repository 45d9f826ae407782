#include "cpi/extract/dictionaryfile.h"

#include <cstdio>
#include <fstream>
#include <string>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/extract/extractreader.h"
#include "cpi/extract/image.h"
#include "cpi/extract/openfile.h"

namespace cpi {

namespace {

constexpr const char* kKnownForms = "the '{' of a text extract or the byte 0x89 of an image";

// JSON text may open with white space or a byte order mark.
bool opensExtract(int byte) {
  return byte == '{' || byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n' || byte == 0xEF;
}

std::string describeByte(int byte) {
  if (byte == std::char_traits<char>::eof()) return "an empty file";
  char text[16];
  std::snprintf(text, sizeof text, "byte 0x%02X", static_cast<unsigned>(byte));
  return text;
}

}  // namespace

std::unique_ptr<StdDictionaryInfo> loadDictionary(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) failToOpen(path);
  // One byte can be looked at without seeking, which a pipe could not do.
  const int byte = stream.peek();
  if (stream.bad()) throw FileError(path, {}, "the file cannot be read");
  if (byte == kImageFirstByte) return readImage(stream, path);
  if (!opensExtract(byte)) throw FileError(path, {1, 1}, describeByte(byte), kKnownForms);
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  dictionary->setLoadLimits(limitsForFile(path));
  readExtract(stream, path, *dictionary);
  return dictionary;
}

}  // namespace cpi
