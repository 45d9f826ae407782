// What a dictionary and its copies share.
#ifndef CPI_DICTINFO_IMAGE_STORAGE_H
#define CPI_DICTINFO_IMAGE_STORAGE_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "cpi/dictinfo/dictionaryinfo.h"

namespace cpi {

// The tables, with the dictionaries that share them. The tables' owner is one of these; when it
// goes, another takes its place.
struct DictionaryInfo::Storage {
  explicit Storage(std::size_t slots) : tables(slots) {}

  void setOwner(DictionaryInfo* owner) noexcept {
    for (DictTable& table : tables) table.owner = owner;
  }

  std::shared_ptr<const void> image;  // that the tables lie in; null: they own all they have
  std::vector<DictTable> tables;
  std::vector<DictionaryInfo*> sharers;
  std::mutex mutex;  // of sharers: copies are made and destroyed by any thread
};

}  // namespace cpi

#endif  // CPI_DICTINFO_IMAGE_STORAGE_H
