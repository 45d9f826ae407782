#include "bench/support/lookups.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <utility>

#include "bench/support/kept.h"
#include "cpi/extract/dictionarytables.h"

namespace cpi::bench {

namespace {

template <class Key>
void arrange(Questions<Key>& questions) {
  std::mt19937 random(1);
  const std::size_t rows = questions.keys.size();
  std::vector<std::size_t> order(rows);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::shuffle(order.begin(), order.end(), random);
  questions.next.resize(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    questions.next[order[i]] = questions.keys[order[(i + 1) % rows]];
  }
  const std::size_t count = std::max(rows, kBatch);
  for (std::size_t i = 0; i < count; ++i) {
    questions.hits.push_back(questions.keys[order[i % rows]]);
  }
  std::shuffle(questions.misses.begin(), questions.misses.end(), random);
  questions.inTurn = questions.hits.front();
}

IdQuestions makeIdQuestions(IdKind kind, std::int32_t rows) {
  IdQuestions questions;
  std::mt19937 random(2);
  std::uniform_int_distribution<std::int32_t> gap(2, 1000);
  std::int32_t id = 0;
  for (std::int32_t row = 0; row < rows; ++row) {
    id += kind == IdKind::Sparse ? gap(random) : kind == IdKind::Dense && row % 8 == 7 ? 2 : 1;
    questions.keys.push_back(id);
  }
  // Between two ids where there is room, else behind the last one.
  const auto misses = std::max(static_cast<std::size_t>(rows), kBatch);
  for (std::size_t i = 0; i < misses; ++i) {
    const std::int32_t near = questions.keys[i % questions.keys.size()];
    questions.misses.push_back(kind == IdKind::Sparse ? near - 1 : near + 2 * rows);
  }
  arrange(questions);
  return questions;
}

// Names of four syllables, as long as those in messages usually are; no two numbers have one name.
std::u16string nameOfNumber(std::uint32_t number) {
  static constexpr const char16_t* kSyllables[] = {
      u"Amt",  u"Acct", u"Bal", u"Book", u"Chrg", u"Code", u"Cdtr", u"Date",
      u"Dlvr", u"Fctr", u"Grp", u"Hdr",  u"Inst", u"Item", u"Line", u"Msg",
      u"Note", u"Ord",  u"Pay", u"Prc",  u"Qty",  u"Rate", u"Ref",  u"Seq",
      u"Ship", u"Stat", u"Tax", u"Term", u"Tot",  u"Type", u"Unit", u"Val"};
  std::u16string name;
  for (int i = 0; i < 4; ++i, number >>= 5) name += kSyllables[number & 31U];
  return name;
}

// A move leaves the names where the questions point to: a vector moves as a whole.
struct NameSet {
  std::vector<std::u16string> names;
  std::vector<std::u16string> others;
  NameQuestions questions;
};

// One-to-one on 20 bits, so that neighbours have unlike names.
std::uint32_t scattered(std::int32_t number) {
  return (static_cast<std::uint32_t>(number) * 0x9E375U) & 0xFFFFFU;
}

NameSet makeNameSet(std::int32_t rows) {
  NameSet set;
  const auto misses = std::max(rows, static_cast<std::int32_t>(kBatch));
  for (std::int32_t i = 0; i < rows; ++i) set.names.push_back(nameOfNumber(scattered(i)));
  for (std::int32_t i = 0; i < misses; ++i) {
    set.others.push_back(nameOfNumber(scattered(i)) + u"X");
  }
  for (const std::u16string& name : set.names) set.questions.keys.push_back(asUnits(name.c_str()));
  for (const std::u16string& name : set.others) {
    set.questions.misses.push_back(asUnits(name.c_str()));
  }
  arrange(set.questions);
  return set;
}

const NameSet& nameSet(std::int32_t rows) {
  return kept(rows, [rows] { return makeNameSet(rows); });
}

std::unique_ptr<StdDictionaryInfo> dictionaryOf(std::vector<TagRow> tags) {
  DictionaryTables tables;
  tables.Identification.emplace().Name = u"bench";
  tables.Tags = std::move(tags);
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  feed(tables, *dictionary);
  return dictionary;
}

}  // namespace

const IdQuestions& idQuestions(IdKind kind, std::int32_t rows) {
  return kept(std::pair(kind, rows), [&] { return makeIdQuestions(kind, rows); });
}

const NameQuestions& nameQuestions(std::int32_t rows) { return nameSet(rows).questions; }

const StdDictionaryInfo& idDictionary(IdKind kind, std::int32_t rows) {
  return *kept(std::pair(kind, rows), [&] {
    std::vector<TagRow> tags;
    for (const std::int32_t id : idQuestions(kind, rows).keys) {
      tags.push_back({.Id = id, .TextIdentifier = u"Tag", .Class = TCField});
    }
    return dictionaryOf(std::move(tags));
  });
}

const StdDictionaryInfo& nameDictionary(std::int32_t rows) {
  return *kept(rows, [&] {
    std::vector<TagRow> tags;
    std::int32_t id = 0;
    for (const std::u16string& name : nameSet(rows).names) {
      tags.push_back({.Id = ++id, .TextIdentifier = name, .Class = TCField});
    }
    return dictionaryOf(std::move(tags));
  });
}

std::string nameOf(IdKind kind) {
  constexpr const char* kNames[] = {"consecutive", "dense", "sparse"};
  return kNames[static_cast<std::size_t>(kind)];
}

}  // namespace cpi::bench
