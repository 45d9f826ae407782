// Look-ups by id and by name in a loaded dictionary.
#include "bench/support/lookups.h"

namespace cpi::bench {
namespace {

void addIds() {
  for (const IdKind kind : {IdKind::Consecutive, IdKind::Dense, IdKind::Sparse}) {
    addIdLookups("stddi", kind, [](IdKind of, std::int32_t rows) {
      return [dictionary = &idDictionary(of, rows)](std::int32_t id) {
        return dictionary->getTagDefIndex(id);
      };
    });
  }
}

void addNames() {
  addNameLookups("stddi", [](std::int32_t rows) {
    return [dictionary = &nameDictionary(rows)](const unsigned short* name) {
      return dictionary->getTagDefIndexFromName(name);
    };
  });
  add("name/10000/namespace/hit/independent/stddi", [](benchmark::State& state) {
    const StdDictionaryInfo& dictionary = nameDictionary(10'000);
    const KelStringBase none;
    const NameQuestions& questions = nameQuestions(10'000);
    askAll(state, questions.hits, questions.hit, [&](const unsigned short* name) {
      return dictionary.getTagDefIndexFromName(name, none, false);
    });
  });
}

// One id again and again: the first and the last row, and one behind the last.
void addPlaces() {
  const auto addPlace = [](const std::string& place, std::int32_t id) {
    add("id/consecutive/10000/" + place + "/stddi", [id](benchmark::State& state) {
      const StdDictionaryInfo& dictionary = idDictionary(IdKind::Consecutive, 10'000);
      const std::vector<std::int32_t> same(kBatch, id);
      std::size_t at = 0;
      askAll(state, same, at, [&](std::int32_t key) { return dictionary.getTagDefIndex(key); });
    });
  };
  addPlace("first", 1);
  addPlace("last", 10'000);
  addPlace("behind", 10'001);
}

const bool kRegistered = registered([] {
  addIds();
  addNames();
  addPlaces();
});

}  // namespace
}  // namespace cpi::bench
