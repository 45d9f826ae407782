// A user of the installed library: asks an empty dictionary, and catches what the library throws.
#include <cpi/dictinfo/stddi/stddictionaryiterator.h>

#include <cstdio>

int main() {
  cpi::StdDictionaryInfo dictionary(0);
  if (dictionary.getTagDefIndexFromName(u"Order") != cpi::kNone) return 1;
  try {
    dictionary.startMessage(nullptr);
    dictionary.endMessage(nullptr);
  } catch (const cpi::KelConfigurationException&) {
    std::puts("a load without an Identification section is refused");
    return 0;
  }
  return 1;
}
