// The questions of the look-up workloads, the same for everyone who answers.
#ifndef BENCH_SUPPORT_LOOKUPS_H
#define BENCH_SUPPORT_LOOKUPS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bench/support/measure.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi::bench {

// Ids in ascending order: all numbers of a range; all but one in nine, so that a row cannot be told
// without looking; or ones with gaps of a thousand at most.
enum class IdKind { Consecutive, Dense, Sparse };

// What a look-up is asked for: ids or names, one of each for each row of a table.
template <class Key>
struct Questions {
  std::vector<Key> keys;    // by row
  std::vector<Key> hits;    // keys in random order, at least kBatch of them
  std::vector<Key> misses;  // as many that no row has
  std::vector<Key> next;    // by row: the key to ask for next, in one cycle through all rows
  // Where the last run stopped: the next goes on from there, so that it meets no rows that the
  // runs before have left in the cache.
  mutable std::size_t hit = 0;
  mutable std::size_t miss = 0;
  mutable Key inTurn = {};
};
// Look-ups that are timed as one.
inline constexpr std::size_t kBatch = 1024;

using IdQuestions = Questions<std::int32_t>;
using NameQuestions = Questions<const unsigned short*>;

const IdQuestions& idQuestions(IdKind kind, std::int32_t rows);
const NameQuestions& nameQuestions(std::int32_t rows);
// Dictionaries of that many tags, with the keys of the questions.
const StdDictionaryInfo& idDictionary(IdKind kind, std::int32_t rows);
const StdDictionaryInfo& nameDictionary(std::int32_t rows);

// The sizes that are measured, and how one is part of a name.
inline constexpr std::int32_t kLookupRows[] = {100, 10'000, 1'000'000};
std::string nameOf(IdKind kind);

// One question after the other from `at` on, none waiting for the answer before.
template <class Key, class Find>
void askAll(benchmark::State& state, const std::vector<Key>& keys, std::size_t& at, Find find) {
  measure(state, kBatch, [&] {
    if (at + kBatch > keys.size()) at = 0;
    std::int64_t sum = 0;
    // Local, so that no look-up, whatever it reads and writes, makes the loop read them again.
    const auto ask = find;
    const Key* const end = &keys[at] + kBatch;
    for (const Key* key = &keys[at]; key != end; ++key) sum += ask(*key);
    at += kBatch;
    benchmark::DoNotOptimize(sum);
  });
}

// Each answer is needed for the next question, as in a parser that follows a message.
template <class Key, class Find>
void askInTurn(benchmark::State& state, const Questions<Key>& questions, Find find) {
  Key key = questions.inTurn;
  measure(state, kBatch, [&] {
    for (std::size_t i = 0; i < kBatch; ++i) {
      key = questions.next[static_cast<std::size_t>(find(key))];
    }
    benchmark::DoNotOptimize(key);
  });
  questions.inTurn = key;
}

// Registers hits and misses under `prefix`, for `who`. `questions()` and `finder()` are called when
// a benchmark runs; the latter gives the function from a key to its row, or to a negative number.
template <class QuestionsOf, class FinderOf>
void addLookups(const std::string& prefix, const std::string& who, QuestionsOf questions,
                FinderOf finder) {
  add(prefix + "/hit/dependent/" + who,
      [=](benchmark::State& state) { askInTurn(state, questions(), finder()); });
  add(prefix + "/hit/independent/" + who,
      [=](benchmark::State& state) { askAll(state, questions().hits, questions().hit, finder()); });
  add(prefix + "/miss/independent/" + who, [=](benchmark::State& state) {
    askAll(state, questions().misses, questions().miss, finder());
  });
}

template <class FinderOf>
void addIdLookups(const std::string& who, IdKind kind, FinderOf finderOf) {
  for (const std::int32_t rows : kLookupRows) {
    addLookups(
        "id/" + nameOf(kind) + "/" + std::to_string(rows), who,
        [=]() -> const IdQuestions& { return idQuestions(kind, rows); },
        [=] { return finderOf(kind, rows); });
  }
}

template <class FinderOf>
void addNameLookups(const std::string& who, FinderOf finderOf) {
  for (const std::int32_t rows : kLookupRows) {
    addLookups(
        "name/" + std::to_string(rows), who,
        [=]() -> const NameQuestions& { return nameQuestions(rows); },
        [=] { return finderOf(rows); });
  }
}

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_LOOKUPS_H
