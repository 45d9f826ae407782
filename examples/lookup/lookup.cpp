// lookup DICTIONARY TAG...: what the dictionary knows of each tag: its id, its class, its type and
// the values it may have. Try: lookup order.json Order Currency
#include <cpi/dictinfo/stddi/stddictionaryiterator.h>
#include <cpi/extract/dictionaryfile.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

namespace {

// A value set is a run of rows that an iterator steps through.
void printValues(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagRow) {
  cpi::StdValueIterator at(nullptr, &dictionary, tagRow, cpi::kNone);
  cpi::PWFData value;
  std::int32_t role = 0;
  const char* separator = ": values ";
  for (; at.getValue(value, role) == cpi::kSuccess; at.moveToNextValue()) {
    // Whatever kind the value is of, its debug string is readable text.
    const cpi::PWFData text = value.getDebugString();
    std::printf("%s%s", separator, cpi::toUtf8(cpi::textView(text.getStringValue())).c_str());
    separator = ", ";
  }
}

// Answers come as row numbers, and a row number leads to the record. -1 stands for "none".
bool printTag(const cpi::StdDictionaryInfo& dictionary, const std::string& name) {
  const std::u16string units = cpi::toUtf16(name);  // texts are UTF-16 throughout the dictionary
  const std::int32_t tagRow =
      dictionary.getTagDefIndexFromName(units.c_str(), cpi::KelStringBase(), true);
  if (tagRow == cpi::kNone) {
    std::printf("%s: not defined\n", name.c_str());
    return false;
  }
  // Records belong to the dictionary and live as long as it does.
  const cpi::SMD_TAG_DEFINITION& tag = dictionary.tags().row(tagRow);
  std::printf("%s: id %d, class %c", name.c_str(), tag.Id, tag.Class);
  const cpi::SMD_TYPE_DEFINITION* type = nullptr;
  if (dictionary.getTypeDefinitionFromIndex(tag.ToTypeIndexField, type) == cpi::kSuccess) {
    std::printf(", type %s", cpi::toUtf8(cpi::textView(type->Identifier)).c_str());
  }
  printValues(dictionary, tagRow);
  std::printf("\n");
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: lookup DICTIONARY TAG...\n");
    return 2;
  }
  try {
    // Loading takes the text file and the image alike. It is done once; from then on any number of
    // threads may ask.
    const std::unique_ptr<cpi::StdDictionaryInfo> dictionary = cpi::loadDictionary(argv[1]);
    bool isFound = true;
    for (int i = 2; i < argc; ++i) isFound = printTag(*dictionary, argv[i]) && isFound;
    return isFound ? 0 : 1;
  } catch (const std::exception& error) {  // says the file, the place and what was expected there
    std::fprintf(stderr, "lookup: %s\n", error.what());
    return 2;
  }
}
